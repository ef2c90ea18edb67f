// Contour lines of a real piece of ground: triangulate its points, take the lines at even heights, measure them, and
// draw them as a map; then the profile from one side to the other through the highest point.

#include <algorithm>
#include <chrono>
#include <cmath>
#include <exception>
#include <filesystem>
#include <iomanip>
#include <iostream>
#include <sstream>

#include "drawings.h"
#include "options.h"
#include "picture.h"
#include "readers.h"
#include "taro25d/taro25d.h"

using namespace LUMO_TARO25D;

namespace contours {

std::string toText(double number) {
    std::ostringstream text;
    text << std::setprecision(10) << number;
    return text.str();
}

}  // namespace contours

using namespace contours;

namespace {

/// What the program returns to the shell.
enum ExitStatus { ALL_IS_WELL = 0, BAD_DATA = 1, BAD_USAGE = 2 };

/// Starts a line of a table.
std::ostream& row(const std::string& name) { return std::cout << "  " << std::left << std::setw(12) << name; }

// ---- Contours ----

/// The nearest of 1, 2, 5, 10, 20, 50, ... that makes at least 15 steps of the range.
double proposeInterval(double range) {
    const double power = std::pow(10, std::floor(std::log10(range / 15)));
    const double digit = range / 15 / power;
    return power * (digit >= 5 ? 5 : digit >= 2 ? 2 : 1);
}

/// All multiples of the interval between the lowest and the highest point.
std::vector<Level> takeLevels(const IsoContours& isoContours, double interval) {
    constexpr double MAX_LEVELS = 1000;
    const double first = std::ceil(isoContours.getMinHeight() / interval);
    const double last = std::floor(isoContours.getMaxHeight() / interval);
    if (!(last - first < MAX_LEVELS)) throw UsageError("more than 1000 levels: a larger --interval is needed");
    std::vector<Level> vLevels;
    for (double i = first; i <= last; ++i) {
        Level level{i * interval, std::fmod(i, 5) == 0, {}};
        // Heights at which there are points are moved by the library, which need not say so each time.
        if (!isoContours.getContours(level.height, level.vvLines, false))
            std::cout << "  no contours at " << level.height << "\n";
        vLevels.push_back(std::move(level));
    }
    return vLevels;
}

bool isClosed(const Polyline& vLine) { return vLine.front().getSrc() == vLine.back().getTrg(); }

void printLevels(const std::vector<Level>& vLevels) {
    size_t numLines = 0, numClosed = 0, numSegments = 0;
    for (const Level& level : vLevels) {
        numLines += level.vvLines.size();
        for (const Polyline& vLine : level.vvLines) {
            numClosed += isClosed(vLine);
            numSegments += vLine.size();
        }
    }
    row("levels") << vLevels.size() << "\n";
    row("lines") << numLines << ", " << numClosed << " of them closed\n";
    row("segments") << numSegments << "\n";
}

std::vector<Level> contour(const IsoContours& isoContours, double interval) {
    const double low = isoContours.getMinHeight(), high = isoContours.getMaxHeight();
    if (!(interval > 0)) interval = high > low ? proposeInterval(high - low) : 1;
    std::cout << "\nContours\n";
    row("heights") << low << " to " << high << "\n";
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

    std::cout << "\nProfile\n";
    row("through") << "(" << summit.x() << ", " << summit.y() << "), the highest point\n";
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

void toPng(const std::string& filename) {
    if (!std::filesystem::is_regular_file(filename)) throw terrain::BadInput(filename + ": cannot be written");
    if (terrain::convertToPng(filename)) return;
    std::cout << "  no PNG of " << filename << ": ghostscript (gs) is missing or failed\n";
}

ExitStatus run(const Options& options) {
    std::cout << "Reading " << options.input << std::setprecision(10) << "\n";
    Taro_2D ground;
    ground.insert(terrain::readPoints(options.input));
    if (!ground.is2D()) throw terrain::BadInput(options.input + ": all points lie on one line, no triangles");
    std::vector<Triangle2*> vTriangles;
    ground.getTrianglePointers(vTriangles);
    const IsoContours isoContours(vTriangles);
    const std::vector<Level> vLevels = contour(isoContours, options.interval);
    const Polyline vProfile = takeProfile(ground, isoContours);

    std::cout << "\nDrawing\n";
    std::filesystem::create_directories(options.outFolder);
    const std::string map = options.outFolder / "contours.ps", profile = options.outFolder / "profile.ps";
    drawMap(map, vLevels, ground.computeBoundingBox());
    toPng(map);
    drawProfile(profile, vProfile, vLevels);
    toPng(profile);
    return ALL_IS_WELL;
}

}  // namespace

int main(int numArguments, char** aArguments) {
    try {
        const Options options = parseOptions(numArguments, aArguments);
        if (!options.bHelp) return run(options);
        std::cout << USAGE;
        return ALL_IS_WELL;
    } catch (const UsageError& problem) {
        std::cerr << "contours: " << problem.what() << "\n\n" << USAGE;
        return BAD_USAGE;
    } catch (const std::exception& problem) {
        std::cerr << "contours: " << problem.what() << "\n";
        return BAD_DATA;
    }
}
