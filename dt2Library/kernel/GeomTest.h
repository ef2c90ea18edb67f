#pragma once

// The predicates on which every combinatorial decision rests. Each is a ladder of stages, from a few floating-point
// operations with an error bound up to rational arithmetic; a stage answers only when it is certain, so the answer is
// always the sign of the determinant of the coordinates, taken as exact numbers. The first stage is inlined into the
// caller, all others are out of line.

#include <cmath>
#include <limits>
#include <memory>
#include <optional>
#include <string>

#include "taro25d/Orientation2.h"
#include "taro25d/Point2.h"
#include "taro25d/Triangle2.h"

namespace LUMO_TARO25D {

/// The result of the three-state in-circle test.
enum CINC2 {
    CINC2_ZERO = 0,      ///< on the circumcircle
    CINC2_INCIRCLE = 1,  ///< strictly inside
    CINC2_OUTCIRCLE = 2  ///< strictly outside
};

/// The result of the segment-pair test.
enum IntersectionType {
    IST_NOIS = 0,       ///< no common point
    IST_COLLINEAR = 1,  ///< on one line, with at least one common point
    IST_REGULAR = 2     ///< a proper crossing or a touch
};

/// The in-circle determinant of three corners relative to the query point; Wide is the type of the products
/// of degree 4.
template <class T, class Wide = T>
inline Wide inCircleDeterminant(T ax, T ay, T bx, T by, T cx, T cy) {
    return Wide(ax * ax + ay * ay) * Wide(bx * cy - by * cx) + Wide(bx * bx + by * by) * Wide(cx * ay - cy * ax) +
           Wide(cx * cx + cy * cy) * Wide(ax * by - ay * bx);
}

/// The permanent: the in-circle determinant with the absolute values of all products.
inline double inCirclePermanent(double ax, double ay, double bx, double by, double cx, double cy) {
    return (ax * ax + ay * ay) * (std::abs(bx * cy) + std::abs(by * cx)) +
           (bx * bx + by * by) * (std::abs(cx * ay) + std::abs(cy * ax)) +
           (cx * cx + cy * cy) * (std::abs(ax * by) + std::abs(ay * bx));
}

/// Orientation, in-circle and intersection predicates. x and y alone count, except where a height is asked for.
///
/// An instance holds the static error bound of its owner's coordinates and scratch rationals: two threads
/// must not use one instance at once. The rationals are created when they are first needed, so that an
/// instance is cheap to build. The floating-point environment must round to nearest (the interval stage alone
/// accepts every mode). Coordinates that are not finite fail with TaroException when they reach a rational stage.
class GeomTest {
  public:
    GeomTest() = default;
    /// With static bounds for coordinates of magnitude at most |maxCoord|.
    explicit GeomTest(double maxCoord) { setStaticBound(maxCoord); }
    GeomTest(const GeomTest&) = delete;
    GeomTest& operator=(const GeomTest&) = delete;

    /// Sets the static error bounds for coordinates of magnitude at most |maxCoord|. The owner calls it
    /// before it tests points that exceed the stored magnitude, and never lowers it.
    void setStaticBound(double maxCoord) {
        maxAbsCoord_ = std::abs(maxCoord);
        const bool bSafe = maxAbsCoord_ >= minStaticCoord && maxAbsCoord_ <= maxStaticCoord;
        staticBoundPos_ =
            bSafe ? staticFactor * (maxAbsCoord_ * maxAbsCoord_) : std::numeric_limits<double>::infinity();
        staticBoundNeg_ = -staticBoundPos_;
    }
    /// The magnitude for which the static bounds hold; 0 at first.
    double getMaxAbsCoord() const { return maxAbsCoord_; }

    /// The side of the directed line a->b on which c lies. A cyclic shift of the arguments changes nothing, a
    /// swap of two exchanges CCW and CW. Points beyond `getMaxAbsCoord` may get a wrong answer.
    Orientation2 getOrientation2(const Point2* a, const Point2* b, const Point2* c) {
        const double left = (a->x() - c->x()) * (b->y() - c->y());
        const double right = (a->y() - c->y()) * (b->x() - c->x());
        const double det = left - right;
        if (det > staticBoundPos_) return ORIENTATION2_CCW;
        if (det < staticBoundNeg_) return ORIENTATION2_CW;
        if (isSureOri2(det, left, right)) return det > 0.0 ? ORIENTATION2_CCW : ORIENTATION2_CW;
        return undecidedOri2(a, b, c);
    }
    /// getOrientation2 by interval arithmetic, then rationals; needs no static bound. The rounding mode is restored
    /// before it returns.
    Orientation2 dynamicFilterOri2(const Point2* a, const Point2* b, const Point2* c);
    /// getOrientation2 by rational arithmetic alone.
    Orientation2 exact_getOrientation2(const Point2* a, const Point2* b, const Point2* c);

