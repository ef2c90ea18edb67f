#pragma once

#include <cstddef>
#include <utility>
#include <vector>

#include "taro25d/Point2.h"

namespace LUMO_TARO25D {

class ConstraintMgr;
class ConstraintSegment2;
class Dt2;
class Triangle2;

/// Makes edges of constraint segments, splitting them and what they cross.
class SegmentInserter {
  public:
    /// Where two constraints cross, and the one that is an edge.
    using Crossing = std::pair<Point2, ConstraintSegment2*>;

    SegmentInserter(Dt2& mesh, ConstraintMgr& manager) : mesh_(mesh), manager_(manager) {}

    /// From now on at most this number of crossings is made; a segment that needs more is given up with a warning. Those that
    /// fall next to an end of a segment, in the last bits, have a quota of their own.
    void setCrossingQuota(size_t quota) { crossingQuota_ = quota; }
    void setCloseCrossingQuota(size_t quota) { closeCrossingQuota_ = quota; }
    bool isQuotaUsedUp() const { return crossingQuota_ == 0 || closeCrossingQuota_ == 0; }

    /// Forces an alive segment of strategy CIS_CONSTRAINED_DELAUNAY into the mesh.
    void newCDT_applyOneCS(ConstraintSegment2* pInitialCSeg);
    /// Makes an edge of a segment of any strategy, splitting it only at vertices and crossings.
    void forceIntoMesh(ConstraintSegment2* pInitialCSeg);
    /// Kills a segment and makes the mesh Delaunay where its edge was.
    void killAndUnestablishConstraintSegment(ConstraintSegment2* pCSeg);

    /// The end of the constraint edge i of a triangle at which a segment meets it, if it does so as near as rounding brings
    /// it. Otherwise null, and appends where they cross.
    Point2* getCrossing(const Triangle2* pT, int i, const ConstraintSegment2* pCSeg,
                        std::vector<Crossing>& vPairIspCS) const;
    /// Lets the height of a segment meet that of a vertex on its path, other than its ends.
    void runThrough(const ConstraintSegment2* pCSeg, Point2* pVtx);
    /// Splits a segment and the one that it crosses there, and appends the alive pieces of both.
    void splitBothAt(const Crossing& crossing, ConstraintSegment2* pCSeg, std::vector<ConstraintSegment2*>& vStack);

  private:
    /// Makes an edge of a segment, or takes one obstacle away and appends the pieces that are left; false if that is beyond
    /// the quota.
    bool newCDT_insertOrSplit(ConstraintSegment2* pCSeg, std::vector<ConstraintSegment2*>& vStack);
    /// Makes the segment an edge, unless there is an obstacle: a vertex, which is returned, or a crossing.
    Point2* newCDT_traverseCZ(ConstraintSegment2* pCSeg, std::vector<Crossing>& vPairIspCS);

    Dt2& mesh_;
    ConstraintMgr& manager_;
    size_t crossingQuota_ = 0, closeCrossingQuota_ = 0;
};

}  // namespace LUMO_TARO25D
