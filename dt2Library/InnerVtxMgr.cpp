#include "InnerVtxMgr.h"

#include <algorithm>
#include <cmath>
#include <vector>

#include "Dt2.h"
#include "diagnostics.h"
#include "tools.h"

namespace LUMO_TARO25D {

void InnerVtxMgr::addVtx(Point2* pVtx) {
    if (sInsertedInnerPoints_.insert(pVtx).second) mmX2Vtx_.emplace(pVtx->x(), pVtx);
}

void InnerVtxMgr::eraseVtx(Point2* pVtx) {
    if (sInsertedInnerPoints_.erase(pVtx) == 0) return;
    const auto range = mmX2Vtx_.equal_range(pVtx->x());
    mmX2Vtx_.erase(std::find_if(range.first, range.second, [pVtx](const auto& pair) { return pair.second == pVtx; }));
}

void InnerVtxMgr::removePreviouslyInsertedVertices(Point2* pCenter, double sqRadius, Dt2* pDt2) {
    const double radius = std::sqrt(sqRadius);
    const auto end = mmX2Vtx_.upper_bound(pCenter->x() + radius);
    std::vector<Point2*> vInCircle;
    for (auto it = mmX2Vtx_.lower_bound(pCenter->x() - radius); it != end; ++it) {
        if (sqDistance2D(*it->second, *pCenter) < sqRadius) vInCircle.push_back(it->second);
    }
    for (Point2* pVtx : vInCircle) {
        const auto q_it = sInsertedInnerPoints_.find(pVtx);
        TARO_ASSERT_TEXT(q_it != sInsertedInnerPoints_.end(), "q_it!=sInsertedInnerPoints.end()");
        eraseVtx(pVtx);
        if (!pDt2->isConstraintVertex(pVtx)) pDt2->remove(pVtx);
    }
}

void InnerVtxMgr::clear() {
    sInsertedInnerPoints_.clear();
    mmX2Vtx_.clear();
}

}  // namespace LUMO_TARO25D
