#pragma once

#include <vector>

#include "taro25d/Triangle2.h"

namespace LUMO_TARO25D {

class Zone2;

// Orders of triangles by where they are, so that no address matters.

/// The triangles of a zone in an order that depends on places only.
std::vector<Triangle2*> getTrianglesInPlaneOrder(const Zone2& zone);
/// Sorts triangles along a curve through the plane, so that neighbours are near each other in the list.
void sortAlongCurve(std::vector<Triangle2*>& vTriangles);
/// The components of some triangles, each beginning with its smallest triangle and in the order of those.
std::vector<std::vector<Triangle2*>> getComponentsInPlaneOrder(const std::vector<Triangle2*>& vTriangles);

}  // namespace LUMO_TARO25D
