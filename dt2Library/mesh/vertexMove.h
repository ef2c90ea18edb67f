#pragma once

#include "taro25d/Point2.h"

namespace LUMO_TARO25D {

class Dt2;

/// Moves a vertex to another place, as Taro_2D::moveVertex documents.
bool moveVertex(Dt2& mesh, Point2* pVtx, const Point2& target);

}  // namespace LUMO_TARO25D