    /// True if q lies strictly inside the circumcircle of the counterclockwise triangle p0, p1, p2, or completes its
    /// corners to an axis-parallel rectangle. Any other point on the circle is outside. Cyclic shifts of the corners
    /// change nothing.
    bool circleInc(const Point2* p0, const Point2* p1, const Point2* p2, const Point2* q) {
        const int sign = filteredInCircle(*p0, *p1, *p2, *q);
        return sign != 0 ? sign > 0 : exact_circleInc(p0, p1, p2, q);
    }
    /// circleInc without the inlined filter, for callers that have evaluated it.
    bool exact_circleInc(const Point2* p0, const Point2* p1, const Point2* p2, const Point2* q);
    bool exact_circleInc(const Triangle2* t, const Point2* q) {
        return exact_circleInc(t->getCorner(0), t->getCorner(1), t->getCorner(2), q);
    }

    /// The sign of the determinant of circleInc, or 0 if rounding may have changed it. The determinant and the squared
    /// distances of the corners from q must be computed as in inCircleDeterminant, in any order of the corners.
    static int getSureSignInCircle(double det, double a, double b, double c);

    /// The position of q relative to the circumcircle of a counterclockwise triangle; every point on the
    /// circle is CINC2_ZERO.
    CINC2 circleInc3state(const Triangle2* t, const Point2* q) {
        const int sign = filteredInCircle(*t->getCorner(0), *t->getCorner(1), *t->getCorner(2), *q);
        return sign != 0 ? (sign > 0 ? CINC2_INCIRCLE : CINC2_OUTCIRCLE) : exact_circleInc3state(t, q);
    }
    /// circleInc3state without the inlined filter.
    CINC2 exact_circleInc3state(const Triangle2* t, const Point2* q);

    /// How the closed segments p0p1 and p2p3 meet, decided exactly; the coordinates must respect the static
    /// bound. A segment of zero length counts as its point: it is IST_COLLINEAR with a segment on which it lies.
    IntersectionType getIntersectionType(const Point2& p0, const Point2& p1, const Point2& p2, const Point2& p3);
    /// The intersection of the lines p0p1 and p2p3, computed without error and then rounded towards zero.
    /// Parallel lines are reported and fail with TaroException.
    void getIntersectionCoords_gmp(const Point2& p0, const Point2& p1, const Point2& p2, const Point2& p3, double& x,
                                   double& y);
    /// The coordinates of getIntersectionCoords_gmp, computed in doubled precision with an error bound. False, with x
    /// and y unchanged, where the bound leaves the rounding open; this is always so where a coordinate is exactly a
    /// double. The lines are not parallel if true.
    static bool doubleDoubleIntersectionCoords(const Point2& p0, const Point2& p1, const Point2& p2, const Point2& p3,
                                               double& x, double& y);
    /// The height at (x, y) on the segment pq, linear along the axis in which its ends differ more, computed without
    /// error and then rounded towards zero. Beyond the ends the line is extended. If p and q have the same x and y, the
    /// height of p.
    double exactGetZOnSegment(const Point2& p, const Point2& q, double x, double y);

    /// 1 if d is on the side of the plane abc from which a, b, c turn counterclockwise, 2 on the other side,
    /// 0 for a zero determinant; in plain floating-point arithmetic, not exact.
    static int getOrientation3_inexact(const Point2* a, const Point2* b, const Point2* c, const Point2* d);

    /// The names of the enumerators, "UNKNOWN" for any other value.
    static std::string getString(CINC2 cinc);
    static std::string getString(IntersectionType ist);
    /// "COL", "CCW" or "CW".
    static std::string getUserFriendlyOrientation(Orientation2 ori);

    /// Prints how each stage of the orientation test judges the points.
    void debug(const Point2* a, const Point2* b, const Point2* c);

    // The single stages, from cheap to expensive, for the ladders above and their tests. Each returns the sign of the
    // determinant, or no value where it cannot be certain.

    /// Compares the orientation determinant with the error that its two products can have.
    static std::optional<int> productFilterOri2(const Point2& a, const Point2& b, const Point2& c);
    /// Decides by error-free transformations; no value if a difference is out of their exponent range.
    static std::optional<int> expansionOri2(const Point2& a, const Point2& b, const Point2& c);
    /// A lower and an upper bound of the determinant, by directed rounding; they can be infinite or NaN.
    static double lowerBoundOri2(const Point2& a, const Point2& b, const Point2& c);
    static double upperBoundOri2(const Point2& a, const Point2& b, const Point2& c);

