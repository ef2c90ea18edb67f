#include "analysis/HullChains.h"

#include <algorithm>

#include "kernel/tools.h"
#include "mesh/Dt2.h"

namespace LUMO_TARO25D {

/// getConvexHull starts at the westernmost vertex and goes counterclockwise.
HullChains::HullChains(const Dt2& dt2) {
    std::vector<std::pair<Triangle2*, int>> vHullEdges;
    dt2.getConvexHull(vHullEdges);
    for (const auto& [pT, i] : vHullEdges) {
        const Point2 &src = *pT->getCorner(incIndexBy1(i)), &trg = *pT->getCorner(incIndexBy2(i));
        const bool bSouth = src.x() < trg.x() || (src.x() == trg.x() && vNorth_.empty());
        (bSouth ? vSouth_ : vNorth_)
            .push_back({std::min(src.x(), trg.x()), std::max(src.x(), trg.x()), std::min(src.y(), trg.y()),
                        std::max(src.y(), trg.y()), pT});
    }
    std::reverse(vNorth_.begin(), vNorth_.end());
}

void HullChains::getNear(const Bbox2& box, std::vector<Triangle2*>& vTriangles) const {
    addNear(vSouth_, box, vTriangles);
    addNear(vNorth_, box, vTriangles);
}

void HullChains::addNear(const std::vector<HullEdge>& vChain, const Bbox2& box, std::vector<Triangle2*>& vTriangles) {
    auto it = std::partition_point(vChain.begin(), vChain.end(),
                                   [&box](const HullEdge& edge) { return edge.maxX < box.getMinX(); });
    for (; it != vChain.end() && it->minX <= box.getMaxX(); ++it) {
        if (it->minY <= box.getMaxY() && it->maxY >= box.getMinY()) vTriangles.push_back(it->pT);
    }
}

}  // namespace LUMO_TARO25D
