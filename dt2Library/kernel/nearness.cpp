#include "kernel/nearness.h"

#include <limits>

#include "kernel/tools.h"
#include "taro25d/freeFunctions.h"

namespace LUMO_TARO25D {

bool isSamePlace(const Point2& a, const Point2& b) { return distance2D(a, b) <= getResolution(a, b); }

bool isNextToBetweenEnds(const Point2& src, const Point2& trg, const Point2& vertex) {
    const double toSrc = distance2D(vertex, src), toTrg = distance2D(vertex, trg);
    if (!(std::max(toSrc, toTrg) < distance2D(src, trg))) return false;
    // From the nearer end, where the differences lose the fewest digits.
    const bool bFromSrc = toSrc < toTrg || (toSrc == toTrg && src < trg);
    const double distance = getPointLineDistance2D(vertex, bFromSrc ? src : trg, bFromSrc ? trg : src);
    return distance <= RESOLUTION * getLargestCoordinate(src, trg, vertex);
}

bool isFarFromEnds(const Point2& src, const Point2& trg, const Point2& vertex) {
    const double toNearer = std::min(distance2D(vertex, src), distance2D(vertex, trg));
    return toNearer > END_ZONE * getLargestCoordinate(src, trg, vertex);
}

bool isOffSegment(const Point2& src, const Point2& trg, const Point2& point) {
    const double magnitude = std::max({std::abs(src.x()), std::abs(src.y()), std::abs(trg.x()), std::abs(trg.y())});
    const double distance = approxHasOn(src, trg, point) ? getPointLineDistance2D(point, src, trg)
                                                         : std::min(distance2D(point, src), distance2D(point, trg));
    const double unit = std::ldexp(1.0, std::ilogb(std::max(magnitude, std::numeric_limits<double>::min())) - 52);
    return distance > MAX_OFFSET * distance2D(src, trg) + MAX_OFFSET_UNITS * unit;
}

}  // namespace LUMO_TARO25D
