#pragma once

#include <vector>

#include "taro25d/Color.h"
#include "taro25d/Triangle2.h"

namespace terrain {

/// The colours of a map: green lowlands, brown heights and white summits, lit from the north-west.
class Shading {
  public:
    /// For a mesh of at least one triangle: the colours span its heights, and its slopes are exaggerated until, on
    /// average, they are steep enough to show. The contrast tells how much the light matters, 0 to 1.
    Shading(const std::vector<LUMO_TARO25D::Triangle2*>& vTriangles, double contrast);

    /// The colour of level ground of that height.
    LUMO_TARO25D::Color ofHeight(double height) const;
    /// The colour of a triangle: that of its mean height in the light that falls on it.
    LUMO_TARO25D::Color ofTriangle(const LUMO_TARO25D::Triangle2& triangle) const;
    /// The same colour, paler: as the background of something else.
    LUMO_TARO25D::Color paleOfTriangle(const LUMO_TARO25D::Triangle2& triangle) const;

    double minHeight() const { return minHeight_; }
    double maxHeight() const { return maxHeight_; }

  private:
    double light(const LUMO_TARO25D::Triangle2& triangle) const;

    double minHeight_, maxHeight_;
    double exaggeration_ = 1;
    double contrast_;
};

}  // namespace terrain
