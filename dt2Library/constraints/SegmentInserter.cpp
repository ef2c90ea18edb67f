// Constraint segments become edges of the mesh.
//
// A segment is followed from its source through the triangles that it crosses. If it meets neither a constraint nor a
// vertex, these triangles are replaced by others that have it as an edge (CrossedRegion). A vertex on its path splits
// the segment; a constraint edge on its path is split together with it at their crossing. The pieces go onto a stack,
// so that one obstacle is handled at a time and the mesh is consistent after each. Nearly always the crossed edge can
// be divided in place (insertOnEdge), and its halves need no further work.
//
// Where two constraints cross, the older one gives the height of the new vertex, linear between the ends of its alive
// piece. Age decides, not which of the two is an edge already: a segment may be an edge by chance, long before its
// turn.
//
// Crossings are rounded to doubles, so that pieces are not exactly on their segment and may meet vertices or other
// constraints that it missed; these are obstacles like any other. A split at an existing vertex uses up a pair of
// vertices for good, so splits without new vertices end by themselves, however many crossings snap to an end. New
// vertices at crossings have a quota, and a smaller one applies to those in the last bits next to an end of a piece,
// where rounding could make the same segments cross again and again.
//
// A vertex next to a segment counts as lying on it (nearness.h), whether it was there before or is inserted later
// (TriangleMesh::settle). The pieces between vertices are exact, so the tolerance decides only through which vertices a
// segment goes, never whether the mesh is valid.

#include "constraints/SegmentInserter.h"

#include <algorithm>
#include <cmath>
#include <iterator>
#include <limits>
#include <tuple>

#include "constraints/ConstraintMgr.h"
#include "constraints/ConstraintPieces.h"
#include "kernel/links.h"
#include "kernel/nearness.h"
#include "kernel/tolerances.h"
#include "kernel/tools.h"
#include "mesh/Dt2.h"
#include "mesh/InnerVtxMgr.h"
#include "mesh/segmentWalk.h"
#include "support/PointerMap.h"
#include "support/diagnostics.h"
#include "support/lists.h"
#include "support/stopping.h"
#include "taro25d/freeFunctions.h"

