#include "options.h"

#include "program.h"

using namespace examples;

namespace gis {

namespace {

/// The result must not take the place of what it is made from.
void checkOutput(const Options& options) {
    const auto refuse = [](const std::string& reason) { throw CLI::ValidationError("--out", reason); };
    if (options.output.extension() != ".gpkg") refuse("the name of the file must end in .gpkg");
    const std::filesystem::file_type type = std::filesystem::status(options.output).type();
    if (type != std::filesystem::file_type::not_found && type != std::filesystem::file_type::regular) {
        refuse(options.output.string() + " is not a file");
    }
    for (const std::filesystem::path input : {options.raster, options.lines}) {
        std::error_code ignored;
        if (std::filesystem::equivalent(input, options.output, ignored)) {
            refuse("this would replace " + input.string() + ", which is read");
        }
    }
}

void addInput(CLI::App& app, Options& options) {
    app.add_option("RASTER", options.raster,
                   "any raster that GDAL reads (GeoTIFF, ESRI ASCII grid, ...); cells without data are left out")
        ->required()
        ->type_name("");
    app.add_option("LINES", options.lines,
                   "any lines or polygons that GDAL reads (GeoPackage, Shapefile, GeoJSON, ...)")
        ->required()
        ->type_name("");
    app.add_option("--band", options.band, "of the raster, with the heights")
        ->type_name("N")
        ->check(POSITIVE_COUNT)
        ->capture_default_str();
    app.add_option("--layer", options.layer, "of the lines (default: the only one)")->type_name("NAME");
}

}  // namespace

void addOptions(CLI::App& app, Options& options) {
    addInput(app, options);
    app.add_flag("--drape", options.bDrape, "lay all lines on the ground, whatever heights they have");
    app.add_option("--max-points", options.maxPoints,
                   "take only every second, third, ... row and column of a larger raster")
        ->type_name("N")
        ->check(CLI::Range(std::size_t(4), std::size_t(1000000000)).description(""))
        ->capture_default_str();
    app.add_option("--interval", options.interval, "between two contours (default: a round one that suits the ground)")
        ->type_name("HEIGHT")
        ->check(POSITIVE_NUMBER);
    app.add_option("--out", options.output, "the file to write; one that exists is replaced")
        ->type_name("FILE")
        ->capture_default_str();
    app.callback([&options] { checkOutput(options); });
}

}  // namespace gis
