#pragma once

#include <array>
#include <cstddef>
#include <iosfwd>
#include <vector>

#include "taro25d/Triangle2.h"

namespace LUMO_TARO25D {

/// The numbers of interior angles of triangles in bins of ten degrees.
using AngleDistribution = std::array<size_t, 18>;

/// Counts the angles in x-y. An angle whose sides overflow, since its corners are too far apart, is left out.
AngleDistribution analyzeAngles(const std::vector<Triangle2*>& vTriangles);

/// Prints a table with the count and the share of each bin.
void printAngles(std::ostream& out, const AngleDistribution& angles);

}  // namespace LUMO_TARO25D
