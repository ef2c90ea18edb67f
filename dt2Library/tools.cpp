#include "tools.h"

#include <cmath>

namespace LUMO_TARO25D {

double getBinaryScale(const Vector2& v) {
    const double magnitude = std::max({std::abs(v.x()), std::abs(v.y()), std::abs(v.z())});
    return magnitude > 0.0 ? std::ldexp(1.0, std::ilogb(magnitude)) : 1.0;
}

bool approxHasOn(const Point2& a, const Point2& b, const Point2& point) {
    const double length = distance2D(a, b);
    return distance2D(point, a) <= length && distance2D(point, b) <= length;
}

}  // namespace LUMO_TARO25D
