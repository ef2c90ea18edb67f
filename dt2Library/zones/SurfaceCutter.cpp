// Cutting the surface along segments.
//
// The surface is the set of triangles in space. It keeps its shape exactly as long as triangles are only divided: a new
// vertex inside a triangle divides it in three, a vertex on an edge divides both triangles in two, at the height of the
// surface there. A segment is followed from vertex to vertex: where its path leaves a triangle across an edge, that
// edge gets a vertex at the crossing. The division joins this vertex to the previous one on the path.
//
// A crossing is rounded to doubles and so lies slightly beside its edge. It still divides the edge if the four new
// triangles are counterclockwise. To avoid slivers thinner than rounding where segments meet or overlap, the path goes
// through a vertex that is next to it, and edges that pass next to a new vertex are bent to go through it, which is a
// flip.
//
// New edges inside a former triangle can be flipped without a change of the surface, and are flipped at once (Lawson
// 1977). So the mesh is always a constrained Delaunay triangulation whose constraints are the old edges and the pieces
// of the segments. Edges that are not Delaunay in the end are creases of the old surface, or pieces; they become
// constraints.
//
// Outside the hull there is no surface. A segment that leaves it ends at the hull, at a vertex that is inserted on or
// just inside the hull edge.
//
// O(log n) for the ends of a segment, and constant time for each triangle that it crosses.

#include "zones/SurfaceCutter.h"

#include <algorithm>
#include <cmath>
#include <cstddef>

#include "constraints/ConstraintMgr.h"
#include "kernel/heights.h"
#include "kernel/links.h"
#include "kernel/nearness.h"
#include "kernel/tolerances.h"
#include "kernel/tools.h"
#include "kernel/triangleLists.h"
#include "mesh/hullPatch.h"
#include "mesh/segmentWalk.h"
#include "support/diagnostics.h"
#include "support/stopping.h"
#include "taro25d/freeFunctions.h"

