#pragma once

#include <iosfwd>

#include "taro25d/Point2.h"
#include "taro25d/export.h"

namespace LUMO_TARO25D {

class Vector2;

/// The index before i on a triangle: (i + 2) mod 3.
inline int incIndexBy2(int i) { return i == 0 ? 2 : i - 1; }

/// One triangle of the mesh: three corners in counterclockwise order and three neighbours.
///
/// Edge i is opposite corner i and runs from corner (i+1) mod 3 to corner (i+2) mod 3. Opposite triangle i
/// lies across edge i and is null where the edge is on the convex hull. Links are mutual. Triangles that a
/// triangulation hands out are its own: read them, do not change them. Indices are 0, 1 or 2 and are not checked.
class TARO25D_API Triangle2 {
  public:
    /// A triangle without corners; of its members, only the getters and setters may be used.
    Triangle2() : aCorner_{nullptr, nullptr, nullptr}, aOpposite_{nullptr, nullptr, nullptr} {}
    /// A free-standing triangle without neighbours; the points are referred to, not copied.
    Triangle2(Point2* p0, Point2* p1, Point2* p2) : aCorner_{p0, p1, p2}, aOpposite_{nullptr, nullptr, nullptr} {}

    /// Corner i; null for a triangle without corners, and in the record of a triangle that is gone.
    Point2* getCorner(int i) const { return aCorner_[i]; }
    /// The neighbour across edge i; null if there is none.
    Triangle2* getOppositeTriangle(int i) const { return aOpposite_[i]; }
    /// For free-standing triangles: sets a corner, which is not owned.
    void setCorner(int i, Point2* pPoint) { aCorner_[i] = pPoint; }
    /// For free-standing triangles: sets a neighbour, which is not owned and not told.
    void setOppositeTriangle(int i, Triangle2* pT) { aOpposite_[i] = pT; }

    /// The index of a corner. A point that is no corner is reported and fails with TaroException.
    int getIntraTriangleIndex(const Point2* pVtx) const;
    /// The index under which a neighbour is linked; for null that of a hull edge. A triangle that is no neighbour fails
    /// with TaroException.
    int getIntraTriangleIndex(const Triangle2* pT) const;
    /// The index of the edge between two corners, in either direction. Other points fail with TaroException.
    int getIntraTriangleIndex(const Point2* p0, const Point2* p1) const;

    /// True if the pointer is one of the three corners.
    bool hasVertex(const Point2* pVtx) const {
        return aCorner_[0] == pVtx || aCorner_[1] == pVtx || aCorner_[2] == pVtx;
    }
    /// True if a corner equals the point in x, y and z.
    bool hasVertex(const Point2& point) const;
    /// True if the point lies on the closed edge i, decided exactly in x-y.
    bool hasOnEdge(int i, const Point2& point) const;

    /// The squared length of edge i in x-y.
    double getSquaredEdgeLength2D(int i) const;
    /// The squared length of edge i in space.
    double getSquaredEdgeLength25D(int i) const;
    /// Another name of getSquaredEdgeLength2D.
    double getSquaredEdgeLength(int i) const;
    /// The largest squared edge length in x-y.
    double getMaxSqEdgeLen2D() const;
    /// The index of the longest edge in x-y; the lowest index on ties.
    int getMaxIndex() const;
    /// The index of the shortest edge in x-y; the lowest index on ties.
    int getMinIndex() const;

    /// The mean of the corners in x, y and z.
    Point2 getBarycenter() const;
    /// The area in x-y by Heron's formula, to about 1e-8 of the square of the longest side: for a thin triangle the
    /// result may be mere rounding. The free function getArea2D is more accurate. Side lengths that overflow fail with
    /// TaroException.
    double getArea2D() const;
    /// The area in space by Heron's formula, with the error of getArea2D().
    double getArea25D() const;
    /// The area of a triangle with the given side lengths (Heron's formula), never negative. Lengths that
    /// give no number are reported with this triangle's corners and fail with TaroException.
    double computeArea(double l0, double l1, double l2) const;
    /// The interior angle at corner i in degrees, in x-y; 90 where that corner coincides with another one.
    double getInteriorAngle2D(int i) const;
    /// The interior angle at corner i in degrees, in space; 90 where that corner coincides with another one.
    double getInteriorAngle25D(int i) const;
    /// The unit normal of the triangle's plane; the zero vector for a degenerate triangle.
    Vector2 getNormalVector() const;

    /// The circumcentre in x-y, each coordinate rounded once from the true one; z lies among the heights of the
    /// corners, and the custom index is -1. bAccurate tells whether it can be trusted: its distances to the three
    /// corners agree to 2^-49 of the largest coordinate of corners and centre, and rounding has not moved it beyond
    /// one of the two shorter edges. Where corners are collinear, or so nearly that the centre is beyond the range of
    /// doubles, it is not accurate, and the result is a point far away beside the longest edge.
    Point2 getDual(bool& bAccurate) const;

  private:
    TARO25D_HIDDEN bool getCC_strategy1(Point2& result) const;
    TARO25D_HIDDEN Point2 getCC_strategy2(int longestEdge) const;
    TARO25D_HIDDEN bool isAccurateCC(int longestEdge, const Point2& center) const;

    Point2* aCorner_[3];
    Triangle2* aOpposite_[3];
};

static_assert(sizeof(Triangle2) == 48, "the triangle record is laid out for cache density");

/// Address, areas, orientation, and one line for each corner with the neighbour opposite to it.
TARO25D_API std::ostream& operator<<(std::ostream& stream, const Triangle2& triangle);

}  // namespace LUMO_TARO25D
