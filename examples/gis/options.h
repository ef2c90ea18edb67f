#pragma once

#include <cstddef>
#include <filesystem>
#include <string>
#include <vector>

namespace gis {

/// What the command line asks for.
struct Options {
    std::string raster, lines;
    std::size_t band = 1;
    std::string layer;               ///< of the lines; empty for the only one
    bool bDrape = false;             ///< heights of the lines do not count
    std::size_t maxPoints = 250000;  ///< larger rasters are thinned out
    double interval = 0;             ///< between two contours; 0 for one that suits the ground
    std::filesystem::path output = "terrain.gpkg";
};

extern const char* const USAGE;

/// Throws examples::UsageError.
Options parseOptions(const std::vector<std::string>& vArguments);

}  // namespace gis
