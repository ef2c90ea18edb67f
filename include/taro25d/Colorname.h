#pragma once

namespace LUMO_TARO25D {

/// The named colours that `Color` can be built from, with their red, green and blue components.
enum Colorname {
    CRED = 0,         ///< 1, 0, 0
    CGREEN = 1,       ///< 0, 1, 0
    CBLUE = 2,        ///< 0, 0, 1
    CBLACK = 3,       ///< 0, 0, 0
    CPINK = 4,        ///< 1, 0.4, 0.7
    CGRAY = 5,        ///< 0.3, 0.3, 0.3
    CORANGE = 6,      ///< 1, 0.627, 0
    CLIGHTBLUE = 7,   ///< 0, 0.749, 1
    CLIGHTBROWN = 8,  ///< 0.823, 0.705, 0.549
    CDARKBROWN = 9,   ///< 0.545, 0.271, 0.074
    CPURPLE = 10,     ///< 0.627, 0.125, 0.941
    COLIVE = 11,      ///< 0.5, 0.5, 0
    CLAWNGREEN = 12,  ///< 0.49, 0.99, 0
    CPALEGREEN = 13,  ///< 0.6, 0.98, 0.6
    CCYAN = 14,       ///< 0, 1, 1
    CYELLOW = 15,     ///< 1, 1, 0
    CWHITE = 16       ///< 1, 1, 1
};

}  // namespace LUMO_TARO25D
