#include "mesh/segmentWalk.h"

#include <limits>

#include "kernel/links.h"
#include "kernel/tools.h"
#include "support/diagnostics.h"

namespace LUMO_TARO25D {

namespace {

/// Beyond this number of triangles around a vertex, the triangle that a line enters is found from the other end.
constexpr int MANY_TRIANGLES = 16;

/// leaveVertex that tests at most numTriangles triangles; pT is null if the line enters none of these.
Point2* leaveVertexAmong(GeomTest& geomTest, const Point2* p, const Point2* q, int numTriangles, Triangle2*& pT,
                         int& i) {
    Point2* pOnPath = nullptr;
    bool bEnough = false;
    pT = findIncidentTriangle(p, [&](const Triangle2* pCandidate) {
        bEnough = numTriangles-- == 0;
        if (bEnough) return true;
        i = indexOfVertex(pCandidate, p);
        Point2 *a = pCandidate->getCorner(incIndexBy1(i)), *b = pCandidate->getCorner(incIndexBy2(i));
        if (a == q || b == q) {
            pOnPath = a == q ? a : b;
            return true;
        }
        const Orientation2 oriA = geomTest.getOrientation2(p, q, a), oriB = geomTest.getOrientation2(p, q, b);
        if (oriA == ORIENTATION2_COLLINEAR && oriB == ORIENTATION2_CCW) pOnPath = a;
        if (oriB == ORIENTATION2_COLLINEAR && oriA == ORIENTATION2_CW) pOnPath = b;
        return pOnPath || (oriA == ORIENTATION2_CW && oriB == ORIENTATION2_CCW);
    });
    if (bEnough) pT = nullptr;
    return pOnPath;
}

/// leaveTowardsVertex by following the line backwards, from q to p.
Point2* arriveFromVertex(GeomTest& geomTest, const Point2* p, const Point2* q, Triangle2*& pT, int& i) {
    for (;;) {
        Point2* pReached = leaveVertex(geomTest, q, p, pT, i);
        if (pReached == p) return const_cast<Point2*>(q);  // a vertex of the mesh
        while (!pReached) {
            if (crossEdge(geomTest, q, p, pT, i) == ORIENTATION2_COLLINEAR) pReached = pT->getCorner(i);
        }
        if (pReached == p) return nullptr;
        q = pReached;
    }
}

}  // namespace

Point2* leaveVertex(GeomTest& geomTest, const Point2* p, const Point2* q, Triangle2*& pT, int& i) {
    return leaveVertexAmong(geomTest, p, q, std::numeric_limits<int>::max(), pT, i);
}

Point2* leaveTowardsVertex(GeomTest& geomTest, const Point2* p, const Point2* q, Triangle2*& pT, int& i) {
    TARO_ASSERT_TEXT(p->getIncidentTriangle() != nullptr, "pSrc->getIncidentTriangle()!=__null");
    TARO_ASSERT_TEXT(q->getIncidentTriangle() != nullptr, "pTrg->getIncidentTriangle()!=__null");
    Point2* pOnPath = leaveVertexAmong(geomTest, p, q, MANY_TRIANGLES, pT, i);
    if (!pT) pOnPath = arriveFromVertex(geomTest, p, q, pT, i);
    TARO_ASSERT_TEXT(pT != nullptr, "pT!=__null");
    return pOnPath;
}

Orientation2 crossEdge(GeomTest& geomTest, const Point2* p, const Point2* q, Triangle2*& pT, int& i) {
    Triangle2* pN = pT->getOppositeTriangle(i);
    TARO_ASSERT_TEXT(pN != nullptr, "pN!=__null");
    const int j = indexOfNeighbour(pN, pT);
    const Point2* pFar = pN->getCorner(j);
    const Orientation2 ori = pFar == q ? ORIENTATION2_COLLINEAR : geomTest.getOrientation2(p, q, pFar);
    pT = pN;
    i = ori == ORIENTATION2_COLLINEAR ? j : ori == ORIENTATION2_CCW ? incIndexBy1(j) : incIndexBy2(j);
    return ori;
}

void getCrossedTriangles(GeomTest& geomTest, const Point2* p, const Point2* q, std::vector<Triangle2*>& vTriangles) {
    while (p != q) {
        Triangle2* pT = nullptr;
        int i = 0;
        const Point2* pReached = leaveTowardsVertex(geomTest, p, q, pT, i);
        while (!pReached) {
            vTriangles.push_back(pT);
            if (crossEdge(geomTest, p, q, pT, i) != ORIENTATION2_COLLINEAR) continue;
            vTriangles.push_back(pT);
            pReached = pT->getCorner(i);
        }
        p = pReached;
    }
}

}  // namespace LUMO_TARO25D
