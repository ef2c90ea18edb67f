#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "analysis/RasterGrid.h"
#include "analysis/SurfacePart.h"
#include "taro25d/RasterFrame.h"
#include "taro25d/RasterKind.h"

namespace LUMO_TARO25D {

/// A cell whose centre is on the border of a part and belongs to no triangle of it: it has this value unless the centre
/// belongs to a triangle of another part.
struct BorderCell {
    size_t row, column;
    double value;
    double angle;  // if the centre is a vertex: counterclockwise from the east to the border edge; else 0
};

/// The result of rasterizeTriangles, row by row of the window.
struct PartialRaster {
    std::vector<double> vCells;
    std::vector<std::uint8_t> vHas;  // whether the centre belongs to a triangle of the part
    std::vector<BorderCell> vBorder;
};

/// As rasterize(), for some triangles of a mesh and some cells of a usable frame. A centre on the border of several
/// parts of one surface belongs to one triangle of one part at most; if it belongs to none, the whole surface has the
/// value of the border cell with the smallest angle. The kind must be one of RasterKind.
void rasterizeTriangles(const SurfacePart& part, const RasterFrame& frame, const RasterGrid::Window& window,
                        RasterKind kind, PartialRaster& raster, int numThreads);

}  // namespace LUMO_TARO25D
