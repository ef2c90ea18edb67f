#pragma once

namespace LUMO_TARO25D {

/// How earthworks changed a piece of ground.
enum CAFType {
    CT_NO_CHANGE = 0,  ///< it is where it was
    CT_CUT = 1,        ///< it was lowered
    CT_FILL = 2        ///< it was raised
};

}  // namespace LUMO_TARO25D
