#pragma once

#include <cstddef>
#include <vector>

#include "taro25d/Triangle2.h"

namespace LUMO_TARO25D {

class Zone2;

/// The triangles of a zone, in no particular order; faster than asking the zone where it has all triangles.
std::vector<Triangle2*> getTrianglesOf(const Zone2& zone);

/// Asks for the memory of triangles that come soon in a list, and for that of their corners, to which the way is over two
/// addresses: when the loop over the list is there, so are they.
inline void prefetchTriangles(const std::vector<Triangle2*>& vTriangles, size_t k) {
    constexpr size_t AHEAD = 8;
    if (k + 2 * AHEAD >= vTriangles.size()) return;
    __builtin_prefetch(vTriangles[k + 2 * AHEAD]);
    for (int i = 0; i < 3; ++i) __builtin_prefetch(vTriangles[k + AHEAD]->getCorner(i));
}

/// The number of threads that a client asks for: n, or for 0 as many as the hardware has, or 1 for less.
int getNumThreads(int numCPU);

}  // namespace LUMO_TARO25D
