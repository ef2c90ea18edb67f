#pragma once

#include <cstddef>
#include <cstdint>
#include <utility>
#include <vector>

#include "kernel/GeomTest.h"
#include "modelling/PointBuckets.h"
#include "support/Progress.h"
#include "taro25d/Point2.h"
#include "taro25d/Triangle2.h"

namespace LUMO_TARO25D {

class Dt2;

/// Inserts places into a mesh that covers them until the vertical distances of all others are within a limit. Places
/// are known by their positions in their list.
class GreedyInserter {
  public:
    struct Limits {
        double maxError = -1.0;   // negative for none
        size_t maxNumPoints = 0;  // 0 for none
    };
    enum PlaceState : std::uint8_t { WAITING, VERTEX, LEFT_OUT };
    using Place = PointBuckets::Place;
    using Chosen = std::pair<std::uint32_t, Point2*>;

    /// The mesh must outlive this object.
    GreedyInserter(Dt2& mesh, const Limits& limits, Progress& progress);

    /// Sets the places, all waiting. Successive places should be near each other.
    void setPlaces(std::vector<Place> vPlaces);
    const std::vector<Place>& getPlaces() const { return buckets_.getPlaces(); }
    PlaceState getState(std::uint32_t k) const { return vState_[k]; }
    void setState(std::uint32_t k, PlaceState state) { vState_[k] = state; }

    /// Inserts every n-th place greedily up to a multiple of the error: a coarse model, so that most places enter small
    /// triangles at once. Does nothing if the number of points is limited: each is then worth more than that time.
    void insertSample(std::uint32_t n, double coarseness);
    /// Assigns every waiting place to its triangle. A place at a vertex, on a constraint or outside is left out.
    void assignAll() { assignEach(1); }
    /// Inserts the farthest place repeatedly until the limits are met.
    void insertGreedily();
    /// Removes chosen vertices while the limit of the error still holds.
    void thin();
    /// Assigns all waiting places again, after changes of the mesh by others; no vertex counts as chosen any more.
    void reassign();

    /// The chosen vertices with their places. Those of this list may be removed by thin().
    std::vector<Chosen>& getChosen() { return vChosen_; }
    /// Counts most of the steps that are left of the announced operation as reported, and returns their number.
    size_t takeSteps();
    /// The largest vertical distance from the surface to a place that was not left out.
    double computeError() const { return buckets_.computeError(); }
    bool isFull() const;

  private:
    void assignEach(std::uint32_t n);
    void findHolders(std::uint32_t n, size_t begin, size_t end, std::vector<Triangle2*>& vHolders) const;
    bool isOnConstraint(GeomTest& geomTest, const Triangle2* pT, const Point2& point) const;
    Point2* insertInto(std::uint32_t k, Triangle2* pT);
    void runQueue();
    bool tryRemoval(std::uint32_t k, Point2* pVtx);
    void report(double worst);

    Dt2& mesh_;
    Limits limits_;
    Progress& progress_;
    std::vector<PlaceState> vState_;
    PointBuckets buckets_;
    std::vector<Chosen> vChosen_;
    std::vector<Triangle2*> vStar_;                // scratch of tryRemoval
    std::vector<const Point2*> vRing_, vNewRing_;  // scratch of tryRemoval
    double firstError_ = 0.0;
    size_t numReported_ = 0;
};

}  // namespace LUMO_TARO25D