    /// Compares the in-circle determinant with the error that its products can have.
    static std::optional<int> permanentInCircle(const Point2& p0, const Point2& p1, const Point2& p2, const Point2& q);
    /// Decides by integers if the coordinate differences are multiples below 2^30 of one power of two.
    static std::optional<int> integerInCircle(const Point2& p0, const Point2& p1, const Point2& p2, const Point2& q);
    /// Compares the determinant in doubled precision with its error bound; no value out of the exponent range.
    static std::optional<int> doubleDoubleInCircle(const Point2& p0, const Point2& p1, const Point2& p2,
                                                   const Point2& q);
    /// Decides by error-free transformations; no value if a difference is out of their exponent range.
    static std::optional<int> expansionInCircle(const Point2& p0, const Point2& p1, const Point2& p2, const Point2& q);
    /// Always answers.
    int rationalInCircle(const Point2& p0, const Point2& p1, const Point2& p2, const Point2& q);

    /// Whether a rational orientation or in-circle stage has ever been reached.
    bool hasRationals() const { return pPredicateRationals_ != nullptr; }

  private:
    struct PredicateRationals;
    struct LineRationals;
    struct Discard {
        void operator()(PredicateRationals* pRationals) const;
        void operator()(LineRationals* pRationals) const;
    };

    // Between these magnitudes, the loss of the orientation determinant to underflow is far below the bound, and
    // nothing overflows.
    static constexpr double minStaticCoord = 1e-140, maxStaticCoord = 1e150;
    static constexpr double staticFactor = 12.0 * std::numeric_limits<double>::epsilon();

    /// Whether rounding cannot have changed the sign of a difference of two products of differences: (3 + 16 u) u times
    /// the sum of the products (Shewchuk 1997); the 16 u^2 cover the loss to underflow. Infinite and NaN values compare
    /// false.
    static bool isSureOri2(double det, double left, double right) {
        const double sum = std::abs(left) + std::abs(right);
        return sum > 1e-280 && std::abs(det) > 3.3306690738754716e-16 * sum;
    }
    static Orientation2 toOrientation(int sign) {
        return sign > 0 ? ORIENTATION2_CCW : sign < 0 ? ORIENTATION2_CW : ORIENTATION2_COLLINEAR;
    }
    static int filteredInCircle(const Point2& p0, const Point2& p1, const Point2& p2, const Point2& q);
    Orientation2 undecidedOri2(const Point2* a, const Point2* b, const Point2* c);
    int undecidedInCircle(const Point2& p0, const Point2& p1, const Point2& p2, const Point2& q);
    PredicateRationals& predicateRationals();
    LineRationals& lineRationals();

    double staticBoundPos_ = 0.0;
    double staticBoundNeg_ = 0.0;
    double maxAbsCoord_ = 0.0;
    std::unique_ptr<PredicateRationals, Discard> pPredicateRationals_;
    std::unique_ptr<LineRationals, Discard> pLineRationals_;
};

/// 3.33e-15 is three times the rounding error of the determinant relative to its permanent (Shewchuk 1997). By |uv| <=
/// (u^2 + v^2) / 2, the permanent is at most ab + bc + ca for the squared lengths a, b, c, which cost a third of it.
/// Adding 1e-140 to two of them makes the bound hold under underflow too: each of the products of two differences loses
/// at most h = 2^-1075 and is multiplied by at most the sum s of the squared lengths, so that all losses together stay
/// below 20 h (s + 1), and the bound is greater by 3.33e-155 s + 3.33e-295. An overflow in the determinant also occurs
/// in the bound, and nothing exceeds an infinite bound or NaN.
inline int GeomTest::getSureSignInCircle(double det, double a, double b, double c) {
    constexpr double lift = 1e-140;
    const double liftedA = a + lift, liftedC = c + lift;
    const double bound = 3.33e-15 * (liftedA * (b + liftedC) + b * liftedC);
    return det > bound ? 1 : det < -bound ? -1 : 0;
}

inline int GeomTest::filteredInCircle(const Point2& p0, const Point2& p1, const Point2& p2, const Point2& q) {
    const double ax = p0.x() - q.x(), ay = p0.y() - q.y();
    const double bx = p1.x() - q.x(), by = p1.y() - q.y();
    const double cx = p2.x() - q.x(), cy = p2.y() - q.y();
    return getSureSignInCircle(inCircleDeterminant(ax, ay, bx, by, cx, cy), ax * ax + ay * ay, bx * bx + by * by,
                               cx * cx + cy * cy);
}

}  // namespace LUMO_TARO25D
