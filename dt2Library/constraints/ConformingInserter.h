#pragma once

#include <cstddef>
#include <vector>

#include "constraints/ConformingPieces.h"
#include "taro25d/Point2.h"

namespace LUMO_TARO25D {

class ConstraintMgr;
class ConstraintSegment2;
class Dt2;
class Establisher;
class GeomTest;
class SegmentInserter;
class Triangle2;

/// Makes Delaunay edges of the pieces of conforming segments, by halving them.
class ConformingInserter {
  public:
    ConformingInserter(Dt2& mesh, ConstraintMgr& manager, Establisher& establisher);

    /// Splits a segment of a conforming strategy, or finds that it is an edge; the pieces have to follow.
    void insertSegmentConformingDelaunay(ConstraintSegment2* pCSeg);

    /// Limits how many vertices may halve pieces from now on, for a number of segments that clients have asked for, of which
    /// these pieces are to be established. Beyond it, segments are forced into the mesh.
    void setHalvingQuota(size_t numSegments, const std::vector<ConstraintSegment2*>& vPieces);
    bool isHalvingQuotaUsedUp() const { return halvingQuota_ == 0; }

    /// Remembers that a conforming piece may be an edge that is not Delaunay; nothing happens for other segments.
    void suspect(ConstraintSegment2* pCSeg);
    /// Forgets a segment that will not be there any more.
    void forget(const ConstraintSegment2* pCSeg) { pieces_.forget(pCSeg); }
    /// Whether a segment is an edge that is not Delaunay: the far corner of one of its triangles is in the circle of the
    /// other one.
    static bool isEncroached(const Dt2& mesh, const ConstraintSegment2* pCSeg);
    /// Splits conforming pieces that are edges without being Delaunay until none is left, under the limits of what was
    /// established last. With bNewPoints, points may have come next to any piece since it was established; otherwise only
    /// next to those of earlier calls.
    void splitEncroachedPieces(bool bNewPoints);

  private:
    /// Takes away one obstacle; returns a segment that has to follow at once, or null.
    ConstraintSegment2* splitConforming(ConstraintSegment2* pCSeg);
    /// Splits a segment and the first constraint that it crosses, unless its middle lies on that; false if there is none. Tells
    /// whether what is left of the segment has to follow at once.
    bool splitAtFirstConstraint(ConstraintSegment2* pCSeg, const Point2& middle, bool& bGoOn);

    /// Splits a piece at a new vertex; false, with a warning and with the piece as it was, where doubles are too coarse.
    bool halveAt(ConstraintSegment2* pCSeg, const Point2& place);
    bool isTooShortToSplit(const Point2& src, const Point2& trg) const;
    /// Where a piece is to be split: in the middle, or at a power of two from an end where others come near.
    Point2 getPlaceToSplit(const ConstraintSegment2* pCSeg) const;
    double getHeightForSplit(const ConstraintSegment2* pCSeg, const Point2& place) const;
    /// The constraint among the edges of the triangle around a place on which it lies exactly; null if there is none.
    ConstraintSegment2* getConstraintThrough(const Point2& place, const Triangle2* pT) const;
    bool isAtSmallAngle(const ConstraintSegment2* pCSeg, const Point2* pEnd) const;

    /// Raises the limit where a piece crosses more triangles than its share of the limit allows for.
    void raiseHalvingQuota(const ConstraintSegment2* pCSeg);
    /// The same for an edge, by the triangles that it would cross.
    void raiseHalvingQuotaForEdge(ConstraintSegment2* pCSeg);
    std::vector<ConstraintSegment2*> takeEncroachedPieces();

    Dt2& mesh_;
    ConstraintMgr& manager_;
    Establisher& establisher_;
    SegmentInserter& segmentInserter_;
    GeomTest& geomTest_;
    ConformingPieces pieces_;
    size_t halvingQuota_ = 0;
};

}  // namespace LUMO_TARO25D
