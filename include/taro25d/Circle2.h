#pragma once

#include "taro25d/Point2.h"
#include "taro25d/export.h"

namespace LUMO_TARO25D {

/// A circle in x-y, as it was given: nothing is checked.
class TARO25D_API Circle2 {
  public:
    /// A circle around (x, y, 0).
    Circle2(double x, double y, double sqRadius);
    /// A circle around a point, which is copied with its height.
    Circle2(const Point2& center, double sqRadius);

    /// The squared radius as it was given.
    double getSqRadius() const { return sqRadius_; }
    /// The square root of that; NaN if it is negative.
    double getRadius() const;
    /// The centre.
    const Point2& getCenter() const { return center_; }

  private:
    Point2 center_;
    double sqRadius_;
};

}  // namespace LUMO_TARO25D
