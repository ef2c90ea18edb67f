#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "support/LargeVector.h"
#include "support/RecordNumbers.h"
#include "taro25d/IndexedMesh.h"
#include "taro25d/Point2.h"
#include "taro25d/Triangle2.h"

namespace LUMO_TARO25D {

class Dt2;

/// Writes a mesh, or some of its triangles, into arrays of numbers. Vertices and triangles keep the order in which the mesh
/// lists them.
///
/// A pointer turns into a number by its place in the pool of records and a table of the numbers given to these places. The
/// tables are small beside the records, so that the cost is that of reading these once, and of the memory of the arrays.
class MeshExporter {
  public:
    explicit MeshExporter(const Dt2& mesh);

    /// All vertices and triangles. Replaces the content of the result.
    void exportAll(IndexedMesh& result);
    /// These triangles, each of which counts once, and their corners.
    void exportSome(const std::vector<Triangle2*>& vTriangles, IndexedMesh& result);

  private:
    /// A record that is not in the result, and one that is in it and has no number yet.
    static constexpr std::int32_t NONE = -1, CHOSEN = 0;

    void fill(IndexedMesh& result);
    void writeVertices(IndexedMesh& result);
    size_t numberTriangles();
    void writeTriangles(IndexedMesh& result, size_t numTriangles);
    void writeConstraints(IndexedMesh& result, const Triangle2* pT, std::int32_t number) const;

    const Dt2& mesh_;
    RecordNumbers<Point2> vertexRecords_;
    RecordNumbers<Triangle2> triangleRecords_;
    LargeVector<std::int32_t> vVertexNumbers_, vTriangleNumbers_;  // of each record
};

}  // namespace LUMO_TARO25D
