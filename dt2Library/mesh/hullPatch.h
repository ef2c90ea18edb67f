#pragma once

#include <utility>
#include <vector>

#include "kernel/GeomTest.h"
#include "kernel/links.h"
#include "kernel/tools.h"

namespace LUMO_TARO25D {

/// Appends the hull edges strictly visible from v, as long as they are, beginning one step after edge i of pT.
template <class Step>
void collectVisibleHullEdges(std::vector<std::pair<Triangle2*, int>>& vPatch, Triangle2* pT, int i, const Point2* v,
                             GeomTest& geomTest, Step step) {
    const auto isVisible = [&] {
        return geomTest.getOrientation2(pT->getCorner(incIndexBy1(i)), pT->getCorner(incIndexBy2(i)), v) ==
               ORIENTATION2_CW;
    };
    for (step(pT, i); isVisible(); step(pT, i)) vPatch.emplace_back(pT, i);
}

/// Append the hull edges strictly visible from v, in order away from hull edge idx of pT: clockwise along the hull
/// (Left, seen from v) or counterclockwise (Right). Edge idx itself is neither tested nor included.
inline void determineHullPatchLeft(std::vector<std::pair<Triangle2*, int>>& vPatch, Triangle2* pT, int idx,
                                   const Point2* v, GeomTest& geomTest) {
    collectVisibleHullEdges(vPatch, pT, idx, v, geomTest, toPreviousHullEdge);
}
inline void determineHullPatchRight(std::vector<std::pair<Triangle2*, int>>& vPatch, Triangle2* pT, int idx,
                                    const Point2* v, GeomTest& geomTest) {
    collectVisibleHullEdges(vPatch, pT, idx, v, geomTest, toNextHullEdge);
}

}  // namespace LUMO_TARO25D
