#pragma once

namespace LUMO_TARO25D {

/// The rule for the height of a vertex where several heights meet at one place (Taro_2D::setHeightRule).
enum HeightRule {
    HR_FIRST = 0,  ///< the first height
    HR_LAST = 1,   ///< the last height
    HR_MEAN = 2,   ///< the mean of the vertex's height when the rule was set and all heights that met it since
    HR_MIN = 3,    ///< the lowest height
    HR_MAX = 4     ///< the highest height
};

}  // namespace LUMO_TARO25D
