#pragma once

#include <cstdint>
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

    /// Prefetches the triangles that getHeight will need, and their corners.
    static void prefetchNeighbours(const Triangle2& triangle) {
        for (int i = 0; i < 3; ++i) __builtin_prefetch(triangle.getOppositeTriangle(i));
    }
    static void prefetchCorners(const Triangle2& triangle) {
        for (int i = 0; i < 3; ++i) {
            const Triangle2* pN = triangle.getOppositeTriangle(i);
            for (int k = 0; pN && k < 3; ++k) __builtin_prefetch(pN->getCorner(k));
        }
    }

  private:
    /// A corner relative to the place of the query, and its squared distance.
    struct Corner {
        double x, y, sqLength, z;

        Corner(const Point2& corner, const Point2& place)
            : x(corner.x() - place.x()), y(corner.y() - place.y()), sqLength(x * x + y * y), z(corner.z()) {}
    };
    /// An edge of a triangle of the cavity that is still to be crossed or found to be border.
    struct Exit {
        const Triangle2* pT;
        int i;
        std::uint32_t src, trg;  // in vCorners_
        double cross;            // of the two ends

        Exit(const Triangle2* pTriangle, int edge, size_t from, size_t to, double crossOfEnds)
            : pT(pTriangle),
              i(edge),
              src(static_cast<std::uint32_t>(from)),
              trg(static_cast<std::uint32_t>(to)),
              cross(crossOfEnds) {}
    };

    bool isBarrier(const Triangle2* pT, int i) const { return !pT->getOppositeTriangle(i) || dt2_.isConstraint(pT, i); }
    bool isOnBarrier(const Triangle2& triangle, int i, const Point2& place);
    double interpolate(const Point2& place);
    bool enter(const Triangle2& next, const Exit& exit, const Point2& place);
    void addTriangle(const Corner& a, const Corner& b, const Corner& c);
    void addBorder(const Corner& src, const Corner& trg);
    static double getCross(const Corner& a, const Corner& b) { return a.x * b.y - a.y * b.x; }

    const Dt2& dt2_;
    GeomTest geomTest_;
    std::vector<Corner> vCorners_;  // of the cavity
    std::vector<Exit> vExits_;      // all so far
    double baseZ_ = 0.0;            // heights are relative to it
    double volume_ = 0.0, area_ = 0.0;
};

}  // namespace LUMO_TARO25D
