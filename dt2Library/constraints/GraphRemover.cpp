// Removal of graphs.
//
// A graph owns its segments and all their descendants, and a descendant has at least the owners of each of its
// ancestors. So no segment that stays refers to one that is removed. Edges without an owner are released in the order
// of their coordinates, so that ties on circles do not depend on addresses, and the mesh is made Delaunay after each
// (Lawson 1977): a removal may be cancelled between two of them.

#include "constraints/GraphRemover.h"

#include <algorithm>
#include <iterator>

#include "constraints/ConstraintMgr.h"
#include "constraints/ConstraintPieces.h"
#include "kernel/flatSets.h"
#include "mesh/Dt2.h"
#include "support/PointerMap.h"
#include "support/RecordCopies.h"
#include "support/stopping.h"

namespace LUMO_TARO25D {

void GraphRemover::remove(ConstraintGraph2* pGraph, bool bRemoveVertices) {
    manager_.goOn();
    for (ConstraintSegment2* pCSeg : collect(pGraph)) {
        pCSeg->removeOwner(pGraph);
        if (pCSeg->getNumberOfOwners() == 0) vOrphans_.push_back(pCSeg);
    }
    manager_.discard(pGraph);
    fate_ = bRemoveVertices ? Fate::GO : Fate::BECOME_CLIENTS;
    finish();
}

void GraphRemover::finish() {
    releaseEdges();
    discardOrphans();
    removeVertices();
    fate_ = Fate::STAY;
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

void GraphRemover::releaseEdges() {
    std::vector<ConstraintSegment2*> vAlive;
    std::copy_if(vOrphans_.begin(), vOrphans_.end(), std::back_inserter(vAlive),
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

void GraphRemover::discardOrphans() {
    if (vOrphans_.empty()) return;
    manager_.countEnds();
    CancelPoint<> cancelPoint;
    while (!vOrphans_.empty()) {
        cancelPoint.pass();
        for (Point2* pEnd : manager_.discardOrphan(vOrphans_.back())) {
            if (!pEnd) continue;
            if (fate_ == Fate::GO && manager_.isBrought(pEnd)) {
                vDoomed_.push_back(pEnd);
            } else {
                manager_.releaseVertex(pEnd, fate_ == Fate::STAY);
            }
        }
        vOrphans_.pop_back();
    }
    manager_.sweepIfDue();
}

void GraphRemover::removeVertices() {
    std::vector<Point2*> vInOrder = vDoomed_;
    std::sort(vInOrder.begin(), vInOrder.end(),
              withCancelPoints([](const Point2* a, const Point2* b) { return *b < *a; }));
    vDoomed_.swap(vInOrder);
    while (!vDoomed_.empty()) {
        throwIfStopped();
        Point2* pVtx = vDoomed_.back();
        vDoomed_.pop_back();
        const bool bStillAlone = manager_.isBrought(pVtx);  // a client may have inserted a point there meanwhile
        manager_.releaseVertex(pVtx, false);
        if (bStillAlone) mesh_.remove(pVtx);
    }
}

void GraphRemover::copyFrom(const GraphRemover& other, const RecordCopies<Point2>& vertices,
                            const PointerMap<ConstraintSegment2*>& mSegments) {
    for (const ConstraintSegment2* pOrphan : other.vOrphans_) vOrphans_.push_back(*mSegments.find(pOrphan));
    for (const Point2* pVtx : other.vDoomed_) vDoomed_.push_back(vertices(pVtx));
    fate_ = other.fate_;
}

}  // namespace LUMO_TARO25D
