#pragma once

#include <vector>

#include "taro25d/Point2.h"

namespace LUMO_TARO25D {

/// Moves points, in x and y, onto points of a fixed list that are within a distance of them. Each fixed point attracts
/// one point at most, so that different points stay different. O(n log n).
void weld(const std::vector<Point2>& vFixed, double distance, std::vector<Point2>& vMoving);

}  // namespace LUMO_TARO25D
