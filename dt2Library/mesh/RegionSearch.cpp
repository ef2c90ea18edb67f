// Search in regions.
//
// A region is a box or a disc, hence convex, and so is its part inside the hull. The triangles that meet this part are
// connected across edges that meet it, so that a search from neighbour to neighbour finds all of them from one. A walk
// to the middle of the region gives the first triangle. If the middle is outside the hull, a line from there to any
// point of the part stays in the region and enters the hull through an edge that is visible from the middle; so the
// search starts at all these edges.
//
// The nearest vertex is searched in a shrinking disc: its centre is the place, its radius the distance of the best
// vertex so far. This is right also beside constraints, where a descent from vertex to nearer neighbours could end
// early.
//
// Whether a triangle meets a box is decided exactly; for a disc the test may accept a few triangles too many. Whether a
// vertex lies in a disc, and which of two is nearer, is decided exactly.

#include "mesh/RegionSearch.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>
#include <utility>

#include "kernel/expansion.h"
#include "kernel/flatSets.h"
#include "kernel/tolerances.h"
#include "kernel/tools.h"
#include "mesh/Dt2.h"
#include "mesh/hullPatch.h"
#include "mesh/walk.h"
#include "support/stopping.h"
#include "taro25d/freeFunctions.h"

namespace LUMO_TARO25D {

namespace {

/// The sign of |a - place|^2 - |b - place|^2 - sqRadius, exact where the scaled differences keep all bits.
int compareDistances(const Point2& place, const Point2& a, const Point2& b, double sqRadius) {
    std::array<DoubleDouble, 4> aDiff{twoDiff(a.x(), place.x()), twoDiff(a.y(), place.y()), twoDiff(b.x(), place.x()),
                                      twoDiff(b.y(), place.y())};
    double largest = std::sqrt(sqRadius);
    for (const DoubleDouble& d : aDiff) largest = std::max(largest, std::abs(d.hi));
    if (largest == 0.0 || !std::isfinite(largest)) return largest == 0.0 || std::isfinite(sqRadius) ? 0 : -1;
    int exponent;
    std::frexp(largest, &exponent);
    for (DoubleDouble& d : aDiff) d = {std::ldexp(d.hi, -exponent), std::ldexp(d.lo, -exponent)};
    ExactSum<32> sum;
    for (int i = 0; i < 2; ++i) {
        sum.addProduct(aDiff[i], aDiff[i]);
        sum.addProduct(DoubleDouble{-aDiff[i + 2].hi, -aDiff[i + 2].lo}, aDiff[i + 2]);
    }
    sum.add(-std::ldexp(std::ldexp(sqRadius, -exponent), -exponent));
    return sum.sign();
}

/// Whether the distance between a triangle and a place is at most the given one, or greater by no more than rounding.
bool isWithin(const Triangle2* pT, const Point2& place, double distance) {
    const double slack = REGION_MARGIN * std::sqrt(pT->getMaxSqEdgeLen2D());
    bool bInside = true;
    for (int i = 0; i < 3; ++i) {
        const Point2 &src = *pT->getCorner(incIndexBy1(i)), &trg = *pT->getCorner(incIndexBy2(i));
        bInside = bInside && getOrientation2_mt(&src, &trg, &place) != ORIENTATION2_CW;
        if (!(std::sqrt(sqDistanceToSegment2D(place, src, trg)) > distance * (1.0 + REGION_MARGIN) + slack))
            return true;
    }
    return bInside;
}

/// Whether a triangle and a box have a point in common: no side of either separates them strictly.
bool doMeet(const Triangle2* pT, const Bbox2& box, const std::vector<Point2>& vBoxCorners, GeomTest& geomTest) {
    Bbox2 ofT;
    for (int i = 0; i < 3; ++i) ofT.add(*pT->getCorner(i));
    if (!ofT.doIntersect(box)) return false;
    for (int i = 0; i < 3; ++i) {
        const Point2 *pSrc = pT->getCorner(incIndexBy1(i)), *pTrg = pT->getCorner(incIndexBy2(i));
        const auto isOutside = [&](const Point2& corner) {
            return geomTest.getOrientation2(pSrc, pTrg, &corner) == ORIENTATION2_CW;
        };
        if (std::all_of(vBoxCorners.begin(), vBoxCorners.end(), isOutside)) return false;
    }
    return true;
}

/// The intersection of two boxes; invalid if it is empty.
Bbox2 clip(const Bbox2& box, const Bbox2& all) {
    if (!box.isValid() || !all.isValid()) return Bbox2();
    const double minX = std::max(box.getMinX(), all.getMinX()), maxX = std::min(box.getMaxX(), all.getMaxX());
    const double minY = std::max(box.getMinY(), all.getMinY()), maxY = std::min(box.getMaxY(), all.getMaxY());
    return minX <= maxX && minY <= maxY ? Bbox2(minX, minY, maxX, maxY) : Bbox2();
}

Point2 getMiddle(const Bbox2& box) {
    return Point2(0.5 * box.getMinX() + 0.5 * box.getMaxX(), 0.5 * box.getMinY() + 0.5 * box.getMaxY(), 0.0);
}

}  // namespace

std::vector<Triangle2*> RegionSearch::getStart(const Point2& place) const {
    GeomTest geomTest(mesh_.getMagnitudeWith(place));
    Triangle2* pT = nullptr;
    const int code = mesh_.walkTo(place, pT, geomTest);
    std::vector<Triangle2*> vStart{pT};
    if (code == CODE_INSIDE || code == CODE_DUPLICATE) return vStart;
    std::vector<std::pair<Triangle2*, int>> vPatch;
    determineHullPatchLeft(vPatch, pT, code, &place, geomTest);
    determineHullPatchRight(vPatch, pT, code, &place, geomTest);
    for (const auto& edge : vPatch) vStart.push_back(edge.first);
    return vStart;
}

template <class MeetsT>
void RegionSearch::spread(const Point2& place, const MeetsT& meets, std::vector<Triangle2*>& vTriangles) const {
    AddressSet sSeen;
    const size_t begin = vTriangles.size();
    const auto addIfNew = [&](Triangle2* pT) {
        if (pT && sSeen.insert(pT) && meets(pT)) vTriangles.push_back(pT);
    };
    CancelPoint cancelPoint;
    try {
        for (Triangle2* pT : getStart(place)) addIfNew(pT);
        for (size_t k = begin; k < vTriangles.size(); ++k) {
            cancelPoint.pass();
            for (int i = 0; i < 3; ++i) addIfNew(vTriangles[k]->getOppositeTriangle(i));
        }
    } catch (...) {  // cancelled
        vTriangles.resize(begin);
        throw;
    }
}

template <class TestT>
void RegionSearch::appendVertices(const std::vector<Triangle2*>& vTriangles, const TestT& test,
                                  std::vector<Point2*>& vVertices) const {
    std::vector<Point2*> vCandidates;
    if (!mesh_.is2D()) mesh_.getVertexPointers(vCandidates);
    AddressSet sSeen;
    CancelPoint cancelPoint;
    for (const Triangle2* pT : vTriangles) {
        cancelPoint.pass();
        for (int i = 0; i < 3; ++i) {
            if (sSeen.insert(pT->getCorner(i))) vCandidates.push_back(pT->getCorner(i));
        }
    }
    const auto isOut = [&](const Point2* pVtx) {
        cancelPoint.pass();
        return !test(pVtx);
    };
    vCandidates.erase(std::remove_if(vCandidates.begin(), vCandidates.end(), isOut), vCandidates.end());
    vVertices.insert(vVertices.end(), vCandidates.begin(), vCandidates.end());
}

void RegionSearch::getTrianglesInBox(const Bbox2& box, std::vector<Triangle2*>& vTriangles) const {
    if (!mesh_.is2D()) return;
    const Bbox2 region = clip(box, mesh_.computeBoundingBox());
    if (!region.isValid()) return;
    std::vector<Point2> vBoxCorners;
    region.getCorners(vBoxCorners);
    GeomTest geomTest(mesh_.getMagnitudeWith(vBoxCorners[0]));  // all others are in the box of the vertices, too
    spread(
        getMiddle(region), [&](const Triangle2* pT) { return doMeet(pT, region, vBoxCorners, geomTest); }, vTriangles);
}

void RegionSearch::getVerticesInBox(const Bbox2& box, std::vector<Point2*>& vVertices) const {
    std::vector<Triangle2*> vTriangles;
    getTrianglesInBox(box, vTriangles);
    appendVertices(
        vTriangles, [&box](const Point2* pVtx) { return box.isInBox(*pVtx); }, vVertices);
}

void RegionSearch::getVerticesInCircle(const Circle2& circle, std::vector<Point2*>& vVertices) const {
    const Point2& center = circle.getCenter();
    if (!isFinite2D(center) || !(circle.getSqRadius() >= 0.0)) return;
    std::vector<Triangle2*> vTriangles;
    if (mesh_.is2D()) {
        const double radius = circle.getRadius();
        spread(
            center, [&](const Triangle2* pT) { return isWithin(pT, center, radius); }, vTriangles);
    }
    const auto isInDisc = [&](const Point2* pVtx) {
        return compareDistances(center, *pVtx, center, circle.getSqRadius()) <= 0;
    };
    appendVertices(vTriangles, isInDisc, vVertices);
}

Point2* RegionSearch::getNearestVertex(const Point2& place) const {
    if (!isFinite2D(place)) return nullptr;
    Point2* pNearest = nullptr;
    double distance = std::numeric_limits<double>::max();
    const auto consider = [&](Point2* pVtx) {
        const int sign = pNearest ? compareDistances(place, *pVtx, *pNearest, 0.0) : -1;
        if (sign > 0 || (sign == 0 && !(*pVtx < *pNearest))) return;
        pNearest = pVtx;
        distance = distance2D(place, *pVtx);
    };
    if (!mesh_.is2D()) {
        std::vector<Point2*> vVertices;
        mesh_.getVertexPointers(vVertices);
        for (Point2* pVtx : vVertices) consider(pVtx);
        return pNearest;
    }
    const auto considerCorners = [&](const Triangle2* pT) {
        for (int i = 0; i < 3; ++i) consider(pT->getCorner(i));
    };
    std::vector<Triangle2*> vStart = getStart(place), vTriangles;
    for (const Triangle2* pT : vStart) considerCorners(pT);
    const auto meets = [&](const Triangle2* pT) {
        considerCorners(pT);
        return isWithin(pT, place, distance);
    };
    spread(place, meets, vTriangles);
    return pNearest;
}

}  // namespace LUMO_TARO25D
