// The steps of a simplification: kept lines and the corners of the hull, a coarse model of a sample, the points of each
// region (RegionInserter), and at the end those that the whole still needs.

#include "modelling/Simplifier.h"

#include <algorithm>
#include <cmath>

#include "kernel/BoxTree.h"
#include "kernel/flatSets.h"
#include "kernel/nearness.h"
#include "kernel/tolerances.h"
#include "kernel/tools.h"
#include "mesh/Dt2.h"
#include "modelling/RegionInserter.h"
#include "modelling/hullCorners.h"
#include "support/stopping.h"
#include "taro25d/freeFunctions.h"
#include "vertices/KeyOrder.h"

namespace LUMO_TARO25D {

namespace {

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
      vPlaceOf_(vPoints.size(), NONE),
      inserter_(mesh, limits, progress) {}

void Simplifier::begin(const std::vector<Segment2>& vKept) {
    inserter_.setPlaces(collectPlaces());
    if (!vKept.empty()) mesh_.createConstraint(vKept, CIS_CONSTRAINED_DELAUNAY, false);
    const bool bPending = !vKept.empty() && !mesh_.is2D();
    insertHull(vKept);
    if (bPending && mesh_.is2D()) mesh_.applyConstraintsAndZones();
}

void Simplifier::run() {
    if (!mesh_.is2D()) return;
    // The sample is large enough to tell rough ground from smooth, and small enough for one thread.
    constexpr size_t MAX_SAMPLE = 32768;
    constexpr std::uint32_t MIN_STEP = 32;
    const size_t step = inserter_.getPlaces().size() / MAX_SAMPLE;
    inserter_.insertSample(std::max(MIN_STEP, static_cast<std::uint32_t>(step)), 4.0);
    insertByRegions(mesh_, inserter_, limits_, progress_);
    inserter_.assignAll();
    inserter_.insertGreedily();
    inserter_.thin();
}

size_t Simplifier::getNumLeftOut() const {
    size_t num = 0;
    for (std::uint32_t k = 0; k < vPlaceOf_.size(); ++k) num += isLeftOut(k);
    return num;
}

std::vector<std::uint32_t> Simplifier::getUsed() const {
    std::vector<std::uint32_t> vUsed;
    for (const Place& place : inserter_.getPlaces()) {
        if (!isLeftOut(place.number)) vUsed.push_back(place.number);
    }
    return vUsed;
}

void Simplifier::insertAlone(std::uint32_t k) {
    mesh_.insert(vPoints_[k]);
    inserter_.setState(vPlaceOf_[k], GreedyInserter::VERTEX);
}

/// The distinct places along a Hilbert curve, so that those of a triangle are close in memory. Of coincident points the
/// first is kept, the others are left out.
std::vector<PointBuckets::Place> Simplifier::collectPlaces() {
    Bbox2 box;
    ScratchVector<KeyedIndex> vOrder;
    CancelPoint<> cancelPoint;
    for (std::uint32_t k = 0; k < vPoints_.size(); ++k) {
        cancelPoint.pass();
        if (!isFinite(vPoints_[k])) continue;
        box.add(vPoints_[k]);
        vOrder.push_back({0, k});
    }
    if (vOrder.empty()) return {};
    const auto pointAt = [this](size_t k) -> const Point2& { return vPoints_[k]; };
    double maxX = box.getMaxX(), maxY = box.getMaxY();
    widenShortSide(box.getMinX(), box.getMinY(), maxX, maxY);
    const HC2 curve(box.getMinX(), box.getMinY(), maxX, maxY, 30);
    for (KeyedIndex& entry : vOrder) {
        cancelPoint.pass();
        entry.key = curve.iReset(pointAt(entry.index).x(), pointAt(entry.index).y());
    }
    KeyOrder(pointAt, mesh_.getNumCPU()).sort(vOrder.data(), vOrder.data() + vOrder.size());
    std::vector<Place> vPlaces;
    vPlaces.reserve(vOrder.size());
    for (const KeyedIndex& entry : vOrder) {
        cancelPoint.pass();
        const Point2& point = pointAt(entry.index);
        if (!vPlaces.empty() && vPlaces.back().x == point.x() && vPlaces.back().y == point.y()) continue;
        vPlaces.push_back({point.x(), point.y(), point.z(), entry.index});
        vPlaceOf_[entry.index] = static_cast<std::uint32_t>(vPlaces.size() - 1);
    }
    return vPlaces;
}

/// Inserts the corners of the hull, except those on a kept line, which has its own heights and covers their place.
void Simplifier::insertHull(const std::vector<Segment2>& vKept) {
    const std::vector<Place>& vPlaces = inserter_.getPlaces();
    std::vector<Point2> vCorners;
    std::vector<std::uint32_t> vHull = getHullCorners(vPlaces);
    const KeptLines lines(vKept);
    const auto isFree = [&](std::uint32_t k) { return !lines.runThrough(vPlaces[k].getPoint()); };
    const auto onKept = std::stable_partition(vHull.begin(), vHull.end(), isFree);
    for (auto it = onKept; it != vHull.end(); ++it) inserter_.setState(*it, GreedyInserter::LEFT_OUT);
    vHull.erase(onKept, vHull.end());
    for (const std::uint32_t k : vHull) vCorners.push_back(vPlaces[k].getPoint());
    std::vector<Point2*> vHandles(vHull.size()), vNew;
    if (!vCorners.empty()) mesh_.insertBulk(PointSource(vCorners), vHandles.data(), &vNew);
    AddressSet sNew;
    for (const Point2* pVtx : vNew) sNew.insert(pVtx);
    for (size_t i = 0; i < vHull.size(); ++i) {
        const bool bNew = sNew.contains(vHandles[i]);
        inserter_.setState(vHull[i], bNew ? GreedyInserter::VERTEX : GreedyInserter::LEFT_OUT);
    }
}

}  // namespace LUMO_TARO25D
