#pragma once

#include <cmath>

#include "taro25d/Point2.h"
#include "taro25d/Triangle2.h"

namespace LUMO_TARO25D {

/// a * d - b * c where the products nearly cancel: adds their rounding errors (Dekker 1971).
double cancelAccurately(double a, double b, double c, double d);

/// a * d - b * c, accurate to a few units in the last place unless numbers leave the range of error-free products.
inline double accurateDeterminant(double a, double b, double c, double d) {
    const double left = a * d, right = b * c, difference = left - right;
    const bool bAccurate = std::abs(difference) > 0.0625 * (std::abs(left) + std::abs(right));
    return bAccurate ? difference : cancelAccurately(a, b, c, d);
}

/// The plane through the corners of a triangle, for many heights in it and for its slope.
class FacePlane {
  public:
    explicit FacePlane(const Triangle2& triangle);

    /// The rise of the plane to the east and to the north for each unit of length.
    double getRiseEast() const { return riseEast_; }
    double getRiseNorth() const { return riseNorth_; }

    /// The height at a place in the triangle or on its border, clamped to the range of the corners. Thin triangles are
    /// computed exactly (heights.h).
    double getHeight(double x, double y) const {
        if (!bWide_) return getHeightOfSharpOne(x, y);
        const double z = origin_.z() + riseEast_ * (x - origin_.x()) + riseNorth_ * (y - origin_.y());
        return z < minZ_ ? minZ_ : z > maxZ_ ? maxZ_ : z;
    }

  private:
    void setRisesByScaling(const Point2& p, const Point2& q);
    double getHeightOfSharpOne(double x, double y) const;

    const Triangle2& triangle_;
    const Point2& origin_;  // a corner
    double riseEast_, riseNorth_;
    double minZ_, maxZ_;
    bool bWide_;  // the triangle is not thin: rounding of the rises does not show in heights
};

}  // namespace LUMO_TARO25D
