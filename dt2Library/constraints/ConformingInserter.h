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

    /// Copies the other inserter's state, with each segment replaced by its copy.
    void copyFrom(const ConformingInserter& other, const PointerMap<ConstraintSegment2*>& mSegments) {
        pieces_.copyFrom(other.pieces_, mSegments);
        halvingQuota_ = other.halvingQuota_;
    }

    /// A function that gives the inserter its present state again.
    std::function<void()> rememberState() {
        return [this, pieces = pieces_, quota = halvingQuota_] {
            pieces_ = pieces;
            halvingQuota_ = quota;
        };
    }

    /// Splits a segment of a conforming strategy once, unless it is an edge; the caller goes on with the pieces.
    void insertSegmentConformingDelaunay(ConstraintSegment2* pCSeg);

    /// Limits the number of halvings from now on. The limit follows the number of segments that clients have asked for
    /// and the triangles that their pieces cross. Beyond it, segments are forced into the mesh.
    void setHalvingQuota(size_t numSegments, const std::vector<ConstraintSegment2*>& vPieces);
    bool isHalvingQuotaUsedUp() const { return halvingQuota_ == 0; }

    /// Notes that a conforming piece may be an edge that is not Delaunay; ignores other segments.
    void suspect(ConstraintSegment2* pCSeg);
    /// Forgets a segment that is about to be deleted.
    void forget(const ConstraintSegment2* pCSeg) { pieces_.forget(pCSeg); }
    /// Whether a segment is an edge that is not Delaunay: the far corner of one of its triangles is inside the
    /// circumcircle of the other.
    static bool isEncroached(const Dt2& mesh, const ConstraintSegment2* pCSeg);
    /// Splits encroached conforming pieces until none is left, under the limits set last. With bNewPoints, clients may
    /// have inserted points near any piece since it was established; otherwise only near pieces of earlier calls.
    void splitEncroachedPieces(bool bNewPoints);

  private:
    /// Removes one obstacle; returns a segment that has to follow at once, or null.
    ConstraintSegment2* splitConforming(ConstraintSegment2* pCSeg);
    Point2* getFirstOnSegment(const Point2* pSrc, const Point2* pTrg, const std::vector<Point2*>& vNeighbours);
    /// Splits a segment and the first constraint that it crosses; false if there is none or the middle of the segment
    /// lies on it. Sets bGoOn if the segment itself is still alive and has to follow at once.
    bool splitAtFirstConstraint(ConstraintSegment2* pCSeg, const Point2& middle, bool& bGoOn);

    /// Splits a piece at a new vertex; false, with a warning and the piece unchanged, where doubles are too coarse.
    bool halveAt(ConstraintSegment2* pCSeg, const Point2& place);
    bool isTooShortToSplit(const Point2& src, const Point2& trg) const;
    /// The place at which to split a piece: the middle, or a power of two from an end at which it meets others at a
    /// small angle.
    Point2 getPlaceToSplit(const ConstraintSegment2* pCSeg) const;
    double getHeightForSplit(const ConstraintSegment2* pCSeg, const Point2& place) const;
    /// The constraint among the edges of pT that contains a place exactly; null if there is none.
    ConstraintSegment2* getConstraintThrough(const Point2& place, const Triangle2* pT) const;
    bool isAtSmallAngle(const ConstraintSegment2* pCSeg, const Point2* pEnd) const;

    /// Raises the halving limit if a piece crosses more triangles than its share of the limit covers.
    void raiseHalvingQuota(const ConstraintSegment2* pCSeg);
    /// raiseHalvingQuota for a piece that is an edge: releases the edge, counts the triangles that it then crosses, and
    /// establishes it again.
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
