// Removal of graphs.
//
// A graph owns its segments and all their descendants, and a descendant has at least the owners of each of its
// ancestors. So no segment that stays refers to one that is removed. Edges without an owner are released in the order
// of their coordinates, so that ties on circles do not depend on addresses, and the mesh is made Delaunay after each
// (Lawson 1977): a removal may be cancelled between two of them.

#include "constraints/GraphRemover.h"

#include <algorithm>

#include "constraints/ConstraintMgr.h"
#include "constraints/ConstraintPieces.h"
#include "kernel/flatSets.h"
#include "mesh/Dt2.h"
#include "support/stopping.h"

namespace LUMO_TARO25D {

void GraphRemover::remove(ConstraintGraph2* pGraph, bool bRemoveVertices) {
    finish();
    for (ConstraintSegment2* pCSeg : collect(pGraph)) {
        pCSeg->removeOwner(pGraph);
        if (pCSeg->getNumberOfOwners() == 0) manager_.addOrphan(pCSeg);
    }
    manager_.discard(pGraph);
    finish(bRemoveVertices);
}

void GraphRemover::finish(bool bRemoveVertices) {
    if (manager_.getOrphans().empty()) return;
    releaseEdges(manager_.getOrphans());
    std::vector<Point2*> vBroughtAlone;
    manager_.discardOrphans(vBroughtAlone);
    if (!bRemoveVertices) return;
    std::sort(vBroughtAlone.begin(), vBroughtAlone.end(),
              withCancelPoints([](const Point2* a, const Point2* b) { return *a < *b; }));
    for (Point2* pVtx : vBroughtAlone) {
        throwIfStopped();
        mesh_.remove(pVtx);
    }
}

std::vector<ConstraintSegment2*> GraphRemover::collect(const ConstraintGraph2* pGraph) {
    std::vector<ConstraintSegment2*> vStack, vAll;
    pGraph->getOriginalConstraintSegments(vStack);
    AddressSet sSeen;  // segments may have pieces in common
    CancelPoint<> cancelPoint;
    while (!vStack.empty()) {
        cancelPoint.pass();
        ConstraintSegment2* pCSeg = vStack.back();
        vStack.pop_back();
        if (!sSeen.insert(pCSeg)) continue;
        vAll.push_back(pCSeg);
        if (pCSeg->isAlive()) continue;
        ConstraintSegment2 *pChild0 = nullptr, *pChild1 = nullptr;
        Point2* pSplit = nullptr;
        pCSeg->getChildrenAndSplitPoint(pChild0, pChild1, pSplit);
        if (pChild0) vStack.insert(vStack.end(), {pChild1, pChild0});
    }
    return vAll;
}

void GraphRemover::releaseEdges(const std::vector<ConstraintSegment2*>& vCSegs) {
    std::vector<ConstraintSegment2*> vAlive;
    std::copy_if(vCSegs.begin(), vCSegs.end(), std::back_inserter(vAlive),
                 [](const ConstraintSegment2* pCSeg) { return pCSeg->isAlive(); });
    sortByPlace(vAlive);
    CancelPoint<> cancelPoint;
    for (ConstraintSegment2* pCSeg : vAlive) {
        cancelPoint.pass();
        pCSeg->kill();
        if (!mesh_.is2D()) continue;
        const auto [pSrc, pTrg] = getEndsByPlace(pCSeg);
        Triangle2* pT = mesh_.getAdjacentTriangle(pSrc, pTrg);
        if (!pT) pT = mesh_.getAdjacentTriangle(pTrg, pSrc);
        if (!pT) continue;
        mesh_.noteForFlips(pT);
        mesh_.flipUntilDelaunay();
    }
}

}  // namespace LUMO_TARO25D
