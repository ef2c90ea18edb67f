#pragma once

// The decimations of VTK. Filters of meshes get all triangles of the grid, in double precision.

#include "Model.h"

namespace bench {

/// vtkGreedyTerrainDecimation with the limit as its absolute error. It works in single precision.
Model makeGreedyTerrain(const Grid& grid, double limit);
/// vtkDecimatePro with the limit as its absolute error; it keeps the topology, as for terrain. Edges between triangles
/// that are inclined to each other by more than an angle in degrees are features, which it spares.
Model makeDecimatePro(const Grid& grid, double limit, double featureAngle);
/// vtkQuadricDecimation down to a number of triangles: it has no limit.
Model makeQuadric(const Grid& grid, std::size_t numTriangles);

}  // namespace bench
