#include "kernel/tools.h"

#include <cmath>

namespace LUMO_TARO25D {

double getBinaryScale(const Vector2& v) {
    const double magnitude = std::max({std::abs(v.x()), std::abs(v.y()), std::abs(v.z())});
    return magnitude > 0.0 ? std::ldexp(1.0, std::ilogb(magnitude)) : 1.0;
}

double getMagnitude(const Bbox2& box) {
    return std::max(
        {std::abs(box.getMinX()), std::abs(box.getMinY()), std::abs(box.getMaxX()), std::abs(box.getMaxY())});
}

double sqDistanceToSegment2D(const Point2& point, const Point2& src, const Point2& trg) {
    const Vector2 direction = getVector2D(src, trg);
    const double sqLength = direction.sqLength();
    const double t = sqLength > 0.0 ? std::clamp(getVector2D(src, point) * direction / sqLength, 0.0, 1.0) : 0.0;
    return sqDistance2D(point, src + direction * t);
}

bool approxHasOn(const Point2& a, const Point2& b, const Point2& point) {
    const double length = distance2D(a, b);
    return distance2D(point, a) <= length && distance2D(point, b) <= length;
}

}  // namespace LUMO_TARO25D
