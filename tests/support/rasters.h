#pragma once

#include "taro25d/rasterize.h"

#include <gtest/gtest.h>

#include <vector>

#include "mesh/Dt2.h"
#include "support/generators.h"
#include "taro25d/Taro_2D.h"

// Rasters, and surfaces to take them from.

namespace rasters {

using namespace LUMO_TARO25D;

using Cells = std::vector<double>;

inline Cells rasterOf(const Zone2* pZone, const RasterFrame& frame, RasterKind kind, int numCPU = 1) {
    Cells vCells(frame.numRows * frame.numColumns, -1e9);
    EXPECT_TRUE(rasterize(pZone, frame, kind, vCells.data(), numCPU));
    return vCells;
}

inline Point2 centreOf(const RasterFrame& frame, size_t cell) {
    const double row = static_cast<double>(cell / frame.numColumns),
                 column = static_cast<double>(cell % frame.numColumns);
    return Point2(frame.minX + (column + 0.5) * frame.cellWidth, frame.maxY - (row + 0.5) * frame.cellHeight, 0);
}

inline void insertSmallIntegers(Taro_2D& mesh, Random& r) {
    PointVector vPoints;
    for (int k = 0; k < 40; ++k) vPoints.emplace_back(integer(r, 0, 8), integer(r, 0, 8), integer(r, 0, 20));
    mesh.insert(vPoints);
}

inline double planeAt(double x, double y) { return 100 + 0.25 * x - 0.375 * y; }

inline void insertPlane(size_t n, double origin, Taro_2D& mesh, Random& r) {
    PointVector vPoints = makeScattered(n, origin, origin, origin + 100, origin + 100, r);
    for (Point2& point : vPoints) point.set(point.x(), point.y(), planeAt(point.x() - origin, point.y() - origin));
    mesh.insert(vPoints);
}

}  // namespace rasters
