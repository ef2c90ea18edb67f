// Bands of height between levels.
//
// A side is a directed segment with the area of its band on the left. Every triangle that a level cuts gives a side to
// the bands below and above the cut, in opposite directions. A border edge of the surface gives sides to the bands
// along it. An edge that lies in a level gives a side from each of its two triangles; if both are in one band, the two
// sides cancel. So neighbouring bands have the same sides on their common line, in opposite directions and with the
// same nodes, and the areas of the bands add up to that of the surface, whatever the rounding of single points. A level
// belongs to the band above, except that a triangle below which only touches the level stays in the band below.
//
// Nodes are identified by their places (BandNodes). Where a level passes a corner, or another level, so near that
// rounding could exchange them, sides may cross or coincide. The triangles around the corners of such triangles are
// divided among the bands by BandOverlay instead. The sides along the seam between them and all others belong to pieces
// on both sides of it, so each goes into the overlay, and its opposite to the other sides.
//
// Cost: O(n) for the triangles and O(k log k) for k sides.

#include "analysis/BandBuilder.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <iterator>
#include <limits>
#include <memory>
#include <optional>
#include <set>
#include <utility>

#include "kernel/flatSets.h"
#include "kernel/tolerances.h"
#include "kernel/tools.h"
#include "kernel/triangleLists.h"
#include "support/shareWork.h"
#include "support/stopping.h"

namespace LUMO_TARO25D {

namespace {

/// Whether the corners turn clockwise, decided exactly.
bool isClockwise(const Triangle2& triangle) {
    const Point2 &a = *triangle.getCorner(0), &b = *triangle.getCorner(1), &c = *triangle.getCorner(2);
    if (const std::optional<int> sign = GeomTest::productFilterOri2(a, b, c)) return *sign < 0;
    return GeomTest().dynamicFilterOri2(&a, &b, &c) == ORIENTATION2_CW;
}

/// The ends of edge i, with the triangle on their left.
std::pair<const Point2*, const Point2*> getEnds(const Triangle2& triangle, int i) {
    const Point2 *pSrc = triangle.getCorner(incIndexBy1(i)), *pTrg = triangle.getCorner(incIndexBy2(i));
    return isClockwise(triangle) ? std::make_pair(pTrg, pSrc) : std::make_pair(pSrc, pTrg);
}

/// The largest coordinate of triangles.
double getMagnitudeOf(const std::vector<Triangle2*>& vTriangles) {
    double magnitude = 0.0;
    for (size_t k = 0; k < vTriangles.size(); ++k) {
        prefetchTriangles(vTriangles, k);
        for (int i = 0; i < 3; ++i) {
            const Point2& corner = *vTriangles[k]->getCorner(i);
            magnitude = std::max({magnitude, std::abs(corner.x()), std::abs(corner.y())});
        }
    }
    return magnitude;
}

/// Whether a share of the least altitude of a triangle is well above the rounding of coordinates.
bool isFarApart(const Triangle2& triangle, double share, double magnitude) {
    const Point2 &a = *triangle.getCorner(0), &b = *triangle.getCorner(1), &c = *triangle.getCorner(2);
    const double ux = b.x() - a.x(), uy = b.y() - a.y(), vx = c.x() - a.x(), vy = c.y() - a.y();
    const double longest =
        std::max({std::abs(ux), std::abs(uy), std::abs(vx), std::abs(vy), std::abs(ux - vx), std::abs(uy - vy)});
    const double altitude = 0.5 * std::abs((ux / longest) * vy - (uy / longest) * vx);
    return share * altitude >= 32 * BAND_RESOLUTION * magnitude;  // not a number: no
}

/// Edges by the places of their ends, in either direction.
struct UndirectedEdge {
    const Point2 *pSmall, *pLarge;
    Edge2 edge;

