#include "analysis/RasterBorder.h"

#include <algorithm>

#include "taro25d/Point2.h"

namespace LUMO_TARO25D {

void RasterBorder::forEach(const Visitor& visit) {
    for (const Edge2& edge : vBorder_) {
        const double srcY = edge.getSrc()->y(), trgY = edge.getTrg()->y();
        if (srcY < trgY) visitInside(edge, visit);
        if (srcY == trgY && edge.getSrc()->x() > edge.getTrg()->x()) visitHorizontal(edge, visit);
    }
    visitVertices(visit);
}

/// Visits the centres on an edge that has the zone on its west.
void RasterBorder::visitInside(const Edge2& edge, const Visitor& visit) {
    const Point2 &low = *edge.getSrc(), &high = *edge.getTrg();
    const auto [minX, maxX] = std::minmax({low.x(), high.x()});
    const RasterGrid::Span columns = grid_.getColumns(minX, maxX), rows = grid_.getRows(low.y(), high.y());
    if (columns.begin >= columns.end) return;
    for (size_t row = rows.begin; row < rows.end; ++row) {
        const double y = grid_.getY(row);
        if (y == low.y()) continue;
        const size_t begin = grid_.getCrossing(low, high, y, columns, false, geomTest_);
        const size_t end = grid_.getCrossing(low, high, y, columns, true, geomTest_);
        for (size_t column = begin; column < end; ++column) visit(row, column, *edge.getTriangle(), edge);
    }
}

/// Visits the centres on a horizontal edge that has the zone on its south.
void RasterBorder::visitHorizontal(const Edge2& edge, const Visitor& visit) {
    const Point2 &west = *edge.getTrg(), &east = *edge.getSrc();
    const RasterGrid::Span columns = grid_.getColumns(west.x(), east.x());
    const size_t row = grid_.findRow(west.y());
    if (row == grid_.getNumRows()) return;
    for (size_t column = columns.begin; column < columns.end; ++column) {
        const double x = grid_.getX(column);
        if (x != west.x() && x != east.x()) visit(row, column, *edge.getTriangle(), edge);
    }
}

/// At a vertex of the border, the zone lies between some of the rays along the border edges. The first ray
/// counterclockwise from the east decides: if the zone is on its left, the direction just north of east is outside the
/// zone, and the centre is left over.
void RasterBorder::visitVertices(const Visitor& visit) {
    std::vector<Ray> vRays;
    for (const Edge2& edge : vBorder_) {
        const Point2 *pSrc = edge.getSrc(), *pTrg = edge.getTrg();
        if (grid_.isCentre(*pSrc)) vRays.push_back({pSrc, pTrg, &edge, true});
        if (grid_.isCentre(*pTrg)) vRays.push_back({pTrg, pSrc, &edge, false});
    }
    std::sort(vRays.begin(), vRays.end(),
              [this](const Ray& a, const Ray& b) { return *a.pVtx != *b.pVtx ? *a.pVtx < *b.pVtx : isBefore(a, b); });
    const Point2* pLast = nullptr;
    for (const Ray& ray : vRays) {
        if (ray.pVtx == pLast) continue;
        pLast = ray.pVtx;
        if (!ray.bZoneOnLeft) continue;
        const size_t column = grid_.getColumns(ray.pVtx->x(), ray.pVtx->x()).begin;
        visit(grid_.findRow(ray.pVtx->y()), column, *ray.pEdge->getTriangle(), *ray.pEdge);
    }
}

/// The order of rays counterclockwise, starting just north of east.
bool RasterBorder::isBefore(const Ray& a, const Ray& b) {
    const auto isInSecondHalf = [](const Ray& ray) {
        const double dy = ray.pEnd->y() - ray.pVtx->y();
        return dy < 0.0 || (dy == 0.0 && ray.pEnd->x() > ray.pVtx->x());
    };
    if (isInSecondHalf(a) != isInSecondHalf(b)) return isInSecondHalf(b);
    return geomTest_.getOrientation2(a.pVtx, a.pEnd, b.pEnd) == ORIENTATION2_CCW;
}

}  // namespace LUMO_TARO25D
