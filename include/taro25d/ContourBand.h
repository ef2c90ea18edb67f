#pragma once

#include <vector>

#include "taro25d/Point2.h"

namespace LUMO_TARO25D {

/// The ground between two levels, as polygons (see `IsoContours::getBands`).
struct ContourBand {
    double low = 0.0;   ///< The lower level, which belongs to the band; the lowest finite double below the first level.
    double high = 0.0;  ///< The upper level, which does not; the largest finite double above the last level.
    /// Rings; the first point is not repeated at the end. Outer ones run counterclockwise; each is followed by its
    /// holes, which run clockwise. z is the height of the surface.
    std::vector<std::vector<Point2>> vRings;
};

}  // namespace LUMO_TARO25D
