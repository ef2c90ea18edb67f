#pragma once

#include <string>
#include <vector>

#include "taro25d/Point2.h"

namespace models {

using Points = std::vector<LUMO_TARO25D::Point2>;

/// Models of a piece of ground with the limit at its points and everywhere: reports them, and draws how far each is
/// from the surface of all points.
void compareLimits(const Points& vPoints, double limit, const std::string& filename);

/// A surface of the contours of the ground: reports its flats and pits before and after its edges follow valleys and
/// ridges, and draws the flats of both, unless the name is empty.
void followValleys(const Points& vPoints, double interval, const std::string& filename);

}  // namespace models
