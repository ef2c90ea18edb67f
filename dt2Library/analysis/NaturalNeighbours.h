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
    /// A corner relative to the place of the query, scaled, and its squared distance.
    struct Corner {
        double x, y, sqLength, z;

        Corner(const Point2& corner, const Point2& place, double scale)
            : x(corner.x() * scale - place.x() * scale),
              y(corner.y() * scale - place.y() * scale),
              sqLength(x * x + y * y),
              z(corner.z()) {}
    };
    /// An edge of a triangle of the cavity, and the triangle behind it. That is tested before its result is needed, so
    /// that the tests of several exits overlap in the processor, which predicts their results badly.
    struct Exit {
        const Triangle2* pT;
        int i;
        const Triangle2* pNext;          // the triangle behind; null at the hull
        int far;                         // its corner opposite the edge
        std::uint32_t src, trg, farIdx;  // in vCorners_
        int sign;                        // of the circle test, 0 if undecided
        double fromSrc, toTrg;           // cross products of the far corner with the ends of the edge
    };

    bool isBarrier(const Triangle2* pT, int i) const { return !pT->getOppositeTriangle(i) || dt2_.isConstraint(pT, i); }
    bool isOnBarrier(const Triangle2& triangle, int i, const Point2& place);
    double compute(const Triangle2& triangle, const Point2& place);
    bool isInRange() const;
    double getScaleOfCavity() const;
    double interpolate(const Point2& place);
    void addExit(const Triangle2* pT, int i, size_t src, size_t trg, double cross, const Point2& place);
    bool isInside(const Exit& exit, const Point2& place) {
        return exit.sign >= 0 && (exit.sign > 0 || geomTest_.exact_circleInc(exit.pNext, &place)) &&
               !dt2_.isConstraint(exit.pT, exit.i);
    }
    void addTriangle(const Corner& a, const Corner& b, const Corner& c);
    void addBorder(const Corner& src, const Corner& trg);
    static double getCross(const Corner& a, const Corner& b) { return a.x * b.y - a.y * b.x; }

    const Dt2& dt2_;
    GeomTest geomTest_;
    double scale_ = 1.0;            // a power of two
    std::vector<Corner> vCorners_;  // of the cavity, and those behind its exits
    std::vector<Exit> vExits_;      // all so far
    double baseZ_ = 0.0;            // heights are relative to it
    double volume_ = 0.0, area_ = 0.0;
};

}  // namespace LUMO_TARO25D
