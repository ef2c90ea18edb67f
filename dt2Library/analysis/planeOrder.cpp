// Orders of triangles that depend on coordinates alone.
//
// Zones made by a rule list their triangles in such an order already; only results of Boolean operations are sorted
// here. Components are found with disjoint sets over the links between triangles. Only the smallest triangle of each is
// searched for, since it identifies the component. O(n log n) for sorting, almost linear for components.

#include "analysis/planeOrder.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <numeric>

#include "kernel/triangleLists.h"
#include "support/RecordMap.h"
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

/// By the corners, smallest first.
bool isBefore(const Triangle2* pA, const Triangle2* pB) {
    const auto aA = getSortedCorners(pA), aB = getSortedCorners(pB);
    return std::lexicographical_compare(aA.begin(), aA.end(), aB.begin(), aB.end(),
                                        [](const Point2* a, const Point2* b) { return *a < *b; });
}

/// Disjoint sets of numbers, with union (Tarjan 1975, with halved paths).
class DisjointSets {
  public:
    explicit DisjointSets(size_t n) : vParents_(n) { std::iota(vParents_.begin(), vParents_.end(), std::uint32_t(0)); }

    /// The smallest number of its set.
    std::uint32_t getFirst(std::uint32_t i) {
        for (; vParents_[i] != i; i = vParents_[i]) vParents_[i] = vParents_[vParents_[i]];
        return i;
    }
    void unite(std::uint32_t i, std::uint32_t j) {
        const auto [first, second] = std::minmax({getFirst(i), getFirst(j)});
        vParents_[second] = first;
    }

  private:
    std::vector<std::uint32_t> vParents_;
};

/// The smallest triangle by isBefore. Few are compared in full: most have no corner as small as that of the smallest
/// triangle so far.
std::vector<Triangle2*>::iterator findSmallest(std::vector<Triangle2*>& vTriangles) {
    auto smallest = vTriangles.begin();
    const Point2* pCorner = getSortedCorners(*smallest)[0];
    CancelPoint<> cancelPoint;
    for (auto it = vTriangles.begin(); it != vTriangles.end(); ++it) {
        cancelPoint.pass();
        const Triangle2* pT = *it;
        if (*pCorner < *pT->getCorner(0) && *pCorner < *pT->getCorner(1) && *pCorner < *pT->getCorner(2)) continue;
        if (!isBefore(pT, *smallest)) continue;
        smallest = it;
        pCorner = getSortedCorners(pT)[0];
    }
    return smallest;
}

}  // namespace

std::vector<Triangle2*> getTrianglesInPlaneOrder(const Zone2& zone) {
    std::vector<Triangle2*> vTriangles;
    zone.getTriangles(vTriangles);
    // Combined zones return their triangles in the order of addresses.
    const ZoneLocation zoneLoc = zone.getZoneLocation();
    if (zoneLoc >= ZL_RESULT_UNION && zoneLoc <= ZL_RESULT_SYMMETRIC_DIFFERENCE) {
        std::sort(vTriangles.begin(), vTriangles.end(), withCancelPoints(isBefore));
    }
    return vTriangles;
}

void sortAlongCurve(std::vector<Triangle2*>& vTriangles) {
    const Bbox2 box = getBox(vTriangles);
    if (!box.isValid()) return;
    const HC2 curve(box.getMinX(), box.getMinY(), box.getMaxX(), box.getMaxY(), 32);
    const auto pointAt = [&vTriangles](size_t i) { return vTriangles[i]->getBarycenter(); };
    std::vector<KeyedIndex> vOrder(vTriangles.size());
    CancelPoint<> cancelPoint;
    for (std::uint32_t i = 0; i < vOrder.size(); ++i) {
        cancelPoint.pass();
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
    // In the order of the list: if that is the order of the records, memory is read sequentially.
    RecordMap<Triangle2, std::uint32_t> mNumbers;  // from 1
    DisjointSets sets(vTriangles.size());
    CancelPoint<> cancelPoint;
    for (std::uint32_t k = 0; k < vTriangles.size(); ++k) {
        cancelPoint.pass();
        mNumbers[vTriangles[k]] = k + 1;
        for (int i = 0; i < 3; ++i) {
            const Triangle2* pN = vTriangles[k]->getOppositeTriangle(i);
            const std::uint32_t* pNumber = pN ? mNumbers.find(pN) : nullptr;
            if (pNumber && *pNumber != 0) sets.unite(*pNumber - 1, k);
        }
    }
    std::vector<std::uint32_t> vComponents(vTriangles.size());  // of the first number of each set
    std::vector<std::vector<Triangle2*>> vvComponents;
    for (std::uint32_t k = 0; k < vTriangles.size(); ++k) {
        cancelPoint.pass();
        const std::uint32_t first = sets.getFirst(k);
        if (first == k) {
            vComponents[k] = static_cast<std::uint32_t>(vvComponents.size());
            vvComponents.emplace_back();
        }
        vvComponents[vComponents[first]].push_back(vTriangles[k]);
    }
    for (auto& vComponent : vvComponents) std::iter_swap(vComponent.begin(), findSmallest(vComponent));
    std::sort(vvComponents.begin(), vvComponents.end(),
              [](const auto& vA, const auto& vB) { return isBefore(vA[0], vB[0]); });
    return vvComponents;
}

}  // namespace LUMO_TARO25D
