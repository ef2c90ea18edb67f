// Artificial surfaces. Equal seeds give equal points on every machine: only the raw output of the generator and plain
// arithmetic are used, since distributions and functions of the standard library differ between machines.

#include "taro25d/syntheticSurfaces.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <random>

#include "support/diagnostics.h"

namespace LUMO_TARO25D {

namespace {

class Random {
  public:
    explicit Random(std::uint64_t seed) : engine_(seed) {}
    /// Uniform in [0, 1).
    double unit() { return static_cast<double>(engine_() >> 11) * 0x1p-53; }
    double between(double low, double high) { return low + unit() * (high - low); }
    /// Mean 0 and standard deviation 1: the sum of twelve uniform numbers, less 6.
    double bell() {
        double sum = -6.0;
        for (int i = 0; i < 12; ++i) sum += unit();
        return sum;
    }

  private:
    std::mt19937_64 engine_;
};

/// Smooth noise. Each octave has values between -1 and 1 at the corners of square cells; its cells and its weight are
/// half of those of the octave before.
class Ground {
  public:
    Ground(double extent, std::uint64_t seed) : extent_(extent), seed_(seed) {}

    /// The value at a place, without octaves whose cells are smaller than a width.
    double getHeight(double x, double y, double minWidth = 0.0) const {
        double height = 0.0, weight = extent_ / 16.0, frequency = 2.0;
        for (int octave = 0; octave < NUM_OCTAVES && !(extent_ / frequency < minWidth);
             ++octave, weight *= 0.5, frequency *= 2.0)
            height += weight * getNoise(x / extent_ * frequency, y / extent_ * frequency, octave);
        return height;
    }

  private:
    static constexpr int NUM_OCTAVES = 12;

    double getNoise(double x, double y, int octave) const {
        const double column = std::floor(x), row = std::floor(y);
        const double u = getSmoothStep(x - column), v = getSmoothStep(y - row);
        const auto at = [&](double i, double j) { return getValue(column + i, row + j, octave); };
        const double south = at(0, 0) + u * (at(1, 0) - at(0, 0)), north = at(0, 1) + u * (at(1, 1) - at(0, 1));
        return south + v * (north - south);
    }
    /// From 0 to 1 with slope and curvature 0 at both ends (Perlin 2002).
    static double getSmoothStep(double t) { return t * t * t * (t * (6.0 * t - 15.0) + 10.0); }
    /// Mixes the cell and the octave with the seed (Steele, Lea and Flood 2014, splitmix64).
    double getValue(double column, double row, int octave) const {
        std::uint64_t bits = seed_ + static_cast<std::uint64_t>(octave) * 0x9E3779B97F4A7C15;
        for (const double coordinate : {column, row}) {
            bits += static_cast<std::uint64_t>(static_cast<std::int64_t>(coordinate)) + 0x9E3779B97F4A7C15;
            bits = (bits ^ (bits >> 30)) * 0xBF58476D1CE4E5B9;
            bits = (bits ^ (bits >> 27)) * 0x94D049BB133111EB;
            bits ^= bits >> 31;
        }
        return static_cast<double>(bits >> 11) * 0x1p-52 - 1.0;
    }

