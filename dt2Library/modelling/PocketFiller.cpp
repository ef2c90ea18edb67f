// Pockets between faces.
//
// The ends of the border are triangulated, and its edges become constraints without snapping. Then constraints bound
// each pocket in that mesh, and its triangles depend on its own border alone (Chew 1989).

#include "modelling/PocketFiller.h"

#include <algorithm>

#include "constraints/ConstraintMgr.h"
#include "kernel/triangleLists.h"
#include "support/diagnostics.h"
#include "support/stopping.h"

namespace LUMO_TARO25D {

namespace {

PocketFiller::Number getNumber(const Point2* pVtx) { return static_cast<PocketFiller::Number>(pVtx->getCustomIndex()); }

}  // namespace

PocketFiller::PocketFiller(const std::vector<Point2*>& vPlaces) : vPlaces_(vPlaces), mesh_(3) {}

bool PocketFiller::fill(const std::vector<DirectedEdge>& vBorder, LargeVector<Number>& vCorners) {
    const VertexPairs vPairs = insertEnds(vBorder);
    if (!mesh_.is2D() || !insertEdges(vPairs)) return false;
    appendTriangles(vPairs, vCorners);
    return true;
}

PocketFiller::VertexPairs PocketFiller::insertEnds(const std::vector<DirectedEdge>& vBorder) {
    std::vector<Number> vNumbers;
    vNumbers.reserve(2 * vBorder.size());
    for (const auto& [src, trg] : vBorder) vNumbers.insert(vNumbers.end(), {src, trg});
    oneInstance(vNumbers);
    std::vector<Point2> vPoints;
    vPoints.reserve(vNumbers.size());
    for (const Number number : vNumbers) {
        vPoints.push_back(*vPlaces_[number]);
        vPoints.back().setCustomIndex(static_cast<int>(number));
    }
    std::vector<Point2*> vHandles;
    mesh_.insertVector(vPoints, vHandles);
    const auto getVertex = [&](Number number) {
        const auto it = std::lower_bound(vNumbers.begin(), vNumbers.end(), number);
        return vHandles[static_cast<size_t>(it - vNumbers.begin())];
    };
    VertexPairs vPairs;
    vPairs.reserve(vBorder.size());
    for (const auto& [src, trg] : vBorder) vPairs.emplace_back(getVertex(src), getVertex(trg));
    return vPairs;
}

/// Inserts the edges of the border; false if one did not become an edge of the mesh: an edge that meets a vertex is
/// split there, and an edge that crosses another is given up at once, since the inserter has no quota of crossings.
bool PocketFiller::insertEdges(const VertexPairs& vBorder) {
    const QuietScope quiet(false);
    const FlagScope exact = mesh_.takeConstraintsExactly();
    ConstraintMgr& manager = *mesh_.getConstraintManager();
    const ConstraintGraph2* pGraph = manager.createConstraint(vBorder, CIS_CONSTRAINED_DELAUNAY, false);
    SegmentInserter& inserter = manager.getEstablisher().getSegmentInserter();
    inserter.setCrossingQuota(0);
    std::vector<ConstraintSegment2*> vCSegs;
    pGraph->getOriginalConstraintSegments(vCSegs);
    for (ConstraintSegment2* pCSeg : vCSegs) {
        throwIfStopped();
        inserter.forceIntoMesh(pCSeg);
        if (!pCSeg->isAlive() || !mesh_.isEdge(pCSeg->getSrc(), pCSeg->getTrg())) return false;
    }
    return true;
}

void PocketFiller::appendTriangles(const VertexPairs& vBorder, LargeVector<Number>& vCorners) const {
    std::vector<Triangle2*> vTriangles;
    AddressSet sMarked;
    for (const auto& [pSrc, pTrg] : vBorder) {
        Triangle2* pT = mesh_.getAdjacentTriangle(pTrg, pSrc);
        if (pT && sMarked.insert(pT)) vTriangles.push_back(pT);
    }
    spread(vTriangles, 0, sMarked,
           [this](const Triangle2* pT, int i, const Triangle2*) { return !mesh_.isConstraint(pT, i); });
    for (const Triangle2* pT : vTriangles) {
        for (int i = 0; i < 3; ++i) vCorners.push_back(getNumber(pT->getCorner(i)));
    }
}

std::vector<PocketFiller::DirectedEdge> PocketFiller::getHull() const {
    std::vector<std::pair<Triangle2*, int>> vHullEdges;
    mesh_.getConvexHull(vHullEdges);
    std::vector<DirectedEdge> vHull;
    vHull.reserve(vHullEdges.size());
    for (const auto& [pT, i] : vHullEdges) {
        vHull.emplace_back(getNumber(pT->getCorner(incIndexBy1(i))), getNumber(pT->getCorner(incIndexBy2(i))));
    }
    return vHull;
}

}  // namespace LUMO_TARO25D
