// Zones: the triangles that follow from the rule of a zone, and queries about them.
//
// A zone inside (outside) graphs starts with the triangles along their pieces that lie inside (outside). Inside means
// that the winding number of the graph is not 0, whatever the direction of its rings. A graph without closed rings has
// its inside on its left, and pieces that it passes in both directions bound nothing. From there the zone spreads over
// all edges that are no piece of one of its graphs. The list of triangles reached is both the queue of the
// breadth-first search and its result; marks are bitmaps over addresses and the pieces a flat hash table, since the
// records have no room for flags. Linear in the number of triangles reached.

#include "taro25d/Zone2.h"

#include <algorithm>
#include <iterator>
#include <map>
#include <set>

#include "kernel/flatSets.h"
#include "kernel/tools.h"
#include "kernel/triangleLists.h"
#include "mesh/Dt2.h"
#include "mesh/RegionSearch.h"
#include "support/diagnostics.h"
#include "support/stopping.h"
#include "taro25d/ConstraintGraph2.h"
#include "taro25d/ConstraintSegment2.h"
#include "zones/ConnectedComponent.h"
#include "zones/WindingNumbers.h"
#include "zones/ZoneMgr.h"

namespace LUMO_TARO25D {

namespace {

using TriangleVector = std::vector<Triangle2*>;

/// Merges two sorted lists into one.
TriangleVector merge(ZoneLocation zoneLoc, const TriangleVector& vFirst, const TriangleVector& vSecond) {
    TriangleVector vMerged;
    const auto apply = [&](auto operation) {
        operation(vFirst.begin(), vFirst.end(), vSecond.begin(), vSecond.end(), std::back_inserter(vMerged),
                  withCancelPoints(std::less<>()));
    };
    if (zoneLoc == ZL_RESULT_UNION) apply([](auto... a) { std::set_union(a...); });
    if (zoneLoc == ZL_RESULT_INTERSECTION) apply([](auto... a) { std::set_intersection(a...); });
    if (zoneLoc == ZL_RESULT_DIFFERENCE) apply([](auto... a) { std::set_difference(a...); });
    if (zoneLoc == ZL_RESULT_SYMMETRIC_DIFFERENCE) apply([](auto... a) { std::set_symmetric_difference(a...); });
    return vMerged;
}

/// The receiver of messages about a zone.
MessageSink* getSink(const Zone2* pZone) { return pZone ? &pZone->getDelaunayTriangulation()->getProgress() : nullptr; }

Zone2* combine(Zone2* pFirst, Zone2* pSecond, ZoneLocation zoneLoc, const char* location) {
    const MessageScope scope(getSink(pFirst));
    if (!pFirst || !pSecond || pFirst->getDelaunayTriangulation() != pSecond->getDelaunayTriangulation()) {
        error(location, "The zones must belong to the same triangulation! Returning NULL");
        return nullptr;
    }
    Zone2* pResult = pFirst->getDelaunayTriangulation()->createZone(nullptr, zoneLoc);
    if (pResult) pResult->setOperands(pFirst, pSecond);
    return pResult;
}

void printAreas(const char* title, const TriangleVector& vTriangles) {
    Note("Zone2::info()") << title << " numT=" << vTriangles.size()
                          << " area2D=" << sumUp(vTriangles, &Triangle2::getArea2D)
                          << " area25D=" << sumUp(vTriangles, &Triangle2::getArea25D) << "\n";
}

}  // namespace

Zone2::Zone2(Dt2* pDt2, ZoneLocation zoneLoc, const std::vector<ConstraintGraph2*>& vGraphs,
             const std::vector<Point2>& vSeeds)
    : pDt2_(pDt2), zoneLoc_(zoneLoc), vGraphs_(vGraphs), vSeeds_(vSeeds) {}

void Zone2::setOperands(Zone2* pFirst, Zone2* pSecond) {
    pFirst_ = pFirst;
    pSecond_ = pSecond;
}

void Zone2::getConstraintGraphs(std::vector<ConstraintGraph2*>& vGraphs) const {
    vGraphs.insert(vGraphs.end(), vGraphs_.begin(), vGraphs_.end());
}

ConstraintGraph2* Zone2::getConstraintGraph() const {
    if (vGraphs_.size() == 1) return vGraphs_[0];
    if (vGraphs_.size() > 1) {
        const MessageScope scope(&pDt2_->getProgress());
        warning("Zone2::getConstraintGraph()",
                "There is more than one constraint graph, use Zone2::getConstraintGraphs() instead. Returning NULL");
    }
    return nullptr;
}

// ---------------------------------------------------------------------------------------------------------------------
// The triangles

void Zone2::getTriangles(std::vector<Triangle2*>& vTriangles) const {
    if (!pDt2_->is2D()) return;
    const MessageScope scope(getSink(this));
    switch (zoneLoc_) {
        case ZL_GLOBAL:
        case ZL_INSIDE:
        case ZL_OUTSIDE:
        case ZL_BOUNDED:
            bfsFromWorkspace(vTriangles);
            return;
        case ZL_GROW:
            pDt2_->growZoneArea(vGraphs_, vSeeds_, vTriangles);
            return;
        case ZL_RESULT_UNION:
        case ZL_RESULT_INTERSECTION:
        case ZL_RESULT_DIFFERENCE:
        case ZL_RESULT_SYMMETRIC_DIFFERENCE:
            getTriangles_RESULT(vTriangles);
            return;
    }
    error("Zone2::getTriangles()", "unknown zoneLoc value");
}

bool Zone2::contains(const Triangle2* pT) const {
    std::vector<Triangle2*> vTriangles;
    if (pT) getTriangles(vTriangles);
    return std::find(vTriangles.begin(), vTriangles.end(), pT) != vTriangles.end();
}

bool Zone2::contains(const Point2& place) const {
    const MessageScope scope(getSink(this));
    if (!isFinite2D(place)) return false;
    // All triangles that contain the place: one, the two at an edge, or all around a vertex.
    std::vector<Triangle2*> vTouched;
    RegionSearch(*pDt2_).getTrianglesInBox(Bbox2(place.x(), place.y(), place.x(), place.y()), vTouched);
    if (vTouched.empty()) return false;
    AddressSet sTouched = toSet(vTouched);
    std::vector<Triangle2*> vTriangles;
    getTriangles(vTriangles);
    return std::any_of(vTriangles.begin(), vTriangles.end(),
                       [&sTouched](const Triangle2* pT) { return sTouched.contains(pT); });
}

void Zone2::initWorkspace(bool bInside, std::vector<Triangle2*>& vSeedTriangles) const {
    if (zoneLoc_ != ZL_INSIDE && zoneLoc_ != ZL_OUTSIDE && zoneLoc_ != ZL_BOUNDED) {
        error("Zone2::initWorkspace", "Wrong zoneLocation");
        return;
    }
    CancelPoint<> cancelPoint;
    for (const ConstraintGraph2* pGraph : vGraphs_) {
        std::vector<DirectedEdge> vPieces;
        pGraph->getDirectedPieces(vPieces);
        const WindingNumbers windings(vPieces);
        const bool bClosed = windings.areClosed();
        if (!bClosed) dropRetracedEdges(vPieces);
        const auto beginAlong = [&](Point2* pSrc, Point2* pTrg, bool bLeft) {
            if ((bClosed ? windings.getLeftOf(pSrc, pTrg) != 0 : bLeft) != bInside) return;
            Triangle2* pT = pDt2_->getAdjacentTriangle(pSrc, pTrg);
            if (pT) vSeedTriangles.push_back(pT);  // null beyond the hull, and for a piece that is not established
        };
        for (const auto& [pSrc, pTrg] : vPieces) {
            cancelPoint.pass();
            beginAlong(pSrc, pTrg, true);
            beginAlong(pTrg, pSrc, false);
        }
    }
}

void Zone2::bfsFromWorkspace(std::vector<Triangle2*>& vTriangles) const {
    TARO_ASSERT_TEXT(zoneLoc_ == ZL_GLOBAL || zoneLoc_ == ZL_INSIDE || zoneLoc_ == ZL_OUTSIDE || zoneLoc_ == ZL_BOUNDED,
                     "zoneLoc==ZL_GLOBAL || zoneLoc==ZL_INSIDE || zoneLoc==ZL_OUTSIDE || zoneLoc==ZL_BOUNDED");
    std::vector<Triangle2*> vSeedTriangles;
    if (zoneLoc_ == ZL_GLOBAL) {
        vSeedTriangles.push_back(pDt2_->getOneValidTriangle());
    } else {
        initWorkspace(zoneLoc_ != ZL_OUTSIDE, vSeedTriangles);
    }
    spreadBetween(vGraphs_, vSeedTriangles, vTriangles);
}

/// The list of each operand is computed once and freed after its last use, so that a long chain of results holds only a
/// few lists at a time.
void Zone2::getTriangles_RESULT(std::vector<Triangle2*>& vTriangles) const {
    struct Sorted {
        TriangleVector vTriangles;
        size_t numUses = 0;
    };
    const std::vector<const Zone2*> vZones = getOperandsFirst();
    std::map<const Zone2*, Sorted> mSorted;
    for (const Zone2* pZone : vZones) {
        if (!pZone->pFirst_) continue;
        ++mSorted[pZone->pFirst_].numUses;
        ++mSorted[pZone->pSecond_].numUses;
    }
    for (const Zone2* pZone : vZones) {
        if (!pZone->pFirst_) {
            mSorted[pZone].vTriangles = pZone->getSorted();
            continue;
        }
        Sorted &first = mSorted[pZone->pFirst_], &second = mSorted[pZone->pSecond_];
        mSorted[pZone].vTriangles = merge(pZone->zoneLoc_, first.vTriangles, second.vTriangles);
        for (Sorted* pUsed : {&first, &second}) {
            if (--pUsed->numUses == 0) pUsed->vTriangles = {};
        }
    }
    const TriangleVector& vResult = mSorted[this].vTriangles;
    vTriangles.insert(vTriangles.end(), vResult.begin(), vResult.end());
}

/// All direct and indirect operands and, last, this zone, each once and after its own operands.
std::vector<const Zone2*> Zone2::getOperandsFirst() const {
    std::vector<const Zone2*> vZones, vStack{this};
    std::set<const Zone2*> sEntered, sDone;
    while (!vStack.empty()) {
        const Zone2* pZone = vStack.back();
        if (pZone->pFirst_ && sEntered.insert(pZone).second) {
            vStack.push_back(pZone->pSecond_);
            vStack.push_back(pZone->pFirst_);
            continue;
        }
        vStack.pop_back();
        if (sDone.insert(pZone).second) vZones.push_back(pZone);
    }
    return vZones;
}

/// The triangles of a zone that has no operands, in the order of their addresses.
std::vector<Triangle2*> Zone2::getSorted() const {
    TriangleVector vSorted;
    if (zoneLoc_ >= ZL_RESULT_UNION && zoneLoc_ <= ZL_RESULT_SYMMETRIC_DIFFERENCE) return vSorted;  // without operands
    getTriangles(vSorted);
    std::sort(vSorted.begin(), vSorted.end(), withCancelPoints(std::less<>()));
    return vSorted;
}

// ---------------------------------------------------------------------------------------------------------------------
// Measures and borders

size_t Zone2::getNumberOfTriangles() const {
    TriangleVector vTriangles;
    getTriangles(vTriangles);
    return vTriangles.size();
}

double Zone2::getArea2D() const {
    TriangleVector vTriangles;
    getTriangles(vTriangles);
    return sumUp(vTriangles, &Triangle2::getArea2D);
}

double Zone2::getArea25D() const {
    TriangleVector vTriangles;
    getTriangles(vTriangles);
    return sumUp(vTriangles, &Triangle2::getArea25D);
}

void Zone2::getVertices(std::vector<Point2*>& vVertices) const {
    const MessageScope scope(getSink(this));
    TriangleVector vTriangles;
    getTriangles(vTriangles);
    LUMO_TARO25D::getVertices(vTriangles, vVertices);
}

void Zone2::getBorderEdges(std::vector<Edge2>& vBorderEdges) const {
    const MessageScope scope(getSink(this));
    TriangleVector vTriangles;
    getTriangles(vTriangles);
    LUMO_TARO25D::getBorderEdges(vTriangles, vBorderEdges);
}

void Zone2::getBoundaryEdges(std::vector<Edge2>& vBoundaryEdges) const { getBorderEdges(vBoundaryEdges); }

void Zone2::getBoundarySegments(std::vector<Segment2>& vBoundarySegments) const {
    std::vector<Edge2> vBorderEdges;
    getBorderEdges(vBorderEdges);
    for (const Edge2& edge : vBorderEdges) vBoundarySegments.emplace_back(*edge.getSrc(), *edge.getTrg());
}

Bbox2 Zone2::getBoundingBox() const {
    const MessageScope scope(getSink(this));
    TriangleVector vTriangles;
    getTriangles(vTriangles);
    return getBox(vTriangles);
}

Zone2* Zone2::convertToBoundedZone() {
    if (zoneLoc_ == ZL_INSIDE) return this;
    const MessageScope scope(&pDt2_->getProgress());
    pDt2_->applyConstraintsAndZones();
    std::vector<Edge2> vBorderEdges;
    getBorderEdges(vBorderEdges);
    if (!vBorderEdges.empty()) return pDt2_->createZone(vBorderEdges, ZL_BOUNDED);
    warning("Zone2::convertToBoundedZone()", "No triangles available, returning NULL");
    return nullptr;
}

// ---------------------------------------------------------------------------------------------------------------------
// Zones from zones

Zone2* zoneUnion(Zone2* pFirst, Zone2* pSecond) {
    return combine(pFirst, pSecond, ZL_RESULT_UNION, "Zone2::zoneUnion(...)");
}

Zone2* zoneIntersection(Zone2* pFirst, Zone2* pSecond) {
    return combine(pFirst, pSecond, ZL_RESULT_INTERSECTION, "zoneUnion(...)");
}

Zone2* zoneDifference(Zone2* pFirst, Zone2* pSecond) {
    return combine(pFirst, pSecond, ZL_RESULT_DIFFERENCE, "zoneUnion(...)");
}

Zone2* zoneSymmetricDifference(Zone2* pFirst, Zone2* pSecond) {
    return combine(pFirst, pSecond, ZL_RESULT_SYMMETRIC_DIFFERENCE, "zoneUnion(...)");
}

Zone2* peelOffBorder(Zone2* pZone, const std::function<bool(Triangle2*)>& predicate, bool bVerbose) {
    const MessageScope scope(getSink(pZone));
    const auto refuse = [bVerbose](const char* message) -> Zone2* {
        if (bVerbose) warning("Zone2::peelOffIf()", message);
        return nullptr;
    };
    if (!pZone || !predicate) return refuse("pZone==NULL or pPredicate==NULL. Returning NULL");
    TriangleVector vTriangles;
    {
        const QuietScope quiet(bVerbose);
        pZone->getTriangles(vTriangles);
    }
    if (bVerbose) printAreas("\nZone2::peelOffIf(), original Zone:", vTriangles);
    peelBorder(vTriangles, predicate);
    if (bVerbose) printAreas("Output Zone:", vTriangles);
    if (vTriangles.empty()) return refuse("No triangles are left. Returning NULL");
    return pZone->getDelaunayTriangulation()->createZone(vTriangles, bVerbose);
}

}  // namespace LUMO_TARO25D
