#pragma once

#include <cstdint>
#include <vector>

#include "modelling/PointBuckets.h"

namespace LUMO_TARO25D {

/// The numbers of the places at the corners of the convex hull, of all places if these are on one line. No two places are equal.
/// O(n + h log h) where h places are outside the polygon of the extreme ones in eight directions, few of most clouds.
std::vector<std::uint32_t> getHullCorners(const std::vector<PointBuckets::Place>& vPlaces);

}  // namespace LUMO_TARO25D
