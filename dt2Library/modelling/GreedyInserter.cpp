// Greedy insertion, and thinning.
//
// Every point that is no vertex is in the bucket of the triangle that holds it (PointBuckets). The point farthest from
// the surface becomes a vertex, again and again, until the limits hold (Garland and Heckbert 1995). A point changes its
// bucket O(log n) times on average. Most of these moves would happen while triangles are large; so a sample of the
// places is inserted first, up to a greater error, and the others enter the small triangles of that coarse model.
//
// Early vertices may be superfluous in the end. A vertex stays if its own point would be too far from the surface
// without it (removalPreview); any other vertex is removed on trial, and inserted again, at the same record, if a point
// around it is then too far. Distances are those of plain arithmetic here, and where four points lie on one circle
// reinsertion may give the other diagonal, so thinning ends with greedy insertion.
//
// O(n log n) for points in general position. No result depends on addresses: equal distances are ordered by the points'
// coordinates.

#include "modelling/GreedyInserter.h"

#include <algorithm>
#include <cmath>
#include <utility>

#include "kernel/links.h"
#include "kernel/nearness.h"
#include "kernel/tolerances.h"
#include "mesh/Dt2.h"
#include "mesh/walk.h"
#include "modelling/removalPreview.h"
#include "support/shareWork.h"
#include "support/stopping.h"

