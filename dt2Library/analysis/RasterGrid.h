#pragma once

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <utility>
#include <vector>

#include "kernel/GeomTest.h"
#include "taro25d/Point2.h"
#include "taro25d/RasterFrame.h"
#include "taro25d/Triangle2.h"

namespace LUMO_TARO25D {

/// The centres of the cells of a raster, and the search for those in a triangle.
///
/// Each centre belongs to exactly one triangle: the one that contains it after an infinitely small step to the east and
/// a much smaller one to the north. So in a row, a triangle has the centres from its left border, those on it included,
/// up to its right border, those on it excluded; and it has none in a row through its highest point. The crossings of
/// the borders with a row are computed in doubles; only centres closer to a crossing than its error need an exact test.
class RasterGrid {
  public:
    /// Columns, or rows, [begin, end).
    struct Span {
        size_t begin, end;

        size_t size() const { return begin < end ? end - begin : 0; }
    };
    struct Cells {
        Span rows, columns;

        size_t size() const { return rows.size() * columns.size(); }
    };

    /// A rectangle of cells of a frame.
    struct Window {
        Span rows, columns;
    };

    /// For triangles of this magnitude. The frame must be usable (isUsable).
    RasterGrid(const RasterFrame& frame, double magnitude)
        : RasterGrid(frame, {{0, frame.numRows}, {0, frame.numColumns}}, magnitude) {}
    /// For some cells of a frame, with exactly the centres that they have in the whole; rows and columns are counted
    /// from the first one of the window, which must not be empty.
    RasterGrid(const RasterFrame& frame, const Window& window, double magnitude);
    /// Whether all numbers of a frame are finite, its sizes positive, and neighbouring centres different.
    static bool isUsable(const RasterFrame& frame);

    size_t getNumColumns() const { return vX_.size(); }
    size_t getNumRows() const { return vY_.size(); }
    double getX(size_t column) const { return vX_[column]; }
    double getY(size_t row) const { return vY_[row]; }
    double getMagnitude() const { return magnitude_; }

    /// The rows whose centres have minY <= y < endY.
    Span getRows(double minY, double endY) const;
    /// The columns whose centres have minX <= x <= maxX.
    Span getColumns(double minX, double maxX) const { return {getFirstColumn(minX), getColumnAfter(maxX)}; }

    /// The row whose centres have exactly this y; getNumRows() if there is none.
    size_t findRow(double y) const;
    /// Whether a place is exactly a centre.
    bool isCentre(const Point2& place) const;

    /// The cells whose centres are in the box of a triangle, without those at its highest point.
    Cells getCellsAround(const Triangle2& triangle) const {
        const Point2 &a = *triangle.getCorner(0), &b = *triangle.getCorner(1), &c = *triangle.getCorner(2);
        return {getRows(std::min({a.y(), b.y(), c.y()}), std::max({a.y(), b.y(), c.y()})),
                getColumns(std::min({a.x(), b.x(), c.x()}), std::max({a.x(), b.x(), c.x()}))};
    }
    /// Calls f(row, begin, end) for the rows of the given cells in which the triangle has centres. The predicates must
    /// cover the magnitude.
    template <class F>
    void scan(const Triangle2& triangle, const Cells& cells, GeomTest& geomTest, const F& f) const {
        for (size_t row = cells.rows.begin; row < cells.rows.end; ++row) {
            const Span span = getSpan(triangle, vY_[row], cells.columns, geomTest);
            if (span.begin < span.end) f(row, span.begin, span.end);
        }
    }

    /// The first of some columns whose centre is not west of a segment that crosses the row at y, decided exactly; with
    /// bPastTies, the first that is strictly east of it.
    size_t getCrossing(const Point2& low, const Point2& high, double y, const Span& columns, bool bPastTies,
                       GeomTest& geomTest) const;

