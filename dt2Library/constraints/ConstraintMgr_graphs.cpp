// The graphs of one triangulation: the calls of clients that create them, with their checks, and the steps below.
//
// A call inserts the ends of its segments in bulk, finds or makes the segment for each pair of vertices, makes a graph
// of them, and establishes the segments (Establisher). Afterwards conforming pieces on which the call has encroached
// are split. Before there are triangles, nothing is established; applyForClient does it later.

#include <algorithm>
#include <array>
#include <cmath>
#include <iostream>
#include <map>
#include <numeric>

#include "constraints/ConstraintMgr.h"
#include "constraints/ConstraintPieces.h"
#include "kernel/tools.h"
#include "mesh/Dt2.h"
#include "support/diagnostics.h"
#include "support/stopping.h"

namespace LUMO_TARO25D {

namespace {

std::vector<ConstraintSegment2*> getAlivePieces(const std::vector<ConstraintSegment2*>& vCSegs) {
    std::vector<ConstraintSegment2*> vPieces;
    vPieces.reserve(vCSegs.size());
    for (ConstraintSegment2* pCSeg : vCSegs) appendAlivePieces(pCSeg, vPieces);
    return vPieces;
}

/// Drops repeated points; vPlaces[i] becomes the new index of the point that had index i.
void keepFirstOfEach(std::vector<Point2>& vPoints, std::vector<size_t>& vPlaces) {
    std::map<std::array<double, 3>, size_t> mPlaces;
    size_t numKept = 0;
    for (size_t i = 0; i < vPoints.size(); ++i) {
        const Point2 point = vPoints[i];
        vPlaces[i] = mPlaces.emplace(std::array<double, 3>{point.x(), point.y(), point.z()}, numKept).first->second;
        if (vPlaces[i] == numKept) vPoints[numKept++] = point;
    }
    vPoints.resize(numKept);
}

std::vector<ConstraintMgr::VertexPair> getEnds(const std::vector<Edge2*>& vEdges) {
    std::vector<ConstraintMgr::VertexPair> vPairs;
    vPairs.reserve(vEdges.size());
    for (const Edge2* pEdge : vEdges) vPairs.emplace_back(pEdge->getSrc(), pEdge->getTrg());
    return vPairs;
}

/// Any integer can be cast to a strategy. The error names the function that uses the strategy later.
bool isStrategy(ConstraintInsertionStrategy cis) {
    if (cis == CIS_CONFORMING_SURFACE_Z || cis == CIS_CONSTRAINED_DELAUNAY || cis == CIS_CONFORMING_LINEAR_Z)
        return true;
    error("ConstraintMgr::apply()", "Unknown CIS");
    return false;
}

}  // namespace

// ---------------------------------------------------------------------------------------------------------------------
// Graphs

bool ConstraintMgr::hasGraph(const ConstraintGraph2* pGraph) const {
    return std::any_of(vGraphs_.begin(), vGraphs_.end(), [pGraph](const auto& p) { return p.get() == pGraph; });
}

void ConstraintMgr::getGraphs(std::vector<ConstraintGraph2*>& vGraphs) const {
    for (const auto& pGraph : vGraphs_) vGraphs.push_back(pGraph.get());
}

std::unique_ptr<ConstraintGraph2> ConstraintMgr::detach(ConstraintGraph2* pGraph) {
    const auto it =
        std::find_if(vGraphs_.begin(), vGraphs_.end(), [pGraph](const auto& p) { return p.get() == pGraph; });
    TARO_ASSERT(it != vGraphs_.end());
    std::unique_ptr<ConstraintGraph2> pDetached = std::move(*it);
    vGraphs_.erase(it);
    const auto isOf = [pGraph](const PendingCall& call) { return call.pGraph == pGraph; };
    vPendingCalls_.erase(std::remove_if(vPendingCalls_.begin(), vPendingCalls_.end(), isOf), vPendingCalls_.end());
    return pDetached;
}

template <class MakeGraph>
std::vector<ConstraintSegment2*> ConstraintMgr::addGraph(const std::vector<VertexPair>& vPairs,
                                                         ConstraintInsertionStrategy cis, const MakeGraph& makeGraph) {
    const size_t numBefore = vSegments_.size();
    try {
        std::vector<ConstraintSegment2*> vCSegs = addConstraintSegments(vPairs, cis);
        vGraphs_.push_back(makeGraph(vCSegs));
        return vCSegs;
    } catch (...) {
        for (size_t i = numBefore; i < vSegments_.size(); ++i) {
            if (vSegments_[i]->getNumberOfOwners() == 0) remover_.addOrphan(vSegments_[i]);
        }
        remover_.killOrphans();
        throw;
    }
}

ConstraintGraph2* ConstraintMgr::createConstraint(const std::vector<VertexPair>& vPairs,
                                                  ConstraintInsertionStrategy cis, bool bApply) {
    const std::vector<ConstraintSegment2*> vCSegs =
        addGraph(vPairs, cis, [&](const auto& vNew) { return std::make_unique<ConstraintGraph2>(pDt2_, vNew, cis); });
    ConstraintGraph2* pGraph = vGraphs_.back().get();
    if (bApply) establisher_.establishWithProgress(getAlivePieces(vCSegs), vCSegs.size(), "establish constraints");
    return pGraph;
}

ConstraintGraph2* ConstraintMgr::createConstraint(const std::vector<Edge2*>& vEdges, ConstraintInsertionStrategy cis,
                                                  bool bApply) {
    return createConstraint(getEnds(vEdges), cis, bApply);
}

ConstraintGraph2* ConstraintMgr::createConstraint(const std::vector<Segment2>& vSegments,
                                                  ConstraintInsertionStrategy cis) {
    return createConstraint(insertEnds(vSegments), cis, true);
}

ConstraintGraph2* ConstraintMgr::createConstraint_oriented(const std::vector<Segment2>& vSegments,
                                                           ConstraintInsertionStrategy cis) {
    return vSegments.empty() ? nullptr : createConstraint_oriented(insertEnds(vSegments), cis, true);
}

ConstraintGraph2* ConstraintMgr::createConstraint_oriented(const std::vector<VertexPair>& vPairs,
                                                           ConstraintInsertionStrategy cis, bool bApply) {
    using Entry = std::pair<VertexPair, bool>;
    std::vector<Entry> vReverse;
    vReverse.reserve(vPairs.size());
    for (const auto& [p0, p1] : vPairs) {
        const VertexPair key = makeKey(p0, p1);
        vReverse.emplace_back(key, p0 != key.first);
    }
    std::vector<bool> vPasses;
    for (const auto& [p0, p1] : vPairs) {
        if (p0 != p1) vPasses.push_back(p0 != makeKey(p0, p1).first);
    }
    // A segment that occurs in both directions gets the first one; the graph stores all passes besides.
    std::stable_sort(vReverse.begin(), vReverse.end(),
                     withCancelPoints([](const Entry& a, const Entry& b) { return a.first < b.first; }));
    const std::map<VertexPair, bool> mPPReverse(vReverse.begin(), vReverse.end());
    const std::vector<ConstraintSegment2*> vCSegs = addGraph(vPairs, cis, [&](const auto& vNew) {
        return std::make_unique<ConstraintGraph2>(pDt2_, vNew, mPPReverse, cis);
    });
    ConstraintGraph2* pGraph = vGraphs_.back().get();
    const auto isBothWays = [](const Entry& a, const Entry& b) { return a.first == b.first && a.second != b.second; };
    if (std::adjacent_find(vReverse.begin(), vReverse.end(), isBothWays) != vReverse.end()) pGraph->setPasses(vPasses);
    if (bApply) establisher_.establishWithProgress(getAlivePieces(vCSegs), vCSegs.size(), "establish constraints");
    return pGraph;
}

ConstraintGraph2* ConstraintMgr::createEdges(const std::vector<VertexPair>& vPairs, ConstraintInsertionStrategy cis,
                                             bool bOriented) {
    ConstraintGraph2* pGraph = createGraph(vPairs, cis, bOriented, false);
    std::vector<ConstraintSegment2*> vPieces;
    pGraph->getChildConstraintSegments(vPieces);
    establishAsEdges(vPieces);
    return pGraph;
}

ConstraintGraph2* ConstraintMgr::createConstraint_oriented(const std::vector<Edge2>& vEdges,
                                                           ConstraintInsertionStrategy cis) {
    // A height that the client has set to NaN or infinity would make the insertion refuse the end.
    const auto getPlace = [](const Point2& end) {
        return Point2(end.x(), end.y(), std::isfinite(end.z()) ? end.z() : 0.0);
    };
    std::vector<Segment2> vSegments;
    vSegments.reserve(vEdges.size());
    for (const Edge2& edge : vEdges) vSegments.emplace_back(getPlace(*edge.getSrc()), getPlace(*edge.getTrg()));
    return createConstraint_oriented(vSegments, cis);
}

std::vector<ConstraintMgr::VertexPair> ConstraintMgr::insertEnds(const std::vector<Segment2>& vSegments) {
    std::vector<Point2> vEnds;
    vEnds.reserve(2 * vSegments.size());
    for (const Segment2& segment : vSegments) {
        vEnds.push_back(segment.getSrc());
        vEnds.push_back(segment.getTrg());
    }
    // An end that several of these segments share at one height counts once in the mean of the heights there.
    std::vector<size_t> vPlaces(vEnds.size());
    std::iota(vPlaces.begin(), vPlaces.end(), size_t(0));
    if (pDt2_->getHeightBook().getRule() == HR_MEAN) keepFirstOfEach(vEnds, vPlaces);
    std::vector<Point2*> vHandles;
    bringBulk(vEnds, vHandles, "insert vertices");
    std::vector<VertexPair> vPairs;
    vPairs.reserve(vSegments.size());
    for (size_t i = 0; i < vPlaces.size(); i += 2) vPairs.emplace_back(vHandles[vPlaces[i]], vHandles[vPlaces[i + 1]]);
    return vPairs;
}

// ---------------------------------------------------------------------------------------------------------------------
// Calls of clients

ConstraintGraph2* ConstraintMgr::createForClient(const std::vector<Segment2>& vSegments,
                                                 ConstraintInsertionStrategy cis, bool bOrientedSegments) {
    if (vSegments.empty()) {
        warning("Dt2::createConstraint(..)", "vSegments is empty, returning NULL");
        return nullptr;
    }
    if (!areFinite(vSegments)) {
        warning("Dt2::createConstraint(..)", "non-finite coordinates, constraint refused");
        return nullptr;
    }
    if (!isStrategy(cis)) return nullptr;
    const auto makeCall = [&] { return PendingCall{vSegments, {}, cis, bOrientedSegments}; };
    const auto create = [&] { return createGraph(insertEnds(vSegments), cis, bOrientedSegments, true); };
    return serve(create, makeCall);
}

ConstraintGraph2* ConstraintMgr::createForClient(const std::vector<Edge2*>& vEdges, ConstraintInsertionStrategy cis) {
    if (vEdges.empty()) {
        warning("Dt2::createConstraint(..)", "vEdges is empty, returning NULL");
        return nullptr;
    }
    if (!isStrategy(cis)) return nullptr;
    const std::vector<VertexPair> vPairs = getEnds(vEdges);
    return createForClient(vPairs, cis, false);
}

ConstraintGraph2* ConstraintMgr::createForClient(const std::vector<VertexPair>& vPairs, ConstraintInsertionStrategy cis,
                                                 bool bOrientedSegments) {
    const VertexVault& vault = pDt2_->getVertexVault();
    const auto isStrange = [&vault](const Point2* pVtx) {
        return !pVtx || vault.getIdxOfActiveVtx(pVtx) == VertexVault::NOT_FOUND;
    };
    const auto hasStrangeEnd = [&](const VertexPair& pair) { return isStrange(pair.first) || isStrange(pair.second); };
    if (vPairs.empty()) {
        warning("Dt2::createConstraint(..)", "vVertexPairs is empty, returning NULL");
        return nullptr;
    }
    if (std::any_of(vPairs.begin(), vPairs.end(), hasStrangeEnd)) {
        warning("Dt2::createConstraint(..)", "a pointer is no vertex of this triangulation, constraint refused");
        return nullptr;
    }
    if (!isStrategy(cis)) return nullptr;
    const auto makeCall = [&] { return PendingCall{{}, vPairs, cis, bOrientedSegments}; };
    return serve([&] { return createGraph(vPairs, cis, bOrientedSegments, true); }, makeCall);
}

ConstraintGraph2* ConstraintMgr::createGraph(const std::vector<VertexPair>& vPairs, ConstraintInsertionStrategy cis,
                                             bool bOriented, bool bApply) {
    return bOriented ? createConstraint_oriented(vPairs, cis, bApply) : createConstraint(vPairs, cis, bApply);
}

template <class Create, class MakeCall>
ConstraintGraph2* ConstraintMgr::serve(const Create& create, const MakeCall& makeCall) {
    const size_t place = vPendingCalls_.empty() ? 0 : findPending(makeCall());
    const bool bAgain = place < vPendingCalls_.size();
    const size_t numGraphs = vGraphs_.size();
    ConstraintGraph2* pGraph = bAgain ? vPendingCalls_[place].pGraph : nullptr;
    try {
        goOn();
        if (!pGraph) pGraph = create();
        finishCall(false);
    } catch (...) {
        if (!bAgain) vPendingCalls_.push_back(makeCall());
        if (vGraphs_.size() > numGraphs) vPendingCalls_[place].pGraph = vGraphs_.back().get();
        holdPendingEnds();
        throw;
    }
    if (bAgain) vPendingCalls_.erase(vPendingCalls_.begin() + static_cast<std::ptrdiff_t>(place));
    holdPendingEnds();
    return pGraph;
}

void ConstraintMgr::goOn() {
    remover_.finish();
    if (bUnfinished_ && pDt2_->is2D()) apply();
}

void ConstraintMgr::applyForClient() {
    if (!pDt2_->is2D()) {
        warning("Dt2::applyConstraintsAndZones()", "The triangulation is not full dimensional yet. Nothing to do");
        return;
    }
    remover_.finish();
    for (PendingCall& call : vPendingCalls_) {
        if (call.pGraph) continue;
        const bool bVertices = call.vSegments.empty();
        call.pGraph =
            createGraph(bVertices ? call.vPairs : insertEnds(call.vSegments), call.cis, call.bOriented, false);
        holdPendingEnds();
    }
    apply();
    finishCall(true);
    vPendingCalls_.clear();
}

size_t ConstraintMgr::findPending(const PendingCall& call) const {
    const auto areSame = [](const Segment2& a, const Segment2& b) {
        return samePoint(a.getSrc(), b.getSrc()) && samePoint(a.getTrg(), b.getTrg());
    };
    const auto isSame = [&](const PendingCall& other) {
        return other.cis == call.cis && other.bOriented == call.bOriented && other.vPairs == call.vPairs &&
               std::equal(other.vSegments.begin(), other.vSegments.end(), call.vSegments.begin(), call.vSegments.end(),
                          areSame);
    };
    const auto it = std::find_if(vPendingCalls_.begin(), vPendingCalls_.end(), isSame);
    return static_cast<size_t>(it - vPendingCalls_.begin());
}

void ConstraintMgr::holdPendingEnds() {
    sPendingEnds_ = AddressSet();
    for (const PendingCall& call : vPendingCalls_) {
        if (call.pGraph) continue;
        for (const auto& [p0, p1] : call.vPairs) {
            sPendingEnds_.insert(p0);
            sPendingEnds_.insert(p1);
        }
    }
}

void ConstraintMgr::finishCall(bool bNewPoints) {
    establisher_.splitEncroachedPieces(bNewPoints);
    sweep();
}

}  // namespace LUMO_TARO25D
