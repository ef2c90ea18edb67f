#pragma once

#include <cstddef>
#include <vector>

#include "support/MinTree.h"

namespace LUMO_TARO25D {

class Dt2;
class Point2;
class Triangle2;

/// Takes vertices out of a mesh. It is kept from one removal to the next for its scratch memory alone.
class VertexRemover {
  public:
    explicit VertexRemover(Dt2& mesh) : mesh_(mesh) {}

    /// Removes a vertex of the mesh and recycles its record; null, a vertex of a constraint and a vertex of no mesh or of
    /// another one only get a warning.
    void remove(Point2* pVtx);
    /// Removes a vertex on the hull; TaroException if it has no triangle. With false the caller restores the Delaunay
    /// property.
    void removeHullVertex(Point2* v, bool bRestoreDelaunay);
    /// Takes a hull vertex out of the triangles, but not out of the vault.
    void takeOutHullVertex(Point2* v, bool bRestoreDelaunay);
    /// With t = (v, p, q) and the next triangle around v (v, q, d): makes them (p, q, d) and (p, d, v), if the first is
    /// counterclockwise and the second not clockwise. Returns the second one, or null if nothing has been done.
    Triangle2* flipForRemove(Point2* pVtx, Triangle2* t);

  private:
    /// An edge from the vertex v that is being removed to a neighbour.
    struct Rib {
        Triangle2* pT;          // the triangle counterclockwise of it; null where there is none
        double x, y;            // of the neighbour, relative to v
        size_t previous, next;  // around v, as positions in vRibs_
    };

    /// Fills vStar_ with the triangles around a vertex, counterclockwise. False if it is on the hull; then they go from one
    /// hull edge to the other.
    bool collectStar(const Point2* v);
    void removeInnerVertex(Point2* v);
    /// Flips as long as there are more than minDegree triangles and a flip is possible; returns how many are left.
    size_t reduceDegree(Point2* v, size_t minDegree);
    void fillRibs(const Point2* v);
    double getRankOfEar(size_t i) const;
    void dropRib(size_t i);
    [[noreturn]] void watchDogFailed(const Point2* v);
    /// Makes one triangle of the last three.
    void mergeStar(const Point2* v);
    /// Takes the triangles around a hull vertex out of the mesh.
    void takeOutStar(const Point2* v);
    void restoreDelaunay();
    void discardVertex(Point2* v);

    Dt2& mesh_;
    std::vector<Triangle2*> vStar_;
    std::vector<Rib> vRibs_;
    MinTree earRanks_;  // in the place of a rib, of the ear between its end and the end of the one after the next
    std::vector<Triangle2*> vNewTriangles_;
};

}  // namespace LUMO_TARO25D
