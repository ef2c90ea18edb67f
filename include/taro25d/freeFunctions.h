#pragma once

#include <vector>

#include "taro25d/Bbox2.h"
#include "taro25d/Bbox3.h"
#include "taro25d/Orientation2.h"
#include "taro25d/Point2.h"
#include "taro25d/Segment2.h"
#include "taro25d/Vector2.h"
#include "taro25d/export.h"

/// @file
/// Geometric helper functions. None of them throws on degenerate input; where a length or an area leaves the range of
/// doubles it is infinite or NaN. Points that they construct have the custom index -1 and no incident triangle. All
/// take constant time unless stated otherwise.

namespace LUMO_TARO25D {

/// The side of the directed line p0->p1 on which p2 lies, decided exactly in x-y for any finite coordinates.
/// Swapping two arguments swaps CCW and CW; a cyclic shift changes nothing; it is collinear as soon as two
/// points are equal in x-y. Null pointers and coordinates that are not finite fail with TaroException. Works on
/// one predicate object for each thread.
TARO25D_API Orientation2 getOrientation2(const Point2* p0, const Point2* p1, const Point2* p2);
/// getOrientation2() with a new predicate object for each call.
TARO25D_API Orientation2 getOrientation2_mt(const Point2* p0, const Point2* p1, const Point2* p2);

/// The height at (x, y) on the segment a-b: linear along the axis on which a and b differ more (x
/// on ties), never outside the heights of a and b. Beyond an end it is the height of that end; a.z() where a
/// and b coincide.
TARO25D_API double getZOnSegment(const Point2& a, const Point2& b, double x, double y);

/// The foot of the perpendicular from p onto the line a-b in x-y; its z is the height on the segment a-b
/// there. It is a where a and b coincide.
TARO25D_API Point2 getFootPoint(const Point2& p, const Point2& a, const Point2& b);
/// The foot of the perpendicular from p onto the line a-b in space; a where a and b coincide.
TARO25D_API Point2 getFootPoint3D(const Point2& p, const Point2& a, const Point2& b);
/// The distance in x-y of p from the line a-b; from the point a where a and b coincide.
TARO25D_API double getPointLineDistance2D(const Point2& p, const Point2& a, const Point2& b);

/// The area of a triangle in x-y, never negative. More accurate than computeArea for thin triangles.
TARO25D_API double getArea2D(const Point2& a, const Point2& b, const Point2& c);
/// The area of a triangle in space, never negative.
TARO25D_API double getArea25D(const Point2& a, const Point2& b, const Point2& c);
/// The area of a triangle with the given side lengths by Heron's formula; 0 when they make no triangle, NaN
/// when one of them is NaN or infinite.
TARO25D_API double computeArea(double l0, double l1, double l2);

/// The unit normal of the plane through three points: upward when they turn counterclockwise in x-y. When the
/// points are collinear up to rounding, ok is false and the result is the zero vector.
TARO25D_API Vector2 getNormalVector(const Point2& a, const Point2& b, const Point2& c, bool& ok);
/// The smallest interior angle of a triangle in x-y, 0 to 60 degrees; 0 when two corners coincide.
TARO25D_API double getMinInteriorAngle(const Point2& a, const Point2& b, const Point2& c);

/// The point halfway between two points in x, y and z.
TARO25D_API Point2 centerWithShift(const Point2& a, const Point2& b);
/// The mean of three points in x, y and z.
TARO25D_API Point2 barycenter(const Point2& a, const Point2& b, const Point2& c);

/// The intersection of the lines a-b and c-d in x-y, to within a few dozen rounding errors of the coordinates
/// involved; its z is the height on the segment a-b there. Returns false and leaves the result alone when the
/// lines are parallel (decided exactly), when a pair of points coincides, or when a coordinate is not finite.
TARO25D_API bool getIntersectionPoint(const Point2& a, const Point2& b, const Point2& c, const Point2& d,
                                      Point2& result);
/// The intersection point with x and y computed in rational numbers and rounded once. A few microseconds.
TARO25D_API bool getIntersectionPointNoRounding(const Point2& a, const Point2& b, const Point2& c, const Point2& d,
                                                Point2& result);
/// The x and y of getIntersectionPointNoRounding.
TARO25D_API bool getIntersectionCoordsNoRounding(const Point2& a, const Point2& b, const Point2& c, const Point2& d,
                                                 double& x, double& y);

/// The smallest power of two, not above 1, that changes d when added to it; 1 where none does, NaN for NaN. A few dozen
/// steps for numbers around 1, a thousand for zero.
TARO25D_API double getUlp(double d);

/// The segments from each point to the next; with bClosed also from the last to the first, unless these are the same
/// point in x, y and z. Fewer than two points give none. Linear.
TARO25D_API std::vector<Segment2> makePolyline(const std::vector<Point2>& vPoints, bool bClosed = false);
/// The inverse of makePolyline, for contours and other polylines: the sources of the segments, followed by the last
/// target unless the polyline is closed, that is, this target is the first source. Segments that are not connected in
/// x, y and z give a warning and no points. Linear.
TARO25D_API std::vector<Point2> getPolylinePoints(const std::vector<Segment2>& vSegments);

/// The box of a point, each range widened by the offset at both ends.
TARO25D_API Bbox3 getBbox(const Point2& p, double offset);
/// The box of two points, widened.
TARO25D_API Bbox3 getBbox(const Point2& p, const Point2& q, double offset);
/// The box of three points, widened.
TARO25D_API Bbox3 getBbox(const Point2& p, const Point2& q, const Point2& r, double offset);
/// The box of a list of points; invalid for an empty list. Linear.
TARO25D_API Bbox2 getBox(const std::vector<Point2>& vPoints);

/// The number of hardware threads that the system reports; 0 when it does not know.
TARO25D_API int getNumCPU();

}  // namespace LUMO_TARO25D
