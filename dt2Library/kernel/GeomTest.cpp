// The ladders of the predicates, and their stages between the inlined filter and the rationals.
//
// Orientation. 1. A bound that depends on the coordinate magnitude m alone (inlined). 2. A bound made of
// the products at hand (Shewchuk 1997), which also decides small triangles far from the origin. 3.
// Error-free transformations: exact, as long as exponents allow. 4. Intervals, and 5. rationals: only for
// exponents near the ends of the range.
//
// In-circle. 1. A bound made of the squared distances at hand (inlined). 2. Axis-parallel rectangles, which
// lattices are full of. 3. Integers of 30 bits: exact for all other cocircular points of a lattice. 4. For
// small triangles of a set with huge coordinates, which keep the first bound from answering: a bound made of
// the products at hand. 5. Doubled precision with an error bound: everything that is nearly but not exactly
// cocircular. 6. Error-free transformations. 7. Rationals.
//
// Points whose differences are beyond 2^200 or below 2^-200 leave the range of these stages. They are first multiplied
// by a power of two, where that is exact; only cases that are still undecided go to intervals and rationals.
//
// Why the static orientation bound 12 eps m^2 = 24 u m^2 (u = 2^-53) is safe. Let f = 2^i (1 + s) and g =
// 2^j (1 + t), with s and t in [0, 1), be the rounded differences of one product; 2 m is a double, so
// neither exceeds it. In units of 2^(i+j), the product of the exact differences is within u (2 + s + t + u)
// of f g, and rounding f g adds
//   - at most 2 u if (1 + s)(1 + t) >= 2;
//   - else at most u, and at most s t, because 1 + s + t is a double.
// The sum is always below R = 3 u (1 - 4 u)(1 + s)(1 + t): in the first case since s + t + 1 <= (1 + s)(1 + t). In the
// second, R exceeds 3 u + 3 u (s + t) - 24 u^2: if s t < u / 2, a whole u / 2 is to spare; otherwise s + t is at least
// the square root of 2 u, and u (s + t) outweighs the terms in u^2. So a computed product is off by less than 12 u m^2
// (1 - 4 u), and if the true difference of two products is not positive, the computed ones differ by less than 24 u m^2
// (1 - 4 u). Rounding that difference adds less than a factor 1 + u; the two roundings in the bound itself take less
// than a factor 1 - 2 u. The remaining 24 u^2 m^2 cover two products that underflow by 2^-1075 each, from m = 1e-140
// on. Up to m = 1e150 nothing overflows; a product that does would beat one that just does not, whatever the true ones
// are.

#include "kernel/GeomTest.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <initializer_list>
#include <iostream>

#include "kernel/expansion.h"
#include "support/diagnostics.h"

namespace LUMO_TARO25D {

namespace {

__extension__ typedef __int128 Int128;

int signOf(double value) { return (value > 0.0) - (value < 0.0); }

/// Whether products of DEGREE such numbers stay in the range of error-free transformations: each part is 0 or
/// has a magnitude from 1 / limit to limit. Its last bit is 2^-52 of that or more, and those of the product
/// reach down to 2^-1064 (degree 2) or 2^-1008 (degree 4).
template <int DEGREE>
bool areInRange(std::initializer_list<DoubleDouble> values) {
    constexpr double limit = DEGREE == 2 ? 0x1p480 : 0x1p200;
    bool bInRange = true;
    for (const DoubleDouble& value : values) {
        const double hi = std::abs(value.hi), lo = std::abs(value.lo);
        bInRange &= (hi >= 1.0 / limit || hi == 0.0) && hi <= limit && (lo >= 1.0 / limit || lo == 0.0);
    }
    return bInRange;
}

/// The sign of f g - h k: equal rounded products leave it to their errors.
int compareProducts(double f, double g, double h, double k) {
    const DoubleDouble fg = twoProduct(f, g), hk = twoProduct(h, k);
    return fg.hi != hk.hi ? signOf(fg.hi - hk.hi) : signOf(fg.lo - hk.lo);
}

/// The corners of a triangle relative to the query point, without error.
struct InCircleFactors {
    DoubleDouble ax, ay, bx, by, cx, cy;

