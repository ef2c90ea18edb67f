// Removal of graphs.
//
// A graph owns its segments and all their descendants, and a descendant has at least the owners of each of its
// ancestors. So no segment that stays refers to one that is removed. Edges without another owner are released in the
// order of their coordinates, so that ties on circles do not depend on addresses, and the mesh is made Delaunay after
// each (Lawson 1977): a removal may be cancelled between two of them.
//
// The graph leaves the manager first, and remains the owner of its segments until none of its own is an edge: a client
// who inserts points between a cancelled removal and its completion may split them. Then segments are dropped;
// their records stay until the last of them, so that every step can be cancelled and taken up again.

#include "constraints/GraphRemover.h"

#include <algorithm>

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
    fate_ = bRemoveVertices ? Fate::GO : Fate::BECOME_CLIENTS;
    vRoots_.clear();
    pGraph->getOriginalConstraintSegments(vRoots_);
    pDying_ = manager_.detach(pGraph);
    finish();
}

void GraphRemover::finish() {
    discardOrphans();
    releaseEdges();
    discardGraph();
    removeVertices();
}

void GraphRemover::killOrphans() {
    for (ConstraintSegment2* pCSeg : vOrphans_) {
        if (pCSeg->getNumberOfOwners() == 0) pCSeg->kill();
    }
}

void GraphRemover::revive(ConstraintSegment2* pCSeg) {
    if (isFinished() || pCSeg->isAlive()) return;
    pCSeg->unkill();
    const size_t numOwners = pCSeg->getNumberOfOwners();
    const bool bWaiting = numOwners == 0 || (numOwners == 1 && pDying_ && pDying_->isConstraint(pCSeg));
    if (!bWaiting) pCSeg->kill();
}

void GraphRemover::forgetAll() {
    pDying_.reset();
    vOrphans_.clear();
    vDoomed_.clear();
}

std::vector<ConstraintSegment2*> GraphRemover::collectSegments() const {
    std::vector<ConstraintSegment2*> vStack = vRoots_, vAll;
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
    if (!pDying_) return;
    std::vector<ConstraintSegment2*> vAlive;
    for (ConstraintSegment2* pCSeg : collectSegments()) {
        if (pCSeg->isAlive() && pCSeg->getNumberOfOwners() == 1) vAlive.push_back(pCSeg);
    }
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
        if (vOrphans_.back()->getNumberOfOwners() == 0) discard(vOrphans_.back(), Fate::STAY);
        vOrphans_.pop_back();
    }
    manager_.sweepIfDue();
}

void GraphRemover::discardGraph() {
    if (!pDying_) return;
    manager_.countEnds();
    CancelPoint<> cancelPoint;
    for (ConstraintSegment2* pCSeg : collectSegments()) {
        cancelPoint.pass();
        if (pCSeg->forgetGraph(pDying_.get()) && pCSeg->getNumberOfOwners() == 0) discard(pCSeg, fate_);
    }
    pDying_.reset();
    manager_.sweepIfDue();
}

void GraphRemover::discard(ConstraintSegment2* pCSeg, Fate fate) {
    for (Point2* pEnd : manager_.discardOrphan(pCSeg)) {
        if (!pEnd) continue;
        if (fate == Fate::GO && manager_.isBrought(pEnd)) {
            vDoomed_.push_back(pEnd);
        } else {
            manager_.releaseVertex(pEnd, fate == Fate::STAY);
        }
    }
}

void GraphRemover::removeVertices() {
    if (vDoomed_.empty()) return;
    manager_.countEnds();
    std::vector<Point2*> vInOrder = vDoomed_;
    std::sort(vInOrder.begin(), vInOrder.end(),
              withCancelPoints([](const Point2* a, const Point2* b) { return *b < *a; }));
    vDoomed_.swap(vInOrder);
    while (!vDoomed_.empty()) {
        throwIfStopped();
        Point2* pVtx = vDoomed_.back();
        vDoomed_.pop_back();
        if (manager_.isEnd(pVtx)) continue;                 // of a zone's border, for one, that was made meanwhile
        const bool bStillAlone = manager_.isBrought(pVtx);  // a client may have inserted a point there meanwhile
        manager_.releaseVertex(pVtx, false);
        if (bStillAlone) mesh_.remove(pVtx);
    }
}

void GraphRemover::copyFrom(const GraphRemover& other, const RecordCopies<Point2>& vertices,
                            const PointerMap<ConstraintSegment2*>& mSegments, const CopyGraph& copyGraph) {
    if (other.pDying_) {
        pDying_ = copyGraph(*other.pDying_);
        // All of them are roots, since dropped ones, which are not copied, cannot lead to their pieces.
        for (const ConstraintSegment2* pCSeg : other.collectSegments()) {
            if (ConstraintSegment2* const* ppCopy = mSegments.find(pCSeg)) vRoots_.push_back(*ppCopy);
        }
    }
    for (const ConstraintSegment2* pOrphan : other.vOrphans_) vOrphans_.push_back(*mSegments.find(pOrphan));
    for (const Point2* pVtx : other.vDoomed_) vDoomed_.push_back(vertices(pVtx));
    fate_ = other.fate_;
}

}  // namespace LUMO_TARO25D
