// The last stages: rational arithmetic (GNU MP), in which every double is exact and nothing rounds.
//
// The rationals of a predicate are kept from call to call (PredicateRationals, LineRationals), since allocating them
// costs more than most of the arithmetic; they are created at the first call that needs them.
//
// Intersection points are needed far more often than undecided predicates. They are therefore computed in doubled
// precision first (doubleDoubleIntersectionCoords), with a bound of the error; where the bound tells to which double
// the exact coordinate rounds towards zero, that is the answer, and otherwise rationals compute it. Both give the same
// bits.

#include <gmp.h>

#include "kernel/GeomTest.h"
#include "kernel/expansion.h"
#include "support/diagnostics.h"

namespace LUMO_TARO25D {

namespace {

/// A rational number that owns its memory and converts to the argument type of the GNU MP functions.
class Rational {
  public:
    Rational() { mpq_init(value_); }
    ~Rational() { mpq_clear(value_); }
    Rational(const Rational&) = delete;
    Rational& operator=(const Rational&) = delete;

    operator mpq_ptr() { return value_; }
    int sign() const { return mpq_sgn(value_); }

    void set(double value) {
        TARO_ASSERT(std::isfinite(value));
        mpq_set_d(value_, value);
    }

  private:
    mpq_t value_;
};

/// result = ux * vy - uy * vx
void crossProduct(Rational& result, Rational& ux, Rational& uy, Rational& vx, Rational& vy, Rational& scratch) {
    mpq_mul(result, ux, vy);
    mpq_mul(scratch, uy, vx);
    mpq_sub(result, result, scratch);
}

}  // namespace

struct GeomTest::PredicateRationals {
    Rational x[4], y[4];    // the points
    Rational dx[3], dy[3];  // relative to the last one
    Rational product0, product1;
    Rational sqLength[3], cross[3];
    Rational det;

    void setPoint(int i, const Point2& point) {
        x[i].set(point.x());
        y[i].set(point.y());
    }
    /// Computes the differences between the given point and all points before it.
    void subtract(int origin) {
        for (int i = 0; i < origin; ++i) {
            mpq_sub(dx[i], x[i], x[origin]);
            mpq_sub(dy[i], y[i], y[origin]);
        }
    }
};

struct GeomTest::LineRationals {
    Rational x[4], y[4];              // the ends of both segments
    Rational dx0, dy0, dx1, dy1;      // their directions
    Rational dx, dy;                  // from the start of the first to the start of the second
    Rational start, end, position;    // along one segment, on one axis
    Rational z[2];                    // the heights of its ends
    Rational numerator, denominator;  // their quotient is the parameter, 0 at the start and 1 at the end
    Rational parameter, scratch;

