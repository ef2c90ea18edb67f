// Queries: location, heights, neighbourhoods, the hull.
//
// Location walks over orientation tests from a triangle that stands near the point on the Hilbert curve, so
// it takes O(log n) for the start and a constant expected number of steps. Everything around a vertex is a
// rotation through the neighbour links: counterclockwise, with a jump over the gap at a hull vertex.
//
// Outside the hull the height at a place is that of the nearest hull point. This lies on one of the hull edges that are
// visible from the place, which form one chain around the edge at which the walk ended.
//
// No query changes the mesh. Queries that take a point use predicates of their own, whose static bound covers that
// point and whose scratch numbers no other thread uses.

#include "mesh/Dt2.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <iterator>

#include "kernel/angles.h"
#include "kernel/heights.h"
#include "kernel/links.h"
#include "kernel/tools.h"
#include "mesh/hullPatch.h"
#include "mesh/segmentWalk.h"
#include "mesh/walk.h"
#include "support/diagnostics.h"
#include "taro25d/TriangleAroundVertexIterator.h"
#include "taro25d/Vector2.h"
#include "taro25d/freeFunctions.h"

namespace LUMO_TARO25D {

namespace {

/// The ends of edge i.
const Point2& getSrc(const Triangle2& triangle, int i) { return *triangle.getCorner(incIndexBy1(i)); }
const Point2& getTrg(const Triangle2& triangle, int i) { return *triangle.getCorner(incIndexBy2(i)); }

/// The height of the nearest point on hull edges given as (triangle, index); false if it is farther than the tolerance.
bool getNearestHeight(const std::vector<std::pair<Triangle2*, int>>& vHullEdges, const Point2& place, double tolerance,
                      double& height) {
    double bestDistance = tolerance;
    bool bFound = false;
    const auto offer = [&](const Point2& candidate) {
        const double distance = distance2D(place, candidate);
        if (!(distance <= bestDistance)) return;
        bestDistance = distance;
        height = candidate.z();
        bFound = true;
    };
    for (const auto& [pT, i] : vHullEdges) {
        const Point2 &src = getSrc(*pT, i), &trg = getTrg(*pT, i);
        const Point2 foot = getFootPoint(place, src, trg);
        if (approxHasOn(src, trg, foot)) offer(foot);
        offer(src);
        offer(trg);
    }
    return bFound;
}

void getLeftmostHullEdge(const Dt2& mesh, Triangle2*& pStartT, int& startEdge) {
    std::vector<Point2*> vVertices;
    mesh.getVertexPointers(vVertices);
    const auto isLess = [](const Point2* p, const Point2* q) { return *p < *q; };
    const auto leftmost = std::min_element(vVertices.begin(), vVertices.end(), isLess);
    const Point2* pStartVtx = leftmost == vVertices.end() ? nullptr : *leftmost;
    TARO_ASSERT_TEXT(pStartVtx != nullptr, "pStartVtx!=__null");
    TARO_ASSERT_TEXT(pStartVtx->getIncidentTriangle() != nullptr, "pStartT!=__null");
    TriangleAroundVertexIterator it(pStartVtx);
    it.loop();
    pStartT = *it;
    const int axisIdx = pStartT->getIntraTriangleIndex(pStartVtx);
    startEdge = incIndexBy2(axisIdx);
    TARO_ASSERT_TEXT(pStartT->getOppositeTriangle(startEdge) == nullptr,
                     "pStartT->getOppositeTriangle(incIndexBy2(axisIdx))==__null");
}

void dropCollinear(std::vector<Point2*>& vRing, double magnitude) {
    const size_t n = vRing.size();
    GeomTest geomTest(magnitude);
    std::vector<Point2*> vSimplified;
    for (size_t i = 0; i <= n; ++i) {
        Point2* pVtx = vRing[i % n];
        const Orientation2 ori = geomTest.getOrientation2(vRing[(i + n - 1) % n], pVtx, vRing[(i + 1) % n]);
        if (ori != ORIENTATION2_COLLINEAR) vSimplified.push_back(pVtx);
    }
    // The ring begins at a true corner, which is now at both ends of the list.
    TARO_ASSERT_TEXT(!vSimplified.empty() && vSimplified[0] == vSimplified.back(),
                     "vSimplified[0]==vSimplified.back()");
    vSimplified.pop_back();
    vRing.swap(vSimplified);
}

/// The first triangle at the edge between two vertices that passes a test. The search turns around both ends in
/// parallel, so that the cost is that of the smaller degree.
template <class TestT>
Triangle2* findTriangleAtEdge(const Point2* p0, const Point2* p1, const TestT& test) {
    if (!p0 || !p1 || !p0->getIncidentTriangle() || !p1->getIncidentTriangle()) return nullptr;
    TriangleAroundVertexIterator it0(p0), it1(p1);
    const Triangle2 *const pFirst0 = *it0, *const pFirst1 = *it1;
    do {
        if ((*it0)->hasVertex(p1) && test(*it0)) return *it0;
        if ((*it1)->hasVertex(p0) && test(*it1)) return *it1;
        ++it0;
        ++it1;
    } while (*it0 != pFirst0 && *it1 != pFirst1);
    return nullptr;
}

}  // namespace

// ---------------------------------------------------------------------------------------------------------------------
// Location

double Dt2::getMagnitudeWith(const Point2& point) const {
    return std::max({getMagnitude(), std::abs(point.x()), std::abs(point.y())});
}

int Dt2::locateConflictTriangle(const Point2* p, Triangle2*& pT, int& idx) const {
    GeomTest geomTest(getMagnitude());
    return walk(p, pT, idx, geomTest);
}

int Dt2::walkTo(const Point2& point, Triangle2*& pT, GeomTest& geomTest) const {
    pT = vertexVault_.getCloseTriangle(point);
    int idx = -1;
    return walk(&point, pT, idx, geomTest);
}

Triangle2* Dt2::locate(const Point2& point) const {
    if (!is2D() || !vertexVault_.getInsertionBox().isInBox(point)) return nullptr;
    GeomTest geomTest(getMagnitudeWith(point));
    Triangle2* pT = nullptr;
    const int code = walkTo(point, pT, geomTest);
    if (code == CODE_INSIDE || code == CODE_DUPLICATE) return pT;
    const Orientation2 ori = geomTest.getOrientation2(&getSrc(*pT, code), &getTrg(*pT, code), &point);
    return ori == ORIENTATION2_CW ? nullptr : pT;
}

Point2* Dt2::getVertexPointer(const Point2& point) const {
    if (!is2D()) return vertexVault_.getVertexPointer(point);
    GeomTest geomTest(getMagnitudeWith(point));
    Triangle2* pT = nullptr;
    if (!vertexVault_.getInsertionBox().isInBox(point) || walkTo(point, pT, geomTest) != CODE_DUPLICATE) return nullptr;
    int i = 0;
    while (*pT->getCorner(i) != point) ++i;
    return pT->getCorner(i);
}

// ---------------------------------------------------------------------------------------------------------------------
// Heights

bool Dt2::getHeight(double x, double y, double& height, Triangle2* pApproxT, double tolerance) const {
    if (!is2D() || !std::isfinite(x) || !std::isfinite(y)) return false;
    const Point2 place(x, y, 0.0);
    if (pApproxT) return getHeightInTriangle(*pApproxT, place, height);
    if (const Triangle2* pT = locate(place)) return getHeightInside(*pT, place, height);
    return tolerance > 0.0 && getNearbyHeight(x, y, height, tolerance);
}

bool Dt2::getNearbyHeight(double x, double y, double& height, double tolerance) const {
    if (!is2D() || !std::isfinite(x) || !std::isfinite(y)) return false;
    const Bbox2& box = vertexVault_.getInsertionBox();
    const double distanceToBox = std::max({box.getMinX() - x, x - box.getMaxX(), box.getMinY() - y, y - box.getMaxY()});
    if (distanceToBox > tolerance) return false;
    const Point2 place(x, y, 0.0);
    GeomTest geomTest(getMagnitudeWith(place));
    Triangle2* pCurTriangle = nullptr;
    const int intState = walkTo(place, pCurTriangle, geomTest);
    TARO_ASSERT_TEXT(pCurTriangle != nullptr, "pCurTriangle!=__null");
    TARO_ASSERT_TEXT(intState > -1 && intState < 4, "intState>-1 && intState<4");
    std::vector<std::pair<Triangle2*, int>> vPatch{{pCurTriangle, intState}};
    determineHullPatchLeft(vPatch, pCurTriangle, intState, &place, geomTest);
    determineHullPatchRight(vPatch, pCurTriangle, intState, &place, geomTest);
    return getNearestHeight(vPatch, place, tolerance, height);
}

// ---------------------------------------------------------------------------------------------------------------------
// Around a vertex

Triangle2* Dt2::getAdjacentTriangle(Point2* p0, Point2* p1) const {
    TARO_ASSERT_TEXT(p0 != nullptr, "p0!=__null");
    TARO_ASSERT_TEXT(p1 != nullptr, "p1!=__null");
    TARO_ASSERT_TEXT(p0 != p1, "p0!=p1");
    return findTriangleAtEdge(
        p0, p1, [p0, p1](const Triangle2* pT) { return pT->getCorner(incIndexBy1(indexOfVertex(pT, p0))) == p1; });
}

bool Dt2::isEdge(Point2* p0, Point2* p1) const {
    return p0 != p1 && findTriangleAtEdge(p0, p1, [](const Triangle2*) { return true; }) != nullptr;
}

void Dt2::getIncidentVertices(Point2* pVtx, std::vector<Point2*>& vIncidentVertices) const {
    std::vector<Triangle2*> vIncidentT;
    getIncidentTriangles(pVtx, vIncidentT);
    std::vector<Point2*> vNeighbours;
    vNeighbours.reserve(2 * vIncidentT.size());
    for (const Triangle2* pT : vIncidentT) {
        const int k = pT->getIntraTriangleIndex(pVtx);
        vNeighbours.push_back(pT->getCorner(incIndexBy1(k)));
        vNeighbours.push_back(pT->getCorner(incIndexBy2(k)));
    }
    oneInstance(vNeighbours);
    vIncidentVertices.insert(vIncidentVertices.end(), vNeighbours.begin(), vNeighbours.end());
}

// ---------------------------------------------------------------------------------------------------------------------
// The hull

void Dt2::getConvexHull(bool bAllVertices, std::vector<Point2*>& vConvexHullPoints) const {
    std::vector<std::pair<Triangle2*, int>> vHullEdges;
    getConvexHull(vHullEdges);
    if (vHullEdges.empty()) return;
    std::vector<Point2*> vRing;
    vRing.reserve(vHullEdges.size());
    for (const auto& [pT, i] : vHullEdges) vRing.push_back(pT->getCorner(incIndexBy1(i)));
    if (!bAllVertices) dropCollinear(vRing, getMagnitude());
    vConvexHullPoints.insert(vConvexHullPoints.end(), vRing.begin(), vRing.end());
    TARO_ASSERT_TEXT(!vConvexHullPoints.empty(), "!vConvexHullPoints.empty()");
}

void Dt2::getConvexHull(std::vector<std::pair<Triangle2*, int>>& vHullEdges) const {
    if (!is2D()) {
        warning("Dt2::getConvexHull()", "is2D() is false, the triangulation is not full dimensional yet");
        return;
    }
    Triangle2* pStartT = nullptr;
    int startEdge = -1;
    getLeftmostHullEdge(*this, pStartT, startEdge);
    Triangle2* pT = pStartT;
    int i = startEdge;
    do {
        vHullEdges.emplace_back(pT, i);
        toNextHullEdge(pT, i);
    } while (pT != pStartT || i != startEdge);
}

void Dt2::getCZ(const Point2* p, const Point2* q, std::vector<Triangle2*>& vTriangles) const {
    GeomTest geomTest(getMagnitude());
    getCrossedTriangles(geomTest, p, q, vTriangles);
}

// ---------------------------------------------------------------------------------------------------------------------
// Statistics

void Dt2::statistics(const std::string& name) const {
    std::vector<Triangle2*> vTriangles;
    getTrianglePointers(vTriangles);
    Note report("Dt2::statistics()");
    report << name_ << "\n\n\n********* MESH STATISTICS (" << name << ") **********\n\n"
           << "Number of triangles: " << vTriangles.size() << "\n\n";
    printAngles(report.getStream(), analyzeAngles(vTriangles));
}

}  // namespace LUMO_TARO25D
