// Regions of a simplification.
//
// A region is a range of the places, which are in spatial order. It gets a mesh of its own: the triangles of the coarse
// model that meet its box, and those next to them. There its places are inserted greedily, and superfluous vertices
// are removed, with no regard to the places of others. So regions are independent and small enough for the cache.
//
// The chosen places of all regions are then inserted into the coarse model at once. At the borders between regions two
// sides may have chosen more than is needed, or a triangle may reach into both and miss places; the caller thins and
// completes the model there.

#include "modelling/RegionInserter.h"

#include <algorithm>
#include <atomic>
#include <utility>

#include "constraints/ConstraintMgr.h"
#include "kernel/flatSets.h"
#include "kernel/tools.h"
#include "mesh/Dt2.h"
#include "mesh/RegionSearch.h"
#include "support/parallel.h"
#include "support/stopping.h"

namespace LUMO_TARO25D {

namespace {

using Place = PointBuckets::Place;
using Chosen = GreedyInserter::Chosen;

/// A region, with the places that it has chosen.
class RegionInserter {
  public:
    /// The region of the places [first, last). The coarse model, and the list of its chosen places in ascending order,
    /// must not change while it runs.
    RegionInserter(const Dt2& coarse, const GreedyInserter& inserter, const std::vector<std::uint32_t>& vCoarse,
                   size_t first, size_t last)
        : coarse_(coarse), inserter_(inserter), vCoarse_(vCoarse), first_(first), last_(last) {}

    void run(const GreedyInserter::Limits& limits);

    /// Calls f(place, bAtBorder) for each chosen place, and whether it has a neighbour outside the region.
    template <class F>
    void forEachChosen(const F& f) const {
        for (const auto& [k, bAtBorder] : vChosen_) f(k, bAtBorder);
    }

  private:
    void copyMesh(Dt2& mesh);
    void copyConstraints(Dt2& mesh, const std::vector<const Triangle2*>& vTriangles) const;
    void copyPlaces(Dt2& mesh, GreedyInserter& inserter);
    void noteChosen(const Dt2& mesh, const std::vector<Chosen>& vChosen);

