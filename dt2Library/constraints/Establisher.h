#pragma once

#include <cstddef>
#include <functional>
#include <vector>

#include "constraints/ConformingInserter.h"
#include "constraints/SegmentInserter.h"

namespace LUMO_TARO25D {

class Progress;

/// Brings the segments of a manager into the mesh, each by its strategy, within quotas that follow their number.
class Establisher {
  public:
    Establisher(Dt2& mesh, ConstraintMgr& manager)
        : mesh_(mesh), manager_(manager), segmentInserter_(mesh, manager), conformingInserter_(mesh, manager, *this) {}
    Establisher(const Establisher&) = delete;
    Establisher& operator=(const Establisher&) = delete;

    /// Copies the other establisher's state, with each segment replaced by its copy.
    void copyFrom(const Establisher& other, const PointerMap<ConstraintSegment2*>& mSegments) {
        segmentInserter_.copyQuotas(other.segmentInserter_);
        conformingInserter_.copyFrom(other.conformingInserter_, mSegments);
    }

    /// A function that gives the establisher its present state again. It may not be running.
    std::function<void()> rememberState() {
        return [restoreSegments = segmentInserter_.rememberState(),
                restoreConforming = conformingInserter_.rememberState()] {
            restoreSegments();
            restoreConforming();
        };
    }

    SegmentInserter& getSegmentInserter() { return segmentInserter_; }
    ConformingInserter& getConformingInserter() { return conformingInserter_; }

    /// Establishes one segment, or its leaves, if the triangulation is two-dimensional.
    void applyOneSegment(ConstraintSegment2* pCSeg);
    /// Establishes segments, each with all its pieces before the next. Warns if the limit on passes ends one early.
    void establish(const std::vector<ConstraintSegment2*>& vCSegs) { establish(vCSegs, vCSegs.size(), nullptr); }
    /// establish with progress; the list consists of pieces of numSegments segments that clients have asked for.
    void establishWithProgress(const std::vector<ConstraintSegment2*>& vCSegs, size_t numSegments, const char* label);
    /// Makes edges of segments of any strategy; splits them only at vertices and crossings.
    void establishAsEdges(const std::vector<ConstraintSegment2*>& vCSegs);
    /// Splits conforming pieces that are not Delaunay (ConformingInserter).
    void splitEncroachedPieces(bool bNewPoints);

  private:
    /// The number of crossings that one segment may make. A straight segment crosses each other one once; where
    /// rounding makes it cross again and again, only a limit ends this.
    size_t getQuotaEach() const;
    /// The number of crossings in the last bits next to an end, which occur where rounding makes segments cross again
    /// and again.
    size_t getCloseQuota() const;
    void establish(const std::vector<ConstraintSegment2*>& vCSegs, size_t numSegments, Progress* pProgress);
    void insertCrossings(const std::vector<ConstraintSegment2*>& vCSegs);
    /// Makes an alive segment an edge, or splits it at an obstacle and makes edges of its pieces. Returns false if
    /// they may need another pass.
    bool applyAlive(ConstraintSegment2* pCSeg);
    /// Establishes a segment and all its pieces; false if the limit on passes ends this early.
    bool establishPieces(ConstraintSegment2* pCSeg);

    Dt2& mesh_;
    ConstraintMgr& manager_;
    SegmentInserter segmentInserter_;
    ConformingInserter conformingInserter_;
    bool bEstablishing_ = false;
};

}  // namespace LUMO_TARO25D
