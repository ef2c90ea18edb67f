#pragma once

#include <string>
#include <vector>

#include "taro25d/Bbox2.h"
#include "taro25d/Segment2.h"

namespace contours {

using Polyline = std::vector<LUMO_TARO25D::Segment2>;

/// The contours at one height.
struct Level {
    double height;
    bool bHeavy;  ///< drawn heavier, and labelled
    std::vector<Polyline> vvLines;
};

/// The number in as few digits as it needs.
std::string toText(double number);

/// Draws all levels. Labels stand on the heavy lines, which are interrupted there.
void drawMap(const std::string& filename, const std::vector<Level>& vLevels, const LUMO_TARO25D::Bbox2& box);

/// Draws a profile from left to right, its heights exaggerated, above the heavy levels.
void drawProfile(const std::string& filename, const Polyline& vProfile, const std::vector<Level>& vLevels);

}  // namespace contours
