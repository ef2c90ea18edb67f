#pragma once

#include <gmpxx.h>

#include <cmath>
#include <limits>

#include "taro25d/Point2.h"

// Oracles for the predicates: the defining determinants in rational numbers, for any finite coordinates.

/// A point as an exact vector from an origin.
struct ExactVector {
    mpq_class x, y;

    ExactVector(const LUMO_TARO25D::Point2& point, const LUMO_TARO25D::Point2& origin)
        : x(mpq_class(point.x()) - mpq_class(origin.x())), y(mpq_class(point.y()) - mpq_class(origin.y())) {}

    mpq_class sqLength() const { return x * x + y * y; }
};

inline mpq_class exactCross(const ExactVector& u, const ExactVector& v) { return u.x * v.y - u.y * v.x; }

/// Twice the signed area of the triangle: positive if it is counterclockwise.
inline mpq_class exactOrientationDeterminant(const LUMO_TARO25D::Point2& a, const LUMO_TARO25D::Point2& b,
                                             const LUMO_TARO25D::Point2& c) {
    return exactCross(ExactVector(a, c), ExactVector(b, c));
}

/// 1 if a, b, c turn counterclockwise, -1 if clockwise, 0 if they are collinear.
inline int exactOrientation(const LUMO_TARO25D::Point2& a, const LUMO_TARO25D::Point2& b,
                            const LUMO_TARO25D::Point2& c) {
    return sgn(exactOrientationDeterminant(a, b, c));
}

/// 1 if q is strictly inside the circumcircle of the counterclockwise triangle a, b, c, -1 if it is outside,
/// 0 if it is on it; the opposite for a clockwise triangle.
inline int exactInCircle(const LUMO_TARO25D::Point2& a, const LUMO_TARO25D::Point2& b, const LUMO_TARO25D::Point2& c,
                         const LUMO_TARO25D::Point2& q) {
    const ExactVector u(a, q), v(b, q), w(c, q);
    const mpq_class det =
        u.sqLength() * exactCross(v, w) + v.sqLength() * exactCross(w, u) + w.sqLength() * exactCross(u, v);
    return sgn(det);
}

/// The circumcentre; false where there is none.
inline bool exactCircumcenter(const LUMO_TARO25D::Point2& a, const LUMO_TARO25D::Point2& b,
                              const LUMO_TARO25D::Point2& c, mpq_class& x, mpq_class& y) {
    const ExactVector u(b, a), v(c, a);
    const mpq_class d = 2 * exactCross(u, v);
    if (d == 0) return false;
    x = a.x() + (v.y * u.sqLength() - u.y * v.sqLength()) / d;
    y = a.y() + (u.x * v.sqLength() - v.x * u.sqLength()) / d;
    return true;
}

/// Whether no double is nearer to a number.
inline bool isNearestDouble(double value, const mpq_class& exact) {
    const double infinity = std::numeric_limits<double>::infinity();
    const mpq_class distance = abs(mpq_class(value) - exact);
    return distance <= abs(mpq_class(std::nextafter(value, infinity)) - exact) &&
           distance <= abs(mpq_class(std::nextafter(value, -infinity)) - exact);
}
