// Circumcentres that are right to the last bit.
//
// With u = b - a and v = c - a the centre is a + (v.y |u|^2 - u.y |v|^2, u.x |v|^2 - v.x |u|^2) / d, d = 2 (u x v). The
// quotient is computed with a bound of its error, first in doubles, then in doubled precision. The sum is certain if it
// rounds to the same double from both ends of the range that the bound leaves (the rounding test of Ziv 1991).
// Otherwise rationals decide. The result is thus the true centre, rounded once: it depends neither on the order of the
// corners nor on the place of the triangle, and multiplying all coordinates by a power of two multiplies the centre by
// it.
//
// Centres with x or y exactly 0, as right triangles along an axis have, are found by error-free transformations, since
// no error bound tells 0 from its neighbours.
//
// Triangles that are small against their coordinates are nearly always settled by doubles, since the quotient has
// digits to spare there; those around the origin by doubled precision. Lattices, whose centres may lie in the middle
// between two doubles, can need rationals, which take microseconds.
//
// The bounds, in units of U = 2^-53, first order. Doubles: a difference is off by 1, a squared length by 4, a product
// of both by 6, the difference of two such products by 7 of the sum of their magnitudes, d / 2 by 4 of those of its
// products, and the quotient by 1 more. Doubled precision, where differences are exact, in units of U^2: a squared
// length and d / 2 are off by 12, a product with the former by 21, the difference of two by 24 of their magnitudes, and
// the quotient by 21 more. The rounding test itself loses 1 of the quotient in doubles, and 2 of the start and 8 of the
// quotient in doubled precision. Higher orders and the rounding of the bounds are covered by a percent.

#include "kernel/circumcenter.h"

#include <gmpxx.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <limits>

#include "kernel/expansion.h"
#include "kernel/tools.h"

