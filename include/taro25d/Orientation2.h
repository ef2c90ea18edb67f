#pragma once

#include <string>

#include "taro25d/export.h"

namespace LUMO_TARO25D {

/// The side of the directed line a->b on which a point c lies, decided exactly in the x-y plane.
enum Orientation2 {
    ORIENTATION2_COLLINEAR = 0,  ///< on the line
    ORIENTATION2_CCW = 1,        ///< to the left: a, b, c turn counterclockwise
    ORIENTATION2_CW = 2          ///< to the right: a, b, c turn clockwise
};

/// The name of the enumerator, "UNKNOWN" for any other value.
TARO25D_API std::string getString(Orientation2 ori);

}  // namespace LUMO_TARO25D
