#pragma once

#include <cstddef>
#include <vector>

#include "taro25d/Triangle2.h"

namespace LUMO_TARO25D {

class Zone2;

/// The triangles of a zone, in no particular order; faster than Zone2::getTriangles if the zone has all triangles.
std::vector<Triangle2*> getTrianglesOf(const Zone2& zone);

/// The number of threads that a client asks for: n; for 0, the number of hardware threads; 1 for a negative number.
int getNumThreads(int numCPU);

}  // namespace LUMO_TARO25D
