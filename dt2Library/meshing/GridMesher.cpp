// A regular grid for the inside of a zone.
//
// Two families of parallel lines, the stripes, are laid over the zone, and their crossings inside it become vertices.
// The border does not follow the grid: constraint segments are split where stripes cross them, so that the triangles
// beside them are not much larger than those of the grid, and grid vertices that are too near to other vertices, or to
// a segment, are removed again. Refinement mends the remaining bad triangles.
//
// Stripes are numbered, so the stripes that an edge crosses follow from the positions of its ends between them, without
// a search. A stripe is inside the zone from each odd crossing of the border to the next even one, and only there its
// crossings with the other family are computed. The cost is that of the vertices, of the crossings with the border, and
// O(log n) to locate each vertex, however much larger the extent of the zone is than the zone.

#include "meshing/GridMesher.h"

#include <algorithm>
#include <cmath>
#include <tuple>

#include "kernel/links.h"
#include "kernel/tools.h"
#include "kernel/triangleLists.h"
#include "mesh/Dt2.h"
#include "meshing/MeshEstimate.h"
#include "support/diagnostics.h"
#include "support/stopping.h"
#include "taro25d/ConstraintGraph2.h"
#include "taro25d/ConstraintSegment2.h"
#include "taro25d/MeshGenParams.h"
#include "taro25d/Zone2.h"
#include "taro25d/freeFunctions.h"

