#pragma once

#include <utility>

#include "taro25d/Point2.h"
#include "taro25d/Triangle2.h"

namespace LUMO_TARO25D {

class Dt2;

/// A piece of a line that shall be an edge of a mesh, and a triangle that had it as an edge when it was last looked
/// for, or null.
struct LinePiece {
    LinePiece(Point2* pSource, Point2* pTarget) : pSrc(pSource), pTrg(pTarget) {}

    std::pair<Point2*, Point2*> getEnds() const { return {pSrc, pTrg}; }

    Point2 *pSrc, *pTrg;
    const Triangle2* pT = nullptr;
};

/// Whether a piece is an edge of the mesh; keeps the triangle found. The search begins there or, if that triangle has
/// changed, at pNear, which may be null: the triangle of the piece that ends where this one begins is good.
bool isEdge(const Dt2& mesh, LinePiece& piece, const Triangle2* pNear);

}  // namespace LUMO_TARO25D
