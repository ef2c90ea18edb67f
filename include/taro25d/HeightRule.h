#pragma once

namespace LUMO_TARO25D {

/// Which height a vertex takes where several heights meet at one place (Taro_2D::setHeightRule).
enum HeightRule {
    HR_FIRST = 0,  ///< the one that was there first
    HR_LAST = 1,   ///< the one that came last
    HR_MEAN = 2,   ///< the mean of all that met since the rule was set, with the one that was there then
    HR_MIN = 3,    ///< the lowest
    HR_MAX = 4     ///< the highest
};

}  // namespace LUMO_TARO25D
