// Input of special shape, against as much uniform input: no shape may cost many times as much for an item.

#include <cmath>
#include <memory>
#include <utility>

#include "taro25d/Zone2.h"
#include "triangulations.h"

namespace bench {

namespace {

using LUMO_TARO25D::CIS_CONSTRAINED_DELAUNAY;
using LUMO_TARO25D::Zone2;

/// The share of a sample that the given share of its work would have taken.
Sample scaled(Sample sample, double share) {
    sample.cpu *= share;
    sample.wall *= share;
    return sample;
}

// ---- Points ----

Sample insertOneByOne(const Points& vPoints) {
    Taro_2D taro;
    return timed([&] {
        for (const Point2& point : vPoints) taro.insert(point);
    });
}

/// Both sides insert equally many points, in the order given.
Contest oneByOne(Points vPoints) {
    auto pInput = std::make_shared<const Points>(std::move(vPoints));
    auto pUniform = std::make_shared<const Points>(uniform(pInput->size()));
    return {[pInput] { return insertOneByOne(*pInput); }, [pUniform] { return insertOneByOne(*pUniform); }};
}

Contest allAtOnce(Points vPoints) {
    auto pInput = std::make_shared<const Points>(std::move(vPoints));
    auto pUniform = std::make_shared<const Points>(uniform(pInput->size()));
    return {[pInput] { return ourBulk(*pInput); }, [pUniform] { return ourBulk(*pUniform); }, false};
}

/// n points along a curve over [0, 1], after a point off it.
template <class Curve>
Points alongCurve(std::size_t n, const Point2& off, Curve curve) {
    Points vPoints{off};
    for (std::size_t i = 1; i < n; ++i) vPoints.push_back(curve(double(i) / double(n)));
    return vPoints;
}

Points sortedLine(std::size_t n) {
    return alongCurve(n, Point2(0.5, 10.0, 0.0), [](double t) { return Point2(t, 0.0, 0.0); });
}
Points sortedParabola(std::size_t n) {
    return alongCurve(n, Point2(0.5, 10.0, 0.0), [](double t) { return Point2(t, t * t, 0.0); });
}
Points sortedArc(std::size_t n) {
    return alongCurve(n, Point2(0.0, 0.0, 0.0),
                      [](double t) { return Point2(std::cos(0.9 * M_PI * t), std::sin(0.9 * M_PI * t), 0.0); });
}

Points times(Points vPoints, double factor) {
    for (Point2& point : vPoints) point.set(point.x() * factor, point.y() * factor, point.z());
    return vPoints;
}

// ---- Segments ----

Sample establish(const Segments& vSegments) {
    Taro_2D taro;
    Sample sample = timed([&] { taro.createConstraint(vSegments, CIS_CONSTRAINED_DELAUNAY); });
    sample.result = {taro.numberOfPoints()};
    return sample;
}

/// Both sides establish equally many segments.
Contest segments(Segments vSegments) {
    auto pInput = std::make_shared<const Segments>(std::move(vSegments));
    auto pUniform = std::make_shared<const Segments>(shortSegments(pInput->size()));
    return {[pInput] { return establish(*pInput); }, [pUniform] { return establish(*pUniform); }, false};
}

/// Segments to all sides, from a common end or with a common middle.
Segments star(std::size_t n, bool bCommonEnd) {
    Segments vSegments;
    for (std::size_t i = 0; i < n; ++i) {
        const double angle = (bCommonEnd ? 2.0 : 1.0) * M_PI * double(i) / double(n);
        const double x = std::cos(angle), y = std::sin(angle);
        vSegments.emplace_back(bCommonEnd ? Point2(0.0, 0.0, 0.0) : Point2(-x, -y, 0.0), Point2(x, y, 0.0));
    }
    return vSegments;
}

/// n lines from west to east and n from south to north.
Segments gridLines(std::size_t n) {
    Segments vSegments;
    for (std::size_t i = 0; i < n; ++i) {
        const double place = double(i) + 0.5, end = double(n);
        vSegments.emplace_back(Point2(0.0, place, 0.0), Point2(end, place, 0.0));
        vSegments.emplace_back(Point2(place, 0.0, 0.0), Point2(place, end, 0.0));
    }
    return vSegments;
}

/// Lines of a grid against random lines, for each vertex of the result; nearly all are crossings.
Contest crossings(std::size_t n) {
    auto pGrid = std::make_shared<const Segments>(gridLines(n));
    auto pRandom = std::make_shared<const Segments>(longSegments(n + n / 2));
    const double share = double(establish(*pGrid).result[0]) / double(establish(*pRandom).result[0]);
    return {[pGrid] { return establish(*pGrid); }, [=] { return scaled(establish(*pRandom), share); }, false};
}

// ---- Zones ----

/// The triangles of one zone after the other.
Sample askZones(const std::vector<Zone2*>& vZones) {
    std::size_t numTriangles = 0;
    Sample sample = timed([&] {
        for (const Zone2* pZone : vZones) {
            std::vector<Triangle2*> vTriangles;
            pZone->getTriangles(vTriangles);
            numTriangles += vTriangles.size();
        }
    });
    sample.result = {numTriangles};
    return sample;
}

/// A mesh of points in the unit square with square zones, equally many in each direction, that cover a quarter of it.
struct Squares {
    Squares(std::size_t numPoints, std::size_t numInRow) {
        taro.insert(uniform(numPoints));
        for (std::size_t i = 0; i < numInRow * numInRow; ++i) {
            const double side = 0.5 / double(numInRow);
            const double x = 2.0 * side * double(i % numInRow), y = 2.0 * side * double(i / numInRow);
            const Point2 a(x, y, 0.0), b(x + side, y, 0.0), c(x + side, y + side, 0.0), d(x, y + side, 0.0);
            const auto pGraph = taro.createConstraint({{a, b}, {b, c}, {c, d}, {d, a}}, CIS_CONSTRAINED_DELAUNAY);
            vZones.push_back(taro.createZone(pGraph, LUMO_TARO25D::ZL_INSIDE));
        }
    }
    Taro_2D taro;
    std::vector<Zone2*> vZones;
};

/// Many small zones against few large ones, for each triangle.
Contest smallZones(std::size_t numPoints) {
    auto pSmall = std::make_shared<const Squares>(numPoints, 50),
         pLarge = std::make_shared<const Squares>(numPoints, 2);
    const double share = double(askZones(pSmall->vZones).result[0]) / double(askZones(pLarge->vZones).result[0]);
    return {[pSmall] { return askZones(pSmall->vZones); }, [=] { return scaled(askZones(pLarge->vZones), share); },
            false};
}

}  // namespace

std::vector<Row> cliffRows(Scale size) {
    constexpr double goal = 5.0;
    const char* const uniformPoints = "own, uniform points";
    const char* const uniformSegments = "own, short segments that do not meet";
    return {
        {"cliff-line", "one by one, a point and 50,000 in order on a line", uniformPoints, goal, cpu,
         [=] { return oneByOne(sortedLine(size(5e4))); }},
        {"cliff-parabola", "one by one, a point and 50,000 in order on a parabola", uniformPoints, goal, cpu,
         [=] { return oneByOne(sortedParabola(size(5e4))); }},
        {"cliff-arc", "one by one, a centre and 50,000 in order on an arc", uniformPoints, goal, cpu,
         [=] { return oneByOne(sortedArc(size(5e4))); }},
        {"cliff-tiny", "bulk, 100,000 uniform times 1e-150", uniformPoints, goal, cpu,
         [=] { return allAtOnce(times(uniform(size(1e5)), 1e-150)); }},
        {"cliff-huge", "bulk, 100,000 uniform times 1e150", uniformPoints, goal, cpu,
         [=] { return allAtOnce(times(uniform(size(1e5)), 1e150)); }},
        {"cliff-tiny-grid", "bulk, grid of 100,000 times 1e-150", uniformPoints, goal, cpu,
         [=] { return allAtOnce(times(grid(size(1e5)), 1e-150)); }},
        {"cliff-huge-grid", "bulk, grid of 100,000 times 1e150", uniformPoints, goal, cpu,
         [=] { return allAtOnce(times(grid(size(1e5)), 1e150)); }},
        {"cliff-star", "20,000 segments from one point", uniformSegments, goal, cpu,
         [=] { return segments(star(size(2e4), true)); }},
        {"cliff-through", "20,000 segments through one point", uniformSegments, goal, cpu,
         [=] { return segments(star(size(2e4), false)); }},
        {"cliff-crossings", "360,000 crossings of a grid of 600 x 600 lines", "own, random lines, each vertex", goal,
         cpu, [=] { return crossings(std::size_t(600 * std::sqrt(size.factor))); }},
        {"cliff-zones", "2,500 small zones of a mesh of 1,000,000", "own, 4 large zones, each triangle", goal, cpu,
         [=] { return smallZones(size(1e6)); }},
    };
}

}  // namespace bench
