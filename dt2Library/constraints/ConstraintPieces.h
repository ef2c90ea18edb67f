#pragma once

#include <algorithm>
#include <cstddef>
#include <utility>
#include <vector>

#include "kernel/flatSets.h"
#include "support/diagnostics.h"
#include "support/stopping.h"
#include "taro25d/ConstraintGraph2.h"
#include "taro25d/ConstraintSegment2.h"
#include "taro25d/freeFunctions.h"

namespace LUMO_TARO25D {

/// The ends of a segment, in an order that does not depend on addresses.
inline std::pair<Point2*, Point2*> getEndsByPlace(const ConstraintSegment2* pCSeg) {
    Point2 *pSrc = pCSeg->getSrc(), *pTrg = pCSeg->getTrg();
    return *pTrg < *pSrc ? std::pair(pTrg, pSrc) : std::pair(pSrc, pTrg);
}

/// Sorts segments, from index begin on, by the coordinates of their ends, so that no address matters.
inline void sortByPlace(std::vector<ConstraintSegment2*>& vCSegs, size_t begin = 0) {
    const auto first = vCSegs.begin() + static_cast<std::ptrdiff_t>(begin);
    const auto comesFirst = [](const ConstraintSegment2* a, const ConstraintSegment2* b) {
        const auto [a0, a1] = getEndsByPlace(a);
        const auto [b0, b1] = getEndsByPlace(b);
        return *a0 != *b0 ? *a0 < *b0 : *a1 < *b1;
    };
    constexpr std::ptrdiff_t MIN_LENGTH_TO_CANCEL = 1000;
    if (vCSegs.end() - first < MIN_LENGTH_TO_CANCEL) return std::sort(first, vCSegs.end(), comesFirst);
    std::sort(first, vCSegs.end(), withCancelPoints(comesFirst));
}

/// Appends a segment, or its alive leaves if it is dead, in an order that does not depend on addresses.
inline void appendAlivePieces(ConstraintSegment2* pCSeg, std::vector<ConstraintSegment2*>& vPieces) {
    if (pCSeg->isAlive()) {
        vPieces.push_back(pCSeg);
        return;
    }
    ConstraintSegment2 *pChild0 = nullptr, *pChild1 = nullptr;
    Point2* pSplit = nullptr;
    pCSeg->getChildrenAndSplitPoint(pChild0, pChild1, pSplit);
    const size_t begin = vPieces.size();
    if (pChild0 && pChild0->isAlive() && pChild1->isAlive()) {  // as after each split
        vPieces.insert(vPieces.end(), {pChild0, pChild1});
    } else {
        pCSeg->getChildrenRec(vPieces);
    }
    sortByPlace(vPieces, begin);
}

/// The alive pieces of graphs, as edges.
inline EdgeSet getAlivePieces(const std::vector<ConstraintGraph2*>& vGraphs) {
    std::vector<ConstraintSegment2*> vCSegs;
    for (const ConstraintGraph2* pGraph : vGraphs) pGraph->getChildConstraintSegments(vCSegs);
    EdgeSet sPieces;
    for (const ConstraintSegment2* pCSeg : vCSegs) sPieces.insert(pCSeg->getSrc(), pCSeg->getTrg());
    return sPieces;
}

/// The older of two segments, and the younger; of two pieces of one segment the first argument counts as the older.
inline std::pair<const ConstraintSegment2*, const ConstraintSegment2*> orderByAge(const ConstraintSegment2* pFirst,
                                                                                  const ConstraintSegment2* pSecond) {
    return pSecond->getAge() < pFirst->getAge() ? std::pair(pSecond, pFirst) : std::pair(pFirst, pSecond);
}

/// The height of a segment at a place next to it. It does not depend on the order of the ends, which is that of
/// addresses.
inline double getHeightOn(const Point2& end0, const Point2& end1, double x, double y) {
    const auto& [low, high] = std::minmax(end0, end1);
    return getZOnSegment(low, high, x, y);
}

/// Warns that rounding keeps a segment from becoming edges, so that the rest of it is given up.
inline void warnOfInaccuracy() {
    warning("ConstraintMgr::apply()", "insufficient numeric accuracy, need to skip last insertions");
}

}  // namespace LUMO_TARO25D
