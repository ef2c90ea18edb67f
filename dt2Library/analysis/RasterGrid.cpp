#include "analysis/RasterGrid.h"

#include <limits>

#include "kernel/tools.h"

namespace LUMO_TARO25D {

namespace {

/// Whether the centres of n cells, counted from one end of an axis, are finite and all different.
bool areCentresDistinct(double from, double size, size_t n) {
    if (!std::isfinite(from) || !std::isfinite(size) || !(size > 0.0) || n == 0) return false;
    const double extent = std::abs(from) + static_cast<double>(n) * size;
    return std::isfinite(4.0 * extent) && size > std::ldexp(extent, -50);
}

}  // namespace

bool RasterGrid::isUsable(const RasterFrame& frame) {
    return areCentresDistinct(frame.minX, frame.cellWidth, frame.numColumns) &&
           areCentresDistinct(frame.maxY, frame.cellHeight, frame.numRows);
}

RasterGrid::RasterGrid(const RasterFrame& frame, const Window& window, double magnitude)
    : frame_(frame),
      perWidth_(1.0 / frame.cellWidth),
      perHeight_(1.0 / frame.cellHeight),
      beforeX_(0.5 - static_cast<double>(window.columns.begin)),
      beforeY_(0.5 - static_cast<double>(window.rows.begin)),
      vX_(window.columns.size()),
      vY_(window.rows.size()) {
    for (size_t j = 0; j < vX_.size(); ++j)
        vX_[j] = frame.minX + (static_cast<double>(window.columns.begin + j) + 0.5) * frame.cellWidth;
    for (size_t i = 0; i < vY_.size(); ++i)
        vY_[i] = frame.maxY - (static_cast<double>(window.rows.begin + i) + 0.5) * frame.cellHeight;
    magnitude_ =
        std::max({magnitude, std::abs(vX_.front()), std::abs(vX_.back()), std::abs(vY_.front()), std::abs(vY_.back())});
    slack_ = std::ldexp(magnitude_, -46);
}

size_t RasterGrid::findRow(double y) const {
    const Span rows = getRows(y, std::nextafter(y, std::numeric_limits<double>::infinity()));
    return rows.begin < rows.end ? rows.begin : vY_.size();
}

bool RasterGrid::isCentre(const Point2& place) const {
    const Span columns = getColumns(place.x(), place.x());
    return columns.begin < columns.end && findRow(place.y()) < vY_.size();
}

size_t RasterGrid::getCrossing(const Point2& low, const Point2& high, double y, const Span& columns, bool bPastTies,
                               GeomTest& geomTest) const {
    const double x = low.x() + (y - low.y()) / (high.y() - low.y()) * (high.x() - low.x());
    const auto isBefore = [&](size_t j) {
        const double offset = vX_[j] - x;
        if (std::abs(offset) > slack_) return offset < 0.0;
        const Point2 centre(vX_[j], y, 0.0);
        const Orientation2 side = geomTest.getOrientation2(&low, &high, &centre);
        return side == ORIENTATION2_CCW || (bPastTies && side == ORIENTATION2_COLLINEAR);
    };
    size_t j = std::clamp(getIndexFor(x), columns.begin, columns.end);
    while (j > columns.begin && !isBefore(j - 1)) --j;
    while (j < columns.end && isBefore(j)) ++j;
    return j;
}

bool RasterGrid::hasExactly(const Triangle2& triangle, const Point2& centre, GeomTest& geomTest) {
    for (int i = 0; i < 3; ++i) {
        const Point2 &src = *triangle.getCorner(i), &trg = *triangle.getCorner(incIndexBy1(i));
        const Orientation2 side = geomTest.getOrientation2(&src, &trg, &centre);
        if (side == ORIENTATION2_CW) return false;
        const bool bStepIsLeft = trg.y() < src.y() || (trg.y() == src.y() && trg.x() > src.x());
        if (side == ORIENTATION2_COLLINEAR && !bStepIsLeft) return false;
    }
    return true;
}

RasterGrid::Span RasterGrid::getWideSpan(const Triangle2& triangle, double y, const Span& columns,
                                         GeomTest& geomTest) const {
    Span span{columns.begin, columns.begin};
    for (int i = 0; i < 3; ++i) {
        const Point2 &src = *triangle.getCorner(incIndexBy1(i)), &trg = *triangle.getCorner(incIndexBy2(i));
        // Of the edges that cross the row, the one that goes down is the left border, and the one that goes up the
        // right border.
        if (trg.y() <= y && y < src.y()) span.begin = getCrossing(trg, src, y, columns, false, geomTest);
        if (src.y() <= y && y < trg.y()) span.end = getCrossing(src, trg, y, columns, false, geomTest);
    }
    return span;
}

}  // namespace LUMO_TARO25D
