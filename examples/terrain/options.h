#pragma once

#include <filesystem>
#include <string>
#include <vector>

#include "taro25d/Point2.h"

namespace terrain {

/// What the command line asks for.
struct Options {
    std::string input;
    std::filesystem::path outFolder = ".";
    std::vector<LUMO_TARO25D::Point2> vPlaces;  ///< where the height is asked for (x and y); perhaps none
    int numThreads = 1;
    bool bPicture = true;
};

extern const char* const USAGE;

/// Throws examples::UsageError.
Options parseOptions(const std::vector<std::string>& vArguments);

}  // namespace terrain
