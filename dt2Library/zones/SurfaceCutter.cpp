// Cutting the surface along segments.
//
// The surface is the set of triangles in space, so it keeps its shape exactly as long as triangles are only divided: a new
// vertex inside a triangle divides it in three, one on an edge divides both sides in two, and its height is the one there.
// A segment is followed from vertex to vertex: where its way leaves a triangle across an edge, that edge gets a vertex at the
// crossing, which by this is joined to the vertex where the way came from.
//
// A crossing is rounded to doubles and so lies slightly beside its edge. It divides the edge all the same if the four new
// triangles are counterclockwise. No slivers thinner than rounding come up where segments meet, or follow one another: the
// way goes through a vertex next to it, and edges that pass next to a new vertex go through it, which is a flip.
//
// New edges that lie inside what was one triangle may be flipped without a change of the surface, and are at once (Lawson
// 1977), so that the mesh is always a constrained Delaunay triangulation, of the old edges and the pieces of the segments.
// Those that are not Delaunay in the end are creases of the old surface, and pieces. They become constraints.
//
// Outside the hull there is no surface. A segment that leaves it ends at the hull, at a vertex that is inserted on or just
// inside the hull edge. A gap of that width would let a search pass around the end; the triangles that the rest of the way
// crosses close it.
//
// O(log n) for the ends of a segment, and constant time for each triangle that it crosses.

#include <algorithm>
#include <cmath>
#include <limits>

#include "constraints/ConstraintMgr.h"
#include "kernel/heights.h"
#include "kernel/links.h"
#include "kernel/nearness.h"
#include "kernel/tools.h"
#include "kernel/triangleLists.h"
#include "mesh/Dt2.h"
#include "support/diagnostics.h"
#include "taro25d/Zone2.h"
#include "taro25d/freeFunctions.h"
#include "zones/ConnectedComponent.h"
#include "zones/simplePolygon.h"

namespace LUMO_TARO25D {

namespace {

constexpr const char* COOKIE_CUTTER = "Dt2::createZone_cookieCutter(..)";
constexpr size_t MAX_STEPS_BACK = 1000;

/// So far apart two places may be, by rounding, that are meant to be one.
double getResolution(const Point2& a, const Point2& b) { return RESOLUTION * getLargestCoordinate(a, b, b); }

bool isNear(const Point2& a, const Point2& b) { return distance2D(a, b) <= getResolution(a, b); }

/// Whether an edge goes through a vertex at its height, but for what a rounding error beside it makes on the surface that is
/// given by the triangles on both sides. Where both are thinner than rounding, that may be anything.
bool isAtHeight(const Point2& v, const Triangle2* pT, int i) {
    const Triangle2* pN = pT->getOppositeTriangle(i);
    const Point2 &p0 = *pT->getCorner(incIndexBy1(i)), &p1 = *pT->getCorner(incIndexBy2(i)), &near = *pT->getCorner(i),
                 &far = *pN->getCorner(indexOfNeighbour(pN, pT));
    const auto [zMin, zMax] = std::minmax({v.z(), p0.z(), p1.z(), near.z(), far.z()});
    const double width = std::max(getPointLineDistance2D(near, p0, p1), getPointLineDistance2D(far, p0, p1));
    const double slack = std::max(0x1p-30, std::min(1.0, 4.0 * RESOLUTION * getLargestCoordinate(p0, p1, v) / width));
    return std::abs(v.z() - getZOnSegment(p0, p1, v.x(), v.y())) <= slack * (zMax - zMin);
}

/// Whether triangles have no more area than a polygon, and if all of it is on the surface, no less, but for rounding.
bool canBeInside(const std::vector<Triangle2*>& vTriangles, const std::vector<Point2>& vCorners, bool bAll) {
    double area = 0.0, wanted = 0.0, length = 0.0, resolution = 0.0;
    for (const Triangle2* pT : vTriangles) area += getArea2D(*pT->getCorner(0), *pT->getCorner(1), *pT->getCorner(2));
    for (size_t k = 0; k < vCorners.size(); ++k) {
        const Point2 &p = vCorners[k], &q = vCorners[(k + 1) % vCorners.size()];
        wanted += 0.5 * crossProduct2D(getVector2D(vCorners[0], p), getVector2D(vCorners[0], q));
        length += distance2D(p, q);
        resolution = std::max(resolution, getResolution(p, q));
    }
    const double slack = 1e-6 * wanted + 64.0 * resolution * length;
    return !(area - wanted > slack) && (!bAll || !(wanted - area > slack));  // not for numbers beyond doubles
}

}  // namespace

/// What a running cut has made.
struct Dt2::Cut {
    EdgeSet sPieces;     // of the segments
    EdgeSet sDiagonals;  // new edges inside what was one triangle, and some that are pieces or creases by now
    EdgeSet sCreases;    // pieces of old edges that began as diagonals
    std::vector<DirectedEdge> vDirected;  // the pieces in the direction of their segments, as first made
    VertexPairMap<Point2> pieceSplits;    // from pieces to the vertices that they go through since
    size_t numPieceSplits = 0;
    bool bOutside = false;                              // whether an end of a segment is outside the hull
    std::vector<std::pair<Point2*, Point2>> vOpenEnds;  // where a segment leaves the hull, and its end outside
    AddressSet sTouched;
    std::vector<Point2*> vTouched;  // every triangle that was changed has one of these as a corner

