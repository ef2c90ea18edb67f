#pragma once

namespace LUMO_TARO25D {

class Dt2;

/// Chooses all diagonals that circles leave open by coordinates alone, as Taro_2D::canonicalizeDiagonals.
void canonicalizeDiagonals(Dt2& mesh);

}  // namespace LUMO_TARO25D
