// Cutting the surface along segments.
//
// The surface is the set of triangles in space, so it keeps its shape exactly as long as triangles are only divided: a new
// vertex inside a triangle divides it in three, one on an edge divides both sides in two, and its height is the one there.
// No edge is flipped meanwhile. A segment is followed from vertex to vertex: where its way leaves a triangle across an
// edge, that edge gets a vertex at the crossing, which by this is joined to the vertex where the way came from.
//
// A crossing is rounded to doubles and so lies slightly beside its edge. It divides the edge all the same if the four new
// triangles are counterclockwise. What is nearer than a few rounding errors counts as the same place, so that no slivers
// of that width come up where segments meet, or follow one another: the way goes through a vertex next to it, and a vertex
// across that is next to the edge, at its height, takes its place on it, which is a flip.
//
// Vertices that are on an edge but for rounding, and at another height, make walls: triangles so thin that no double lies
// in them, through which all edges are crossed at one place. There the way goes from a vertex before the wall to one
// behind it, by an edge across all of them; those that are more than diagonals go through one of the two vertices then.
//
// Then new edges that lie inside what was one triangle are made Delaunay by flips (Lawson 1977), which does not change the
// surface either. What is not Delaunay now are creases of the old surface, and pieces of the segments. They become
// constraints, so that a constrained Delaunay triangulation is left.
//
// Outside the hull there is no surface. A segment that leaves it ends at the hull, at a vertex that is inserted on or just
// inside the hull edge. A gap of that width would let a search pass around the end; the triangles that the rest of the way
// crosses close it.
//
// Whether segments make a simple polygon is decided by a triangulation of their ends that takes them one by one: they do
// if they are one chain and none is split.
//
// O(log n) for the ends of a segment, and constant time for each triangle that it crosses.

#include <algorithm>
#include <cmath>
#include <limits>
#include <map>
#include <set>

#include "constraints/ConstraintMgr.h"
#include "constraints/ConstraintPieces.h"
#include "kernel/heights.h"
#include "kernel/links.h"
#include "kernel/tools.h"
#include "kernel/triangleLists.h"
#include "mesh/Dt2.h"
#include "support/diagnostics.h"
#include "taro25d/Zone2.h"
#include "taro25d/freeFunctions.h"
#include "zones/ConnectedComponent.h"

