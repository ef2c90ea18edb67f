#pragma once

#include <cstddef>
#include <vector>

#include "support/MinTree.h"

namespace LUMO_TARO25D {

class Dt2;
class Point2;
class Triangle2;

/// Removes vertices from a mesh. The object outlives a removal only to keep its scratch memory.
class VertexRemover {
  public:
    explicit VertexRemover(Dt2& mesh) : mesh_(mesh) {}

    /// Removes a vertex and recycles its record. Null, a constraint vertex, and a pointer that is no vertex of this
    /// mesh get a warning only.
    void remove(Point2* pVtx);
    /// Removes a vertex on the hull; TaroException if it has no triangle. Without bRestoreDelaunay the caller restores
    /// the Delaunay property.
    void removeHullVertex(Point2* v, bool bRestoreDelaunay);
    /// Removes a hull vertex from the triangles, but not from the vault.
    void takeOutHullVertex(Point2* v, bool bRestoreDelaunay);
    /// Turns t = (v, p, q) and the next triangle around v, (v, q, d), into (p, q, d) and (p, d, v), if the first is
    /// counterclockwise and the second is not clockwise. Returns the second triangle, or null if it did nothing.
    Triangle2* flipForRemove(Point2* pVtx, Triangle2* t);

  private:
    /// An edge from the vertex v that is being removed to a neighbour.
    struct Rib {
        Triangle2* pT;          // the triangle counterclockwise of the rib; null on the hull
        double x, y;            // of the neighbour, relative to v
        size_t previous, next;  // around v, as positions in vRibs_
    };

    /// Fills vStar_ with the triangles around a vertex, counterclockwise. False if the vertex is on the hull; then the
    /// list goes from one hull edge to the other.
    bool collectStar(const Point2* v);
    void removeInnerVertex(Point2* v);
    /// Flips as long as there are more than minDegree triangles and a flip is possible; returns the number of triangles
    /// left.
    size_t reduceDegree(Point2* v, size_t minDegree);
    void fillRibs(const Point2* v);
    double getRankOfEar(size_t i) const;
    void dropRib(size_t i);
    [[noreturn]] void watchDogFailed(const Point2* v);
    /// Replaces the last three triangles by one.
    void mergeStar(const Point2* v);
    /// Removes the triangles around a hull vertex from the mesh.
    void takeOutStar(const Point2* v);
    void restoreDelaunay();
    void discardVertex(Point2* v);

    Dt2& mesh_;
    std::vector<Triangle2*> vStar_;
    std::vector<Rib> vRibs_;
    MinTree earRanks_;  // place i: the ear between the ends of rib i and of the second rib after it
    std::vector<Triangle2*> vNewTriangles_;
};

}  // namespace LUMO_TARO25D
