#pragma once

#include <array>
#include <atomic>
#include <cstdint>
#include <functional>
#include <iosfwd>
#include <limits>
#include <optional>
#include <tuple>
#include <vector>

#include "taro25d/ConstraintInsertionStrategy.h"
#include "taro25d/Point2.h"
#include "taro25d/export.h"

namespace LUMO_TARO25D {

class ConstraintGraph2;
class ConstraintMgr;
class Dt2;
template <class T>
class PointerMap;

/// An edge that the triangulation must contain, between two of its vertices.
///
/// The triangulation owns all its segments; pointers to them stay valid until it is destroyed. A segment is never
/// edited: where it has to be split, at a vertex on it or where another constraint crosses it, it becomes dead and gets
/// two children that meet at the split vertex. The leaves of these binary trees are the alive segments, which are edges
/// of the mesh. The ends are stored in pointer order; the direction that a client gave is kept by the graphs that own
/// the segment. All members take constant time, except those that walk over pieces or change the mesh.
class TARO25D_API ConstraintSegment2 {
  public:
    /// When a segment was requested. An older segment has a smaller age.
    struct Age {
        std::uint32_t call;   ///< The number of the call of createConstraint, from 1 in each triangulation.
        std::uint32_t place;  ///< The place in the list of that call, from 0.
        /// Whether this one is older.
        bool operator<(const Age& other) const { return call != other.call ? call < other.call : place < other.place; }
    };

    /// Only the triangulation creates segments; p0 must be the smaller pointer, or it fails with TaroException.
    TARO25D_HIDDEN ConstraintSegment2(Point2* p0, Point2* p1, ConstraintInsertionStrategy cis);
    TARO25D_HIDDEN ~ConstraintSegment2();
    ConstraintSegment2(const ConstraintSegment2&) = delete;
    ConstraintSegment2& operator=(const ConstraintSegment2&) = delete;

    /// The end with the smaller pointer.
    Point2* getSrc() const { return p0_; }
    /// The end with the larger pointer.
    Point2* getTrg() const { return p1_; }
    /// The strategy of the first call that asked for an edge between these vertices.
    ConstraintInsertionStrategy getCIS() const { return static_cast<ConstraintInsertionStrategy>(cis_); }
    /// When the segment, or the oldest segment that it is a piece of, was requested. Where two constraints cross, the
    /// older one gives the height. The largest possible numbers where no call requested it.
    const Age& getAge() const { return age_; }
    /// Alive segments have no children and have not been killed.
    bool isAlive() const { return bAlive_ && !aChildren_[0]; }
    /// The number of graphs that the segment belongs to.
    size_t getNumberOfOwners() const;
    /// A value that is free for the client; the largest finite double at first. Mesh refinement reads it as the area of
    /// the neighbour across the segment where a growth limit is set.
    void setAdjacentArea(double area) { adjacentArea_ = area; }
    /// The value that was set last.
    double getAdjacentArea() const { return adjacentArea_; }

    /// For the engine: marks the segment as not established in the mesh while it is being split again.
    void kill() { bAlive_ = false; }
    /// For the engine: takes `kill` back.
    void unkill() { bAlive_ = true; }

    /// For the engine: makes a graph an owner of this segment and of all its descendants.
    void addOwnerRecursive(ConstraintGraph2* pGraph);
    /// For the engine: takes an owner away, from this segment only. Returns whether it was one.
    bool removeOwner(ConstraintGraph2* pGraph);
    /// For the engine: records whether a graph runs from target to source; false, with no effect, if that is recorded.
    TARO25D_HIDDEN bool addDirection(const ConstraintGraph2* pGraph, bool bReverse);
    /// For the engine: what addDirection recorded for a graph.
    TARO25D_HIDDEN std::optional<bool> getDirection(const ConstraintGraph2* pGraph) const;
    /// For the engine: drops all that is recorded for a graph. Returns whether anything was.
    TARO25D_HIDDEN bool forgetGraph(const ConstraintGraph2* pGraph);

    /// Appends the alive leaves below this segment, those of the first child before those of the second. A segment
    /// without children fails with TaroException.
    void getChildrenRec(std::vector<ConstraintSegment2*>& vChildren);
    /// The two children of a dead segment and the vertex that they share. An alive segment gets a warning and leaves
    /// the arguments unchanged. A segment that was given up and has no children leaves them unchanged without a
    /// warning.
    void getChildrenAndSplitPoint(ConstraintSegment2*& pChild0, ConstraintSegment2*& pChild1, Point2*& pSplit);

