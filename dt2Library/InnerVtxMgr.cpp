#include "InnerVtxMgr.h"

#include <algorithm>
#include <vector>

#include "Dt2.h"
#include "spread.h"
#include "tools.h"

namespace LUMO_TARO25D {

namespace {

/// The squared distance in x-y from a point to the nearest point of a segment.
double sqDistanceToSegment(const Point2& p, const Point2& src, const Point2& trg) {
    const Vector2 direction = getVector2D(src, trg);
    const double sqLength = direction.sqLength();
    const double t = sqLength > 0.0 ? std::clamp(getVector2D(src, p) * direction / sqLength, 0.0, 1.0) : 0.0;
    return sqDistance2D(p, src + direction * t);
}

/// The corners of the triangles that a circle around a vertex touches, and perhaps a few more, each once, by coordinates.
/// The circle is in one piece, so these triangles hang together over edges that it touches.
std::vector<Point2*> getVerticesNearby(const Point2* pCenter, double sqRadius) {
    std::vector<Triangle2*> vTriangles{pCenter->getIncidentTriangle()};
    AddressSet sMarked;
    sMarked.insert(vTriangles.front());
    const double sqReach = sqRadius * (1.0 + 1e-9);
    spread(vTriangles, 0, sMarked, [&](const Triangle2* pT, int i, const Triangle2*) {
        return sqDistanceToSegment(*pCenter, *pT->getCorner(incIndexBy1(i)), *pT->getCorner(incIndexBy2(i))) <= sqReach;
    });
    std::vector<Point2*> vVertices;
    for (const Triangle2* pT : vTriangles) {
        for (int i = 0; i < 3; ++i) vVertices.push_back(pT->getCorner(i));
    }
    std::sort(vVertices.begin(), vVertices.end(), [](const Point2* p, const Point2* q) { return *p < *q; });
    vVertices.erase(std::unique(vVertices.begin(), vVertices.end()), vVertices.end());
    return vVertices;
}

}  // namespace

void InnerVtxMgr::addVtx(Point2* pVtx) {
    if (sInsertedInnerPoints_.insert(pVtx)) ++numInserted_;
}

void InnerVtxMgr::eraseVtx(Point2* pVtx) {
    if (numInserted_ > 0 && sInsertedInnerPoints_.erase(pVtx)) --numInserted_;
}

void InnerVtxMgr::removePreviouslyInsertedVertices(Point2* pCenter, double sqRadius, Dt2* pDt2) {
    if (numInserted_ == 0 || !pCenter->getIncidentTriangle()) return;
    for (Point2* pVtx : getVerticesNearby(pCenter, sqRadius)) {
        if (!sInsertedInnerPoints_.contains(pVtx) || !(sqDistance2D(*pVtx, *pCenter) < sqRadius)) continue;
        eraseVtx(pVtx);
        if (!pDt2->isConstraintVertex(pVtx)) pDt2->remove(pVtx);
    }
}

void InnerVtxMgr::clear() {
    sInsertedInnerPoints_ = AddressSet();
    numInserted_ = 0;
}

}  // namespace LUMO_TARO25D
