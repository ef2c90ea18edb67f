#include "mesh/InnerVtxMgr.h"

#include <algorithm>
#include <vector>

#include "kernel/tolerances.h"
#include "kernel/tools.h"
#include "kernel/triangleLists.h"
#include "mesh/Dt2.h"

namespace LUMO_TARO25D {

std::vector<Point2*> getVerticesNearby(const Point2& center, Triangle2* pT, double sqRadius) {
    // A disc is connected, so the triangles that it touches are connected across edges that it touches.
    std::vector<Triangle2*> vTriangles{pT};
    AddressSet sMarked;
    sMarked.insert(vTriangles.front());
    const double sqReach = sqRadius * (1.0 + SEARCH_MARGIN);
    spread(vTriangles, 0, sMarked, [&](const Triangle2* pT, int i, const Triangle2*) {
        return sqDistanceToSegment2D(center, *pT->getCorner(incIndexBy1(i)), *pT->getCorner(incIndexBy2(i))) <= sqReach;
    });
    std::vector<Point2*> vVertices;
    getVertices(vTriangles, vVertices);
    sortByPlace(vVertices);
    return vVertices;
}

void InnerVtxMgr::addVtx(Point2* pVtx) {
    if (sInsertedInnerPoints_.insert(pVtx)) ++numInserted_;
}

void InnerVtxMgr::eraseVtx(Point2* pVtx) {
    if (numInserted_ > 0 && sInsertedInnerPoints_.erase(pVtx)) --numInserted_;
}

void InnerVtxMgr::removePreviouslyInsertedVertices(Point2* pCenter, double sqRadius, Dt2* pDt2) {
    if (numInserted_ == 0 || !pCenter->getIncidentTriangle()) return;
    for (Point2* pVtx : getVerticesNearby(*pCenter, pCenter->getIncidentTriangle(), sqRadius)) {
        if (!sInsertedInnerPoints_.contains(pVtx) || !(sqDistance2D(*pVtx, *pCenter) < sqRadius)) continue;
        eraseVtx(pVtx);
        if (!pDt2->isConstraintVertex(pVtx)) pDt2->remove(pVtx);
    }
}

void InnerVtxMgr::clear() {
    sInsertedInnerPoints_ = AddressSet();
    numInserted_ = 0;
}

void InnerVtxMgr::copyFrom(const InnerVtxMgr& other, const RecordCopies<Point2>& vertices) {
    other.sInsertedInnerPoints_.forEach([&](const void* pVtx) { addVtx(vertices(static_cast<const Point2*>(pVtx))); });
}

}  // namespace LUMO_TARO25D
