// Volumes between two surfaces.

#include <map>
#include <memory>
#include <utility>

#include "Surface.h"
#include "taro25d/CutAndFill.h"
#include "taro25d/compareSurfaces.h"
#include "triangulations.h"

namespace bench {

namespace {

using LUMO_TARO25D::Zone2;

Sample ourComparison(const Surface& before, const Surface& after, int numThreads = 1) {
    LUMO_TARO25D::SurfaceDifference difference;
    return timed([&] { difference = compareSurfaces(before.pZone, after.pZone, 0.0, numThreads); });
}

/// Two grounds over the same square, the second one half as high.
std::pair<Points, Points> twoGrounds(std::size_t n) {
    std::pair<Points, Points> grounds{hills(n), hills(n)};
    for (Point2& point : grounds.second) point.set(point.y(), point.x(), 0.5 * point.z());
    return grounds;
}

Contest surfacesAgainstBulk(std::size_t n) {
    const auto [vBefore, vAfter] = twoGrounds(n);
    auto pBefore = std::make_shared<const Surface>(vBefore), pAfter = std::make_shared<const Surface>(vAfter);
    auto pInputs = std::make_shared<const std::pair<Points, Points>>(vBefore, vAfter);
    return {[=] { return ourComparison(*pBefore, *pAfter); },
            [=] {
                Taro_2D before, after;
                return timed([&] {
                    before.insert(pInputs->first);
                    after.insert(pInputs->second);
                });
            },
            false};
}

Sample ourCutAndFill(const Surface& before, const Surface& after, std::size_t numPoints) {
    LUMO_TARO25D::CutAndFill cutAndFill(before.pZone, after.pZone, 0.0);
    Sample sample = timed([&] { cutAndFill.go(); });
    sample.result = {numPoints};
    return sample;
}

/// The vertices of the triangulation that has the edges of both surfaces.
Points combinedVertices(const Surface& before, const Surface& after) {
    LUMO_TARO25D::CutAndFill cutAndFill(before.pZone, after.pZone, 0.0);
    cutAndFill.go();
    Zone2* pDiffZone = nullptr;
    std::map<Point2*, std::pair<double, double>> mHeights;
    cutAndFill.getDiffZone(pDiffZone, mHeights);
    Points vPoints;
    for (const auto& [pVtx, heights] : mHeights) vPoints.emplace_back(pVtx->x(), pVtx->y(), 0.0);
    return vPoints;
}

Contest cutAndFillAgainstBulk(std::size_t n) {
    const auto [vBefore, vAfter] = twoGrounds(n);
    auto pBefore = std::make_shared<const Surface>(vBefore), pAfter = std::make_shared<const Surface>(vAfter);
    auto pCombined = std::make_shared<const Points>(combinedVertices(*pBefore, *pAfter));
    return {[=] { return ourCutAndFill(*pBefore, *pAfter, 2 * n); }, [=] { return ourBulk(*pCombined); }, false};
}

Contest surfacesThreads(std::size_t n) {
    const auto [vBefore, vAfter] = twoGrounds(n);
    auto pBefore = std::make_shared<const Surface>(vBefore), pAfter = std::make_shared<const Surface>(vAfter);
    return {[=] { return ourComparison(*pBefore, *pAfter, 2); }, [=] { return ourComparison(*pBefore, *pAfter); }};
}

}  // namespace

std::vector<Row> volumeRows(Scale size) {
    return {
        {"cut-and-fill", "`CutAndFill` of two surfaces of 50,000 points", "own bulk of the combined vertices", 10.0,
         cpu, [=] { return cutAndFillAgainstBulk(size(5e4)); }},
        {"cut-and-fill-large", "`CutAndFill` of two surfaces of 500,000 points", "own bulk of the combined vertices",
         10.0, cpu, [=] { return cutAndFillAgainstBulk(size(5e5)); }},
        {"memory-cut-and-fill", "peak memory for a point, surfaces of 50,000 points",
         "own bulk of the combined vertices", 4096.0, peak, [=] { return cutAndFillAgainstBulk(size(5e4)); }, true},
        {"surfaces", "volumes between surfaces of 1,000,000 points each", "own bulk insertion of both", 3.0, cpu,
         [=] { return surfacesAgainstBulk(size(1e6)); }},
        {"surfaces-threads", "volumes between surfaces, 2 threads, wall", onOneThread, 1 / 1.7, wall,
         [=] { return surfacesThreads(size(1e6)); }, true},
    };
}

}  // namespace bench
