#pragma once

#include <filesystem>
#include <string>
#include <vector>

namespace contours {

/// What the command line asks for.
struct Options {
    std::string input;
    std::filesystem::path outFolder = ".";
    double interval = 0;  ///< between two contours; 0 for one that suits the ground
};

extern const char* const USAGE;

/// Throws examples::UsageError.
Options parseOptions(const std::vector<std::string>& vArguments);

}  // namespace contours
