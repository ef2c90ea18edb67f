#pragma once

namespace LUMO_TARO25D {

class Point2;

/// A height that came to a vertex which had another one (Taro_2D::getHeightConflicts).
struct HeightConflict {
    Point2* pVtx;   ///< The vertex; not owned.
    double zKept;   ///< Its height after the meeting, by the rule that held then.
    double zOther;  ///< The height that came.
};

}  // namespace LUMO_TARO25D
