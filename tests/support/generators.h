#pragma once

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <limits>
#include <random>
#include <vector>

#include "taro25d/Point2.h"

// Deterministic sets of points, from harmless to nasty. Each point has its index as custom index and, made
// into a height, as z, so that a test can tell which of several equal positions became the vertex.

using PointVector = std::vector<LUMO_TARO25D::Point2>;
using Random = std::mt19937_64;

/// A size for large cases, made smaller by the environment where a sanitizer makes everything slow.
inline size_t scaled(size_t n) {
    const char* scale = std::getenv("TARO25D_TEST_SCALE");
    return scale ? static_cast<size_t>(static_cast<double>(n) * std::atof(scale)) : n;
}

/// A random number in [from, to).
inline double uniform(Random& random, double from, double to) {
    return from + (to - from) * std::generate_canonical<double, 53>(random);
}

/// A random integer in [from, to].
inline double integer(Random& random, int from, int to) {
    return std::uniform_int_distribution<int>(from, to)(random);
}

inline void number(PointVector& vPoints) {
    for (size_t i = 0; i < vPoints.size(); ++i) {
        vPoints[i].set(vPoints[i].x(), vPoints[i].y(), 0.5 * static_cast<double>(i));
        vPoints[i].setCustomIndex(static_cast<int>(i));
    }
}

/// Points made one by one from their index; the function returns (x, y) as a pair.
template <class MakeXY>
PointVector makePoints(size_t n, const MakeXY& makeXY) {
    PointVector vPoints;
    for (size_t i = 0; i < n; ++i) {
        const auto [x, y] = makeXY(static_cast<double>(i));
        vPoints.emplace_back(x, y, 0.0);
    }
    number(vPoints);
    return vPoints;
}

/// The integer points (0 .. side-1)^2, moved to an origin and spread by a spacing, in random order.
inline PointVector makeGrid(size_t side, double originX, double originY, double spacing, Random& random) {
    PointVector vPoints = makePoints(side * side, [&](double i) {
        const double n = static_cast<double>(side);
        return std::pair(originX + std::fmod(i, n) * spacing, originY + std::floor(i / n) * spacing);
    });
    std::shuffle(vPoints.begin(), vPoints.end(), random);
    number(vPoints);
    return vPoints;
}

/// The integer points on x^2 + y^2 = 1105^2: 108 points, exactly on one circle.
inline PointVector makePythagoreanCircle(Random& random) {
    PointVector vPoints;
    for (int x = -1105; x <= 1105; ++x) {
        const double y = std::sqrt(1105.0 * 1105.0 - x * x);
        if (y != std::floor(y)) continue;
        vPoints.emplace_back(x, y, 0.0);
        if (y != 0.0) vPoints.emplace_back(x, -y, 0.0);
    }
    std::shuffle(vPoints.begin(), vPoints.end(), random);
    number(vPoints);
    return vPoints;
}

inline std::pair<double, double> surveyPoint(Random& random) {
    const auto roundToCentimetre = [](double v) { return std::round(v * 100.0) / 100.0; };
    return {roundToCentimetre(4.5e5 + uniform(random, 0.0, 300.0)),
            roundToCentimetre(5.2e6 + uniform(random, 0.0, 300.0))};
}

/// Survey points with one other point among them.
inline PointVector makeSurveyWithStray(size_t n, double strayX, double strayY, Random& random) {
    return makePoints(n, [&](double i) {
        return i == static_cast<double>(n / 3) ? std::pair(strayX, strayY) : surveyPoint(random);
    });
}

struct Generator {
    const char* name;
    PointVector (*make)(size_t n, Random& random);
};

