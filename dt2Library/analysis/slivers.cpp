#include "analysis/slivers.h"

#include <algorithm>
#include <cmath>
#include <utility>

#include "kernel/flatSets.h"
#include "kernel/tolerances.h"
#include "kernel/tools.h"
#include "kernel/triangleLists.h"
#include "mesh/Dt2.h"
#include "mesh/hullPatch.h"
#include "taro25d/Edge2.h"
#include "taro25d/freeFunctions.h"
#include "zones/ConnectedComponent.h"

namespace LUMO_TARO25D {

namespace {

/// The smallest height of a triangle in x-y.
double getWidth(const Triangle2* pT) {
    const double area = getArea2D(*pT->getCorner(0), *pT->getCorner(1), *pT->getCorner(2));
    return 2.0 * area / std::sqrt(pT->getMaxSqEdgeLen2D());
}

double sqDistance(const Point2& point, const Edge2& edge) {
    return sqDistanceToSegment2D(point, *edge.getSrc(), *edge.getTrg());
}

}  // namespace

bool isSliver(const Triangle2* pT) {
    return getWidth(pT) < std::min(MIN_SLIVER_WIDTH, MAX_SLIVER_RATIO * std::sqrt(pT->getMaxSqEdgeLen2D()));
}

double getRoundingDistance(const Bbox2& box) {
    const double extent = std::max(box.getMaxX() - box.getMinX(), box.getMaxY() - box.getMinY());
    return std::max(WELDING_DISTANCE * getMagnitude(box), NEGLIGIBLE_WIDTH * extent);
}

double getClearance(double magnitude) {
    return std::max(MIN_SLIVER_WIDTH, 4.0 * END_ZONE * magnitude);  // either segment may be bent, on both sides
}

void peelSlivers(std::vector<Triangle2*>& vTriangles) {
    const double minWidth = getRoundingDistance(getBox(vTriangles));
    peelBorder(vTriangles, [minWidth](const Triangle2* pT) { return getWidth(pT) < minWidth; });
}

Triangle2* getNearestHullTriangle(const Dt2& dt2, const Point2& point) {
    Triangle2* pT = dt2.getOneValidTriangle();
    int idx = -1;
    const int code = dt2.locateConflictTriangle(&point, pT, idx);
    if (code < 0 || code > 2) return pT;
    GeomTest geomTest(dt2.getMagnitude());
    std::vector<std::pair<Triangle2*, int>> vPatch{{pT, code}};
    determineHullPatchLeft(vPatch, pT, code, &point, geomTest);
    determineHullPatchRight(vPatch, pT, code, &point, geomTest);
    const auto isNearer = [&point](const auto& a, const auto& b) {
        return sqDistance(point, Edge2(a.first, a.second)) < sqDistance(point, Edge2(b.first, b.second));
    };
    return std::min_element(vPatch.begin(), vPatch.end(), isNearer)->first;
}

Triangle2* leaveSlivers(Triangle2* pT, const Point2& point) {
    std::vector<Triangle2*> vSlivers{pT};
    Triangle2* pNearest = pT;
    double sqNearest = 4.0 * MIN_SLIVER_WIDTH * MIN_SLIVER_WIDTH;
    AddressSet sSeen;
    sSeen.insert(pT);
    for (size_t k = 0; k < vSlivers.size() && isSliver(pT); ++k) {
        for (int i = 0; i < 3; ++i) {
            Triangle2* pN = vSlivers[k]->getOppositeTriangle(i);
            const double sqToEdge = sqDistance(point, Edge2(vSlivers[k], i));
            if (!pN || sqToEdge >= sqNearest || !sSeen.insert(pN)) continue;
            if (isSliver(pN)) {
                vSlivers.push_back(pN);
            } else {
                pNearest = pN;
                sqNearest = sqToEdge;
            }
        }
    }
    return pNearest;
}

}  // namespace LUMO_TARO25D
