// Geometry of points and segments: orientation, heights on a segment, projections, distances, areas, normals, angles,
// intersections, boxes.
//
// Decisions are exact; measures are computed in doubles, in an order that loses few digits: differences first, then a
// power of two as a scale, so that products of lengths neither overflow nor underflow. An intersection is computed in
// doubles where the lines cross at a fair angle, then in doubled precision, then in rationals.

#include "taro25d/freeFunctions.h"

#include <gmpxx.h>

#include <algorithm>
#include <cmath>
#include <thread>

#include "kernel/GeomTest.h"
#include "kernel/tolerances.h"
#include "kernel/tools.h"
#include "support/diagnostics.h"

namespace LUMO_TARO25D {

namespace {

/// The magnitude of a point where it exceeds the static bound of the predicates, otherwise 0.
double getExceedingCoord(const GeomTest& geomTest, const Point2* p) {
    const double coord = std::max(std::abs(p->x()), std::abs(p->y()));
    return coord > geomTest.getMaxAbsCoord() ? coord : 0.0;
}

Orientation2 decideOrientation2(GeomTest& geomTest, const Point2* p0, const Point2* p1, const Point2* p2) {
    TARO_ASSERT_TEXT(p0, "p0!=__null");
    TARO_ASSERT_TEXT(p1, "p1!=__null");
    TARO_ASSERT_TEXT(p2, "p2!=__null");
    // The sum is a cheap upper bound of the largest of the three.
    const double coord =
        getExceedingCoord(geomTest, p0) + getExceedingCoord(geomTest, p1) + getExceedingCoord(geomTest, p2);
    if (coord > geomTest.getMaxAbsCoord()) geomTest.setStaticBound(coord);
    return geomTest.getOrientation2(p0, p1, p2);
}

/// The orthogonal projection of the point a + w onto the line through a with direction d.
Point2 getFootOnLine(const Point2& a, const Vector2& d, const Vector2& w) {
    const Vector2 u = d / getBinaryScale(d);
    return u.isDegenerate() ? a + u : a + u * (w * u / u.sqLength());
}

/// The area of the triangle between two vectors.
double getSpannedArea(const Vector2& u, const Vector2& v) {
    const double scaleU = getBinaryScale(u), scaleV = getBinaryScale(v);
    return 0.5 * crossProduct(u / scaleU, v / scaleV).length() * scaleU * scaleV;
}

double computeAreaUnscaled(double l0, double l1, double l2) {
    const double s = (l0 + l1 + l2) * 0.5;
    const double q = (s - l0) * s * (s - l1) * (s - l2);
    return q <= 0.0 ? 0.0 : std::sqrt(q);
}

double getAngleAt(const Point2& p, const Point2& q, const Point2& r) {
    return getAngleDegree(normalize(getVector2D(p, q)), normalize(getVector2D(p, r)));
}

/// The mean, without the rounding error of a sum of three numbers that are close together and far from zero.
double getMean(double a, double b, double c) {
    const double mean = a + ((b - a) + (c - a)) / 3.0;
    return std::isfinite(mean) ? mean : a / 3.0 + b / 3.0 + c / 3.0;
}

/// Whether (b - a) x (d - c) is zero, exactly.
bool areParallel(const Point2& a, const Point2& b, const Point2& c, const Point2& d) {
    using Rational = mpq_class;
    const Rational ux = Rational(b.x()) - Rational(a.x()), uy = Rational(b.y()) - Rational(a.y());
    const Rational vx = Rational(d.x()) - Rational(c.x()), vy = Rational(d.y()) - Rational(c.y());
    return ux * vy == uy * vx;
}

/// Intersects two lines in doubles. False where they meet at less than a few degrees, which would multiply the rounding
/// error, and where a number leaves the range of doubles.
bool getTransversalIntersection(const Point2& a, const Point2& b, const Point2& c, const Point2& d, double& x,
                                double& y) {
    const Vector2 u = getVector2D(a, b), v = getVector2D(c, d);
    const double det = crossProduct2D(u, v);
    const double magnitude = u.length() * v.length();
    if (!(magnitude > MIN_PLAIN_SQUARE && std::abs(det) > MIN_TRANSVERSAL * magnitude)) return false;
    const double t = crossProduct2D(getVector2D(a, c), v) / det;
    x = a.x() + t * u.x();
    y = a.y() + t * u.y();
    return std::isfinite(x) && std::isfinite(y);
}

Point2 getPointAbove(const Point2& a, const Point2& b, double x, double y) {
    return Point2(x, y, getZOnSegment(a, b, x, y));
}

}  // namespace

Orientation2 getOrientation2(const Point2* p0, const Point2* p1, const Point2* p2) {
    static thread_local GeomTest geomTest;
    return decideOrientation2(geomTest, p0, p1, p2);
}

Orientation2 getOrientation2_mt(const Point2* p0, const Point2* p1, const Point2* p2) {
    GeomTest geomTest;
    return decideOrientation2(geomTest, p0, p1, p2);
}

double getZOnSegment(const Point2& a, const Point2& b, double x, double y) {
    // Halves, because a difference of two doubles may exceed the largest one.
    const double dx = 0.5 * b.x() - 0.5 * a.x(), dy = 0.5 * b.y() - 0.5 * a.y();
    const bool bAlongX = std::abs(dx) >= std::abs(dy);
    const double whole = bAlongX ? dx : dy;
    if (whole == 0.0) return a.z();
    const double part = bAlongX ? 0.5 * x - 0.5 * a.x() : 0.5 * y - 0.5 * a.y();
    const double t = std::clamp(part / whole, 0.0, 1.0);
    return std::clamp((1.0 - t) * a.z() + t * b.z(), std::min(a.z(), b.z()), std::max(a.z(), b.z()));
}

Point2 getFootPoint(const Point2& p, const Point2& a, const Point2& b) {
    const Point2 foot = getFootOnLine(a, getVector2D(a, b), getVector2D(a, p));
    return getPointAbove(a, b, foot.x(), foot.y());
}

Point2 getFootPoint3D(const Point2& p, const Point2& a, const Point2& b) {
    return getFootOnLine(a, getVector25D(a, b), getVector25D(a, p));
}

double getPointLineDistance2D(const Point2& p, const Point2& a, const Point2& b) {
    const Vector2 d = getVector2D(a, b), w = getVector2D(a, p);
    if (d.isDegenerate()) return w.length();
    const Vector2 u = d / getBinaryScale(d);
    const double scale = getBinaryScale(w);
    return std::abs(crossProduct2D(u, w / scale)) / u.length() * scale;
}

double getArea2D(const Point2& a, const Point2& b, const Point2& c) {
    return getSpannedArea(getVector2D(a, b), getVector2D(a, c));
}

double getArea25D(const Point2& a, const Point2& b, const Point2& c) {
    return getSpannedArea(getVector25D(a, b), getVector25D(a, c));
}

double computeArea(double l0, double l1, double l2) {
    // The formula multiplies four lengths; a scale by a power of two keeps that in range and changes no digit.
    const double scale = getBinaryScale(Vector2(l0, l1, l2));
    return computeAreaUnscaled(l0 / scale, l1 / scale, l2 / scale) * scale * scale;
}

Vector2 getNormalVector(const Point2& a, const Point2& b, const Point2& c, bool& ok) {
    // From the corner opposite the longest edge: the two shorter edges lose the least digits.
    const double sqA = sqDistance25D(b, c), sqB = sqDistance25D(c, a), sqC = sqDistance25D(a, b);
    if (sqB > sqA && sqB >= sqC) return getNormalVector(b, c, a, ok);
    if (sqC > sqA && sqC > sqB) return getNormalVector(c, a, b, ok);
    const Vector2 u = getVector25D(a, b), v = getVector25D(a, c);
    const Vector2 normal = crossProduct(u / getBinaryScale(u), v / getBinaryScale(v));
    ok = normal.length() > MIN_NORMAL;
    return ok ? normalize(normal) : Vector2();
}

double getMinInteriorAngle(const Point2& a, const Point2& b, const Point2& c) {
    if (a == b || b == c || c == a) return 0.0;
    return std::min({getAngleAt(a, b, c), getAngleAt(b, c, a), getAngleAt(c, a, b)});
}

Point2 centerWithShift(const Point2& a, const Point2& b) {
    return Point2(0.5 * a.x() + 0.5 * b.x(), 0.5 * a.y() + 0.5 * b.y(), 0.5 * a.z() + 0.5 * b.z());
}

Point2 barycenter(const Point2& a, const Point2& b, const Point2& c) {
    return Point2(getMean(a.x(), b.x(), c.x()), getMean(a.y(), b.y(), c.y()), getMean(a.z(), b.z(), c.z()));
}

bool getIntersectionPoint(const Point2& a, const Point2& b, const Point2& c, const Point2& d, Point2& result) {
    double x, y;
    if (!getTransversalIntersection(a, b, c, d, x, y)) return getIntersectionPointNoRounding(a, b, c, d, result);
    result = getPointAbove(a, b, x, y);
    return true;
}

bool getIntersectionPointNoRounding(const Point2& a, const Point2& b, const Point2& c, const Point2& d,
                                    Point2& result) {
    double x, y;
    if (!getIntersectionCoordsNoRounding(a, b, c, d, x, y)) return false;
    result = getPointAbove(a, b, x, y);
    return true;
}

bool getIntersectionCoordsNoRounding(const Point2& a, const Point2& b, const Point2& c, const Point2& d, double& x,
                                     double& y) {
    if (GeomTest::doubleDoubleIntersectionCoords(a, b, c, d, x, y)) return true;
    if (!isFinite2D(a) || !isFinite2D(b) || !isFinite2D(c) || !isFinite2D(d) || areParallel(a, b, c, d)) return false;
    GeomTest().getIntersectionCoords_gmp(a, b, c, d, x, y);
    return true;
}

double getUlp(double d) {
    if (std::isnan(d)) return d;
    double ulp = 1.0;
    for (double half = 0.5; d + half != d; half *= 0.5) ulp = half;
    return ulp;
}

Bbox3 getBbox(const Point2& p, double offset) {
    return {p.x() - offset, p.y() - offset, p.z() - offset, p.x() + offset, p.y() + offset, p.z() + offset};
}

Bbox3 getBbox(const Point2& p, const Point2& q, double offset) { return getBbox(p, q, q, offset); }

Bbox3 getBbox(const Point2& p, const Point2& q, const Point2& r, double offset) {
    const auto [minX, maxX] = std::minmax({p.x(), q.x(), r.x()});
    const auto [minY, maxY] = std::minmax({p.y(), q.y(), r.y()});
    const auto [minZ, maxZ] = std::minmax({p.z(), q.z(), r.z()});
    return {minX - offset, minY - offset, minZ - offset, maxX + offset, maxY + offset, maxZ + offset};
}

Bbox2 getBox(const std::vector<Point2>& vPoints) {
    Bbox2 box;
    box.add(vPoints);
    return box;
}

int getNumCPU() { return static_cast<int>(std::thread::hardware_concurrency()); }

}  // namespace LUMO_TARO25D
