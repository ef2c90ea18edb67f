#pragma once

namespace LUMO_TARO25D {

/// An axis-parallel box in space.
struct Bbox3 {
    double minX, minY, minZ, maxX, maxY, maxZ;
};

}  // namespace LUMO_TARO25D