namespace LUMO_TARO25D {

namespace {

constexpr double MAX_STRIPES = 1e7;

/// The ends of all pieces of the graphs of a zone, each once, by coordinates.
std::vector<Point2*> getConstraintPoints(const Zone2* pZone) {
    std::vector<ConstraintGraph2*> vGraphs;
    pZone->getConstraintGraphs(vGraphs);
    std::vector<Point2*> vConstraintPoints;
    for (const ConstraintGraph2* pGraph : vGraphs) {
        std::vector<ConstraintSegment2*> vCSegs;
        pGraph->getChildConstraintSegments(vCSegs);
        for (const ConstraintSegment2* pCSeg : vCSegs) {
            vConstraintPoints.push_back(pCSeg->getSrc());
            vConstraintPoints.push_back(pCSeg->getTrg());
        }
    }
    sortByPlace(vConstraintPoints);
    return vConstraintPoints;
}

/// The direction from each stripe to the next.
Vector2 getAcross(const Vector2& direction) { return Vector2(-direction.y(), direction.x(), 0.0); }

/// The two points that are farthest apart along a direction.
std::pair<Point2, Point2> getExtremes(const std::vector<Point2*>& vPoints, const Vector2& direction) {
    const Point2& origin = *vPoints.front();
    const auto comesBefore = [&](const Point2* p, const Point2* q) {
        return getVector2D(origin, *p) * direction < getVector2D(origin, *q) * direction;
    };
    const auto [first, last] = std::minmax_element(vPoints.begin(), vPoints.end(), comesBefore);
    return {**first, **last};
}

/// The ends of a segment, the smaller one (by x, then y) first.
std::pair<Point2*, Point2*> getOrderedEnds(const ConstraintSegment2* pCSeg) {
    Point2 *pFrom = pCSeg->getSrc(), *pTo = pCSeg->getTrg();
    return *pTo < *pFrom ? std::pair(pTo, pFrom) : std::pair(pFrom, pTo);
}

/// Whether the edge opposite a corner is a constraint nearer than a distance.
bool isNearConstraint(const Dt2* pDt2, const Triangle2* pT, const Point2* pVtx, double distance) {
    const int i = indexOfVertex(pT, pVtx);
    const Point2 *pSrc = pT->getCorner(incIndexBy1(i)), *pTrg = pT->getCorner(incIndexBy2(i));
    return pDt2->isConstraint(pT, i) && getPointLineDistance2D(*pVtx, *pSrc, *pTrg) < distance;
}

}  // namespace

bool hasGrid(const MeshGenParams& params) {
    return params.gridLength > 0.0 && (params.gridVector.x() != 0.0 || params.gridVector.y() != 0.0);
}

GridMesher::GridMesher(MeshGenParams* pParams)
    : pParams_(pParams),
      pZone_(pParams->pZone),
      pDt2_(pParams->pZone->getDelaunayTriangulation()),
      gridLength_(pParams->gridLength),
      heights_(*pParams) {}

bool GridMesher::insertGridPoints(bool bChop) {
    if (!createGrid(aFamilies_[0].vStripes, aFamilies_[1].vStripes)) return false;
    std::vector<Point2> vGridPoints;
    getGridPoints(vGridPoints);
    size_t numVertices = vGridPoints.size();
    for (ConstraintSegment2* pCSeg : getZoneSegments()) {
        cancelPoint_.pass();
        if (bChop && maySplit(pCSeg)) numVertices += getChops(pCSeg).size();
    }
    if (!mayInsert(static_cast<double>(numVertices), *pParams_)) return false;

    pParams_->gridVector = normalize(pParams_->gridVector);
    const double minLength = 0.5 * gridLength_;
    // Even a single grid point makes sense, since its two stripes cross the border four times.
    std::vector<Point2*> vInserted = insertNew(vGridPoints);
    avoidShortEdges(vInserted, minLength);
    if (!bChop) return true;
    {
        const PhaseScope phase("grid: ");
        pDt2_->applyConstraintsAndZones();
    }
    const PhaseScope phase("grid on constraints: ");
    chopConstraints();
    pDt2_->applyConstraintsAndZones();
    avoidShortEdges(vInserted, minLength);  // to the vertices made by chopping
    return true;
}

// ---------------------------------------------------------------------------------------------------------------------
// The grid

bool GridMesher::createGrid(std::vector<Segment2>& vStripes0, std::vector<Segment2>& vStripes1) {
    const Vector2 direction = normalize(Vector2(pParams_->gridVector.x(), pParams_->gridVector.y(), 0.0));
    const Vector2 orthogonal = normalize(direction.orthogonalVector());
    aFamilies_[0].across = getAcross(direction);
    aFamilies_[1].across = getAcross(orthogonal);
    return createStripes(direction, vStripes0) && createStripes(orthogonal, vStripes1);
}

bool GridMesher::createStripes(const Vector2& direction, std::vector<Segment2>& vStripes) {
    const std::vector<Point2*> vConstraintPoints = getConstraintPoints(pZone_);
    TARO_ASSERT_TEXT(!vConstraintPoints.empty(), "!vConstraintPoints.empty()");
    const Vector2 across = getAcross(direction);
    const double usedTargetLength = gridLength_;
    const auto [first, last] = getExtremes(vConstraintPoints, across);
    double distance = getVector2D(first, last) * across;
    if (distance < usedTargetLength) return true;
    if (!(distance / usedTargetLength < MAX_STRIPES)) {
        error("GridMesher::createStripes()", "gridLength is too small for the zone, no grid");
        return false;
    }
    size_t numSubtractions = 0;
    while (distance > 2.0 * usedTargetLength) {
        distance -= usedTargetLength;
        ++numSubtractions;
    }
    const double stopStripeSpace = 0.5 * distance;
    TARO_ASSERT_TEXT(stopStripeSpace < 1.01 * usedTargetLength, "stopStripeSpace<1.01*usedTargetLength");
    TARO_ASSERT_TEXT(stopStripeSpace > 0.49 * usedTargetLength, "stopStripeSpace>0.49*usedTargetLength");

    const auto [begin, end] = getExtremes(vConstraintPoints, direction);
    const double before = getVector2D(first, begin) * direction - gridLength_;
    const double behind = getVector2D(first, end) * direction + gridLength_;
    for (size_t k = 0; k <= numSubtractions; ++k) {
        const Point2 foot = first + across * (stopStripeSpace + static_cast<double>(k) * usedTargetLength);
        vStripes.emplace_back(foot + direction * before, foot + direction * behind);
    }
    return true;
}

AddressSet GridMesher::getZoneTriangles() const {
    std::vector<Triangle2*> vTriangles;
    pZone_->getTriangles(vTriangles);
    return toSet(vTriangles);
}

/// Whether a point is inside the zone and on no constraint.
bool GridMesher::isSeed(const Point2& point, const AddressSet& sZone, Triangle2*& pT) const {
    pT = pDt2_->locate(point);
    if (!pT || !sZone.contains(pT)) return false;
    for (int i = 0; i < 3; ++i) {
        if (pDt2_->isConstraint(pT, i) && pT->hasOnEdge(i, point)) return false;
    }
    return true;
}

/// The position of a point across a family of stripes: 2 on the third stripe, 2.5 halfway to the fourth.
double GridMesher::getRank(const Family& family, const Point2& point) const {
    return getVector2D(family.vStripes.front().getSrc(), point) * family.across / gridLength_;
}

/// The stripes between the ends of an edge. An end has the same rank for all edges that meet there, so that a ring
/// crosses each stripe an even number of times, however ranks are rounded.
GridMesher::Range GridMesher::getCrossedStripes(const Family& family, const Point2& p, const Point2& q) const {
    if (family.vStripes.empty()) return {0, 0};
    const auto countBefore = [&](const Point2& point) {
        const double rank = getRank(family, point), num = static_cast<double>(family.vStripes.size());
        return static_cast<size_t>(rank > 0.0 ? std::min(std::ceil(rank), num) : 0.0);
    };
    return std::minmax({countBefore(p), countBefore(q)});
}

void GridMesher::getGridPoints(std::vector<Point2>& vGridPoints) {
    if (aFamilies_[0].vStripes.empty() || aFamilies_[1].vStripes.empty()) return;
    AddressSet sZone = getZoneTriangles();
    std::vector<std::pair<size_t, double>> vCrossings;
    getBorderCrossings(sZone, vCrossings);
    for (size_t k = 0; k + 1 < vCrossings.size(); k += 2) {
        getRow(vCrossings[k].first, vCrossings[k].second, vCrossings[k + 1].second, sZone, vGridPoints);
    }
}

/// The crossings of the first family with the border of the zone, sorted: the stripe, and the rank in the other family.
void GridMesher::getBorderCrossings(AddressSet& sZone, std::vector<std::pair<size_t, double>>& vCrossings) const {
    std::vector<Triangle2*> vTriangles;
    pZone_->getTriangles(vTriangles);
    CancelPoint<> cancelPoint;
    for (const Triangle2* pT : vTriangles) {
        cancelPoint.pass();
        for (int i = 0; i < 3; ++i) {
            const Triangle2* pN = pT->getOppositeTriangle(i);
            if (pN && sZone.contains(pN)) continue;
            const Point2 &p = *pT->getCorner(incIndexBy1(i)), &q = *pT->getCorner(incIndexBy2(i));
            const auto [begin, end] = getCrossedStripes(aFamilies_[0], p, q);
            const double across0 = getRank(aFamilies_[0], p), across1 = getRank(aFamilies_[0], q);
            const double along0 = getRank(aFamilies_[1], p), along1 = getRank(aFamilies_[1], q);
            for (size_t k = begin; k < end; ++k) {
                const double t = (static_cast<double>(k) - across0) / (across1 - across0);
                vCrossings.emplace_back(k, along0 + t * (along1 - along0));
            }
        }
    }
    std::sort(vCrossings.begin(), vCrossings.end(), withCancelPoints(std::less<>()));
}

/// Appends the grid points on a stripe of the first family between two ranks in the other family. Rounding of the ranks
/// is harmless: a point that near to the border would be removed anyway.
void GridMesher::getRow(size_t k, double begin, double end, AddressSet& sZone, std::vector<Point2>& vGridPoints) {
    const Segment2& stripe = aFamilies_[0].vStripes[k];
    const std::vector<Segment2>& vOthers = aFamilies_[1].vStripes;
    for (double rank = std::max(0.0, std::ceil(begin)); rank <= end && rank < static_cast<double>(vOthers.size());
         ++rank) {
        cancelPoint_.pass();
        const Segment2& other = vOthers[static_cast<size_t>(rank)];
        Point2 point;
        Triangle2* pT = nullptr;
        const bool bCross =
            getIntersectionPoint(stripe.getSrc(), stripe.getTrg(), other.getSrc(), other.getTrg(), point);
        if (!bCross || !isSeed(point, sZone, pT)) continue;
        vGridPoints.emplace_back(point.x(), point.y(), heights_.get(point.x(), point.y(), pT));
    }
}

// ---------------------------------------------------------------------------------------------------------------------
// Vertices

std::vector<Point2*> GridMesher::insertNew(const std::vector<Point2>& vGridPoints) {
    std::vector<Point2> vNew;
    for (const Point2& point : vGridPoints) {
        cancelPoint_.pass();
        if (!pDt2_->getVertexPointer(point)) vNew.push_back(point);
    }
    std::vector<Point2*> vInserted;
    pDt2_->insertVector(vNew, vInserted);
    // Two crossings that round to one point have the same vertex.
    AddressSet sSeen;
    const auto comesAgain = [&sSeen](const Point2* pVtx) { return !sSeen.insert(pVtx); };
    vInserted.erase(std::remove_if(vInserted.begin(), vInserted.end(), comesAgain), vInserted.end());
    return vInserted;
}

void GridMesher::avoidShortEdges(std::vector<Point2*>& vInserted, double minLength) {
    const auto removeIfTooNear = [&](Point2* pVtx) {
        cancelPoint_.pass();
        if (pDt2_->isConstraintVertex(pVtx)) return true;  // in use by a constraint now
        std::vector<Triangle2*> vAround;
        pDt2_->getIncidentTriangles(pVtx, vAround);
        const bool bTooNear = std::any_of(vAround.begin(), vAround.end(), [&](const Triangle2* pT) {
            const Point2* pNext = pT->getCorner(incIndexBy1(indexOfVertex(pT, pVtx)));
            return distance25D(*pVtx, *pNext) < minLength || isNearConstraint(pDt2_, pT, pVtx, 0.5 * minLength);
        });
        if (bTooNear) pDt2_->remove(pVtx);
        return bTooNear;
    };
    vInserted.erase(std::remove_if(vInserted.begin(), vInserted.end(), removeIfTooNear), vInserted.end());
}

// ---------------------------------------------------------------------------------------------------------------------
// Constraint segments

bool GridMesher::maySplit(ConstraintSegment2* pCSeg) const {
    const auto* pLocked = pParams_->pLockedConstraints;
    return pParams_->bAllowConstraintSplitting && !(pLocked && pLocked->count(pCSeg) > 0);
}

void GridMesher::dropNonZoneSegments(AddressSet& sZone, std::vector<ConstraintSegment2*>& vCSegs) const {
    CancelPoint<> cancelPoint;
    const auto isOutside = [&](const ConstraintSegment2* pCSeg) {
        cancelPoint.pass();
        const Triangle2* pLeft = pDt2_->getAdjacentTriangle(pCSeg->getSrc(), pCSeg->getTrg());
        const Triangle2* pRight = pDt2_->getAdjacentTriangle(pCSeg->getTrg(), pCSeg->getSrc());
        return !(pLeft && sZone.contains(pLeft)) && !(pRight && sZone.contains(pRight));
    };
    vCSegs.erase(std::remove_if(vCSegs.begin(), vCSegs.end(), isOutside), vCSegs.end());
}

/// The alive constraint segments of the zone, in an order that does not depend on addresses.
std::vector<ConstraintSegment2*> GridMesher::getZoneSegments() const {
    std::vector<ConstraintSegment2*> vCSegs;
    pDt2_->getAliveConstraintSegments(vCSegs);
    AddressSet sZone = getZoneTriangles();
    dropNonZoneSegments(sZone, vCSegs);
    std::sort(vCSegs.begin(), vCSegs.end(),
              withCancelPoints([](const ConstraintSegment2* a, const ConstraintSegment2* b) {
                  const auto [pSrcA, pTrgA] = getOrderedEnds(a);
                  const auto [pSrcB, pTrgB] = getOrderedEnds(b);
                  return *pSrcA == *pSrcB ? *pTrgA < *pTrgB : *pSrcA < *pSrcB;
              }));
    return vCSegs;
}

/// The points at which stripes cross a segment, with the heights of the segment, from its smaller end to the other;
/// leaves out points that would make short pieces.
std::vector<Point2> GridMesher::getChops(const ConstraintSegment2* pCSeg) const {
    const auto [pFrom, pTo] = getOrderedEnds(pCSeg);
    std::vector<Point2> vCrossings;
    for (const Family& family : aFamilies_) {
        const auto [begin, end] = getCrossedStripes(family, *pFrom, *pTo);
        for (size_t k = begin; k < end; ++k) {
            const Segment2& stripe = family.vStripes[k];
            Point2 point;
            if (!getIntersectionPointNoRounding(*pFrom, *pTo, stripe.getSrc(), stripe.getTrg(), point)) continue;
            // Ranks are rounded: if a segment nearly follows a stripe, the computed crossing may be outside the
            // segment.
            if (*pFrom < point && point < *pTo) vCrossings.push_back(point);
        }
    }
    std::sort(vCrossings.begin(), vCrossings.end());
    const double minLength = std::max(0.5 * gridLength_, pParams_->minEdgeLength);
    Point2 last = *pFrom;
    std::vector<Point2> vChops;
    for (const Point2& place : vCrossings) {
        if (distance25D(last, place) < minLength || distance25D(place, *pTo) < minLength) continue;
        vChops.push_back(place);
        last = place;
    }
    return vChops;
}

void GridMesher::chopConstraints() {
    for (ConstraintSegment2* pCSeg : getZoneSegments()) {
        if (!pCSeg->isAlive() || !maySplit(pCSeg)) continue;
        const std::vector<Point2> vChops = getChops(pCSeg);
        const auto [pFrom, pTo] = getOrderedEnds(pCSeg);
        chopSegment(pFrom, pTo, vChops.data(), vChops.data() + vChops.size());
    }
}

/// Splits the segment between two vertices, at the middle point first: splitting from one end to the other would leave
/// one long edge beside all remaining vertices, and each split would change the fan of all of them.
void GridMesher::chopSegment(Point2* pFrom, Point2* pTo, const Point2* begin, const Point2* end) {
    if (begin == end) return;
    cancelPoint_.pass();
    const Point2* middle = begin + (end - begin) / 2;
    ConstraintSegment2* pCSeg = pDt2_->getAliveConstraintSegment(pFrom, pTo);
    Point2* pSplit = pCSeg ? pCSeg->insertAndSplit(*middle) : nullptr;
    if (!pSplit) return;  // rounding has split the segment elsewhere, or leaves no place
    chopSegment(pFrom, pSplit, begin, middle);
    chopSegment(pSplit, pTo, middle + 1, end);
}

}  // namespace LUMO_TARO25D
