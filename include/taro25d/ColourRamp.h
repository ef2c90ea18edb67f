#pragma once

namespace LUMO_TARO25D {

/// How the heights of a surface become colours. The range of a ramp is that of all surfaces of the scene that have it.
enum ColourRamp {
    CR_TERRAIN = 0,   ///< from green lowlands over yellow and brown to near white
    CR_GREY = 1,      ///< from dark to light grey
    CR_DIVERGING = 2  ///< blue below 0, white at 0, red above, as far down as up
};

}  // namespace LUMO_TARO25D
