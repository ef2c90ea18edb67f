// The cookie cutter: a zone of exactly the surface inside a polygon.
//
// The surface is cut along the sides, counterclockwise. The triangles on the left of the pieces are inside, with all
// triangles reached from them without crossing a piece. A side that leaves the hull ends at a vertex on or just inside
// the hull edge. Through the gap between such a vertex and the hull the search could pass around the end; so the
// triangles that the rest of the side crosses are blocked.

#include "zones/CookieCutter.h"

#include <algorithm>
#include <cmath>

#include "kernel/nearness.h"
#include "kernel/tolerances.h"
#include "kernel/tools.h"
#include "kernel/triangleLists.h"
#include "mesh/segmentWalk.h"
#include "support/diagnostics.h"
#include "support/stopping.h"
#include "taro25d/Zone2.h"
#include "taro25d/freeFunctions.h"
#include "zones/ConnectedComponent.h"
#include "zones/ZoneMgr.h"
#include "zones/simplePolygon.h"

namespace LUMO_TARO25D {

namespace {

constexpr const char* LOCATION = "Dt2::createZone_cookieCutter(..)";

/// Whether the area of triangles is, up to rounding, at most that of a polygon, and equal to it if the polygon lies on
/// the surface completely (bAll).
bool canBeInside(const std::vector<Triangle2*>& vTriangles, const std::vector<Point2>& vCorners, bool bAll) {
    double area = 0.0, wanted = 0.0, length = 0.0, resolution = 0.0;
    CancelPoint<> cancelPoint;
    for (const Triangle2* pT : vTriangles) {
        cancelPoint.pass();
        area += getArea2D(*pT->getCorner(0), *pT->getCorner(1), *pT->getCorner(2));
    }
    for (size_t k = 0; k < vCorners.size(); ++k) {
        const Point2 &p = vCorners[k], &q = vCorners[(k + 1) % vCorners.size()];
        wanted += 0.5 * crossProduct2D(getVector2D(vCorners[0], p), getVector2D(vCorners[0], q));
        length += distance2D(p, q);
        resolution = std::max(resolution, getResolution(p, q));
    }
    const double slack = MAX_AREA_ERROR * wanted + MAX_BORDER_ERROR * resolution * length;
    return !(area - wanted > slack) && (!bAll || !(wanted - area > slack));  // NaN, from an overflow, passes
}

/// A corner of a triangle that lies, within rounding, on the line from a vertex to a point outside the hull, and nearer
/// to that point; null if there is none.
Point2* findCornerBeside(const Triangle2* pT, const Point2* pVtx, const Point2& outside) {
    for (int k = 0; k < 3; ++k) {
        Point2* pCorner = pT->getCorner(k);
        if (pCorner == pVtx) continue;
        if (isNextTo(*pVtx, outside, *pCorner)) return pCorner;
        const Vector2 step = getVector2D(*pVtx, *pCorner), line = getVector2D(*pVtx, outside);
        if (isSamePlace(*pVtx, *pCorner) && step.x() * line.x() + step.y() * line.y() > 0.0) return pCorner;
    }
    return nullptr;
}

}  // namespace

Zone2* CookieCutter::cutOutZone(const std::vector<Segment2>& vSegments, bool bVerbose) {
    const QuietScope quiet(bVerbose);  // for warnings of the cut too
    ZoneMgr& zones = getZoneMgr(mesh_);
    if (!zones.canHaveZones(bVerbose)) return nullptr;
    std::vector<Point2> vCorners;
    if (!getSimplePolygon(vSegments, vCorners)) {
        if (bVerbose) warning(LOCATION, "the segments form no simple polygon");
        return nullptr;
    }
    std::vector<Segment2> vSides;
    for (size_t k = 0; k < vCorners.size(); ++k) vSides.emplace_back(vCorners[k], vCorners[(k + 1) % vCorners.size()]);
    cutter_.cut(vSides, true);
    std::vector<Triangle2*> vInside;
    if (!getInside(vInside) &&
        isInsidePolygon(vSides, mesh_.getOneValidTriangle()->getBarycenter(), mesh_.getGeomTest())) {
        mesh_.getTrianglePointers(vInside);
    }
    if (!canBeInside(vInside, vCorners, !cutter_.hasLeftHull())) {
        if (bVerbose) warning(LOCATION, "insufficient numeric accuracy, the cut does not enclose the polygon");
        return nullptr;
    }
    std::vector<Edge2> vBorderEdges;
    getBorderEdges(vInside, vBorderEdges);
    if (!vBorderEdges.empty()) return zones.createZone(vBorderEdges, ZL_BOUNDED, bVerbose);
    if (bVerbose) warning(LOCATION, "the polygon does not enclose any part of the surface");
    return nullptr;
}

/// Marks the triangles that the line of a segment crosses beyond its end near the hull, and blocks the edges that it
/// follows. As in the cut, the line goes through the vertices next to it: another side may end at the hull there.
void CookieCutter::closeGap(Point2* pVtx, const Point2& outside, AddressSet& sMarked, EdgeSet& sBlocked) const {
    for (AddressSet sPassed; pVtx && sPassed.insert(pVtx);) {
        Triangle2* pT = nullptr;
        int i = 0;
        Point2* pNext = leaveVertex(mesh_.getGeomTest(), pVtx, &outside, pT, i);
        if (!pNext && pT) pNext = findCornerBeside(pT, pVtx, outside);
        if (pNext) sBlocked.insert(pVtx, pNext);
        while (!pNext && pT) {
            sMarked.insert(pT);
            if (!pT->getOppositeTriangle(i)) return;
            const bool bCorner = crossEdge(mesh_.getGeomTest(), pVtx, &outside, pT, i) == ORIENTATION2_COLLINEAR;
            pNext = bCorner ? pT->getCorner(i) : findCornerBeside(pT, pVtx, outside);
            if (pNext) sMarked.insert(pT);
        }
        pVtx = pNext;
    }
}

/// Appends the triangles on the left of the pieces. False if no piece bounds anything: then all triangles are inside,
/// or none.
bool CookieCutter::getInside(std::vector<Triangle2*>& vTriangles) const {
    EdgeSet sBlocked;
    AddressSet sMarked;
    for (const auto& [pEnd, outside] : cutter_.getOpenEnds()) closeGap(pEnd, outside, sMarked, sBlocked);
    std::vector<DirectedEdge> vBorder;
    cutter_.getEdges().getDirectedPieces(vBorder);
    dropRetracedEdges(vBorder);  // also removes notches thinner than rounding
    std::vector<Triangle2*> vSeeds;
    for (const auto& [pSrc, pTrg] : vBorder) {
        sBlocked.insert(pSrc, pTrg);
        if (isSamePlace(*pSrc, *pTrg)) continue;  // its left side is a matter of rounding
        if (Triangle2* pT = mesh_.getAdjacentTriangle(pSrc, pTrg)) vSeeds.push_back(pT);
    }
    spread(vSeeds, sBlocked, sMarked, vTriangles);  // skips marked seeds
    return !vBorder.empty();
}

}  // namespace LUMO_TARO25D
