#pragma once

#include <vector>

namespace LUMO_TARO25D {

class ConstraintGraph2;
class ConstraintMgr;
class ConstraintSegment2;
class Dt2;
class Point2;

/// Removes graphs from a triangulation.
class GraphRemover {
  public:
    GraphRemover(Dt2& mesh, ConstraintMgr& manager) : mesh_(mesh), manager_(manager) {}

    /// Deletes a graph and the segments that no other graph owns; their edges become ordinary ones. With
    /// bRemoveVertices the vertices that were inserted only for these segments are removed too. O(k log k) for k
    /// segments and pieces, plus the number of graphs.
    ///
    /// A cancelled removal has either changed nothing, or is completed by `finish`, which keeps the vertices.
    void remove(ConstraintGraph2* pGraph, bool bRemoveVertices);
    /// Removes the segments without owners that a cancelled removal has left.
    void finish() { finish(false); }

  private:
    void finish(bool bRemoveVertices);
    /// The segments of a graph and their descendants, each once.
    static std::vector<ConstraintSegment2*> collect(const ConstraintGraph2* pGraph);
    /// Kills the alive ones among these segments and makes the mesh Delaunay at their edges.
    void releaseEdges(const std::vector<ConstraintSegment2*>& vCSegs);

    Dt2& mesh_;
    ConstraintMgr& manager_;
};

}  // namespace LUMO_TARO25D
