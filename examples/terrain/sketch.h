#pragma once

#include <cstddef>

#include "taro25d/Taro_2D.h"

namespace terrain {

/// Fills an empty triangulation with at most about maxPoints points of the ground, chosen so that its surface
/// stays as close to the ground as it can: many where the ground is rough, few where it is even. The corners
/// of the hull are always among them. The ground must be triangulated.
void sketchGround(const LUMO_TARO25D::Taro_2D& ground, size_t maxPoints, LUMO_TARO25D::Taro_2D& sketch);

}  // namespace terrain
