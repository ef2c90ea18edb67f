// A tour of the library on a real piece of ground: read points, triangulate them, measure the mesh, ask for
// heights, check it, draw it. Each chapter is a function of its own, in the order in which main calls them.

#include <algorithm>
#include <chrono>
#include <cmath>
#include <filesystem>
#include <iomanip>
#include <iostream>
#include <sstream>
#include <string>
#include <vector>

#include "picture.h"
#include "program.h"
#include "progress_bar.h"
#include "readers.h"
#include "taro25d/taro25d.h"

using namespace LUMO_TARO25D;
using namespace examples;
using namespace terrain;

namespace {

struct Place {
    double x = 0, y = 0;
};

/// X,Y on the command line.
std::istream& operator>>(std::istream& text, Place& place) {
    char comma = 0;
    if (text >> place.x >> comma >> place.y && comma != ',') text.setstate(std::ios::failbit);
    return text;
}

struct Options {
    std::string input;
    std::filesystem::path outFolder = ".";
    std::vector<Place> vPlaces;  ///< where the height is asked for; perhaps none
    int numThreads = 1;
    bool bPicture = true, bPage = false;
};

void addOptions(CLI::App& app, Options& options) {
    addPointFile(app, options.input);
    app.add_option("--height", options.vPlaces, "print the height of the ground there; may be repeated")
        ->type_name("X,Y")
        ->allow_extra_args(false);
    app.add_option("--threads", options.numThreads, "insert the points on N threads, 0 for all of the machine")
        ->type_name("N")
        ->check(CLI::Range(0, 1024).description(""))
        ->capture_default_str();
    app.add_option("--out", options.outFolder, "write the pictures there")->type_name("FOLDER")->capture_default_str();
    app.add_flag("--page", options.bPage, "also write a page with the ground in space");
    app.add_flag_callback(
        "--no-picture", [&] { options.bPicture = false; }, "draw nothing");
}

// ---- Reading ----

std::vector<Point2> readGround(const std::string& filename) {
    printChapter("Reading " + filename);
    std::vector<Point2> vPoints = readPoints(filename);
    row("points") << vPoints.size() << "\n";
    return vPoints;
}

// ---- Triangulating: all points in one call, which is much faster than one by one ----

void triangulate(const std::vector<Point2>& vPoints, int numThreads, Taro_2D& ground) {
    printChapter("Triangulating");
    row("threads") << ground.setNumCPU(numThreads) << "\n";
    ProgressBar bar;
    ground.subscribe(MT_PROGRESS, &bar);
    const auto start = std::chrono::steady_clock::now();
    ground.insert(vPoints);
    const std::chrono::duration<double> seconds = std::chrono::steady_clock::now() - start;
    ground.unsubscribe(MT_PROGRESS, &bar);

    row("time") << std::fixed << std::setprecision(3) << seconds.count() << " s, " << std::setprecision(0)
                << static_cast<double>(vPoints.size()) / seconds.count() << " points per second\n"
                << std::defaultfloat << std::setprecision(10);
}

// ---- Measuring: everything can be reached from the lists of triangles and vertices ----

void printCounts(const Taro_2D& ground, size_t numPointsRead) {
    row("vertices") << ground.numberOfPoints() << " (" << numPointsRead - ground.numberOfPoints()
                    << " points at places that were taken)\n";
    row("triangles") << ground.numberOfTriangles() << "\n";
}

void printExtent(const Taro_2D& ground) {
    const Bbox2 box = ground.computeBoundingBox();
    row("bounding box") << "x " << box.getMinX() << " to " << box.getMaxX() << ", y " << box.getMinY() << " to "
                        << box.getMaxY() << "\n";
    std::vector<Point2*> vHull, vCorners;
    ground.getConvexHull(true, vHull);
    ground.getConvexHull(false, vCorners);
    row("convex hull") << vHull.size() << " vertices, " << vCorners.size() << " of them corners\n";
}

void printHeightRange(const Taro_2D& ground) {
    std::vector<Point2*> vVertices;
    ground.getVertexPointers(vVertices);
    const auto isLower = [](const Point2* pA, const Point2* pB) { return pA->z() < pB->z(); };
    const auto [lowest, highest] = std::minmax_element(vVertices.begin(), vVertices.end(), isLower);
    row("heights") << (*lowest)->z() << " to " << (*highest)->z() << "\n";
}

void printAngles(const Taro_2D& ground) {
    std::vector<Triangle2*> vTriangles;
    ground.getTrianglePointers(vTriangles);
    double smallest = 180, largest = 0;
    for (const Triangle2* pT : vTriangles) {
        for (int i = 0; i < 3; ++i) {
            smallest = std::min(smallest, pT->getInteriorAngle2D(i));
            largest = std::max(largest, pT->getInteriorAngle2D(i));
        }
    }
    row("angles") << smallest << " to " << largest << " degrees\n";
}

void measure(const Taro_2D& ground, size_t numPointsRead) {
    printChapter("Measuring");
    printCounts(ground, numPointsRead);
    printExtent(ground);
    printHeightRange(ground);
    printAngles(ground);
}

// ---- Heights: the surface between the vertices ----

/// Two places on the ground, and one outside.
std::vector<Point2> proposePlaces(const Taro_2D& ground) {
    const Bbox2 box = ground.computeBoundingBox();
    const double width = box.getMaxX() - box.getMinX(), height = box.getMaxY() - box.getMinY();
    const auto place = [&](double x, double y) {
        return Point2(box.getMinX() + x * width, box.getMinY() + y * height, 0);
    };
    return {place(0.5, 0.5), place(0.31, 0.72), place(1.03, 0.4)};
}

void printHeight(const Taro_2D& ground, const Point2& place, const std::string& name, double tolerance) {
    std::ostringstream text;
    text << std::setprecision(8);
    double height = 0;
    if (ground.getHeight(place.x(), place.y(), height)) {
        text << height;
    } else if (ground.getHeight(place.x(), place.y(), height, nullptr, tolerance)) {
        text << "outside; " << height << " at the nearest point of the hull";
    } else {
        text << "outside";
    }
    std::cout << "  " << name << " (" << place.x() << ", " << place.y() << "): " << text.str() << "\n";
}

/// Answers at the places asked for, or at proposed ones, and returns them for the picture.
std::vector<Mark> printHeights(const Taro_2D& ground, const std::vector<Place>& vAskedFor) {
    printChapter("Heights");
    std::vector<Point2> vPlaces;
    for (const Place& place : vAskedFor) vPlaces.emplace_back(place.x, place.y, 0);
    if (vPlaces.empty()) vPlaces = proposePlaces(ground);
    const Bbox2 box = ground.computeBoundingBox();
    const double tolerance = 0.1 * std::hypot(box.getMaxX() - box.getMinX(), box.getMaxY() - box.getMinY());
    std::vector<Mark> vMarks;
    for (const Point2& place : vPlaces) {
        vMarks.push_back({place, std::to_string(vMarks.size() + 1)});
        printHeight(ground, place, vMarks.back().name, tolerance);
    }
    return vMarks;
}

// ---- Checking: the library can prove its own result ----

bool check(const Taro_2D& ground) {
    printChapter("Checking");
    const bool bSound = ground.checkValidity(true, "terrain");
    row("structure") << (bSound ? "sound, and all circumcircles are empty" : "DAMAGED") << "\n";
    return bSound;
}

// ---- Drawing ----

void draw(const Taro_2D& ground, const std::vector<Mark>& vMarks, const std::filesystem::path& folder) {
    printChapter("Drawing");
    std::filesystem::create_directories(folder);
    const std::string overview = folder / "terrain.ps", summit = folder / "summit.ps";
    drawOverview(overview, ground, vMarks);
    drawSummit(summit, ground);
}

/// The ground in space, with the places that were asked for.
void writePage(const Taro_2D& ground, const std::vector<Mark>& vMarks, const std::filesystem::path& folder) {
    std::filesystem::create_directories(folder);
    std::vector<Triangle2*> vTriangles;
    ground.getTrianglePointers(vTriangles);
    Visualizer3 scene("The ground");
    scene.addSurface(vTriangles, "surface", CR_TERRAIN);
    for (const Mark& mark : vMarks) {
        double height = 0;
        if (!ground.getHeight(mark.position.x(), mark.position.y(), height)) continue;
        scene.addLabel(Label(Point2(mark.position.x(), mark.position.y(), height), mark.name, true, 12), "places");
    }
    scene.setVerticalExaggeration(3);
    scene.writeWebScene(folder / "terrain.html");
}

// ---- The tour ----

ExitStatus tour(const Options& options) {
    const std::vector<Point2> vPoints = readGround(options.input);
    Taro_2D ground;
    triangulate(vPoints, options.numThreads, ground);
    if (!ground.is2D()) throw BadInput(options.input + ": all points lie on one line, no triangles");
    measure(ground, vPoints.size());
    const std::vector<Mark> vMarks = printHeights(ground, options.vPlaces);
    const bool bSound = check(ground);
    if (options.bPicture) draw(ground, vMarks, options.outFolder);
    if (options.bPage) writePage(ground, vMarks, options.outFolder);
    return bSound ? ALL_IS_WELL : BAD_DATA;
}

}  // namespace

int main(int numArguments, char** aArguments) {
    CLI::App app("Triangulates the points of FILE, measures the mesh, checks it and draws it.", "terrain");
    Options options;
    addOptions(app, options);
    return runProgram(app, numArguments, aArguments, [&] { return tour(options); });
}
