#pragma once

#include <map>
#include <set>

#include "taro25d/Point2.h"

namespace LUMO_TARO25D {

class Dt2;

/// The vertices that refinement inserted at circumcentres and may take out again.
class InnerVtxMgr {
  public:
    void addVtx(Point2* pVtx);
    /// Forgets a vertex; nothing happens if it is not known.
    void eraseVtx(Point2* pVtx);
    /// Forgets all vertices closer to a centre than the root of sqRadius, and removes those that are no constraint vertices
    /// from the triangulation.
    void removePreviouslyInsertedVertices(Point2* pCenter, double sqRadius, Dt2* pDt2);
    void clear();

  private:
    std::set<Point2*> sInsertedInnerPoints_;
    std::multimap<double, Point2*> mmX2Vtx_;
};

}  // namespace LUMO_TARO25D
