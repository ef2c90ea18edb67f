// Copies of constraints, for Taro_2D::clone().

#include "constraints/ConstraintMgr.h"
#include "mesh/Dt2.h"
#include "support/RecordCopies.h"
#include "support/stopping.h"

namespace LUMO_TARO25D {

namespace {

/// Whether a segment was split. A segment that was given up is dead as well, but has no children.
bool hasChildren(ConstraintSegment2* pCSeg) {
    if (pCSeg->isAlive()) return false;
    ConstraintSegment2 *pChild0 = nullptr, *pChild1 = nullptr;
    Point2* pSplit = nullptr;
    pCSeg->getChildrenAndSplitPoint(pChild0, pChild1, pSplit);
    return pChild0 != nullptr;
}

}  // namespace

void ConstraintMgr::copyTo(Dt2& copy, const RecordCopies<Point2>& vertices) const {
    ConstraintMgr& target = *copy.getConstraintManager();
    PointerMap<ConstraintSegment2*> mSegments;
    mSegments.reserve(getNumberOfSegments());
    target.copySegments(*this, vertices, mSegments);
    PointerMap<ConstraintGraph2*> mGraphs;
    for (const auto& pGraph : vGraphs_) {
        throwIfStopped();
        target.vGraphs_.push_back(std::make_unique<ConstraintGraph2>(&copy, *pGraph, mSegments));
        mGraphs.add(pGraph.get(), target.vGraphs_.back().get());
    }
    mSegments.forEach([&](const void* pOriginal, ConstraintSegment2* pCSeg) {
        pCSeg->copyFrom(*static_cast<const ConstraintSegment2*>(pOriginal), mSegments, mGraphs);
    });
    for (ConstraintSegment2* pCSeg : target.vSegments_) {
        if (!hasChildren(pCSeg)) copy.getConstraintEdges().add(pCSeg->getSrc(), pCSeg->getTrg(), pCSeg->getAliveFlag());
    }
    sBroughtVertices_.forEach(
        [&](const void* pVtx) { target.sBroughtVertices_.insert(vertices(static_cast<const Point2*>(pVtx))); });
    target.numCalls_ = numCalls_;
    target.numRequested_ = numRequested_;
    for (const ConstraintSegment2* pOrphan : vOrphans_) target.vOrphans_.push_back(*mSegments.find(pOrphan));
    target.vPendingCalls_ = vPendingCalls_;
    target.bUnfinished_ = bUnfinished_;
    target.establisher_.copyFrom(establisher_, mSegments);
}

/// Vertices have the order of their originals, and so have the ends of segments.
void ConstraintMgr::copySegments(const ConstraintMgr& other, const RecordCopies<Point2>& vertices,
                                 PointerMap<ConstraintSegment2*>& mSegments) {
    vSegments_.reserve(other.getNumberOfSegments());
    segmentIndex_.reserve(other.getNumberOfSegments());
    pDt2_->getConstraintEdges().reserve(other.getNumberOfSegments());
    for (size_t i = 0; i < other.vSegments_.size(); ++i) {
        const ConstraintSegment2* pCSeg = other.vSegments_[i];
        if (!other.isKept(pCSeg)) continue;
        mSegments.add(pCSeg, enterSegment(vertices(pCSeg->getSrc()), vertices(pCSeg->getTrg()), pCSeg->getCIS()));
        numSorted_ += i < other.numSorted_;
        if (i % 4096 == 0) throwIfStopped();
    }
}

}  // namespace LUMO_TARO25D
