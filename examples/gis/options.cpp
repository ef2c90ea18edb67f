#include "options.h"

#include "command_line.h"

using examples::UsageError;

namespace gis {

const char* const USAGE =
    "usage: gis RASTER LINES [--band N] [--layer NAME] [--drape] [--max-points N] [--interval HEIGHT] [--out FILE]\n"
    "\n"
    "Triangulates an elevation raster with lines as breaklines, and writes its contours and triangles as a GeoPackage\n"
    "in the coordinate system of the raster.\n"
    "\n"
    "RASTER is any raster that GDAL reads (GeoTIFF, ESRI ASCII grid, ...); cells without data are left out.\n"
    "LINES is anything with lines or polygons that GDAL reads (GeoPackage, Shapefile, GeoJSON, ...). They are\n"
    "transformed to the coordinate system of the raster, and get a vertex for every cell on their way. Lines with\n"
    "heights keep them. Lines without are laid on the ground: each vertex has the height of the triangulated raster.\n"
    "  --band N            where the heights are (default: 1)\n"
    "  --layer NAME        where the lines are (default: the only layer)\n"
    "  --drape             lay all lines on the ground, whatever heights they have\n"
    "  --max-points N      take only every second, third, ... row and column of a larger raster (default: 250000)\n"
    "  --interval HEIGHT   between two contours (default: a round one that suits the ground)\n"
    "  --out FILE          what to write, or write anew (default: terrain.gpkg)\n"
    "  --help              print this text\n"
    "\n"
    "Exit status: 0 all is well, 1 the data cannot be used, 2 wrong usage.\n";

namespace {

/// The result must not take the place of what it is made from.
void checkOutput(const Options& options) {
    if (options.output.extension() != ".gpkg") throw UsageError("--out takes a name that ends in .gpkg");
    const std::filesystem::file_type type = std::filesystem::status(options.output).type();
    if (type != std::filesystem::file_type::not_found && type != std::filesystem::file_type::regular) {
        throw UsageError("--out takes a file, but " + options.output.string() + " is none");
    }
    for (const std::filesystem::path input : {options.raster, options.lines}) {
        std::error_code ignored;
        if (std::filesystem::equivalent(input, options.output, ignored)) {
            throw UsageError("--out would replace " + input.string() + ", which is read");
        }
    }
}

}  // namespace

Options parseOptions(const std::vector<std::string>& vArguments) {
    Options options;
    examples::CommandLine line;
    line.addFile("raster", options.raster);
    line.addFile("lines", options.lines);
    line.addCount("--band", options.band);
    line.addOption("--layer", [&](const std::string& name) { options.layer = name; });
    line.addFlag("--drape", [&] { options.bDrape = true; });
    line.addCount("--max-points", options.maxPoints);
    line.addPositive("--interval", options.interval);
    line.addPath("--out", options.output);
    line.parse(vArguments);
    if (options.maxPoints < 4) throw UsageError("--max-points takes 4 at least, for the corners");
    checkOutput(options);
    return options;
}

}  // namespace gis
