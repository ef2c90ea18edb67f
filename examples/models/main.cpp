// Surfaces of few points, on real ground.
//
// A limit of the error can hold at the given points or everywhere (limits.cpp). A surface that is made of contour lines
// has terraces and dams where its triangles connect a contour with itself; optimizeValleysAndRidges flips their edges
// (valleys.cpp). Pictures show the middle of the ground, which is small enough to see the triangles.

#include <algorithm>
#include <cmath>
#include <filesystem>
#include <iterator>
#include <string>

#include "drawings.h"
#include "no_triangles.h"
#include "program.h"
#include "readers.h"
#include "taro25d/taro25d.h"

using namespace LUMO_TARO25D;
using namespace examples;

namespace {

/// The points in the middle of the ground: in a box of this share of its width and height.
models::Points takeMiddle(const models::Points& vPoints, double share) {
    Bbox2 box;
    box.add(vPoints);
    const double x = (box.getMinX() + box.getMaxX()) / 2, y = (box.getMinY() + box.getMaxY()) / 2;
    const double dx = share * (box.getMaxX() - x), dy = share * (box.getMaxY() - y);
    models::Points vMiddle;
    std::copy_if(vPoints.begin(), vPoints.end(), std::back_inserter(vMiddle),
                 [&](const Point2& point) { return std::abs(point.x() - x) <= dx && std::abs(point.y() - y) <= dy; });
    return vMiddle;
}

}  // namespace

int main(int numArguments, char** aArguments) {
    CLI::App app("Compares models with a limit at the points and everywhere, and mends a surface made of contours.",
                 "models");
    std::string filename;
    std::filesystem::path outFolder = ".";
    double limit = 10, interval = 20;
    addPointFile(app, filename);
    app.add_option("--limit", limit, "of the error of models, in metres")
        ->check(POSITIVE_NUMBER)
        ->capture_default_str();
    app.add_option("--interval", interval, "between contours, in metres")
        ->check(POSITIVE_NUMBER)
        ->capture_default_str();
    app.add_option("--out", outFolder, "write the pictures there")->type_name("FOLDER")->capture_default_str();
    return runProgram(app, numArguments, aArguments, [&] {
        const models::Points vPoints = terrain::readPoints(filename), vMiddle = takeMiddle(vPoints, 0.12);
        Taro_2D ground;
        ground.insert(vMiddle);
        if (!ground.is2D()) failWithoutTriangles(filename, vPoints, "no ground in the middle");
        std::filesystem::create_directories(outFolder);
        printChapter("Two limits");
        models::compareLimits(vMiddle, limit, outFolder / "two_limits.ps");
        printChapter("A surface made of contours");
        models::followValleys(vPoints, interval, "");
        printChapter("Its middle");
        models::followValleys(takeMiddle(vPoints, 0.15), interval, outFolder / "valleys.ps");
        return ALL_IS_WELL;
    });
}
