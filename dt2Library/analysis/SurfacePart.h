#pragma once

#include <vector>

#include "taro25d/Triangle2.h"

namespace LUMO_TARO25D {

class Dt2;

/// Some triangles of a mesh. The mesh and the list must outlive this object.
struct SurfacePart {
    Dt2& dt2;
    const std::vector<Triangle2*>& vTriangles;
};

}  // namespace LUMO_TARO25D
