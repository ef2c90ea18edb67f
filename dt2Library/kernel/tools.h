#pragma once

#include <algorithm>
#include <cmath>
#include <vector>

#include "support/lists.h"
#include "taro25d/Bbox2.h"
#include "taro25d/Point2.h"
#include "taro25d/Segment2.h"
#include "taro25d/Vector2.h"

namespace LUMO_TARO25D {

/// The index after i on a triangle: (i + 1) mod 3.
inline int incIndexBy1(int i) { return i == 2 ? 0 : i + 1; }

/// Sorts vertices by their coordinates, so that no address matters, and drops repeated ones.
inline void sortByPlace(std::vector<Point2*>& vVertices) {
    std::sort(vVertices.begin(), vVertices.end(), [](const Point2* p, const Point2* q) { return *p < *q; });
    vVertices.erase(std::unique(vVertices.begin(), vVertices.end()), vVertices.end());
}

/// Whether x and y are finite; z may be anything.
inline bool isFinite2D(const Point2& point) { return std::isfinite(point.x()) && std::isfinite(point.y()); }
inline bool isFinite2D(const Segment2& segment) { return isFinite2D(segment.getSrc()) && isFinite2D(segment.getTrg()); }
/// Whether x, y and z are finite.
inline bool isFinite(const Point2& point) { return isFinite2D(point) && std::isfinite(point.z()); }
inline bool isFinite(const Segment2& segment) { return isFinite(segment.getSrc()) && isFinite(segment.getTrg()); }
inline bool areFinite(const std::vector<Segment2>& vSegments) {
    return std::all_of(vSegments.begin(), vSegments.end(), [](const Segment2& segment) { return isFinite(segment); });
}

/// The vector from one point to another.
inline Vector2 getVector25D(const Point2& src, const Point2& trg) {
    return Vector2(trg.x() - src.x(), trg.y() - src.y(), trg.z() - src.z());
}
/// The vector from one point to another in x-y; its z is 0.
inline Vector2 getVector2D(const Point2& src, const Point2& trg) {
    return Vector2(trg.x() - src.x(), trg.y() - src.y(), 0.0);
}

/// Distances, plain and squared. The plain distance is right also where its square overflows or underflows.
inline double sqDistance2D(const Point2& a, const Point2& b) { return getVector2D(a, b).sqLength(); }
inline double sqDistance25D(const Point2& a, const Point2& b) { return getVector25D(a, b).sqLength(); }
inline double distance2D(const Point2& a, const Point2& b) { return getVector2D(a, b).length(); }
inline double distance25D(const Point2& a, const Point2& b) { return getVector25D(a, b).length(); }

/// The squared distance in x-y from a point to the nearest point of a segment.
double sqDistanceToSegment2D(const Point2& point, const Point2& src, const Point2& trg);

/// The z component of the cross product.
inline double crossProduct2D(const Vector2& a, const Vector2& b) { return a.x() * b.y() - a.y() * b.x(); }

/// The power of two next to the largest component: dividing by it brings the vector near length 1 without
/// rounding, so that products of components neither overflow nor underflow. 1 for the zero vector.
double getBinaryScale(const Vector2& v);

/// The largest absolute coordinate in a box.
double getMagnitude(const Bbox2& box);

/// True if a point that lies on the line a-b up to rounding is between a and b, ends included: it is no
/// farther in x-y from either end than they are from each other.
bool approxHasOn(const Point2& a, const Point2& b, const Point2& point);

}  // namespace LUMO_TARO25D
