#pragma once

namespace LUMO_TARO25D {

class Point2;

/// Two different heights that met at one vertex (Taro_2D::getHeightConflicts).
struct HeightConflict {
    Point2* pVtx;   ///< The vertex; not owned.
    double zKept;   ///< Its height after the meeting, by the rule that held then.
    double zOther;  ///< The other height.
};

}  // namespace LUMO_TARO25D
