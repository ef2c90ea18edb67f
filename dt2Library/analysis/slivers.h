#pragma once

#include <vector>

#include "taro25d/Bbox2.h"
#include "taro25d/Point2.h"
#include "taro25d/Triangle2.h"

namespace LUMO_TARO25D {

class Dt2;

/// Whether constraints along the sides of a triangle may merge, since they are bent to vertices that are near. Not where
/// all triangles are that small.
bool isSliver(const Triangle2* pT);
/// Lengths that mean nothing on some ground: what coordinates may be off by after some arithmetic, and what is too small to
/// count in any volume.
double getRoundingDistance(const Bbox2& box);
/// How far a crossing, or a zero, must be from the ends of its edges so that constraints there are not made one, for
/// coordinates up to a magnitude.
double getClearance(double magnitude);
/// Takes away triangles at the border that are there only because rounding has put points beside a straight line. Across
/// their tiny width the ground may rise or fall by any height.
void peelSlivers(std::vector<Triangle2*>& vTriangles);
/// For a point that rounding has moved off the surface: the triangle whose side at the hull is nearest to it.
Triangle2* getNearestHullTriangle(const Dt2& dt2, const Point2& point);
/// From a sliver, whose height at a point says little about the ground there, to the nearest other triangle beside it.
Triangle2* leaveSlivers(Triangle2* pT, const Point2& point);

}  // namespace LUMO_TARO25D