    /// For the engine: tells that a call asked for the segment, which makes it and its descendants at least as old.
    TARO25D_HIDDEN void noteAge(const Age& age);

    /// For the engine: makes this segment, which is new, the copy of another one in the copy of its triangulation.
    TARO25D_HIDDEN void copyFrom(const ConstraintSegment2& other, const PointerMap<ConstraintSegment2*>& mSegments,
                                 const PointerMap<ConstraintGraph2*>& mGraphs);

    /// For the engine: records of graphs, age, whether it was killed, and children.
    using State = std::tuple<std::vector<std::uintptr_t>, Age, bool, std::array<ConstraintSegment2*, 2>>;
    /// For the engine: the state, for setState.
    TARO25D_HIDDEN State getState() const;
    /// For the engine: restores a state that getState returned.
    TARO25D_HIDDEN void setState(const State& state);

    /// For the engine: splits the segment at a vertex that is none of its ends, without touching the mesh. Returns
    /// false, with a warning and without effect, where a child would be a segment that this one itself came from.
    bool split_combinatorialOnly(Point2* pSplit);
    /// Inserts a new point on the segment, splits the segment there and establishes the pieces. Returns the vertex;
    /// null, with the segment as it was, if the point coincides with an end in x and y, or, with a warning, if it is
    /// farther from the segment than 1e-6 of its length and 4 ulp of its largest coordinate together, and where
    /// doubles are too coarse for the split. A dead segment, and a point that is not finite, fail with TaroException.
    /// The height is that of the point, unless there is a vertex already.
    Point2* insertAndSplit(const Point2& p);
    /// Splits as insertAndSplit() does, then removes the vertices that refinement inserted before within the circle
    /// around the new vertex through the source of this segment. Returns whether the segment was split.
    bool splitAndRemovePrev(const Point2& p);

    /// For the library's developers: prints the owners and whether each knows a direction of the segment; returns
    /// whether all do.
    bool dbg_hasDirection() const;

    /// By the pointers of the source, then of the target.
    bool operator<(const ConstraintSegment2& other) const {
        const std::less<> less;
        return p0_ != other.p0_ ? less(p0_, other.p0_) : less(p1_, other.p1_);
    }
    /// The state, the ends and the length, in four lines.
    friend TARO25D_API std::ostream& operator<<(std::ostream& stream, const ConstraintSegment2& segment);

  private:
    TARO25D_HIDDEN Dt2* getTriangulation() const;
    TARO25D_HIDDEN const std::uintptr_t* beginRecords() const;
    TARO25D_HIDDEN const std::uintptr_t* endRecords() const;
    TARO25D_HIDDEN std::uintptr_t* findRecord(const ConstraintGraph2* pGraph);
    TARO25D_HIDDEN void addFlags(const ConstraintGraph2* pGraph, std::uintptr_t flags);
    TARO25D_HIDDEN void dropRecord(const std::uintptr_t* pRecord);
    TARO25D_HIDDEN void setRecords(const std::vector<std::uintptr_t>& vRecords);
    TARO25D_HIDDEN std::vector<ConstraintGraph2*> getOwners() const;
    TARO25D_HIDDEN bool inheritRecords(const ConstraintSegment2& parent, bool bReversed);
    TARO25D_HIDDEN bool canBeSplitAt(Point2* pSplit) const;
    TARO25D_HIDDEN void createChildren(Point2* pSplit);
    TARO25D_HIDDEN void tellOwners();

    Point2 *p0_, *p1_;
    std::array<ConstraintSegment2*, 2> aChildren_{};  // none, or both
    // A record for each graph that owns the segment or knows its direction: the address of the graph, with flags in its
    // low bits. One record is stored here, several in a list on the heap, whose address has no flags.
    std::uintptr_t records_ = 0;
    double adjacentArea_;
    Age age_{std::numeric_limits<std::uint32_t>::max(), std::numeric_limits<std::uint32_t>::max()};
    unsigned label_;
    std::int8_t cis_;
    bool bAlive_ = true;
    TARO25D_HIDDEN static std::atomic<unsigned> runningLabel;
};

}  // namespace LUMO_TARO25D
