#pragma once

#include <array>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "constraints/Establisher.h"
#include "constraints/GraphRemover.h"
#include "kernel/flatSets.h"
#include "mesh/ConstraintKeeper.h"
#include "support/PointerMap.h"
#include "support/SimplePool.h"
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
    /// isConstraint through the mesh, which avoids most look-ups.
    bool isConstraint_performanceVersion(const Point2* p0, const Point2* p1) const;
    /// The alive segment between two vertices in any order, or null.
    ConstraintSegment2* getAliveConstraintSegment(const Point2* p0, const Point2* p1) const;
    /// Append all alive segments, or all segments, in the order of the addresses of their ends.
    /// O(n log n).
    void getAliveConstraintSegments(std::vector<ConstraintSegment2*>& vCSegs) const;
    void getAliveAndDeadConstraintSegments(std::vector<ConstraintSegment2*>& vCSegs) const;

    /// The segment between two different vertices, alive or dead, with its own strategy; if there is none, a new
    /// segment of strategy cis.
    ConstraintSegment2* addConstraintSegment(Point2* p0, Point2* p1, ConstraintInsertionStrategy cis);
    /// Whether the segment can be split at a vertex: not if a child would be a dead segment from which this one
    /// descends.
    bool canBeSplitAt(const ConstraintSegment2* pCSeg, Point2* pSplit) const;
    /// Called by a graph when a segment of it was split: the edge of the parent is no constraint any more.
    void updateConstraintSegment(ConstraintSegment2* pParentCSeg, ConstraintSegment2* pCSeg0,
                                 ConstraintSegment2* pCSeg1);
    void splitConstraintAt(Point2* p0, Point2* p1, Point2* pSplit) override;

    /// Serves Taro_2D::createConstraint: inserts the ends of the segments, establishes the segments if there are
    /// triangles, and returns the graph. Null, with a message, for an empty list, for coordinates that are not finite,
    /// and for an unknown strategy.
    ConstraintGraph2* createForClient(const std::vector<Segment2>& vSegments, ConstraintInsertionStrategy cis,
                                      bool bOrientedSegments);
    /// createForClient for edges of the mesh.
    ConstraintGraph2* createForClient(const std::vector<Edge2*>& vEdges, ConstraintInsertionStrategy cis);
    /// createForClient for pairs of vertices; null, with a warning, if one is null or no vertex of this mesh.
    ConstraintGraph2* createForClient(const std::vector<VertexPair>& vPairs, ConstraintInsertionStrategy cis,
                                      bool bOrientedSegments);
    /// Serves Taro_2D::applyConstraintsAndZones: establishes all segments that are no edges yet.
    void applyForClient();

    /// Create a graph of segments, with the given directions (oriented) or without, and establish them if bApply is
    /// true.
    ConstraintGraph2* createConstraint(const std::vector<VertexPair>& vPairs, ConstraintInsertionStrategy cis,
                                       bool bApply);
    ConstraintGraph2* createConstraint(const std::vector<Edge2*>& vEdges, ConstraintInsertionStrategy cis, bool bApply);
    ConstraintGraph2* createConstraint(const std::vector<Segment2>& vSegments, ConstraintInsertionStrategy cis);
    ConstraintGraph2* createConstraint_oriented(const std::vector<VertexPair>& vPairs, ConstraintInsertionStrategy cis,
                                                bool bApply);
    /// createConstraint or, with directions, createConstraint_oriented.
    ConstraintGraph2* createGraph(const std::vector<VertexPair>& vPairs, ConstraintInsertionStrategy cis,
                                  bool bOriented, bool bApply);
    /// Creates a graph and establishes its pieces (establishAsEdges).
    ConstraintGraph2* createEdges(const std::vector<VertexPair>& vPairs, ConstraintInsertionStrategy cis,
                                  bool bOriented);
    /// Establishes pieces that have been established before, in a mesh that was saved: conforming pieces are not
    /// divided again.
    void establishAsEdges(const std::vector<ConstraintSegment2*>& vPieces) { establisher_.establishAsEdges(vPieces); }
    ConstraintGraph2* createConstraint_oriented(const std::vector<Segment2>& vSegments,
                                                ConstraintInsertionStrategy cis);
    ConstraintGraph2* createConstraint_oriented(const std::vector<Edge2>& vEdges, ConstraintInsertionStrategy cis);

    /// Establishes one segment, or its leaves, if the triangulation is two-dimensional.
    void applyOneSegment(ConstraintSegment2* pCSeg) { establisher_.applyOneSegment(pCSeg); }
    /// Establishes all segments, in the order in which they were requested.
    void apply();
    Establisher& getEstablisher() { return establisher_; }
    void rememberEncroached(const Point2* p0, const Point2* p1) override;
    bool isEmpty() const override { return vGraphs_.empty(); }
    void copyTo(Dt2& copy, const RecordCopies<Point2>& vertices) const override;
    void noteClientsPoints(Point2* const* aVertices, size_t num) override;
    /// A function that deletes the segments and graphs created from now on, and gives all others their present state
    /// again, once. The edges of the mesh are not included. There are no orphans.
    std::function<void()> rememberState();

    /// Whether a graph belongs to this triangulation. The pointer may be that of a removed graph.
    bool hasGraph(const ConstraintGraph2* pGraph) const;
    /// Appends the graphs in the order of their creation.
    void getGraphs(std::vector<ConstraintGraph2*>& vGraphs) const;
    /// Inserts a vertex for constraints alone. Returns the vertex at that place, and whether it is new.
    std::pair<Point2*, bool> bringVertex(const Point2& place);
    /// Inserts a vertex for constraints alone, which splits the constraint that is edge i of a triangle; a segment that
    /// crosses it is to be split next. The place must see the corners of both triangles there.
    Point2* bringVertexOnEdge(const Point2& place, Triangle2* pT, int i, const ConstraintSegment2* pCrossing);
    /// Inserts vertices for constraints alone, in bulk, at places without vertices, and sets vNew. After an exception
    /// the elements not inserted are null.
    void bringVertices(const std::vector<Point2>& vPlaces, std::vector<Point2*>& vNew);
    GraphRemover& getRemover() { return remover_; }
    /// Counts the segments at each vertex from now on.
    void countEnds();
    /// Whether a segment ends at a vertex, once segments are counted.
    bool isEnd(const Point2* pVtx) const {
        const unsigned* pNum = pNumEnds_ ? pNumEnds_->find(pVtx) : nullptr;
        return pNum && *pNum > 0;
    }
    /// Drops a segment without owners whose edge has been released. The segments at each vertex are counted. Returns
    /// the ends at which no segment ends any more; the other elements are null.
    std::array<Point2*, 2> discardOrphan(ConstraintSegment2* pCSeg);
    /// Whether a vertex was inserted for constraints alone.
    bool isBrought(const Point2* pVtx) const { return sBroughtVertices_.contains(pVtx); }
    /// From now on a vertex is no constraint vertex, and counts as a client's point unless bStaysBrought is set.
    void releaseVertex(const Point2* pVtx, bool bStaysBrought);
    /// Frees the records of dropped segments, if they are the majority.
    void sweepIfDue() {
        if (numDiscarded_ > vSegments_.size() / 2) sweep();
    }
    /// Hands a graph over, which stays the owner of its segments.
    std::unique_ptr<ConstraintGraph2> detach(ConstraintGraph2* pGraph);

    /// True after a call that establishes or ends segments was cancelled, until applyForClient: some may be no edges of
    /// the mesh.
    bool isUnfinished() const { return bUnfinished_ || !remover_.isFinished(); }
    /// Completes what cancelled calls have begun.
    void goOn();
    void setUnfinished(bool bUnfinished) { bUnfinished_ = bUnfinished; }

    size_t getNumberOfSegments() const { return vSegments_.size() - numDiscarded_; }
    /// The number of calls that have requested segments.
    std::uint32_t getNumberOfCalls() const { return numCalls_; }

    /// Write the alive segments of each graph to files of their own, for the library's developers.
    void writeConstraints(const std::string& prefix) const;
    void writeConstraintsBIN(const std::string& prefix) const;

  private:
    /// A client's call that was cancelled: for segments, or for pairs of vertices.
    struct PendingCall {
        std::vector<Segment2> vSegments;
        std::vector<VertexPair> vPairs;
        ConstraintInsertionStrategy cis;
        bool bOriented;
        ConstraintGraph2* pGraph = nullptr;  // null if there was none yet
    };

    static VertexPair makeKey(const Point2* p0, const Point2* p1);
    /// The last step of a client's call: makes conforming pieces Delaunay again, with new points or without.
    void finishCall(bool bNewPoints);
    /// Appends the segments for which f is true, by the pointers of their ends.
    template <class F>
    void appendSegments(const F& f, std::vector<ConstraintSegment2*>& vCSegs) const;
    /// One segment for each pair of different vertices, in input order.
    std::vector<ConstraintSegment2*> addConstraintSegments(const std::vector<VertexPair>& vPairs,
                                                           ConstraintInsertionStrategy cis);
    /// Adds segments, and the graph that makeGraph makes of them. If makeGraph throws, the segments without owners are
    /// removed again.
    template <class MakeGraph>
    std::vector<ConstraintSegment2*> addGraph(const std::vector<VertexPair>& vPairs, ConstraintInsertionStrategy cis,
                                              const MakeGraph& makeGraph);
    void flipAround(Point2* pVtx);
    std::vector<VertexPair> insertEnds(const std::vector<Segment2>& vSegments);
    /// Inserts vertices for constraints alone, in bulk. Cancelled, the handles of those not inserted are null.
    void bringBulk(const std::vector<Point2>& vPoints, std::vector<Point2*>& vHandles, const char* phase);
    /// Serves a call of a client, which create() executes. If it is cancelled, it is kept as makeCall() returns it; the
    /// same call then completes it.
    template <class Create, class MakeCall>
    ConstraintGraph2* serve(const Create& create, const MakeCall& makeCall);
    /// The place of an equal call in the list of those that were cancelled.
    size_t findPending(const PendingCall& call) const;
    /// Keeps the vertices of cancelled calls as constraint vertices.
    void holdPendingEnds();
    /// Whether a record of the list is still a segment.
    bool isKept(const ConstraintSegment2* pCSeg) const {
        return numDiscarded_ == 0 || findSegment(pCSeg->getSrc(), pCSeg->getTrg()) == pCSeg;
    }
    /// The segment between two vertices in any order, alive or dead, or null.
    ConstraintSegment2* findSegment(const Point2* p0, const Point2* p1) const;
    /// Recycles the record of a segment to which nothing refers.
    void recycle(ConstraintSegment2* pCSeg);
    /// Makes a segment and enters it into the list. Its ends are in the order of their addresses.
    ConstraintSegment2* makeSegment(Point2* p0, Point2* p1, ConstraintInsertionStrategy cis);
    /// Enters copies of another manager's segments, without graphs.
    void copySegments(const ConstraintMgr& other, const RecordCopies<Point2>& vertices,
                      PointerMap<ConstraintSegment2*>& mSegments);
    /// Frees the records of discarded segments.
    void sweep();

    Dt2* pDt2_;
    SimplePool<ConstraintSegment2> segmentPool_;
    std::vector<ConstraintSegment2*> vRecycled_;
    std::vector<ConstraintSegment2*> vSegments_;
    size_t numDiscarded_ = 0;  // segments in the list that are not in the table any more
    AddressSet constraintVertices_;
    AddressSet sBroughtVertices_;                     // vertices inserted for constraints alone
    std::unique_ptr<PointerMap<unsigned>> pNumEnds_;  // segments at each vertex; null before the first discard
    std::vector<ConstraintSegment2*> vGarbage_;       // dropped segments, which nothing refers to
    std::vector<std::unique_ptr<ConstraintGraph2>> vGraphs_;
    std::vector<PendingCall> vPendingCalls_;
    AddressSet sPendingEnds_;  // vertices of calls that have no graph yet
    bool bUnfinished_ = false;
    std::uint32_t numCalls_ = 0;
    size_t numRequested_ = 0;  // the number of segments that clients have requested
    Establisher establisher_;
    GraphRemover remover_;
};

}  // namespace LUMO_TARO25D
