// Contour lines of a real piece of ground: triangulate its points, take the lines at even heights, measure them, and
// draw them as a map; then the profile from one side to the other through the highest point.

#include <algorithm>
#include <chrono>
#include <cmath>
#include <filesystem>
#include <iomanip>
#include <iostream>
#include <optional>
#include <string>
#include <vector>

#include "drawings.h"
#include "levels.h"
#include "numbers.h"
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
    std::optional<double> flood;
    bool bPage = false;
};

void addOptions(CLI::App& app, Options& options) {
    addPointFile(app, options.input);
    app.add_option("--interval", options.interval, "between two contours (default: a round one that suits the ground)")
        ->type_name("HEIGHT")
        ->check(POSITIVE_NUMBER);
    app.add_option("--flood", options.flood, "fill the lowest basin up to that height")->type_name("HEIGHT");
    app.add_flag("--page", options.bPage, "also write a page with a scene in space");
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

// ---- A flood ----

Flood flood(const std::vector<Point2>& vPoints, double level, Taro_2D& wetGround) {
    wetGround.insert(vPoints);
    const Flood flood = fillTo(wetGround, level);
    printChapter("Flood");
    row("level") << level << "\n";
    row("area") << flood.area << "\n";
    row("volume") << flood.volume << "\n";
    return flood;
}

// ---- Drawing ----

void draw(const Content& content, const std::filesystem::path& folder) {
    printChapter("Drawing");
    drawMap(folder / "contours.ps", content);
    if (!content.vProfile.empty()) drawProfile(folder / "profile.ps", content.vProfile, content.vLevels);
}

void addContours(const std::vector<Level>& vLevels, Visualizer3& scene) {
    constexpr size_t MIN_LABELLED = 200;  // segments
    Polyline vAll;
    for (const Level& level : vLevels) {
        if (!level.bHeavy) continue;
        for (const Polyline& vLine : level.vLines) {
            vAll.insert(vAll.end(), vLine.begin(), vLine.end());
            if (vLine.size() < MIN_LABELLED) continue;
            scene.addLabel(Label(vLine[vLine.size() / 2].getSrc(), toText(level.height)), "labels");
        }
    }
    scene.addSegments(vAll, "contours", Color(0.45, 0.25, 0.1));
}

/// The level surface of the water.
void addWater(const Flood& flood, Visualizer3& scene) {
    std::vector<Point2> vCorners;
    for (const Triangle2* pT : flood.vBed) {
        for (int i = 0; i < 3; ++i) vCorners.emplace_back(pT->getCorner(i)->x(), pT->getCorner(i)->y(), flood.level);
    }
    std::vector<Triangle2> vWater;
    for (size_t i = 0; i < vCorners.size(); i += 3)
        vWater.emplace_back(&vCorners[i], &vCorners[i + 1], &vCorners[i + 2]);
    std::vector<Triangle2*> vPointers;
    for (Triangle2& triangle : vWater) vPointers.push_back(&triangle);
    scene.addSurface(vPointers, "flood", Color(0.35, 0.6, 0.85));
}

/// The same in space: surface, contours with their heights, profile, and the water over its bed.
void writePage(const Content& content, const Taro_2D& ground, const std::string& filename) {
    Visualizer3 scene(content.flood.area > 0 ? "Contours, a profile and a flood" : "Contours and a profile");
    std::vector<Triangle2*> vTriangles;
    ground.getTrianglePointers(vTriangles);
    scene.addSurface(vTriangles, "surface", CR_TERRAIN);
    addContours(content.vLevels, scene);
    scene.addSegments(content.vProfile, "profile", Color(0.75, 0.1, 0.1, 2.2));
    addWater(content.flood, scene);
    scene.setVerticalExaggeration(3);
    scene.writeWebScene(filename);
}

ExitStatus run(const Options& options) {
    printChapter("Reading " + options.input);
    std::cout << std::setprecision(10);
    const std::vector<Point2> vPoints = terrain::readPoints(options.input);
    Taro_2D ground, wetGround;
    ground.insert(vPoints);
    if (!ground.is2D()) throw terrain::BadInput(options.input + ": all points lie on one line, no triangles");
    row("points") << ground.numberOfPoints() << "\n";
    std::vector<Triangle2*> vTriangles;
    ground.getTrianglePointers(vTriangles);
    const IsoContours isoContours(vTriangles);
    Content content;
    content.box = ground.computeBoundingBox();
    content.interval = options.interval > 0 ? options.interval : proposeInterval(isoContours);
    content.vLevels = contour(isoContours, content.interval);
    content.vProfile = takeProfile(ground, isoContours);
    if (options.flood) content.flood = flood(vPoints, *options.flood, wetGround);
    std::filesystem::create_directories(options.outFolder);
    draw(content, options.outFolder);
    if (options.bPage) writePage(content, ground, options.outFolder / "contours.html");
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