    explicit UndirectedEdge(const Edge2& ofTriangle)
        : pSmall(ofTriangle.getSrc()), pLarge(ofTriangle.getTrg()), edge(ofTriangle) {
        if (isLess(*pLarge, *pSmall)) std::swap(pSmall, pLarge);
    }
    static bool isLess(const Point2& a, const Point2& b) { return a < b || (a == b && a.z() < b.z()); }
    bool operator<(const UndirectedEdge& other) const {
        if (!samePoint(*pSmall, *other.pSmall)) return isLess(*pSmall, *other.pSmall);
        return isLess(*pLarge, *other.pLarge);
    }
};

}  // namespace

size_t BandBuilder::countUpTo(double height) const {
    return static_cast<size_t>(std::upper_bound(vLevels_.begin(), vLevels_.end(), height) - vLevels_.begin());
}

size_t BandBuilder::countBelow(double height) const {
    return static_cast<size_t>(std::lower_bound(vLevels_.begin(), vLevels_.end(), height) - vLevels_.begin());
}

void BandBuilder::collectSides() {
    std::vector<Triangle2*> vAtLevels;
    tree_.forEachLeaf([&](double minZ, double maxZ, Triangle2* pT) {
        if (countBelow(minZ) != countUpTo(maxZ)) vAtLevels.push_back(pT);
    });
    std::vector<Triangle2*> vTriangles;
    vTriangles.reserve(tree_.getNumTriangles());
    tree_.forEachLeaf([&vTriangles](double, double, Triangle2* pT) { vTriangles.push_back(pT); });
    magnitude_ = getMagnitudeOf(vTriangles);  // of all, since the overlay rounds by its largest coordinate
    for (size_t k = 0; k < vAtLevels.size(); ++k) {
        progress_.throwIfStopped();
        prefetchTriangles(vAtLevels, k);
        const Triangle2& triangle = *vAtLevels[k];
        markThin(triangle);
    }
    for (size_t k = 0; k < vAtLevels.size(); ++k) {
        progress_.throwIfStopped();
        prefetchTriangles(vAtLevels, k);
        const Triangle2& triangle = *vAtLevels[k];
        bNearThin_ = isNearThin(triangle);
        addLevelEdges(triangle);
        cut(triangle);
    }
    progress_.incProgress(tree_.getNumTriangles());
    std::vector<Edge2> vBorder;
    findBorder(vTriangles, vBorder);
    for (const Edge2& edge : vBorder) {
        bNearThin_ = isNearThin(*edge.getTriangle());
        addBorderEdge(edge);
    }
    if (thinCorners_.size() > 0) addSeam(vTriangles, vBorder);
}

/// Adds the sides on the border of the overlay, except those on the border of the surface.
void BandBuilder::addSeam(const std::vector<Triangle2*>& vTriangles, const std::vector<Edge2>& vBorder) {
    std::vector<Triangle2*> vNearThin;
    std::copy_if(vTriangles.begin(), vTriangles.end(), std::back_inserter(vNearThin),
                 [this](const Triangle2* pT) { return isNearThin(*pT); });
    std::set<std::pair<const Triangle2*, int>> sOnBorder;
    for (const Edge2& edge : vBorder) sOnBorder.emplace(edge.getTriangle(), edge.getIndex());
    std::vector<Edge2> vSeam;
    findBorder(vNearThin, vSeam);
    const size_t begin = overlay_.getSides().size();
    bNearThin_ = true;
    for (const Edge2& edge : vSeam) {
        if (sOnBorder.count({edge.getTriangle(), edge.getIndex()}) == 0) addBorderEdge(edge);
    }
    for (size_t k = begin; k < overlay_.getSides().size(); ++k) {
        const auto& [band, side] = overlay_.getSides()[k];
        vSidesOf_[band].emplace_back(side.second, side.first);
    }
}

/// Notes the corners of a triangle in which a corner, or a crossing, may be within rounding of a level or of an edge.
void BandBuilder::markThin(const Triangle2& triangle) {
    const Point2 *pLow = triangle.getCorner(0), *pMiddle = triangle.getCorner(1), *pHigh = triangle.getCorner(2);
    if (pMiddle->z() < pLow->z()) std::swap(pLow, pMiddle);
    if (pHigh->z() < pMiddle->z()) std::swap(pMiddle, pHigh);
    if (pMiddle->z() < pLow->z()) std::swap(pLow, pMiddle);
    const size_t begin = countUpTo(pLow->z()), end = countBelow(pHigh->z());
    if (begin >= end) return;
    double gap = std::min(vLevels_[begin] - pLow->z(), pHigh->z() - vLevels_[end - 1]);
    for (size_t level = begin; level < end; ++level) {
        if (level > begin) gap = std::min(gap, vLevels_[level] - vLevels_[level - 1]);
        if (vLevels_[level] != pMiddle->z()) gap = std::min(gap, std::abs(vLevels_[level] - pMiddle->z()));
    }
    // Crossings, levels and edges that do not meet are at least the gap's share of the least altitude apart.
    const double share = gap / (pHigh->z() - pLow->z());
    if (isFarApart(triangle, share, magnitude_)) return;
    for (int i = 0; i < 3; ++i) thinCorners_.addCorner(*triangle.getCorner(i));
}

bool BandBuilder::isNearThin(const Triangle2& triangle) const {
    if (thinCorners_.size() == 0) return false;
    return thinCorners_.contains(*triangle.getCorner(0)) || thinCorners_.contains(*triangle.getCorner(1)) ||
           thinCorners_.contains(*triangle.getCorner(2));
}

/// Cuts a triangle along each level strictly between its lowest and its highest corner.
void BandBuilder::cut(const Triangle2& triangle) {
    std::array<int, 3> aOrder{0, 1, 2};
    std::sort(aOrder.begin(), aOrder.end(), [&triangle](int i, int j) {
        const Point2 &a = *triangle.getCorner(i), &b = *triangle.getCorner(j);
        return a.z() < b.z() || (a.z() == b.z() && a < b);
    });
    const Point2 &low = *triangle.getCorner(aOrder[0]), &middle = *triangle.getCorner(aOrder[1]),
                 &high = *triangle.getCorner(aOrder[2]);
    const bool bMiddleOnRight =
        (incIndexBy1(aOrder[0]) == aOrder[1]) != isClockwise(triangle);  // of the edge from low to high
    const size_t begin = countUpTo(low.z()), end = countBelow(high.z());
    if (begin >= end) return;
    const size_t endLower = std::max(begin, countBelow(middle.z())), beginUpper = std::min(end, countUpTo(middle.z()));
    nodes_.getCrossings(low, high, begin, end, vLong_);
    nodes_.getCrossings(low, middle, begin, endLower, vLower_);
    nodes_.getCrossings(middle, high, beginUpper, end, vUpper_);
    for (size_t level = begin; level < end; ++level) {
        const Index onLong = vLong_[level - begin];
        const Index onOther = level < endLower      ? vLower_[level - begin]
                              : level >= beginUpper ? vUpper_[level - beginUpper]
                                                    : nodes_.addCorner(middle);
        addSide(level, bMiddleOnRight ? onOther : onLong, bMiddleOnRight ? onLong : onOther);
        addSide(level + 1, bMiddleOnRight ? onLong : onOther, bMiddleOnRight ? onOther : onLong);
    }
}

/// The band of a triangle next to an edge whose ends have equal heights.
size_t BandBuilder::getBandAtLevelEdge(const Triangle2& triangle, int i) const {
    const double height = triangle.getCorner(incIndexBy1(i))->z();
    return triangle.getCorner(i)->z() < height ? countBelow(height) : countUpTo(height);
}

/// Adds the edges that lie in a level, border edges included.
void BandBuilder::addLevelEdges(const Triangle2& triangle) {
    for (int i = 0; i < 3; ++i) {
        const double height = triangle.getCorner(incIndexBy1(i))->z();
        if (triangle.getCorner(incIndexBy2(i))->z() != height || countBelow(height) == countUpTo(height)) continue;
        const auto [pSrc, pTrg] = getEnds(triangle, i);
        addSide(getBandAtLevelEdge(triangle, i), nodes_.addCorner(*pSrc), nodes_.addCorner(*pTrg));
    }
}

/// Edges without a neighbour in the list, except pairs of equal edges of triangles that are not linked.
void BandBuilder::findBorder(const std::vector<Triangle2*>& vTriangles, std::vector<Edge2>& vBorder) const {
    AddressSet sTriangles = toSet(vTriangles);
    std::vector<UndirectedEdge> vCandidates;
    for (size_t k = 0; k < vTriangles.size(); ++k) {
        constexpr size_t AHEAD = 16;
        progress_.throwIfStopped();
        if (k + AHEAD < vTriangles.size()) __builtin_prefetch(vTriangles[k + AHEAD]);
        for (int i = 0; i < 3; ++i) {
            const Triangle2* pN = vTriangles[k]->getOppositeTriangle(i);
            if (!pN || !sTriangles.contains(pN)) vCandidates.emplace_back(Edge2(vTriangles[k], i));
        }
    }
    std::sort(vCandidates.begin(), vCandidates.end(), withCancelPoints(std::less<>()));
    for (size_t k = 0; k < vCandidates.size(); ++k) {
        const bool bPair = k + 1 < vCandidates.size() && !(vCandidates[k] < vCandidates[k + 1]);
        if (bPair) {
            ++k;
        } else {
            vBorder.push_back(vCandidates[k].edge);
        }
    }
}

void BandBuilder::addBorderEdge(const Edge2& edge) {
    const Triangle2& triangle = *edge.getTriangle();
    const auto [pSrc, pTrg] = getEnds(triangle, edge.getIndex());
    Index from = nodes_.addCorner(*pSrc);
    const Index to = nodes_.addCorner(*pTrg);
    if (pSrc->z() == pTrg->z()) {
        const bool bIsIn = countBelow(pSrc->z()) != countUpTo(pSrc->z());  // addLevelEdges has added it
        if (!bIsIn) addSide(getBandAtLevelEdge(triangle, edge.getIndex()), from, to);
        return;
    }
    const bool bUp = pSrc->z() < pTrg->z();
    const Point2 &low = bUp ? *pSrc : *pTrg, &high = bUp ? *pTrg : *pSrc;
    const size_t begin = countUpTo(low.z()), end = countBelow(high.z());
    nodes_.getCrossings(low, high, begin, end, vLong_);
    for (size_t k = begin; k < end; ++k) {
        const size_t level = bUp ? k : end - 1 - (k - begin);
        const Index crossing = vLong_[level - begin];
        addSide(bUp ? level : level + 1, from, crossing);
        from = crossing;
    }
    addSide(bUp ? end : begin, from, to);
}

/// Adds the sides of the overlay; false if it fails.
bool BandBuilder::overlaySides() {
    if (overlay_.getSides().empty()) return true;
    if (!overlay_.run()) return false;
    for (std::vector<RingBuilder::Side>& vSides : vSidesOf_) overlay_.replace(vSides);
    overlay_.appendSides(vSidesOf_);
    return true;
}

bool BandBuilder::build(int numThreads, std::vector<ContourBand>& vBands) {
    if (!overlaySides()) return false;
    double magnitude = 0.0;
    for (Index i = 0; i < nodes_.size(); ++i) {
        magnitude = std::max({magnitude, std::abs(nodes_[i].x()), std::abs(nodes_[i].y())});
    }
    std::vector<ContourBand> vAll(vSidesOf_.size());
    std::vector<char> vFailed(vAll.size(), 0);
    std::vector<std::unique_ptr<RingBuilder>> vBuilders(static_cast<size_t>(getNumSharing(numThreads, vAll.size(), 1)));
    shareWork(numThreads, vAll.size(), 1, progress_, [&](size_t band, size_t, int threadIdx) {
        constexpr double MAX = std::numeric_limits<double>::max();
        vAll[band].low = band == 0 ? -MAX : vLevels_[band - 1];
        vAll[band].high = band == vLevels_.size() ? MAX : vLevels_[band];
        std::unique_ptr<RingBuilder>& pBuilder = vBuilders[static_cast<size_t>(threadIdx)];
        if (!pBuilder) pBuilder = std::make_unique<RingBuilder>(nodes_, magnitude, progress_);
        vFailed[band] = pBuilder->build(vSidesOf_[band], vAll[band].vRings) ? 0 : 1;
    });
    if (std::count(vFailed.begin(), vFailed.end(), 1) > 0) return false;
    for (ContourBand& band : vAll) {
        if (!band.vRings.empty()) vBands.push_back(std::move(band));
    }
    return true;
}

}  // namespace LUMO_TARO25D
