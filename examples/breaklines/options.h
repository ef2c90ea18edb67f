#pragma once

#include <cstddef>
#include <filesystem>
#include <string>
#include <vector>

namespace breaklines {

/// What the command line asks for.
struct Options {
    std::string input;
    std::filesystem::path outFolder = ".";
    std::size_t minCells = 300;  ///< as many cells must drain through a cell of a stream
    std::size_t step = 6;        ///< every so manieth row and column of the grid goes into the mesh
    bool bPicture = true;
};

extern const char* const USAGE;

/// Throws examples::UsageError.
Options parseOptions(const std::vector<std::string>& vArguments);

}  // namespace breaklines
