#pragma once

#include "taro25d/Point2.h"

namespace LUMO_TARO25D {

/// The centre of the circle through three points: each coordinate is the exact one, rounded once to nearest. False,
/// with x and y unchanged, where there is no such centre: the points are collinear, which is decided exactly, a
/// coordinate is not finite, or the centre is beyond the range of doubles. The order of the points does not matter.
bool getCircumcenter(const Point2& a, const Point2& b, const Point2& c, double& x, double& y);

}  // namespace LUMO_TARO25D
