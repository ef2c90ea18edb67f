#pragma once

#include <vector>

#include "taro25d/Orientation2.h"

namespace LUMO_TARO25D {

class Dt2;
class Triangle2;

/// The triangles that the line from one vertex to another crosses, and their border on both sides of it. They are found by
/// following the line (segmentWalk.h), and replaced by triangles with an edge between the two vertices.
class CrossedRegion {
  public:
    /// The line begins in a triangle and leaves it across its edge i.
    CrossedRegion(Triangle2* pT, int i);
    /// Adds the next triangle, as crossEdge has returned it.
    void add(Triangle2* pT, int i, Orientation2 ori);
    /// Triangulates the region again, which is complete, and makes it Delaunay except at constraint edges.
    void replace(Dt2& mesh);

  private:
    /// An edge on the border of a region that is being triangulated again: of a triangle inside, which is about to be
    /// recycled, or of a new one outside.
    struct Border {
        Triangle2* pT;
        int i;
        bool bInside;
    };

    /// Triangulates what is between a border, counterclockwise without the segment, and the segment. Returns the last
    /// triangle; the border is then its edge at the segment.
    Triangle2* triangulatePolygon(std::vector<Border>& vBorder, Dt2& mesh);

    std::vector<Triangle2*> vTriangles_, vNewTriangles_;
    std::vector<Border> vLeft_, vRight_;  // both in the direction of the line
};

}  // namespace LUMO_TARO25D
