#pragma once

#include "taro25d/Point2.h"
#include "taro25d/Triangle2.h"

namespace LUMO_TARO25D {

/// The height on the plane through the corners, right to 10^-9 of their height range for a place in the triangle, however
/// thin that is. Not finite where the corners are collinear, or a coordinate is not finite.
double getHeightOnPlane(const Triangle2& triangle, const Point2& place);

/// The height of the surface at a place in a triangle, within the range of the corners. False, and the middle of that range,
/// where the place is so far outside, or the corners are so collinear, that no height is a sound one.
bool getHeightInTriangle(const Triangle2& triangle, const Point2& place, double& height);

/// The same for a place that is known to lie in the triangle, border included: there always is a sound height, unless a
/// coordinate is not finite.
bool getHeightInside(const Triangle2& triangle, const Point2& place, double& height);

}  // namespace LUMO_TARO25D