namespace LUMO_TARO25D {

namespace {

constexpr double U = 0x1p-53;
constexpr double PERCENT = 1.01;

/// Rounds start + offset to the nearest double if every number that is at most `error` away from it rounds to that.
bool roundCertainly(double start, DoubleDouble offset, double error, double& result) {
    const DoubleDouble sum = twoSum(start, offset.hi);
    const double rest = sum.lo + offset.lo;
    const double low = sum.hi + (rest - error), high = sum.hi + (rest + error);
    if (low != high || !std::isfinite(low)) return false;  // NaN too
    result = low;
    return true;
}

// ---------------------------------------------------------------------------------------------------------------------
// Doubles

/// A quotient of two differences of products, and a bound of its error.
struct Quotient {
    double value, error;
};

Quotient divide(double p, double q, double d, double errorOfD) {
    const double value = (p - q) / d;
    const double error = 7.1 * U * (std::abs(p) + std::abs(q) + 0x1p-1000) + std::abs(value) * errorOfD;
    return {value, PERCENT * (error / (std::abs(d) - errorOfD) + 2.0 * U * std::abs(value))};
}

bool getCenterInDoubles(const Point2& a, const Point2& b, const Point2& c, double& x, double& y) {
    const Vector2 u = getVector2D(a, b), v = getVector2D(a, c);
    const double sqU = u.x() * u.x() + u.y() * u.y(), sqV = v.x() * v.x() + v.y() * v.y();
    // In this range the loss of products to underflow is far below the bounds, and nothing overflows.
    if (!(sqU > 0x1p-700 && sqV > 0x1p-700 && sqU < 0x1p600 && sqV < 0x1p600)) return false;
    const double left = u.x() * v.y(), right = u.y() * v.x();
    const double d = 2.0 * (left - right);
    const double errorOfD = 8.1 * U * (std::abs(left) + std::abs(right) + 0x1p-1000);
    if (!(std::abs(d) > 2.0 * errorOfD)) return false;
    const Quotient toX = divide(v.y() * sqU, u.y() * sqV, d, errorOfD);
    const Quotient toY = divide(u.x() * sqV, v.x() * sqU, d, errorOfD);
    double roundedX;
    if (!roundCertainly(a.x(), {toX.value, 0.0}, toX.error, roundedX) ||
        !roundCertainly(a.y(), {toY.value, 0.0}, toY.error, y)) {
        return false;
    }
    x = roundedX;
    return true;
}

// ---------------------------------------------------------------------------------------------------------------------
// Doubled precision

/// (b - a) / scale; false where that is not exact, or so small that products would lose digits.
bool getScaledDifference(double a, double b, double scale, DoubleDouble& result) {
    constexpr double MIN = 0x1p-200;
    const DoubleDouble difference = twoDiff(b, a);
    result = {difference.hi / scale, difference.lo / scale};
    const auto isInRange = [scale](double part) { return part == 0.0 || std::abs(part) >= MIN * scale; };
    return isInRange(difference.hi) && isInRange(difference.lo);
}

/// The edge vectors u and v of a triangle, divided by a scale.
struct ScaledEdges {
    DoubleDouble ux, uy, vx, vy;
};

/// Whether start + scale * (f |u|^2 - g |v|^2) / 2 (u x v) is exactly 0, by error-free transformations. False where a
/// number leaves their range.
bool isExactlyZero(double start, double scale, DoubleDouble f, DoubleDouble g, const ScaledEdges& edges) {
    constexpr double MIN = 0x1p-200, MAX = 0x1p200;
    const double share = start / scale;
    if (share != 0.0 && !(std::abs(share) >= MIN && std::abs(share) <= MAX)) return false;
    const auto toSum = [](DoubleDouble value) {
        ExactSum<2> sum;
        sum.add(value.hi);
        sum.add(value.lo);
        return sum;
    };
    ExactSum<16> sqU, sqV, cross;
    sqU.addProduct(edges.ux, edges.ux);
    sqU.addProduct(edges.uy, edges.uy);
    sqV.addProduct(edges.vx, edges.vx);
    sqV.addProduct(edges.vy, edges.vy);
    cross.addProduct(edges.ux, edges.vy);
    cross.addProduct(DoubleDouble{-edges.uy.hi, -edges.uy.lo}, edges.vx);
    sqU.condense();
    sqV.condense();
    cross.condense();
    ExactSum<2 * (2 * 2 * 16 + 16)> sum;
    sum.addProduct(toSum(f), sqU);
    sum.addProduct(toSum({-g.hi, -g.lo}), sqV);
    sum.addProduct(toSum({2.0 * share, 0.0}), cross);
    return sum.sign() == 0;
}

/// Computes start + scale * numerator / d and rounds it once; false if the error bound leaves the rounding open. The
/// products in the numerator have at most the given magnitude. Sets bNearZero where the result may be 0.
bool divideAndRound(double start, double scale, DoubleDouble numerator, double magnitude, DoubleDouble d,
                    double errorOfD, double& result, bool& bNearZero) {
    const double first = numerator.hi / d.hi;
    const DoubleDouble rest = numerator - d * DoubleDouble{first, 0.0};
    const double second = rest.hi / d.hi;
    const double error = 25.0 * U * U * magnitude + std::abs(first) * errorOfD;
    const double errorOfOffset = error / (std::abs(d.hi) - errorOfD) + 22.0 * U * U * std::abs(first);
    const double errorOfSum = errorOfOffset * scale + 8.0 * U * U * (std::abs(start) + std::abs(first * scale));
    bNearZero = std::abs((start + first * scale) + second * scale) <= 2.0 * errorOfSum;
    return roundCertainly(start, {first * scale, second * scale}, PERCENT * errorOfSum, result);
}

bool getCenterInDoubledPrecision(const Point2& a, const Point2& b, const Point2& c, double& x, double& y) {
    const double scale = std::max(getBinaryScale(getVector2D(a, b)), getBinaryScale(getVector2D(a, c)));
    if (!(scale > 0x1p-700 && scale < 0x1p900)) return false;
    ScaledEdges edges{};
    auto& [ux, uy, vx, vy] = edges;
    if (!getScaledDifference(a.x(), b.x(), scale, ux) || !getScaledDifference(a.y(), b.y(), scale, uy) ||
        !getScaledDifference(a.x(), c.x(), scale, vx) || !getScaledDifference(a.y(), c.y(), scale, vy)) {
        return false;
    }
    const DoubleDouble sqU = ux * ux + uy * uy, sqV = vx * vx + vy * vy;
    const DoubleDouble half = ux * vy - uy * vx;
    const DoubleDouble d{2.0 * half.hi, 2.0 * half.lo};
    const double errorOfD = 26.0 * U * U * (std::abs(ux.hi * vy.hi) + std::abs(uy.hi * vx.hi));
    if (!(std::abs(d.hi) > 0x1p10 * errorOfD)) return false;
    const auto round = [&](double start, DoubleDouble f, DoubleDouble g, double& result) {
        const DoubleDouble p = f * sqU, q = g * sqV;
        bool bNearZero = false;
        if (divideAndRound(start, scale, p - q, std::abs(p.hi) + std::abs(q.hi), d, errorOfD, result, bNearZero)) {
            return true;
        }
        if (!bNearZero || !isExactlyZero(start, scale, f, g, edges)) return false;
        result = 0.0;
        return true;
    };
    const DoubleDouble minusUx{-ux.hi, -ux.lo}, minusVx{-vx.hi, -vx.lo};
    double roundedX;
    if (!round(a.x(), vy, uy, roundedX) || !round(a.y(), minusVx, minusUx, y)) return false;
    x = roundedX;
    return true;
}

// ---------------------------------------------------------------------------------------------------------------------
// Rationals

bool isOdd(double value) {
    std::uint64_t bits;
    std::memcpy(&bits, &value, sizeof bits);
    return bits & 1;
}

/// The double nearest to a rational, ties to even; infinite where it is out of range.
double roundToNearest(const mpq_class& value) {
    const double inner = value.get_d();  // towards zero
    const double outer = std::nextafter(
        inner, sgn(value) < 0 ? -std::numeric_limits<double>::infinity() : std::numeric_limits<double>::infinity());
    if (!std::isfinite(outer)) return outer;
    const int side = cmp(abs(value) * 2, abs(mpq_class(inner) + mpq_class(outer)));
    return side > 0 || (side == 0 && isOdd(inner)) ? outer : inner;
}

bool getCenterInRationals(const Point2& a, const Point2& b, const Point2& c, double& x, double& y) {
    const mpq_class ux = mpq_class(b.x()) - a.x(), uy = mpq_class(b.y()) - a.y();
    const mpq_class vx = mpq_class(c.x()) - a.x(), vy = mpq_class(c.y()) - a.y();
    const mpq_class d = 2 * (ux * vy - uy * vx);
    if (d == 0) return false;
    const mpq_class sqU = ux * ux + uy * uy, sqV = vx * vx + vy * vy;
    const double roundedX = roundToNearest(a.x() + (vy * sqU - uy * sqV) / d);
    const double roundedY = roundToNearest(a.y() + (ux * sqV - vx * sqU) / d);
    if (!std::isfinite(roundedX) || !std::isfinite(roundedY)) return false;
    x = roundedX;
    y = roundedY;
    return true;
}

}  // namespace

bool getCircumcenter(const Point2& a, const Point2& b, const Point2& c, double& x, double& y) {
    if (getCenterInDoubles(a, b, c, x, y)) return true;
    if (!isFinite2D(a) || !isFinite2D(b) || !isFinite2D(c)) return false;
    return getCenterInDoubledPrecision(a, b, c, x, y) || getCenterInRationals(a, b, c, x, y);
}

}  // namespace LUMO_TARO25D
