#include "taro25d/TriangleAroundVertexIterator.h"

#include "kernel/tools.h"
#include "taro25d/Point2.h"
#include "taro25d/TaroException.h"

namespace LUMO_TARO25D {

namespace {

// With the vertex at corner k, edge k+1 runs from corner k+2 to the vertex and edge k+2 from the vertex to corner k+1.

Triangle2* getCounterclockwiseNeighbour(const Triangle2* pT, const Point2* pVtx) {
    return pT->getOppositeTriangle(incIndexBy1(pT->getIntraTriangleIndex(pVtx)));
}

Triangle2* getClockwiseNeighbour(const Triangle2* pT, const Point2* pVtx) {
    return pT->getOppositeTriangle(incIndexBy2(pT->getIntraTriangleIndex(pVtx)));
}

}  // namespace

TriangleAroundVertexIterator::TriangleAroundVertexIterator(const Point2* pVtx)
    : pVtx_(pVtx), pCurrentT_(pVtx ? pVtx->getIncidentTriangle() : nullptr) {
    if (!pCurrentT_) throw TaroException();
}

TriangleAroundVertexIterator& TriangleAroundVertexIterator::operator++() {
    if (Triangle2* pNext = getCounterclockwiseNeighbour(pCurrentT_, pVtx_)) {
        pCurrentT_ = pNext;
    } else {
        loop();
    }
    return *this;
}

TriangleAroundVertexIterator& TriangleAroundVertexIterator::operator--() {
    if (Triangle2* pPrevious = getClockwiseNeighbour(pCurrentT_, pVtx_)) {
        pCurrentT_ = pPrevious;
    } else {
        while (Triangle2* pNext = getCounterclockwiseNeighbour(pCurrentT_, pVtx_)) pCurrentT_ = pNext;
    }
    return *this;
}

void TriangleAroundVertexIterator::loop() {
    Triangle2* const pStart = pCurrentT_;
    while (Triangle2* pPrevious = getClockwiseNeighbour(pCurrentT_, pVtx_)) {
        pCurrentT_ = pPrevious;
        if (pCurrentT_ == pStart) return;
    }
}

}  // namespace LUMO_TARO25D
