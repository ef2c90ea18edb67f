#pragma once

#include <array>

#include "kernel/tools.h"
#include "support/PointerMap.h"
#include "taro25d/Point2.h"
#include "taro25d/Vector2.h"

namespace LUMO_TARO25D {

class Taro_2D;

/// The sides of a triangle in space: side i is opposite corner i, and leads from corner i + 1 to corner i + 2.
using Sides = std::array<Vector2, 3>;

/// The surface that gives the heights of a refinement, as a measure of triangles.
///
/// Vertices of constraint segments keep the heights of their segments, so a step may stand between them and the guide. No
/// triangle across a step meets any limit, however small it is: refinement would chase it down to the last bits. Therefore
/// all vertices count as if they were on the guide, so that the mesh is as fine as it would be if they were. Where the guide
/// has no height, lengths count in x-y.
class GuideSurface {
  public:
    /// The guide is not owned.
    explicit GuideSurface(const Taro_2D* pGuide) : pGuide_(pGuide) {}

    /// The sides of the triangle with these corners on the guide.
    Sides getSides(const Point2* p0, const Point2* p1, const Point2* p2);
    /// Forgets the guide, which is the client's, but for its heights at the vertices that are not on it.
    void detach();

  private:
    /// The height at a vertex. It stands for a place: records of vertices are used again.
    struct Entry {
        double x = std::nan(""), y = std::nan("");
        double height = 0.0;
    };

    /// NaN where there is none.
    double getHeight(const Point2* pVtx);

    const Taro_2D* pGuide_;
    PointerMap<Entry> heights_;
};

/// The sides of a triangle as limits see them: on the guide, if there is one.
inline Sides getSides(GuideSurface* pGuide, const Point2* p0, const Point2* p1, const Point2* p2) {
    if (pGuide) return pGuide->getSides(p0, p1, p2);
    return {getVector25D(*p1, *p2), getVector25D(*p2, *p0), getVector25D(*p0, *p1)};
}

}  // namespace LUMO_TARO25D
