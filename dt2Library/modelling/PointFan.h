#pragma once

#include <cmath>
#include <cstddef>
#include <vector>

#include "kernel/GeomTest.h"
#include "modelling/TrianglePlane.h"
#include "taro25d/Point2.h"
#include "taro25d/Triangle2.h"

namespace LUMO_TARO25D {

/// Point location and heights among the triangles around a vertex, as sectors between the edges at the vertex (spokes).
/// Points must lie in one of the triangles; most orientation tests are decided by one filtered product.
class PointFan {
  public:
    explicit PointFan(GeomTest& geomTest) : geomTest_(geomTest) {}

    /// Takes the triangles around the vertex in counterclockwise order, from one hull edge to the other if it is on the
    /// hull; they must not change.
    void set(const Point2& center, const std::vector<Triangle2*>& vTriangles);

    /// The index of a triangle that holds the point, border included. The search begins where the previous one ended.
    ///
    /// A sector is narrower than a half plane, so that its two spokes decide. If the point is right of the right spoke,
    /// it is also right of the right spokes of all sectors passed clockwise up to its own; left likewise.
    size_t find(double x, double y) {
        const size_t num = vPlanes_.size();
        if (isOn(ORIENTATION2_CW, last_, x, y)) {
            do last_ = (last_ == 0 ? num : last_) - 1;
            while (isOn(ORIENTATION2_CW, last_, x, y));
        } else {
            while (isOn(ORIENTATION2_CCW, last_ + 1, x, y)) last_ = last_ + 1 == num ? 0 : last_ + 1;
        }
        return last_;
    }
    /// The height of a triangle at a point that it holds.
    double getHeight(size_t i, double x, double y) const { return vPlanes_[i].getHeight(x, y); }
    double getSlack(size_t i) const { return vPlanes_[i].getSlack(); }

  private:
    /// Sector i is between spokes i and i + 1; the last spoke of a closed fan is the first one again.
    struct Spoke {
        const Point2* pEnd;
        double dx, dy, bound;
    };

    /// Whether a point is strictly on a side of a spoke.
    bool isOn(Orientation2 side, size_t i, double x, double y) {
        const Spoke& spoke = vSpokes_[i];
        const double det = spoke.dx * (y - y_) - spoke.dy * (x - x_);
        if (std::abs(det) > spoke.bound) return (det > 0.0) == (side == ORIENTATION2_CCW);
        return getSideExactly(spoke, x, y) == side;
    }
    Orientation2 getSideExactly(const Spoke& spoke, double x, double y);

    GeomTest& geomTest_;
    const Point2* pCenter_ = nullptr;
    double x_ = 0.0, y_ = 0.0;
    std::vector<Spoke> vSpokes_;
    std::vector<TrianglePlane> vPlanes_;
    size_t last_ = 0;
};

}  // namespace LUMO_TARO25D