namespace LUMO_TARO25D {

namespace {

constexpr size_t MAX_STEPS_BACK = 1000;

/// Whether a vertex next to an edge has the height of the edge there, up to the difference that a rounding error beside
/// the edge makes on the triangles at the edge. If both triangles are thinner than rounding, any height in their range
/// is accepted.
bool isAtHeight(const Point2& v, const Triangle2* pT, int i) {
    const Triangle2* pN = pT->getOppositeTriangle(i);
    const Point2 &p0 = *pT->getCorner(incIndexBy1(i)), &p1 = *pT->getCorner(incIndexBy2(i)), &near = *pT->getCorner(i),
                 &far = *pN->getCorner(indexOfNeighbour(pN, pT));
    const auto [zMin, zMax] = std::minmax({v.z(), p0.z(), p1.z(), near.z(), far.z()});
    const double width = std::max(getPointLineDistance2D(near, p0, p1), getPointLineDistance2D(far, p0, p1));
    const double slack =
        std::max(MAX_CREASE, std::min(1.0, 4.0 * RESOLUTION * getLargestCoordinate(p0, p1, v) / width));
    return std::abs(v.z() - getZOnSegment(p0, p1, v.x(), v.y())) <= slack * (zMax - zMin);
}

}  // namespace

// ---------------------------------------------------------------------------------------------------------------------
// New vertices

void SurfaceCutter::addFlipped(const Triangle2* pT) {
    edges_.addDiagonal(pT->getCorner(0), pT->getCorner(2));
    touch(pT->getCorner(0));
    touch(pT->getCorner(2));
}

/// Bends edges that pass next to a new vertex, at its height, so that they go through it.
void SurfaceCutter::bendEdgesTo(Point2* pVtx) {
    const auto isToBend = [&](const Triangle2* pT) {
        const int i = indexOfVertex(pT, pVtx);
        return pT->getOppositeTriangle(i) &&
               isNextTo(*pT->getCorner(incIndexBy1(i)), *pT->getCorner(incIndexBy2(i)), *pVtx) &&
               isAtHeight(*pVtx, pT, i) && mesh_.isStrictlyConvex(pT, i);
    };
    while (Triangle2* pT = findIncidentTriangle(pVtx, isToBend)) {
        const int i = indexOfVertex(pT, pVtx);
        Point2 *p0 = pT->getCorner(incIndexBy1(i)), *p1 = pT->getCorner(incIndexBy2(i));
        mesh_.splitConstraintOn(pT, i, pVtx);
        edges_.inherit(p0, p1, pVtx);
        mesh_.flip(pT, i);
        addFlipped(pT);
    }
}

Point2* SurfaceCutter::insertAt(Triangle2* pT, int i, const Point2& point) {
    Point2* pVtx = mesh_.getVertexVault().createRegisteredVertex(point);
    if (i >= 0) edges_.inherit(pT->getCorner(incIndexBy1(i)), pT->getCorner(incIndexBy2(i)), pVtx);
    if (i < 0) {
        mesh_.initVCheckT13(pT, pVtx);
    } else if (pT->getOppositeTriangle(i)) {
        mesh_.initVCheckT24(pT, pVtx, i);
    } else {
        mesh_.splitHullEdge(pVtx, pT, i);
    }
    mesh_.forgetFlips();  // flipDiagonals is called later, when the roles of the new edges are known
    {
        const NoStopScope noStop;  // the new edges are not known yet
        mesh_.getVertexVault().sortIV(VertexVault::SM_IF_DUE);
    }
    touch(pVtx);
    std::vector<Point2*> vNeighbours;
    mesh_.getIncidentVertices(pVtx, vNeighbours);
    for (const Point2* pNeighbour : vNeighbours) {
        if (!edges_.isPieceOrCrease(pVtx, pNeighbour)) edges_.addDiagonal(pVtx, pNeighbour);
    }
    bendEdgesTo(pVtx);
    return pVtx;
}

Point2* SurfaceCutter::insert(const Point2& place) {
    Triangle2* pT = mesh_.locate(place);
    if (!pT) return nullptr;
    for (int i = 0; i < 3; ++i) {
        if (*pT->getCorner(i) == place) return pT->getCorner(i);
    }
    for (int i = 0; i < 3; ++i) {
        const Point2 *p0 = pT->getCorner(incIndexBy1(i)), *p1 = pT->getCorner(incIndexBy2(i));
        const bool bOnEdge = mesh_.getGeomTest().getOrientation2(p0, p1, &place) == ORIENTATION2_COLLINEAR;
        if (!bOnEdge) continue;
        return insertAt(pT, i, Point2(place.x(), place.y(), getZOnSegment(*p0, *p1, place.x(), place.y())));
    }
    return insertAt(pT, -1, Point2(place.x(), place.y(), getHeightOnPlane(*pT, place)));
}

/// The vertex at which the segment from a point outside the hull enters it; null if it does not.
Point2* SurfaceCutter::enter(const Point2& outside, const Point2& trg) {
    Triangle2* pT = nullptr;
    const int i = mesh_.walkTo(outside, pT, mesh_.getGeomTest());
    std::vector<std::pair<Triangle2*, int>> vVisible{{pT, i}};
    determineHullPatchLeft(vVisible, pT, i, &outside, mesh_.getGeomTest());
    determineHullPatchRight(vVisible, pT, i, &outside, mesh_.getGeomTest());
    for (const auto& [pHullT, k] : vVisible) {
        Point2 *p0 = pHullT->getCorner(incIndexBy1(k)), *p1 = pHullT->getCorner(incIndexBy2(k));
        const Orientation2 ori0 = mesh_.getGeomTest().getOrientation2(&outside, &trg, p0);
        const Orientation2 ori1 = mesh_.getGeomTest().getOrientation2(&outside, &trg, p1);
        if (ori0 == ORIENTATION2_CW || ori1 == ORIENTATION2_CCW || ori0 == ori1) continue;
        if (mesh_.getGeomTest().getOrientation2(p0, p1, &trg) == ORIENTATION2_CW) return nullptr;
        Point2* pEntry = ori0 == ORIENTATION2_COLLINEAR ? p0 : ori1 == ORIENTATION2_COLLINEAR ? p1 : nullptr;
        if (!pEntry) pEntry = insertNearHull(Edge2(pHullT, k), outside, trg);
        vOpenEnds_.emplace_back(pEntry, outside);
        return pEntry;
    }
    return nullptr;
}

/// The vertex at which a segment crosses a hull edge, moved inward by as few rounding errors as needed not to be
/// outside.
Point2* SurfaceCutter::insertNearHull(const Edge2& edge, const Point2& src, const Point2& trg) {
    constexpr int MAX_ATTEMPTS = 20;
    Point2 *p0 = edge.getSrc(), *p1 = edge.getTrg();
    double x = 0.0, y = 0.0;
    const bool bCross = getIntersectionCoordsNoRounding(*p0, *p1, src, trg, x, y);
    TARO_ASSERT(bCross);
    const Point2 crossing(x, y, 0.0);
    for (Point2* pEnd : {p0, p1}) {
        if (isSamePlace(crossing, *pEnd)) return pEnd;
    }
    const Vector2 along = normalize(getVector2D(*p0, *p1));
    const Vector2 inward = Vector2(-along.y(), along.x(), 0.0) * getResolution(*p0, *p1);
    Point2* pVtx = insert(crossing);
    for (int k = 0; !pVtx && k < MAX_ATTEMPTS; ++k) pVtx = insert(crossing + inward * std::ldexp(0.125, k));
    if (pVtx) return pVtx;
    return distance2D(crossing, *p0) <= distance2D(crossing, *p1) ? p0 : p1;
}

// ---------------------------------------------------------------------------------------------------------------------
// The path of a segment

bool SurfaceCutter::isSplitSound(const Triangle2* pT, int i, const Point2& point) const {
    const Triangle2* pN = pT->getOppositeTriangle(i);
    const Point2* aRing[4] = {pT->getCorner(i), pT->getCorner(incIndexBy1(i)), pN->getCorner(indexOfNeighbour(pN, pT)),
                              pT->getCorner(incIndexBy2(i))};
    for (int k = 0; k < 4; ++k) {
        if (mesh_.getGeomTest().getOrientation2(aRing[k], aRing[(k + 1) % 4], &point) != ORIENTATION2_CCW) return false;
    }
    return true;
}

/// A new vertex on edge i of pT at a crossing or, if a triangle is thinner than rounding, a little before or after it
/// on the path; null if the edge cannot be divided there.
Point2* SurfaceCutter::divide(Triangle2* pT, int i, const Point2& crossing, const Vector2& direction) {
    const Vector2 step = direction * (0.125 * getResolution(crossing, crossing));
    for (const double numSteps : {0.0, -1.0, 1.0, -2.0, 2.0, -4.0, 4.0, -8.0, 8.0, -16.0, 16.0}) {
        const Point2 place(crossing.x() + numSteps * step.x(), crossing.y() + numSteps * step.y(), crossing.z());
        if (isFinite2D(place) && isSplitSound(pT, i, place)) return insertAt(pT, i, place);
    }
    return nullptr;
}

/// The next vertex on the path from pVtx across the opposite edge i of pT: an end of that edge, or a new vertex on it.
Point2* SurfaceCutter::cross(Point2* pVtx, const Point2& trg, Triangle2* pT, int i) {
    Point2 *p0 = pT->getCorner(incIndexBy1(i)), *p1 = pT->getCorner(incIndexBy2(i));
    const Triangle2* pN = pT->getOppositeTriangle(i);
    TARO_ASSERT_TEXT(pN != nullptr, "pN!=__null");
    double x = 0.0, y = 0.0;
    const bool bCross = getIntersectionCoordsNoRounding(*p0, *p1, *pVtx, trg, x, y);
    TARO_ASSERT(bCross);
    const Point2 crossing(x, y, getZOnSegment(*p0, *p1, x, y));
    for (Point2* pEnd : {p0, p1}) {
        if (crossing == *pEnd || isNextTo(*pVtx, trg, *pEnd)) return pEnd;
    }
    const Vector2 direction = normalize(getVector2D(*pVtx, trg));
    if (Point2* pNew = divide(pT, i, crossing, direction)) return pNew;
    Point2* pNearer = distance2D(crossing, *p0) <= distance2D(crossing, *p1) ? p0 : p1;
    if (!isSamePlace(crossing, *pNearer)) {
        warning("Dt2::CUTT_cutTriangles()", "insufficient numeric accuracy, a segment leaves its way");
    }
    return pNearer;
}

/// Makes the new edges inside former triangles Delaunay, starting around a vertex.
void SurfaceCutter::flipDiagonals(Point2* pVtx) {
    std::vector<Triangle2*> vIncidentT;
    mesh_.getIncidentTriangles(pVtx, vIncidentT);
    for (Triangle2* pT : vIncidentT) mesh_.noteForFlips(pT);
    while (Triangle2* pT = mesh_.takeNoted()) {
        for (int i = 0; i < 3; ++i) {
            if (!edges_.isDiagonal(pT->getCorner(incIndexBy1(i)), pT->getCorner(incIndexBy2(i)))) continue;
            if (!mesh_.flipUnlessDelaunay(pT, i)) continue;
            addFlipped(pT);
            break;
        }
    }
}

void SurfaceCutter::cutTowards(Point2* pVtx, Point2* pTrg) {
    double nearest = distance2D(*pVtx, *pTrg);
    for (size_t numStepsBack = 0; pVtx != pTrg && numStepsBack < MAX_STEPS_BACK;) {
        cancelPoint_.pass();
        Triangle2* pT = nullptr;
        int i = 0;
        Point2* pNext = leaveTowardsVertex(mesh_.getGeomTest(), pVtx, pTrg, pT, i);
        if (!pNext) pNext = cross(pVtx, *pTrg, pT, i);
        edges_.addPiece(pVtx, pNext);
        touch(pVtx);
        touch(pNext);
        pVtx = pNext;
        flipDiagonals(pVtx);
        const double distance = distance2D(*pVtx, *pTrg);
        numStepsBack += !(distance < nearest);
        nearest = std::min(nearest, distance);
    }
    if (pVtx != pTrg) warning("Dt2::CUTT_cutTriangles()", "insufficient numeric accuracy, a segment ends early");
}

void SurfaceCutter::cutSegments(const std::vector<Segment2>& vSegments) {
    for (const Segment2& segment : vSegments) {
        for (const Point2& end : {segment.getSrc(), segment.getTrg()}) {
            cancelPoint_.pass();
            mesh_.getGeomTest().setStaticBound(mesh_.getMagnitudeWith(end));
            if (Point2* pVtx = insert(end)) flipDiagonals(pVtx);
        }
    }
    for (const Segment2& segment : vSegments) {
        cancelPoint_.pass();
        Point2 *pSrc = insert(segment.getSrc()), *pTrg = insert(segment.getTrg());
        bOutside_ = bOutside_ || !pSrc || !pTrg;
        if (!pSrc) pSrc = enter(segment.getSrc(), segment.getTrg());
        if (!pTrg) pTrg = enter(segment.getTrg(), segment.getSrc());
        if (pSrc) flipDiagonals(pSrc);
        if (pTrg) flipDiagonals(pTrg);
        if (pSrc && pTrg) cutTowards(pSrc, pTrg);
    }
}

// ---------------------------------------------------------------------------------------------------------------------
// Fixing the edges

void SurfaceCutter::getChangedTriangles(std::vector<Triangle2*>& vTriangles) const {
    AddressSet sSeen;
    std::vector<Triangle2*> vIncidentT;
    CancelPoint<> cancelPoint;
    for (Point2* pVtx : vTouched_) {
        cancelPoint.pass();
        vIncidentT.clear();
        mesh_.getIncidentTriangles(pVtx, vIncidentT);
        for (Triangle2* pT : vIncidentT) {
            if (sSeen.insert(pT)) vTriangles.push_back(pT);
        }
    }
}

void SurfaceCutter::cut(const std::vector<Segment2>& vSegments, bool bPieces) {
    try {
        cutSegments(vSegments);
        fixEdges(bPieces);
    } catch (...) {
        // Creases that are neither Delaunay nor constraints must not stay.
        const NoStopScope noStop;
        mesh_.forgetFlips();
        fixEdges(bPieces);
        throw;
    }
}

void SurfaceCutter::fixEdges(bool bPieces) {
    std::vector<Triangle2*> vTriangles;
    getChangedTriangles(vTriangles);
    std::vector<ConstraintMgr::VertexPair> vPairs;
    forEachEdge(vTriangles, [&](Triangle2* pT, int i) {
        const Triangle2* pN = pT->getOppositeTriangle(i);
        Point2 *p0 = pT->getCorner(incIndexBy1(i)), *p1 = pT->getCorner(incIndexBy2(i));
        const bool bFix =
            (bPieces && edges_.isPiece(p0, p1)) ||
            (pN && mesh_.getGeomTest().circleInc3state(pT, pN->getCorner(indexOfNeighbour(pN, pT))) == CINC2_INCIRCLE &&
             !mesh_.isFixed(pT, i));
        if (bFix) vPairs.emplace_back(p0, p1);
    });
    if (!vPairs.empty()) mesh_.getConstraintManager()->createConstraint(vPairs, CIS_CONSTRAINED_DELAUNAY, true);
    // Between close constraints, a pair may be that of a former constraint that has been split; it stays dead.
    for (const auto& [p0, p1] : vPairs) {
        if (mesh_.getAliveConstraintSegment(p0, p1)) continue;
        warning("Dt2::CUTT_cutTriangles()", "insufficient numeric accuracy, a crease is lost");
        if (Triangle2* pT = mesh_.getAdjacentTriangle(p0, p1)) mesh_.noteForFlips(pT);
    }
    mesh_.flipUntilDelaunay();
}

void cutTriangles(Dt2& mesh, const std::vector<Segment2>& vSegments, bool bConstraints) {
    if (!mesh.is2D()) {
        warning("Dt2::CUTT_cutTriangles()", "The triangulation is not full dimensional yet. Nothing to do");
        return;
    }
    if (!areFinite(vSegments)) {
        warning("Dt2::CUTT_cutTriangles()", "non-finite coordinates, segments refused");
        return;
    }
    SurfaceCutter cutter(mesh);
    cutter.cut(vSegments, bConstraints);
}

}  // namespace LUMO_TARO25D
