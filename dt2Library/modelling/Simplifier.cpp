// Greedy insertion, and thinning.
//
// Every point that is no vertex is in the bucket of the triangle that holds it (PointBuckets). The point farthest from
// the surface becomes a vertex, again and again, until the limits hold (Garland and Heckbert 1995). A point changes its
// bucket O(log n) times on average. Most of these moves would happen while triangles are large; so a sample of the
// points is inserted first, up to a greater error, and the others enter the small triangles of that coarse model.
//
// Early vertices may be superfluous in the end. A vertex stays if its own point would be too far from the surface
// without it (removalPreview); any other vertex is removed on trial, and inserted again, at the same record, if a point
// around it is then too far. Distances are those of plain arithmetic here, and where four points lie on one circle
// reinsertion may give the other diagonal, so thinning ends with greedy insertion.
//
// O(n log n) for points in general position. No result depends on addresses: equal distances are ordered by the points'
// coordinates.

#include "modelling/Simplifier.h"

#include <algorithm>
#include <cmath>

#include "constraints/ConstraintMgr.h"
#include "kernel/BoxTree.h"
#include "kernel/flatSets.h"
#include "kernel/links.h"
#include "kernel/nearness.h"
#include "kernel/tolerances.h"
#include "kernel/tools.h"
#include "mesh/Dt2.h"
#include "mesh/walk.h"
#include "modelling/hullCorners.h"
#include "modelling/removalPreview.h"
#include "taro25d/freeFunctions.h"
#include "vertices/KeyOrder.h"

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

/// Whether a point lies on a segment or next to it, between its ends.
bool runsThrough(const Segment2& segment, const Point2& point) {
    const Point2 &src = segment.getSrc(), &trg = segment.getTrg();
    if (point == src || point == trg) return false;
    const auto& [low, high] = std::minmax(src, trg);
    return isBeside(src, trg, point) ||
           (low < point && point < high && getOrientation2_mt(&src, &trg, &point) == ORIENTATION2_COLLINEAR);
}

/// The search for lines through a point.
class KeptLines {
  public:
    explicit KeptLines(const std::vector<Segment2>& vKept) : vKept_(vKept) {
        std::vector<BoxTree::Entry> vEntries;
        for (size_t i = 0; i < vKept.size(); ++i) {
            const Point2 &src = vKept[i].getSrc(), &trg = vKept[i].getTrg();
            magnitude_ = std::max(magnitude_, getLargestCoordinate(src, trg, trg));
            vEntries.emplace_back(BoxTree::getBox(src, trg), i);
        }
        tree_.load(vEntries);
    }

    bool runThrough(const Point2& point) const {
        // Points beside a segment are not farther from it than its resolution.
        const double margin = 2.0 * RESOLUTION * std::max(magnitude_, getLargestCoordinate(point, point, point));
        return !tree_.forEachInWhile(BoxTree::getBox(point, point, margin),
                                     [&](size_t i) { return !runsThrough(vKept_[i], point); });
    }

  private:
    const std::vector<Segment2>& vKept_;
    BoxTree tree_;
    double magnitude_ = 0.0;
};

}  // namespace

Simplifier::Simplifier(Dt2& mesh, const std::vector<Point2>& vPoints, const Limits& limits, Progress& progress)
    : mesh_(mesh),
      vPoints_(vPoints),
      limits_(limits),
      progress_(progress),
      vState_(vPoints.size(), LEFT_OUT),
      buckets_(mesh, limits.maxError) {}

bool Simplifier::isFull() const { return limits_.maxNumPoints > 0 && mesh_.numberOfPoints() >= limits_.maxNumPoints; }

// ---------------------------------------------------------------------------------------------------------------------
// Initialization

void Simplifier::begin(const std::vector<Segment2>& vKept) {
    buckets_.setPlaces(collectPlaces());
    if (!vKept.empty()) mesh_.createConstraint(vKept, CIS_CONSTRAINED_DELAUNAY, false);
    const bool bPending = !vKept.empty() && !mesh_.is2D();
    insertHull(vKept);
    if (bPending && mesh_.is2D()) mesh_.applyConstraintsAndZones();
    if (!mesh_.is2D()) return;
    insertSample();
    assignEach(1);
    if (firstError_ == 0.0) firstError_ = buckets_.getWorstError();
}

/// Assigns every n-th place that waits.
void Simplifier::assignEach(std::uint32_t n) {
    buckets_.clear();
    Triangle2* pT = mesh_.getOneValidTriangle();
    for (std::uint32_t k = 0; k < buckets_.getPlaces().size(); k += n) {
        if (stateOf(k) == WAITING) assign(k, pT);
    }
    buckets_.refreshAll();
}

