#pragma once

namespace LUMO_TARO25D {

/// The named colours that `Color` can be built from.
enum Colorname {
    CRED = 0,
    CGREEN = 1,
    CBLUE = 2,
    CBLACK = 3,
    CPINK = 4,
    CGRAY = 5,
    CORANGE = 6,
    CLIGHTBLUE = 7,
    CLIGHTBROWN = 8,
    CDARKBROWN = 9,
    CPURPLE = 10,
    COLIVE = 11,
    CLAWNGREEN = 12,
    CPALEGREEN = 13,
    CCYAN = 14,
    CYELLOW = 15,
    CWHITE = 16
};

}  // namespace LUMO_TARO25D
