#pragma once

#include <cstddef>
#include <vector>

#include "constraints/ConformingInserter.h"
#include "constraints/SegmentInserter.h"

namespace LUMO_TARO25D {

class Progress;

/// Brings the segments of a manager into the mesh, each by its strategy, within limits that follow their number.
class Establisher {
  public:
    Establisher(Dt2& mesh, ConstraintMgr& manager)
        : mesh_(mesh), manager_(manager), segmentInserter_(mesh, manager), conformingInserter_(mesh, manager, *this) {}
    Establisher(const Establisher&) = delete;
    Establisher& operator=(const Establisher&) = delete;

    SegmentInserter& getSegmentInserter() { return segmentInserter_; }
    ConformingInserter& getConformingInserter() { return conformingInserter_; }

    /// Establishes one segment, or its leaves, if the triangulation is two-dimensional.
    void applyOneSegment(ConstraintSegment2* pCSeg);
    /// Establishes segments, each with the pieces that this makes of it before the next one. Warns if the passes over these
    /// do not suffice.
    void establish(const std::vector<ConstraintSegment2*>& vCSegs) { establish(vCSegs, vCSegs.size(), nullptr); }
    /// The same with progress; the pieces belong to numSegments segments that clients have asked for.
    void establishWithProgress(const std::vector<ConstraintSegment2*>& vCSegs, size_t numSegments, const char* label);
    /// Makes edges of segments of any strategy, which are split only at vertices and crossings.
    void establishAsEdges(const std::vector<ConstraintSegment2*>& vCSegs);
    /// Splits conforming pieces that are not Delaunay (ConformingInserter).
    void splitEncroachedPieces(bool bNewPoints);

  private:
    /// How many crossings one segment may make: a straight one crosses each other one once, and where rounding makes it cross
    /// again and again there is no way out except to stop.
    size_t getQuotaEach() const;
    /// How many of them may move on by the last bit only, as they do where rounding makes segments cross again and again.
    size_t getCloseQuota() const;
    void establish(const std::vector<ConstraintSegment2*>& vCSegs, size_t numSegments, Progress* pProgress);
    /// Establishes a segment and all pieces that this makes of it; false if the passes do not suffice.
    bool establishPieces(ConstraintSegment2* pCSeg);

    Dt2& mesh_;
    ConstraintMgr& manager_;
    SegmentInserter segmentInserter_;
    ConformingInserter conformingInserter_;
    bool bEstablishing_ = false;
};

}  // namespace LUMO_TARO25D
