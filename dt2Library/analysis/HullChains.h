#pragma once

#include <cstddef>
#include <vector>

#include "taro25d/Bbox2.h"
#include "taro25d/Triangle2.h"

namespace LUMO_TARO25D {

class Dt2;

/// The triangles at the hull of a triangulation, searchable by place. Since the hull is convex, the edges of its
/// southern side are in order from west to east, and so are those of its northern side.
class HullChains {
  public:
    /// Linear in the vertices.
    explicit HullChains(const Dt2& dt2);

    /// Appends the triangles at hull edges whose boxes meet a box. O(log n), plus constant time for each edge in the x
    /// range of the box.
    void getNear(const Bbox2& box, std::vector<Triangle2*>& vTriangles) const;

  private:
    struct HullEdge {
        double minX, maxX, minY, maxY;
        Triangle2* pT;
    };

    static void addNear(const std::vector<HullEdge>& vChain, const Bbox2& box, std::vector<Triangle2*>& vTriangles);

    std::vector<HullEdge> vSouth_, vNorth_;  // from west to east
};

}  // namespace LUMO_TARO25D
