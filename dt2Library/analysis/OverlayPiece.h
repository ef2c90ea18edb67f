#pragma once

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>

#include "kernel/tolerances.h"
#include "taro25d/Point2.h"
#include "taro25d/SurfaceDifference.h"
#include "taro25d/Triangle2.h"

namespace LUMO_TARO25D {

/// A triangle by the differences of its coordinates from an origin next to it, which are exact or nearly so, and the plane of
/// its heights.
class LocalTriangle {
  public:
    LocalTriangle() = default;
    LocalTriangle(const Triangle2& triangle, const Point2& origin);

    double x(size_t i) const { return aX_[i]; }
    double y(size_t i) const { return aY_[i]; }
    double z(size_t i) const { return aZ_[i]; }
    /// The largest absolute number in it, heights left out.
    double getExtent() const { return extent_; }

    /// The height at a place in the triangle.
    double getHeight(double x, double y) const {
        const double height = aZ_[0] + riseEast_ * (x - aX_[0]) + riseNorth_ * (y - aY_[0]);
        return std::min(std::max(height, minZ_), maxZ_);
    }
    /// What rounding of coordinates up to a magnitude, and of heights, may change such a height by.
    double getUncertainty(double magnitude) const {
        const double slope = std::abs(riseEast_) + std::abs(riseNorth_);
        return MAX_HEIGHT_ROUNDING * (std::max(std::abs(minZ_), std::abs(maxZ_)) + magnitude * slope);
    }

    /// Twice the area of the triangle between edge i, opposite corner i, and a place; positive inside.
    double getSide(size_t i, double x, double y) const {
        const size_t a = i == 2 ? 0 : i + 1, b = i == 0 ? 2 : i - 1;
        return (aX_[b] - aX_[a]) * (y - aY_[a]) - (aY_[b] - aY_[a]) * (x - aX_[a]);
    }
    /// What rounding may change that by, for places within an extent, with a margin.
    double getSideError(size_t i, double extent) const;

  private:
    std::array<double, 3> aX_, aY_, aZ_;
    double extent_ = 0.0, riseEast_ = 0.0, riseNorth_ = 0.0, minZ_ = 0.0, maxZ_ = 0.0;
};

/// The common part of a triangle of one surface and one of the other, and what it adds to the difference between them.
///
/// It is convex and has six corners at most, which are computed in doubles: an error of the place of a corner changes areas and
/// volumes by as little, and the triangles on both sides of an edge get nearly the same corners on it. Decisions do not rest on
/// their signs alone: what is within rounding of an edge is on it, so that no part is missed.
class OverlayPiece {
  public:
    /// The parts of two triangles with the same origin.
    OverlayPiece(const LocalTriangle& outer, const LocalTriangle& inner);
    /// Two triangles with the same three corners in x-y: corner i of the outer one is corner (i + shift) mod 3 of the other.
    OverlayPiece(const LocalTriangle& outer, const LocalTriangle& inner, size_t shift);

    /// Whether the triangles have nothing in common but what is within rounding of an edge of the outer one.
    bool isAtEdge() const;
    /// Whether the part reaches edge i of the inner triangle.
    bool reaches(size_t i) const { return (touchedEdges_ >> i & 1u) != 0; }

    /// Adds volumes and areas, with the outer surface as the one before. Differences up to the threshold, or the
    /// tolerance, count as none.
    void addTo(SurfaceDifference& sums, double threshold, double tolerance);

  private:
    struct Corner {
        double x, y, difference;
        unsigned edges;  // of the inner triangle, on which it is
    };
    // A cut adds one corner; rounding can make it half as many as there are, at worst, so after four cuts there are 13.
    static constexpr size_t MAX_CORNERS = 3 + 1 + 2 + 3 + 4;
    struct Corners {
        size_t size = 0;
        std::array<Corner, MAX_CORNERS> aCorners;

        void add(const Corner& corner) { aCorners[size++] = corner; }
        const Corner& getNext(size_t i) const { return aCorners[i + 1 == size ? 0 : i + 1]; }
        const Corner* begin() const { return aCorners.data(); }
        const Corner* end() const { return aCorners.data() + size; }
    };
    struct AreaAndVolume {
        double area = 0.0, volume = 0.0;
    };

    const Corners& getCorners() const { return aCorners_[current_]; }
    void cutAt(size_t edge);
    void setDifferences(double tolerance);
    static Corners getPartAbove(const Corners& corners, double threshold, double sign);
    static AreaAndVolume measure(const Corners& corners);
    void addSigned(double sign, double threshold, double& volume, double& area, double& rest) const;

    const LocalTriangle &outer_, &inner_;
    double extent_;
    std::array<Corners, 2> aCorners_;  // the present ones, and room for the next
    size_t current_ = 0;
    unsigned touchedEdges_ = 0;
    bool bSame_ = false;  // the differences are known
};

}  // namespace LUMO_TARO25D
