#pragma once

#include "taro25d/Point2.h"
#include "taro25d/export.h"

namespace LUMO_TARO25D {

/// A directed segment with its two end points held by value. It may have length zero.
class TARO25D_API Segment2 {
  public:
    /// Both end points at the origin.
    Segment2() = default;
    /// A segment from src to trg, which are copied; they may be equal.
    Segment2(const Point2& src, const Point2& trg) : src_(src), trg_(trg) {}

    const Point2& getSrc() const { return src_; }  ///< The end where it starts.
    const Point2& getTrg() const { return trg_; }  ///< The end to which it runs.
    /// Reverses the direction.
    void swapSrcTrg();

    /// The squared length in x-y.
    double getSqLen2D() const;
    /// The squared length in space.
    double getSqLen25D() const;

    /// True if the end points coincide in x and y, in either order; z is ignored.
    bool operator==(const Segment2& other) const;
    /// The opposite of ==.
    bool operator!=(const Segment2& other) const { return !(*this == other); }

  private:
    Point2 src_, trg_;
};

}  // namespace LUMO_TARO25D