    double extent_;
    std::uint64_t seed_;
};

bool isLargeEnough(double length, double smallest, const char* function) {
    if (std::isfinite(length) && length >= smallest) return true;
    warning(function, "the length is not finite or too small");
    return false;
}

/// The axis of a road from 0 to 1: zero at both ends and in the middle, about 0.1 to either side between.
double getSwing(double t) { return t * (1.0 - t) * (1.0 - 2.0 * t); }
double getSwingSlope(double t) { return 1.0 - 6.0 * t * (1.0 - t); }

}  // namespace

std::vector<Point2> makeFractalTerrain(size_t numPoints, double extent, std::uint64_t seed) {
    std::vector<Point2> vPoints;
    if (!isLargeEnough(extent, std::numeric_limits<double>::min(), "makeFractalTerrain()")) return vPoints;
    const Ground ground(extent, seed);
    Random random(seed);
    vPoints.reserve(numPoints);
    while (vPoints.size() < numPoints) {
        const double x = random.between(0.0, extent), y = random.between(0.0, extent);
        vPoints.emplace_back(x, y, ground.getHeight(x, y));
    }
    return vPoints;
}

std::vector<Point2> makeSurveyLines(size_t numPoints, double extent, std::uint64_t seed) {
    constexpr double LINES_TO_POINTS = 20.0;
    std::vector<Point2> vPoints;
    if (!isLargeEnough(extent, std::numeric_limits<double>::min(), "makeSurveyLines()")) return vPoints;
    const Ground ground(extent, seed);
    Random random(seed);
    const double numLines = std::max(1.0, std::round(std::sqrt(static_cast<double>(numPoints) / LINES_TO_POINTS)));
    const double perLine = static_cast<double>(numPoints) / numLines, step = extent / perLine, gap = extent / numLines;
    vPoints.reserve(numPoints);
    for (size_t k = 0; k < numPoints; ++k) {
        const double line = std::min(std::floor(static_cast<double>(k) / perLine), numLines - 1.0);
        const double along = (static_cast<double>(k) - line * perLine + random.unit()) * step;
        const bool bBack = std::fmod(line, 2.0) != 0.0;
        const double x = std::clamp(bBack ? extent - along : along, 0.0, extent);
        const double y = std::clamp((line + 0.5) * gap + 0.1 * step * random.bell(), 0.0, extent);
        vPoints.emplace_back(x, y, ground.getHeight(x, y));
    }
    return vPoints;
}

std::vector<Point2> makeStockpile(size_t numPoints, double height, std::uint64_t seed) {
    std::vector<Point2> vPoints;
    if (!isLargeEnough(height, std::numeric_limits<double>::min(), "makeStockpile()")) return vPoints;
    Random random(seed);
    vPoints.reserve(numPoints);
    while (vPoints.size() < numPoints) {
        const double x = random.between(-2.0, 2.0), y = random.between(-2.0, 2.0);
        const double z = std::max(0.0, 1.0 - 0.75 * std::sqrt(x * x + y * y));
        vPoints.emplace_back(x * height, y * height, z * height);
    }
    return vPoints;
}

std::vector<Point2> makeRoad(size_t numPoints, double length, std::uint64_t seed) {
    constexpr double HALF_WIDTH = 4.0, CROSSFALL = 0.025, SLOPE = 2.0 / 3.0, SMOOTH = 100.0;
    constexpr int MAX_STEPS = 400;
    std::vector<Point2> vPoints;
    if (!isLargeEnough(length, 2.0 * HALF_WIDTH, "makeRoad()")) return vPoints;
    const Ground ground(length, seed);
    const size_t numSections = numPoints / 5;
    for (size_t k = 0; k < numSections; ++k) {
        const double t = numSections > 1 ? static_cast<double>(k) / static_cast<double>(numSections - 1) : 0.0;
        const double x = t * length, y = length * (0.5 + getSwing(t)), z = ground.getHeight(x, y, SMOOTH);
        const double norm = std::sqrt(1.0 + getSwingSlope(t) * getSwingSlope(t));
        const double leftX = -getSwingSlope(t) / norm, leftY = 1.0 / norm;
        const auto at = [&](double offset, double height) {
            return Point2(x + offset * leftX, y + offset * leftY, height);
        };
        // The slope of a fill or a cut continues until it has passed the ground.
        const auto getEnd = [&](double side) {
            const double edge = z - HALF_WIDTH * CROSSFALL;
            const auto above = [&](double out) {
                const Point2 place = at(side * (HALF_WIDTH + out), 0.0);
                return edge - ground.getHeight(place.x(), place.y());
            };
            const double sign = above(0.0) > 0.0 ? 1.0 : -1.0;
            double out = 0.0;
            for (int i = 0; i < MAX_STEPS && sign * above(out) > SLOPE * out; ++i) out += 0.5;
            return at(side * (HALF_WIDTH + out), edge - sign * SLOPE * out);
        };
        vPoints.push_back(getEnd(1.0));
        vPoints.push_back(at(HALF_WIDTH, z - HALF_WIDTH * CROSSFALL));
        vPoints.push_back(at(0.0, z));
        vPoints.push_back(at(-HALF_WIDTH, z - HALF_WIDTH * CROSSFALL));
        vPoints.push_back(getEnd(-1.0));
    }
    return vPoints;
}

std::vector<Point2> makeScannedFacade(size_t numPoints, double noise, std::uint64_t seed) {
    constexpr double WIDTH = 24.0, HEIGHT = 12.0, BAY = 3.0, STOREY = 4.0;
    std::vector<Point2> vPoints;
    if (!(noise >= 0.0) || !std::isfinite(noise)) {
        warning("makeScannedFacade()", "the noise is negative or not finite");
        return vPoints;
    }
    Random random(seed);
    vPoints.reserve(numPoints);
    while (vPoints.size() < numPoints) {
        const double x = random.between(0.0, WIDTH), y = random.between(0.0, HEIGHT);
        const double inBay = std::fmod(x, BAY), inStorey = std::fmod(y, STOREY);
        const bool bWindow = inBay > 0.9 && inBay < 2.1 && inStorey > 1.0 && inStorey < 2.8;
        const double depth = bWindow ? -0.25 : inStorey > 3.7 ? 0.15 : 0.0;
        vPoints.emplace_back(x, y, depth + noise * random.bell());
    }
    return vPoints;
}

}  // namespace LUMO_TARO25D
