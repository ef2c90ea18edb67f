#pragma once

#include <algorithm>
#include <cmath>

#include "kernel/tolerances.h"
#include "taro25d/Point2.h"

namespace LUMO_TARO25D {

// Places that rounding cannot tell apart. All distances are relative to the coordinates, so that a geometry scaled by a
// power of two gets the same answers; none depends on the order of the ends of a segment.

/// The largest absolute x or y of some points.
inline double getLargestCoordinate(const Point2& a, const Point2& b, const Point2& c) {
    return std::max(std::max(std::max(std::abs(a.x()), std::abs(a.y())), std::max(std::abs(b.x()), std::abs(b.y()))),
                    std::max(std::abs(c.x()), std::abs(c.y())));
}

/// The greatest distance, by rounding, between two computed places that are meant to be one.
inline double getResolution(const Point2& a, const Point2& b) { return RESOLUTION * getLargestCoordinate(a, b, b); }
/// Whether two places may be meant to be one.
bool isSamePlace(const Point2& a, const Point2& b);

/// The second half of isNextTo, for a vertex that is next to the line.
bool isNextToBetweenEnds(const Point2& src, const Point2& trg, const Point2& vertex);

/// Whether a vertex is between the ends of a segment and not farther from it than RESOLUTION. Both parts into which
/// such a vertex divides the segment are shorter than the whole, so that repeated division ends.
inline bool isNextTo(const Point2& src, const Point2& trg, const Point2& vertex) {
    const double dx = trg.x() - src.x(), dy = trg.y() - src.y();
    const double cross = dx * (vertex.y() - src.y()) - dy * (vertex.x() - src.x());
    // This decides nearly all cases. Twice the resolution exceeds the sum of these rounding errors; a result that
    // overflows or underflows passes the test.
    const double reach = 2.0 * RESOLUTION * getLargestCoordinate(src, trg, vertex);
    if (std::abs(cross) > reach * (std::abs(dx) + std::abs(dy))) return false;
    return isNextToBetweenEnds(src, trg, vertex);
}

/// The second half of isBeside, for a vertex that is next to the segment.
bool isFarFromEnds(const Point2& src, const Point2& trg, const Point2& vertex);

/// Whether a vertex that is not exactly on a segment counts as lying on it: it is next to it, and farther than END_ZONE
/// from both ends. A constraint is bent to go through such a vertex, whichever of the two comes first. Otherwise a
/// triangle thinner than rounding would lie between them, and a later segment that crosses it could have no vertex
/// there.
inline bool isBeside(const Point2& src, const Point2& trg, const Point2& vertex) {
    return isNextTo(src, trg, vertex) && isFarFromEnds(src, trg, vertex);
}

/// Whether a point is farther from a segment than a point computed on it can be by rounding: farther than 1e-6 of its
/// length plus 4 units in the last place of its largest coordinate. Pieces through such a point would cross edges that
/// the segment does not cross.
bool isOffSegment(const Point2& src, const Point2& trg, const Point2& point);

}  // namespace LUMO_TARO25D
