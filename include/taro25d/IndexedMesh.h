#pragma once

#include <cstdint>
#include <vector>

namespace LUMO_TARO25D {

class Point2;

/// A mesh as arrays of numbers, as other programs take it. Vertices and triangles are numbered from 0, in the order in
/// which they stand in the arrays.
struct IndexedMesh {
    /// x, y and z of each vertex.
    std::vector<double> vCoordinates;
    /// The numbers of the three corners of each triangle, counterclockwise.
    std::vector<std::int32_t> vTriangles;
    /// For each corner of each triangle, at the same place as in vTriangles, the number of the triangle on the other
    /// side of the opposite edge; -1 where there is none in this mesh.
    std::vector<std::int32_t> vNeighbours;
    /// The numbers of the two ends of each edge that is a constraint, each edge once.
    std::vector<std::int32_t> vConstraints;
    /// The vertices themselves, which belong to the triangulation.
    std::vector<Point2*> vVertices;
};

}  // namespace LUMO_TARO25D
