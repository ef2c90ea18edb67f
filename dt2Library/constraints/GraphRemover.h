#pragma once

#include <vector>

namespace LUMO_TARO25D {

class ConstraintGraph2;
class ConstraintMgr;
class ConstraintSegment2;
class Dt2;
class Point2;

/// Takes graphs out of a triangulation.
class GraphRemover {
  public:
    GraphRemover(Dt2& mesh, ConstraintMgr& manager) : mesh_(mesh), manager_(manager) {}

    /// Ends a graph of the triangulation and the segments that no other graph owns; their edges become ordinary ones. With
    /// the flag, the vertices that only these segments have brought go too. O(k log k) for k segments and pieces, and a
    /// look at the pointers of all graphs.
    void remove(ConstraintGraph2* pGraph, bool bRemoveVertices);

  private:
    /// Takes the graph from its segments and their descendants; returns those that have no owner then.
    static std::vector<ConstraintSegment2*> disown(ConstraintGraph2* pGraph);
    /// Makes the mesh Delaunay where the alive ones of these segments are edges.
    void releaseEdges(const std::vector<ConstraintSegment2*>& vCSegs);

    Dt2& mesh_;
    ConstraintMgr& manager_;
};

}  // namespace LUMO_TARO25D