/// Inserts points of a sample greedily up to a greater error: a coarse model, so that most points enter small triangles
/// at once. Where the number of points is limited, each is worth more than that time.
void Simplifier::insertSample() {
    constexpr std::uint32_t SAMPLE_STEP = 16;
    constexpr double COARSENESS = 4.0;
    if (limits_.maxNumPoints > 0) return;
    buckets_.setMaxError(COARSENESS * limits_.maxError);
    assignEach(SAMPLE_STEP);
    firstError_ = buckets_.getWorstError();
    runQueue();
    buckets_.setMaxError(limits_.maxError);
}

/// The distinct places along a Hilbert curve, so that those of a triangle are close in memory. Of coincident points the
/// first is kept, the others are left out.
std::vector<PointBuckets::Place> Simplifier::collectPlaces() {
    Bbox2 box;
    LargeVector<KeyedIndex> vOrder;
    for (std::uint32_t k = 0; k < vPoints_.size(); ++k) {
        if (!isFinite(vPoints_[k])) continue;
        box.add(vPoints_[k]);
        vOrder.push_back({0, k});
    }
    numLeftOut_ = vPoints_.size();
    if (vOrder.empty()) return {};
    const auto pointAt = [this](size_t k) -> const Point2& { return vPoints_[k]; };
    double maxX = box.getMaxX(), maxY = box.getMaxY();
    widenShortSide(box.getMinX(), box.getMinY(), maxX, maxY);
    const HC2 curve(box.getMinX(), box.getMinY(), maxX, maxY, 30);
    for (KeyedIndex& entry : vOrder) entry.key = curve.iReset(pointAt(entry.index).x(), pointAt(entry.index).y());
    KeyOrder(pointAt, mesh_.getNumCPU()).sort(vOrder.data(), vOrder.data() + vOrder.size());
    std::vector<Place> vPlaces;
    vPlaces.reserve(vOrder.size());
    for (const KeyedIndex& entry : vOrder) {
        const Point2& point = pointAt(entry.index);
        if (!vPlaces.empty() && vPlaces.back().x == point.x() && vPlaces.back().y == point.y()) continue;
        vPlaces.push_back({point.x(), point.y(), point.z(), entry.index});
        vState_[entry.index] = WAITING;
    }
    numLeftOut_ -= vPlaces.size();
    return vPlaces;
}

/// Inserts the corners of the hull, except those on a kept line, which has its own heights and covers their place.
void Simplifier::insertHull(const std::vector<Segment2>& vKept) {
    std::vector<Point2> vCorners;
    std::vector<std::uint32_t> vHull = getHullCorners(buckets_.getPlaces());
    const KeptLines lines(vKept);
    const auto isFree = [&](std::uint32_t k) { return !lines.runThrough(buckets_.getPlaces()[k].getPoint()); };
    const auto onKept = std::stable_partition(vHull.begin(), vHull.end(), isFree);
    for (auto it = onKept; it != vHull.end(); ++it) stateOf(*it) = LEFT_OUT;
    numLeftOut_ += static_cast<size_t>(vHull.end() - onKept);
    vHull.erase(onKept, vHull.end());
    for (const std::uint32_t k : vHull) vCorners.push_back(buckets_.getPlaces()[k].getPoint());
    std::vector<Point2*> vHandles(vHull.size()), vNew;
    if (!vCorners.empty()) mesh_.insertBulk(PointSource(vCorners), vHandles.data(), &vNew);
    AddressSet sNew;
    for (const Point2* pVtx : vNew) sNew.insert(pVtx);
    for (size_t i = 0; i < vHull.size(); ++i) {
        stateOf(vHull[i]) = sNew.contains(vHandles[i]) ? VERTEX : LEFT_OUT;
        numLeftOut_ += stateOf(vHull[i]) == LEFT_OUT;
    }
}

/// Assigns a place to its triangle; pT is the start of the walk, and the triangle found afterwards.
void Simplifier::assign(std::uint32_t k, Triangle2*& pT) {
    const Point2 point = buckets_.getPlaces()[k].getPoint();
    int idx = -1;
    const int code = walk(&point, pT, idx, mesh_.getGeomTest());
    // A point beside a kept line at the border may be outside by rounding; other points on the hull edge are inside.
    const bool bOutside =
        code >= 0 && code < 3 &&
        mesh_.getGeomTest().getOrientation2(pT->getCorner(incIndexBy1(code)), pT->getCorner(incIndexBy2(code)),
                                            &point) == ORIENTATION2_CW;
    if (code == CODE_DUPLICATE || bOutside || isOnKeptLine(pT, point)) {
        stateOf(k) = LEFT_OUT;
        ++numLeftOut_;
        return;
    }
    buckets_.add(k, pT);
}

bool Simplifier::isOnKeptLine(const Triangle2* pT, const Point2& point) const {
    for (int i = 0; mesh_.hasConstraints() && i < 3; ++i) {
        if (!mesh_.isConstraint(pT, i)) continue;
        const Point2 *pSrc = pT->getCorner(incIndexBy1(i)), *pTrg = pT->getCorner(incIndexBy2(i));
        if (mesh_.getGeomTest().getOrientation2(pSrc, pTrg, &point) == ORIENTATION2_COLLINEAR ||
            isBeside(*pSrc, *pTrg, point)) {
            return true;
        }
    }
    return false;
}

