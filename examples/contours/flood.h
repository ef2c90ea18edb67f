#pragma once

#include <vector>

#include "levels.h"
#include "taro25d/Taro_2D.h"

namespace contours {

/// The water that stands in the lowest basin of the ground when it is filled to a level.
struct Flood {
    double level = 0, area = 0, volume = 0;
    std::vector<LUMO_TARO25D::Triangle2*> vBed;  ///< of the ground below it
    examples::Polyline vShore;
};

/// Cuts the ground along the contours at the level, and fills the basin of its lowest vertex.
Flood fillTo(LUMO_TARO25D::Taro_2D& ground, double level);

}  // namespace contours
