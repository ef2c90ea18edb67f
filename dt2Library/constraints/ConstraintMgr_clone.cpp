// Copies of constraints, for Taro_2D::clone(), and the return to an earlier state.

#include <optional>
#include <tuple>
#include <utility>

#include "constraints/ConstraintMgr.h"
#include "mesh/Dt2.h"
#include "support/RecordCopies.h"
#include "support/diagnostics.h"
#include "support/lists.h"
#include "support/stopping.h"

namespace LUMO_TARO25D {

void ConstraintMgr::copyTo(Dt2& copy, const RecordCopies<Point2>& vertices) const {
    ConstraintMgr& target = *copy.getConstraintManager();
    PointerMap<ConstraintSegment2*> mSegments;
    mSegments.reserve(getNumberOfSegments());
    target.copySegments(*this, vertices, mSegments);
    PointerMap<ConstraintGraph2*> mGraphs;
    const auto copyGraph = [&](const ConstraintGraph2& graph) {
        throwIfStopped();
        auto pGraph = std::make_unique<ConstraintGraph2>(&copy, graph, mSegments);
        mGraphs.add(&graph, pGraph.get());
        return pGraph;
    };
    for (const auto& pGraph : vGraphs_) target.vGraphs_.push_back(copyGraph(*pGraph));
    target.remover_.copyFrom(remover_, vertices, mSegments, copyGraph);
    mSegments.forEach([&](const void* pOriginal, ConstraintSegment2* pCSeg) {
        pCSeg->copyFrom(*static_cast<const ConstraintSegment2*>(pOriginal), mSegments, mGraphs);
    });
    sBroughtVertices_.forEach(
        [&](const void* pVtx) { target.sBroughtVertices_.insert(vertices(static_cast<const Point2*>(pVtx))); });
    target.numCalls_ = numCalls_;
    target.numRequested_ = numRequested_;
    target.vPendingCalls_ = vPendingCalls_;
    for (PendingCall& call : target.vPendingCalls_) {
        if (call.pGraph) call.pGraph = *mGraphs.find(call.pGraph);
        for (auto& [p0, p1] : call.vPairs) p0 = vertices(p0), p1 = vertices(p1);
    }
    target.holdPendingEnds();
    target.bUnfinished_ = bUnfinished_;
    target.establisher_.copyFrom(establisher_, mSegments);
}

/// Vertices have the order of their originals, so that the smaller end of a segment stays the smaller one.
void ConstraintMgr::copySegments(const ConstraintMgr& other, const RecordCopies<Point2>& vertices,
                                 PointerMap<ConstraintSegment2*>& mSegments) {
    vSegments_.reserve(other.getNumberOfSegments());
    pDt2_->getConstraintEdges().reserve(other.getNumberOfSegments());
    for (size_t i = 0; i < other.vSegments_.size(); ++i) {
        const ConstraintSegment2* pCSeg = other.vSegments_[i];
        if (!other.isKept(pCSeg)) continue;
        Point2 *p0 = vertices(pCSeg->getSrc()), *p1 = vertices(pCSeg->getTrg());
        mSegments.add(pCSeg, addConstraintSegment(p0, p1, pCSeg->getCIS()));
        if (i % 4096 == 0) throwIfStopped();
    }
}

std::function<void()> ConstraintMgr::rememberState() {
    TARO_ASSERT(remover_.isFinished());
    sweep();
    std::vector<ConstraintSegment2::State> vStates;
    vStates.reserve(vSegments_.size());
    CancelPoint<> cancelPoint;
    for (const ConstraintSegment2* pCSeg : vSegments_) {
        cancelPoint.pass();
        vStates.push_back(pCSeg->getState());
    }
    const auto getMembers = [this] {
        return std::tie(vSegments_, constraintVertices_, sBroughtVertices_, vPendingCalls_, sPendingEnds_, bUnfinished_,
                        numCalls_, numRequested_);
    };
    auto members = copyAll(getMembers());
    auto numEnds = pNumEnds_ ? std::optional(*pNumEnds_) : std::nullopt;
    return [this, getMembers, vStates = std::move(vStates), numGraphs = vGraphs_.size(), members = std::move(members),
            numEnds = std::move(numEnds), restoreEstablisher = establisher_.rememberState()]() mutable {
        const std::vector<ConstraintSegment2*> vAll = vSegments_;
        getMembers() = std::move(members);
        AddressSet sKept;
        for (const ConstraintSegment2* pCSeg : vSegments_) sKept.insert(pCSeg);
        for (ConstraintSegment2* pCSeg : vAll) {
            if (!sKept.contains(pCSeg)) recycle(pCSeg);
        }
        for (size_t i = 0; i < vSegments_.size(); ++i) vSegments_[i]->setState(vStates[i]);
        vGraphs_.resize(numGraphs);
        numDiscarded_ = 0;
        remover_.forgetAll();
        pNumEnds_ = numEnds ? std::make_unique<PointerMap<unsigned>>(std::move(*numEnds)) : nullptr;
        restoreEstablisher();
    };
}

}  // namespace LUMO_TARO25D
