#include "zones/trimZone.h"

#include <utility>
#include <vector>

#include "kernel/flatSets.h"
#include "kernel/links.h"
#include "kernel/tools.h"
#include "mesh/Dt2.h"
#include "support/diagnostics.h"

namespace LUMO_TARO25D {

namespace {

constexpr const char* LOCATION = "Taro_2D::createZone_trimmed()";

/// Warns; returns null.
Zone2* refuse(const char* reason) {
    warning(LOCATION, reason);
    return nullptr;
}

/// The triangles to be removed. A stack holds the border edges; removing a triangle pushes its other edges.
AddressSet peel(Dt2& dt2, double maxEdgeLength) {
    AddressSet sPeeled;
    std::vector<std::pair<Triangle2*, int>> vBorder;
    dt2.getConvexHull(vBorder);
    while (!vBorder.empty()) {
        dt2.getProgress().throwIfStopped();
        const auto [pT, i] = vBorder.back();
        vBorder.pop_back();
        const double length = distance2D(*pT->getCorner(incIndexBy1(i)), *pT->getCorner(incIndexBy2(i)));
        if (!(length > maxEdgeLength) || dt2.isConstraint(pT, i) || !sPeeled.insert(pT)) continue;
        for (int k = 0; k < 3; ++k) {
            Triangle2* pN = pT->getOppositeTriangle(k);
            if (pN && !sPeeled.contains(pN)) vBorder.emplace_back(pN, indexOfNeighbour(pN, pT));
        }
    }
    return sPeeled;
}

}  // namespace

Zone2* trimZone(Dt2& dt2, double maxEdgeLength) {
    if (!dt2.is2D()) return refuse("is2D() is false, no zone");
    if (!(maxEdgeLength > 0.0)) return refuse("the limit is not greater than 0, no zone");
    AddressSet sPeeled = peel(dt2, maxEdgeLength);
    std::vector<Triangle2*> vLeft;
    dt2.forEachTriangle([&](Triangle2* pT) {
        if (!sPeeled.contains(pT)) vLeft.push_back(pT);
    });
    return vLeft.empty() ? refuse("no triangle is left, no zone") : dt2.createZone(vLeft);
}

}  // namespace LUMO_TARO25D
