// Conforming segments: every piece is a Delaunay edge.
//
// A piece that is no edge yet is split at a neighbour of its end that lies on it, at its crossing with a constraint, or
// in the middle. Being an edge does not keep it Delaunay, since a constraint is not flipped: later vertices, those of
// other pieces included, may lie in the circumcircles of its triangles. Every operation that changes triangles tests
// their edges in order to flip them, and notes the conforming pieces that are not Delaunay (TriangleMesh::isFixed).
// These and the children of splits are all suspects; no other piece needs a test. Encroached suspects are halved until
// there are none (Ruppert 1995, with the circumcircle of the triangle in place of the diametral circle).
//
// Where segments meet at a small angle, the halves of one would encroach on the other in turn without end. So after
// some halvings pieces at such an end are split at a power of two from it, in the unit of the client: then the pieces
// of all segments at that end have equal lengths and do not encroach on each other (concentric shells; Ruppert 1995).
// Rounding and nearly collinear segments could still prolong the process; a quota ends it, beyond which pieces are
// forced into the mesh as constrained ones.

#include "constraints/ConformingInserter.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <optional>
#include <tuple>

#include "constraints/ConstraintMgr.h"
#include "constraints/ConstraintPieces.h"
#include "constraints/Establisher.h"
#include "kernel/links.h"
#include "kernel/nearness.h"
#include "kernel/tolerances.h"
#include "kernel/tools.h"
#include "mesh/Dt2.h"
#include "mesh/InnerVtxMgr.h"
#include "mesh/segmentWalk.h"
#include "support/diagnostics.h"
#include "support/stopping.h"
#include "taro25d/freeFunctions.h"