    const Dt2& coarse_;
    const GreedyInserter& inserter_;
    const std::vector<std::uint32_t>& vCoarse_;
    size_t first_, last_;
    AddressSet sOutside_;  // vertices of its mesh that are none of its places
    std::vector<std::pair<std::uint32_t, bool>> vChosen_;
};

void RegionInserter::run(const GreedyInserter::Limits& limits) {
    Dt2 mesh(3);
    copyMesh(mesh);
    Progress silent;
    GreedyInserter inserter(mesh, limits, silent);
    copyPlaces(mesh, inserter);
    inserter.insertSample(5, 1.5);
    inserter.assignAll();
    inserter.insertGreedily();
    inserter.thin();
    noteChosen(mesh, inserter.getChosen());
}

/// The triangles that meet the region's box, and those next to them: inside, they are Delaunay as they are.
void RegionInserter::copyMesh(Dt2& mesh) {
    Bbox2 box;
    for (size_t k = first_; k < last_; ++k) box.add(inserter_.getPlaces()[k].getPoint());
    std::vector<Triangle2*> vInBox;
    RegionSearch(coarse_).getTrianglesInBox(box, vInBox);
    std::vector<const Triangle2*> vTriangles;
    AddressSet sTriangles, sCorners;
    std::vector<Point2> vCorners;
    const auto take = [&](const Triangle2* pT) {
        if (!pT || !sTriangles.insert(pT)) return;
        vTriangles.push_back(pT);
        for (int i = 0; i < 3; ++i) {
            if (sCorners.insert(pT->getCorner(i))) vCorners.push_back(*pT->getCorner(i));
        }
    };
    for (const Triangle2* pT : vInBox) {
        take(pT);
        for (int i = 0; i < 3; ++i) take(pT->getOppositeTriangle(i));
    }
    std::vector<Point2*> vHandles(vCorners.size());
    mesh.insertBulk(PointSource(vCorners), vHandles.data());
    for (const Point2* pVtx : vHandles) sOutside_.insert(pVtx);
    if (coarse_.hasConstraints()) copyConstraints(mesh, vTriangles);
}

void RegionInserter::copyConstraints(Dt2& mesh, const std::vector<const Triangle2*>& vTriangles) const {
    std::vector<ConstraintMgr::VertexPair> vPairs;
    for (const Triangle2* pT : vTriangles) {
        for (int i = 0; i < 3; ++i) {
            const Point2 &src = *pT->getCorner(incIndexBy1(i)), &trg = *pT->getCorner(incIndexBy2(i));
            if (!coarse_.isConstraint(pT, i) || (trg < src && pT->getOppositeTriangle(i))) continue;
            vPairs.emplace_back(mesh.getVertexPointer(src), mesh.getVertexPointer(trg));
        }
    }
    const FlagScope exact = mesh.takeConstraintsExactly();
    if (!vPairs.empty()) mesh.getConstraintManager()->createEdges(vPairs, CIS_CONSTRAINED_DELAUNAY, false);
}

void RegionInserter::copyPlaces(Dt2& mesh, GreedyInserter& inserter) {
    std::vector<Place> vPlaces(inserter_.getPlaces().begin() + static_cast<std::ptrdiff_t>(first_),
                               inserter_.getPlaces().begin() + static_cast<std::ptrdiff_t>(last_));
    inserter.setPlaces(std::move(vPlaces));
    for (size_t k = first_; k < last_; ++k) {
        inserter.setState(static_cast<std::uint32_t>(k - first_), inserter_.getState(static_cast<std::uint32_t>(k)));
    }
    for (auto it = std::lower_bound(vCoarse_.begin(), vCoarse_.end(), first_); it != vCoarse_.end() && *it < last_;
         ++it) {
        Point2* pVtx = mesh.getVertexPointer(inserter_.getPlaces()[*it].getPoint());
        sOutside_.erase(pVtx);
        inserter.getChosen().emplace_back(static_cast<std::uint32_t>(*it - first_), pVtx);
    }
}

void RegionInserter::noteChosen(const Dt2& mesh, const std::vector<Chosen>& vChosen) {
    AddressSet sAtBorder;
    mesh.forEachTriangle([&](const Triangle2* pT) {
        const auto isOutside = [&](int i) { return sOutside_.contains(pT->getCorner(i)); };
        if (!isOutside(0) && !isOutside(1) && !isOutside(2)) return;
        for (int i = 0; i < 3; ++i) sAtBorder.insert(pT->getCorner(i));
    });
    for (const auto& [k, pVtx] : vChosen)
        vChosen_.emplace_back(static_cast<std::uint32_t>(first_ + k), sAtBorder.contains(pVtx));
}

/// Runs all regions; each takes a share of the steps of the progress.
void runRegions(std::vector<RegionInserter>& vRegions, const GreedyInserter::Limits& limits, int numThreads,
                size_t numSteps, Progress& progress) {
    std::atomic<size_t> next{0};
    const auto work = [&](int) {
        for (size_t i = next++; i < vRegions.size(); i = next++) {
            throwIfStopped();
            vRegions[i].run(limits);
            progress.count((i + 1) * numSteps / vRegions.size() - i * numSteps / vRegions.size());
            if (numThreads == 1) progress.report();
        }
    };
    runOnThreads(numThreads, work, [&progress] { progress.report(); });
}

/// Removes coarse vertices that no region has chosen, and inserts all others that any has.
void merge(const std::vector<RegionInserter>& vRegions, Dt2& mesh, GreedyInserter& inserter) {
    enum Need : std::uint8_t { NOT_NEEDED, NEEDED, AT_BORDER };
    std::vector<Need> vNeeds(inserter.getPlaces().size(), NOT_NEEDED);
    for (const RegionInserter& region : vRegions) {
        region.forEachChosen([&](std::uint32_t k, bool bAtBorder) { vNeeds[k] = bAtBorder ? AT_BORDER : NEEDED; });
    }
    std::vector<Chosen> vAtBorder;
    const auto keep = [&](std::uint32_t k, Point2* pVtx) {
        inserter.setState(k, GreedyInserter::VERTEX);
        if (vNeeds[k] == AT_BORDER) vAtBorder.emplace_back(k, pVtx);
    };
    for (const auto& [k, pVtx] : std::exchange(inserter.getChosen(), {})) {
        if (vNeeds[k] != NOT_NEEDED) {
            keep(k, pVtx);
        } else {
            mesh.remove(pVtx);
            inserter.setState(k, GreedyInserter::WAITING);
        }
    }
    std::vector<std::uint32_t> vNew;
    std::vector<Point2> vPoints;
    for (std::uint32_t k = 0; k < vNeeds.size(); ++k) {
        if (vNeeds[k] == NOT_NEEDED || inserter.getState(k) == GreedyInserter::VERTEX) continue;
        vNew.push_back(k);
        vPoints.push_back(inserter.getPlaces()[k].getPoint());
    }
    // On one thread: several might choose other diagonals where points lie on one circle, as in grids.
    const int numThreads = mesh.getNumCPU();
    mesh.setNumCPU(1);
    std::vector<Point2*> vHandles(vNew.size());
    mesh.insertBulk(PointSource(vPoints), vHandles.data());
    mesh.setNumCPU(numThreads);
    for (size_t i = 0; i < vNew.size(); ++i) keep(vNew[i], vHandles[i]);
    inserter.getChosen() = std::move(vAtBorder);
}

}  // namespace

void insertByRegions(Dt2& mesh, GreedyInserter& inserter, const GreedyInserter::Limits& limits, Progress& progress) {
    // A region is worth its mesh, and its border is short compared with its area.
    constexpr size_t MIN_PLACES = 8192, MIN_COARSE_VERTICES = 50;
    const size_t n = inserter.getPlaces().size();
    const size_t num = std::min(n / MIN_PLACES, inserter.getChosen().size() / MIN_COARSE_VERTICES);
    if (num < 2 || limits.maxNumPoints > 0) return;
    std::vector<std::uint32_t> vCoarse;
    for (const auto& [k, pVtx] : inserter.getChosen()) vCoarse.push_back(k);
    std::sort(vCoarse.begin(), vCoarse.end());
    std::vector<RegionInserter> vRegions;
    for (size_t i = 0; i < num; ++i) vRegions.emplace_back(mesh, inserter, vCoarse, i * n / num, (i + 1) * n / num);
    const int numThreads = static_cast<int>(numParallelParts(mesh.getNumCPU(), num, 1));
    runRegions(vRegions, limits, numThreads, inserter.takeSteps(), progress);
    merge(vRegions, mesh, inserter);
}

}  // namespace LUMO_TARO25D
