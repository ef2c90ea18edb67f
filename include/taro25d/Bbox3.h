#pragma once

namespace LUMO_TARO25D {

/// An axis-parallel box in space, as plain numbers: nothing is set or checked.
struct Bbox3 {
    double minX,  ///< the smallest x
        minY,     ///< the smallest y
        minZ,     ///< the smallest z
        maxX,     ///< the largest x
        maxY,     ///< the largest y
        maxZ;     ///< the largest z
};

}  // namespace LUMO_TARO25D