namespace LUMO_TARO25D {

namespace {

constexpr unsigned NUM_PLAIN_HALVINGS = 8;

/// Whether q is strictly between a and b, for exactly collinear points, whose lexicographic order is that along the
/// line.
bool isBetween(const Point2& a, const Point2& b, const Point2& q) { return (a < q && q < b) || (b < q && q < a); }

/// The power of two nearest to half a length, as a fraction of the length: from 0.35 to 0.71.
double getShellFraction(double length) {
    int exponent = 0;
    const double mantissa = std::frexp(length, &exponent);
    return (mantissa * mantissa < 0.5 ? 0.25 : 0.5) / mantissa;
}

}  // namespace

ConformingInserter::ConformingInserter(Dt2& mesh, ConstraintMgr& manager, Establisher& establisher)
    : mesh_(mesh),
      manager_(manager),
      establisher_(establisher),
      segmentInserter_(establisher.getSegmentInserter()),
      geomTest_(mesh.getGeomTest()) {}

void ConformingInserter::insertSegmentConformingDelaunay(ConstraintSegment2* pCSeg) {
    for (; pCSeg; pCSeg = splitConforming(pCSeg)) throwIfStopped();
}

ConstraintSegment2* ConformingInserter::splitConforming(ConstraintSegment2* pCSeg) {
    const auto [pSrc, pTrg] = getEndsByPlace(pCSeg);
    std::vector<Point2*> vNeighbours;
    mesh_.getIncidentVertices(pSrc, vNeighbours);
    if (std::find(vNeighbours.begin(), vNeighbours.end(), pTrg) != vNeighbours.end()) {
        suspect(pCSeg);
        return nullptr;
    }
    if (Point2* q = getFirstOnSegment(pSrc, pTrg, vNeighbours)) {
        mesh_.getInnerVtxMgr().eraseVtx(q);
        segmentInserter_.runThrough(pCSeg, q);
        const bool bSplit = pCSeg->split_combinatorialOnly(q);
        // A long row of vertices must not use up the passes, so the rest of the segment follows at once.
        ConstraintSegment2* pRest = bSplit ? manager_.getAliveConstraintSegment(q, pTrg) : nullptr;
        return pRest && pRest->getCIS() != CIS_CONSTRAINED_DELAUNAY ? pRest : nullptr;
    }
    const Point2 place = getPlaceToSplit(pCSeg);
    bool bGoOn = false;
    if (splitAtFirstConstraint(pCSeg, place, bGoOn)) return bGoOn ? pCSeg : nullptr;
    if (isHalvingQuotaUsedUp()) {
        segmentInserter_.forceIntoMesh(pCSeg);
    } else {
        halveAt(pCSeg, place);
    }
    return nullptr;
}

/// Of the neighbours of the source that lie on the segment the nearest one, which does not depend on the order of the
/// list; null if there is none.
Point2* ConformingInserter::getFirstOnSegment(const Point2* pSrc, const Point2* pTrg,
                                              const std::vector<Point2*>& vNeighbours) {
    Point2* pFirst = nullptr;
    for (Point2* q : vNeighbours) {
        const bool bOnLine = geomTest_.getOrientation2(pSrc, pTrg, q) == ORIENTATION2_COLLINEAR;
        if (bOnLine ? !isBetween(*pSrc, *pTrg, *q) : mesh_.takesConstraintsExactly() || !isBeside(*pSrc, *pTrg, *q))
            continue;
        const auto getKey = [pSrc](const Point2& p) { return std::tuple(sqDistance2D(*pSrc, p), p.x(), p.y()); };
        if (!pFirst || getKey(*q) < getKey(*pFirst)) pFirst = q;
    }
    return pFirst;
}

/// A constraint edge across the segment is never flipped, so halving alone would not end. Both are split at their
/// crossing, unless the midpoint lies on that edge and splits it in any case.
bool ConformingInserter::splitAtFirstConstraint(ConstraintSegment2* pCSeg, const Point2& middle, bool& bGoOn) {
    const auto [pSrc, pTrg] = getEndsByPlace(pCSeg);
    Triangle2* pT = nullptr;
    int i = 0;
    if (leaveTowardsVertex(geomTest_, pSrc, pTrg, pT, i)) return false;
    CancelPoint<> cancelPoint;
    while (!mesh_.isConstraint(pT, i)) {
        cancelPoint.pass();
        if (crossEdge(geomTest_, pSrc, pTrg, pT, i) == ORIENTATION2_COLLINEAR) return false;
    }
    const Point2 *pE0 = pT->getCorner(incIndexBy1(i)), *pE1 = pT->getCorner(incIndexBy2(i));
    if (geomTest_.getOrientation2(pE0, pE1, &middle) == ORIENTATION2_COLLINEAR) return false;
    std::optional<SegmentInserter::Crossing> crossing;
    if (Point2* pExistingVertex = segmentInserter_.getCrossing(pT, i, pCSeg, crossing)) {
        mesh_.getInnerVtxMgr().eraseVtx(pExistingVertex);
        segmentInserter_.runThrough(pCSeg, pExistingVertex);
        return pCSeg->split_combinatorialOnly(pExistingVertex);
    }
    if (segmentInserter_.isQuotaUsedUp()) return false;
    std::vector<ConstraintSegment2*> vPieces;
    segmentInserter_.splitBothAt(*crossing, pCSeg, vPieces);
    // The pieces of this segment wait for their turn; those of the other segment, which was an edge before, become
    // edges at once.
    vPieces.clear();
    appendAlivePieces(crossing->pCrossed, vPieces);
    establisher_.establish(vPieces);
    // If an end lies on the other segment, only that one was split.
    bGoOn = pCSeg->isAlive() && !crossing->pCrossed->isAlive();
    return true;
}

// ---------------------------------------------------------------------------------------------------------------------
// Halving

bool ConformingInserter::halveAt(ConstraintSegment2* pCSeg, const Point2& place) {
    const auto [pSrc, pTrg] = getEndsByPlace(pCSeg);
    // Doubles are also too coarse if the place rounds to an end.
    Point2* pSplit = nullptr;
    if (!isTooShortToSplit(*pSrc, *pTrg) && place != *pSrc && place != *pTrg) {
        pCSeg->kill();  // or the edge would stay if the place is beside it
        mesh_.startSearchAt(pSrc);
        pSplit = manager_.bringVertex(place).first;
        const bool bSplit = pSplit && pSplit != pSrc && pSplit != pTrg && manager_.canBeSplitAt(pCSeg, pSplit);
        if (bSplit) segmentInserter_.killAndUnestablishConstraintSegment(pCSeg);
        pCSeg->unkill();
        if (!bSplit) pSplit = nullptr;
    }
    if (!pSplit) {
        warning("Dt2::insertSegmentConformingDelaunay()",
                "Double precision arithmetic does not allow to split a segment further, giving up. Incorrect result!");
        return false;
    }
    --halvingQuota_;
    mesh_.getInnerVtxMgr().eraseVtx(pSplit);
    pCSeg->split_combinatorialOnly(pSplit);
    pieces_.noteHalving(pCSeg);
    return true;
}

bool ConformingInserter::isTooShortToSplit(const Point2& src, const Point2& trg) const {
    const int exponent = static_cast<int>(std::ceil(std::log2(getMagnitude(mesh_.getVertexVault().getInsertionBox()))));
    const double minPiece = std::ldexp(MIN_PIECE, exponent);
    return std::abs(src.x() - trg.x()) < minPiece && std::abs(src.y() - trg.y()) < minPiece;
}

Point2 ConformingInserter::getPlaceToSplit(const ConstraintSegment2* pCSeg) const {
    auto [pSrc, pTrg] = getEndsByPlace(pCSeg);
    Point2 place = centerWithShift(*pSrc, *pTrg);
    if (pieces_.getNumHalvings(pCSeg) >= NUM_PLAIN_HALVINGS) {
        const bool bFromSrc = isAtSmallAngle(pCSeg, pSrc);
        if (!bFromSrc) std::swap(pSrc, pTrg);
        if (bFromSrc || isAtSmallAngle(pCSeg, pSrc))
            place = *pSrc + getVector25D(*pSrc, *pTrg) * getShellFraction(distance2D(*pSrc, *pTrg));
    }
    return Point2(place.x(), place.y(), getHeightForSplit(pCSeg, place));
}

double ConformingInserter::getHeightForSplit(const ConstraintSegment2* pCSeg, const Point2& place) const {
    Triangle2* pT = mesh_.locate(place);
    const ConstraintSegment2* pMet = getConstraintThrough(place, pT);
    if (pMet && pMet != pCSeg) {
        const ConstraintSegment2* pOlder = orderByAge(pMet, pCSeg).first;
        return getHeightOn(*pOlder->getSrc(), *pOlder->getTrg(), place.x(), place.y());
    }
    double z = place.z();
    if (pT && pCSeg->getCIS() == CIS_CONFORMING_SURFACE_Z) mesh_.getHeight(place.x(), place.y(), z, pT, 0.0);
    return z;
}

ConstraintSegment2* ConformingInserter::getConstraintThrough(const Point2& place, const Triangle2* pT) const {
    for (int i = 0; pT && i < 3; ++i) {
        Point2 *p0 = pT->getCorner(incIndexBy1(i)), *p1 = pT->getCorner(incIndexBy2(i));
        if (mesh_.isConstraint(pT, i) && geomTest_.getOrientation2(p0, p1, &place) == ORIENTATION2_COLLINEAR)
            return manager_.getAliveConstraintSegment(p0, p1);
    }
    return nullptr;
}

/// Whether another conforming segment meets this one at an end at less than a right angle.
bool ConformingInserter::isAtSmallAngle(const ConstraintSegment2* pCSeg, const Point2* pEnd) const {
    const Point2* pOther = pEnd == pCSeg->getSrc() ? pCSeg->getTrg() : pCSeg->getSrc();
    const Vector2 direction = getVector2D(*pEnd, *pOther);
    const auto isNear = [&](const Point2* pVtx) {
        const Vector2 other = getVector2D(*pEnd, *pVtx);
        if (pVtx == pOther || !(direction.x() * other.x() + direction.y() * other.y() > 0.0)) return false;
        return manager_.isConstraint_performanceVersion(pEnd, pVtx) &&
               ConformingPieces::isConforming(manager_.getAliveConstraintSegment(pEnd, pVtx));
    };
    return findIncidentTriangle(pEnd, [&](const Triangle2* pT) {
               const int i = indexOfVertex(pT, pEnd);
               return isNear(pT->getCorner(incIndexBy1(i))) || isNear(pT->getCorner(incIndexBy2(i)));
           }) != nullptr;
}

// ---------------------------------------------------------------------------------------------------------------------
// Encroached pieces

bool ConformingInserter::isEncroached(const Dt2& mesh, const ConstraintSegment2* pCSeg) {
    const Triangle2* pT = mesh.getAdjacentTriangle(pCSeg->getSrc(), pCSeg->getTrg());
    if (!pT) return false;
    const int i = 3 - indexOfVertex(pT, pCSeg->getSrc()) - indexOfVertex(pT, pCSeg->getTrg());
    const Triangle2* pN = pT->getOppositeTriangle(i);
    GeomTest geomTest(mesh.getMagnitude());
    return pN && geomTest.circleInc3state(pT, pN->getCorner(indexOfNeighbour(pN, pT))) == CINC2_INCIRCLE;
}

void ConformingInserter::suspect(ConstraintSegment2* pCSeg) {
    if (pCSeg->isAlive() && ConformingPieces::isConforming(pCSeg)) pieces_.suspect(pCSeg);
}

/// Works in rounds: a new vertex may encroach on any piece near it, which flips then note for the next round. Pieces of
/// a cancelled round become suspects again when the next call establishes all segments.
void ConformingInserter::splitEncroachedPieces(bool bNewPoints) {
    bool bEnough = true, bFirstRound = true;
    for (auto vEncroached = takeEncroachedPieces(); !vEncroached.empty(); vEncroached = takeEncroachedPieces()) {
        // Many points may have been inserted since the last call. The vertices of this call, which later rounds and its
        // own pieces meet, do not count as input, or each piece would raise the limit for the next.
        for (ConstraintSegment2* pCSeg : vEncroached) {
            throwIfStopped();
            const bool bMeetsInput = bFirstRound && (bNewPoints || pCSeg->getAge().call < manager_.getNumberOfCalls());
            if (bMeetsInput && pCSeg->isAlive()) raiseHalvingQuotaForEdge(pCSeg);
        }
        bFirstRound = false;
        std::vector<ConstraintSegment2*> vHalves;
        for (ConstraintSegment2* pCSeg : vEncroached) {
            throwIfStopped();
            if (!pCSeg->isAlive() || !isEncroached(mesh_, pCSeg)) continue;
            bEnough = bEnough && !isHalvingQuotaUsedUp();
            if (bEnough && halveAt(pCSeg, getPlaceToSplit(pCSeg))) pCSeg->getChildrenRec(vHalves);
        }
        establisher_.establish(vHalves);
    }
    if (!bEnough) warnOfInaccuracy();
}

std::vector<ConstraintSegment2*> ConformingInserter::takeEncroachedPieces() {
    std::vector<ConstraintSegment2*> vPieces;
    if (!mesh_.is2D()) return vPieces;
    pieces_.takeSuspects(vPieces);
    CancelPoint<> cancelPoint;
    const auto isHarmless = [&](const ConstraintSegment2* p) {
        cancelPoint.pass();
        return !p->isAlive() || !isEncroached(mesh_, p);
    };
    vPieces.erase(std::remove_if(vPieces.begin(), vPieces.end(), isHarmless), vPieces.end());
    sortByPlace(vPieces);
    return vPieces;
}

// ---------------------------------------------------------------------------------------------------------------------
// The limit of halvings

void ConformingInserter::setHalvingQuota(size_t numSegments, const std::vector<ConstraintSegment2*>& vPieces) {
    halvingQuota_ = ConformingPieces::MIN_HALVING_QUOTA + ConformingPieces::NUM_HALVINGS_EACH * numSegments;
    CancelPoint<16> cancelPoint;
    for (const ConstraintSegment2* pCSeg : vPieces) {
        cancelPoint.pass();
        raiseHalvingQuota(pCSeg);
    }
}

void ConformingInserter::raiseHalvingQuota(const ConstraintSegment2* pCSeg) {
    // Among evenly spread vertices a segment takes 0.7 pieces for each triangle that it crosses.
    constexpr size_t NUM_PIECES_FOR_TRIANGLE = 2;
    if (!pCSeg->isAlive() || !ConformingPieces::isConforming(pCSeg)) return;
    std::vector<Triangle2*> vCrossed;
    getCrossedTriangles(geomTest_, pCSeg->getSrc(), pCSeg->getTrg(), vCrossed);
    const size_t numPieces = NUM_PIECES_FOR_TRIANGLE * vCrossed.size();
    halvingQuota_ += numPieces - std::min(numPieces, ConformingPieces::NUM_HALVINGS_EACH);
}

void ConformingInserter::raiseHalvingQuotaForEdge(ConstraintSegment2* pCSeg) {
    segmentInserter_.killAndUnestablishConstraintSegment(pCSeg);
    pCSeg->unkill();
    raiseHalvingQuota(pCSeg);
    segmentInserter_.forceIntoMesh(pCSeg);
}

}  // namespace LUMO_TARO25D
