#pragma once

#include <string>
#include <vector>

#include "flood.h"
#include "levels.h"
#include "taro25d/Bbox2.h"

namespace contours {

using examples::Level;
using examples::Polyline;

/// The things that are drawn.
struct Content {
    std::vector<Level> vLevels;
    Polyline vProfile;  ///< from west to east; none where it is empty
    Flood flood;        ///< none where it has no area
    LUMO_TARO25D::Bbox2 box;
    double interval;
};

/// Draws all levels, the flood below them, and the line of the profile. Labels stand on the heavy lines, which are
/// interrupted there.
void drawMap(const std::string& filename, const Content& content);

/// Draws a profile from left to right, its heights exaggerated, above the heavy levels.
void drawProfile(const std::string& filename, const Polyline& vProfile, const std::vector<Level>& vLevels);

}  // namespace contours