namespace LUMO_TARO25D {

namespace {

/// Replaces the content of a list by the other ends of the edges at a vertex, in the order of their addresses.
void collectRing(const std::vector<Triangle2*>& vTriangles, const Point2* pVtx, std::vector<const Point2*>& vRing) {
    vRing.clear();
    for (const Triangle2* pT : vTriangles) {
        const int i = indexOfVertex(pT, pVtx);
        vRing.push_back(pT->getCorner(incIndexBy1(i)));
        if (!pT->getOppositeTriangle(incIndexBy1(i))) vRing.push_back(pT->getCorner(incIndexBy2(i)));
    }
    std::sort(vRing.begin(), vRing.end());
}

}  // namespace

GreedyInserter::GreedyInserter(Dt2& mesh, const Limits& limits, Progress& progress)
    : mesh_(mesh), limits_(limits), progress_(progress), buckets_(mesh, limits.maxError) {}

bool GreedyInserter::isFull() const {
    return limits_.maxNumPoints > 0 && mesh_.numberOfPoints() >= limits_.maxNumPoints;
}

// ---------------------------------------------------------------------------------------------------------------------
// Assignment

void GreedyInserter::setPlaces(std::vector<Place> vPlaces) {
    vState_.assign(vPlaces.size(), WAITING);
    buckets_.setPlaces(std::move(vPlaces));
}

void GreedyInserter::reassign() {
    vChosen_.clear();
    assignAll();
    buckets_.clearQueue();
}

/// Assigns every n-th place that waits.
void GreedyInserter::assignEach(std::uint32_t n) {
    constexpr size_t PIECE_SIZE = 4096;
    buckets_.clear();
    std::vector<Triangle2*> vHolders((getPlaces().size() + n - 1) / n);
    Progress silent;  // the steps of the running operation are no places
    shareWork(mesh_.getNumCPU(), vHolders.size(), PIECE_SIZE, silent,
              [&](size_t begin, size_t end, int) { findHolders(n, begin, end, vHolders); });
    std::uint32_t k = 0;
    for (const Triangle2* pT : vHolders) {
        if (pT) {
            buckets_.add(k, pT);
        } else if (vState_[k] == WAITING) {
            vState_[k] = LEFT_OUT;
        }
        k += n;
    }
    buckets_.refreshAll();
    if (firstError_ == 0.0) firstError_ = buckets_.getWorstError();
}

/// Finds the triangles of every n-th place that waits; null for places that are left out. Each range of places is found
/// by a walk of its own from place to place, so that nothing depends on threads.
void GreedyInserter::findHolders(std::uint32_t n, size_t begin, size_t end, std::vector<Triangle2*>& vHolders) const {
    // Places that are outside by rounding, beside a constraint at the border, are covered too.
    GeomTest geomTest(mesh_.getMagnitude() * (1.0 + RESOLUTION));
    Triangle2* pT = nullptr;
    for (size_t i = begin; i < end; ++i) {
        const size_t k = i * n;
        if (vState_[k] != WAITING) continue;
        const Point2 point = getPlaces()[k].getPoint();
        if (!pT) pT = mesh_.getVertexVault().getCloseTriangle(point);
        int idx = -1;
        const int code = walk(&point, pT, idx, geomTest);
        const bool bOutside = code >= 0 && code < 3 &&
                              geomTest.getOrientation2(pT->getCorner(incIndexBy1(code)),
                                                       pT->getCorner(incIndexBy2(code)), &point) == ORIENTATION2_CW;
        const bool bLeftOut = code == CODE_DUPLICATE || bOutside || isOnConstraint(geomTest, pT, point);
        vHolders[i] = bLeftOut ? nullptr : pT;
    }
}

bool GreedyInserter::isOnConstraint(GeomTest& geomTest, const Triangle2* pT, const Point2& point) const {
    for (int i = 0; mesh_.hasConstraints() && i < 3; ++i) {
        if (!mesh_.isConstraint(pT, i)) continue;
        const Point2 *pSrc = pT->getCorner(incIndexBy1(i)), *pTrg = pT->getCorner(incIndexBy2(i));
        const bool bCollinear = geomTest.getOrientation2(pSrc, pTrg, &point) == ORIENTATION2_COLLINEAR;
        if (bCollinear || isBeside(*pSrc, *pTrg, point)) return true;
    }
    return false;
}

// ---------------------------------------------------------------------------------------------------------------------
// Insertion

void GreedyInserter::insertGreedily() {
    for (runQueue(); limits_.maxError >= 0.0 && !isFull(); runQueue()) {
        buckets_.refreshExactly();
        if (buckets_.isQueueEmpty()) return;
    }
}

void GreedyInserter::runQueue() {
    PointBuckets::Worst worst;
    while (!isFull() && buckets_.popWorst(worst)) {
        throwIfStopped();
        report(worst.error);
        buckets_.giveToFan(insertInto(worst.place, worst.pT), worst.place);
    }
    mesh_.getVertexVault().sortIV(VertexVault::SM_IF_DUE);
    if (isFull()) buckets_.clearQueue();
}

/// Reports progress by the number of points if that is limited, otherwise by the logarithm of the error.
void GreedyInserter::report(double worst) {
    if (!progress_.isActive()) return;
    double done = 0.0;
    if (limits_.maxNumPoints > 0) done = double(mesh_.numberOfPoints()) / double(limits_.maxNumPoints);
    if (limits_.maxError > 0.0 && firstError_ > limits_.maxError)
        done = std::max(done, std::log(firstError_ / worst) / std::log(firstError_ / limits_.maxError));
    if (limits_.maxError == 0.0) done = std::max(done, double(mesh_.numberOfPoints()) / double(getPlaces().size()));
    const size_t num = static_cast<size_t>(1000.0 * std::clamp(done, 0.0, 0.999));
    if (num <= numReported_) return;
    progress_.incProgress(num - numReported_);
    numReported_ = num;
}

size_t GreedyInserter::takeSteps() {
    constexpr size_t MOST = 990;
    return MOST - std::min(std::exchange(numReported_, std::max(MOST, numReported_)), MOST);
}

Point2* GreedyInserter::insertInto(std::uint32_t k, Triangle2* pT) {
    VertexVault& vault = mesh_.getVertexVault();
    Point2* pVtx = vault.createRegisteredVertex(getPlaces()[k].getPoint());
    int onEdge = -1;
    for (int i = 0; i < 3; ++i) {
        const Point2 *pSrc = pT->getCorner(incIndexBy1(i)), *pTrg = pT->getCorner(incIndexBy2(i));
        if (mesh_.getGeomTest().getOrientation2(pSrc, pTrg, pVtx) == ORIENTATION2_COLLINEAR) onEdge = i;
    }
    if (onEdge < 0) {
        mesh_.initVCheckT13(pT, pVtx);
    } else if (pT->getOppositeTriangle(onEdge)) {
        mesh_.initVCheckT24(pT, pVtx, onEdge);
    } else {
        mesh_.splitHullEdge(pVtx, pT, onEdge);
    }
    mesh_.settle(pVtx);
    vState_[k] = VERTEX;
    vChosen_.emplace_back(k, pVtx);
    return pVtx;
}

void GreedyInserter::insertSample(std::uint32_t n, double coarseness) {
    if (limits_.maxNumPoints > 0) return;
    buckets_.setMaxError(coarseness * limits_.maxError);
    assignEach(n);
    runQueue();
    buckets_.setMaxError(limits_.maxError);
}

// ---------------------------------------------------------------------------------------------------------------------
// Thinning

void GreedyInserter::thin() {
    if (!(limits_.maxError >= 0.0) || isFull()) return;
    // In spatial order, so that successive removals find their triangles in the cache.
    auto vChosen = std::move(vChosen_);
    vChosen_.clear();
    std::sort(vChosen.begin(), vChosen.end(), [](const auto& p, const auto& q) { return p.first < q.first; });
    for (const auto& [k, pVtx] : vChosen) {
        throwIfStopped();
        if (mesh_.isConstraintVertex(pVtx) || !tryRemoval(k, pVtx)) vChosen_.emplace_back(k, pVtx);
    }
    insertGreedily();
}

/// Removes a vertex, and inserts it again if a point around it is then too far. False if it has not even tried.
bool GreedyInserter::tryRemoval(std::uint32_t k, Point2* pVtx) {
    vStar_.clear();
    mesh_.getIncidentTriangles(pVtx, vStar_);
    double height = 0.0;
    if (previewRemoval(*pVtx, vStar_, height) && !(std::abs(height - pVtx->z()) <= limits_.maxError)) return false;
    collectRing(vStar_, pVtx, vRing_);
    buckets_.takeFrom(vStar_);
    mesh_.remove(pVtx);
    // Nothing outside the star changes; the records of the star that are still alive hold the new triangles.
    const auto isDead = [](const Triangle2* pT) { return !pT->getCorner(0); };
    vStar_.erase(std::remove_if(vStar_.begin(), vStar_.end(), isDead), vStar_.end());
    buckets_.addMoving(k);
    if (buckets_.giveToIfNear(vStar_)) {
        vState_[k] = WAITING;
        return true;
    }
    pVtx = insertInto(k, vStar_[buckets_.findHolder(k, vStar_)]);
    vStar_.clear();
    mesh_.getIncidentTriangles(pVtx, vStar_);
    collectRing(vStar_, pVtx, vNewRing_);
    if (vNewRing_ != vRing_) buckets_.giveToAny(vStar_.front());
    buckets_.giveToFan(pVtx, k);
    return true;
}

}  // namespace LUMO_TARO25D
