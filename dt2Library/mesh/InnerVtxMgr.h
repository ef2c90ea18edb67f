#pragma once

#include <cstddef>
#include <vector>

#include "kernel/flatSets.h"
#include "support/RecordCopies.h"
#include "taro25d/Point2.h"

namespace LUMO_TARO25D {

class Dt2;

/// The corners of all triangles that a disc around a centre touches, and perhaps of a few more, sorted by coordinates,
/// each once. The search starts at pT, which contains the centre. Linear in the number of these triangles.
std::vector<Point2*> getVerticesNearby(const Point2& center, Triangle2* pT, double sqRadius);

/// The set of vertices that refinement inserted at circumcentres and may remove again.
///
/// Only membership is stored; the mesh finds those near a place.
class InnerVtxMgr {
  public:
    void addVtx(Point2* pVtx);
    /// Forgets a vertex, if it is in the set.
    void eraseVtx(Point2* pVtx);
    /// Forgets all vertices of the set whose squared distance from the vertex pCenter is below sqRadius, and removes
    /// those that are no constraint vertices from the triangulation, in the order of their coordinates. Linear in the
    /// number of triangles that the circle touches.
    void removePreviouslyInsertedVertices(Point2* pCenter, double sqRadius, Dt2* pDt2);
    void clear();
    /// Keeps the copies of the vertices that another one keeps.
    void copyFrom(const InnerVtxMgr& other, const RecordCopies<Point2>& vertices);

  private:
    AddressSet sInsertedInnerPoints_;
    size_t numInserted_ = 0;
};

}  // namespace LUMO_TARO25D
