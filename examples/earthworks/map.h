#pragma once

#include <string>
#include <vector>

#include "road.h"
#include "taro25d/CutAndFill.h"
#include "taro25d/Taro_2D.h"

namespace earthworks {

/// Draws the site: the ground afterwards in pale colours, cut in red and fill in blue, darker where it is deeper, the
/// lines where they begin, the edges of the platform, and a legend. The text goes to the top.
void drawMap(const std::string& filename, const LUMO_TARO25D::Taro_2D& after, const LUMO_TARO25D::CutAndFill& works,
             const Road& road, const std::string& text);

}  // namespace earthworks
