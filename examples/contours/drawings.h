#pragma once

#include <string>
#include <vector>

#include "levels.h"
#include "taro25d/Bbox2.h"

namespace contours {

using examples::Level;
using examples::Polyline;

/// Draws all levels. Labels stand on the heavy lines, which are interrupted there.
void drawMap(const std::string& filename, const std::vector<Level>& vLevels, const LUMO_TARO25D::Bbox2& box);

/// Draws a profile from left to right, its heights exaggerated, above the heavy levels.
void drawProfile(const std::string& filename, const Polyline& vProfile, const std::vector<Level>& vLevels);

}  // namespace contours
