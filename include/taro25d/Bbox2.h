#pragma once

#include <algorithm>
#include <limits>
#include <vector>

#include "taro25d/Point2.h"
#include "taro25d/export.h"

namespace LUMO_TARO25D {

class GeomTest;

/// An axis-parallel box in x-y. It is invalid, and contains nothing, until it is given a first point. A value; all
/// members take constant time unless they get a list.
class TARO25D_API Bbox2 {
  public:
    /// An invalid box: the minima are the largest double, the maxima the lowest.
    Bbox2() = default;
    /// A box with the given ranges; it is invalid when a minimum exceeds its maximum.
    Bbox2(double minX, double minY, double maxX, double maxY);
    /// A copy has the same ranges but no predicate object, so that it may be changed in another thread.
    Bbox2(const Bbox2& other);
    /// Takes the ranges of the other box and keeps its own predicate object.
    Bbox2& operator=(const Bbox2& other);

    /// For the engine: from now on the box keeps the static error bound of the predicates at or above its own largest
    /// absolute coordinate. The predicates are not owned; null ends this.
    void setGeomTest(GeomTest* pGeomTest);

    /// Extends the box to a point. A coordinate that is NaN leaves the range of its axis unchanged.
    void add(const Point2& point) {
        minX_ = std::min(minX_, point.x());
        minY_ = std::min(minY_, point.y());
        maxX_ = std::max(maxX_, point.x());
        maxY_ = std::max(maxY_, point.y());
        bValid_ = minX_ <= maxX_ && minY_ <= maxY_;  // false as long as all coordinates were NaN
        if (pGeomTest_) raiseStaticBound();
    }
    /// Extends the box to all points of a list. Linear.
    void add(const std::vector<Point2>& vPoints);
    /// Extends this box to the other one and returns this box. An invalid argument is reported and fails with
    /// TaroException.
    Bbox2& operator+(const Bbox2& other);

    /// False until a first point has been added, and for four numbers of which a minimum exceeds its maximum.
    bool isValid() const { return bValid_; }
    /// True if the point lies in the box or on its boundary; false for an invalid box.
    bool isInBox(const Point2& point) const {
        return bValid_ && minX_ <= point.x() && point.x() <= maxX_ && minY_ <= point.y() && point.y() <= maxY_;
    }
    /// True if the boxes overlap or touch. An invalid box on either side is reported and fails with TaroException.
    bool doIntersect(const Bbox2& other) const {
        if (!bValid_ || !other.bValid_) failInvalid("Bbox2::doIntersect()", "bbox invalid");
        return minX_ <= other.maxX_ && other.minX_ <= maxX_ && minY_ <= other.maxY_ && other.minY_ <= maxY_;
    }

    /// Doubles width and height around the centre. Ends stop at the largest finite double; an invalid box,
    /// like a range of length zero, stays as it is.
    void doubleTheBox() { enlargeRanges(2.0); }
    /// Scales width and height by a factor around the centre, with the same limits. A factor below 0 counts
    /// as 0, and a factor of at least 1 never loses a point to rounding.
    void enlargeRanges(double factor);

    double getMinX() const { return minX_; }  ///< The smallest x; the largest double if nothing has been added.
    double getMinY() const { return minY_; }  ///< The smallest y; the largest double if nothing has been added.
    double getMaxX() const { return maxX_; }  ///< The largest x; the lowest double if nothing has been added.
    double getMaxY() const { return maxY_; }  ///< The largest y; the lowest double if nothing has been added.
    /// The lower left corner, with z = 0.
    Point2 getMinPoint() const { return Point2(minX_, minY_, 0.0); }
    /// The upper right corner, with z = 0.
    Point2 getMaxPoint() const { return Point2(maxX_, maxY_, 0.0); }
    /// Both ranges at once.
    void getBounds(double& minX, double& minY, double& maxX, double& maxY) const;
    /// The centre, with z = 0; the origin if nothing has been added.
    Point2 computeCenter() const;
    /// Appends the four corners, with z = 0, counterclockwise from the lower left one.
    void getCorners(std::vector<Point2>& vCorners) const { getOffsetCorners(0.0, vCorners); }
    /// Appends the corners of the box grown by an offset on all sides, in the same order. The box itself does not
    /// change; its validity is not tested.
    void getOffsetCorners(double offset, std::vector<Point2>& vCorners) const;

  private:
    [[noreturn]] static void failInvalid(const char* location, const char* message);
    void raiseStaticBound() const;

    double minX_ = std::numeric_limits<double>::max();
    double minY_ = std::numeric_limits<double>::max();
    double maxX_ = std::numeric_limits<double>::lowest();
    double maxY_ = std::numeric_limits<double>::lowest();
    bool bValid_ = false;
    GeomTest* pGeomTest_ = nullptr;
};

}  // namespace LUMO_TARO25D
