// The orientation test by interval arithmetic. A bound of the determinant is computed from bounds of its two products,
// each evaluated under the rounding mode that can only move it outwards.
//
// Compilers do not know that arithmetic depends on the rounding mode: they would move an operation across a
// call that changes it, or merge two evaluations. So this file is compiled with -frounding-math, and every
// operand and result of an operation under a directed mode goes through a volatile, which is neither moved
// across those calls nor merged.

#include <cfenv>

#include "kernel/GeomTest.h"

namespace LUMO_TARO25D {

namespace {

/// Restores the rounding mode at the end of a scope.
class RoundingScope {
  public:
    RoundingScope() : mode_(std::fegetround()) {}
    ~RoundingScope() { std::fesetround(mode_); }
    RoundingScope(const RoundingScope&) = delete;
    RoundingScope& operator=(const RoundingScope&) = delete;

  private:
    const int mode_;
};

double pinned(double value) {
    volatile double result = value;
    return result;
}

double subtract(double a, double b, int roundingMode) {
    std::fesetround(roundingMode);
    return pinned(pinned(a) - pinned(b));
}

double multiplyDifferences(double a, double b, double c, double d, int roundingMode) {
    std::fesetround(roundingMode);
    return pinned((pinned(a) - pinned(b)) * (pinned(c) - pinned(d)));
}

/// A bound of (a - b) * (c - d): towards zero the magnitude can only shrink; with both factors made positive,
/// upwards, it can only grow. The signs come from the coordinates, as a computed difference may have
/// underflown or overflown.
double boundOfProduct(double a, double b, double c, double d, bool bUpper) {
    const bool bNegative = (b < a) != (d < c);
    if (bNegative == bUpper) return multiplyDifferences(a, b, c, d, FE_TOWARDZERO);
    const double magnitude = multiplyDifferences(b < a ? a : b, b < a ? b : a, d < c ? c : d, d < c ? d : c, FE_UPWARD);
    return bNegative ? -magnitude : magnitude;
}

}  // namespace

double GeomTest::upperBoundOri2(const Point2& a, const Point2& b, const Point2& c) {
    const RoundingScope scope;
    const double upper = boundOfProduct(a.x(), c.x(), b.y(), c.y(), true);
    const double lower = boundOfProduct(b.x(), c.x(), a.y(), c.y(), false);
    return subtract(upper, lower, FE_UPWARD);
}

double GeomTest::lowerBoundOri2(const Point2& a, const Point2& b, const Point2& c) {
    const RoundingScope scope;
    const double lower = boundOfProduct(a.x(), c.x(), b.y(), c.y(), false);
    const double upper = boundOfProduct(b.x(), c.x(), a.y(), c.y(), true);
    return subtract(lower, upper, FE_DOWNWARD);
}

Orientation2 GeomTest::dynamicFilterOri2(const Point2* a, const Point2* b, const Point2* c) {
    if (a->x() == b->x() && b->x() == c->x()) return ORIENTATION2_COLLINEAR;
    if (a->y() == b->y() && b->y() == c->y()) return ORIENTATION2_COLLINEAR;
    // A bound that is NaN (infinity times zero, infinity less infinity) compares false and leaves the decision open.
    if (upperBoundOri2(*a, *b, *c) < 0.0) return ORIENTATION2_CW;
    if (lowerBoundOri2(*a, *b, *c) > 0.0) return ORIENTATION2_CCW;
    return exact_getOrientation2(a, b, c);
}

}  // namespace LUMO_TARO25D
