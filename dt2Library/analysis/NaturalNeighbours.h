#pragma once

#include <array>
#include <cstddef>
#include <vector>

#include "kernel/GeomTest.h"
#include "mesh/Dt2.h"
#include "taro25d/Point2.h"
#include "taro25d/Triangle2.h"

namespace LUMO_TARO25D {

/// Heights by natural neighbour interpolation. An object serves one thread; the mesh must not change meanwhile.
class NaturalNeighbours {
  public:
    /// The magnitude is the largest absolute coordinate of the mesh and of all places.
    NaturalNeighbours(const Dt2& dt2, double magnitude) : dt2_(dt2), geomTest_(magnitude) {}

    /// The height at a place in a triangle, border included.
    double getHeight(const Triangle2& triangle, const Point2& place);

  private:
    /// A corner relative to the place of the query, and its squared distance.
    struct Corner {
        double x, y, sqLength, z;

        Corner(const Point2& corner, const Point2& place)
            : x(corner.x() - place.x()), y(corner.y() - place.y()), sqLength(x * x + y * y), z(corner.z()) {}
    };
    /// A point of the Voronoi diagram relative to the place of the query.
    struct Dual {
        double x, y;
    };
    /// An edge of a triangle of the cavity that is still to be crossed or found to be border.
    struct Exit {
        const Triangle2* pT;
        int i;
        Corner src, trg;
        Dual centre;  // of the triangle
    };
    /// The sums of the running query.
    struct Sums {
        double baseZ;  // heights are relative to it
        double volume = 0.0, area = 0.0;
        bool bHasBorder = false;
        Dual first{}, last{};  // centres for the first and the last border edge so far
        double firstZ = 0.0;   // the height at the start of the first border edge
    };

    bool isBarrier(const Triangle2* pT, int i) const { return !pT->getOppositeTriangle(i) || dt2_.isConstraint(pT, i); }
    bool isOnBarrier(const Triangle2& triangle, int i, const Point2& place);
    double interpolate(const Triangle2& triangle, const std::array<Corner, 3>& aCorners, const Point2& place);
    bool isInCircle(const Triangle2& triangle, const Point2& place);
    void cross(const Exit& exit, const Point2& place);
    void followBorder(const Exit& exit);
    void closeBorder();
    static double getArea(const Dual& from, const Dual& to) { return 0.5 * (from.x * to.y - from.y * to.x); }
    static Dual getCentre(double bx, double by, double sqB, double cx, double cy, double sqC);
    static Dual getCentre(const Corner& a, const Corner& b, const Corner& c);

    const Dt2& dt2_;
    GeomTest geomTest_;
    std::vector<Exit> vExits_;  // a stack: the next one counterclockwise is on top
    Sums sums_{};
};

}  // namespace LUMO_TARO25D
