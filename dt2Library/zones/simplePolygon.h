#pragma once

#include <vector>

#include "kernel/GeomTest.h"
#include "taro25d/Point2.h"
#include "taro25d/Segment2.h"

namespace LUMO_TARO25D {

/// Appends the corners, counterclockwise, of the polygon whose sides are the segments, given in any order and
/// direction. False unless they form one ring that does not meet itself; a corner within rounding of another side
/// counts as meeting it.
///
/// Decided by inserting the segments into a triangulation of their ends: none may be split. O(n log n).
bool getSimplePolygon(const std::vector<Segment2>& vSegments, std::vector<Point2>& vCorners);

/// Whether a point that is on no side is inside a polygon: a ray to its right crosses an odd number of sides.
bool isInsidePolygon(const std::vector<Segment2>& vSides, const Point2& point, GeomTest& geomTest);

}  // namespace LUMO_TARO25D
