#pragma once

#include "taro25d/Triangle2.h"
#include "taro25d/TriangleAroundVertexIterator.h"
#include "tools.h"

namespace LUMO_TARO25D {

// How triangles hang together, for the loops that live on it: unlike the members of Triangle2, these do not
// check that what is asked for is there.

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

/// Moves a hull edge to the next one counterclockwise, rotating around the vertex between them.
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

/// The first triangle around a vertex that passes the test; null if none does or the vertex has no triangles.
template <class TestT>
Triangle2* findIncidentTriangle(const Point2* pVtx, const TestT& test) {
    if (!pVtx || !pVtx->getIncidentTriangle()) return nullptr;
    TriangleAroundVertexIterator it(pVtx);
    Triangle2* const pFirst = *it;
    do {
        if (test(*it)) return *it;
        ++it;
    } while (*it != pFirst);
    return nullptr;
}

}  // namespace LUMO_TARO25D