// n is a wish; sets of exact arithmetic have the size that they have, and very costly ones are smaller.
inline const Generator generators[] = {
    {"Uniform",
     [](size_t n, Random& r) {
         return makePoints(n, [&](double) { return std::pair(uniform(r, -1, 1), uniform(r, -1, 1)); });
     }},
    {"Clusters",
     [](size_t n, Random& r) {
         std::normal_distribution<double> normal;
         return makePoints(n, [&](double) {
             const double centre = integer(r, 0, 6), spread = std::ldexp(1.0, -4 * int(centre));
             return std::pair(3.0 * centre + spread * normal(r), centre * centre + spread * normal(r));
         });
     }},
    {"Grid", [](size_t n, Random& r) { return makeGrid(static_cast<size_t>(std::sqrt(n)), -7, 3, 1, r); }},
    {"GridFarAway",
     [](size_t n, Random& r) { return makeGrid(static_cast<size_t>(std::sqrt(n)), 4.5e5, 5.2e6, 0.25, r); }},
    {"Survey", [](size_t n, Random& r) { return makePoints(n, [&](double) { return surveyPoint(r); }); }},
    {"RoundedCircle",
     [](size_t n, Random&) {
         return makePoints(n, [&](double i) { return std::pair(std::cos(i), std::sin(i)); });
     }},
    {"PythagoreanCircle", [](size_t, Random& r) { return makePythagoreanCircle(r); }},
    {"Spiral",
     [](size_t n, Random&) {
         return makePoints(n, [&](double i) { return std::pair(i * std::cos(i), i * std::sin(i)); });
     }},
    {"Horizontal",
     [](size_t n, Random& r) {
         return makePoints(n, [&](double) { return std::pair(uniform(r, -5, 5), 2.5); });
     }},
    {"Vertical",
     [](size_t n, Random& r) {
         return makePoints(n, [&](double) { return std::pair(-1e5, uniform(r, -5, 5)); });
     }},
    {"ExactlyOnTiltedLine",
     [](size_t n, Random& r) {
         return makePoints(n, [&](double) {
             const double k = integer(r, -100000, 100000);
             return std::pair(3.0 * k + 1.0, 7.0 * k - 2.0);
         });
     }},
    {"NearlyOnTiltedLine",
     [](size_t n, Random& r) {
         return makePoints(n, [&](double) {
             const double x = uniform(r, 0, 1), y = x / 3.0;
             return std::pair(x, integer(r, 0, 1) ? y : std::nextafter(y, integer(r, -1, 1)));
         });
     }},
    {"NearlyOnDiagonal",
     [](size_t n, Random& r) {
         return makePoints(n, [&](double) {
             const auto nudge = [&] { return integer(r, -8, 8) * 0x1p-53; };
             const double x = 0.5 + integer(r, 0, 64) / 128.0;
             return std::pair(x + nudge(), x + nudge());
         });
     }},
    {"Duplicates",
     [](size_t n, Random& r) {
         return makePoints(n, [&](double) { return std::pair(integer(r, -4, 4), integer(r, -4, 4)); });
     }},
    {"AllEqual", [](size_t n, Random&) { return makePoints(n, [](double) { return std::pair(0.1, 0.2); }); }},
    {"SignedZeros",
     [](size_t n, Random& r) {
         return makePoints(n, [&](double) {
             return std::pair(0.0 * integer(r, -1, 1) + integer(r, 0, 1), -0.0 * integer(r, 0, 1));
         });
     }},
    {"StrayOrigin", [](size_t n, Random& r) { return makeSurveyWithStray(n, 0.0, 0.0, r); }},
    {"StrayHuge", [](size_t n, Random& r) { return makeSurveyWithStray(n, -1e300, 1e300, r); }},
    {"Magnitudes",
     [](size_t n, Random& r) {
         return makePoints(n / 8, [&](double) {
             const auto any = [&] { return uniform(r, -1, 1) * std::pow(10.0, integer(r, -300, 300)); };
             return std::pair(any(), any());
         });
     }},
    {"Subnormals",
     [](size_t n, Random& r) {
         return makePoints(n / 2, [&](double) {
             return std::pair(integer(r, -50, 50) * 0x1p-1074, integer(r, -50, 50) * 0x1p-1074);
         });
     }},
    {"Underflow",
     [](size_t n, Random& r) {
         return makePoints(n / 2, [&](double) {
             return std::pair(uniform(r, -1, 1) * 0x1p-520, uniform(r, -1, 1) * 0x1p-530);
         });
     }},
    {"Overflow",
     [](size_t n, Random& r) {
         return makePoints(n / 2, [&](double) {
             const double limit = std::numeric_limits<double>::max();
             return std::pair(integer(r, -3, 3) / 3 * limit, uniform(r, -1, 1) * limit);
         });
     }},
    {"NestedCorners",
     [](size_t n, Random& r) {
         return makePoints(n / 4, [&](double) {
             const auto power = [&] { return std::ldexp(integer(r, 0, 1), int(integer(r, -1074, 1023))); };
             return std::pair(power(), power());
         });
     }},
    {"NestedRings",
     [](size_t n, Random& r) {
         return makePoints(n / 2, [&](double i) {
             const double size = std::ldexp(1.0, -int(i / 4));
             return std::pair(1.0 + size * integer(r, -1, 1), 2.0 + size * integer(r, -1, 1));
         });
     }},
    {"ThinStrip",
     [](size_t n, Random& r) {
         return makePoints(n, [&](double) { return std::pair(uniform(r, 0, 1e6), integer(r, 0, 1) * 1e-9); });
     }},
};
