// The constraint segments of one triangulation.
//
// There is at most one segment for each pair of vertices. The mesh has the hash table of segments by their ends
// (ConstraintEdges), so that it answers whether an edge is a constraint without the manager. The list of all segments
// has no order: queries sort what they return, which costs less than keeping order at each split. Entries of discarded
// segments stay in the list until half of it is garbage (sweep).
//
// Memory: 64 bytes a segment, and some 30 in the list and the table.
//
// A vertex that was inserted for constraints alone is remembered (bringVertex), so that removing a graph can remove it
// too. Counting the segments at each vertex starts with the first removal, since most clients never remove a graph.

#include "constraints/ConstraintMgr.h"

#include <algorithm>
#include <cstdint>
#include <functional>
#include <tuple>

#include "constraints/ConstraintPieces.h"
#include "kernel/links.h"
#include "kernel/tools.h"
#include "mesh/Dt2.h"
#include "support/diagnostics.h"
#include "support/stopping.h"

namespace LUMO_TARO25D {

namespace {

/// Appends segments in the order of their ends. The ends are copied before the sort, since the records of segments are
/// far apart in memory.
void appendInOrder(const std::vector<ConstraintSegment2*>& vFound, std::vector<ConstraintSegment2*>& vCSegs) {
    using Entry = std::tuple<std::uintptr_t, std::uintptr_t, ConstraintSegment2*>;
    const auto number = [](const Point2* pVtx) { return reinterpret_cast<std::uintptr_t>(pVtx); };
    std::vector<Entry> vEntries;
    vEntries.reserve(vFound.size());
    for (ConstraintSegment2* pCSeg : vFound)
        vEntries.emplace_back(number(pCSeg->getSrc()), number(pCSeg->getTrg()), pCSeg);
    std::sort(vEntries.begin(), vEntries.end(), withCancelPoints(std::less<>()));
    reserveMore(vCSegs, vEntries.size());
    for (const Entry& entry : vEntries) vCSegs.push_back(std::get<2>(entry));
}

}  // namespace

ConstraintMgr::ConstraintMgr(Dt2* pDt2) : pDt2_(pDt2), establisher_(*pDt2, *this), remover_(*pDt2, *this) {
    constexpr int FIRST_BLOCK = 16, MAX_BLOCK = 1 << 20;
    segmentPool_.init(FIRST_BLOCK, MAX_BLOCK);
    pDt2_->setConstraintKeeper(this);
}

ConstraintMgr::~ConstraintMgr() {
    for (const ConstraintSegment2* pCSeg : vSegments_) pCSeg->~ConstraintSegment2();
    for (const ConstraintSegment2* pCSeg : vGarbage_) pCSeg->~ConstraintSegment2();
}

// ---------------------------------------------------------------------------------------------------------------------
// Questions

ConstraintMgr::VertexPair ConstraintMgr::makeKey(const Point2* p0, const Point2* p1) {
    const auto ends = std::minmax(p0, p1, std::less<>());
    return VertexPair(const_cast<Point2*>(ends.first), const_cast<Point2*>(ends.second));
}

bool ConstraintMgr::isConstraintVertex(const Point2* pVtx) const {
    return constraintVertices_.contains(pVtx) || sPendingEnds_.contains(pVtx);
}

ConstraintSegment2* ConstraintMgr::findSegment(const Point2* p0, const Point2* p1) const {
    return pDt2_->getConstraintEdges().find(p0, p1);
}

ConstraintSegment2* ConstraintMgr::getAliveConstraintSegment(const Point2* p0, const Point2* p1) const {
    ConstraintSegment2* pCSeg = findSegment(p0, p1);
    return pCSeg && pCSeg->isAlive() ? pCSeg : nullptr;
}

bool ConstraintMgr::isConstraint_performanceVersion(const Point2* p0, const Point2* p1) const {
    return pDt2_->isConstraint(p0, p1);
}

template <class F>
void ConstraintMgr::appendSegments(const F& f, std::vector<ConstraintSegment2*>& vCSegs) const {
    std::vector<ConstraintSegment2*> vFound;
    CancelPoint<4096> cancelPoint;
    for (ConstraintSegment2* pCSeg : vSegments_) {
        cancelPoint.pass();
        if (f(pCSeg) && isKept(pCSeg)) vFound.push_back(pCSeg);
    }
    appendInOrder(vFound, vCSegs);
}

void ConstraintMgr::getAliveConstraintSegments(std::vector<ConstraintSegment2*>& vCSegs) const {
    appendSegments([](const ConstraintSegment2* pCSeg) { return pCSeg->isAlive(); }, vCSegs);
}

void ConstraintMgr::getAliveAndDeadConstraintSegments(std::vector<ConstraintSegment2*>& vCSegs) const {
    appendSegments([](const ConstraintSegment2*) { return true; }, vCSegs);
}

// ---------------------------------------------------------------------------------------------------------------------
// Segments

ConstraintSegment2* ConstraintMgr::addConstraintSegment(Point2* p0, Point2* p1, ConstraintInsertionStrategy cis) {
    TARO_ASSERT_TEXT(p0 != p1, "p0<p1");
    const VertexPair key = makeKey(p0, p1);
    const auto make = [&] { return makeSegment(key.first, key.second, cis); };
    const auto [pCSeg, bNew] = pDt2_->getConstraintEdges().findOrAdd(key.first, key.second, make);
    if (!bNew) remover_.revive(pCSeg);
    return pCSeg;
}

ConstraintSegment2* ConstraintMgr::makeSegment(Point2* p0, Point2* p1, ConstraintInsertionStrategy cis) {
    if (vRecycled_.empty()) vRecycled_.push_back(segmentPool_.getElement());
    vSegments_.push_back(new (vRecycled_.back()) ConstraintSegment2(p0, p1, cis));
    vRecycled_.pop_back();
    ConstraintSegment2* pCSeg = vSegments_.back();
    for (const Point2* pEnd : {p0, p1}) {
        constraintVertices_.insert(pEnd);
        if (pNumEnds_) ++(*pNumEnds_)[pEnd];
    }
    return pCSeg;
}

std::vector<ConstraintSegment2*> ConstraintMgr::addConstraintSegments(const std::vector<VertexPair>& vPairs,
                                                                      ConstraintInsertionStrategy cis) {
    reserveMore(vSegments_, vPairs.size());
    pDt2_->getConstraintEdges().reserve(vSegments_.size() + vPairs.size());
    std::vector<ConstraintSegment2*> vCSegs;
    vCSegs.reserve(vPairs.size());
    numRequested_ += vPairs.size();
    ConstraintSegment2::Age age{++numCalls_, 0};
    CancelPoint<> cancelPoint;
    for (; age.place < vPairs.size(); ++age.place) {
        cancelPoint.pass();
        const auto& [p0, p1] = vPairs[age.place];
        if (p0 != p1) {
            vCSegs.push_back(addConstraintSegment(p0, p1, cis));
            vCSegs.back()->noteAge(age);
            continue;
        }
        Note("ConstraingMgr::createConstraint") << *p0 << " <-> " << *p1 << "\n";
        warning("ConstraingMgr::createConstraint",
                "(0) Identical source and endpoint, a constraint segment has been skipped");
    }
    return vCSegs;
}

bool ConstraintMgr::canBeSplitAt(const ConstraintSegment2* pCSeg, Point2* pSplit) const {
    if (!isConstraintVertex(pSplit)) return true;
    std::vector<ConstraintSegment2*> vStack;
    const auto pushIfDead = [&vStack](ConstraintSegment2* p) {
        if (!p->isAlive()) vStack.push_back(p);
    };
    for (const Point2* pEnd : {pCSeg->getSrc(), pCSeg->getTrg()}) {
        if (ConstraintSegment2* pChild = findSegment(pEnd, pSplit)) pushIfDead(pChild);
    }
    while (!vStack.empty()) {
        ConstraintSegment2* pAncestor = vStack.back();
        vStack.pop_back();
        if (pAncestor == pCSeg) return false;
        ConstraintSegment2 *pChild0 = nullptr, *pChild1 = nullptr;
        Point2* pSplitBefore = nullptr;
        pAncestor->getChildrenAndSplitPoint(pChild0, pChild1, pSplitBefore);
        for (ConstraintSegment2* pChild : {pChild0, pChild1}) {
            if (pChild == pCSeg) return false;
            if (pChild) pushIfDead(pChild);
        }
    }
    return true;
}

void ConstraintMgr::updateConstraintSegment(ConstraintSegment2* pParentCSeg, ConstraintSegment2* pCSeg0,
                                            ConstraintSegment2* pCSeg1) {
    TARO_ASSERT_TEXT(!pParentCSeg->isAlive(), "!pParentCSeg->isAlive()");
    TARO_ASSERT_TEXT(pCSeg0 != pCSeg1, "pCSeg0!=pCSeg1");
    const VertexPair key0(pCSeg0->getSrc(), pCSeg0->getTrg()), key1(pCSeg1->getSrc(), pCSeg1->getTrg());
    TARO_ASSERT_TEXT(std::less<>()(key0.first, key0.second), "key0.first<key0.second");
    TARO_ASSERT_TEXT(std::less<>()(key1.first, key1.second), "key1.first<key1.second");
    // The children were made by addConstraintSegment, which has entered them.
    TARO_ASSERT(findSegment(key0.first, key0.second) == pCSeg0);
    TARO_ASSERT(findSegment(key1.first, key1.second) == pCSeg1);
}

void ConstraintMgr::splitConstraintAt(Point2* p0, Point2* p1, Point2* pSplit) {
    ConstraintSegment2* pCSeg = getAliveConstraintSegment(p0, p1);
    TARO_ASSERT_TEXT(pCSeg != nullptr, "pCSeg!=__null");
    const bool bOK = pCSeg->split_combinatorialOnly(pSplit);
    TARO_ASSERT(bOK);
}

void ConstraintMgr::noteClientsPoints(Point2* const* aVertices, size_t num) {
    for (size_t i = 0; i < num; ++i) {
        if (aVertices[i]) sBroughtVertices_.erase(aVertices[i]);
    }
}

std::pair<Point2*, bool> ConstraintMgr::bringVertex(const Point2& place) {
    const size_t numPointsBefore = pDt2_->numberOfPoints();
    const NoStopScope noStop;  // the caller is changing a segment
    // The heights of the segments meet at the vertex, not the height of this point.
    const FlagScope pause = pDt2_->getHeightBook().pause();
    Point2* pVtx = pDt2_->insert(place);
    const bool bNew = pVtx && pDt2_->numberOfPoints() > numPointsBefore;
    if (bNew) sBroughtVertices_.insert(pVtx);
    return {pVtx, bNew};
}

/// Makes the edges at a new vertex Delaunay that has split a constraint. Those at a vertex inside a triangle are from
/// the start; but rounding bends the constraint, and if a triangle beside it is thinner than the bend, the edge to its
/// far corner is not.
void ConstraintMgr::flipAround(Point2* pVtx) {
    Triangle2* const pFirst = pVtx->getIncidentTriangle();
    Triangle2* pT = pFirst;
    do {
        const int k = incIndexBy1(indexOfVertex(pT, pVtx));
        if (pDt2_->flipUnlessDelaunay(pT, k)) return pDt2_->bfsFlipIncident(pVtx);
        pT = pT->getOppositeTriangle(k);
    } while (pT != pFirst);
}

Point2* ConstraintMgr::bringVertexOnEdge(const Point2& place, Triangle2* pT, int i,
                                         const ConstraintSegment2* pCrossing) {
    const NoStopScope noStop;  // the caller is changing a segment
    Point2* pVtx = pDt2_->getVertexVault().createRegisteredVertex(place);
    for (const Point2* pEnd :
         {pT->getCorner(incIndexBy1(i)), pT->getCorner(incIndexBy2(i)), pCrossing->getSrc(), pCrossing->getTrg()})
        pDt2_->getConstraintEdges().prefetch(pEnd, pVtx);  // of the four pieces
    sBroughtVertices_.insert(pVtx);
    pDt2_->initVCheckT24(pT, pVtx, i);
    pDt2_->settle(pVtx);
    flipAround(pVtx);
    return pVtx;
}

void ConstraintMgr::bringVertices(const std::vector<Point2>& vPlaces, std::vector<Point2*>& vNew) {
    const FlagScope pause = pDt2_->getHeightBook().pause();
    bringBulk(vPlaces, vNew, "insert crossings");
}

void ConstraintMgr::bringBulk(const std::vector<Point2>& vPoints, std::vector<Point2*>& vHandles, const char* phase) {
    vHandles.assign(vPoints.size(), nullptr);
    std::vector<Point2*> vNewVertices;
    const auto noteNew = [&] {
        for (const Point2* pVtx : vNewVertices) sBroughtVertices_.insert(pVtx);
    };
    try {
        pDt2_->insertBulk(PointSource(vPoints), vHandles.data(), &vNewVertices, phase);
    } catch (...) {  // cancelled
        noteNew();
        throw;
    }
    noteNew();
}

// ---------------------------------------------------------------------------------------------------------------------
// Removal

void ConstraintMgr::countEnds() {
    if (pNumEnds_) return;
    auto pNumEnds = std::make_unique<PointerMap<unsigned>>();
    CancelPoint<> cancelPoint;
    for (const ConstraintSegment2* pCSeg : vSegments_) {
        cancelPoint.pass();
        for (const Point2* pEnd : {pCSeg->getSrc(), pCSeg->getTrg()}) ++(*pNumEnds)[pEnd];
    }
    pNumEnds_ = std::move(pNumEnds);
}

std::array<Point2*, 2> ConstraintMgr::discardOrphan(ConstraintSegment2* pCSeg) {
    Point2 *p0 = pCSeg->getSrc(), *p1 = pCSeg->getTrg();
    TARO_ASSERT(pCSeg->getNumberOfOwners() == 0 && findSegment(p0, p1) == pCSeg);
    pDt2_->getConstraintEdges().erase(p0, p1);
    establisher_.getConformingInserter().forget(pCSeg);
    ++numDiscarded_;
    const auto isFree = [this](const Point2* pEnd) { return --(*pNumEnds_)[pEnd] == 0; };
    const bool bFree0 = isFree(p0), bFree1 = isFree(p1);
    return {bFree0 ? p0 : nullptr, bFree1 ? p1 : nullptr};
}

void ConstraintMgr::releaseVertex(const Point2* pVtx, bool bStaysBrought) {
    constraintVertices_.erase(pVtx);
    if (!bStaysBrought) sBroughtVertices_.erase(pVtx);
}

void ConstraintMgr::sweep() {
    CancelPoint<> cancelPoint;
    if (numDiscarded_ > 0 && !remover_.mayReferToDropped()) {
        std::vector<ConstraintSegment2*> vKept, vGarbage;
        vKept.reserve(getNumberOfSegments());
        vGarbage.reserve(numDiscarded_);
        for (ConstraintSegment2* pCSeg : vSegments_) {
            cancelPoint.pass();
            (isKept(pCSeg) ? vKept : vGarbage).push_back(pCSeg);
        }
        vGarbage_.insert(vGarbage_.end(), vGarbage.begin(), vGarbage.end());
        vSegments_.swap(vKept);
        numDiscarded_ = 0;
    }
    while (!vGarbage_.empty()) {
        cancelPoint.pass();
        recycle(vGarbage_.back());
        vGarbage_.pop_back();
    }
}

void ConstraintMgr::recycle(ConstraintSegment2* pCSeg) {
    vRecycled_.push_back(pCSeg);
    pCSeg->~ConstraintSegment2();
}

// ---------------------------------------------------------------------------------------------------------------------
// Into the mesh

void ConstraintMgr::apply() {
    std::vector<ConstraintSegment2*> vCSegs;
    CancelPoint<> cancelPoint;
    for (ConstraintSegment2* pCSeg : vSegments_) {
        cancelPoint.pass();
        if (pCSeg->isAlive() && isKept(pCSeg)) vCSegs.push_back(pCSeg);
    }
    sortByPlace(vCSegs);
    std::stable_sort(vCSegs.begin(), vCSegs.end(),
                     withCancelPoints([](const ConstraintSegment2* a, const ConstraintSegment2* b) {
                         return a->getAge() < b->getAge();
                     }));
    establisher_.establishWithProgress(vCSegs, numRequested_, "apply");
    bUnfinished_ = false;
}

void ConstraintMgr::rememberEncroached(const Point2* p0, const Point2* p1) {
    if (ConstraintSegment2* pCSeg = getAliveConstraintSegment(p0, p1))
        establisher_.getConformingInserter().suspect(pCSeg);
}

}  // namespace LUMO_TARO25D
