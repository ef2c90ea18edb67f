#pragma once

#include "taro25d/export.h"

namespace LUMO_TARO25D {

/// A vector of three components. Orthogonality is meant in x-y; lengths and products are those of space.
class TARO25D_API Vector2 {
  public:
    /// The zero vector.
    Vector2() : x_(0.0), y_(0.0), z_(0.0) {}
    /// The vector with these components.
    Vector2(double x, double y, double z) : x_(x), y_(y), z_(z) {}

    double x() const { return x_; }  ///< The first component.
    double y() const { return y_; }  ///< The second component.
    double z() const { return z_; }  ///< The third component, along the heights.
    /// Sets all three components.
    void set(double x, double y, double z) {
        x_ = x;
        y_ = y;
        z_ = z;
    }

    /// The Euclidean length, also where its square overflows or underflows.
    double length() const;
    /// The square of the length; infinite or 0 where that overflows or underflows.
    double sqLength() const { return x_ * x_ + y_ * y_ + z_ * z_; }

    /// The dot product.
    double operator*(const Vector2& other) const { return x_ * other.x_ + y_ * other.y_ + z_ * other.z_; }
    /// The vector times a number.
    Vector2 operator*(double factor) const { return Vector2(x_ * factor, y_ * factor, z_ * factor); }
    /// The vector divided by a number; dividing by 0 gives infinities and NaN, as for doubles.
    Vector2 operator/(double divisor) const { return Vector2(x_ / divisor, y_ / divisor, z_ / divisor); }

    /// True only if all three components are exactly zero.
    bool isDegenerate() const { return x_ == 0.0 && y_ == 0.0 && z_ == 0.0; }
    /// The component of largest absolute value: 0 is x, 1 is y, 2 is z; the lower index on ties.
    int getMaxIndex() const;
    /// A vector orthogonal to this one in x-y, with z = 0. One of its components is 1, the other at most 1 in
    /// absolute value; it is the zero vector where x and y are both zero.
    Vector2 orthogonalVector() const;

  private:
    double x_, y_, z_;
};

/// The vector divided by its length; the zero vector stays zero.
TARO25D_API Vector2 normalize(const Vector2& v);

/// The cross product a x b in space.
TARO25D_API Vector2 crossProduct(const Vector2& a, const Vector2& b);

/// The angle between two unit vectors, 0 to 180 degrees. The arguments are not normalised here.
TARO25D_API double getAngleDegree(const Vector2& a, const Vector2& b);

}  // namespace LUMO_TARO25D
