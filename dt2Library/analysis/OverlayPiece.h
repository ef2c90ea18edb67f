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

/// A triangle in coordinates relative to a near origin, which are exact or nearly so, with the plane of its heights.
class LocalTriangle {
  public:
    LocalTriangle() = default;
    LocalTriangle(const Triangle2& triangle, const Point2& origin);

    double x(size_t i) const { return aX_[i]; }
    double y(size_t i) const { return aY_[i]; }
    double z(size_t i) const { return aZ_[i]; }
    /// The largest absolute x or y.
    double getExtent() const { return extent_; }

    /// Whether all corners are equal.
    bool isPoint() const { return bPoint_; }

    /// The height at a place in the triangle.
    double getHeight(double x, double y) const {
        const double height = aZ_[0] + riseEast_ * (x - aX_[0]) + riseNorth_ * (y - aY_[0]);
        return std::min(std::max(height, minZ_), maxZ_);
    }
    /// A bound of the error of getHeight by rounding of heights and of coordinates up to a magnitude.
    double getUncertainty(double magnitude) const {
        const double slope = std::abs(riseEast_) + std::abs(riseNorth_);
        return MAX_HEIGHT_ROUNDING * (std::max(std::abs(minZ_), std::abs(maxZ_)) + magnitude * slope);
    }

    /// Twice the area of the triangle between edge i, opposite corner i, and a place; positive inside.
    double getSide(size_t i, double x, double y) const {
        const size_t a = i == 2 ? 0 : i + 1, b = i == 0 ? 2 : i - 1;
        return (aX_[b] - aX_[a]) * (y - aY_[a]) - (aY_[b] - aY_[a]) * (x - aX_[a]);
    }
    /// A bound, with a margin, of the rounding error of getSide for places within an extent.
    double getSideError(size_t i, double extent) const;

  private:
    std::array<double, 3> aX_, aY_, aZ_;
    double extent_ = 0.0, riseEast_ = 0.0, riseNorth_ = 0.0, minZ_ = 0.0, maxZ_ = 0.0;
    bool bPoint_ = false;
};

/// The common part of a triangle of one surface and a triangle of the other, and its contribution to the difference
/// between the surfaces.
///
/// It is convex with at most six corners, which are computed in doubles: a small error of a corner changes areas and
/// volumes by as little, and the triangles on both sides of an edge get nearly the same corners on it. A corner within
/// rounding of an edge counts as on it, so that no part is missed.
class OverlayPiece {
  public:
    /// The common part of two triangles with the same origin.
    OverlayPiece(const LocalTriangle& outer, const LocalTriangle& inner);
    /// Two triangles with the same three corners in x-y: corner i of the outer one is corner (i + shift) mod 3 of the
    /// other.
    OverlayPiece(const LocalTriangle& outer, const LocalTriangle& inner, size_t shift);

    /// Whether the common part is empty or within rounding of an edge of the outer triangle.
    bool isAtEdge() const;
    /// Whether the part reaches edge i of the inner triangle.
    bool reaches(size_t i) const { return (marks_ >> i & 1u) != 0; }
    /// Whether corner i of the outer triangle is in the inner one.
    bool hasOuterCorner(size_t i) const { return (marks_ >> (3 + i) & 1u) != 0; }

    /// Adds volumes and areas, with the outer surface as the surface before. Differences up to the threshold, or within
    /// rounding, count as 0; the origin of the triangles has coordinates up to originMagnitude.
    void addTo(SurfaceDifference& sums, double threshold, double originMagnitude);

  private:
    // A cut of a convex polygon adds one corner; with rounding errors at worst half of the present number, so after
    // four cuts there are at most 13.
    static constexpr size_t MAX_CORNERS = 3 + 1 + 2 + 3 + 4;
    struct Corners {
        size_t size = 0;
        std::array<double, MAX_CORNERS> aX, aY, aDifference;
        std::array<unsigned, MAX_CORNERS> aMarks;  // bits 0 to 2 for the edges of the inner triangle on which a corner
                                                   // lies, bits 3 to 5 for the corner of the outer one that it is

        void add(double x, double y, double difference) {
            aX[size] = x;
            aY[size] = y;
            aDifference[size++] = difference;
        }
        size_t getNext(size_t i) const { return i + 1 == size ? 0 : i + 1; }
    };
    struct AreaAndVolume {
        double area = 0.0, volume = 0.0;
    };

    const Corners& getCorners() const { return aCorners_[current_]; }
    void cutAt(size_t edge);
    double getTolerance(double originMagnitude) const;
    void setDifferences(double tolerance);
    static Corners getPartAbove(const Corners& corners, double threshold, double sign);
    static double getAreaInFan(const Corners& corners, size_t i);
    static AreaAndVolume measure(const Corners& corners);
    void addSigned(double sign, double threshold, double& volume, double& area, double& rest) const;

    const LocalTriangle &outer_, &inner_;
    double extent_;
    std::array<Corners, 2> aCorners_;  // the current corners, and room for the next
    size_t current_ = 0;
    unsigned marks_ = 0;  // those of all corners
    bool bSame_ = false;  // the corners of both are equal and the differences are known
};

}  // namespace LUMO_TARO25D
