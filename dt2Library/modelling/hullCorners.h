#pragma once

#include <cstdint>
#include <vector>

#include "modelling/PointBuckets.h"

namespace LUMO_TARO25D {

/// The numbers of the places at the corners of the convex hull; of all places if these are collinear. No two places may
/// be equal. O(n + h log h) for h places outside the polygon of the extreme places in eight directions; h is small for
/// most point clouds.
std::vector<std::uint32_t> getHullCorners(const std::vector<PointBuckets::Place>& vPlaces);

}  // namespace LUMO_TARO25D
