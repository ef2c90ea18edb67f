#pragma once

#include "analysis/SurfacePart.h"
#include "support/Progress.h"
#include "taro25d/SurfaceDifference.h"

namespace LUMO_TARO25D {

/// As compareSurfaces(), for some triangles of two meshes, and without warnings. The magnitude is at least the largest
/// absolute coordinate of both: it bounds the rounding errors that count as no difference.
SurfaceDifference compareTriangles(const SurfacePart& before, const SurfacePart& after, double threshold,
                                   double magnitude, int numThreads, Progress& progress);

}  // namespace LUMO_TARO25D
