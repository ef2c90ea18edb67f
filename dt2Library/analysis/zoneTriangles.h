#pragma once

#include <cstddef>
#include <vector>

#include "taro25d/Triangle2.h"

namespace LUMO_TARO25D {

class Zone2;

/// The triangles of a zone, in no particular order; faster than Zone2::getTriangles if the zone has all triangles.
std::vector<Triangle2*> getTrianglesOf(const Zone2& zone);

/// Prefetches triangles that come soon in a list, and the corners of triangles that come a little sooner, since a
/// corner's address must be read from its triangle first.
inline void prefetchTriangles(const std::vector<Triangle2*>& vTriangles, size_t k) {
    constexpr size_t AHEAD = 8;
    if (k + 2 * AHEAD >= vTriangles.size()) return;
    __builtin_prefetch(vTriangles[k + 2 * AHEAD]);
    for (int i = 0; i < 3; ++i) __builtin_prefetch(vTriangles[k + AHEAD]->getCorner(i));
}

/// The number of threads that a client asks for: n; for 0, the number of hardware threads; 1 for a negative number.
int getNumThreads(int numCPU);

}  // namespace LUMO_TARO25D
