#pragma once

#include <vector>

#include "taro25d/Point2.h"
#include "taro25d/Triangle2.h"

namespace LUMO_TARO25D {

/// The height of the surface at a vertex's place after its removal, from the triangles around the vertex, in plain
/// arithmetic. False for a vertex on the hull or with too many edges, and where rounding leaves no answer. O(d^3) for d
/// edges.
bool previewRemoval(const Point2& vertex, const std::vector<Triangle2*>& vTriangles, double& height);

}  // namespace LUMO_TARO25D
