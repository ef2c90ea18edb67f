// A coarser mesh of the same ground. It begins with the hull and a few points spread over the ground. Then,
// round by round, each triangle names the point of the ground that it misses by most, and the worst of those
// points are inserted (greedy insertion, Garland and Heckbert 1995, but many points a round). A round asks
// one height for each point of the ground and lets the sketch grow by half, so few rounds are needed.

#include "sketch.h"

#include <algorithm>
#include <cmath>
#include <unordered_map>
#include <vector>

using namespace LUMO_TARO25D;

namespace terrain {

namespace {

/// A point of the ground, and how far above or below it the surface of the sketch passes.
struct Miss {
    const Point2* pPoint;
    double error;
    bool operator<(const Miss& other) const { return error > other.error; }
};

std::vector<const Point2*> everyNth(const std::vector<Point2*>& vPoints, size_t n) {
    std::vector<const Point2*> vChosen;
    for (size_t i = 0; i < vPoints.size(); i += n) vChosen.push_back(vPoints[i]);
    return vChosen;
}

/// The worst miss of each triangle, in no particular order.
std::vector<Miss> findWorstMisses(const Taro_2D& sketch, const std::vector<const Point2*>& vCandidates) {
    std::vector<Miss> vWorst;
    std::unordered_map<const Triangle2*, size_t> mIndex;
    for (const Point2* pPoint : vCandidates) {
        Triangle2* pT = sketch.locate(*pPoint);
        double height = 0;
        if (!pT || !sketch.getHeight(pPoint->x(), pPoint->y(), height, pT)) continue;
        const Miss miss{pPoint, std::abs(height - pPoint->z())};
        const auto [it, bNew] = mIndex.emplace(pT, vWorst.size());
        if (bNew) {
            vWorst.push_back(miss);
        } else {
            vWorst[it->second] = std::min(vWorst[it->second], miss);
        }
    }
    return vWorst;
}

void insertPoints(const std::vector<Miss>& vMisses, Taro_2D& sketch) {
    std::vector<Point2> vPoints;
    for (const Miss& miss : vMisses) vPoints.push_back(*miss.pPoint);
    sketch.insert(vPoints);
}

}  // namespace

void sketchGround(const Taro_2D& ground, size_t maxPoints, Taro_2D& sketch) {
    constexpr size_t MAX_CANDIDATES = 300000;
    std::vector<Point2*> vGround, vHull;
    ground.getVertexPointers(vGround);
    ground.getConvexHull(false, vHull);

    for (const Point2* pVtx : vHull) sketch.insert(*pVtx);
    for (const Point2* pVtx : everyNth(vGround, 1 + 20 * vGround.size() / maxPoints)) sketch.insert(*pVtx);
    const std::vector<const Point2*> vCandidates = everyNth(vGround, 1 + vGround.size() / MAX_CANDIDATES);
    while (sketch.numberOfPoints() < maxPoints) {
        std::vector<Miss> vMisses = findWorstMisses(sketch, vCandidates);
        std::sort(vMisses.begin(), vMisses.end());
        const size_t numBefore = sketch.numberOfPoints();
        vMisses.resize(std::min({vMisses.size(), numBefore / 2 + 1, maxPoints - numBefore}));
        insertPoints(vMisses, sketch);
        if (sketch.numberOfPoints() == numBefore) return;
    }
}

}  // namespace terrain
