#pragma once

namespace LUMO_TARO25D {

/// How much earth was moved between two surfaces, and on how much ground. Volumes are in cubic units of the
/// coordinates, areas in square units and seen from above; none is negative.
struct SurfaceDifference {
    double cutVolume = 0.0;      ///< The volume that was taken away, where the surface before is higher.
    double fillVolume = 0.0;     ///< The volume that was added, where the surface after is higher.
    double cutArea = 0.0;        ///< The area of the ground that was lowered.
    double fillArea = 0.0;       ///< The area of the ground that was raised.
    double unchangedArea = 0.0;  ///< The area of the ground that is where it was.
};

}  // namespace LUMO_TARO25D
