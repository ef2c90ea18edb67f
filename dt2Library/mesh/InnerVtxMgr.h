#pragma once

#include <cstddef>
#include <vector>

#include "kernel/flatSets.h"
#include "taro25d/Point2.h"

namespace LUMO_TARO25D {

class Dt2;

/// The corners of the triangles that a circle around a place touches, and perhaps a few more, each once, by coordinates; from
/// a triangle on that the place lies in. Linear in the number of these triangles.
std::vector<Point2*> getVerticesNearby(const Point2& center, Triangle2* pT, double sqRadius);

/// The vertices that refinement inserted at circumcentres and may take out again.
///
/// It keeps only which ones they are; the mesh itself tells which of them are near a place.
class InnerVtxMgr {
  public:
    void addVtx(Point2* pVtx);
    /// Forgets a vertex; nothing happens if it is not known.
    void eraseVtx(Point2* pVtx);
    /// Forgets all vertices closer to a centre, which is a vertex, than the root of sqRadius, and removes those that are no
    /// constraint vertices from the triangulation, in the order of their coordinates. Linear in the number of triangles
    /// that the circle touches.
    void removePreviouslyInsertedVertices(Point2* pCenter, double sqRadius, Dt2* pDt2);
    void clear();

  private:
    AddressSet sInsertedInnerPoints_;
    size_t numInserted_ = 0;
};

}  // namespace LUMO_TARO25D
