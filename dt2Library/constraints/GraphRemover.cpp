// Removal of graphs.
//
// A graph owns its segments and all their descendants, and a descendant has at least the owners of each of its
// ancestors. So no segment that stays refers to one that is removed. All edges without an owner are released at once;
// then the mesh is made Delaunay (Lawson 1977), starting from the edges in the order of their coordinates, so that ties
// on circles do not depend on addresses.

#include "constraints/GraphRemover.h"

#include <algorithm>

#include "constraints/ConstraintMgr.h"
#include "constraints/ConstraintPieces.h"
#include "mesh/Dt2.h"

namespace LUMO_TARO25D {

void GraphRemover::remove(ConstraintGraph2* pGraph, bool bRemoveVertices) {
    const std::vector<ConstraintSegment2*> vOrphans = disown(pGraph);
    releaseEdges(vOrphans);
    std::vector<Point2*> vBroughtAlone;
    manager_.discard(vOrphans, vBroughtAlone);
    manager_.discard(pGraph);
    if (!bRemoveVertices) return;
    std::sort(vBroughtAlone.begin(), vBroughtAlone.end(), [](const Point2* a, const Point2* b) { return *a < *b; });
    for (Point2* pVtx : vBroughtAlone) mesh_.remove(pVtx);
}

std::vector<ConstraintSegment2*> GraphRemover::disown(ConstraintGraph2* pGraph) {
    std::vector<ConstraintSegment2*> vStack, vOrphans;
    pGraph->getOriginalConstraintSegments(vStack);
    while (!vStack.empty()) {
        ConstraintSegment2* pCSeg = vStack.back();
        vStack.pop_back();
        // A piece that several segments share is reached from each of them.
        if (!pCSeg->removeOwner(pGraph)) continue;
        if (pCSeg->getNumberOfOwners() == 0) vOrphans.push_back(pCSeg);
        if (pCSeg->isAlive()) continue;
        ConstraintSegment2 *pChild0 = nullptr, *pChild1 = nullptr;
        Point2* pSplit = nullptr;
        pCSeg->getChildrenAndSplitPoint(pChild0, pChild1, pSplit);
        if (pChild0) vStack.insert(vStack.end(), {pChild1, pChild0});
    }
    return vOrphans;
}

void GraphRemover::releaseEdges(const std::vector<ConstraintSegment2*>& vCSegs) {
    std::vector<ConstraintSegment2*> vAlive;
    std::copy_if(vCSegs.begin(), vCSegs.end(), std::back_inserter(vAlive),
                 [](const ConstraintSegment2* pCSeg) { return pCSeg->isAlive(); });
    for (ConstraintSegment2* pCSeg : vAlive) pCSeg->kill();
    if (!mesh_.is2D()) return;
    sortByPlace(vAlive);
    for (const ConstraintSegment2* pCSeg : vAlive) {
        const auto [pSrc, pTrg] = getEndsByPlace(pCSeg);
        Triangle2* pT = mesh_.getAdjacentTriangle(pSrc, pTrg);
        if (!pT) pT = mesh_.getAdjacentTriangle(pTrg, pSrc);
        if (pT) mesh_.noteForFlips(pT);
    }
    mesh_.flipUntilDelaunay();
}

}  // namespace LUMO_TARO25D
