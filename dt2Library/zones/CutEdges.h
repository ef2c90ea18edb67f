#pragma once

#include <cstddef>
#include <vector>

#include "kernel/VertexPairMap.h"
#include "kernel/flatSets.h"
#include "kernel/triangleLists.h"
#include "taro25d/Point2.h"

namespace LUMO_TARO25D {

/// The edges that a cut has made, by role, and their division by later vertices.
class CutEdges {
  public:
    /// Adds a part of a segment, in the direction of the segment.
    void addPiece(Point2* pSrc, Point2* pTrg);
    /// Adds a new edge inside a former triangle of the surface.
    void addDiagonal(const Point2* p0, const Point2* p1) { sDiagonals_.insert(p0, p1); }
    /// Notes that a vertex has divided the edge p0-p1: both halves take over its role.
    void inherit(const Point2* p0, const Point2* p1, Point2* pVtx);

    bool isPiece(const Point2* p0, const Point2* p1) const { return sPieces_.contains(p0, p1); }
    /// Whether an edge is a diagonal and neither a piece nor a part of an old edge, along which the surface may be
    /// creased.
    bool isDiagonal(const Point2* p0, const Point2* p1) const {
        return sDiagonals_.contains(p0, p1) && !isPiece(p0, p1) && !sCreases_.contains(p0, p1);
    }
    bool isPieceOrCrease(const Point2* p0, const Point2* p1) const {
        return isPiece(p0, p1) || sCreases_.contains(p0, p1);
    }
    /// Appends the pieces in their present division, in the direction of their segments.
    void getDirectedPieces(std::vector<DirectedEdge>& vPieces) const;

  private:
    EdgeSet sPieces_;
    EdgeSet sDiagonals_;                   // some of them have become pieces or creases
    EdgeSet sCreases_;                     // parts of old edges, some of which were diagonals first
    std::vector<DirectedEdge> vDirected_;  // the pieces in the direction of their segments, as first made
    VertexPairMap<Point2> pieceSplits_;    // from divided pieces to the vertices that divide them
    size_t numPieceSplits_ = 0;
};

}  // namespace LUMO_TARO25D
