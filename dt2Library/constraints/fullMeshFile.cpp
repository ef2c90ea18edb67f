// The file that stores a whole triangulation except its zones, in the byte order of the machine.
//
//     type tag              int32, always 302
//     number of vertices    uint64
//     for each vertex       x, y, z as doubles
//     for each vertex       its custom index, int32
//     name                  length as uint64, then the characters
//     number of graphs      uint64
//     for each graph        strategy and direction (1 if it has one), int32 each; its name; the number of alive pieces,
//                           uint64; for each piece the numbers of its two vertices, uint32 each, in its direction
//
// Graphs are in the order of their creation, so that their order by age is restored. A segment that was split comes
// back as its pieces.

#include "constraints/fullMeshFile.h"

#include <algorithm>

#include "constraints/ConstraintMgr.h"
#include "mesh/Dt2.h"
#include "support/PointerMap.h"
#include "support/diagnostics.h"
#include "support/replaceFile.h"

namespace LUMO_TARO25D {

namespace {

constexpr size_t NUMBERS_PER_VERTEX = 3;

using VertexNumbers = PointerMap<std::uint32_t>;

void writeGraph(Writer& writer, const ConstraintGraph2& graph, const VertexNumbers& mNumbers) {
    writer.write(static_cast<std::int32_t>(graph.getInsertionStrategy()));
    writer.write(static_cast<std::int32_t>(graph.isOriented()));
    writer.write(graph.getName());
    std::vector<std::pair<Point2*, Point2*>> vPieces;
    graph.getDirectedPieces(vPieces);
    writer.write(std::uint64_t(vPieces.size()));
    CancelPoint<> cancelPoint;
    for (const auto& [pSrc, pTrg] : vPieces) {
        cancelPoint.pass();
        writer.write(*mNumbers.find(pSrc));
        writer.write(*mNumbers.find(pTrg));
    }
}

bool readGraph(Reader& reader, size_t numVertices, FullContent::Graph& graph) {
    std::int32_t strategy = 0, oriented = 0;
    std::uint64_t numPieces = 0;
    if (!reader.read(strategy) || !reader.read(oriented) || !reader.readText(graph.name) || !reader.read(numPieces))
        return false;
    const bool bKnown = strategy == CIS_CONFORMING_SURFACE_Z || strategy == CIS_CONSTRAINED_DELAUNAY ||
                        strategy == CIS_CONFORMING_LINEAR_Z;
    if (!bKnown || (oriented != 0 && oriented != 1) || numPieces > UINT64_MAX / 2 ||
        !reader.readValues(2 * numPieces, graph.vEnds)) {
        return false;
    }
    graph.cis = static_cast<ConstraintInsertionStrategy>(strategy);
    graph.bOriented = oriented == 1;
    for (size_t i = 0; i < graph.vEnds.size(); i += 2) {
        const std::uint32_t src = graph.vEnds[i], trg = graph.vEnds[i + 1];
        if (src >= numVertices || trg >= numVertices || src == trg) return false;
    }
    return true;  // no pieces is valid: a graph of segments without length has none
}

std::vector<Point2> getPoints(const FullContent& content) {
    std::vector<Point2> vPoints;
    vPoints.reserve(content.vCustomIndices.size());
    for (size_t i = 0; i < content.vCustomIndices.size(); ++i) {
        const double* p = &content.vCoordinates[NUMBERS_PER_VERTEX * i];
        vPoints.emplace_back(p[0], p[1], p[2]);
        vPoints.back().setCustomIndex(content.vCustomIndices[i]);
    }
    return vPoints;
}

}  // namespace

bool saveFullMesh(const Dt2& mesh, const char* filename) {
    std::vector<Point2*> vVertices;
    mesh.getVertexPointers(vVertices);
    VertexNumbers mNumbers;
    mNumbers.reserve(vVertices.size());
    CancelPoint<> cancelPoint;
    for (size_t i = 0; i < vVertices.size(); ++i) {
        cancelPoint.pass();
        mNumbers.add(vVertices[i], static_cast<std::uint32_t>(i));
    }
    std::vector<ConstraintGraph2*> vGraphs;
    if (const auto* pManager = mesh.findSlot<ConstraintMgr>()) pManager->getGraphs(vGraphs);
    const auto write = [&](std::FILE* pFile) {
        Writer writer(pFile);
        writer.write(FULL_TYPE_TAG);
        writer.write(std::uint64_t(vVertices.size()));
        for (const Point2* pVtx : vVertices) {
            cancelPoint.pass();
            writer.write(*pVtx);
        }
        for (const Point2* pVtx : vVertices) writer.write(static_cast<std::int32_t>(pVtx->getCustomIndex()));
        writer.write(mesh.getName());
        writer.write(std::uint64_t(vGraphs.size()));
        for (const ConstraintGraph2* pGraph : vGraphs) writeGraph(writer, *pGraph, mNumbers);
        return writer.finish();
    };
    const std::string name = filename ? filename : "";
    if (replaceFile(name, write)) return true;
    Note("Dt2::save()", ML_WARNING) << name << " can't be written\n";
    return false;
}

bool readFullContent(Reader& reader, FullContent& content) {
    std::uint64_t numGraphs = 0;
    if (!reader.readRecords(NUMBERS_PER_VERTEX, content.vCoordinates)) return false;
    const size_t numVertices = content.vCoordinates.size() / NUMBERS_PER_VERTEX;
    if (!reader.readValues(numVertices, content.vCustomIndices) || !reader.readText(content.name) ||
        !reader.read(numGraphs)) {
        return false;
    }
    for (; numGraphs > 0; --numGraphs) {
        content.vGraphs.emplace_back();
        if (!readGraph(reader, numVertices, content.vGraphs.back())) return false;
    }
    return reader.isAtEnd();
}

void insertFullContent(Dt2& mesh, const FullContent& content) {
    std::vector<Point2*> vHandles;
    mesh.insertVector(getPoints(content), vHandles);
    if (!content.name.empty()) mesh.setName(content.name);
    if (content.vGraphs.empty() && !mesh.getConstraintKeeper()) return;
    ConstraintMgr& manager = *mesh.getConstraintManager();
    std::vector<ConstraintSegment2*> vPieces;  // established in the end, in the order of the graphs
    for (const FullContent::Graph& graph : content.vGraphs) {
        std::vector<ConstraintMgr::VertexPair> vPairs;
        vPairs.reserve(graph.vEnds.size() / 2);
        for (size_t i = 0; i < graph.vEnds.size(); i += 2)
            vPairs.emplace_back(vHandles[graph.vEnds[i]], vHandles[graph.vEnds[i + 1]]);
        ConstraintGraph2* pGraph = manager.createGraph(vPairs, graph.cis, graph.bOriented, false);
        pGraph->setName(graph.name);
        pGraph->getChildConstraintSegments(vPieces);
    }
    if (!vPieces.empty()) manager.establishAsEdges(vPieces);
    manager.noteClientsPoints(vHandles.data(),
                              vHandles.size());  // at last, since a cancelled file leaves nothing behind
}

}  // namespace LUMO_TARO25D
