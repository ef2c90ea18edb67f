#include "taro25d/Point2.h"

#include <ostream>

#include "taro25d/Vector2.h"

namespace LUMO_TARO25D {

Point2 Point2::operator+(const Vector2& v) const { return Point2(x_ + v.x(), y_ + v.y(), z_ + v.z()); }

std::ostream& operator<<(std::ostream& stream, const Point2& point) {
    return stream << "Point2 (" << static_cast<const void*>(&point) << "," << point.getCustomIndex()
                  << "): " << point.x() << ", " << point.y() << ", " << point.z();
}

}  // namespace LUMO_TARO25D
