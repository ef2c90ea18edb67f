#pragma once

#include <CLI/CLI.hpp>
#include <cstddef>
#include <filesystem>
#include <string>

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

/// Binds the options to what the app finds on its command line. An output that must not be written is an error there.
void addOptions(CLI::App& app, Options& options);

}  // namespace gis