    InCircleFactors(const Point2& p0, const Point2& p1, const Point2& p2, const Point2& q)
        : ax(twoDiff(p0.x(), q.x())),
          ay(twoDiff(p0.y(), q.y())),
          bx(twoDiff(p1.x(), q.x())),
          by(twoDiff(p1.y(), q.y())),
          cx(twoDiff(p2.x(), q.x())),
          cy(twoDiff(p2.y(), q.y())) {}

    bool inRange() const { return areInRange<4>({ax, ay, bx, by, cx, cy}); }
};

/// Adds (ux^2 + uy^2) (vx wy - vy wx).
template <int CAPACITY>
void addInCircleTerm(ExactSum<CAPACITY>& det, DoubleDouble ux, DoubleDouble uy, DoubleDouble vx, DoubleDouble vy,
                     DoubleDouble wx, DoubleDouble wy) {
    ExactSum<16> sqLength, cross;
    sqLength.addProduct(ux, ux);
    sqLength.addProduct(uy, uy);
    cross.addProduct(vx, wy);
    cross.addProduct(DoubleDouble{-vy.hi, -vy.lo}, wx);
    sqLength.condense();
    cross.condense();
    det.addProduct(sqLength, cross);
}

/// 2^exponent, for normal results.
double powerOfTwo(int exponent) {
    const std::uint64_t bits = static_cast<std::uint64_t>(exponent + 1023) << 52;
    double power;
    std::memcpy(&power, &bits, sizeof power);
    return power;
}

/// The exponent of the largest power of two not above a positive normal number.
int exponentOf(double value) {
    std::uint64_t bits;
    std::memcpy(&bits, &value, sizeof bits);
    return static_cast<int>(bits >> 52) - 1023;
}

/// The points times the power of two that brings their largest difference near 1, which changes no sign. No value where
/// the stages reach the points without it, or where a coordinate would lose bits.
template <std::size_t NUM>
std::optional<std::array<Point2, NUM>> scaleIntoRange(const std::array<const Point2*, NUM>& aPoints) {
    const Point2& origin = *aPoints[NUM - 1];
    double largest = 0.0;  // half of it, which cannot overflow
    for (const Point2* p : aPoints) {
        largest =
            std::max({largest, std::abs(0.5 * p->x() - 0.5 * origin.x()), std::abs(0.5 * p->y() - 0.5 * origin.y())});
    }
    if ((largest >= 0x1p-200 && largest <= 0x1p200) || !(largest > 0.0) || !std::isfinite(largest)) return std::nullopt;
    int exponent;
    std::frexp(largest, &exponent);
    const int half = exponent / 2;
    const double first = powerOfTwo(-half), second = powerOfTwo(half - exponent);
    const double firstBack = powerOfTwo(half), secondBack = powerOfTwo(exponent - half);
    std::array<Point2, NUM> aScaled;
    for (std::size_t i = 0; i < NUM; ++i) {
        const double x = aPoints[i]->x() * first * second, y = aPoints[i]->y() * first * second;
        if (x * firstBack * secondBack != aPoints[i]->x() || y * firstBack * secondBack != aPoints[i]->y()) {
            return std::nullopt;
        }
        aScaled[i] = Point2(x, y, 0.0);
    }
    return aScaled;
}

/// Whether exactly one of a, b, c equals q and the other two equal each other.
bool isPairBesideOne(double a, double b, double c, double q) {
    return a == q ? b == c && b != q : b == q ? a == c : c == q && a == b;
}

/// Whether q completes three corners to an axis-parallel rectangle.
bool isFourthCorner(const Point2& p0, const Point2& p1, const Point2& p2, const Point2& q) {
    return isPairBesideOne(p0.x(), p1.x(), p2.x(), q.x()) && isPairBesideOne(p0.y(), p1.y(), p2.y(), q.y());
}

}  // namespace

Orientation2 GeomTest::undecidedOri2(const Point2* a, const Point2* b, const Point2* c) {
    // Rows and columns of lattices. Differences of infinite coordinates are NaN, which the last stage refuses.
    if ((a->x() - c->x() == 0.0 && b->x() - c->x() == 0.0) || (a->y() - c->y() == 0.0 && b->y() - c->y() == 0.0)) {
        return ORIENTATION2_COLLINEAR;
    }
    std::optional<int> sign = expansionOri2(*a, *b, *c);
    if (!sign) {
        if (const auto aScaled = scaleIntoRange<3>({a, b, c})) {
            const auto& [p, q, r] = *aScaled;
            sign = productFilterOri2(p, q, r);
            if (!sign) sign = expansionOri2(p, q, r);
        }
    }
    return sign ? toOrientation(*sign) : dynamicFilterOri2(a, b, c);
}

std::optional<int> GeomTest::productFilterOri2(const Point2& a, const Point2& b, const Point2& c) {
    const double left = (a.x() - c.x()) * (b.y() - c.y());
    const double right = (a.y() - c.y()) * (b.x() - c.x());
    if (isSureOri2(left - right, left, right)) return signOf(left - right);
    return std::nullopt;
}

std::optional<int> GeomTest::expansionOri2(const Point2& a, const Point2& b, const Point2& c) {
    const DoubleDouble f = twoDiff(a.x(), c.x()), g = twoDiff(b.y(), c.y());
    const DoubleDouble h = twoDiff(a.y(), c.y()), k = twoDiff(b.x(), c.x());
    if (!areInRange<2>({f, g, h, k})) return std::nullopt;
    if (f.lo == 0.0 && g.lo == 0.0 && h.lo == 0.0 && k.lo == 0.0) return compareProducts(f.hi, g.hi, h.hi, k.hi);
    const DoubleDouble det = f * g - h * k;
    // Each product is off by 9 u^2 and their difference by 3 u^2 more, below 2^-102 of the sum of the magnitudes.
    if (std::abs(det.hi) > 0x1p-100 * (std::abs(f.hi * g.hi) + std::abs(h.hi * k.hi))) return signOf(det.hi);
    ExactSum<16> exactDet;
    exactDet.addProduct(f, g);
    exactDet.addProduct(DoubleDouble{-h.hi, -h.lo}, k);
    return exactDet.sign();
}

bool GeomTest::exact_circleInc(const Point2* p0, const Point2* p1, const Point2* p2, const Point2* q) {
    return isFourthCorner(*p0, *p1, *p2, *q) || undecidedInCircle(*p0, *p1, *p2, *q) > 0;
}

CINC2 GeomTest::exact_circleInc3state(const Triangle2* t, const Point2* q) {
    const Point2 &p0 = *t->getCorner(0), &p1 = *t->getCorner(1), &p2 = *t->getCorner(2);
    const int sign = isFourthCorner(p0, p1, p2, *q) ? 0 : undecidedInCircle(p0, p1, p2, *q);
    return sign > 0 ? CINC2_INCIRCLE : sign < 0 ? CINC2_OUTCIRCLE : CINC2_ZERO;
}

int GeomTest::undecidedInCircle(const Point2& p0, const Point2& p1, const Point2& p2, const Point2& q) {
    if (const std::optional<int> sign = integerInCircle(p0, p1, p2, q)) return *sign;
    if (const auto aScaled = scaleIntoRange<4>({&p0, &p1, &p2, &q})) {
        const auto& [s0, s1, s2, s] = *aScaled;
        const int sign = filteredInCircle(s0, s1, s2, s);
        return sign != 0 ? sign : undecidedInCircle(s0, s1, s2, s);
    }
    std::optional<int> sign = permanentInCircle(p0, p1, p2, q);
    if (!sign) sign = doubleDoubleInCircle(p0, p1, p2, q);
    if (!sign) sign = expansionInCircle(p0, p1, p2, q);
    return sign ? *sign : rationalInCircle(p0, p1, p2, q);
}

std::optional<int> GeomTest::permanentInCircle(const Point2& p0, const Point2& p1, const Point2& p2, const Point2& q) {
    const double ax = p0.x() - q.x(), ay = p0.y() - q.y();
    const double bx = p1.x() - q.x(), by = p1.y() - q.y();
    const double cx = p2.x() - q.x(), cy = p2.y() - q.y();
    const double det = inCircleDeterminant(ax, ay, bx, by, cx, cy);
    const double squares = ax * ax + ay * ay + bx * bx + by * by + cx * cx + cy * cy;
    const double underflow = 1e-300 * (squares + 1.0);
    const double bound = 3.33e-15 * inCirclePermanent(ax, ay, bx, by, cx, cy) + underflow;
    if (std::abs(det) > bound) return signOf(det);
    return std::nullopt;
}

std::optional<int> GeomTest::integerInCircle(const Point2& p0, const Point2& p1, const Point2& p2, const Point2& q) {
    const double aCoord[6] = {p0.x(), p0.y(), p1.x(), p1.y(), p2.x(), p2.y()};
    const double aOrigin[6] = {q.x(), q.y(), q.x(), q.y(), q.x(), q.y()};
    double aDiff[6], largest = 0.0;
    bool bExact = true;
    for (int i = 0; i < 6; ++i) {
        aDiff[i] = aCoord[i] - aOrigin[i];
        bExact &= isExactDifference(aCoord[i], aOrigin[i], aDiff[i]);
        largest = std::max(largest, std::abs(aDiff[i]));
    }
    if (!bExact || !(largest >= 0x1p-900 && largest <= 0x1p900)) return std::nullopt;

    const int exponent = exponentOf(largest) - 29;
    const double unit = powerOfTwo(exponent), inverse = powerOfTwo(-exponent);
    std::int64_t aMultiple[6];
    for (int i = 0; i < 6; ++i) {
        const std::int32_t multiple = static_cast<std::int32_t>(aDiff[i] * inverse);
        bExact &= multiple * unit == aDiff[i];
        aMultiple[i] = multiple;
    }
    if (!bExact) return std::nullopt;
    // Squared lengths and cross products stay below 2^61, their products below 2^122.
    const Int128 det = inCircleDeterminant<std::int64_t, Int128>(aMultiple[0], aMultiple[1], aMultiple[2], aMultiple[3],
                                                                 aMultiple[4], aMultiple[5]);
    return (det > 0) - (det < 0);
}

std::optional<int> GeomTest::doubleDoubleInCircle(const Point2& p0, const Point2& p1, const Point2& p2,
                                                  const Point2& q) {
    const InCircleFactors d(p0, p1, p2, q);
    if (!d.inRange()) return std::nullopt;
    const DoubleDouble det = inCircleDeterminant(d.ax, d.ay, d.bx, d.by, d.cx, d.cy);
    const double permanent = inCirclePermanent(d.ax.hi, d.ay.hi, d.bx.hi, d.by.hi, d.cx.hi, d.cy.hi);
    // Squared lengths and cross products are off by 12 u^2, their products by 33 u^2, the sum by 39 u^2: below 2^-100.
    if (std::abs(det.hi) > 0x1p-98 * permanent) return signOf(det.hi);
    return std::nullopt;
}

std::optional<int> GeomTest::expansionInCircle(const Point2& p0, const Point2& p1, const Point2& p2, const Point2& q) {
    const InCircleFactors d(p0, p1, p2, q);
    if (!d.inRange()) return std::nullopt;
    ExactSum<3 * 16 * 16 * 2> det;
    addInCircleTerm(det, d.ax, d.ay, d.bx, d.by, d.cx, d.cy);
    addInCircleTerm(det, d.bx, d.by, d.cx, d.cy, d.ax, d.ay);
    addInCircleTerm(det, d.cx, d.cy, d.ax, d.ay, d.bx, d.by);
    return det.sign();
}

IntersectionType GeomTest::getIntersectionType(const Point2& p0, const Point2& p1, const Point2& p2, const Point2& p3) {
    const Orientation2 o1 = getOrientation2(&p0, &p1, &p2), o2 = getOrientation2(&p0, &p1, &p3);
    if (o1 == ORIENTATION2_COLLINEAR && o2 == ORIENTATION2_COLLINEAR) {
        if (p0 == p1 && getOrientation2(&p2, &p3, &p0) != ORIENTATION2_COLLINEAR) return IST_NOIS;
        // On one line, the order of points by coordinates is exact; squared distances would round.
        const Point2& start = std::max(std::min(p0, p1), std::min(p2, p3));
        const Point2& end = std::min(std::max(p0, p1), std::max(p2, p3));
        return end < start ? IST_NOIS : IST_COLLINEAR;
    }
    if (o1 == o2) return IST_NOIS;
    return getOrientation2(&p2, &p3, &p0) != getOrientation2(&p2, &p3, &p1) ? IST_REGULAR : IST_NOIS;
}

int GeomTest::getOrientation3_inexact(const Point2* a, const Point2* b, const Point2* c, const Point2* d) {
    const double ux = b->x() - a->x(), uy = b->y() - a->y(), uz = b->z() - a->z();
    const double vx = c->x() - a->x(), vy = c->y() - a->y(), vz = c->z() - a->z();
    const double wx = d->x() - a->x(), wy = d->y() - a->y(), wz = d->z() - a->z();
    const double det = (uy * vz - uz * vy) * wx + (uz * vx - ux * vz) * wy + (ux * vy - uy * vx) * wz;
    return det > 0.0 ? 1 : det < 0.0 ? 2 : 0;
}

std::string getString(Orientation2 ori) {
    switch (ori) {
        case ORIENTATION2_COLLINEAR:
            return "ORIENTATION2_COLLINEAR";
        case ORIENTATION2_CCW:
            return "ORIENTATION2_CCW";
        case ORIENTATION2_CW:
            return "ORIENTATION2_CW";
    }
    return "UNKNOWN";
}

std::string GeomTest::getString(CINC2 cinc) {
    switch (cinc) {
        case CINC2_ZERO:
            return "CINC2_ZERO";
        case CINC2_INCIRCLE:
            return "CINC2_INCIRCLE";
        case CINC2_OUTCIRCLE:
            return "CINC2_OUTCIRCLE";
    }
    return "UNKNOWN";
}

std::string GeomTest::getString(IntersectionType ist) {
    switch (ist) {
        case IST_NOIS:
            return "IST_NOIS";
        case IST_COLLINEAR:
            return "IST_COLLINEAR";
        case IST_REGULAR:
            return "IST_REGULAR";
    }
    return "UNKNOWN";
}

std::string GeomTest::getUserFriendlyOrientation(Orientation2 ori) {
    switch (ori) {
        case ORIENTATION2_COLLINEAR:
            return "COL";
        case ORIENTATION2_CCW:
            return "CCW";
        case ORIENTATION2_CW:
            return "CW";
    }
    return "unknown, this is a bug";
}

void GeomTest::debug(const Point2* a, const Point2* b, const Point2* c) {
    const double simple = (a->x() - c->x()) * (b->y() - c->y()) - (a->y() - c->y()) * (b->x() - c->x());
    Note note("GeomTest::debug()");
    note << *a << "\n" << *b << "\n" << *c << "\n";
    note << "STATIC BOUND=" << staticBoundPos_ << "\nsimple result=" << simple << "\n";
    note << "simple test says "
         << (simple > staticBoundPos_   ? "positive"
             : simple < staticBoundNeg_ ? "negative"
                                        : "'no idea'")
         << "\n";
    note << "Result of dynamic ub: " << upperBoundOri2(*a, *b, *c) << "\n";
    note << "Result of dynamic lb: " << lowerBoundOri2(*a, *b, *c) << "\n";
    const Orientation2 ori = exact_getOrientation2(a, b, c);
    note << "exact test says "
         << (ori == ORIENTATION2_CCW  ? "POSITIVE"
             : ori == ORIENTATION2_CW ? "NEGATIVE"
                                      : "ZERO")
         << "\n";
}

}  // namespace LUMO_TARO25D
