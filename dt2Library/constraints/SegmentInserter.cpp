// Constraint segments in the mesh.
//
// Constrained (newCDT_*): the segment is followed from its source through the triangles that it crosses. Without
// constraints or vertices in its way, these are taken out, the two polygons on its sides are triangulated, and flips make
// the region Delaunay again but for constraint edges (Lawson 1977; Chew 1989 for the constrained property). A vertex on the
// way splits the segment; a constraint edge on the way is split together with it where they cross. The pieces go onto a
// stack, so that one obstacle is dealt with at a time and the mesh is consistent after each.
//
// The polygon on one side is weakly visible from the segment: every vertex of it belongs to a triangle that the segment
// crosses. Therefore a convex vertex is always an ear, and cutting them off in one pass with a stack triangulates it in
// linear time (Toussaint, Avis 1982). The border of the region may pass both sides of an edge inside it, or a vertex more
// than once. Border entries name triangles that are on their way out, whose links still tell what lies across: where
// that has been replaced already, the replacement has taken over the link, so both sides of an inner edge find each other.
//
// Conforming segments have a file of their own.
//
// Where two constraints meet, the older one gives the height of the new vertex, linear between the ends of its alive piece,
// whichever of the two is the edge and whichever is on its way: edges may be there by chance, long before the turn of their
// segment comes.
//
// Crossings are rounded to doubles, so that pieces are not exactly on their segment and may run into vertices or other
// constraints that it missed; these are obstacles like any other. A piece that is split at a vertex uses up a pair of
// vertices for good, so as long as no new vertices come up this ends by itself, however many crossings move to an end. New
// vertices at crossings are rationed, those in the last bits next to an end of a piece most of all: there rounding could
// make the same segments cross again and again.
//
// A vertex next to a segment lies on it (nearness.h), be it there before or inserted later (Dt2::settle). Its pieces are
// exact again, so that the mesh never depends on a tolerance, only the way that a segment takes through it.

#include <algorithm>
#include <cmath>
#include <limits>

#include "constraints/ConstraintMgr.h"
#include "constraints/ConstraintPieces.h"
#include "kernel/links.h"
#include "kernel/nearness.h"
#include "kernel/tools.h"
#include "mesh/Dt2.h"
#include "mesh/InnerVtxMgr.h"
#include "support/diagnostics.h"
#include "taro25d/freeFunctions.h"

