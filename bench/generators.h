#pragma once

// Points and segments shared by the benchmarks. Equal arguments give equal points on every machine: only the raw output
// of the generator is used, because the distributions of the standard library differ between implementations.

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <random>
#include <utility>
#include <vector>

#include "taro25d/Point2.h"
#include "taro25d/Segment2.h"

namespace bench {

using LUMO_TARO25D::Point2;
using LUMO_TARO25D::Segment2;
using Points = std::vector<Point2>;
using Segments = std::vector<Segment2>;

class Random {
  public:
    explicit Random(std::uint64_t seed) : engine_(seed) {}
    /// Uniform in [0, 1).
    double unit() { return double(engine_() >> 11) * 0x1p-53; }
    double between(double low, double high) { return low + unit() * (high - low); }
    /// Standard normal (Box and Muller 1958).
    double normal() { return std::sqrt(-2.0 * std::log(1.0 - unit())) * std::cos(2.0 * M_PI * unit()); }
    std::size_t below(std::size_t n) { return engine_() % n; }

  private:
    std::mt19937_64 engine_;
};

/// Fisher and Yates.
template <class T>
void shuffle(std::vector<T>& vItems, Random& random) {
    for (std::size_t i = vItems.size(); i > 1; --i) std::swap(vItems[i - 1], vItems[random.below(i)]);
}

/// A smooth surface, so that heights are no constants.
inline double surface(double x, double y) { return std::sin(3.0 * x) + std::cos(5.0 * y); }

/// Uniform in the unit square.
inline Points uniform(std::size_t n, std::uint64_t seed = 1) {
    Random random(seed);
    Points vPoints(n);
    for (Point2& point : vPoints) {
        const double x = random.unit(), y = random.unit();
        point.set(x, y, surface(x, y));
    }
    return vPoints;
}

/// Uniform points on a surface with hills on hills, down to a few hundred points each, so that contours are long and
/// wind.
inline Points hills(std::size_t n) {
    Points vPoints = uniform(n);
    for (Point2& point : vPoints) {
        double height = 0.0;
        for (double frequency = 2.0; frequency < 200.0; frequency *= 2.0)
            height += 100.0 / frequency * std::sin(frequency * (3.0 * point.x() + 0.7 * point.y()) + frequency) *
                      std::cos(frequency * (2.6 * point.y() - 0.9 * point.x()));
        point.set(point.x(), point.y(), height);
    }
    return vPoints;
}

/// 200 gaussian clusters, their centres uniform in the unit square, in random order.
inline Points clustered(std::size_t n) {
    constexpr std::size_t numClusters = 200;
    constexpr double sigma = 0.01;
    Random random(2);
    const Points vCentres = uniform(numClusters, 3);
    Points vPoints(n);
    for (Point2& point : vPoints) {
        const Point2& centre = vCentres[random.below(numClusters)];
        const double x = centre.x() + sigma * random.normal(), y = centre.y() + sigma * random.normal();
        point.set(x, y, surface(x, y));
    }
    return vPoints;
}

/// The first n points of a square grid of integers, in random order: every cell is cocircular.
inline Points grid(std::size_t n) {
    Random random(4);
    const auto side = std::size_t(std::ceil(std::sqrt(double(n))));
    Points vPoints(n);
    for (std::size_t i = 0; i < n; ++i) {
        const double x = double(i % side), y = double(i / side);
        vPoints[i].set(x, y, surface(0.01 * x, 0.01 * y));
    }
    shuffle(vPoints, random);
    return vPoints;
}

/// Parallel lines surveyed to and fro, in the order of recording: metres, large eastings and northings,
/// rounded to the centimetre. A point every 3 m along a line, a line every 12 m, both up to half a metre off.
inline Points surveyLines(std::size_t n) {
    constexpr double alongLine = 3.0, betweenLines = 12.0, noise = 0.5;
    const auto roundToCentimetre = [](double metres) { return std::round(metres * 100.0) / 100.0; };
    Random random(5);
    const std::size_t perLine = 2 * std::size_t(std::ceil(std::sqrt(double(n))));
    Points vPoints(n);
    for (std::size_t i = 0; i < n; ++i) {
        const std::size_t line = i / perLine, step = i % perLine;
        const std::size_t column = line % 2 == 0 ? step : perLine - 1 - step;
        const double x = 4.5e5 + alongLine * double(column) + random.between(-noise, noise);
        const double y = 5.2e6 + betweenLines * double(line) + random.between(-noise, noise);
        vPoints[i].set(roundToCentimetre(x), roundToCentimetre(y), surface(0.001 * x, 0.001 * y));
    }
    return vPoints;
}

/// Different points exactly on one line, in random order.
inline Points collinear(std::size_t n) {
    Random random(6);
    Points vPoints(n);
    for (std::size_t i = 0; i < n; ++i) vPoints[i].set(double(i), 0.5 * double(i) + 3.0, double(i % 100));
    shuffle(vPoints, random);
    return vPoints;
}

/// The set with one more point in its middle.
inline Points withStray(Points vPoints, double x, double y) {
    vPoints.insert(vPoints.begin() + std::ptrdiff_t(vPoints.size() / 2), Point2(x, y, 0.0));
    return vPoints;
}

/// Place along the Hilbert curve (1891) through a square of 2^16 x 2^16 cells.
inline std::uint64_t hilbertKey(std::uint32_t x, std::uint32_t y) {
    std::uint64_t key = 0;
    for (std::uint32_t cell = 1u << 15; cell > 0; cell /= 2) {
        const bool bRight = x & cell, bUpper = y & cell;
        key = 4 * key + (bRight ? (bUpper ? 2 : 3) : (bUpper ? 1 : 0));
        if (bUpper) continue;
        if (bRight) x = ~x, y = ~y;
        std::swap(x, y);
    }
    return key;
}

/// Points of the unit square in the order of the Hilbert curve.
inline void sortAlongCurve(Points& vPoints) {
    const auto cell = [](double coordinate) { return std::uint32_t(coordinate * 65535.0); };
    std::vector<std::pair<std::uint64_t, std::size_t>> vKeys(vPoints.size());
    for (std::size_t i = 0; i < vPoints.size(); ++i)
        vKeys[i] = {hilbertKey(cell(vPoints[i].x()), cell(vPoints[i].y())), i};
    std::sort(vKeys.begin(), vKeys.end());
    Points vSorted;
    vSorted.reserve(vPoints.size());
    for (const auto& [key, i] : vKeys) vSorted.push_back(vPoints[i]);
    vPoints.swap(vSorted);
}

struct Shape {
    const char* name;
    Points (*make)(std::size_t n);
};

inline constexpr Shape aShapes[] = {
    {"uniform", [](std::size_t n) { return uniform(n); }},
    {"clustered", clustered},
    {"grid", grid},
    {"survey", surveyLines},
};

// ---- Segments in the unit square ----

inline Point2 onSurface(double x, double y) { return Point2(x, y, surface(x, y)); }

/// Disjoint segments in random order: one in each of n cells of a square grid.
inline Segments shortSegments(std::size_t n) {
    Random random(8);
    const auto side = std::size_t(std::ceil(std::sqrt(double(n))));
    const auto end = [&](std::size_t cell) {
        const double x = double(cell % side) + random.unit(), y = double(cell / side) + random.unit();
        return onSurface(x / double(side), y / double(side));
    };
    Segments vSegments;
    vSegments.reserve(n);
    for (std::size_t cell = 0; cell < n; ++cell) {
        const Point2 src = end(cell);
        vSegments.emplace_back(src, end(cell));
    }
    shuffle(vSegments, random);
    return vSegments;
}

/// Long chords of a circle, each turned at random: three of four pairs cross.
inline Segments longSegments(std::size_t n) {
    constexpr double maxDeviation = 1.15;
    Random random(9);
    const auto end = [](double angle) { return onSurface(0.5 + 0.5 * std::cos(angle), 0.5 + 0.5 * std::sin(angle)); };
    Segments vSegments;
    vSegments.reserve(n);
    for (std::size_t i = 0; i < n; ++i) {
        const double angle = random.between(0.0, 2.0 * M_PI);
        vSegments.emplace_back(end(angle), end(angle + M_PI + random.between(-maxDeviation, maxDeviation)));
    }
    return vSegments;
}

/// Winding lines of 1,000 segments each, one above the other, that do not meet: a network of rivers.
inline Segments windingLines(std::size_t n) {
    constexpr std::size_t numInLine = 1000;
    Random random(10);
    const std::size_t numLines = n / numInLine;
    Segments vSegments;
    vSegments.reserve(numLines * numInLine);
    for (std::size_t line = 0; line < numLines; ++line) {
        const double phase = random.between(0.0, 2.0 * M_PI);
        const auto at = [&](std::size_t i) {
            const double x = (double(i) + 0.8 * random.unit()) / double(numInLine + 1);
            const double bend = 0.3 * std::sin(20.0 * x + phase) + 0.1 * random.unit();
            return onSurface(x, (double(line) + 0.5 + bend) / double(numLines));
        };
        Point2 from = at(0);
        for (std::size_t i = 1; i <= numInLine; ++i) {
            const Point2 to = at(i);
            vSegments.emplace_back(from, to);
            from = to;
        }
    }
    return vSegments;
}

/// Parallel segments from the left to the right of the square, or over the given share of that distance.
inline Segments acrossSegments(std::size_t n, double share = 1.0) {
    Segments vSegments;
    vSegments.reserve(n);
    for (std::size_t i = 0; i < n; ++i) {
        const double offset = 0.1 * double(i) / double(n);
        vSegments.emplace_back(onSurface(0.05, 0.4 + offset),
                               onSurface(0.05 + 0.9 * share, 0.4 + offset + 0.13 * share));
    }
    return vSegments;
}

// ---- Arguments of the predicates ----

using Triple = std::array<Point2, 3>;
using Triples = std::vector<Triple>;

template <class Make>
Triples makeTriples(Make make) {
    Random random(7);
    Triples vTriples(1024);
    for (Triple& triple : vTriples) make(random, triple);
    return vTriples;
}

inline Triples randomTriples() {
    return makeTriples([](Random& random, Triple& triple) {
        for (Point2& point : triple) point.set(random.unit(), random.unit(), 0.0);
    });
}

/// Triangles of a few metres at large coordinates.
inline Triples surveyTriples() {
    return makeTriples([](Random& random, Triple& triple) {
        const double x = random.between(4.5e5, 4.6e5), y = random.between(5.2e6, 5.3e6);
        for (Point2& point : triple) point.set(x + random.between(0.0, 5.0), y + random.between(0.0, 5.0), 0.0);
    });
}

/// The third point lies between the others, up to rounding.
inline Triples nearlyCollinearTriples() {
    return makeTriples([](Random& random, Triple& triple) {
        auto& [a, b, c] = triple;
        a.set(random.unit(), random.unit(), 0.0);
        b.set(random.unit(), random.unit(), 0.0);
        const double t = random.unit();
        c.set(a.x() + t * (b.x() - a.x()), a.y() + t * (b.y() - a.y()), 0.0);
    });
}

/// Collinear points of an integer grid.
inline Triples collinearTriples() {
    return makeTriples([](Random& random, Triple& triple) {
        const double x = double(random.below(1000)), y = double(random.below(1000));
        const double dx = 1.0 + double(random.below(10)), dy = 1.0 + double(random.below(10));
        for (int i = 0; i < 3; ++i) triple[i].set(x + i * dx, y + i * dy, 0.0);
    });
}

struct TripleKind {
    const char* name;
    Triples (*make)();
};

inline constexpr TripleKind aTripleKinds[] = {
    {"random", randomTriples},
    {"survey", surveyTriples},
    {"nearlyCollinear", nearlyCollinearTriples},
    {"collinear", collinearTriples},
};

}  // namespace bench
