#pragma once

#include "taro25d/SurfaceDifference.h"
#include "taro25d/export.h"

namespace LUMO_TARO25D {

class Zone2;

/// The volumes and areas of cut and fill between two surfaces, over the ground that both zones have. It builds no mesh and
/// changes nothing, so it is many times faster than `CutAndFill`, which also gives the components with their borders. The zones
/// may be of different triangulations or of one.
///
/// Ground counts as unchanged wherever the heights differ by no more than the threshold, also in a part of a triangle (not
/// above 0, or NaN: no threshold); beyond it the whole difference counts. Differences that rounding may have made are 0: up to
/// 16 units in the last place of the heights, and of the coordinates times the slope.
///
/// Without a threshold the numbers are those of the components of `CutAndFill` to 1e-9 of their size, where that has not made
/// places within 1e-6 one, or taken heights within 1e-4 for equal. They are the same for any number of threads (0: all that the
/// machine has). A zone that is null gives NaN for all of them, and zones that have no ground in common zeros, both with a
/// warning. Listeners and cancel flags are those of both triangulations. O(n + k) for n triangles of which k pairs overlap,
/// after each triangle of the zone that has more has found its place in the other; memory linear in the triangles.
TARO25D_API SurfaceDifference compareSurfaces(const Zone2* pBefore, const Zone2* pAfter, double ignoreThreshold,
                                              int numCPU = 1);

}  // namespace LUMO_TARO25D
