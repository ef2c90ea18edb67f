#pragma once

namespace LUMO_TARO25D {

/// The property of the surface that the cells of a raster hold, at their centres.
enum RasterKind {
    RK_LINEAR = 0,  ///< The height on the triangle.
    RK_NATURAL_NEIGHBOUR =
        1,            ///< The height by natural neighbour interpolation (Sibson 1981): smooth except at vertices.
    RK_SLOPE = 2,     ///< The angle between triangle and horizontal plane, in degrees: 0 to 90.
    RK_ASPECT = 3,    ///< The direction in which the triangle falls, in degrees clockwise from north: 0 to below
                      ///< 360; NaN where it is level.
    RK_HILLSHADE = 4  ///< Brightness, 1 to 255 and not rounded, in light from the north-west (315 degrees), 45 degrees
                      ///< high.
};

}  // namespace LUMO_TARO25D
