#include "constraints/ConformingPieces.h"

#include <algorithm>

namespace LUMO_TARO25D {

void ConformingPieces::takeSuspects(std::vector<ConstraintSegment2*>& vTaken) {
    vTaken.clear();
    vTaken.swap(vSuspects_);
    const auto isForgotten = [this](const ConstraintSegment2* pCSeg) { return !sSuspects_.erase(pCSeg); };
    vTaken.erase(std::remove_if(vTaken.begin(), vTaken.end(), isForgotten), vTaken.end());
}

void ConformingPieces::forget(const ConstraintSegment2* pCSeg) {
    sSuspects_.erase(pCSeg);
    mNumHalvings_.erase(pCSeg);
}

void ConformingPieces::noteHalving(ConstraintSegment2* pParent) {
    ConstraintSegment2 *pChild0 = nullptr, *pChild1 = nullptr;
    Point2* pSplit = nullptr;
    pParent->getChildrenAndSplitPoint(pChild0, pChild1, pSplit);
    const unsigned numHalvings = getNumHalvings(pParent) + 1;
    // A child that existed before keeps its number.
    mNumHalvings_.add(pChild0, numHalvings);
    mNumHalvings_.add(pChild1, numHalvings);
}

void ConformingPieces::copyFrom(const ConformingPieces& other, const PointerMap<ConstraintSegment2*>& mSegments) {
    for (const ConstraintSegment2* pCSeg : other.vSuspects_) {
        if (other.sSuspects_.contains(pCSeg)) suspect(*mSegments.find(pCSeg));
    }
    other.mNumHalvings_.forEach(
        [&](const void* pCSeg, unsigned numHalvings) { mNumHalvings_.add(*mSegments.find(pCSeg), numHalvings); });
}

}  // namespace LUMO_TARO25D
