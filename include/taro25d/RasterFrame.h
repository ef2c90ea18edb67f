#pragma once

#include <cstddef>

namespace LUMO_TARO25D {

/// Where the cells of a raster are: rows and columns of equal cells, parallel to the axes. Row 0 is the northern one,
/// column 0 the western one. The centre of a cell is at x = minX + (column + 0.5) * cellWidth, y = maxY - (row + 0.5) *
/// cellHeight.
struct RasterFrame {
    double minX = 0.0;           ///< The western border of the raster.
    double maxY = 0.0;           ///< The northern border.
    double cellWidth = 1.0;      ///< The width of a cell, above 0.
    double cellHeight = 1.0;     ///< The height of a cell, above 0.
    std::size_t numColumns = 0;  ///< The number of cells in a row.
    std::size_t numRows = 0;     ///< The number of rows.
};

}  // namespace LUMO_TARO25D
