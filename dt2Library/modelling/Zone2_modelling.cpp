#include <cmath>
#include <limits>

#include "kernel/flatSets.h"
#include "kernel/tools.h"
#include "kernel/triangleLists.h"
#include "mesh/EngineCall.h"
#include "modelling/ValleyOptimizer.h"
#include "support/diagnostics.h"
#include "taro25d/Edge2.h"
#include "taro25d/Taro_2D.h"
#include "taro25d/Zone2.h"
#include "zones/ConnectedComponent.h"
#include "zones/ZoneMgr.h"

namespace LUMO_TARO25D {

void Zone2::optimizeValleysAndRidges(double minAngleDegree, double maxHeightChange) {
    const MessageScope scope(&pDt2_->getProgress());
    if (!(minAngleDegree >= 0.0) || !(maxHeightChange >= 0.0)) {
        warning("Zone2::optimizeValleysAndRidges()", "a limit is negative or no number, nothing is flipped");
        return;
    }
    std::vector<Triangle2*> vTriangles;
    getTriangles(vTriangles);
    ValleyOptimizer(*pDt2_, vTriangles, minAngleDegree, maxHeightChange).run();
}

void Zone2::slopeValleyRidgeOptimization() {
    constexpr double MIN_ANGLE_DEGREE = 5.0;
    optimizeValleysAndRidges(MIN_ANGLE_DEGREE, std::numeric_limits<double>::max());
}

void Zone2::unifyGrid(double size) {
    const MessageScope scope(&pDt2_->getProgress());
    if (!(size > 0.0) || !std::isfinite(size)) {
        warning("Zone2::unifyGrid()", "the size is not greater than 0, or not finite, nothing is changed");
        return;
    }
    std::vector<Point2*> vVertices;
    getVertices(vVertices);
    for (Point2* pVtx : vVertices) {
        const double height = std::round(pVtx->z() / size) * size;
        if (std::isfinite(height)) pVtx->set(pVtx->x(), pVtx->y(), height);
    }
}

Zone2* Taro_2D::fillHoles(Zone2* pZone, double maxPerimeter) {
    const MessageScope scope(&pDt2_->getProgress());
    if (!pZone || !hasZone(*pDt2_, pZone) || !(maxPerimeter >= 0.0)) {
        warning("Taro_2D::fillHoles()",
                "the zone is none of this triangulation, or the perimeter is negative or no "
                "number, returning NULL");
        return nullptr;
    }
    std::vector<Triangle2*> vTriangles, vOutside;
    pZone->getTriangles(vTriangles);
    if (vTriangles.empty()) {
        warning("Taro_2D::fillHoles()", "the zone has no triangles, returning NULL");
        return nullptr;
    }
    AddressSet sInside = toSet(vTriangles);
    pDt2_->forEachTriangle([&](Triangle2* pT) {
        if (!sInside.contains(pT)) vOutside.push_back(pT);
    });
    std::vector<ConnectedComponent> vComponents;
    getConnectedComponents(vOutside, vComponents);
    for (const ConnectedComponent& component : vComponents) {
        double perimeter = 0.0;
        bool bHole = true;
        for (const Edge2& edge : component.getUnsortedBorders()) {
            bHole = bHole && edge.getTriangle()->getOppositeTriangle(edge.getIndex());
            perimeter += distance2D(*edge.getSrc(), *edge.getTrg());
        }
        if (!bHole || perimeter > maxPerimeter) continue;
        vTriangles.insert(vTriangles.end(), component.getTriangles().begin(), component.getTriangles().end());
    }
    return pDt2_->createZone(vTriangles, false);
}

}  // namespace LUMO_TARO25D
