#pragma once

#include <vector>

#include "kernel/GeomTest.h"
#include "taro25d/Bbox2.h"
#include "taro25d/Circle2.h"
#include "taro25d/Point2.h"
#include "taro25d/Triangle2.h"

namespace LUMO_TARO25D {

class Dt2;

/// Finds the vertices and triangles of a mesh in a region around a place. A region includes its border. A query has
/// predicates of its own, so that several may run at once.
class RegionSearch {
  public:
    explicit RegionSearch(const Dt2& mesh) : mesh_(mesh) {}

    /// The vertex nearest to a place; of equally near ones the smallest (by x, then y). Null if there is none or the
    /// place is not finite. As fast as location where vertices are spread evenly.
    Point2* getNearestVertex(const Point2& place) const;
    /// Append the vertices or triangles in a region, in an order that depends on the mesh alone. The cost is that of a
    /// location and linear in the number of triangles that meet the region; before there are triangles, linear in the
    /// number of vertices.
    void getVerticesInBox(const Bbox2& box, std::vector<Point2*>& vVertices) const;
    void getTrianglesInBox(const Bbox2& box, std::vector<Triangle2*>& vTriangles) const;
    void getVerticesInCircle(const Circle2& circle, std::vector<Point2*>& vVertices) const;

  private:
    /// The start of a search: the triangle that contains the place; outside the hull, those whose hull edges are
    /// visible from it.
    std::vector<Triangle2*> getStart(const Point2& place) const;
    /// Appends triangles that meet a convex region around a place, from neighbour to neighbour.
    template <class MeetsT>
    void spread(const Point2& place, const MeetsT& meets, std::vector<Triangle2*>& vTriangles) const;
    /// Appends the vertices that pass a test, among the corners of triangles; before there are triangles, among all.
    template <class TestT>
    void appendVertices(const std::vector<Triangle2*>& vTriangles, const TestT& test,
                        std::vector<Point2*>& vVertices) const;

    const Dt2& mesh_;
};

}  // namespace LUMO_TARO25D