namespace LUMO_TARO25D {

namespace {

bool isEnd(const ConstraintSegment2* pCSeg, const Point2& point) {
    return point == *pCSeg->getSrc() || point == *pCSeg->getTrg();
}

/// Whether a point is only a few units in the last place away from an end of a segment.
bool isNextToEnd(const ConstraintSegment2* pCSeg, const Point2& point) {
    constexpr double FEW_ULP = 8.0 * std::numeric_limits<double>::epsilon();
    const auto isNext = [](double a, double b) { return std::abs(a - b) <= FEW_ULP * std::abs(b); };
    const auto isNearly = [&](const Point2* pEnd) {
        return isNext(pEnd->x(), point.x()) && isNext(pEnd->y(), point.y());
    };
    return isNearly(pCSeg->getSrc()) || isNearly(pCSeg->getTrg());
}

/// Any integer can be cast to a strategy. Said in the name of what would meet it later.
bool isStrategy(ConstraintInsertionStrategy cis) {
    if (cis == CIS_CONFORMING_SURFACE_Z || cis == CIS_CONSTRAINED_DELAUNAY || cis == CIS_CONFORMING_LINEAR_Z)
        return true;
    error("ConstraintMgr::apply()", "Unknown CIS");
    return false;
}

}  // namespace

// ---------------------------------------------------------------------------------------------------------------------
// Creation and queries

ConstraintGraph2* Dt2::createConstraint(const std::vector<Segment2>& vSegments, ConstraintInsertionStrategy cis,
                                        bool bOrientedSegments) {
    if (vSegments.empty()) {
        warning("Dt2::createConstraint(..)", "vSegments is empty, returning NULL");
        return nullptr;
    }
    if (!areFinite(vSegments)) {
        warning("Dt2::createConstraint(..)", "non-finite coordinates, constraint refused");
        return nullptr;
    }
    if (!isStrategy(cis)) return nullptr;
    ConstraintGraph2* pGraph = bOrientedSegments ? getConstraintManager()->createConstraint_oriented(vSegments, cis)
                                                 : getConstraintManager()->createConstraint(vSegments, cis);
    getConstraintManager()->splitEncroachedPieces(false);
    return pGraph;
}

ConstraintGraph2* Dt2::createConstraint(const std::vector<Edge2*>& vEdges, ConstraintInsertionStrategy cis) {
    if (vEdges.empty()) {
        warning("Dt2::createConstraint(..)", "vEdges is empty, returning NULL");
        return nullptr;
    }
    if (!isStrategy(cis)) return nullptr;
    ConstraintGraph2* pGraph = getConstraintManager()->createConstraint(vEdges, cis, true);
    getConstraintManager()->splitEncroachedPieces(false);
    return pGraph;
}

void Dt2::applyConstraintsAndZones() {
    if (!is2D()) {
        warning("Dt2::applyConstraintsAndZones()", "The triangulation is not full dimensional yet. Nothing to do");
        return;
    }
    getConstraintManager()->apply();
    getConstraintManager()->splitEncroachedPieces(true);
}

ConstraintMgr* Dt2::getConstraintManager() { return &getSlot<ConstraintMgr>(); }

ConstraintSegment2* Dt2::getAliveConstraintSegment(const Point2* p0, const Point2* p1) const {
    const auto* pManager = findSlot<ConstraintMgr>();
    return pManager ? pManager->getAliveConstraintSegment(p0, p1) : nullptr;
}

void Dt2::getAliveConstraintSegments(std::vector<ConstraintSegment2*>& vCSegs) const {
    if (const auto* pManager = findSlot<ConstraintMgr>()) pManager->getAliveConstraintSegments(vCSegs);
}

void Dt2::getAliveAndDeadConstraintSegments(std::vector<ConstraintSegment2*>& vCSegs) const {
    if (const auto* pManager = findSlot<ConstraintMgr>()) pManager->getAliveAndDeadConstraintSegments(vCSegs);
}

void Dt2::internalDebug(int topic, int, const std::string& text) {
    if (topic == 0) vertexVault_.showData(text);
    if (topic == 1) vertexVault_.checkVault();
    if (topic == 2) vertexVault_.debugDups();
    if (topic == 3) getConstraintManager()->writeConstraints(text);
    if (topic == 4) getConstraintManager()->writeConstraintsBIN(text);
}

// ---------------------------------------------------------------------------------------------------------------------
// The way of a segment through the mesh

Point2* Dt2::leaveVertex(const Point2* p, const Point2* q, Triangle2*& pT, int& i) const {
    Point2* pOnWay = nullptr;
    pT = findIncidentTriangle(p, [&](const Triangle2* pCandidate) {
        i = indexOfVertex(pCandidate, p);
        Point2 *a = pCandidate->getCorner(incIndexBy1(i)), *b = pCandidate->getCorner(incIndexBy2(i));
        if (a == q || b == q) {
            pOnWay = a == q ? a : b;
            return true;
        }
        const Orientation2 oriA = geomTest_.getOrientation2(p, q, a), oriB = geomTest_.getOrientation2(p, q, b);
        if (oriA == ORIENTATION2_COLLINEAR && oriB == ORIENTATION2_CCW) pOnWay = a;
        if (oriB == ORIENTATION2_COLLINEAR && oriA == ORIENTATION2_CW) pOnWay = b;
        return pOnWay || (oriA == ORIENTATION2_CW && oriB == ORIENTATION2_CCW);
    });
    return pOnWay;
}

Point2* Dt2::leaveTowardsVertex(const Point2* p, const Point2* q, Triangle2*& pT, int& i) const {
    TARO_ASSERT_TEXT(p->getIncidentTriangle() != nullptr, "pSrc->getIncidentTriangle()!=__null");
    TARO_ASSERT_TEXT(q->getIncidentTriangle() != nullptr, "pTrg->getIncidentTriangle()!=__null");
    Point2* pOnWay = leaveVertex(p, q, pT, i);
    TARO_ASSERT_TEXT(pT != nullptr, "pT!=__null");
    return pOnWay;
}

Orientation2 Dt2::crossEdge(const Point2* p, const Point2* q, Triangle2*& pT, int& i) const {
    Triangle2* pN = pT->getOppositeTriangle(i);
    TARO_ASSERT_TEXT(pN != nullptr, "pN!=__null");
    const int j = indexOfNeighbour(pN, pT);
    const Point2* pFar = pN->getCorner(j);
    const Orientation2 ori = pFar == q ? ORIENTATION2_COLLINEAR : geomTest_.getOrientation2(p, q, pFar);
    pT = pN;
    i = ori == ORIENTATION2_COLLINEAR ? j : ori == ORIENTATION2_CCW ? incIndexBy1(j) : incIndexBy2(j);
    return ori;
}

void Dt2::getCZ(const Point2* p, const Point2* q, std::vector<Triangle2*>& vTriangles) const {
    while (p != q) {
        Triangle2* pT = nullptr;
        int i = 0;
        const Point2* pReached = leaveTowardsVertex(p, q, pT, i);
        while (!pReached) {
            vTriangles.push_back(pT);
            if (crossEdge(p, q, pT, i) != ORIENTATION2_COLLINEAR) continue;
            vTriangles.push_back(pT);
            pReached = pT->getCorner(i);
        }
        p = pReached;
    }
}

// ---------------------------------------------------------------------------------------------------------------------
// Constrained segments

void Dt2::newCDT_applyOneCS(ConstraintSegment2* pInitialCSeg) {
    TARO_ASSERT_TEXT(pInitialCSeg->getCIS() == CIS_CONSTRAINED_DELAUNAY,
                     "pInitialCSeg->getCIS()==CIS_CONSTRAINED_DELAUNAY");
    TARO_ASSERT_TEXT(pInitialCSeg->isAlive(), "pInitialCSeg->isAlive()");
    if (pInitialCSeg->getSrc() == pInitialCSeg->getTrg()) {
        warning("Dt2::newCDT_applyOneCS()", "Degenerate constraint, return");
        return;
    }
    forceIntoMesh(pInitialCSeg);
}

void Dt2::forceIntoMesh(ConstraintSegment2* pInitialCSeg) {
    std::vector<ConstraintSegment2*> vStack{pInitialCSeg};
    while (!vStack.empty()) {
        ConstraintSegment2* pCSeg = vStack.back();
        vStack.pop_back();
        if (!pCSeg->isAlive()) {
            pCSeg->getChildrenRec(vStack);
        } else if (pCSeg->getSrc() == pCSeg->getTrg()) {
            warning("Dt2::newCDT_applyOneCS()", "Degenerate constraint (2), return");
            return;
        } else if (!newCDT_insertOrSplit(pCSeg, vStack)) {
            warnOfInaccuracy();
            return;
        }
    }
}

bool Dt2::newCDT_insertOrSplit(ConstraintSegment2* pCSeg, std::vector<ConstraintSegment2*>& vStack) {
    std::vector<Crossing> vPairIspCS;
    Point2* pExistingVertex = newCDT_traverseCZ(pCSeg, vPairIspCS);
    if (pExistingVertex) {
        TARO_ASSERT_TEXT(vPairIspCS.empty(), "vPairIspCS.empty()");
        TARO_ASSERT_TEXT(pExistingVertex != pCSeg->getSrc(), "pExistingVertex!=pCSeg->getSrc()");
        TARO_ASSERT_TEXT(pExistingVertex != pCSeg->getTrg(), "pExistingVertex!=pCSeg->getTrg()");
        pInnerVtxMgr_->eraseVtx(pExistingVertex);
        if (pCSeg->split_combinatorialOnly(pExistingVertex)) pCSeg->getChildrenRec(vStack);
        return true;
    }
    if (vPairIspCS.empty()) return true;
    TARO_ASSERT_TEXT(vPairIspCS.size() == 1, "vPairIspCS.size()==1");
    if (isQuotaUsedUp()) return false;
    splitBothAt(vPairIspCS[0], pCSeg, vStack);
    return true;
}

void Dt2::splitBothAt(const Crossing& crossing, ConstraintSegment2* pCSeg, std::vector<ConstraintSegment2*>& vStack) {
    const auto& [splitPoint, pCrossingCSeg] = crossing;
    const bool bSplitBoth = !isEnd(pCSeg, splitPoint);
    --crossingQuota_;
    closeCrossingQuota_ -= bSplitBoth && (isNextToEnd(pCSeg, splitPoint) || isNextToEnd(pCrossingCSeg, splitPoint));
    TARO_ASSERT_TEXT(splitPoint != *pCrossingCSeg->getSrc() && splitPoint != *pCrossingCSeg->getTrg(),
                     "splitPoint!=*pCrossingCSeg->getSrc() && splitPoint!=*pCrossingCSeg->getTrg()");
    killAndUnestablishConstraintSegment(pCrossingCSeg);
    if (bSplitBoth) killAndUnestablishConstraintSegment(pCSeg);
    pLastVtx_ = pCrossingCSeg->getSrc();  // the crossing is near
    Point2* pSplit = insert(splitPoint);
    pInnerVtxMgr_->eraseVtx(pSplit);
    const auto splitAt = [&](ConstraintSegment2* pKilled) {
        pKilled->unkill();
        const bool bSplit = pKilled->split_combinatorialOnly(pSplit);
        if (bSplit) pKilled->kill();
        return bSplit;
    };
    const bool bCrossingSplit = splitAt(pCrossingCSeg);
    appendAlivePieces(pCrossingCSeg, vStack);
    if (!bCrossingSplit && bSplitBoth) pCSeg->unkill();
    if (!bCrossingSplit || (bSplitBoth && !splitAt(pCSeg))) return;
    TARO_ASSERT_TEXT(bSplitBoth || pCSeg->isAlive(), "pCSeg->isAlive()");
    appendAlivePieces(pCSeg, vStack);
}

Point2* Dt2::newCDT_traverseCZ(ConstraintSegment2* pCSeg, std::vector<Crossing>& vPairIspCS) {
    Point2 *pSrc = pCSeg->getSrc(), *pTrg = pCSeg->getTrg();
    if (pSrc == pTrg) {
        warning("Dt2::newCDT_traverseCZ()", "Degenerate constraint, return");
        return nullptr;
    }
    if (*pTrg < *pSrc) std::swap(pSrc, pTrg);  // which obstacle is the first does not depend on addresses
    Triangle2* pT = nullptr;
    int i = 0;
    if (Point2* pReached = leaveTowardsVertex(pSrc, pTrg, pT, i)) return pReached == pTrg ? nullptr : pReached;
    const auto isOnWay = [&](const Point2* pVtx) { return !bExactConstraints_ && isBeside(*pSrc, *pTrg, *pVtx); };
    for (Point2* pCorner : {pT->getCorner(incIndexBy1(i)), pT->getCorner(incIndexBy2(i))}) {
        if (isOnWay(pCorner)) return pCorner;
    }
    CrossedRegion region(pT, i);
    Orientation2 ori = ORIENTATION2_CCW;
    while (ori != ORIENTATION2_COLLINEAR) {
        if (isConstraint(pT, i)) return getCrossing(pT, i, pCSeg, vPairIspCS);
        ori = crossEdge(pSrc, pTrg, pT, i);
        region.add(pT, i, ori);
        Point2* pFar = ori == ORIENTATION2_CCW ? pT->getCorner(incIndexBy2(i)) : pT->getCorner(incIndexBy1(i));
        if (ori != ORIENTATION2_COLLINEAR && isOnWay(pFar)) return pFar;
    }
    if (pT->getCorner(i) != pTrg) return pT->getCorner(i);
    TARO_ASSERT_TEXT(vPairIspCS.empty(), "vPairIspCS.empty()");
    replaceRegion(region);
    return nullptr;
}

Point2* Dt2::getCrossing(const Triangle2* pT, int i, const ConstraintSegment2* pCSeg,
                         std::vector<Crossing>& vPairIspCS) const {
    Point2 *pE0 = pT->getCorner(incIndexBy1(i)), *pE1 = pT->getCorner(incIndexBy2(i));
    ConstraintSegment2* pCrossingCSeg = getAliveConstraintSegment(pE0, pE1);
    const auto [pOlder, pYounger] = orderByAge(pCrossingCSeg, pCSeg);
    Point2 crossing;
    getIntersectionPoint(*pOlder->getSrc(), *pOlder->getTrg(), *pYounger->getSrc(), *pYounger->getTrg(), crossing);
    if (crossing == *pE0) return pE0;
    if (crossing == *pE1) return pE1;
    vPairIspCS.emplace_back(crossing, pCrossingCSeg);
    TARO_ASSERT_TEXT(vPairIspCS.size() == 1, "vPairIspCS.size()==1");
    return nullptr;
}

void Dt2::getIntersectionPoint(const Point2& s0, const Point2& s1, const Point2& t0, const Point2& t1, Point2& result) {
    constexpr double SQ_SNAP_DISTANCE = 1e-12;
    double x = 0.0, y = 0.0;
    const bool bCross = getIntersectionCoordsNoRounding(s0, s1, t0, t1, x, y);
    TARO_ASSERT(bCross);
    const Point2 exact(x, y, 0.0);
    const Point2* pNearest = nullptr;
    double sqNearest = std::numeric_limits<double>::max();
    const auto consider = [&](const Point2& end, const Point2& otherSrc, const Point2& otherTrg) {
        if (!approxHasOn(otherSrc, otherTrg, end)) return;
        const double sqDistance = sqDistance2D(end, exact);
        if (sqDistance > sqNearest || (pNearest && sqDistance == sqNearest && !(end < *pNearest))) return;
        pNearest = &end;
        sqNearest = sqDistance;
    };
    consider(s0, t0, t1);
    consider(s1, t0, t1);
    consider(t0, s0, s1);
    consider(t1, s0, s1);
    if (pNearest && sqNearest < SQ_SNAP_DISTANCE) {
        result = Point2(pNearest->x(), pNearest->y(), pNearest->z());
        result.setCustomIndex(pNearest->getCustomIndex());
    } else {
        result = Point2(x, y, getHeightOn(s0, s1, x, y));
    }
}

Dt2::CrossedRegion::CrossedRegion(Triangle2* pT, int i)
    : vTriangles{pT}, vLeft{{pT, incIndexBy1(i), true}}, vRight{{pT, incIndexBy2(i), true}} {}

void Dt2::CrossedRegion::add(Triangle2* pT, int i, Orientation2 ori) {
    vTriangles.push_back(pT);
    if (ori == ORIENTATION2_CCW) vLeft.push_back({pT, incIndexBy1(i), true});
    if (ori == ORIENTATION2_CW) vRight.push_back({pT, incIndexBy2(i), true});
    if (ori != ORIENTATION2_COLLINEAR) return;
    vLeft.push_back({pT, incIndexBy2(i), true});
    vRight.push_back({pT, incIndexBy1(i), true});
}

void Dt2::replaceRegion(CrossedRegion& region) {
    auto& [vOldTriangles, vLeft, vRight] = region;
    std::vector<Triangle2*> vNewTriangles;
    vNewTriangles.reserve(vOldTriangles.size());
    std::reverse(vLeft.begin(), vLeft.end());  // counterclockwise, as the other side is
    Triangle2* pLeft = triangulatePolygon(vLeft, vNewTriangles);
    Triangle2* pRight = triangulatePolygon(vRight, vNewTriangles);
    pLeft->setOppositeTriangle(vLeft[0].i, pRight);
    pRight->setOppositeTriangle(vRight[0].i, pLeft);
    storeRecycledT(vOldTriangles);
    flipToMatchCDT(vNewTriangles);
}

Triangle2* Dt2::triangulatePolygon(std::vector<Border>& vBorder, std::vector<Triangle2*>& vNewTriangles) {
    const auto getSrc = [](const Border& border) {
        return border.pT->getCorner(border.bInside ? incIndexBy1(border.i) : incIndexBy2(border.i));
    };
    const auto getTrg = [](const Border& border) {
        return border.pT->getCorner(border.bInside ? incIndexBy2(border.i) : incIndexBy1(border.i));
    };
    const auto link = [](Triangle2* pNew, int k, const Border& border) {
        Triangle2* pOuter = border.bInside ? border.pT->getOppositeTriangle(border.i) : border.pT;
        pNew->setOppositeTriangle(k, pOuter);
        if (pOuter) pOuter->setOppositeTriangle(border.bInside ? indexOfNeighbour(pOuter, border.pT) : border.i, pNew);
    };
    size_t size = 0;  // of the stack at the front of vBorder
    for (size_t k = 0; k < vBorder.size(); ++k) {
        vBorder[size++] = vBorder[k];
        while (size >= 2) {
            const Border first = vBorder[size - 2], second = vBorder[size - 1];
            Point2 *p0 = getSrc(first), *p1 = getSrc(second), *p2 = getTrg(second);
            if (geomTest_.getOrientation2(p0, p1, p2) != ORIENTATION2_CCW) break;
            Triangle2* pNew = createTriangle(p0, p1, p2);
            link(pNew, 2, first);
            link(pNew, 0, second);
            vNewTriangles.push_back(pNew);
            vBorder[--size - 1] = {pNew, 1, false};
        }
    }
    TARO_ASSERT_TEXT(size == 1 && !vBorder[0].bInside, "borders.size()==1");
    return vBorder[0].pT;
}

void Dt2::flipToMatchCDT(const std::vector<Triangle2*>& vTriangles) {
    vFlipStack_.insert(vFlipStack_.end(), vTriangles.rbegin(), vTriangles.rend());
    flipUntilDelaunay();
}

void Dt2::killAndUnestablishConstraintSegment(ConstraintSegment2* pCSeg) {
    pCSeg->kill();
    Triangle2* pT = getAdjacentTriangle(pCSeg->getSrc(), pCSeg->getTrg());
    if (!pT) pT = getAdjacentTriangle(pCSeg->getTrg(), pCSeg->getSrc());
    if (!pT) return;
    vFlipStack_.push_back(pT);
    flipUntilDelaunay();
}

// ---------------------------------------------------------------------------------------------------------------------
// Conforming segments

/// A constraint edge across the segment is not flipped, so that midpoints alone would never end: both are split at their
/// crossing, unless the midpoint lies on that edge and splits it anyway.
bool Dt2::splitAtFirstConstraint(ConstraintSegment2* pCSeg, const Point2& middle, bool& bGoOn) {
    const auto [pSrc, pTrg] = getEndsByPlace(pCSeg);
    Triangle2* pT = nullptr;
    int i = 0;
    if (leaveTowardsVertex(pSrc, pTrg, pT, i)) return false;
    while (!isConstraint(pT, i)) {
        if (crossEdge(pSrc, pTrg, pT, i) == ORIENTATION2_COLLINEAR) return false;
    }
    const Point2 *pE0 = pT->getCorner(incIndexBy1(i)), *pE1 = pT->getCorner(incIndexBy2(i));
    if (geomTest_.getOrientation2(pE0, pE1, &middle) == ORIENTATION2_COLLINEAR) return false;
    std::vector<Crossing> vPairIspCS;
    if (Point2* pExistingVertex = getCrossing(pT, i, pCSeg, vPairIspCS)) {
        pInnerVtxMgr_->eraseVtx(pExistingVertex);
        return pCSeg->split_combinatorialOnly(pExistingVertex);
    }
    if (isQuotaUsedUp()) return false;
    std::vector<ConstraintSegment2*> vPieces;
    splitBothAt(vPairIspCS[0], pCSeg, vPieces);
    // The pieces of this segment wait for their turn; what was established before is so again at once.
    vPieces.clear();
    appendAlivePieces(vPairIspCS[0].second, vPieces);
    getConstraintManager()->establish(vPieces);
    bGoOn = pCSeg->isAlive() && !vPairIspCS[0].second->isAlive();  // an end was on the other one, which has given way
    return true;
}

}  // namespace LUMO_TARO25D
