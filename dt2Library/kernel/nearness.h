#pragma once

#include <algorithm>
#include <cmath>

#include "kernel/tolerances.h"
#include "taro25d/Point2.h"

namespace LUMO_TARO25D {

// What rounding cannot tell apart. Everything here is relative to the coordinates, so that the same geometry scaled by a
// power of two gets the same answers; nothing depends on the order of the ends of a segment.

/// The largest absolute x or y of some points.
inline double getLargestCoordinate(const Point2& a, const Point2& b, const Point2& c) {
    return std::max(std::max(std::max(std::abs(a.x()), std::abs(a.y())), std::max(std::abs(b.x()), std::abs(b.y()))),
                    std::max(std::abs(c.x()), std::abs(c.y())));
}

/// How far apart two places may be, by rounding, that are meant to be one.
inline double getResolution(const Point2& a, const Point2& b) { return RESOLUTION * getLargestCoordinate(a, b, b); }
/// Whether two places may be meant to be one.
bool isSamePlace(const Point2& a, const Point2& b);

/// The second half of isNextTo, for what is next to the line.
bool isNextToBetweenEnds(const Point2& src, const Point2& trg, const Point2& vertex);

/// Whether a vertex is between the ends of a segment and not farther from it than RESOLUTION. Both parts that the vertex
/// divides the segment into are shorter than the whole, so that going on with them ends.
inline bool isNextTo(const Point2& src, const Point2& trg, const Point2& vertex) {
    const double dx = trg.x() - src.x(), dy = trg.y() - src.y();
    const double cross = dx * (vertex.y() - src.y()) - dy * (vertex.x() - src.x());
    // Nearly always the answer. Twice the resolution is more than all of these roundings can add; what overflows or
    // underflows passes.
    const double reach = 2.0 * RESOLUTION * getLargestCoordinate(src, trg, vertex);
    if (std::abs(cross) > reach * (std::abs(dx) + std::abs(dy))) return false;
    return isNextToBetweenEnds(src, trg, vertex);
}

/// The second half of isBeside, for what is next to the segment.
bool isFarFromEnds(const Point2& src, const Point2& trg, const Point2& vertex);

/// Whether a vertex that is not exactly on a segment counts as lying on it: it is next to it, and farther than END_ZONE from
/// both ends. A constraint is made to go through such a vertex, whichever of them comes first. Otherwise a triangle thinner
/// than rounding would stand between the two, and anything that crosses it later would have no place there.
inline bool isBeside(const Point2& src, const Point2& trg, const Point2& vertex) {
    return isNextTo(src, trg, vertex) && isFarFromEnds(src, trg, vertex);
}

/// Whether a point is farther from a segment than rounding brings one that was computed on it: than 1e-6 of its length and 4
/// units in the last place of its largest coordinate. Pieces that went over such a point would cross edges that the segment
/// does not.
bool isOffSegment(const Point2& src, const Point2& trg, const Point2& point);

}  // namespace LUMO_TARO25D
