#pragma once

#include <string>
#include <vector>

#include "grid.h"
#include "streams.h"
#include "taro25d/Taro_2D.h"

namespace breaklines {

/// Draws the mesh with its streams on top, the wider the more drains through them.
void drawMap(const std::string& filename, const LUMO_TARO25D::Taro_2D& mesh, const Grid& grid,
             const std::vector<Stream>& vStreams);

}  // namespace breaklines
