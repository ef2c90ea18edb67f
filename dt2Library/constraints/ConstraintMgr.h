#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "constraints/Establisher.h"
#include "kernel/VertexPairMap.h"
#include "kernel/flatSets.h"
#include "mesh/ConstraintKeeper.h"
#include "support/PointerMap.h"
#include "taro25d/ConstraintGraph2.h"
#include "taro25d/ConstraintSegment2.h"
#include "taro25d/Edge2.h"
#include "taro25d/Segment2.h"

namespace LUMO_TARO25D {

class Dt2;

/// Owns the constraint segments and graphs of one triangulation, and lets an Establisher bring segments into the mesh.
///
/// Triangles carry no flags: an edge is a constraint exactly when there is an alive segment between its two vertices.
class ConstraintMgr : public ConstraintKeeper {
  public:
    using VertexPair = ConstraintGraph2::VertexPair;

    explicit ConstraintMgr(Dt2* pDt2);
    ~ConstraintMgr() override;

    bool hasConstraints() const { return getNumberOfSegments() > 0; }
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

    /// Does what a client asks for with createConstraint: inserts the ends of the segments, establishes what can be
    /// established, and returns the graph; null with a warning for an empty list, for coordinates that are not finite, and
    /// for a strategy that is none.
    ConstraintGraph2* createForClient(const std::vector<Segment2>& vSegments, ConstraintInsertionStrategy cis,
                                      bool bOrientedSegments);
    /// The same for edges of the mesh.
    ConstraintGraph2* createForClient(const std::vector<Edge2*>& vEdges, ConstraintInsertionStrategy cis);
    /// The same between vertices, of which none may be null or strange.
    ConstraintGraph2* createForClient(const std::vector<VertexPair>& vPairs, ConstraintInsertionStrategy cis,
                                      bool bOrientedSegments);
    /// Establishes all segments that wait for it, as a client asks for.
    void applyForClient();

    /// Create a graph of segments, in the direction given or without one, and establish them if the flag says so.
    ConstraintGraph2* createConstraint(const std::vector<VertexPair>& vPairs, ConstraintInsertionStrategy cis,
                                       bool bApply);
    ConstraintGraph2* createConstraint(const std::vector<Edge2*>& vEdges, ConstraintInsertionStrategy cis, bool bApply);
    ConstraintGraph2* createConstraint(const std::vector<Segment2>& vSegments, ConstraintInsertionStrategy cis);
    ConstraintGraph2* createConstraint_oriented(const std::vector<VertexPair>& vPairs, ConstraintInsertionStrategy cis,
                                                bool bApply);
    /// Creates a graph of edges that were so before, in another mesh, say: conforming ones are not divided any more.
    ConstraintGraph2* createEdges(const std::vector<VertexPair>& vPairs, ConstraintInsertionStrategy cis,
                                  bool bOriented);
    ConstraintGraph2* createConstraint_oriented(const std::vector<Segment2>& vSegments,
                                                ConstraintInsertionStrategy cis);
    ConstraintGraph2* createConstraint_oriented(const std::vector<Edge2>& vEdges, ConstraintInsertionStrategy cis);

    /// Establishes one segment, or its leaves, if the triangulation is two-dimensional.
    void applyOneSegment(ConstraintSegment2* pCSeg) { establisher_.applyOneSegment(pCSeg); }
    /// Establishes all segments, in the order in which they were asked for.
    void apply();
    Establisher& getEstablisher() { return establisher_; }
    void rememberEncroached(const Point2* p0, const Point2* p1) override;
    void noteClientsPoint(const Point2* pVtx) override { sBroughtVertices_.erase(pVtx); }

    /// Whether a graph is one of this triangulation. It may have been removed.
    bool hasGraph(const ConstraintGraph2* pGraph) const;
    /// Appends the graphs in the order of their creation.
    void getGraphs(std::vector<ConstraintGraph2*>& vGraphs) const;
    /// Inserts a vertex for constraints alone. Returns the vertex at that place, and whether it is new.
    std::pair<Point2*, bool> bringVertex(const Point2& place);
    /// Ends segments without owners, which are no edges any more. Appends the vertices at which no segment ends from now on
    /// and that only constraints have brought.
    void discard(const std::vector<ConstraintSegment2*>& vCSegs, std::vector<Point2*>& vBroughtAlone);
    /// Ends a graph, which owns no segments any more.
    void discard(ConstraintGraph2* pGraph);

    size_t getNumberOfSegments() const { return vSegments_.size() - numDiscarded_; }
    /// How many calls have asked for segments.
    std::uint32_t getNumberOfCalls() const { return numCalls_; }

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
    /// Counts the segments at each vertex from now on.
    void countEnds();
    /// Frees the records of discarded segments.
    void sweep() const;

    Dt2* pDt2_;
    VertexPairMap<ConstraintSegment2> segmentIndex_;  // all segments by their ends
    // The same as a list, of which the first ones are in the order of their ends: sorting when somebody asks costs less
    // than keeping order at each split.
    mutable std::vector<ConstraintSegment2*> vSegments_;
    mutable size_t numSorted_ = 0;
    mutable size_t numDiscarded_ = 0;                 // records in the list that are not in the index any more
    mutable AddressSet constraintVertices_;           // mutable: it remembers where it looked last
    AddressSet sBroughtVertices_;                     // ends of segments that no client has inserted as points
    std::unique_ptr<PointerMap<unsigned>> pNumEnds_;  // of the segments at each vertex; null before one is discarded
    std::vector<std::unique_ptr<ConstraintGraph2>> vGraphs_;
    std::uint32_t numCalls_ = 0;
    size_t numRequested_ = 0;  // segments that clients have asked for
    Establisher establisher_;
};

}  // namespace LUMO_TARO25D
