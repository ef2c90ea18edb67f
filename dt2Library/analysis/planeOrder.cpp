#include "analysis/planeOrder.h"

#include <algorithm>
#include <array>
#include <cstdint>

#include "kernel/triangleLists.h"
#include "support/stopping.h"
#include "taro25d/Zone2.h"
#include "vertices/HC2.h"
#include "vertices/KeyOrder.h"

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
    Lookout<> lookout;
    for (size_t k = 0; k < vComponent.size(); ++k) {
        lookout.look();
        for (int i = 0; i < 3; ++i) {
            Triangle2* pN = vComponent[k]->getOppositeTriangle(i);
            if (pN && sRemaining.erase(pN)) vComponent.push_back(pN);
        }
    }
    return vComponent;
}

/// The smallest one by isBefore. Few are compared: most have no corner that is as small as that of the smallest one so far.
Triangle2* getSmallest(const std::vector<Triangle2*>& vTriangles) {
    Triangle2* pSmallest = vTriangles[0];
    const Point2* pCorner = getSortedCorners(pSmallest)[0];
    Lookout<> lookout;
    for (Triangle2* pT : vTriangles) {
        lookout.look();
        if (*pCorner < *pT->getCorner(0) && *pCorner < *pT->getCorner(1) && *pCorner < *pT->getCorner(2)) continue;
        if (!isBefore(pT, pSmallest)) continue;
        pSmallest = pT;
        pCorner = getSortedCorners(pT)[0];
    }
    return pSmallest;
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
        std::sort(vTriangles.begin(), vTriangles.end(), lookingAt(isBefore));
    }
    return vTriangles;
}

void sortAlongCurve(std::vector<Triangle2*>& vTriangles) {
    const Bbox2 box = getBox(vTriangles);
    if (!box.isValid()) return;
    const HC2 curve(box.getMinX(), box.getMinY(), box.getMaxX(), box.getMaxY(), 32);
    const auto pointAt = [&vTriangles](size_t i) { return vTriangles[i]->getBarycenter(); };
    std::vector<KeyedIndex> vOrder(vTriangles.size());
    Lookout<> lookout;
    for (std::uint32_t i = 0; i < vOrder.size(); ++i) {
        lookout.look();
        const Point2 place = pointAt(i);
        vOrder[i] = {curve.iReset(place.x(), place.y()), i};
    }
    KeyOrder(pointAt).sort(vOrder.data(), vOrder.data() + vOrder.size());
    std::vector<Triangle2*> vSorted;
    vSorted.reserve(vTriangles.size());
    throwIfStopped();
    for (const KeyedIndex& entry : vOrder) vSorted.push_back(vTriangles[entry.index]);
    vTriangles.swap(vSorted);
}

std::vector<std::vector<Triangle2*>> getComponentsInPlaneOrder(const std::vector<Triangle2*>& vTriangles) {
    std::vector<Triangle2*> vStarts;
    AddressSet sRemaining = toSet(vTriangles);
    for (Triangle2* pT : vTriangles) {
        if (!sRemaining.contains(pT)) continue;
        vStarts.push_back(getSmallest(takeComponent(pT, sRemaining)));
    }
    std::sort(vStarts.begin(), vStarts.end(), lookingAt(isBefore));
    sRemaining = toSet(vTriangles);
    std::vector<std::vector<Triangle2*>> vvComponents;
    vvComponents.reserve(vStarts.size());
    for (Triangle2* pStart : vStarts) vvComponents.push_back(takeComponent(pStart, sRemaining));
    return vvComponents;
}

}  // namespace LUMO_TARO25D
