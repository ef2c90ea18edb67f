#pragma once

#include <cstddef>

namespace LUMO_TARO25D {

class Dt2;

/// The heights of the surface at places given as (x, y) pairs, on the threads of the mesh; NaN outside. Returns the
/// number of places inside.
size_t getHeights(const Dt2& mesh, size_t num, const double* aXY, double* aHeights);

}  // namespace LUMO_TARO25D
