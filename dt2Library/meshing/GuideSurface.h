#pragma once

#include <array>

#include "kernel/tools.h"
#include "support/PointerMap.h"
#include "taro25d/Point2.h"
#include "taro25d/Vector2.h"

namespace LUMO_TARO25D {

class Taro_2D;

/// The sides of a triangle in space: side i is opposite corner i, from corner i + 1 to corner i + 2.
using Sides = std::array<Vector2, 3>;

/// The height guide of a refinement, as the surface on which triangles are measured.
///
/// Vertices of constraint segments keep the heights of their segments, so there may be a step between them and the
/// guide. No triangle across a step would ever meet a limit, however small it is. Therefore triangles are measured as
/// if all their vertices were on the guide. Where the guide has no height, lengths are measured in x-y.
class GuideSurface {
  public:
    /// The guide is not owned.
    explicit GuideSurface(const Taro_2D* pGuide) : pGuide_(pGuide) {}

    /// The sides of the triangle with these corners on the guide.
    Sides getSides(const Point2* p0, const Point2* p1, const Point2* p2);
    /// Forgets the guide, which belongs to the client, but keeps its heights at the vertices that are not on it.
    void detach();

  private:
    /// The height at a vertex, with the place for which it holds, since records of vertices are recycled.
    struct Entry {
        double x = std::nan(""), y = std::nan("");
        double height = 0.0;
    };

    /// The height of the guide at a vertex; NaN if it has none.
    double getHeight(const Point2* pVtx);

    const Taro_2D* pGuide_;
    PointerMap<Entry> heights_;
};

/// The sides of a triangle as limits measure them: on the guide, if there is one.
inline Sides getSides(GuideSurface* pGuide, const Point2* p0, const Point2* p1, const Point2* p2) {
    if (pGuide) return pGuide->getSides(p0, p1, p2);
    return {getVector25D(*p1, *p2), getVector25D(*p2, *p0), getVector25D(*p0, *p1)};
}

}  // namespace LUMO_TARO25D
