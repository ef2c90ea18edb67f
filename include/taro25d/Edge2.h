#pragma once

#include <iosfwd>

#include "taro25d/Triangle2.h"
#include "taro25d/export.h"

namespace LUMO_TARO25D {

/// A directed edge, named by a triangle and an index. Edge i is opposite corner i and runs counterclockwise
/// around the triangle. It refers to the triangle and is as short-lived as the triangle.
class TARO25D_API Edge2 {
  public:
    /// The index is 0, 1 or 2. Neither it nor the triangle, which is not owned, is checked.
    Edge2(Triangle2* pTriangle, int index) : pTriangle_(pTriangle), index_(index) {}

    Triangle2* getTriangle() const { return pTriangle_; }  ///< The triangle on the left; not owned.
    int getIndex() const { return index_; }                ///< The index of the edge in that triangle.

    /// The start: corner (index + 1) mod 3.
    Point2* getSrc() const { return pTriangle_->getCorner(index_ == 2 ? 0 : index_ + 1); }
    /// The end: corner (index + 2) mod 3.
    Point2* getTrg() const { return pTriangle_->getCorner(incIndexBy2(index_)); }
    /// Start and end at once.
    void getPoints(Point2*& pSrc, Point2*& pTrg) const;
    /// The edge from both sides: this triangle and index, and the neighbour with the index that it has there.
    /// On the convex hull pT1 is null and index1 is -1.
    void getTriangles(Triangle2*& pT0, Triangle2*& pT1, int& index0, int& index1) const;

    /// The length in x-y.
    double getLength2D() const;
    /// The length in space.
    double getLength25D() const;

  private:
    Triangle2* pTriangle_;
    int index_;
};

/// "Edge2 (" start ", " end ")"
TARO25D_API std::ostream& operator<<(std::ostream& stream, const Edge2& edge);

}  // namespace LUMO_TARO25D
