#pragma once

#include <functional>
#include <vector>

#include "analysis/RasterGrid.h"
#include "kernel/GeomTest.h"
#include "taro25d/Edge2.h"
#include "taro25d/Triangle2.h"

namespace LUMO_TARO25D {

/// The centres on the border of a zone that belong to no triangle in a scan, because the place just east of them, or
/// for a horizontal edge just north of them, is outside the zone.
class RasterBorder {
  public:
    /// Called with row, column, triangle, and an edge of the triangle on which the centre lies.
    using Visitor = std::function<void(size_t, size_t, const Triangle2&, const Edge2&)>;

    /// For the border edges, each as an edge of its triangle in the zone.
    RasterBorder(const RasterGrid& grid, const std::vector<Edge2>& vBorder)
        : grid_(grid), vBorder_(vBorder), geomTest_(grid.getMagnitude()) {}

    /// Visits the centres that are left over.
    void forEach(const Visitor& visit);

  private:
    /// A border edge from one of its ends.
    struct Ray {
        const Point2 *pVtx, *pEnd;
        const Edge2* pEdge;
        bool bZoneOnLeft;
    };

    void visitInside(const Edge2& edge, const Visitor& visit);
    void visitHorizontal(const Edge2& edge, const Visitor& visit);
    void visitVertices(const Visitor& visit);
    bool isBefore(const Ray& a, const Ray& b);

    const RasterGrid& grid_;
    const std::vector<Edge2>& vBorder_;
    GeomTest geomTest_;
};

}  // namespace LUMO_TARO25D
