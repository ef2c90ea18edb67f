#pragma once

#include <vector>

#include "taro25d/Orientation2.h"

namespace LUMO_TARO25D {

class Dt2;
class Triangle2;

/// The triangles that the line from one vertex to another crosses, and their border on both sides of the line. They are
/// found by following it (segmentWalk.h) and replaced by triangles with an edge between the two vertices. One object
/// serves one line after the other, and its lists keep their memory.
class CrossedRegion {
  public:
    /// Starts a new region: the line begins in a triangle and leaves it across its edge i.
    void start(Triangle2* pT, int i);
    /// Adds the next triangle, with the results of crossEdge.
    void add(Triangle2* pT, int i, Orientation2 ori);
    /// Retriangulates the complete region, with the line as an edge, and makes it Delaunay except at constraint edges.
    void replace(Dt2& mesh);

  private:
    /// An edge on the border of the part still to be triangulated: edge i of an old triangle inside, which is about to
    /// be recycled, or of a new triangle outside.
    struct Border {
        Triangle2* pT;
        int i;
        bool bInside;
    };

    /// Triangulates the polygon of a border, given counterclockwise without the segment, and the segment. Returns the
    /// last triangle; vBorder[0] is then its edge at the segment.
    Triangle2* triangulatePolygon(std::vector<Border>& vBorder, Dt2& mesh);

    std::vector<Triangle2*> vTriangles_, vNewTriangles_;
    std::vector<Border> vLeft_, vRight_;  // in the direction of the line
};

}  // namespace LUMO_TARO25D
