#pragma once

#include <cstddef>
#include <vector>

#include "kernel/GeomTest.h"
#include "modelling/TrianglePlane.h"
#include "taro25d/Point2.h"
#include "taro25d/Triangle2.h"

namespace LUMO_TARO25D {

/// Point location among the triangles around a vertex, as sectors between the edges at the vertex (spokes). The point
/// must lie in one of the triangles; most orientation tests are decided by one filtered product.
class PointFan {
  public:
    /// Takes the triangles around the vertex in counterclockwise order; they must not change.
    PointFan(const Point2& center, const std::vector<Triangle2*>& vTriangles, GeomTest& geomTest);

    /// The index of a triangle that holds the point, border included. The search begins where the previous one ended.
    size_t find(double x, double y);
    /// The height of a triangle at a point that it holds.
    double getHeight(size_t i, double x, double y) const { return vSectors_[i].plane.getHeight(x, y); }
    double getSlack(size_t i) const { return vSectors_[i].plane.getSlack(); }

  private:
    struct Spoke {
        const Point2* pEnd;
        double dx, dy;
    };
    struct Sector {
        Spoke right, left;
        TrianglePlane plane;
    };

    /// Whether a point is strictly on a side of a spoke.
    bool isOnSide(Orientation2 side, const Spoke& spoke, double x, double y);

    const Point2& center_;
    GeomTest& geomTest_;
    std::vector<Sector> vSectors_;
    size_t last_ = 0;
};

}  // namespace LUMO_TARO25D
