#pragma once

namespace LUMO_TARO25D {

class Dt2;

/// Chooses the diagonals of cocircular vertices by coordinates alone, as Taro_2D::canonicalizeDiagonals documents.
void canonicalizeDiagonals(Dt2& mesh);

}  // namespace LUMO_TARO25D
