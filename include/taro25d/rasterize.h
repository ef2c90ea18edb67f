#pragma once

#include "taro25d/RasterFrame.h"
#include "taro25d/RasterKind.h"
#include "taro25d/export.h"

namespace LUMO_TARO25D {

class Zone2;

/// Computes a raster of a zone: aCells, which has room for numRows * numColumns numbers, gets one for the centre of
/// each cell, row by row from the north. It is NaN where the zone has no triangle. Each centre belongs to one triangle:
/// on an edge, to the triangle on its east, on a horizontal edge to that on its north, or, if that is not in the zone,
/// to the triangle on the other side; at a vertex, to the first triangle counterclockwise from the east.
///
/// RK_LINEAR gives the heights of `Taro_2D::getHeight`. RK_NATURAL_NEIGHBOUR reproduces planes; constraints are
/// barriers: it takes the neighbours that a vertex at the centre would get, and a centre on a constraint or on the
/// border of the zone has the height of that edge. So the surface has its creases at breaklines, and no others except
/// at vertices. The other kinds describe the triangle. On planes, slope, aspect and shade are those of GDAL.
///
/// numCPU is the number of threads: 0 for all of the hardware, a negative number for one. The result does not depend on
/// it. Listeners and the cancel flag are those of the zone's triangulation, which is not changed: several threads may
/// compute rasters of one triangulation at once. False, with a warning and aCells unchanged, for a zone or an array
/// that is null, for an unknown kind, and for a frame that has no cells, a number that is not finite, or cells whose
/// size is not above 0 or below the resolution of the coordinates; otherwise true. After TaroCancelled the cells are
/// undefined. Time and memory are linear in the triangles of the zone and the cells. Every triangle is read once;
/// natural neighbours take longer, constant expected time for each cell.
TARO25D_API bool rasterize(const Zone2* pZone, const RasterFrame& frame, RasterKind kind, double* aCells,
                           int numCPU = 1);

}  // namespace LUMO_TARO25D
