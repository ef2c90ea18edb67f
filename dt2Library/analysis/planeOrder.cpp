#include "analysis/planeOrder.h"

#include <algorithm>
#include <array>

#include "kernel/triangleLists.h"
#include "taro25d/Zone2.h"

namespace LUMO_TARO25D {

namespace {

/// The corners, smallest first.
std::array<const Point2*, 3> getSortedCorners(const Triangle2* pT) {
    std::array<const Point2*, 3> aCorners{pT->getCorner(0), pT->getCorner(1), pT->getCorner(2)};
    std::sort(aCorners.begin(), aCorners.end(), [](const Point2* a, const Point2* b) { return *a < *b; });
    return aCorners;
}

/// The triangles that a list and its neighbours lead to among those that remain, breadth first; they remain no longer.
std::vector<Triangle2*> takeComponent(Triangle2* pStart, AddressSet& sRemaining) {
    std::vector<Triangle2*> vComponent{pStart};
    sRemaining.erase(pStart);
    for (size_t k = 0; k < vComponent.size(); ++k) {
        for (int i = 0; i < 3; ++i) {
            Triangle2* pN = vComponent[k]->getOppositeTriangle(i);
            if (pN && sRemaining.erase(pN)) vComponent.push_back(pN);
        }
    }
    return vComponent;
}

}  // namespace

bool isBefore(const Triangle2* pA, const Triangle2* pB) {
    const auto aA = getSortedCorners(pA), aB = getSortedCorners(pB);
    return std::lexicographical_compare(aA.begin(), aA.end(), aB.begin(), aB.end(),
                                        [](const Point2* a, const Point2* b) { return *a < *b; });
}

std::vector<Triangle2*> getTrianglesInPlaneOrder(const Zone2& zone) {
    std::vector<Triangle2*> vTriangles;
    zone.getTriangles(vTriangles);
    // Combined zones give them in the order of their addresses.
    const ZoneLocation zoneLoc = zone.getZoneLocation();
    if (zoneLoc >= ZL_RESULT_UNION && zoneLoc <= ZL_RESULT_SYMMETRIC_DIFFERENCE) {
        std::sort(vTriangles.begin(), vTriangles.end(), isBefore);
    }
    return vTriangles;
}

std::vector<std::vector<Triangle2*>> getComponentsInPlaneOrder(const std::vector<Triangle2*>& vTriangles) {
    std::vector<Triangle2*> vStarts;
    AddressSet sRemaining = toSet(vTriangles);
    for (Triangle2* pT : vTriangles) {
        if (!sRemaining.contains(pT)) continue;
        const std::vector<Triangle2*> vComponent = takeComponent(pT, sRemaining);
        vStarts.push_back(*std::min_element(vComponent.begin(), vComponent.end(), isBefore));
    }
    std::sort(vStarts.begin(), vStarts.end(), isBefore);
    sRemaining = toSet(vTriangles);
    std::vector<std::vector<Triangle2*>> vvComponents;
    vvComponents.reserve(vStarts.size());
    for (Triangle2* pStart : vStarts) vvComponents.push_back(takeComponent(pStart, sRemaining));
    return vvComponents;
}

}  // namespace LUMO_TARO25D
