#include "kernel/nearness.h"

#include "kernel/tools.h"
#include "taro25d/freeFunctions.h"

namespace LUMO_TARO25D {

bool isBesideBetweenEnds(const Point2& src, const Point2& trg, const Point2& vertex) {
    const double magnitude = getLargestCoordinate(src, trg, vertex), length = distance2D(src, trg);
    const double toSrc = distance2D(vertex, src), toTrg = distance2D(vertex, trg);
    if (!(std::min(toSrc, toTrg) > END_ZONE * magnitude) || !(std::max(toSrc, toTrg) < length)) return false;
    // Seen from the nearer end, where the differences lose least.
    const bool bFromSrc = toSrc < toTrg || (toSrc == toTrg && src < trg);
    return getPointLineDistance2D(vertex, bFromSrc ? src : trg, bFromSrc ? trg : src) <= RESOLUTION * magnitude;
}

}  // namespace LUMO_TARO25D
