#pragma once

#include <vector>

#include "taro25d/Point2.h"
#include "taro25d/Triangle2.h"

namespace LUMO_TARO25D {

/// The height that the surface would have at a vertex without it, given the triangles around the vertex, in plain arithmetic. False
/// at the hull, where many edges meet, and where rounding leaves no answer. O(d^3) for d edges.
bool previewRemoval(const Point2& vertex, const std::vector<Triangle2*>& vTriangles, double& height);

}  // namespace LUMO_TARO25D
