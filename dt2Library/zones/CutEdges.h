#pragma once

#include <cstddef>
#include <vector>

#include "kernel/VertexPairMap.h"
#include "kernel/flatSets.h"
#include "kernel/triangleLists.h"
#include "taro25d/Point2.h"

namespace LUMO_TARO25D {

/// The edges that a cut has made, by their role, and what becomes of them when vertices divide them.
class CutEdges {
  public:
    /// Part of a segment, in its direction.
    void addPiece(Point2* pSrc, Point2* pTrg);
    /// A new edge inside what was one triangle.
    void addDiagonal(const Point2* p0, const Point2* p1) { sDiagonals_.insert(p0, p1); }
    /// Tells that the edge p0-p1, whatever its role is, goes through a vertex from now on.
    void inherit(const Point2* p0, const Point2* p1, Point2* pVtx);

    bool isPiece(const Point2* p0, const Point2* p1) const { return sPieces_.contains(p0, p1); }
    /// Whether an edge is neither a piece nor a part of an old edge that the surface may be creased along.
    bool isDiagonal(const Point2* p0, const Point2* p1) const {
        return sDiagonals_.contains(p0, p1) && !isPiece(p0, p1) && !sCreases_.contains(p0, p1);
    }
    bool isPieceOrCrease(const Point2* p0, const Point2* p1) const {
        return isPiece(p0, p1) || sCreases_.contains(p0, p1);
    }
    /// Appends the pieces as they are now, in the direction of their segments.
    void getDirectedPieces(std::vector<DirectedEdge>& vPieces) const;

  private:
    EdgeSet sPieces_;
    EdgeSet sDiagonals_;                   // some of which are pieces or creases by now
    EdgeSet sCreases_;                     // parts of old edges that began as diagonals
    std::vector<DirectedEdge> vDirected_;  // the pieces in the direction of their segments, as first made
    VertexPairMap<Point2> pieceSplits_;    // from pieces to the vertices that they go through since
    size_t numPieceSplits_ = 0;
};

}  // namespace LUMO_TARO25D
