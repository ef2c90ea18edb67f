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

/// Writes a mesh, or some of its triangles, into arrays of numbers. Vertices and triangles keep the order in which the
/// mesh lists them.
///
/// The cost is that of reading all records once and of writing the arrays.
class MeshExporter {
  public:
    explicit MeshExporter(const Dt2& mesh);

    /// Exports all vertices and triangles. Replaces the content of the result.
    void exportAll(IndexedMesh& result);
    /// Exports some triangles, each once, and their corners. Replaces the content of the result.
    void exportSome(const std::vector<Triangle2*>& vTriangles, IndexedMesh& result);

  private:
    /// Marks of a record that is not in the result, and of one that is and has no number yet.
    static constexpr std::int32_t NONE = -1, CHOSEN = 0;

    void fill(IndexedMesh& result);
    void writeVertices(IndexedMesh& result);
    size_t numberTriangles();
    void writeTriangles(IndexedMesh& result, size_t numTriangles);
    void writeConstraints(IndexedMesh& result, const Triangle2* pT, std::int32_t number) const;

    const Dt2& mesh_;
    RecordNumbers<Point2> vertexRecords_;
    RecordNumbers<Triangle2> triangleRecords_;
    LargeVector<std::int32_t> vVertexNumbers_, vTriangleNumbers_;  // by place of the record
};

}  // namespace LUMO_TARO25D
