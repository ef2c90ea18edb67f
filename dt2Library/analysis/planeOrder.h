#pragma once

#include <vector>

#include "taro25d/Triangle2.h"

namespace LUMO_TARO25D {

class Zone2;

// Orders of triangles by their coordinates, so that no address matters.

/// The triangles of a zone in an order that depends on coordinates only.
std::vector<Triangle2*> getTrianglesInPlaneOrder(const Zone2& zone);
/// Sorts triangles along a curve through the plane, so that neighbours are near each other in the list.
void sortAlongCurve(std::vector<Triangle2*>& vTriangles);
/// The connected components of some triangles. Each begins with its smallest triangle, and these give their order.
std::vector<std::vector<Triangle2*>> getComponentsInPlaneOrder(const std::vector<Triangle2*>& vTriangles);

}  // namespace LUMO_TARO25D