// ---------------------------------------------------------------------------------------------------------------------
// Insertion

void Simplifier::insertGreedily() {
    for (runQueue(); limits_.maxError >= 0.0 && !isFull(); runQueue()) {
        buckets_.refreshExactly();
        if (buckets_.isQueueEmpty()) return;
    }
}

void Simplifier::runQueue() {
    PointBuckets::Worst worst;
    while (!isFull() && buckets_.popWorst(worst)) {
        progress_.throwIfStopped();
        report(worst.error);
        buckets_.giveToFan(insertInto(worst.place, worst.pT), worst.place);
    }
    mesh_.getVertexVault().sortIV(VertexVault::SM_IF_DUE);
    if (isFull()) buckets_.clearQueue();
}

/// Reports progress by the number of points if that is limited, otherwise by the logarithm of the error.
void Simplifier::report(double worst) {
    if (!progress_.isActive()) return;
    double done = 0.0;
    if (limits_.maxNumPoints > 0) done = double(mesh_.numberOfPoints()) / double(limits_.maxNumPoints);
    if (limits_.maxError > 0.0 && firstError_ > limits_.maxError)
        done = std::max(done, std::log(firstError_ / worst) / std::log(firstError_ / limits_.maxError));
    if (limits_.maxError == 0.0) done = std::max(done, double(mesh_.numberOfPoints()) / double(vPoints_.size()));
    const size_t num = static_cast<size_t>(1000.0 * std::clamp(done, 0.0, 0.999));
    if (num <= numReported_) return;
    progress_.incProgress(num - numReported_);
    numReported_ = num;
}

void Simplifier::insertAlone(std::uint32_t k) {
    mesh_.insert(vPoints_[k]);
    vState_[k] = VERTEX;
}

void Simplifier::relocate() {
    buckets_.clear();
    vChosen_.clear();
    for (std::uint32_t k = 0; k < buckets_.getPlaces().size(); ++k) {
        if (stateOf(k) == WAITING) buckets_.add(k, mesh_.locate(buckets_.getPlaces()[k].getPoint()));
    }
    buckets_.refreshAll();
    buckets_.clearQueue();
}

Point2* Simplifier::insertInto(std::uint32_t k, Triangle2* pT) {
    VertexVault& vault = mesh_.getVertexVault();
    Point2* pVtx = vault.createRegisteredVertex(buckets_.getPlaces()[k].getPoint());
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
    stateOf(k) = VERTEX;
    vChosen_.emplace_back(k, pVtx);
    return pVtx;
}

// ---------------------------------------------------------------------------------------------------------------------
// Thinning

void Simplifier::thin() {
    if (!(limits_.maxError >= 0.0) || isFull()) return;
    // In spatial order, so that successive removals find their triangles in the cache.
    auto vChosen = std::move(vChosen_);
    vChosen_.clear();
    std::sort(vChosen.begin(), vChosen.end(), [](const auto& p, const auto& q) { return p.first < q.first; });
    for (const auto& [k, pVtx] : vChosen) {
        progress_.throwIfStopped();
        if (!mesh_.isConstraintVertex(pVtx)) tryRemoval(k, pVtx);
    }
    insertGreedily();
}

/// Removes a vertex, and inserts it again if a point around it is then too far.
void Simplifier::tryRemoval(std::uint32_t k, Point2* pVtx) {
    vStar_.clear();
    mesh_.getIncidentTriangles(pVtx, vStar_);
    double height = 0.0;
    if (previewRemoval(*pVtx, vStar_, height) && !(std::abs(height - pVtx->z()) <= limits_.maxError)) return;
    collectRing(vStar_, pVtx, vRing_);
    buckets_.takeFrom(vStar_);
    mesh_.remove(pVtx);
    // Nothing outside the star changes; the records of the star that are still alive hold the new triangles.
    const auto isDead = [](const Triangle2* pT) { return !pT->getCorner(0); };
    vStar_.erase(std::remove_if(vStar_.begin(), vStar_.end(), isDead), vStar_.end());
    buckets_.addMoving(k);
    if (buckets_.giveToIfNear(vStar_)) {
        stateOf(k) = WAITING;
        return;
    }
    pVtx = insertInto(k, vStar_[buckets_.findHolder(k, vStar_)]);
    vStar_.clear();
    mesh_.getIncidentTriangles(pVtx, vStar_);
    collectRing(vStar_, pVtx, vNewRing_);
    if (vNewRing_ != vRing_) buckets_.giveToAny(vStar_.front());
    buckets_.giveToFan(pVtx, k);
}

}  // namespace LUMO_TARO25D
