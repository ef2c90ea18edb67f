// Contour lines of one height, from the triangles that the plane of that height cuts.
//
// Each triangle links the crossings on two of its edges. Crossings are found by a hash of the ends of their edge, so
// that both triangles of an edge get the same one. A crossing with one link is the end of an open chain; chains are
// followed from their ends first, then the rest are rings. The direction of a chain comes from the first of its
// triangles with an area, by an exact test of the corners.

#include "analysis/CrossingGraph.h"

#include <iterator>
#include <utility>

#include "kernel/tools.h"
#include "support/stopping.h"

namespace LUMO_TARO25D {

namespace {

std::uint64_t hashOf(const Point2& low, const Point2& high) {
    return hashOfNumbers({low.x(), low.y(), low.z(), high.x(), high.y(), high.z()});
}

bool isSame(const Point2* pA, const Point2* pB) { return pA == pB || samePoint(*pA, *pB); }

}  // namespace

void CrossingGraph::start(double height, size_t maxTriangles) {
    height_ = height;
    size_t size = 4;
    while (size < 4 * maxTriangles) size *= 2;
    vTable_.assign(size, Index(NONE));
    vCrossings_.clear();
    vCrossings_.reserve(maxTriangles + maxTriangles / 8);
}

// ---- Collecting ----

bool CrossingGraph::add(const Triangle2& triangle) {
    const auto isHigh = [&](int i) { return triangle.getCorner(i)->z() > height_; };
    const int alone = isHigh(0) == isHigh(1) ? 2 : isHigh(0) == isHigh(2) ? 1 : 0;
    const Point2* pAlone = triangle.getCorner(alone);
    const Index a = findCrossing(pAlone, triangle.getCorner(incIndexBy1(alone)));
    const Index b = findCrossing(pAlone, triangle.getCorner(incIndexBy2(alone)));
    return a == b || (link(a, b) && link(b, a));  // equal if two corners of the triangle are equal
}

CrossingGraph::Index CrossingGraph::findCrossing(const Point2* pA, const Point2* pB) {
    if (pB->z() < pA->z()) std::swap(pA, pB);
    const size_t mask = vTable_.size() - 1;
    size_t slot = hashOf(*pA, *pB) & mask;
    for (; vTable_[slot] != NONE; slot = (slot + 1) & mask) {
        const Crossing& crossing = vCrossings_[vTable_[slot]];
        if (isSame(crossing.pLow, pA) && isSame(crossing.pHigh, pB)) return vTable_[slot];
    }
    vTable_[slot] = static_cast<Index>(vCrossings_.size());
    vCrossings_.push_back(makeCrossing(pA, pB));
    return vTable_[slot];
}

CrossingGraph::Crossing CrossingGraph::makeCrossing(const Point2* pLow, const Point2* pHigh) const {
    const double t = fractionAt(height_, pLow->z(), pHigh->z());
    const double x = interpolate(pLow->x(), pHigh->x(), t), y = interpolate(pLow->y(), pHigh->y(), t);
    return {pLow, pHigh, x, y, {NONE, NONE}, false};
}

bool CrossingGraph::link(Index from, Index to) {
    Index* aNext = vCrossings_[from].aNext;
    if (aNext[1] != NONE) return false;
    aNext[aNext[0] == NONE ? 0 : 1] = to;
    return true;
}

// ---- Chaining ----

void CrossingGraph::appendPolylines(std::vector<std::vector<Segment2>>& vvPolylines) {
    appendSorted(false, vvPolylines);
    appendSorted(true, vvPolylines);
}

/// Appends the open or the closed chains, sorted. Open chains must be appended first: the remaining crossings form
/// closed ones.
void CrossingGraph::appendSorted(bool bClosed, std::vector<std::vector<Segment2>>& vvPolylines) {
    std::vector<std::vector<Segment2>> vvFresh;
    CancelPoint<> cancelPoint;
    for (Index i = 0; i < vCrossings_.size(); ++i) {
        cancelPoint.pass();
        const Crossing& crossing = vCrossings_[i];
        if (crossing.bVisited || (!bClosed && crossing.aNext[1] != NONE)) continue;
        walkFrom(i);
        direct(bClosed);
        std::vector<Segment2> vPolyline = toPolyline(bClosed);
        if (!vPolyline.empty()) vvFresh.push_back(std::move(vPolyline));
    }
    std::stable_sort(vvFresh.begin(), vvFresh.end(), withCancelPoints([](const auto& a, const auto& b) {
                         return a.front().getSrc() < b.front().getSrc();
                     }));
    reserveMore(vvPolylines, vvFresh.size());
    std::move(vvFresh.begin(), vvFresh.end(), std::back_inserter(vvPolylines));
}

/// Collects the chain from a crossing on.
void CrossingGraph::walkFrom(Index start) {
    vChain_.clear();
    for (Index previous = NONE, i = start; i != NONE && !vCrossings_[i].bVisited;) {
        Crossing& crossing = vCrossings_[i];
        cancelPoint_.pass();
        crossing.bVisited = true;
        vChain_.push_back(i);
        const Index next = crossing.aNext[crossing.aNext[0] == previous ? 1 : 0];
        previous = std::exchange(i, next);
    }
}

/// Turns the chain so that the higher ground is on its left, and rotates a closed chain to begin at its smallest point.
void CrossingGraph::direct(bool bClosed) {
    for (size_t i = bClosed ? 0 : 1; i < vChain_.size(); ++i) {
        cancelPoint_.pass();
        const Crossing& from = vCrossings_[i == 0 ? vChain_.back() : vChain_[i - 1]];
        const Orientation2 side = sideOfHigherGround(from, vCrossings_[vChain_[i]]);
        if (side == ORIENTATION2_CW) std::reverse(vChain_.begin(), vChain_.end());
        if (side != ORIENTATION2_COLLINEAR) break;
    }
    if (!bClosed) return;
    const auto isSmaller = [this](Index a, Index b) { return toPoint(a) < toPoint(b); };
    std::rotate(vChain_.begin(), std::min_element(vChain_.begin(), vChain_.end(), isSmaller), vChain_.end());
}

/// The side of the higher ground on the path from one crossing to the next through a triangle: ORIENTATION2_CCW is the
/// left; collinear if the triangle has no area. Decided by its corners, since the two crossings are rounded.
Orientation2 CrossingGraph::sideOfHigherGround(const Crossing& from, const Crossing& to) {
    if (isSame(from.pHigh, to.pHigh)) return geomTest_.dynamicFilterOri2(from.pHigh, from.pLow, to.pLow);
    return geomTest_.dynamicFilterOri2(from.pLow, to.pHigh, from.pHigh);
}

std::vector<Segment2> CrossingGraph::toPolyline(bool bClosed) const {
    std::vector<Segment2> vPolyline;
    vPolyline.reserve(vChain_.size());
    const size_t numPieces = bClosed ? vChain_.size() : vChain_.size() - 1;
    for (size_t i = 0; i < numPieces; ++i) {
        const Point2 src = toPoint(vChain_[i]), trg = toPoint(vChain_[i + 1 < vChain_.size() ? i + 1 : 0]);
        if (src != trg) vPolyline.emplace_back(src, trg);
    }
    return vPolyline;
}

}  // namespace LUMO_TARO25D
