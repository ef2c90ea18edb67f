#pragma once

#include <vector>

#include "taro25d/Bbox2.h"
#include "taro25d/Point2.h"
#include "taro25d/Triangle2.h"

namespace LUMO_TARO25D {

class Dt2;

/// Whether a triangle is so thin that constraints along its sides may merge, since constraints snap to near vertices. A
/// triangle that is small in all directions is no sliver.
bool isSliver(const Triangle2* pT);
/// The length below which distances on some ground are negligible: within the rounding errors of coordinates, or too
/// small to count in any volume.
double getRoundingDistance(const Bbox2& box);
/// The distance that a crossing or a zero must have from the ends of its edges so that constraints do not merge there,
/// for coordinates up to a magnitude.
double getClearance(double magnitude);
/// Removes triangles at the border that exist only because rounding has moved points off a straight line. Across their
/// tiny width heights may differ by any amount.
void peelSlivers(std::vector<Triangle2*>& vTriangles);
/// The triangle whose hull edge is nearest to a point that rounding has moved off the surface.
Triangle2* getNearestHullTriangle(const Dt2& dt2, const Point2& point);
/// The triangle itself or, for a sliver, whose height at a point is unreliable, the nearest triangle beside it that is
/// no sliver.
Triangle2* leaveSlivers(Triangle2* pT, const Point2& point);

}  // namespace LUMO_TARO25D
