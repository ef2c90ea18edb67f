// Writing a mesh as arrays of numbers.
//
// A pointer becomes a number in two steps: its place in the pool of records (RecordNumbers), and a table of the numbers
// given to these places. First the chosen records are marked, then vertices are numbered in the order of the vault and
// triangles in the order of their pool, and the arrays are written in these orders. A whole mesh marks everything; dead
// records, which have no corners, are skipped.

#include "mesh/MeshExporter.h"

#include "mesh/Dt2.h"
#include "support/stopping.h"

namespace LUMO_TARO25D {

namespace {

/// Resizes a vector to n elements that the caller writes. Providing the memory in one call costs half of that page by
/// page.
template <class T>
T* makeRoom(std::vector<T>& v, size_t n) {
    v.clear();
    v.reserve(n);
    touchAhead(v.data(), n * sizeof(T), 1);
    v.resize(n);
    return v.data();
}

}  // namespace

MeshExporter::MeshExporter(const Dt2& mesh)
    : mesh_(mesh), vertexRecords_(mesh.getVertexVault().getVertexPool()), triangleRecords_(mesh.getTrianglePool()) {}

void MeshExporter::exportAll(IndexedMesh& result) {
    vVertexNumbers_.assign(vertexRecords_.size(), CHOSEN);
    vTriangleNumbers_.assign(triangleRecords_.size(), CHOSEN);
    fill(result);
}

void MeshExporter::exportSome(const std::vector<Triangle2*>& vTriangles, IndexedMesh& result) {
    vVertexNumbers_.assign(vertexRecords_.size(), NONE);
    vTriangleNumbers_.assign(triangleRecords_.size(), NONE);
    CancelPoint<4096> cancelPoint;
    for (const Triangle2* pT : vTriangles) {
        cancelPoint.pass();
        vTriangleNumbers_[triangleRecords_(pT)] = CHOSEN;
        for (int i = 0; i < 3; ++i) vVertexNumbers_[vertexRecords_(pT->getCorner(i))] = CHOSEN;
    }
    fill(result);
}

void MeshExporter::fill(IndexedMesh& result) {
    writeVertices(result);
    writeTriangles(result, numberTriangles());
}

void MeshExporter::writeVertices(IndexedMesh& result) {
    result.vVertices.clear();
    result.vVertices.reserve(mesh_.numberOfPoints());
    CancelPoint<4096> cancelPoint;
    for (const IdxVtxAct* pItem : mesh_.getVertexVault().getData()) {
        cancelPoint.pass();
        if (!pItem->active) continue;
        std::int32_t& number = vVertexNumbers_[vertexRecords_(pItem->vtx)];
        if (number == NONE) continue;
        number = static_cast<std::int32_t>(result.vVertices.size());
        result.vVertices.push_back(pItem->vtx);
    }
    double* pCoordinate = makeRoom(result.vCoordinates, 3 * result.vVertices.size());
    for (const Point2* pVtx : result.vVertices) {
        for (const double coordinate : {pVtx->x(), pVtx->y(), pVtx->z()}) *pCoordinate++ = coordinate;
    }
}

size_t MeshExporter::numberTriangles() {
    std::int32_t numTriangles = 0;
    size_t record = 0;
    const bool bAllAlive = mesh_.numberOfTriangles() == triangleRecords_.size();
    CancelPoint<4096> cancelPoint;
    mesh_.getTrianglePool().forEach([&](const Triangle2* pT) {
        cancelPoint.pass();
        std::int32_t& number = vTriangleNumbers_[record++];
        if (number != NONE) number = bAllAlive || pT->getCorner(0) ? numTriangles++ : NONE;
    });
    return static_cast<size_t>(numTriangles);
}

void MeshExporter::writeTriangles(IndexedMesh& result, size_t numTriangles) {
    std::int32_t* pCorner = makeRoom(result.vTriangles, 3 * numTriangles);
    std::int32_t* pNeighbour = makeRoom(result.vNeighbours, 3 * numTriangles);
    result.vConstraints.clear();
    size_t record = 0;
    CancelPoint<4096> cancelPoint;
    mesh_.getTrianglePool().forEach([&](const Triangle2* pT) {
        cancelPoint.pass();
        const std::int32_t number = vTriangleNumbers_[record++];
        if (number == NONE) return;
        for (int i = 0; i < 3; ++i) {
            const Triangle2* pN = pT->getOppositeTriangle(i);
            *pCorner++ = vVertexNumbers_[vertexRecords_(pT->getCorner(i))];
            *pNeighbour++ = pN ? vTriangleNumbers_[triangleRecords_(pN)] : NONE;
        }
        if (mesh_.hasConstraints()) writeConstraints(result, pT, number);
    });
}

/// Writes the constraint edges of the triangle that was written last. An edge between two triangles is written with the
/// smaller number.
void MeshExporter::writeConstraints(IndexedMesh& result, const Triangle2* pT, std::int32_t number) const {
    const size_t first = 3 * static_cast<size_t>(number);
    for (int i = 0; i < 3; ++i) {
        const std::int32_t neighbour = result.vNeighbours[first + static_cast<size_t>(i)];
        if ((neighbour != NONE && neighbour < number) || !mesh_.isConstraint(pT, i)) continue;
        for (const int end : {incIndexBy1(i), incIndexBy2(i)}) {
            result.vConstraints.push_back(result.vTriangles[first + static_cast<size_t>(end)]);
        }
    }
}

}  // namespace LUMO_TARO25D