    void setPoint(int i, const Point2& point) {
        x[i].set(point.x());
        y[i].set(point.y());
    }
};

void GeomTest::Discard::operator()(PredicateRationals* pRationals) const { delete pRationals; }
void GeomTest::Discard::operator()(LineRationals* pRationals) const { delete pRationals; }

GeomTest::PredicateRationals& GeomTest::predicateRationals() {
    if (!pPredicateRationals_) pPredicateRationals_.reset(new PredicateRationals);
    return *pPredicateRationals_;
}

GeomTest::LineRationals& GeomTest::lineRationals() {
    if (!pLineRationals_) pLineRationals_.reset(new LineRationals);
    return *pLineRationals_;
}

Orientation2 GeomTest::exact_getOrientation2(const Point2* a, const Point2* b, const Point2* c) {
    PredicateRationals& r = predicateRationals();
    r.setPoint(0, *a);
    r.setPoint(1, *b);
    r.setPoint(2, *c);
    r.subtract(2);
    mpq_mul(r.product0, r.dx[0], r.dy[1]);
    mpq_mul(r.product1, r.dy[0], r.dx[1]);
    return toOrientation(mpq_cmp(r.product0, r.product1));
}

int GeomTest::rationalInCircle(const Point2& p0, const Point2& p1, const Point2& p2, const Point2& q) {
    PredicateRationals& r = predicateRationals();
    r.setPoint(0, p0);
    r.setPoint(1, p1);
    r.setPoint(2, p2);
    r.setPoint(3, q);
    r.subtract(3);
    mpq_set_ui(r.det, 0, 1);
    for (int i = 0; i < 3; ++i) {
        const int next = (i + 1) % 3, last = (i + 2) % 3;
        mpq_mul(r.sqLength[i], r.dx[i], r.dx[i]);
        mpq_mul(r.product0, r.dy[i], r.dy[i]);
        mpq_add(r.sqLength[i], r.sqLength[i], r.product0);
        crossProduct(r.cross[i], r.dx[next], r.dy[next], r.dx[last], r.dy[last], r.product0);
        mpq_mul(r.product1, r.sqLength[i], r.cross[i]);
        mpq_add(r.det, r.det, r.product1);
    }
    return r.det.sign();
}

namespace {

/// A number in doubled precision that is at most `error` away from the true one.
struct Bounded {
    DoubleDouble value;
    double error;
};

constexpr double UNIT = 1.3e-32;           // above 2^-106, the square of the unit roundoff
constexpr double UNDERFLOW_LOSS = 1e-300;  // far above the loss of the products below to underflow

/// a b - c d of exact numbers.
Bounded boundedCrossProduct(DoubleDouble a, DoubleDouble b, DoubleDouble c, DoubleDouble d) {
    const double magnitude = std::abs(a.hi * b.hi) + std::abs(c.hi * d.hi);
    return {a * b - c * d, 32.0 * UNIT * magnitude + UNDERFLOW_LOSS};
}

/// start + numerator / denominator * difference, rounded towards zero; false if the error bound does not tell to which
/// double.
bool getCertainCoord(double start, const Bounded& numerator, const Bounded& denominator, DoubleDouble difference,
                     double& coord) {
    const DoubleDouble product = numerator.value * difference;
    const double first = product.hi / denominator.value.hi;
    const DoubleDouble rest = product - denominator.value * DoubleDouble{first, 0.0};
    const DoubleDouble offset = twoSum(first, rest.hi / denominator.value.hi);
    const double absDenominator = std::abs(denominator.value.hi);
    const double offsetError = 1.01 * (numerator.error * std::abs(difference.hi) / absDenominator +
                                       std::abs(first) * (denominator.error / absDenominator + 64.0 * UNIT)) +
                               UNDERFLOW_LOSS * (1.0 + 1.0 / absDenominator);
    const DoubleDouble sum = DoubleDouble{start, 0.0} + offset;
    const double sumError = 1.01 * (offsetError + 8.0 * UNIT * (std::abs(start) + std::abs(first)));
    const double rounding = std::abs(sum.lo);
    if (!(rounding > sumError && std::isfinite(sum.hi))) return false;
    coord = (sum.lo > 0.0) == (sum.hi > 0.0) ? sum.hi : std::nextafter(sum.hi, 0.0);
    return rounding + sumError < std::abs(sum.hi - std::nextafter(sum.hi, 0.0));
}

}  // namespace

bool GeomTest::doubleDoubleIntersectionCoords(const Point2& p0, const Point2& p1, const Point2& p2, const Point2& p3,
                                              double& x, double& y) {
    constexpr double MAX_COORD = 1e70;  // products of four stay finite
    for (const Point2* p : {&p0, &p1, &p2, &p3}) {
        if (!(std::abs(p->x()) < MAX_COORD && std::abs(p->y()) < MAX_COORD)) return false;
    }
    const DoubleDouble dx0 = twoDiff(p1.x(), p0.x()), dy0 = twoDiff(p1.y(), p0.y());
    const DoubleDouble dx1 = twoDiff(p3.x(), p2.x()), dy1 = twoDiff(p3.y(), p2.y());
    const Bounded denominator = boundedCrossProduct(dx0, dy1, dy0, dx1);
    if (!(std::abs(denominator.value.hi) > 1e10 * denominator.error)) return false;
    const DoubleDouble dx = twoDiff(p2.x(), p0.x()), dy = twoDiff(p2.y(), p0.y());
    const Bounded numerator = boundedCrossProduct(dx, dy1, dy, dx1);
    double certainX, certainY;
    if (!getCertainCoord(p0.x(), numerator, denominator, dx0, certainX) ||
        !getCertainCoord(p0.y(), numerator, denominator, dy0, certainY)) {
        return false;
    }
    x = certainX;
    y = certainY;
    return true;
}

void GeomTest::getIntersectionCoords_gmp(const Point2& p0, const Point2& p1, const Point2& p2, const Point2& p3,
                                         double& x, double& y) {
    LineRationals& r = lineRationals();
    const Point2* aPoint[4] = {&p0, &p1, &p2, &p3};
    for (int i = 0; i < 4; ++i) r.setPoint(i, *aPoint[i]);
    mpq_sub(r.dx0, r.x[1], r.x[0]);
    mpq_sub(r.dy0, r.y[1], r.y[0]);
    mpq_sub(r.dx1, r.x[3], r.x[2]);
    mpq_sub(r.dy1, r.y[3], r.y[2]);
    mpq_sub(r.dx, r.x[2], r.x[0]);
    mpq_sub(r.dy, r.y[2], r.y[0]);
    crossProduct(r.denominator, r.dx0, r.dy0, r.dx1, r.dy1, r.scratch);
    if (r.denominator.sign() == 0) error("GeomTest::getIntersectionCoords()", "denom=0 -> parallel segments");
    TARO_ASSERT_TEXT(r.denominator.sign() != 0, "denom=0 -> parallel segments");
    crossProduct(r.numerator, r.dx, r.dy, r.dx1, r.dy1, r.scratch);
    mpq_div(r.parameter, r.numerator, r.denominator);
    mpq_mul(r.dx0, r.dx0, r.parameter);
    mpq_mul(r.dy0, r.dy0, r.parameter);
    mpq_add(r.x[0], r.x[0], r.dx0);
    mpq_add(r.y[0], r.y[0], r.dy0);
    x = mpq_get_d(r.x[0]);
    y = mpq_get_d(r.y[0]);
}

double GeomTest::exactGetZOnSegment(const Point2& p, const Point2& q, double x, double y) {
    if (p == q) return p.z();
    const bool bAlongX = std::abs(q.x() - p.x()) >= std::abs(q.y() - p.y());
    LineRationals& r = lineRationals();
    r.start.set(bAlongX ? p.x() : p.y());
    r.end.set(bAlongX ? q.x() : q.y());
    r.position.set(bAlongX ? x : y);
    r.z[0].set(p.z());
    r.z[1].set(q.z());
    mpq_sub(r.numerator, r.position, r.start);
    mpq_sub(r.denominator, r.end, r.start);
    mpq_div(r.parameter, r.numerator, r.denominator);
    mpq_sub(r.z[1], r.z[1], r.z[0]);
    mpq_mul(r.z[1], r.z[1], r.parameter);
    mpq_add(r.z[0], r.z[0], r.z[1]);
    return mpq_get_d(r.z[0]);
}

}  // namespace LUMO_TARO25D