namespace LUMO_TARO25D {

namespace {

/// Removes the last segment of a list and returns it; null if there is none.
ConstraintSegment2* takeLast(std::vector<ConstraintSegment2*>& vCSegs) {
    if (vCSegs.empty()) return nullptr;
    ConstraintSegment2* pLast = vCSegs.back();
    vCSegs.pop_back();
    return pLast;
}

bool isEnd(const ConstraintSegment2* pCSeg, const Point2& point) {
    return point == *pCSeg->getSrc() || point == *pCSeg->getTrg();
}

/// Whether a point is only a few units in the last place away from an end of a segment.
bool isNextToEnd(const ConstraintSegment2* pCSeg, const Point2& point) {
    const auto isNext = [](double a, double b) { return std::abs(a - b) <= NEXT_TO_END * std::abs(b); };
    const auto isNearly = [&](const Point2* pEnd) {
        return isNext(pEnd->x(), point.x()) && isNext(pEnd->y(), point.y());
    };
    return isNearly(pCSeg->getSrc()) || isNearly(pCSeg->getTrg());
}

/// The crossing of two segments, with the height on the first; if an end of either is nearer to it than SNAP_DISTANCE,
/// that end.
Point2 getRoundedCrossing(const Point2& s0, const Point2& s1, const Point2& t0, const Point2& t1) {
    double x = 0.0, y = 0.0;
    const bool bCross = getIntersectionCoordsNoRounding(s0, s1, t0, t1, x, y);
    TARO_ASSERT(bCross);
    const Point2 exact(x, y, 0.0);
    const Point2* pNearest = nullptr;
    double sqNearest = std::numeric_limits<double>::max();
    const auto consider = [&](const Point2& end, const Point2& otherSrc, const Point2& otherTrg) {
        const double sqDistance = sqDistance2D(end, exact);
        if (sqDistance >= SNAP_DISTANCE * SNAP_DISTANCE || !approxHasOn(otherSrc, otherTrg, end)) return;
        if (sqDistance > sqNearest || (pNearest && sqDistance == sqNearest && !(end < *pNearest))) return;
        pNearest = &end;
        sqNearest = sqDistance;
    };
    consider(s0, t0, t1);
    consider(s1, t0, t1);
    consider(t0, s0, s1);
    consider(t1, s0, s1);
    if (!pNearest) return Point2(x, y, getHeightOn(s0, s1, x, y));
    Point2 end(pNearest->x(), pNearest->y(), pNearest->z());
    end.setCustomIndex(pNearest->getCustomIndex());
    return end;
}

/// The vertices of a segment's pieces, from the smaller end on.
std::vector<Point2*> getVerticesAlong(ConstraintSegment2* const* aPieces, size_t num) {
    std::vector<ConstraintSegment2*> vPieces;
    for (size_t i = 0; i < num; ++i) appendAlivePieces(aPieces[i], vPieces);
    std::vector<Point2*> vVertices;
    for (const ConstraintSegment2* pPiece : vPieces) {
        vVertices.push_back(pPiece->getSrc());
        vVertices.push_back(pPiece->getTrg());
    }
    const auto isSmaller = [](const Point2* p, const Point2* q) { return *p < *q; };
    const auto ends = std::minmax_element(vVertices.begin(), vVertices.end(), isSmaller);
    const Point2 &src = **ends.first, &trg = **ends.second;
    const double dx = trg.x() - src.x(), dy = trg.y() - src.y();
    const auto getPlace = [&](const Point2* p) { return dx * (p->x() - src.x()) + dy * (p->y() - src.y()); };
    std::sort(vVertices.begin(), vVertices.end(), [&](const Point2* p, const Point2* q) {
        const double ofP = getPlace(p), ofQ = getPlace(q);
        return ofP != ofQ ? ofP < ofQ : *p < *q;
    });
    vVertices.erase(std::unique(vVertices.begin(), vVertices.end()), vVertices.end());
    return vVertices;
}

}  // namespace

bool SegmentInserter::newCDT_applyOneCS(ConstraintSegment2* pInitialCSeg) {
    TARO_ASSERT_TEXT(pInitialCSeg->getCIS() == CIS_CONSTRAINED_DELAUNAY,
                     "pInitialCSeg->getCIS()==CIS_CONSTRAINED_DELAUNAY");
    TARO_ASSERT_TEXT(pInitialCSeg->isAlive(), "pInitialCSeg->isAlive()");
    if (pInitialCSeg->getSrc() == pInitialCSeg->getTrg()) {
        warning("Dt2::newCDT_applyOneCS()", "Degenerate constraint, return");
        return false;
    }
    return forceIntoMesh(pInitialCSeg);
}

bool SegmentInserter::forceIntoMesh(ConstraintSegment2* pInitialCSeg) {
    std::vector<ConstraintSegment2*> vStack;  // needs no memory where nothing is split
    for (ConstraintSegment2* pCSeg = pInitialCSeg; pCSeg; pCSeg = takeLast(vStack)) {
        cancelPoint_.pass();
        if (!pCSeg->isAlive()) {
            appendAlivePieces(pCSeg, vStack);
        } else if (pCSeg->getSrc() == pCSeg->getTrg()) {
            warning("Dt2::newCDT_applyOneCS()", "Degenerate constraint (2), return");
            return false;
        } else if (!newCDT_insertOrSplit(pCSeg, vStack)) {
            warnOfInaccuracy();
            return false;
        }
    }
    return true;
}

bool SegmentInserter::newCDT_insertOrSplit(ConstraintSegment2* pCSeg, std::vector<ConstraintSegment2*>& vStack) {
    std::optional<Crossing> crossing;
    Point2* pExistingVertex = newCDT_traverseCZ(pCSeg, crossing);
    if (pExistingVertex) {
        TARO_ASSERT_TEXT(!crossing, "vPairIspCS.empty()");
        TARO_ASSERT_TEXT(pExistingVertex != pCSeg->getSrc(), "pExistingVertex!=pCSeg->getSrc()");
        TARO_ASSERT_TEXT(pExistingVertex != pCSeg->getTrg(), "pExistingVertex!=pCSeg->getTrg()");
        mesh_.getInnerVtxMgr().eraseVtx(pExistingVertex);
        advanceThrough(pCSeg, pExistingVertex);
        if (pCSeg->split_combinatorialOnly(pExistingVertex)) appendAlivePieces(pCSeg, vStack);
        return true;
    }
    if (!crossing) return true;
    if (isQuotaUsedUp()) return false;
    splitBothAt(*crossing, pCSeg, vStack);
    return true;
}

void SegmentInserter::splitBothAt(const Crossing& crossing, ConstraintSegment2* pCSeg,
                                  std::vector<ConstraintSegment2*>& vStack) {
    const Point2& splitPoint = crossing.place;
    ConstraintSegment2* pCrossingCSeg = crossing.pCrossed;
    const bool bSplitBoth = !isEnd(pCSeg, splitPoint);
    --crossingQuota_;
    closeCrossingQuota_ -= bSplitBoth && (isNextToEnd(pCSeg, splitPoint) || isNextToEnd(pCrossingCSeg, splitPoint));
    TARO_ASSERT_TEXT(splitPoint != *pCrossingCSeg->getSrc() && splitPoint != *pCrossingCSeg->getTrg(),
                     "splitPoint!=*pCrossingCSeg->getSrc() && splitPoint!=*pCrossingCSeg->getTrg()");
    if (bSplitBoth) pCSeg->kill();
    Point2* pSplit = insertOnEdge(crossing, pCSeg);
    const bool bOnEdge = pSplit;
    bool bNew = true;
    if (!bOnEdge) {
        killAndUnestablishConstraintSegment(pCrossingCSeg);
        if (bSplitBoth) killAndUnestablishConstraintSegment(pCSeg);
        mesh_.startSearchAt(getEndsByPlace(pCrossingCSeg).first);
        std::tie(pSplit, bNew) = manager_.bringVertex(splitPoint);
    }
    const auto [pOlder, pYounger] = orderByAge(pCrossingCSeg, pCSeg);
    if (pOlder != pCSeg) {
        if (!bNew) runThrough(pOlder, pSplit);  // a new vertex already has the height of the older one
        advanceThrough(pCSeg, pSplit);
    } else {
        if (!bNew) advanceThrough(pCSeg, pSplit);
        if (bNew && !vReached_.empty() && isPresent(pCSeg)) {
            const Point2 &end0 = *pYounger->getSrc(), &end1 = *pYounger->getTrg();
            vCrossings_.emplace_back(pSplit, getHeightOn(end0, end1, pSplit->x(), pSplit->y()));
        } else {
            runThrough(pYounger, pSplit);
        }
    }
    mesh_.getInnerVtxMgr().eraseVtx(pSplit);
    const auto splitAt = [&](ConstraintSegment2* pKilled) {
        pKilled->unkill();
        const bool bSplit = pKilled->split_combinatorialOnly(pSplit);
        if (bSplit) pKilled->kill();
        return bSplit;
    };
    const bool bCrossingSplit = bOnEdge || splitAt(pCrossingCSeg);
    if (!bCrossingSplit && bSplitBoth) pCSeg->unkill();
    const bool bSplit = bCrossingSplit && (!bSplitBoth || splitAt(pCSeg));
    if (!bOnEdge) appendAlivePieces(pCrossingCSeg, vStack);  // may be cancelled, so both splits come first
    if (!bSplit) return;
    TARO_ASSERT_TEXT(bSplitBoth || pCSeg->isAlive(), "pCSeg->isAlive()");
    appendAlivePieces(pCSeg, vStack);
}

/// Makes a vertex at a crossing and splits the crossed edge there, so that its halves are edges at once; null, with no
/// effect, if rounding has moved the crossing out of sight of a corner of the two triangles.
Point2* SegmentInserter::insertOnEdge(const Crossing& crossing, const ConstraintSegment2* pCrossing) {
    const auto& [place, pCrossed, pT, i] = crossing;
    const Triangle2* pN = pT->getOppositeTriangle(i);
    if (!pN || !isFinite(place)) return nullptr;
    const NoStopScope noStop;
    mesh_.getVertexVault().enlargeBoxForPoint(place);
    const int j = indexOfNeighbour(pN, pT);
    GeomTest& geomTest = mesh_.getGeomTest();
    const auto isLeftOf = [&, p = &place](const Triangle2* pTriangle, int from) {
        return geomTest.getOrientation2(pTriangle->getCorner(from), pTriangle->getCorner(incIndexBy1(from)), p) ==
               ORIENTATION2_CCW;
    };
    const bool bSeesAll =
        isLeftOf(pT, i) && isLeftOf(pT, incIndexBy2(i)) && isLeftOf(pN, j) && isLeftOf(pN, incIndexBy2(j));
    return bSeesAll ? manager_.bringVertexOnEdge(place, pT, i, pCrossing) : nullptr;
}

void SegmentInserter::runThrough(const ConstraintSegment2* pCSeg, Point2* pVtx) {
    if (pVtx == pCSeg->getSrc() || pVtx == pCSeg->getTrg()) return;
    const double height = getHeightOn(*pCSeg->getSrc(), *pCSeg->getTrg(), pVtx->x(), pVtx->y());
    if (sAwaiting_.erase(pVtx)) {
        pVtx->set(pVtx->x(), pVtx->y(), height);
    } else {
        mesh_.getHeightBook().meet(pVtx, height);
    }
}

void SegmentInserter::begin(const ConstraintSegment2* pCSeg, size_t crossingQuota) {
    setCrossingQuota(crossingQuota);
    // After a cancelled call the unfinished segment is continued; older segments before it reach no new vertices.
    if (vReached_.empty()) present_ = pCSeg->getAge();
}

void SegmentInserter::end() {
    sAwaiting_ = AddressSet();
    vReached_.clear();
    vMet_.clear();
    vCrossings_.clear();
}

std::function<void()> SegmentInserter::rememberState() {
    const auto getMembers = [this] {
        return std::tie(crossingQuota_, closeCrossingQuota_, sAwaiting_, present_, vReached_, vMet_, vCrossings_);
    };
    return [getMembers, members = copyAll(getMembers())] { getMembers() = members; };
}

bool SegmentInserter::isPresent(const ConstraintSegment2* pCSeg) const {
    return !(pCSeg->getAge() < present_) && !(present_ < pCSeg->getAge());
}

/// runThrough() for a piece of the present segment, or of a segment that it has split. From the first vertex that
/// awaits its height on, the heights at the ends of pieces are unknown until giveHeights().
void SegmentInserter::advanceThrough(const ConstraintSegment2* pCSeg, Point2* pVtx) {
    if (pVtx == pCSeg->getSrc() || pVtx == pCSeg->getTrg()) return;
    if (!isPresent(pCSeg)) {
        runThrough(pCSeg, pVtx);
    } else if (sAwaiting_.erase(pVtx)) {
        vReached_.push_back(pVtx);
    } else if (vReached_.empty()) {
        runThrough(pCSeg, pVtx);
    } else {
        vMet_.push_back(pVtx);
    }
}

void SegmentInserter::giveHeights(ConstraintSegment2* const* aPieces, size_t num) {
    if (vReached_.empty() || !isPresent(aPieces[0])) return;
    AddressSet sReached, sMet;
    PointerMap<double> mOthers;
    for (const Point2* pVtx : vReached_) sReached.insert(pVtx);
    for (const Point2* pVtx : vMet_) sMet.insert(pVtx);
    for (const auto& [pVtx, ofYounger] : vCrossings_) mOthers.add(pVtx, ofYounger);
    vReached_.clear();
    vMet_.clear();
    vCrossings_.clear();
    const std::vector<Point2*> vVertices = getVerticesAlong(aPieces, num);
    const auto setHeight = [](Point2* pVtx, const Point2& end0, const Point2& end1) {
        pVtx->set(pVtx->x(), pVtx->y(), getHeightOn(end0, end1, pVtx->x(), pVtx->y()));
    };
    // The segment was followed from its smaller end: behind a vertex it was straight up to the other end.
    const Point2 *pKnown = vVertices.front(), *pEnd = vVertices.back();
    for (Point2* pVtx : vVertices) {
        if (sReached.contains(pVtx)) continue;
        if (const double* pOfYounger = mOthers.find(pVtx)) {
            setHeight(pVtx, *pKnown, *pEnd);
            mesh_.getHeightBook().meet(pVtx, *pOfYounger);
        }
        if (sMet.contains(pVtx)) mesh_.getHeightBook().meet(pVtx, getHeightOn(*pKnown, *pEnd, pVtx->x(), pVtx->y()));
        pKnown = pVtx;
    }
    const auto isReached = [&](const Point2* pVtx) { return sReached.contains(pVtx); };
    for (auto it = vVertices.begin(); it != vVertices.end();) {
        const auto first = std::find_if(it, vVertices.end(), isReached);
        it = std::find_if_not(first, vVertices.end(), isReached);
        const Point2& before = first == vVertices.begin() ? **first : **std::prev(first);
        const Point2& after = it == vVertices.end() ? *pEnd : **it;
        std::for_each(first, it, [&](Point2* pVtx) { setHeight(pVtx, before, after); });
    }
}

Point2* SegmentInserter::newCDT_traverseCZ(ConstraintSegment2* pCSeg, std::optional<Crossing>& crossing) {
    Point2 *pSrc = nullptr, *pTrg = nullptr;
    std::tie(pSrc, pTrg) = getEndsByPlace(pCSeg);
    if (pSrc == pTrg) {
        warning("Dt2::newCDT_traverseCZ()", "Degenerate constraint, return");
        return nullptr;
    }
    GeomTest& geomTest = mesh_.getGeomTest();
    Triangle2* pT = nullptr;
    int i = 0;
    if (Point2* pReached = leaveTowardsVertex(geomTest, pSrc, pTrg, pT, i))
        return pReached == pTrg ? nullptr : pReached;
    const bool bExact = mesh_.takesConstraintsExactly();
    const auto isOnPath = [&](const Point2* pVtx) { return !bExact && isBeside(*pSrc, *pTrg, *pVtx); };
    for (Point2* pCorner : {pT->getCorner(incIndexBy1(i)), pT->getCorner(incIndexBy2(i))}) {
        if (isOnPath(pCorner)) return pCorner;
    }
    region_.start(pT, i);
    CancelPoint<> cancelPoint;
    Orientation2 ori = ORIENTATION2_CCW;
    while (ori != ORIENTATION2_COLLINEAR) {
        cancelPoint.pass();
        if (mesh_.isConstraint(pT, i)) return getCrossing(pT, i, pCSeg, crossing);
        ori = crossEdge(geomTest, pSrc, pTrg, pT, i);
        region_.add(pT, i, ori);
        Point2* pFar = ori == ORIENTATION2_CCW ? pT->getCorner(incIndexBy2(i)) : pT->getCorner(incIndexBy1(i));
        if (ori != ORIENTATION2_COLLINEAR && isOnPath(pFar)) return pFar;
    }
    if (pT->getCorner(i) != pTrg) return pT->getCorner(i);
    region_.replace(mesh_);
    return nullptr;
}

Point2* SegmentInserter::getCrossing(Triangle2* pT, int i, const ConstraintSegment2* pCSeg,
                                     std::optional<Crossing>& crossing) const {
    Point2 *pE0 = pT->getCorner(incIndexBy1(i)), *pE1 = pT->getCorner(incIndexBy2(i));
    ConstraintSegment2* pCrossingCSeg = manager_.getAliveConstraintSegment(pE0, pE1);
    const auto [pOlder, pYounger] = orderByAge(pCrossingCSeg, pCSeg);
    const Point2 place =
        getRoundedCrossing(*pOlder->getSrc(), *pOlder->getTrg(), *pYounger->getSrc(), *pYounger->getTrg());
    if (place == *pE0) return pE0;
    if (place == *pE1) return pE1;
    crossing = {place, pCrossingCSeg, pT, i};
    return nullptr;
}

void SegmentInserter::killAndUnestablishConstraintSegment(ConstraintSegment2* pCSeg) {
    pCSeg->kill();
    const auto [pSrc, pTrg] = getEndsByPlace(pCSeg);
    Triangle2* pT = mesh_.getAdjacentTriangle(pSrc, pTrg);
    if (!pT) pT = mesh_.getAdjacentTriangle(pTrg, pSrc);
    if (!pT) return;
    mesh_.noteForFlips(pT);
    mesh_.flipUntilDelaunay();
}

}  // namespace LUMO_TARO25D
