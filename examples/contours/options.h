#pragma once

#include <filesystem>
#include <stdexcept>
#include <string>

namespace contours {

/// A command line that is not understood; the message says why.
class UsageError : public std::runtime_error {
  public:
    using std::runtime_error::runtime_error;
};

/// What the command line asks for.
struct Options {
    std::string input;
    std::filesystem::path outFolder = ".";
    double interval = 0;  ///< between two contours; 0 for one that suits the ground
    bool bHelp = false;
};

extern const char* const USAGE;

/// Throws UsageError.
Options parseOptions(int numArguments, char** aArguments);

}  // namespace contours
