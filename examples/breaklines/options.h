#pragma once

#include <cstddef>
#include <filesystem>
#include <stdexcept>
#include <string>

namespace breaklines {

/// A command line that is not understood; the message says why.
class UsageError : public std::runtime_error {
  public:
    using std::runtime_error::runtime_error;
};

/// What the command line asks for.
struct Options {
    std::string input;
    std::filesystem::path outFolder = ".";
    std::size_t minCells = 300;  ///< as many cells must drain through a cell of a stream
    std::size_t step = 6;        ///< every so manieth row and column of the grid goes into the mesh
    bool bPicture = true;
    bool bHelp = false;
};

extern const char* const USAGE;

/// Throws UsageError.
Options parseOptions(int numArguments, char** aArguments);

}  // namespace breaklines