  private:
    /// A distance in cells as an index from 0 to n.
    static size_t toIndex(double cells, size_t n) {
        if (!(cells > 0.0)) return 0;
        return cells < static_cast<double>(n) ? static_cast<size_t>(static_cast<std::int64_t>(cells)) : n;
    }
    size_t getIndexFor(double x) const { return toIndex((x - frame_.minX) * perWidth_ + beforeX_, vX_.size()); }
    size_t getFirstColumn(double x) const;
    size_t getColumnAfter(double x) const;
    Span getSpan(const Triangle2& triangle, double y, const Span& columns, GeomTest& geomTest) const;
    Span getWideSpan(const Triangle2& triangle, double y, const Span& columns, GeomTest& geomTest) const;
    static bool has(const Triangle2& triangle, const Point2& centre, GeomTest& geomTest);
    static bool hasExactly(const Triangle2& triangle, const Point2& centre, GeomTest& geomTest);

    RasterFrame frame_;
    double perWidth_, perHeight_;
    double beforeX_, beforeY_;  // half a cell, minus the columns and rows before the window
    double magnitude_;
    double slack_;  // a bound of the rounding error of a crossing
    std::vector<double> vX_, vY_;
};

// A computed index is off by at most one; the loops correct it.

inline size_t RasterGrid::getFirstColumn(double x) const {
    size_t j = getIndexFor(x);
    while (j > 0 && vX_[j - 1] >= x) --j;
    while (j < vX_.size() && vX_[j] < x) ++j;
    return j;
}

inline size_t RasterGrid::getColumnAfter(double x) const {
    size_t j = getIndexFor(x);
    while (j > 0 && vX_[j - 1] > x) --j;
    while (j < vX_.size() && vX_[j] <= x) ++j;
    return j;
}

inline RasterGrid::Span RasterGrid::getRows(double minY, double endY) const {
    Span rows{toIndex((frame_.maxY - endY) * perHeight_ + beforeY_, vY_.size()),
              toIndex((frame_.maxY - minY) * perHeight_ + beforeY_, vY_.size())};
    while (rows.begin > 0 && vY_[rows.begin - 1] < endY) --rows.begin;
    while (rows.begin < vY_.size() && vY_[rows.begin] >= endY) ++rows.begin;
    while (rows.end > 0 && vY_[rows.end - 1] < minY) --rows.end;
    while (rows.end < vY_.size() && vY_[rows.end] >= minY) ++rows.end;
    return rows;
}

/// Whether a centre belongs to the triangle, by the rule of the class. Where the least of the orientation
/// determinants is certain (GeomTest::productFilterOri2), it decides alone.
inline bool RasterGrid::has(const Triangle2& triangle, const Point2& centre, GeomTest& geomTest) {
    const Point2 &a = *triangle.getCorner(0), &b = *triangle.getCorner(1), &c = *triangle.getCorner(2);
    const double ax = a.x() - centre.x(), bx = b.x() - centre.x(), cx = c.x() - centre.x();
    const double ay = a.y() - centre.y(), by = b.y() - centre.y(), cy = c.y() - centre.y();
    const double least = std::min(std::min(ax * by - ay * bx, bx * cy - by * cx), cx * ay - cy * ax);
    const double width = std::max(std::max(std::abs(ax), std::abs(bx)), std::abs(cx));
    const double height = std::max(std::max(std::abs(ay), std::abs(by)), std::abs(cy));
    const double slack = 7e-16 * (width * height) + 1e-290;  // infinite if a product is
    return std::abs(least) > slack ? least > 0.0 : hasExactly(triangle, centre, geomTest);
}

inline RasterGrid::Span RasterGrid::getSpan(const Triangle2& triangle, double y, const Span& columns,
                                            GeomTest& geomTest) const {
    constexpr size_t MAX_TO_TEST = 2;
    if (columns.end - columns.begin > MAX_TO_TEST) return getWideSpan(triangle, y, columns, geomTest);
    Span span = columns;
    while (span.begin < span.end && !has(triangle, Point2(vX_[span.begin], y, 0.0), geomTest)) ++span.begin;
    while (span.begin < span.end && !has(triangle, Point2(vX_[span.end - 1], y, 0.0), geomTest)) --span.end;
    return span;
}

}  // namespace LUMO_TARO25D
