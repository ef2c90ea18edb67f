// A regular grid for the inside of a zone.
//
// Two families of parallel lines, the stripes, are laid over the zone, and their crossings inside it become vertices. The
// border does not follow the grid: constraint segments are split where stripes cross them, so that the triangles beside
// them are not much larger than those of the grid, and grid vertices that would come too near to other vertices, or to a
// segment, are taken out again. What is bad then is left to refinement.
//
// Crossings come from the lines, not from intersections of pairs of segments: with k stripes in each family there are k^2,
// each in constant time plus the time to locate it.

#include "meshing/GridMesher.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>
#include <tuple>

#include "kernel/links.h"
#include "kernel/tools.h"
#include "kernel/triangleLists.h"
#include "mesh/Dt2.h"
#include "support/diagnostics.h"
#include "taro25d/ConstraintGraph2.h"
#include "taro25d/ConstraintSegment2.h"
#include "taro25d/MeshGenParams.h"
#include "taro25d/SegmentChecker.h"
#include "taro25d/Zone2.h"
#include "taro25d/freeFunctions.h"

namespace LUMO_TARO25D {

namespace {

constexpr double INVALID = std::numeric_limits<double>::max();
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

/// The two points that are farthest apart along a direction.
std::pair<Point2, Point2> getExtremes(const std::vector<Point2*>& vPoints, const Vector2& direction) {
    const Point2& origin = *vPoints.front();
    const auto comesBefore = [&](const Point2* p, const Point2* q) {
        return getVector2D(origin, *p) * direction < getVector2D(origin, *q) * direction;
    };
    const auto [first, last] = std::minmax_element(vPoints.begin(), vPoints.end(), comesBefore);
    return {**first, **last};
}

/// Whether the edge opposite a corner is a constraint nearer than a distance.
bool isNearConstraint(const Dt2* pDt2, const Triangle2* pT, const Point2* pVtx, double distance) {
    const int i = indexOfVertex(pT, pVtx);
    const Point2 *pSrc = pT->getCorner(incIndexBy1(i)), *pTrg = pT->getCorner(incIndexBy2(i));
    return pDt2->isConstraint(pT, i) && getPointLineDistance2D(*pVtx, *pSrc, *pTrg) < distance;
}

}  // namespace

GridMesher::GridMesher(MeshGenParams* pParams)
    : pParams_(pParams),
      pZone_(pParams->pZone),
      pDt2_(pParams->pZone->getDelaunayTriangulation()),
      gridLength_(pParams->gridLength),
      first_(INVALID, INVALID, INVALID),
      last_(INVALID, INVALID, INVALID) {}

void GridMesher::insertGridPoints(bool bChop) {
    pParams_->gridVector = normalize(pParams_->gridVector);
    const double minLength = 0.5 * gridLength_;
    std::vector<Point2> vGridPoints;
    std::vector<Segment2> vStripes;
    getGridPoints(vGridPoints, vStripes);
    std::vector<Point2*> vInserted;
    if (vGridPoints.size() > 3) vInserted = insertNew(vGridPoints);
    avoidShortEdges(vInserted, minLength);
    if (!bChop) return;
    pDt2_->applyConstraintsAndZones();
    chopConstraints(vStripes);
    pDt2_->applyConstraintsAndZones();
    avoidShortEdges(vInserted, minLength);  // to the vertices that chopping has made
}

// ---------------------------------------------------------------------------------------------------------------------
// The grid

void GridMesher::createGrid(std::vector<Segment2>& vStripes0, std::vector<Segment2>& vStripes1) {
    const Vector2 direction(pParams_->gridVector.x(), pParams_->gridVector.y(), 0.0);
    createStripes(normalize(direction), vStripes0);
    createStripes(normalize(direction.orthogonalVector()), vStripes1);
}

void GridMesher::createStripes(const Vector2& direction, std::vector<Segment2>& vStripes) {
    const std::vector<Point2*> vConstraintPoints = getConstraintPoints(pZone_);
    TARO_ASSERT_TEXT(!vConstraintPoints.empty(), "!vConstraintPoints.empty()");
    const Vector2 across(-direction.y(), direction.x(), 0.0);
    const double usedTargetLength = gridLength_;
    std::tie(first_, last_) = getExtremes(vConstraintPoints, across);
    double distance = getVector2D(first_, last_) * across;
    if (distance < usedTargetLength) return;
    if (!(distance / usedTargetLength < MAX_STRIPES)) {
        error("GridMesher::createStripes()", "gridLength is too small for the zone, no grid");
        return;
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
    const double before = getVector2D(first_, begin) * direction - gridLength_;
    const double behind = getVector2D(first_, end) * direction + gridLength_;
    for (size_t k = 0; k <= numSubtractions; ++k) {
        const Point2 foot = first_ + across * (stopStripeSpace + static_cast<double>(k) * usedTargetLength);
        vStripes.emplace_back(foot + direction * before, foot + direction * behind);
    }
}

AddressSet GridMesher::getZoneTriangles() const {
    std::vector<Triangle2*> vTriangles;
    pZone_->getTriangles(vTriangles);
    return toSet(vTriangles);
}

/// Whether a point is inside the zone and on no constraint.
bool GridMesher::isSeed(const Point2& point, AddressSet& sZone, Triangle2*& pT) const {
    pT = pDt2_->locate(point);
    if (!pT || !sZone.contains(pT)) return false;
    for (int i = 0; i < 3; ++i) {
        if (pDt2_->isConstraint(pT, i) && pT->hasOnEdge(i, point)) return false;
    }
    return true;
}

void GridMesher::getGridPoints(std::vector<Point2>& vGridPoints, std::vector<Segment2>& vSegments) {
    std::vector<Segment2> vStripes0, vStripes1;
    createGrid(vStripes0, vStripes1);
    AddressSet sZone = getZoneTriangles();
    for (const Segment2& stripe0 : vStripes0) {
        for (const Segment2& stripe1 : vStripes1) {
            Point2 point;
            Triangle2* pT = nullptr;
            const bool bCross =
                getIntersectionPoint(stripe0.getSrc(), stripe0.getTrg(), stripe1.getSrc(), stripe1.getTrg(), point);
            if (!bCross || !isSeed(point, sZone, pT)) continue;
            vGridPoints.emplace_back(point.x(), point.y(), pDt2_->getMeshHeight(point.x(), point.y(), pT, pParams_));
        }
    }
    vSegments = vStripes0;
    vSegments.insert(vSegments.end(), vStripes1.begin(), vStripes1.end());
}

// ---------------------------------------------------------------------------------------------------------------------
// Vertices

std::vector<Point2*> GridMesher::insertNew(const std::vector<Point2>& vGridPoints) {
    std::vector<Point2> vNew;
    for (const Point2& point : vGridPoints) {
        if (!pDt2_->getVertexPointer(point)) vNew.push_back(point);
    }
    std::vector<Point2*> vInserted;
    pDt2_->insertVector(vNew, vInserted);
    return vInserted;
}

void GridMesher::avoidShortEdges(std::vector<Point2*>& vInserted, double minLength) {
    const auto removeIfTooNear = [&](Point2* pVtx) {
        if (pDt2_->isConstraintVertex(pVtx)) return true;  // no longer ours
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
    const auto isOutside = [&](const ConstraintSegment2* pCSeg) {
        const Triangle2* pLeft = pDt2_->getAdjacentTriangle(pCSeg->getSrc(), pCSeg->getTrg());
        const Triangle2* pRight = pDt2_->getAdjacentTriangle(pCSeg->getTrg(), pCSeg->getSrc());
        return !(pLeft && sZone.contains(pLeft)) && !(pRight && sZone.contains(pRight));
    };
    vCSegs.erase(std::remove_if(vCSegs.begin(), vCSegs.end(), isOutside), vCSegs.end());
}

void GridMesher::chopConstraints(std::vector<Segment2>& vStripes) {
    std::vector<ConstraintSegment2*> vCSegs;
    pDt2_->getAliveConstraintSegments(vCSegs);
    AddressSet sZone = getZoneTriangles();
    dropNonZoneSegments(sZone, vCSegs);
    const auto orderedEnds = [](const ConstraintSegment2* pCSeg) {
        const Point2 *p = pCSeg->getSrc(), *q = pCSeg->getTrg();
        if (*q < *p) std::swap(p, q);
        return std::array<double, 4>{p->x(), p->y(), q->x(), q->y()};
    };
    std::sort(vCSegs.begin(), vCSegs.end(), [&](const ConstraintSegment2* a, const ConstraintSegment2* b) {
        return orderedEnds(a) < orderedEnds(b);  // they come by addresses
    });
    std::vector<Segment2*> vPointers;
    vPointers.reserve(vStripes.size());
    for (Segment2& stripe : vStripes) vPointers.push_back(&stripe);
    const SegmentChecker checker(vPointers);
    const double minLength = std::max(0.5 * gridLength_, pParams_->minEdgeLength);
    for (ConstraintSegment2* pCSeg : vCSegs) {
        if (pCSeg->isAlive() && maySplit(pCSeg)) chopSegment(&checker, pCSeg, minLength);
    }
}

void GridMesher::chopSegment(const SegmentChecker* pChecker, ConstraintSegment2* pCSeg, double minLength) {
    Point2 *pFrom = pCSeg->getSrc(), *pTo = pCSeg->getTrg();
    if (*pTo < *pFrom) std::swap(pFrom, pTo);
    Segment2 segment(*pFrom, *pTo);
    std::vector<std::pair<Segment2*, SegmentIntersectionType>> vIntersectors;
    pChecker->getIntersectors(&segment, true, vIntersectors);
    std::vector<std::array<double, 3>> vPlaces;  // by x, then y: in order along the segment
    for (const auto& [pStripe, type] : vIntersectors) {
        Point2 onStripe, onSegment;
        if (type == SIT_SEGMENT) continue;
        pChecker->getIntersectionPoint(type, &segment, pStripe, onSegment, onStripe);
        vPlaces.push_back({onSegment.x(), onSegment.y(), onSegment.z()});
    }
    std::sort(vPlaces.begin(), vPlaces.end());
    for (const auto& [x, y, z] : vPlaces) {
        const Point2 place(x, y, z);
        if (distance25D(*pFrom, place) < minLength || distance25D(place, *pTo) < minLength) continue;
        Point2* pSplit = pCSeg->insertAndSplit(place);
        if (!pSplit) continue;
        pFrom = pSplit;
        pCSeg = pDt2_->getAliveConstraintSegment(pSplit, pTo);
        if (!pCSeg) return;  // rounding has split what is left once more
    }
}

}  // namespace LUMO_TARO25D
