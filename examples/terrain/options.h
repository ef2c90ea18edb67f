#pragma once

#include <filesystem>
#include <stdexcept>
#include <string>
#include <vector>

#include "taro25d/Point2.h"

namespace terrain {

/// A command line that is not understood; the message says why.
class UsageError : public std::runtime_error {
  public:
    using std::runtime_error::runtime_error;
};

/// What the command line asks for.
struct Options {
    std::string input;
    std::filesystem::path outFolder = ".";
    std::vector<LUMO_TARO25D::Point2> vPlaces;  ///< where the height is asked for (x and y); perhaps none
    int numThreads = 1;
    bool bPicture = true;
    bool bHelp = false;
};

extern const char* const USAGE;

/// Throws UsageError.
Options parseOptions(int numArguments, char** aArguments);

}  // namespace terrain
