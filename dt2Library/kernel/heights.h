#pragma once

#include "taro25d/Point2.h"
#include "taro25d/Triangle2.h"

namespace LUMO_TARO25D {

/// The height on the plane through the corners. For a place in the triangle, however thin, the error is below 10^-9 of
/// the height range. Not finite where the corners are collinear or a coordinate is not finite.
double getHeightOnPlane(const Triangle2& triangle, const Point2& place);

/// The height of the surface at a place in or near a triangle, within the range of the corners. False, and the middle
/// of that range, if the place is too far outside, or the corners too nearly collinear, for a meaningful height.
bool getHeightInTriangle(const Triangle2& triangle, const Point2& place, double& height);

/// The height at a place that is known to lie in the triangle or on its border; false only if a coordinate is not
/// finite. On an edge it is that of the edge, whichever of its two triangles is asked.
bool getHeightInside(const Triangle2& triangle, const Point2& place, double& height);

/// The vertical distance of the segments a-b and c-d where they cross, with an error below 1e-13 of the ranges of their
/// heights, and rounding of the heights themselves. The ends of both must be finite and on different sides of the
/// other's line.
double getDistanceAtCrossing(const Point2& a, const Point2& b, const Point2& c, const Point2& d);

}  // namespace LUMO_TARO25D
