#pragma once

#include "taro25d/SurfaceDifference.h"
#include "taro25d/export.h"

namespace LUMO_TARO25D {

class Zone2;

/// The volumes and areas of cut and fill between two surfaces, on the ground that both zones cover. It builds no mesh
/// and changes nothing, so it is many times faster than `CutAndFill`, which also gives the components with their
/// borders. The zones may be of different triangulations or of one.
///
/// Ground counts as unchanged wherever the heights differ by no more than the threshold, also in a part of a triangle
/// (not above 0, or NaN: no threshold); beyond it the whole difference counts. Differences that may be mere rounding
/// count as 0: up to 16 units in the last place of the heights, and of the coordinates times the slope.
///
/// Without a threshold the numbers are those of the components of `CutAndFill` to 1e-9 of their size, except where that
/// has merged places within 1e-6, or taken heights within 1e-4 for equal. numCPU is the number of threads: 0 for all of
/// the hardware, a negative number for one. The result does not depend on it. A zone that is null gives NaN for all
/// numbers, and zones without common ground give zeros, both with a warning. Listeners and cancel flags are those of
/// both triangulations. O(n + k) for n triangles of which k pairs overlap, plus the time to locate each triangle of the
/// larger zone in the other one; memory linear in the number of triangles.
TARO25D_API SurfaceDifference compareSurfaces(const Zone2* pBefore, const Zone2* pAfter, double ignoreThreshold,
                                              int numCPU = 1);

}  // namespace LUMO_TARO25D
