#pragma once

#include <vector>

namespace LUMO_TARO25D {

class ConstraintGraph2;
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
    bool isFinished() const { return vOrphans_.empty() && vDoomed_.empty(); }
    /// Adds a segment without owners, which `finish` deletes. Its ends stay as they are.
    void addOrphan(ConstraintSegment2* pCSeg) { vOrphans_.push_back(pCSeg); }
    void forgetAll() { vOrphans_.clear(), vDoomed_.clear(); }
    bool hasOrphans() const { return !vOrphans_.empty(); }
    /// Copies the other remover's state, with each record replaced by its copy.
    void copyFrom(const GraphRemover& other, const RecordCopies<Point2>& vertices,
                  const PointerMap<ConstraintSegment2*>& mSegments);

  private:
    /// What becomes of vertices that were inserted for constraints alone and at which no segment ends any more: those
    /// of a creation that was cancelled stay for its repetition, those of a removed graph become the client's, or go.
    enum class Fate { STAY, BECOME_CLIENTS, GO };

    /// The segments of a graph and their descendants, each once.
    static std::vector<ConstraintSegment2*> collect(const ConstraintGraph2* pGraph);
    /// Kills the alive ones among the orphans and makes the mesh Delaunay at their edges.
    void releaseEdges();
    void discardOrphans();
    void removeVertices();

    Dt2& mesh_;
    ConstraintMgr& manager_;
    std::vector<ConstraintSegment2*> vOrphans_;
    Fate fate_ = Fate::STAY;
    std::vector<Point2*> vDoomed_;  // to be removed; they remain constraint vertices until then
};

}  // namespace LUMO_TARO25D
