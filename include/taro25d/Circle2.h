#pragma once

#include "taro25d/Point2.h"
#include "taro25d/export.h"

namespace LUMO_TARO25D {

/// A circle in x-y.
class TARO25D_API Circle2 {
  public:
    /// A circle around (x, y, 0).
    Circle2(double x, double y, double sqRadius);
    Circle2(const Point2& center, double sqRadius);

    /// The squared radius as it was given.
    double getSqRadius() const { return sqRadius_; }
    double getRadius() const;
    const Point2& getCenter() const { return center_; }

  private:
    Point2 center_;
    double sqRadius_;
};

}  // namespace LUMO_TARO25D
