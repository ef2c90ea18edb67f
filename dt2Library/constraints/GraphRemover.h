#pragma once

#include <functional>
#include <memory>
#include <vector>

#include "taro25d/ConstraintGraph2.h"

namespace LUMO_TARO25D {

class ConstraintMgr;
class ConstraintSegment2;
class Dt2;
class Point2;
template <class T>
class PointerMap;
template <class T>
class RecordCopies;

/// Removes graphs from a triangulation. Owned by its manager; keeps the rest of a removal that was cancelled.
class GraphRemover {
  public:
    GraphRemover(Dt2& mesh, ConstraintMgr& manager) : mesh_(mesh), manager_(manager) {}
    GraphRemover(const GraphRemover&) = delete;
    GraphRemover& operator=(const GraphRemover&) = delete;

    /// Deletes a graph and the segments that no other graph owns; their edges become ordinary ones. With
    /// bRemoveVertices the vertices that were inserted only for these segments are removed too. O(k log k) for k
    /// segments and pieces, plus the number of graphs. Calls that were cancelled are completed first, so that all
    /// vertices have their heights.
    ///
    /// A cancelled removal has either changed nothing, or is completed by `finish`.
    void remove(ConstraintGraph2* pGraph, bool bRemoveVertices);
    /// Completes a cancelled removal.
    void finish();
    bool isFinished() const { return !pDying_ && vOrphans_.empty() && vDoomed_.empty(); }
    /// Adds a segment without owners, of a creation that was cancelled, which `finish` deletes. Its ends stay as they
    /// are.
    void addOrphan(ConstraintSegment2* pCSeg) { vOrphans_.push_back(pCSeg); }
    /// Kills the orphans, so that nothing uses them as constraints.
    void killOrphans();
    /// Makes a segment alive that is waiting for its deletion, since a new graph needs it.
    void revive(ConstraintSegment2* pCSeg);
    /// Whether a list refers to segments that the manager has dropped.
    bool mayReferToDropped() const { return pDying_ || !vOrphans_.empty(); }
    void forgetAll();
    using CopyGraph = std::function<std::unique_ptr<ConstraintGraph2>(const ConstraintGraph2&)>;
    /// Copies the other remover's state, with each record replaced by its copy.
    void copyFrom(const GraphRemover& other, const RecordCopies<Point2>& vertices,
                  const PointerMap<ConstraintSegment2*>& mSegments, const CopyGraph& copyGraph);

  private:
    /// What becomes of vertices that were inserted for constraints alone and at which no segment ends any more: those
    /// of a creation that was cancelled stay for its repetition, those of a removed graph become the client's, or go.
    enum class Fate { STAY, BECOME_CLIENTS, GO };

    /// The segments of the removed graph and their descendants, each once. Dropped ones may be among them.
    std::vector<ConstraintSegment2*> collectSegments() const;
    /// Kills the segments that only the removed graph owns, and makes the mesh Delaunay at their edges.
    void releaseEdges();
    void discardOrphans();
    /// Deletes the removed graph and its segments.
    void discardGraph();
    void discard(ConstraintSegment2* pCSeg, Fate fate);
    void removeVertices();

    Dt2& mesh_;
    ConstraintMgr& manager_;
    std::unique_ptr<ConstraintGraph2> pDying_;   // owns its segments until none of them is an edge
    std::vector<ConstraintSegment2*> vRoots_;    // the segments of that graph, except descendants of others
    Fate fate_ = Fate::STAY;                     // of the vertices of that graph
    std::vector<ConstraintSegment2*> vOrphans_;  // dead, except those that have an owner again
    std::vector<Point2*> vDoomed_;               // to be removed; they remain constraint vertices until then
};

}  // namespace LUMO_TARO25D
