#pragma once

#include <vector>

#include "flatSets.h"
#include "taro25d/Triangle2.h"

namespace LUMO_TARO25D {

/// Spreads from the triangles of a list, from a place of it on, breadth first: appends every neighbour that has no mark yet,
/// over every edge i of a triangle pT of the list with mayCross(pT, i, neighbour). Those in the list have their marks.
template <class MayCrossT>
void spread(std::vector<Triangle2*>& vReached, size_t begin, AddressSet& sMarked, const MayCrossT& mayCross) {
    for (size_t k = begin; k < vReached.size(); ++k) {
        Triangle2* const pT = vReached[k];
        for (int i = 0; i < 3; ++i) {
            Triangle2* pN = pT->getOppositeTriangle(i);
            if (pN && !sMarked.contains(pN) && mayCross(pT, i, pN)) {
                sMarked.insert(pN);
                vReached.push_back(pN);
            }
        }
    }
}

/// The same from different triangles, over all edges that are not blocked.
inline void spread(const std::vector<Triangle2*>& vFrom, const EdgeSet& sBlocked, AddressSet& sMarked,
                   std::vector<Triangle2*>& vReached) {
    const size_t begin = vReached.size();
    for (Triangle2* pT : vFrom) {
        if (sMarked.insert(pT)) vReached.push_back(pT);
    }
    spread(vReached, begin, sMarked, [&sBlocked](const Triangle2* pT, int i, const Triangle2*) {
        return !sBlocked.contains(pT->getCorner(i == 2 ? 0 : i + 1), pT->getCorner(incIndexBy2(i)));
    });
}

}  // namespace LUMO_TARO25D