    void touch(Point2* pVtx) {
        if (sTouched.insert(pVtx)) vTouched.push_back(pVtx);
    }
    void addPiece(Point2* pSrc, Point2* pTrg) {
        sPieces.insert(pSrc, pTrg);
        vDirected.emplace_back(pSrc, pTrg);
        touch(pSrc);
        touch(pTrg);
    }
    /// What the flip of an edge of pT has made.
    void addDiagonal(const Triangle2* pT) {
        sDiagonals.insert(pT->getCorner(0), pT->getCorner(2));
        touch(pT->getCorner(0));
        touch(pT->getCorner(2));
    }
    bool isDiagonal(const Point2* p0, const Point2* p1) const {
        return sDiagonals.contains(p0, p1) && !sPieces.contains(p0, p1) && !sCreases.contains(p0, p1);
    }
    /// Tells that the edge p0-p1 goes through a vertex from now on.
    void inherit(const Point2* p0, const Point2* p1, Point2* pVtx) {
        const bool bPiece = sPieces.contains(p0, p1);
        if (bPiece && !pieceSplits.find(p0, p1)) {
            pieceSplits.add(p0, p1, pVtx);
            ++numPieceSplits;
        }
        EdgeSet& sHeirs = bPiece ? sPieces : isDiagonal(p0, p1) ? sDiagonals : sCreases;
        sHeirs.insert(p0, pVtx);
        sHeirs.insert(pVtx, p1);
    }
    /// Appends the pieces as they are now, in the direction of their segments.
    void getDirectedPieces(std::vector<DirectedEdge>& vPieces) const {
        for (const DirectedEdge& whole : vDirected) {
            std::vector<DirectedEdge> vStack{whole};
            for (size_t numLeft = numPieceSplits; !vStack.empty();) {
                const auto [pSrc, pTrg] = vStack.back();
                vStack.pop_back();
                Point2* pVtx = numLeft > 0 ? pieceSplits.find(pSrc, pTrg) : nullptr;
                if (pVtx) {
                    --numLeft;
                    vStack.insert(vStack.end(), {{pVtx, pTrg}, {pSrc, pVtx}});
                } else {
                    vPieces.emplace_back(pSrc, pTrg);
                }
            }
        }
    }
    /// Appends the changed triangles.
    void getTriangles(const Dt2& dt2, std::vector<Triangle2*>& vTriangles) const {
        AddressSet sSeen;
        std::vector<Triangle2*> vIncidentT;
        for (Point2* pVtx : vTouched) {
            vIncidentT.clear();
            dt2.getIncidentTriangles(pVtx, vIncidentT);
            for (Triangle2* pT : vIncidentT) {
                if (sSeen.insert(pT)) vTriangles.push_back(pT);
            }
        }
    }
};

// ---------------------------------------------------------------------------------------------------------------------
// New vertices

/// Makes edges that pass next to a new vertex, at its height, go through it.
void Dt2::CUTT_bendEdgesTo(Point2* pVtx, Cut& cut) {
    const auto isToBend = [&](const Triangle2* pT) {
        const int i = indexOfVertex(pT, pVtx);
        return pT->getOppositeTriangle(i) &&
               isNextTo(*pT->getCorner(incIndexBy1(i)), *pT->getCorner(incIndexBy2(i)), *pVtx) &&
               isAtHeight(*pVtx, pT, i) && isStrictlyConvex(pT, i);
    };
    while (Triangle2* pT = findIncidentTriangle(pVtx, isToBend)) {
        const int i = indexOfVertex(pT, pVtx);
        Point2 *p0 = pT->getCorner(incIndexBy1(i)), *p1 = pT->getCorner(incIndexBy2(i));
        splitConstraintOn(pT, i, pVtx);
        cut.inherit(p0, p1, pVtx);
        flip(pT, i);
        cut.addDiagonal(pT);
    }
}

Point2* Dt2::CUTT_insertAt(Triangle2* pT, int i, const Point2& point, Cut& cut) {
    Point2* pVtx = vertexVault_.createRegisteredVertex(point);
    if (i >= 0) cut.inherit(pT->getCorner(incIndexBy1(i)), pT->getCorner(incIndexBy2(i)), pVtx);
    if (i < 0) {
        initVCheckT13(pT, pVtx);
    } else if (pT->getOppositeTriangle(i)) {
        initVCheckT24(pT, pVtx, i);
    } else {
        splitHullEdge(pVtx, pT, i);
    }
    vFlipStack_.clear();  // which of these may be flipped is known when the way has come here
    vertexVault_.sortIV(VertexVault::SM_IF_DUE);
    cut.touch(pVtx);
    std::vector<Point2*> vNeighbours;
    getIncidentVertices(pVtx, vNeighbours);
    for (const Point2* pNeighbour : vNeighbours) {
        if (!cut.sPieces.contains(pVtx, pNeighbour) && !cut.sCreases.contains(pVtx, pNeighbour)) {
            cut.sDiagonals.insert(pVtx, pNeighbour);
        }
    }
    CUTT_bendEdgesTo(pVtx, cut);
    return pVtx;
}

Point2* Dt2::CUTT_insert(const Point2& place, Cut& cut) {
    Triangle2* pT = locate(place);
    if (!pT) return nullptr;
    for (int i = 0; i < 3; ++i) {
        if (*pT->getCorner(i) == place) return pT->getCorner(i);
    }
    for (int i = 0; i < 3; ++i) {
        const Point2 *p0 = pT->getCorner(incIndexBy1(i)), *p1 = pT->getCorner(incIndexBy2(i));
        const bool bOnEdge = geomTest_.getOrientation2(p0, p1, &place) == ORIENTATION2_COLLINEAR;
        if (!bOnEdge) continue;
        return CUTT_insertAt(pT, i, Point2(place.x(), place.y(), getZOnSegment(*p0, *p1, place.x(), place.y())), cut);
    }
    return CUTT_insertAt(pT, -1, Point2(place.x(), place.y(), getHeightOnPlane(*pT, place)), cut);
}

/// A vertex where the segment from a point outside the hull enters it, or null if it does not.
Point2* Dt2::CUTT_enter(const Point2& outside, const Point2& trg, Cut& cut) {
    Triangle2* pT = nullptr;
    const int i = walkTo(outside, pT, geomTest_);
    std::vector<std::pair<Triangle2*, int>> vVisible{{pT, i}};
    determineHullPatchLeft(vVisible, pT, i, &outside, geomTest_);
    determineHullPatchRight(vVisible, pT, i, &outside, geomTest_);
    for (const auto& [pHullT, k] : vVisible) {
        Point2 *p0 = pHullT->getCorner(incIndexBy1(k)), *p1 = pHullT->getCorner(incIndexBy2(k));
        const Orientation2 ori0 = geomTest_.getOrientation2(&outside, &trg, p0);
        const Orientation2 ori1 = geomTest_.getOrientation2(&outside, &trg, p1);
        if (ori0 == ORIENTATION2_CW || ori1 == ORIENTATION2_CCW || ori0 == ori1) continue;
        if (geomTest_.getOrientation2(p0, p1, &trg) == ORIENTATION2_CW) return nullptr;
        Point2* pEntry = ori0 == ORIENTATION2_COLLINEAR ? p0 : ori1 == ORIENTATION2_COLLINEAR ? p1 : nullptr;
        if (!pEntry) pEntry = CUTT_insertNearHull(Edge2(pHullT, k), outside, trg, cut);
        cut.vOpenEnds.emplace_back(pEntry, outside);
        return pEntry;
    }
    return nullptr;
}

/// The vertex where a segment crosses a hull edge, moved inward by as few rounding errors as it takes not to be outside.
Point2* Dt2::CUTT_insertNearHull(const Edge2& edge, const Point2& src, const Point2& trg, Cut& cut) {
    constexpr int MAX_ATTEMPTS = 20;
    Point2 *p0 = edge.getSrc(), *p1 = edge.getTrg();
    double x = 0.0, y = 0.0;
    const bool bCross = getIntersectionCoordsNoRounding(*p0, *p1, src, trg, x, y);
    TARO_ASSERT(bCross);
    const Point2 crossing(x, y, 0.0);
    for (Point2* pEnd : {p0, p1}) {
        if (isNear(crossing, *pEnd)) return pEnd;
    }
    const Vector2 along = normalize(getVector2D(*p0, *p1));
    const Vector2 inward = Vector2(-along.y(), along.x(), 0.0) * getResolution(*p0, *p1);
    Point2* pVtx = CUTT_insert(crossing, cut);
    for (int k = 0; !pVtx && k < MAX_ATTEMPTS; ++k) pVtx = CUTT_insert(crossing + inward * std::ldexp(0.125, k), cut);
    if (pVtx) return pVtx;
    return distance2D(crossing, *p0) <= distance2D(crossing, *p1) ? p0 : p1;
}

// ---------------------------------------------------------------------------------------------------------------------
// The way of a segment

bool Dt2::CUTT_isSplitSound(const Triangle2* pT, int i, const Point2& point) const {
    const Triangle2* pN = pT->getOppositeTriangle(i);
    const Point2* aRing[4] = {pT->getCorner(i), pT->getCorner(incIndexBy1(i)), pN->getCorner(indexOfNeighbour(pN, pT)),
                              pT->getCorner(incIndexBy2(i))};
    for (int k = 0; k < 4; ++k) {
        if (geomTest_.getOrientation2(aRing[k], aRing[(k + 1) % 4], &point) != ORIENTATION2_CCW) return false;
    }
    return true;
}

/// A new vertex on edge i of pT at a crossing or, where a triangle is thinner than rounding, a little before or after it on
/// the way; null if the edge cannot be divided there.
Point2* Dt2::CUTT_divide(Triangle2* pT, int i, const Point2& crossing, const Vector2& way, Cut& cut) {
    const Vector2 step = way * (0.125 * getResolution(crossing, crossing));
    for (const double numSteps : {0.0, -1.0, 1.0, -2.0, 2.0, -4.0, 4.0, -8.0, 8.0, -16.0, 16.0}) {
        const Point2 place(crossing.x() + numSteps * step.x(), crossing.y() + numSteps * step.y(), crossing.z());
        if (isFinite2D(place) && CUTT_isSplitSound(pT, i, place)) return CUTT_insertAt(pT, i, place, cut);
    }
    return nullptr;
}

/// The next vertex on the way from a vertex across the opposite edge i of pT; the vertex itself where the edge has been
/// found to go through it.
Point2* Dt2::CUTT_cross(Point2* pVtx, const Point2& trg, Triangle2* pT, int i, Cut& cut) {
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
    const Vector2 way = normalize(getVector2D(*pVtx, trg));
    if (Point2* pNew = CUTT_divide(pT, i, crossing, way, cut)) return pNew;
    Point2* pNearer = distance2D(crossing, *p0) <= distance2D(crossing, *p1) ? p0 : p1;
    if (!isNear(crossing, *pNearer)) {
        warning("Dt2::CUTT_cutTriangles()", "insufficient numeric accuracy, a segment leaves its way");
    }
    return pNearer;
}

/// Makes new edges inside what was one triangle Delaunay, from those around a vertex on.
void Dt2::CUTT_flipDiagonals(Point2* pVtx, Cut& cut) {
    getIncidentTriangles(pVtx, vFlipStack_);
    while (!vFlipStack_.empty()) {
        Triangle2* pT = vFlipStack_.back();
        vFlipStack_.pop_back();
        for (int i = 0; i < 3; ++i) {
            if (!cut.isDiagonal(pT->getCorner(incIndexBy1(i)), pT->getCorner(incIndexBy2(i)))) continue;
            if (!flipUnlessDelaunay(pT, i)) continue;
            cut.addDiagonal(pT);
            break;
        }
    }
}

void Dt2::CUTT_cutTowards(Point2* pVtx, Point2* pTrg, Cut& cut) {
    double nearest = distance2D(*pVtx, *pTrg);
    for (size_t numStepsBack = 0; pVtx != pTrg && numStepsBack < MAX_STEPS_BACK;) {
        Triangle2* pT = nullptr;
        int i = 0;
        Point2* pNext = leaveTowardsVertex(pVtx, pTrg, pT, i);
        if (!pNext) pNext = CUTT_cross(pVtx, *pTrg, pT, i, cut);
        if (pNext != pVtx) cut.addPiece(pVtx, pNext);
        pVtx = pNext;
        CUTT_flipDiagonals(pVtx, cut);
        const double distance = distance2D(*pVtx, *pTrg);
        numStepsBack += !(distance < nearest);
        nearest = std::min(nearest, distance);
    }
    if (pVtx != pTrg) warning("Dt2::CUTT_cutTriangles()", "insufficient numeric accuracy, a segment ends early");
}

void Dt2::CUTT_cutSegments(const std::vector<Segment2>& vSegments, Cut& cut) {
    for (const Segment2& segment : vSegments) {
        for (const Point2& end : {segment.getSrc(), segment.getTrg()}) {
            geomTest_.setStaticBound(getMagnitudeWith(end));
            if (Point2* pVtx = CUTT_insert(end, cut)) CUTT_flipDiagonals(pVtx, cut);
        }
    }
    for (const Segment2& segment : vSegments) {
        Point2 *pSrc = CUTT_insert(segment.getSrc(), cut), *pTrg = CUTT_insert(segment.getTrg(), cut);
        cut.bOutside = cut.bOutside || !pSrc || !pTrg;
        if (!pSrc) pSrc = CUTT_enter(segment.getSrc(), segment.getTrg(), cut);
        if (!pTrg) pTrg = CUTT_enter(segment.getTrg(), segment.getSrc(), cut);
        if (pSrc) CUTT_flipDiagonals(pSrc, cut);
        if (pTrg) CUTT_flipDiagonals(pTrg, cut);
        if (pSrc && pTrg) CUTT_cutTowards(pSrc, pTrg, cut);
    }
}

// ---------------------------------------------------------------------------------------------------------------------
// What is left to do with the edges

/// Makes constraints of the edges that are not Delaunay, and with the flag of all pieces.
void Dt2::CUTT_fixEdges(const Cut& cut, bool bPieces) {
    std::vector<Triangle2*> vTriangles;
    cut.getTriangles(*this, vTriangles);
    std::vector<ConstraintMgr::VertexPair> vPairs;
    forEachEdge(vTriangles, [&](Triangle2* pT, int i) {
        const Triangle2* pN = pT->getOppositeTriangle(i);
        Point2 *p0 = pT->getCorner(incIndexBy1(i)), *p1 = pT->getCorner(incIndexBy2(i));
        const bool bFix =
            (bPieces && cut.sPieces.contains(p0, p1)) ||
            (pN && geomTest_.circleInc3state(pT, pN->getCorner(indexOfNeighbour(pN, pT))) == CINC2_INCIRCLE &&
             !isFixed(pT, i));
        if (bFix) vPairs.emplace_back(p0, p1);
    });
    if (!vPairs.empty()) getConstraintManager()->createConstraint(vPairs, CIS_CONSTRAINED_DELAUNAY, true);
    // Between walls an edge may come back that was a constraint once, and goes another way since.
    for (const auto& [p0, p1] : vPairs) {
        if (getAliveConstraintSegment(p0, p1)) continue;
        warning("Dt2::CUTT_cutTriangles()", "insufficient numeric accuracy, a crease is lost");
        if (Triangle2* pT = getAdjacentTriangle(p0, p1)) vFlipStack_.push_back(pT);
    }
    flipUntilDelaunay();
}

void Dt2::CUTT_cutTriangles(const std::vector<Segment2>& vSegments, bool bConstraints) {
    if (!is2D()) {
        warning("Dt2::CUTT_cutTriangles()", "The triangulation is not full dimensional yet. Nothing to do");
        return;
    }
    if (!areFinite(vSegments)) {
        warning("Dt2::CUTT_cutTriangles()", "non-finite coordinates, segments refused");
        return;
    }
    Cut cut;
    CUTT_cutSegments(vSegments, cut);
    CUTT_fixEdges(cut, bConstraints);
}

// ---------------------------------------------------------------------------------------------------------------------
// The cookie cutter

bool Dt2::isSimplePolygon(const std::vector<Segment2>& vSegments) {
    std::vector<Point2> vCorners;
    return getSimplePolygon(vSegments, vCorners);
}

Zone2* Dt2::createZone_cookieCutter(const std::vector<Segment2>& vSegments, bool bVerbose) {
    if (!canHaveZones(bVerbose)) return nullptr;
    std::vector<Point2> vCorners;
    if (!getSimplePolygon(vSegments, vCorners)) {
        if (bVerbose) warning(COOKIE_CUTTER, "the segments form no simple polygon");
        return nullptr;
    }
    std::vector<Segment2> vSides;
    for (size_t k = 0; k < vCorners.size(); ++k) vSides.emplace_back(vCorners[k], vCorners[(k + 1) % vCorners.size()]);
    Cut cut;
    CUTT_cutSegments(vSides, cut);
    CUTT_fixEdges(cut, true);
    std::vector<Triangle2*> vInside;
    if (!CUTT_getInside(cut, vInside) && isInsidePolygon(vSides, getOneValidTriangle()->getBarycenter(), geomTest_)) {
        getTrianglePointers(vInside);
    }
    if (!canBeInside(vInside, vCorners, !cut.bOutside)) {
        if (bVerbose) warning(COOKIE_CUTTER, "insufficient numeric accuracy, the cut does not enclose the polygon");
        return nullptr;
    }
    std::vector<Edge2> vBorderEdges;
    getBorderEdges(vInside, vBorderEdges);
    if (!vBorderEdges.empty()) return createZone(vBorderEdges, ZL_BOUNDED, bVerbose);
    if (bVerbose) warning(COOKIE_CUTTER, "the polygon does not enclose any part of the surface");
    return nullptr;
}

/// Marks the triangles that the way of a segment crosses after its end at the hull, and blocks the edges that it follows.
void Dt2::CUTT_closeGap(Point2* pVtx, const Point2& outside, AddressSet& sMarked, EdgeSet& sBlocked) const {
    while (pVtx) {
        Triangle2* pT = nullptr;
        int i = 0;
        Point2* pNext = leaveVertex(pVtx, &outside, pT, i);
        // The hull may be next to the end, and a vertex on it.
        for (int k = 0; !pNext && pT && k < 3; ++k) {
            Point2* pCorner = pT->getCorner(k);
            if (isNear(*pCorner, *pVtx) && distance2D(*pCorner, outside) < distance2D(*pVtx, outside)) pNext = pCorner;
        }
        if (pNext) sBlocked.insert(pVtx, pNext);
        while (!pNext && pT) {
            sMarked.insert(pT);
            if (!pT->getOppositeTriangle(i)) return;
            if (crossEdge(pVtx, &outside, pT, i) != ORIENTATION2_COLLINEAR) continue;
            sMarked.insert(pT);
            pNext = pT->getCorner(i);
        }
        pVtx = pNext;
    }
}

/// Appends what is on the left of the pieces. False if none of them bounds anything: then it is all or nothing.
bool Dt2::CUTT_getInside(const Cut& cut, std::vector<Triangle2*>& vTriangles) const {
    EdgeSet sBlocked;
    AddressSet sMarked;
    for (const auto& [pEnd, outside] : cut.vOpenEnds) CUTT_closeGap(pEnd, outside, sMarked, sBlocked);
    std::vector<DirectedEdge> vBorder;
    cut.getDirectedPieces(vBorder);
    dropWaysBack(vBorder);  // notches that are thinner than rounding among them
    std::vector<Triangle2*> vSeeds;
    for (const auto& [pSrc, pTrg] : vBorder) {
        sBlocked.insert(pSrc, pTrg);
        if (isNear(*pSrc, *pTrg)) continue;  // where its left is, is rounding
        if (Triangle2* pT = getAdjacentTriangle(pSrc, pTrg)) vSeeds.push_back(pT);
    }
    spread(vSeeds, sBlocked, sMarked, vTriangles);  // leaves marked seeds out
    return !vBorder.empty();
}

}  // namespace LUMO_TARO25D
