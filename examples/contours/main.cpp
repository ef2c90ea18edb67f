// Contour lines of a real piece of ground: triangulate its points, take the lines at even heights, measure them, and
// draw them as a map; then the profile from one side to the other through the highest point.

#include <algorithm>
#include <chrono>
#include <cmath>
#include <filesystem>
#include <iomanip>
#include <iostream>
#include <string>
#include <vector>

#include "drawings.h"
#include "levels.h"
#include "png.h"
#include "program.h"
#include "readers.h"
#include "taro25d/taro25d.h"

using namespace LUMO_TARO25D;
using namespace contours;
using namespace examples;

namespace {

struct Options {
    std::string input;
    std::filesystem::path outFolder = ".";
    double interval = 0;  ///< between two contours; 0 for one that suits the ground
};

void addOptions(CLI::App& app, Options& options) {
    addPointFile(app, options.input);
    app.add_option("--interval", options.interval, "between two contours (default: a round one that suits the ground)")
        ->type_name("HEIGHT")
        ->check(POSITIVE_NUMBER);
    app.add_option("--out", options.outFolder, "write the pictures there")->type_name("FOLDER")->capture_default_str();
}

// ---- Contours ----

void printLevels(const std::vector<Level>& vLevels) {
    size_t numLines = 0, numClosed = 0, numSegments = 0;
    for (const Level& level : vLevels) {
        numLines += level.vLines.size();
        for (const Polyline& vLine : level.vLines) {
            numClosed += isClosed(vLine);
            numSegments += vLine.size();
        }
    }
    row("levels") << vLevels.size() << "\n";
    row("lines") << numLines << ", " << numClosed << " of them closed\n";
    row("segments") << numSegments << "\n";
}

std::vector<Level> contour(const IsoContours& isoContours, double interval) {
    if (!(interval > 0)) interval = proposeInterval(isoContours);
    printChapter("Contours");
    row("heights") << isoContours.getMinHeight() << " to " << isoContours.getMaxHeight() << "\n";
    row("interval") << interval << "\n";
    const auto start = std::chrono::steady_clock::now();
    const std::vector<Level> vLevels = takeLevels(isoContours, interval);
    const std::chrono::duration<double> seconds = std::chrono::steady_clock::now() - start;
    printLevels(vLevels);
    row("time") << std::setprecision(3) << seconds.count() << " s\n" << std::setprecision(10);
    return vLevels;
}

// ---- A profile ----

Polyline takeProfile(const Taro_2D& ground, const IsoContours& isoContours) {
    std::vector<Point2*> vVertices;
    ground.getVertexPointers(vVertices);
    const auto isLower = [](const Point2* pA, const Point2* pB) { return pA->z() < pB->z(); };
    const Point2& summit = **std::max_element(vVertices.begin(), vVertices.end(), isLower);
    Polyline vProfile;
    isoContours.getProfile(summit, vProfile);

    printChapter("Profile");
    row("through") << "(" << summit.x() << ", " << summit.y() << "), the highest point\n";
    if (vProfile.empty()) {
        row("none") << "to its west and east there is no ground\n";
        return vProfile;
    }
    double ascent = 0, length = 0;
    for (const Segment2& segment : vProfile) {
        ascent += std::max(0.0, segment.getTrg().z() - segment.getSrc().z());
        length += std::sqrt(segment.getSqLen25D());
    }
    row("length") << length << " on the ground\n";
    row("ascent") << ascent << " from west to east\n";
    return vProfile;
}

// ---- Drawing ----

void draw(const std::vector<Level>& vLevels, const Polyline& vProfile, const Bbox2& box,
          const std::filesystem::path& folder) {
    printChapter("Drawing");
    std::filesystem::create_directories(folder);
    const std::string map = folder / "contours.ps", profile = folder / "profile.ps";
    drawMap(map, vLevels, box);
    addPng(map);
    if (vProfile.empty()) return;
    drawProfile(profile, vProfile, vLevels);
    addPng(profile);
}

ExitStatus run(const Options& options) {
    printChapter("Reading " + options.input);
    std::cout << std::setprecision(10);
    Taro_2D ground;
    ground.insert(terrain::readPoints(options.input));
    if (!ground.is2D()) throw terrain::BadInput(options.input + ": all points lie on one line, no triangles");
    row("points") << ground.numberOfPoints() << "\n";
    std::vector<Triangle2*> vTriangles;
    ground.getTrianglePointers(vTriangles);
    const IsoContours isoContours(vTriangles);
    const std::vector<Level> vLevels = contour(isoContours, options.interval);
    const Polyline vProfile = takeProfile(ground, isoContours);
    draw(vLevels, vProfile, ground.computeBoundingBox(), options.outFolder);
    return ALL_IS_WELL;
}

}  // namespace

int main(int numArguments, char** aArguments) {
    CLI::App app(
        "Draws the contour lines of the ground through the points of FILE, every fifth one heavier and labelled,\n"
        "and its profile through the highest point.",
        "contours");
    Options options;
    addOptions(app, options);
    return runProgram(app, numArguments, aArguments, [&] { return run(options); });
}
