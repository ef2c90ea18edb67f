#pragma once

#include <vector>

#include "taro25d/Triangle2.h"

namespace LUMO_TARO25D {

class Zone2;

/// The triangles of a zone, in no particular order; faster than asking the zone where it has all triangles.
std::vector<Triangle2*> getTrianglesOf(const Zone2& zone);

/// The number of threads that a client asks for: n, or for 0 as many as the hardware has, or 1 for less.
int getNumThreads(int numCPU);

}  // namespace LUMO_TARO25D
