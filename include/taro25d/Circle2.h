#pragma once

#include "taro25d/Point2.h"
#include "taro25d/export.h"

namespace LUMO_TARO25D {

/// A circle in x-y. Its numbers are kept as they were given, without a check.
class TARO25D_API Circle2 {
  public:
    /// A circle around (x, y, 0).
    Circle2(double x, double y, double sqRadius);
    /// A circle around a point, which is copied with its height.
    Circle2(const Point2& center, double sqRadius);

    /// The squared radius as it was given.
    double getSqRadius() const { return sqRadius_; }
    /// The radius; NaN if the squared radius is negative.
    double getRadius() const;
    /// The centre.
    const Point2& getCenter() const { return center_; }

  private:
    Point2 center_;
    double sqRadius_;
};

}  // namespace LUMO_TARO25D
