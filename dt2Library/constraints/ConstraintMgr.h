#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "constraints/ConformingPieces.h"
#include "kernel/VertexPairMap.h"
#include "kernel/flatSets.h"
#include "mesh/ConstraintKeeper.h"
#include "taro25d/ConstraintGraph2.h"
#include "taro25d/ConstraintSegment2.h"
#include "taro25d/Edge2.h"
#include "taro25d/Segment2.h"

namespace LUMO_TARO25D {

class Dt2;
class Progress;

/// Owns the constraint segments and graphs of one triangulation, and establishes segments in the mesh.
///
/// Triangles carry no flags: an edge is a constraint exactly when there is an alive segment between its two vertices.
class ConstraintMgr : public ConstraintKeeper {
  public:
    using VertexPair = ConstraintGraph2::VertexPair;

    explicit ConstraintMgr(Dt2* pDt2);
    ~ConstraintMgr() override;

    bool hasConstraints() const { return !vSegments_.empty(); }
    /// True for the ends of all segments, dead ones included.
    bool isConstraintVertex(const Point2* pVtx) const override;
    bool isConstraint(const Point2* p0, const Point2* p1) const { return getAliveConstraintSegment(p0, p1) != nullptr; }
    /// The same, asked of the mesh, which spares most searches.
    bool isConstraint_performanceVersion(const Point2* p0, const Point2* p1) const;
    /// The alive segment between two vertices in any order, or null.
    ConstraintSegment2* getAliveConstraintSegment(const Point2* p0, const Point2* p1) const;
    /// Append all alive segments, or all segments, by the pointers of their ends.
    void getAliveConstraintSegments(std::vector<ConstraintSegment2*>& vCSegs) const;
    void getAliveAndDeadConstraintSegments(std::vector<ConstraintSegment2*>& vCSegs) const;

    /// The segment between two different vertices, alive or dead as it is, with the strategy that it has; a new one if
    /// there is none.
    ConstraintSegment2* addConstraintSegment(Point2* p0, Point2* p1, ConstraintInsertionStrategy cis);
    /// Whether the segment can be split at a vertex: not if a child would be a dead segment that this one came from.
    bool canBeSplitAt(const ConstraintSegment2* pCSeg, Point2* pSplit) const;
    /// Takes note of a split that a graph was told of.
    void updateConstraintSegment(ConstraintSegment2* pParentCSeg, ConstraintSegment2* pCSeg0,
                                 ConstraintSegment2* pCSeg1);
    void splitConstraintAt(Point2* p0, Point2* p1, Point2* pSplit) override;

    /// Create a graph of segments, in the direction given or without one, and establish them if the flag says so.
    ConstraintGraph2* createConstraint(const std::vector<VertexPair>& vPairs, ConstraintInsertionStrategy cis,
                                       bool bApply);
    ConstraintGraph2* createConstraint(const std::vector<Edge2*>& vEdges, ConstraintInsertionStrategy cis, bool bApply);
    ConstraintGraph2* createConstraint(const std::vector<Segment2>& vSegments, ConstraintInsertionStrategy cis);
    ConstraintGraph2* createConstraint_oriented(const std::vector<Segment2>& vSegments,
                                                ConstraintInsertionStrategy cis);
    ConstraintGraph2* createConstraint_oriented(const std::vector<Edge2>& vEdges, ConstraintInsertionStrategy cis);

    /// Establishes one segment, or its leaves, if the triangulation is two-dimensional.
    void applyOneSegment(ConstraintSegment2* pCSeg);
    /// Establishes segments, each with the pieces that this makes of it before the next one. Warns if the passes over these do
    /// not suffice.
    void establish(const std::vector<ConstraintSegment2*>& vCSegs) { establish(vCSegs, vCSegs.size(), nullptr); }
    /// Establishes all segments, in the order in which they were asked for.
    void apply();

    /// Remembers that a conforming piece may be an edge that is not Delaunay; nothing happens for other segments.
    void suspect(ConstraintSegment2* pCSeg);
    void rememberEncroached(const Point2* p0, const Point2* p1) override;
    /// Splits conforming pieces that are edges without being Delaunay until none is left, under the limits of what was
    /// established last. With bNewPoints, points may have come next to any piece since it was established; otherwise only
    /// next to those of earlier calls.
    void splitEncroachedPieces(bool bNewPoints);
    ConformingPieces& getConformingPieces() { return conformingPieces_; }

    /// Write the alive segments of each graph to files of their own, for the library's developers.
    void writeConstraints(const std::string& prefix) const;
    void writeConstraintsBIN(const std::string& prefix) const;

  private:
    static VertexPair makeKey(const Point2* p0, const Point2* p1);
    const std::vector<ConstraintSegment2*>& getSortedSegments() const;
    /// One segment for each pair of different vertices, in input order.
    std::vector<ConstraintSegment2*> addConstraintSegments(const std::vector<VertexPair>& vPairs,
                                                           ConstraintInsertionStrategy cis);
    std::vector<VertexPair> insertEnds(const std::vector<Segment2>& vSegments);
    /// How many crossings one segment may make: a straight one crosses each other one once, and where rounding makes it cross
    /// again and again there is no way out but to stop.
    size_t getQuotaEach() const;
    /// How many of them may move on by the last bit only, as they do where rounding makes segments cross again and again.
    size_t getCloseQuota() const;
    void setHalvingQuota(size_t numSegments, const std::vector<ConstraintSegment2*>& vPieces);
    /// The pieces belong to numSegments segments that clients have asked for. With a progress, counts pieces there.
    void establish(const std::vector<ConstraintSegment2*>& vCSegs, size_t numSegments, Progress* pProgress);
    /// Establishes a segment and all pieces that this makes of it; false if the passes do not suffice.
    bool establishPieces(ConstraintSegment2* pCSeg);
    std::vector<ConstraintSegment2*> takeEncroachedPieces();
    void establishWithProgress(const std::vector<ConstraintSegment2*>& vCSegs, size_t numSegments, const char* label);

    Dt2* pDt2_;
    VertexPairMap<ConstraintSegment2> segmentIndex_;  // all segments by their ends
    // The same as a list, of which the first ones are in the order of their ends: sorting when somebody asks costs less
    // than keeping order at each split.
    mutable std::vector<ConstraintSegment2*> vSegments_;
    mutable size_t numSorted_ = 0;
    mutable AddressSet constraintVertices_;  // mutable: it remembers where it looked last
    std::vector<std::unique_ptr<ConstraintGraph2>> vGraphs_;
    std::uint32_t numCalls_ = 0;  // that have asked for segments
    ConformingPieces conformingPieces_;
    size_t numRequested_ = 0;  // segments that clients have asked for
    bool bEstablishing_ = false;
};

}  // namespace LUMO_TARO25D
