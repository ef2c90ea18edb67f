#pragma once

#include <iosfwd>

#include "taro25d/export.h"

namespace LUMO_TARO25D {

class Triangle2;
class Vector2;

/// A point with a height. It is the value a client passes in, and the record of a vertex inside a triangulation.
///
/// Topology is decided on x and y alone: z never takes part in equality or order. A point that is not a
/// vertex (freshly constructed, copied, or returned by a helper function) has no incident triangle.
class TARO25D_API Point2 {
  public:
    /// The origin, with custom index -1.
    Point2() : x_(0.0), y_(0.0), z_(0.0), pIncidentT_(nullptr), customIndex_(-1), vaultPos_(0) {}
    /// A point with custom index -1. Any double may be given; one that is not finite is refused later, on insertion.
    Point2(double x, double y, double z) : x_(x), y_(y), z_(z), pIncidentT_(nullptr), customIndex_(-1), vaultPos_(0) {}

    /// A copy takes coordinates and custom index; it is not a vertex, so it has no incident triangle.
    Point2(const Point2& other)
        : x_(other.x_),
          y_(other.y_),
          z_(other.z_),
          pIncidentT_(nullptr),
          customIndex_(other.customIndex_),
          vaultPos_(0) {}
    /// Takes coordinates and custom index of the other point; the incident triangle becomes null.
    Point2& operator=(const Point2& other) {
        x_ = other.x_;
        y_ = other.y_;
        z_ = other.z_;
        pIncidentT_ = nullptr;
        customIndex_ = other.customIndex_;
        vaultPos_ = 0;
        return *this;
    }

    double x() const { return x_; }  ///< The first coordinate of the plane, in units of the client.
    double y() const { return y_; }  ///< The second coordinate of the plane, in the same unit.
    double z() const { return z_; }  ///< The height; lengths, areas and angles in space take it to be in that unit too.

    /// Sets all three coordinates. Changing x or y of a vertex of a triangulation breaks the triangulation.
    void set(double x, double y, double z) {
        x_ = x;
        y_ = y;
        z_ = z;
    }

    /// A number that the client may set and that the library only carries along; -1 by default.
    int getCustomIndex() const { return customIndex_; }
    /// Sets that number.
    void setCustomIndex(int customIndex) { customIndex_ = customIndex; }

    /// One triangle that has this vertex as a corner; null while the point is not a vertex with triangles.
    Triangle2* getIncidentTriangle() const { return pIncidentT_; }
    /// For the engine: clients have no reason to call it.
    void setIncidentTriangle(Triangle2* pT) { pIncidentT_ = pT; }

    /// Equality in x and y; z is ignored.
    bool operator==(const Point2& other) const { return x_ == other.x_ && y_ == other.y_; }
    /// The opposite of ==.
    bool operator!=(const Point2& other) const { return !(*this == other); }
    /// Lexicographic order on x, then y; z is ignored.
    bool operator<(const Point2& other) const { return x_ < other.x_ || (x_ == other.x_ && y_ < other.y_); }

    /// The point moved by the vector in all three coordinates.
    Point2 operator+(const Vector2& v) const;

  private:
    friend class VertexVault;

    double x_, y_, z_;
    Triangle2* pIncidentT_;
    int customIndex_;
    unsigned vaultPos_;  // position in the register of the triangulation that owns this vertex
};

static_assert(sizeof(Point2) == 40, "the vertex record is laid out for cache density");

/// Lexicographic order on x, then y (the `<` of points).
inline bool ltPoint(const Point2& a, const Point2& b) { return a < b; }

/// True only if x, y and z are all exactly equal; NaN equals nothing.
inline bool samePoint(const Point2& a, const Point2& b) { return a.x() == b.x() && a.y() == b.y() && a.z() == b.z(); }

/// "Point2 (" address "," custom index "): " x ", " y ", " z
TARO25D_API std::ostream& operator<<(std::ostream& stream, const Point2& point);

}  // namespace LUMO_TARO25D
