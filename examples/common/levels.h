#pragma once

#include <vector>

#include "taro25d/IsoContours.h"
#include "taro25d/Segment2.h"

namespace examples {

using Polyline = std::vector<LUMO_TARO25D::Segment2>;

bool isClosed(const Polyline& vLine);

/// The contours at one height.
struct Level {
    double height;
    bool bHeavy;  ///< every fifth, as maps draw them
    std::vector<Polyline> vLines;
};

/// A round interval that makes at least 15 steps of the range; 1 for level ground. Throws terrain::BadInput for
/// heights that are so near to each other, or so far apart, that there is none.
double proposeInterval(const LUMO_TARO25D::IsoContours& isoContours);

/// The contours at all multiples of the interval between the lowest and the highest point. Throws CLI::ValidationError
/// for an interval that makes more than a thousand of them.
std::vector<Level> takeLevels(const LUMO_TARO25D::IsoContours& isoContours, double interval);

}  // namespace examples
