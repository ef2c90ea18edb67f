#pragma once

#include <vector>

#include "kernel/GeomTest.h"
#include "taro25d/Point2.h"
#include "taro25d/Segment2.h"

namespace LUMO_TARO25D {

/// Appends the corners of the polygon whose sides the segments are, in any order and direction, counterclockwise. False,
/// unless they are one ring that does not meet itself, to rounding: a corner next to another side meets it.
///
/// Decided by a triangulation of the ends that takes the segments one by one: none may be split. O(n log n).
bool getSimplePolygon(const std::vector<Segment2>& vSegments, std::vector<Point2>& vCorners);

/// Whether a point that is on none of the sides is inside a polygon: the number of sides to its right is odd.
bool isInsidePolygon(const std::vector<Segment2>& vSides, const Point2& point, GeomTest& geomTest);

}  // namespace LUMO_TARO25D
