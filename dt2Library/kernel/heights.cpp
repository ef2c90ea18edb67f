// Heights in one triangle.
//
// The height at a place is that of the plane through the three corners. Outside the triangle it may leave the height
// range of the corners, and collinear corners have no plane; in both cases the mean of the heights on the two longest
// edges, which run side by side in a thin triangle, is taken instead.
//
// The plane is computed in doubles unless the triangle is so thin that their rounding would show. Such triangles arise
// along a hull of points that are collinear up to rounding, and beside segments that are cut into the surface.
//
// On an edge the height follows from the two ends alone, in the order of their coordinates. So both triangles of an
// edge give the same height there, to the last bit.

#include "kernel/heights.h"

#include <gmpxx.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>
#include <utility>

#include "kernel/tolerances.h"
#include "kernel/tools.h"
#include "taro25d/Vector2.h"
#include "taro25d/freeFunctions.h"

namespace LUMO_TARO25D {

namespace {

/// The height on the plane, exact except for one rounding at the end.
double getExactHeight(const Triangle2& triangle, const Point2& place) {
    using Rational = mpq_class;
    const Point2 &a = *triangle.getCorner(0), &b = *triangle.getCorner(1), &c = *triangle.getCorner(2);
    if (!isFinite(a) || !isFinite(b) || !isFinite(c)) return std::numeric_limits<double>::quiet_NaN();
    const Rational ux = Rational(b.x()) - a.x(), uy = Rational(b.y()) - a.y();
    const Rational vx = Rational(c.x()) - a.x(), vy = Rational(c.y()) - a.y();
    const Rational wx = Rational(place.x()) - a.x(), wy = Rational(place.y()) - a.y();
    const Rational det = ux * vy - uy * vx;
    if (det == 0) return std::numeric_limits<double>::quiet_NaN();
    const Rational rise =
        ((wx * vy - wy * vx) * (Rational(b.z()) - a.z()) + (ux * wy - uy * wx) * (Rational(c.z()) - a.z())) / det;
    return Rational(a.z() + rise).get_d();
}

/// The mean of the heights on the two longest edges; if these differ too much, false and the middle of the height
/// range.
bool getHeightOnLongEdges(const Triangle2& triangle, const Point2& place, double zMin, double zMax, double& height) {
    std::array<std::pair<double, int>, 3> aEdges;
    const auto getSrc = [&](int i) -> const Point2& { return *triangle.getCorner(incIndexBy1(i)); };
    const auto getTrg = [&](int i) -> const Point2& { return getSrc(incIndexBy1(i)); };
    for (int i = 0; i < 3; ++i) aEdges[i] = {distance2D(getSrc(i), getTrg(i)), i};
    std::sort(aEdges.begin(), aEdges.end());
    const auto heightOnEdge = [&](int i) { return getZOnSegment(getSrc(i), getTrg(i), place.x(), place.y()); };
    const double h1 = heightOnEdge(aEdges[1].second), h2 = heightOnEdge(aEdges[2].second);
    // Signed: where the longest edge is the higher one, the mean is taken however far they are apart.
    const bool bAgree = h1 - h2 < HEIGHT_TOLERANCE;
    height = bAgree ? std::clamp(0.5 * h1 + 0.5 * h2, zMin, zMax) : 0.5 * zMin + 0.5 * zMax;
    return bAgree;
}

}  // namespace

double getHeightOnPlane(const Triangle2& triangle, const Point2& place) {
    const Point2 &origin = *triangle.getCorner(0), &p = *triangle.getCorner(1), &q = *triangle.getCorner(2);
    const Vector2 toP = getVector2D(origin, p), toQ = getVector2D(origin, q);
    const double scale = std::max(getBinaryScale(toP), getBinaryScale(toQ));
    const Vector2 u = toP / scale, v = toQ / scale, w = getVector2D(origin, place) / scale;
    const double det = crossProduct2D(u, v);
    if (!(std::abs(det) >= MIN_PLANE_DETERMINANT)) return getExactHeight(triangle, place);
    const double dzP = p.z() - origin.z(), dzQ = q.z() - origin.z();
    const double z = origin.z() + (crossProduct2D(w, v) * dzP + crossProduct2D(u, w) * dzQ) / det;
    return std::isfinite(z) ? z : getExactHeight(triangle, place);
}

namespace {

/// Whether a place lies exactly on a segment, strictly between its ends, which are in the order of their coordinates.
bool isBetween(const Point2& low, const Point2& high, const Point2& place) {
    if (!(low < place && place < high)) return false;
    // A filtered orientation test (Shewchuk 1997); underflow adds less than TINY.
    constexpr double ERROR_BOUND = 0x1p-51, TINY = 1e-300;
    const double a = (high.x() - low.x()) * (place.y() - low.y()), b = (high.y() - low.y()) * (place.x() - low.x());
    if (std::abs(a - b) > ERROR_BOUND * (std::abs(a) + std::abs(b)) + TINY) return false;
    return getOrientation2_mt(&low, &high, &place) == ORIENTATION2_COLLINEAR;
}

/// False also for a place on two edges, which is where the corners are collinear.
bool getHeightOnEdge(const Triangle2& triangle, const Point2& place, double& height) {
    int numEdges = 0;
    double onEdge = 0.0;
    for (int i = 0; i < 3; ++i) {
        const auto& [low, high] = std::minmax(*triangle.getCorner(i), *triangle.getCorner(incIndexBy1(i)));
        if (!isBetween(low, high, place)) continue;
        ++numEdges;
        onEdge = getZOnSegment(low, high, place.x(), place.y());
    }
    if (numEdges == 1) height = onEdge;
    return numEdges == 1;
}

/// The height on the plane if it exceeds the range of the corners by less than the tolerance, clamped to the range.
bool getHeightWithin(const Triangle2& triangle, const Point2& place, double tolerance, double& height) {
    for (int i = 0; i < 3; ++i) {
        if (*triangle.getCorner(i) != place) continue;
        height = triangle.getCorner(i)->z();
        return true;
    }
    const auto [zMin, zMax] =
        std::minmax({triangle.getCorner(0)->z(), triangle.getCorner(1)->z(), triangle.getCorner(2)->z()});
    if (zMin == zMax) {
        height = zMin;
        return true;
    }
    if (getHeightOnEdge(triangle, place, height)) return true;
    const double z = getHeightOnPlane(triangle, place);
    if (z - zMax < tolerance && zMin - z < tolerance) {
        height = std::clamp(z, zMin, zMax);
        return true;
    }
    return getHeightOnLongEdges(triangle, place, zMin, zMax, height);
}

}  // namespace

bool getHeightInTriangle(const Triangle2& triangle, const Point2& place, double& height) {
    return getHeightWithin(triangle, place, HEIGHT_TOLERANCE, height);
}

bool getHeightInside(const Triangle2& triangle, const Point2& place, double& height) {
    // Only rounding, in proportion to the heights, can exceed the range.
    return getHeightWithin(triangle, place, std::numeric_limits<double>::infinity(), height);
}

namespace {

/// Where the line of a-b meets the segment c-d, as a share of its length, from a computation in doubles; false if
/// rounding would show.
bool getShareAtCrossing(const Point2& a, const Point2& b, const Point2& c, const Point2& d, double& share) {
    constexpr double ERROR_BOUND = 0x1p-51, TINY = 1e-300, MAX_ERROR = 0x1p-44;
    const double dx = b.x() - a.x(), dy = b.y() - a.y();
    const double cLeft = dx * (c.y() - a.y()), cRight = dy * (c.x() - a.x());
    const double dLeft = dx * (d.y() - a.y()), dRight = dy * (d.x() - a.x());
    const double ofC = cLeft - cRight, whole = ofC - (dLeft - dRight);
    const double products = std::abs(cLeft) + std::abs(cRight) + std::abs(dLeft) + std::abs(dRight);
    if (!std::isfinite(whole) || !(ERROR_BOUND * products + TINY <= MAX_ERROR * std::abs(whole))) return false;
    share = std::clamp(ofC / whole, 0.0, 1.0);
    return true;
}

double getShareExactly(const Point2& a, const Point2& b, const Point2& c, const Point2& d) {
    using Rational = mpq_class;
    const Rational dx = Rational(b.x()) - a.x(), dy = Rational(b.y()) - a.y();
    const auto getCross = [&](const Point2& p) {
        return Rational(dx * (Rational(p.y()) - a.y()) - dy * (Rational(p.x()) - a.x()));
    };
    const Rational ofC = getCross(c), whole = ofC - getCross(d);
    return whole == 0 ? 0.5 : std::clamp(Rational(ofC / whole).get_d(), 0.0, 1.0);
}

double getHeightAtCrossing(const Point2& a, const Point2& b, const Point2& c, const Point2& d) {
    double share = 0.0;
    if (!getShareAtCrossing(a, b, c, d, share)) share = getShareExactly(a, b, c, d);
    return (1.0 - share) * c.z() + share * d.z();
}

}  // namespace

double getDistanceAtCrossing(const Point2& a, const Point2& b, const Point2& c, const Point2& d) {
    return std::abs(getHeightAtCrossing(a, b, c, d) - getHeightAtCrossing(c, d, a, b));
}

}  // namespace LUMO_TARO25D
