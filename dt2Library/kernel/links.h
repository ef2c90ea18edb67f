#pragma once

#include "kernel/tools.h"
#include "taro25d/Triangle2.h"
#include "taro25d/TriangleAroundVertexIterator.h"

namespace LUMO_TARO25D {

// Links between triangles, for inner loops. Unlike the members of Triangle2, these functions do not check that the
// corner or neighbour asked for is there.

/// The index of a corner of pT.
inline int indexOfVertex(const Triangle2* pT, const Point2* pVtx) {
    const int i = static_cast<int>(pT->getCorner(1) == pVtx) + 2 * static_cast<int>(pT->getCorner(2) == pVtx);
    if (i > 2) __builtin_unreachable();
    return i;
}

/// The index under which pT is linked in its neighbour pN.
inline int indexOfNeighbour(const Triangle2* pN, const Triangle2* pT) {
    return static_cast<int>(pN->getOppositeTriangle(1) == pT) + 2 * static_cast<int>(pN->getOppositeTriangle(2) == pT);
}

/// Links edge i of pT and the edge under which pOldT is linked in pN. A null neighbour is the hull.
inline void relink(Triangle2* pT, int i, Triangle2* pN, const Triangle2* pOldT) {
    pT->setOppositeTriangle(i, pN);
    if (pN) pN->setOppositeTriangle(indexOfNeighbour(pN, pOldT), pT);
}

inline void setTriangle(Triangle2* pT, Point2* p0, Point2* p1, Point2* p2) {
    pT->setCorner(0, p0);
    pT->setCorner(1, p1);
    pT->setCorner(2, p2);
}

inline void setNeighbours(Triangle2* pT, Triangle2* pAcross0, Triangle2* pAcross1, Triangle2* pAcross2) {
    pT->setOppositeTriangle(0, pAcross0);
    pT->setOppositeTriangle(1, pAcross1);
    pT->setOppositeTriangle(2, pAcross2);
}

/// Splits pT = (a, b, c) at a vertex v in it: pT becomes (v, a, b), and two given records become (v, b, c) and (v, c,
/// a).
inline void splitTriangle(Triangle2* pT, Point2* v, Triangle2* pBC, Triangle2* pCA) {
    Point2 *a = pT->getCorner(0), *b = pT->getCorner(1), *c = pT->getCorner(2);
    Triangle2 *pAcrossBC = pT->getOppositeTriangle(0), *pAcrossCA = pT->getOppositeTriangle(1),
              *pAcrossAB = pT->getOppositeTriangle(2);
    relink(pBC, 0, pAcrossBC, pT);
    relink(pCA, 0, pAcrossCA, pT);
    setTriangle(pT, v, a, b);
    setNeighbours(pT, pAcrossAB, pBC, pCA);
    setTriangle(pBC, v, b, c);
    setNeighbours(pBC, pAcrossBC, pCA, pT);
    setTriangle(pCA, v, c, a);
    setNeighbours(pCA, pAcrossCA, pT, pBC);
    v->setIncidentTriangle(pT);
    a->setIncidentTriangle(pT);
    b->setIncidentTriangle(pT);
    c->setIncidentTriangle(pCA);
}

/// Undoes splitTriangle; the vertex has no triangle afterwards.
inline void unsplitTriangle(Triangle2* pT, Point2* v, Triangle2* pBC, Triangle2* pCA) {
    Point2 *a = pT->getCorner(1), *b = pT->getCorner(2), *c = pBC->getCorner(2);
    Triangle2* pAcrossAB = pT->getOppositeTriangle(0);
    setTriangle(pT, a, b, c);
    relink(pT, 0, pBC->getOppositeTriangle(0), pBC);
    relink(pT, 1, pCA->getOppositeTriangle(0), pCA);
    pT->setOppositeTriangle(2, pAcrossAB);
    v->setIncidentTriangle(nullptr);
    a->setIncidentTriangle(pT);
    b->setIncidentTriangle(pT);
    c->setIncidentTriangle(pT);
}

/// The flip of edge i of pT, whose neighbour pN has it as edge j: (a, b, c) and (d, c, b) become (a, b, d)
/// and (a, d, c).
inline void flipEdge(Triangle2* pT, int i, Triangle2* pN, int j) {
    const int i1 = incIndexBy1(i), i2 = incIndexBy2(i), j1 = incIndexBy1(j), j2 = incIndexBy2(j);
    Point2 *a = pT->getCorner(i), *b = pT->getCorner(i1), *c = pT->getCorner(i2), *d = pN->getCorner(j);
    Triangle2 *pAcrossCA = pT->getOppositeTriangle(i1), *pAcrossAB = pT->getOppositeTriangle(i2);
    Triangle2 *pAcrossBD = pN->getOppositeTriangle(j1), *pAcrossDC = pN->getOppositeTriangle(j2);
    setTriangle(pT, a, b, d);
    relink(pT, 0, pAcrossBD, pN);
    pT->setOppositeTriangle(1, pN);
    pT->setOppositeTriangle(2, pAcrossAB);
    setTriangle(pN, a, d, c);
    pN->setOppositeTriangle(0, pAcrossDC);
    relink(pN, 1, pAcrossCA, pT);
    pN->setOppositeTriangle(2, pT);
    a->setIncidentTriangle(pN);
    b->setIncidentTriangle(pT);
    c->setIncidentTriangle(pN);
    d->setIncidentTriangle(pN);
}

/// Undoes the flip after which pT has edge 0 = (b, d): (a, b, d) and its neighbour (a, d, c) become (a, b, c) and (d,
/// c, b).
inline void unflipEdge(Triangle2* pT) {
    Triangle2* pN = pT->getOppositeTriangle(1);
    Point2 *b = pT->getCorner(1), *d = pT->getCorner(2), *c = pN->getCorner(2);
    Triangle2 *pAcrossBD = pT->getOppositeTriangle(0), *pAcrossDC = pN->getOppositeTriangle(0),
              *pAcrossCA = pN->getOppositeTriangle(1);
    pT->setCorner(2, c);
    pT->setOppositeTriangle(0, pN);
    relink(pT, 1, pAcrossCA, pN);
    setTriangle(pN, d, c, b);
    pN->setOppositeTriangle(0, pT);
    relink(pN, 1, pAcrossBD, pT);
    pN->setOppositeTriangle(2, pAcrossDC);
}

/// Goes from a hull edge to the next one counterclockwise, by turning around the vertex between them.
inline void toNextHullEdge(Triangle2*& pT, int& i) {
    i = incIndexBy1(i);
    while (Triangle2* pN = pT->getOppositeTriangle(i)) {
        i = incIndexBy1(indexOfNeighbour(pN, pT));
        pT = pN;
    }
}

inline void toPreviousHullEdge(Triangle2*& pT, int& i) {
    i = incIndexBy2(i);
    while (Triangle2* pN = pT->getOppositeTriangle(i)) {
        i = incIndexBy2(indexOfNeighbour(pN, pT));
        pT = pN;
    }
}

/// The first triangle around a vertex that passes the test; null if none does or the vertex has no triangles. The order
/// is that of TriangleAroundVertexIterator, without its calls.
template <class TestT>
Triangle2* findIncidentTriangle(const Point2* pVtx, const TestT& test) {
    Triangle2* const pFirst = pVtx ? pVtx->getIncidentTriangle() : nullptr;
    Triangle2* pT = pFirst;
    while (pT) {
        if (test(pT)) return pT;
        Triangle2* pNext = pT->getOppositeTriangle(incIndexBy1(indexOfVertex(pT, pVtx)));
        if (!pNext) {  // the hull: go on from its other side
            TriangleAroundVertexIterator it(pVtx);
            it.loop();
            pNext = *it;
        }
        pT = pNext == pFirst ? nullptr : pNext;
    }
    return nullptr;
}

}  // namespace LUMO_TARO25D
