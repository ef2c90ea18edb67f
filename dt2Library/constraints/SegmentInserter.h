#pragma once

#include <cstddef>
#include <functional>
#include <optional>
#include <utility>
#include <vector>

#include "kernel/flatSets.h"
#include "mesh/CrossedRegion.h"
#include "support/stopping.h"
#include "taro25d/ConstraintSegment2.h"
#include "taro25d/Point2.h"

namespace LUMO_TARO25D {

class ConstraintMgr;
class Dt2;
class Triangle2;

/// Makes edges of constraint segments; splits them and the constraints that they cross.
class SegmentInserter {
  public:
    /// Where a segment crosses a constraint that is edge i of a triangle.
    struct Crossing {
        Point2 place;
        ConstraintSegment2* pCrossed;
        Triangle2* pT;
        int i;
    };

    SegmentInserter(Dt2& mesh, ConstraintMgr& manager) : mesh_(mesh), manager_(manager) {}

    /// Limit the number of crossings from now on; a segment that needs more is given up with a warning. Crossings in
    /// the last bits next to an end of a segment count for the second quota too.
    void setCrossingQuota(size_t quota) { crossingQuota_ = quota; }
    void setCloseCrossingQuota(size_t quota) { closeCrossingQuota_ = quota; }
    void copyQuotas(const SegmentInserter& other) {
        crossingQuota_ = other.crossingQuota_;
        closeCrossingQuota_ = other.closeCrossingQuota_;
    }
    /// A function that gives the inserter its present state again.
    std::function<void()> rememberState();
    bool isQuotaUsedUp() const { return crossingQuota_ == 0 || closeCrossingQuota_ == 0; }

    /// Forces an alive segment of strategy CIS_CONSTRAINED_DELAUNAY into the mesh; results as forceIntoMesh.
    bool newCDT_applyOneCS(ConstraintSegment2* pInitialCSeg);
    /// Makes edges of a segment of any strategy; splits it only at vertices and crossings. Returns false if a quota has
    /// ended this early.
    bool forceIntoMesh(ConstraintSegment2* pInitialCSeg);
    /// Kills a segment and makes the mesh Delaunay at its edge, if it is one.
    void killAndUnestablishConstraintSegment(ConstraintSegment2* pCSeg);

    /// Where a segment crosses the constraint edge i of a triangle: returns the end of that edge to which the crossing
    /// snaps; otherwise sets the crossing and returns null.
    Point2* getCrossing(Triangle2* pT, int i, const ConstraintSegment2* pCSeg, std::optional<Crossing>& crossing) const;
    /// Announces a new vertex at a crossing, which gets its height from the first segment that runs through it.
    void awaitHeight(const Point2* pVtx) { sAwaiting_.insert(pVtx); }
    /// Begins the establishing of a segment, with its own quota of crossings.
    void begin(const ConstraintSegment2* pCSeg, size_t crossingQuota);
    /// Ends the establishing of all segments: no vertex awaits its height any more.
    void end();
    /// Sets the heights of vertices that awaited them from the present segment, by interpolation between the other
    /// vertices on it. The given pieces are edges, as far as the segment could be established.
    void giveHeights(ConstraintSegment2* const* aPieces, size_t num);
    /// Applies the height rule to a vertex on the path of a segment and the height of the segment there; ignores its
    /// ends.
    void runThrough(const ConstraintSegment2* pCSeg, Point2* pVtx);
    /// Splits two segments at their crossing and appends those alive pieces of both that may be no edges. If the
    /// crossing is an end of pCSeg, splits only the other one.
    void splitBothAt(const Crossing& crossing, ConstraintSegment2* pCSeg, std::vector<ConstraintSegment2*>& vStack);

  private:
    Point2* insertOnEdge(const Crossing& crossing, const ConstraintSegment2* pCrossing);
    bool isPresent(const ConstraintSegment2* pCSeg) const;
    void advanceThrough(const ConstraintSegment2* pCSeg, Point2* pVtx);
    /// Makes an edge of a segment, or removes one obstacle and appends the remaining pieces; false if the quota is used
    /// up.
    bool newCDT_insertOrSplit(ConstraintSegment2* pCSeg, std::vector<ConstraintSegment2*>& vStack);
    /// Makes the segment an edge, unless there is an obstacle: returns a vertex, or sets a crossing.
    Point2* newCDT_traverseCZ(ConstraintSegment2* pCSeg, std::optional<Crossing>& crossing);

    Dt2& mesh_;
    ConstraintMgr& manager_;
    CrossedRegion region_;  // of the segment that is being followed
    CancelPoint<8> cancelPoint_;
    size_t crossingQuota_ = 0, closeCrossingQuota_ = 0;
    AddressSet sAwaiting_;
    ConstraintSegment2::Age present_{0, 0};
    // On the present segment: vertices that awaited their heights from it; other vertices met since; and new vertices
    // at crossings with younger segments, with the heights of these.
    std::vector<Point2*> vReached_, vMet_;
    std::vector<std::pair<Point2*, double>> vCrossings_;
};

}  // namespace LUMO_TARO25D
