#include <cmath>
#include <limits>
#include <string>
#include <vector>

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

namespace {

/// Appends the triangles of those parts outside a set that do not reach the hull and whose border is short enough.
void appendHoles(const Dt2& mesh, const std::vector<Triangle2*>& vInside, double maxPerimeter,
                 std::vector<Triangle2*>& vHoles) {
    AddressSet sInside = toSet(vInside);
    std::vector<Triangle2*> vOutside;
    mesh.forEachTriangle([&](Triangle2* pT) {
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
        vHoles.insert(vHoles.end(), component.getTriangles().begin(), component.getTriangles().end());
    }
}

}  // namespace

Zone2* Taro_2D::fillHoles(Zone2* pZone, double maxPerimeter) {
    const MessageScope scope(&pDt2_->getProgress());
    const auto refuse = [](const char* reason) {
        warning("Taro_2D::fillHoles()", std::string(reason) + ", returning NULL");
        return nullptr;
    };
    if (!pZone || !hasZone(*pDt2_, pZone)) return refuse("the zone is none of this triangulation");
    if (!(maxPerimeter >= 0.0)) return refuse("the perimeter is negative or no number");
    std::vector<Triangle2*> vTriangles, vHoles;
    pZone->getTriangles(vTriangles);
    if (vTriangles.empty()) return refuse("the zone has no triangles");
    appendHoles(*pDt2_, vTriangles, maxPerimeter, vHoles);
    ValleyOptimizer(*pDt2_, vHoles, 0.0, std::numeric_limits<double>::max()).run();
    vTriangles.insert(vTriangles.end(), vHoles.begin(), vHoles.end());
    return pDt2_->createZone(vTriangles);
}

}  // namespace LUMO_TARO25D
