#pragma once

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <limits>
#include <numeric>
#include <random>
#include <set>
#include <utility>
#include <vector>

#include "taro25d/Point2.h"

// Deterministic sets of points, from harmless to nasty.

using PointVector = std::vector<LUMO_TARO25D::Point2>;
using Random = std::mt19937_64;
using XY = std::pair<double, double>;

constexpr double INF = std::numeric_limits<double>::infinity();
constexpr double NOT_A_NUMBER = std::numeric_limits<double>::quiet_NaN();
constexpr double MAX = std::numeric_limits<double>::max();

/// A size for large cases, made smaller by the environment where a sanitizer makes everything slow.
inline size_t scaled(size_t n) {
    const char* scale = std::getenv("TARO25D_TEST_SCALE");
    return scale ? static_cast<size_t>(static_cast<double>(n) * std::atof(scale)) : n;
}

/// A random number in [from, to).
inline double uniform(Random& r, double from, double to) {
    return from + (to - from) * std::generate_canonical<double, 53>(r);
}

/// A random integer in [from, to].
inline double integer(Random& r, int from, int to) { return std::uniform_int_distribution<int>(from, to)(r); }

/// Points made one by one from their index. Height and custom index tell which of several equal positions
/// became the vertex.
template <class MakeXY>
PointVector makePoints(size_t n, const MakeXY& makeXY) {
    PointVector vPoints;
    for (size_t i = 0; i < n; ++i) {
        const XY xy = makeXY(static_cast<double>(i));
        vPoints.emplace_back(xy.first, xy.second, 0.5 * static_cast<double>(i));
        vPoints.back().setCustomIndex(static_cast<int>(i));
    }
    return vPoints;
}

/// The points of makePoints() in random order.
template <class MakeXY>
PointVector makeShuffledPoints(size_t n, const MakeXY& makeXY, Random& r) {
    std::vector<double> vOrder(n);
    std::iota(vOrder.begin(), vOrder.end(), 0.0);
    std::shuffle(vOrder.begin(), vOrder.end(), r);
    return makePoints(n, [&](double i) { return makeXY(vOrder[static_cast<size_t>(i)]); });
}

/// Random points of a box, with random heights.
inline PointVector makeScattered(size_t n, double minX, double minY, double maxX, double maxY, Random& r,
                                 double maxHeight = 0) {
    PointVector vPoints;
    for (size_t i = 0; i < n; ++i) {
        const double x = uniform(r, minX, maxX), y = uniform(r, minY, maxY);
        vPoints.emplace_back(x, y, uniform(r, 0, maxHeight));
    }
    return vPoints;
}

/// Uniform points in [-1, 1]^2.
inline PointVector makeUniform(size_t n, unsigned seed) {
    Random random(seed);
    return makeScattered(n, -1, -1, 1, 1, random);
}

/// The integer points (0 .. side-1)^2, spread by a spacing and moved to an origin, in random order.
inline PointVector makeGrid(size_t side, double originX, double originY, double spacing, Random& r) {
    const double n = static_cast<double>(side);
    const auto at = [=](double i) {
        return XY(originX + std::fmod(i, n) * spacing, originY + std::floor(i / n) * spacing);
    };
    return makeShuffledPoints(side * side, at, r);
}

/// An integer point on the circle of radius 1105, which has 108 of them.
inline XY pythagoreanPoint(Random& r) {
    for (;;) {
        const double x = integer(r, -1105, 1105), y = std::sqrt(1105.0 * 1105.0 - x * x);
        if (y == std::floor(y)) return {x, integer(r, 0, 1) ? y : -y};
    }
}

/// All 108 integer points on that circle in random order.
inline PointVector makePythagoreanCircle(Random& r) {
    std::set<XY> sCircle;
    while (sCircle.size() < 108) sCircle.insert(pythagoreanPoint(r));
    const std::vector<XY> vCircle(sCircle.begin(), sCircle.end());
    return makeShuffledPoints(
        108, [&](double i) { return vCircle[static_cast<size_t>(i)]; }, r);
}

inline XY surveyPoint(Random& r) {
    return {std::round(4.5e7 + uniform(r, 0, 30000)) / 100, std::round(5.2e8 + uniform(r, 0, 30000)) / 100};
}

struct Generator {
    const char* name;
    XY (*at)(double i, Random& r);

    PointVector make(size_t n, Random& r) const {
        return makePoints(n, [&](double i) { return at(i, r); });
    }
};

inline const Generator generators[] = {
    {"Uniform", [](double, Random& r) { return XY(uniform(r, -1, 1), uniform(r, -1, 1)); }},
    {"Clusters",
     [](double, Random& r) {
         const double k = integer(r, 0, 6);
         std::normal_distribution<double> normal(0, std::ldexp(1, int(-4 * k)));
         return XY(3 * k + normal(r), k * k + normal(r));
     }},
    {"Grid", [](double, Random& r) { return XY(integer(r, -9, 9), 5 + integer(r, -9, 9)); }},
    {"Survey", [](double, Random& r) { return surveyPoint(r); }},
    {"StrayOrigin", [](double i, Random& r) { return i == 5 ? XY(0, 0) : surveyPoint(r); }},
    {"StrayHuge", [](double i, Random& r) { return i == 5 ? XY(-1e300, 1e300) : surveyPoint(r); }},
    {"RoundedCircle", [](double i, Random&) { return XY(std::cos(i), std::sin(i)); }},
    {"PythagoreanCircle", [](double, Random& r) { return pythagoreanPoint(r); }},
    {"Spiral", [](double i, Random&) { return XY(i * std::cos(i), i * std::sin(i)); }},
    {"AllEqual", [](double, Random&) { return XY(0.1, 0.2); }},
    {"Vertical", [](double, Random& r) { return XY(-1e5, uniform(r, -5, 5)); }},
    {"OnTiltedLine",
     [](double, Random& r) {
         const double k = integer(r, -1000, 1000);
         return XY(3 * k + 1, 7 * k - 2);
     }},
    {"NearlyOnTiltedLine",
     [](double, Random& r) {
         const double x = uniform(r, 0, 1);
         return XY(x, std::nextafter(x / 3, integer(r, -1, 1)));
     }},
    {"NearlyOnDiagonal",
     [](double, Random& r) {
         const double x = 0.5 + integer(r, 0, 64) / 128.0;
         return XY(x + integer(r, -8, 8) * 0x1p-53, x + integer(r, -8, 8) * 0x1p-53);
     }},
    {"Magnitudes",
     [](double, Random& r) {
         return XY(std::ldexp(uniform(r, -1, 1), int(integer(r, -1000, 1000))),
                   std::ldexp(uniform(r, -1, 1), int(integer(r, -1000, 1000))));
     }},
    {"NestedCorners",
     [](double, Random& r) {
         return XY(std::ldexp(integer(r, 0, 1), int(integer(r, -1074, 1023))),
                   std::ldexp(integer(r, 0, 1), int(integer(r, -1074, 1023))));
     }},
    {"Subnormals",
     [](double, Random& r) { return XY(integer(r, -50, 50) * 0x1p-1074, integer(r, -50, 50) * 0x1p-1074); }},
    {"Underflow", [](double, Random& r) { return XY(uniform(r, -1, 1) * 0x1p-520, uniform(r, -1, 1) * 0x1p-530); }},
    {"Overflow", [](double, Random& r) { return XY(integer(r, -3, 3) / 3.0 * MAX, uniform(r, -1, 1) * MAX); }},
};
