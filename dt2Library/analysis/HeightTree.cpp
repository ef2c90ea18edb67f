#include "analysis/HeightTree.h"

#include <algorithm>

#include "kernel/tools.h"
#include "support/stopping.h"

namespace LUMO_TARO25D {

namespace {

bool isUsable(const Triangle2* pT) {
    const auto isUsableCorner = [pT](int i) { return pT->getCorner(i) && isFinite(*pT->getCorner(i)); };
    return pT && isUsableCorner(0) && isUsableCorner(1) && isUsableCorner(2);
}

}  // namespace

HeightTree::HeightTree(const std::vector<Triangle2*>& vTriangles) {
    vLeaves_.reserve(vTriangles.size());
    CancelPoint<> cancelPoint;
    for (Triangle2* pT : vTriangles) {
        cancelPoint.pass();
        if (!isUsable(pT)) continue;
        const auto [minZ, maxZ] = std::minmax({pT->getCorner(0)->z(), pT->getCorner(1)->z(), pT->getCorner(2)->z()});
        vLeaves_.push_back({minZ, maxZ, pT});
    }
    std::sort(vLeaves_.begin(), vLeaves_.end(),
              withCancelPoints([](const Leaf& a, const Leaf& b) { return a.minZ < b.minZ; }));
    vMaxZ_.resize(vLeaves_.size());
    if (!isEmpty()) computeMax(0, vLeaves_.size());
}

double HeightTree::computeMax(size_t begin, size_t end) {
    if (end - begin < 2) return vLeaves_[begin].maxZ;
    const size_t middle = middleOf(begin, end);
    return vMaxZ_[middle] = std::max(computeMax(begin, middle), computeMax(middle, end));
}

void HeightTree::collect(size_t begin, size_t end, double height, std::vector<Triangle2*>& vT) const {
    if (!(vLeaves_[begin].minZ <= height && height <= getMaxOf(begin, end))) return;
    if (end - begin < 2) {
        vT.push_back(vLeaves_[begin].pT);
    } else {
        collect(begin, middleOf(begin, end), height, vT);
        collect(middleOf(begin, end), end, height, vT);
    }
}

}  // namespace LUMO_TARO25D
