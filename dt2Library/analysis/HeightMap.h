#pragma once

#include <limits>

#include "support/RecordMap.h"
#include "taro25d/Point2.h"

namespace LUMO_TARO25D {

/// The heights of a vertex on two surfaces.
struct BeforeAfter {
    static constexpr double MISSING = std::numeric_limits<double>::max();

    double aHeights[2] = {MISSING, MISSING};  // before, after
    double combined = MISSING;                // before minus after, or 0 if that counts as no change

    double before() const { return aHeights[0]; }
    double after() const { return aHeights[1]; }
};

/// The heights of the vertices of a combined triangulation.
class HeightMap : public RecordMap<Point2, BeforeAfter> {};

}  // namespace LUMO_TARO25D