namespace LUMO_TARO25D {

namespace {

constexpr const char* COOKIE_CUTTER = "Dt2::createZone_cookieCutter(..)";
constexpr size_t MAX_STEPS_BACK = 1000;
constexpr int MAX_ATTEMPTS_ASIDE = 20;  // each twice as far along the way, which may be nearly that of a wall

/// So far apart two places may be, by rounding, that are meant to be one.
double getResolution(const Point2& a, const Point2& b) {
    return 0x1p-50 * std::max({std::abs(a.x()), std::abs(a.y()), std::abs(b.x()), std::abs(b.y())});
}

bool isNear(const Point2& a, const Point2& b) { return distance2D(a, b) <= getResolution(a, b); }

bool isNearLine(const Point2& point, const Point2& a, const Point2& b) {
    return getPointLineDistance2D(point, a, b) <= std::max(getResolution(a, b), getResolution(point, point));
}

/// Whether two heights differ by no more than rounding, seen from the heights in two triangles: one alone may be of the
/// width of a rounding error, and level but for that.
bool haveSameHeight(const Point2& a, const Point2& b, const Triangle2& first, const Triangle2& second) {
    double zMin = std::min(a.z(), b.z()), zMax = std::max(a.z(), b.z());
    for (int i = 0; i < 3; ++i) {
        zMin = std::min({zMin, first.getCorner(i)->z(), second.getCorner(i)->z()});
        zMax = std::max({zMax, first.getCorner(i)->z(), second.getCorner(i)->z()});
    }
    return std::abs(a.z() - b.z()) <= 0x1p-30 * (zMax - zMin);
}

/// The corners of a simple polygon, counterclockwise. False for other segments.
bool getSimplePolygon(const std::vector<Segment2>& vSegments, std::vector<Point2>& vCorners) {
    if (vSegments.size() < 3 || !areFinite(vSegments)) return false;
    std::vector<Point2> vEnds;
    for (const Segment2& segment : vSegments) {
        if (segment.getSrc() == segment.getTrg()) return false;
        vEnds.push_back(segment.getSrc());
        vEnds.push_back(segment.getTrg());
    }
    Dt2 engine(static_cast<unsigned>(vSegments.size()));
    std::vector<Point2*> vHandles;
    engine.insertVector(vEnds, vHandles);
    if (!engine.is2D() || engine.numberOfPoints() != vSegments.size()) return false;
    ConstraintMgr* pManager = engine.getConstraintManager();
    std::vector<ConstraintMgr::VertexPair> vPairs;
    for (size_t k = 0; k < vHandles.size(); k += 2) vPairs.emplace_back(vHandles[k], vHandles[k + 1]);
    const ConstraintGraph2* pGraph = pManager->createConstraint(vPairs, CIS_CONSTRAINED_DELAUNAY, false);
    if (!pGraph->isPolygon()) return false;
    std::vector<ConstraintSegment2*> vCSegs;
    for (const auto& [pSrc, pTrg] : vPairs) {
        vCSegs.push_back(pManager->addConstraintSegment(pSrc, pTrg, CIS_CONSTRAINED_DELAUNAY));
        pManager->applyOneSegment(vCSegs.back());
        if (!vCSegs.back()->isAlive() || engine.getApproxNumPoints() != vSegments.size()) return false;
    }
    // A crossing that is next to the end of a segment splits the one that was there before.
    const auto isAlive = [](const ConstraintSegment2* pCSeg) { return pCSeg->isAlive(); };
    if (!std::all_of(vCSegs.begin(), vCSegs.end(), isAlive)) return false;
    std::vector<Point2*> vVertices;
    pGraph->getPolygonVertices(vVertices);
    for (const Point2* pVtx : vVertices) vCorners.push_back(*pVtx);
    return true;
}

/// Whether a point that is on none of the sides is inside a polygon: the number of sides to its right is odd.
bool isInside(const std::vector<Segment2>& vSides, const Point2& point, GeomTest& geomTest) {
    bool bInside = false;
    for (const Segment2& side : vSides) {
        const bool bUp = side.getSrc().y() <= point.y();
        if (bUp == (side.getTrg().y() <= point.y())) continue;
        const Orientation2 ori = geomTest.getOrientation2(&side.getSrc(), &side.getTrg(), &point);
        if (ori == (bUp ? ORIENTATION2_CCW : ORIENTATION2_CW)) bInside = !bInside;
    }
    return bInside;
}

/// Whether a triangle is thinner than rounding and has a corner outside a polygon, farther than rounding from its sides.
bool isNeedleOut(const Triangle2* pT, const std::vector<Segment2>& vSides, GeomTest& geomTest) {
    const auto isThinAt = [pT](int i) {
        return isNearLine(*pT->getCorner(i), *pT->getCorner(incIndexBy1(i)), *pT->getCorner(incIndexBy2(i)));
    };
    if (!isThinAt(0) && !isThinAt(1) && !isThinAt(2)) return false;
    const auto isOut = [&](const Point2& corner) {
        const auto isOnSide = [&corner](const Segment2& side) {
            const double distance = std::sqrt(sqDistanceToSegment2D(corner, side.getSrc(), side.getTrg()));
            return distance <=
                   16.0 * std::max(getResolution(side.getSrc(), side.getTrg()), getResolution(corner, corner));
        };
        return std::none_of(vSides.begin(), vSides.end(), isOnSide) && !isInside(vSides, corner, geomTest);
    };
    return isOut(*pT->getCorner(0)) || isOut(*pT->getCorner(1)) || isOut(*pT->getCorner(2));
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
    legalize(pVtx);
    vertexVault_.sortIV(VertexVault::SM_IF_DUE);
    cut.touch(pVtx);
    std::vector<Point2*> vNeighbours;
    getIncidentVertices(pVtx, vNeighbours);
    for (const Point2* pNeighbour : vNeighbours) {
        if (!cut.sPieces.contains(pVtx, pNeighbour) && !cut.sCreases.contains(pVtx, pNeighbour)) {
            cut.sDiagonals.insert(pVtx, pNeighbour);
        }
    }
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
        const bool bOnEdge = geomTest_.getOrientation2(p0, p1, &place) == ORIENTATION2_COLLINEAR ||
                             (pT->getOppositeTriangle(i) && isNearLine(place, *p0, *p1) &&
                              approxHasOn(*p0, *p1, place) && CUTT_isSplitSound(pT, i, place));
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

/// Makes an edge go through one of the two vertices across, by a flip, if the quadrilateral is strictly convex.
bool Dt2::CUTT_bendEdge(Triangle2* pT, int i, Point2* pVtx, Cut& cut) {
    const Triangle2* pN = pT->getOppositeTriangle(i);
    Point2 *p0 = pT->getCorner(incIndexBy1(i)), *p1 = pT->getCorner(incIndexBy2(i)), *pNear = pT->getCorner(i),
           *pFar = pN->getCorner(indexOfNeighbour(pN, pT));
    if (geomTest_.getOrientation2(pNear, p0, pFar) != ORIENTATION2_CCW ||
        geomTest_.getOrientation2(pFar, p1, pNear) != ORIENTATION2_CCW) {
        return false;
    }
    if (ConstraintSegment2* pCSeg = getAliveConstraintSegment(p0, p1)) {
        if (!pCSeg->split_combinatorialOnly(pVtx)) return false;
    }
    cut.inherit(p0, p1, pVtx);
    flip(pT, i);
    cut.sDiagonals.insert(pNear, pFar);
    cut.touch(pNear);
    cut.touch(pFar);
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

/// A new vertex strictly inside pT, on its surface, as few rounding errors as possible before (sign -1) or behind (sign 1)
/// a crossing of its border; null if there is no room.
Point2* Dt2::CUTT_insertInside(Triangle2* pT, const Point2& crossing, const Vector2& way, double sign, Cut& cut) {
    Vector2 step = way * (sign * 0.125 * getResolution(crossing, crossing));
    for (int k = 0; k < MAX_ATTEMPTS_ASIDE; ++k, step = step * 2.0) {
        const Point2 place = crossing + step;
        const auto isLeft = [&](int i) {
            const Point2 *p0 = pT->getCorner(incIndexBy1(i)), *p1 = pT->getCorner(incIndexBy2(i));
            return geomTest_.getOrientation2(p0, p1, &place) == ORIENTATION2_CCW;
        };
        if (!isFinite2D(place) || !isLeft(0) || !isLeft(1) || !isLeft(2)) continue;
        return CUTT_insertAt(pT, -1, Point2(place.x(), place.y(), getHeightOnPlane(*pT, place)), cut);
    }
    return nullptr;
}

/// From a vertex before a wall to one behind it, where the way crosses edge i of pT and others at one place. Null if there
/// is no room behind.
Point2* Dt2::CUTT_passWall(Point2* pVtx, const Point2& trg, const Point2& crossing, Triangle2* pT, int i, Cut& cut) {
    const Vector2 way = normalize(getVector2D(*pVtx, trg));
    while (pT->getOppositeTriangle(i)) {
        const Point2 &p0 = *pT->getCorner(incIndexBy1(i)), &p1 = *pT->getCorner(incIndexBy2(i));
        const Triangle2* pN = pT->getOppositeTriangle(i);
        Point2* pFar = pN->getCorner(indexOfNeighbour(pN, pT));
        const bool bReached = crossEdge(pVtx, &trg, pT, i) == ORIENTATION2_COLLINEAR, bWall = isNearLine(*pFar, p0, p1);
        Point2* pBehind = bWall ? nullptr : CUTT_insertInside(pT, crossing, way, 1.0, cut);
        if (bWall && bReached) pBehind = pFar;
        if (pBehind) return CUTT_join(pVtx, pBehind, cut);
        if (!bWall) return nullptr;
    }
    return nullptr;
}

/// Makes an edge from one vertex to another, across all edges in between, or to a vertex that is exactly on the way.
/// Returns its end.
Point2* Dt2::CUTT_join(Point2* pSrc, Point2* pTrg, Cut& cut) {
    Triangle2* pT = nullptr;
    int i = 0;
    if (Point2* pReached = leaveTowardsVertex(pSrc, pTrg, pT, i)) return pReached;
    CrossedRegion region(pT, i);
    std::vector<DirectedEdge> vCrossed;
    for (Orientation2 ori = ORIENTATION2_CCW; ori != ORIENTATION2_COLLINEAR;) {
        vCrossed.emplace_back(pT->getCorner(incIndexBy1(i)), pT->getCorner(incIndexBy2(i)));
        ori = crossEdge(pSrc, pTrg, pT, i);
        region.add(pT, i, ori);
    }
    if (pT->getCorner(i) != pTrg) return CUTT_join(pSrc, pT->getCorner(i), cut);
    std::vector<Point2*> vVertices;
    getVertices(region.vTriangles, vVertices);
    for (Point2* pVtx : vVertices) cut.touch(pVtx);
    // What was inside one triangle runs along the wall now.
    for (const auto& [p0, p1] : vCrossed) cut.sCreases.insert(p0, p1);
    replaceRegion(region);
    for (const auto& [p0, p1] : vCrossed) CUTT_reroute(p0, p1, pSrc, pTrg, vVertices, cut);
    return pTrg;
}

/// Makes what was the edge p0-p1 go through an end of the edge that has taken its place, best the one at its height. Where
/// neither is joined to p0 and p1, a piece or a constraint goes along edges between the vertices that were around.
void Dt2::CUTT_reroute(Point2* p0, Point2* p1, Point2* pSrc, Point2* pTrg, const std::vector<Point2*>& vVertices,
                       Cut& cut) {
    const auto getStep = [&](const Point2* pEnd) {
        return std::abs(pEnd->z() - getZOnSegment(*p0, *p1, pEnd->x(), pEnd->y()));
    };
    if (getStep(pTrg) < getStep(pSrc)) std::swap(pSrc, pTrg);
    std::vector<Point2*> vVia;
    for (Point2* pEnd : {pSrc, pTrg}) {
        if (vVia.empty() && isEdge(p0, pEnd) && isEdge(pEnd, p1)) vVia.push_back(pEnd);
    }
    ConstraintSegment2* pCSeg = getAliveConstraintSegment(p0, p1);
    if (vVia.empty() && (pCSeg || cut.sPieces.contains(p0, p1))) vVia = CUTT_findWay(p0, p1, vVertices);
    if (vVia.empty() && pCSeg) warnOfInaccuracy();
    for (Point2* pVia : vVia) {
        cut.inherit(p0, p1, pVia);
        pCSeg = getAliveConstraintSegment(p0, p1);
        if (pCSeg) pCSeg->split_combinatorialOnly(pVia);
        p0 = pVia;
    }
}

/// The shortest way along edges between some vertices (Dijkstra 1959), without its ends. None beyond the range of doubles.
std::vector<Point2*> Dt2::CUTT_findWay(Point2* p0, Point2* p1, const std::vector<Point2*>& vVertices) const {
    struct Stop {
        size_t rank = 0;  // decides between equal lengths
        double length = std::numeric_limits<double>::infinity();
        Point2* pPrevious = nullptr;
    };
    std::map<Point2*, Stop> mStops;
    for (size_t k = 0; k < vVertices.size(); ++k) mStops[vVertices[k]].rank = k;
    mStops[p0].length = 0.0;
    std::set<std::pair<double, size_t>> sOpen{{0.0, mStops[p0].rank}};
    std::vector<Point2*> vNeighbours;
    while (!sOpen.empty()) {
        Point2* pVtx = vVertices[sOpen.begin()->second];
        if (pVtx == p1) break;
        sOpen.erase(sOpen.begin());
        vNeighbours.clear();
        getIncidentVertices(pVtx, vNeighbours);
        for (Point2* pNext : vNeighbours) {
            const auto next = mStops.find(pNext);
            const double length = mStops[pVtx].length + distance2D(*pVtx, *pNext);
            // Of ways that are equally long but for rounding the one with fewer stops, which has been found before.
            if (next == mStops.end() || !(length < next->second.length * (1.0 - 0x1p-40))) continue;
            sOpen.erase({next->second.length, next->second.rank});
            next->second.length = length;
            next->second.pPrevious = pVtx;
            sOpen.emplace(length, next->second.rank);
        }
    }
    std::vector<Point2*> vWay;
    for (Point2* pVtx = mStops[p1].pPrevious; pVtx && pVtx != p0; pVtx = mStops[pVtx].pPrevious) vWay.push_back(pVtx);
    std::reverse(vWay.begin(), vWay.end());
    return vWay;
}

/// The next vertex on the way from a vertex across the opposite edge i of pT; the vertex itself where the edge has been
/// found to go through it.
Point2* Dt2::CUTT_cross(Point2* pVtx, const Point2& trg, Triangle2* pT, int i, Cut& cut) {
    Point2 *p0 = pT->getCorner(incIndexBy1(i)), *p1 = pT->getCorner(incIndexBy2(i));
    const Triangle2* pN = pT->getOppositeTriangle(i);
    TARO_ASSERT_TEXT(pN != nullptr, "pN!=__null");
    Point2* pFar = pN->getCorner(indexOfNeighbour(pN, pT));
    double x = 0.0, y = 0.0;
    const bool bCross = getIntersectionCoordsNoRounding(*p0, *p1, *pVtx, trg, x, y);
    TARO_ASSERT(bCross);
    const Point2 crossing(x, y, getZOnSegment(*p0, *p1, x, y));
    for (Point2* pEnd : {p0, p1}) {
        const double whole = distance2D(*pVtx, trg);
        const bool bBetween = distance2D(*pEnd, trg) < whole && distance2D(*pEnd, *pVtx) < whole;
        if (crossing == *pEnd || (bBetween && isNearLine(*pEnd, *pVtx, trg))) return pEnd;
    }
    for (Point2* pAcross : {pVtx, pFar}) {
        const bool bOnEdge = isNear(crossing, *pAcross) && haveSameHeight(crossing, *pAcross, *pT, *pN);
        if (bOnEdge && CUTT_bendEdge(pT, i, pAcross, cut)) return pAcross;
    }
    const Vector2 way = normalize(getVector2D(*pVtx, trg));
    if (Point2* pNew = CUTT_divide(pT, i, crossing, way, cut)) return pNew;
    Point2* pNext = isNearLine(*pVtx, *p0, *p1) ? CUTT_passWall(pVtx, trg, crossing, pT, i, cut)
                                                : CUTT_insertInside(pT, crossing, way, -1.0, cut);
    if (pNext) return pNext;
    Point2* pNearer = distance2D(crossing, *p0) <= distance2D(crossing, *p1) ? p0 : p1;
    if (!isNear(crossing, *pNearer)) {
        warning("Dt2::CUTT_cutTriangles()", "insufficient numeric accuracy, a segment leaves its way");
    }
    return pNearer;
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
        const double distance = distance2D(*pVtx, *pTrg);
        numStepsBack += !(distance < nearest);
        nearest = std::min(nearest, distance);
    }
    if (pVtx != pTrg) warning("Dt2::CUTT_cutTriangles()", "insufficient numeric accuracy, a segment ends early");
}

void Dt2::CUTT_cutSegments(const std::vector<Segment2>& vSegments, Cut& cut) {
    const FlagScope suppressFlips(bFlipsSuppressed_);
    for (const Segment2& segment : vSegments) {
        for (const Point2& end : {segment.getSrc(), segment.getTrg()}) geomTest_.setStaticBound(getMagnitudeWith(end));
        CUTT_insert(segment.getSrc(), cut);
        CUTT_insert(segment.getTrg(), cut);
    }
    for (const Segment2& segment : vSegments) {
        Point2 *pSrc = CUTT_insert(segment.getSrc(), cut), *pTrg = CUTT_insert(segment.getTrg(), cut);
        cut.bOutside = cut.bOutside || !pSrc || !pTrg;
        if (!pSrc) pSrc = CUTT_enter(segment.getSrc(), segment.getTrg(), cut);
        if (!pTrg) pTrg = CUTT_enter(segment.getTrg(), segment.getSrc(), cut);
        if (pSrc && pTrg) CUTT_cutTowards(pSrc, pTrg, cut);
    }
}

// ---------------------------------------------------------------------------------------------------------------------
// What is left to do with the edges

void Dt2::CUTT_flipDiagonals(Cut& cut) {
    cut.getTriangles(*this, vFlipStack_);
    while (!vFlipStack_.empty()) {
        Triangle2* pT = vFlipStack_.back();
        vFlipStack_.pop_back();
        for (int i = 0; i < 3; ++i) {
            if (!cut.isDiagonal(pT->getCorner(incIndexBy1(i)), pT->getCorner(incIndexBy2(i)))) continue;
            if (!flipUnlessDelaunay(pT, i)) continue;
            cut.sDiagonals.insert(pT->getCorner(0), pT->getCorner(2));  // the new edge
            break;
        }
    }
}

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
    if (!vPairs.empty()) pConstraintMgr_->createConstraint(vPairs, CIS_CONSTRAINED_DELAUNAY, true);
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
    CUTT_flipDiagonals(cut);
    CUTT_fixEdges(cut, bConstraints);
}

// ---------------------------------------------------------------------------------------------------------------------
// The cookie cutter

bool Dt2::isSimplePolygon(const std::vector<Segment2>& vSegments) {
    std::vector<Point2> vCorners;
    return getSimplePolygon(vSegments, vCorners);
}

Zone2* Dt2::createZone_cookieCutter(const std::vector<Segment2>& vSegments, bool bVerbose) {
    const QuietScope quiet(bVerbose);
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
    CUTT_flipDiagonals(cut);
    CUTT_fixEdges(cut, true);
    std::vector<Triangle2*> vInside;
    if (!CUTT_getInside(cut, vInside) && isInside(vSides, getOneValidTriangle()->getBarycenter(), geomTest_)) {
        getTrianglePointers(vInside);
    }
    // Beside a wall some triangles reach out of the polygon that are thinner than rounding.
    peelBorder(vInside, [&](const Triangle2* pT) { return isNeedleOut(pT, vSides, geomTest_); });
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
