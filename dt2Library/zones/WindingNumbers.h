#pragma once

#include <vector>

#include "kernel/VertexPairMap.h"
#include "kernel/triangleLists.h"
#include "support/PointerMap.h"

namespace LUMO_TARO25D {

/// The winding numbers of a graph, counterclockwise, on both sides of its pieces.
class WindingNumbers {
  public:
    /// The pieces in the direction of their passes; a piece that is passed several times is given several times.
    explicit WindingNumbers(const std::vector<DirectedEdge>& vPieces);

    /// False if the pieces do not form closed rings, so that there are no winding numbers: a piece is no edge of the
    /// mesh, or at some vertex more pieces begin than end.
    bool areClosed() const { return bClosed_; }
    /// Whether rings cross, that is, whether the numbers around some vertex differ by more than 1. This also holds
    /// where rings only touch, if they turn in opposite directions, or if one lies in the other and turns in the same
    /// direction.
    bool doCross() const { return bClosed_ && bCrossing_; }
    /// The winding number on the left of the piece from pSrc to pTrg.
    int getLeftOf(const Point2* pSrc, const Point2* pTrg) const;

  private:
    /// A piece from the end with the smaller address to the other one.
    struct Piece {
        int numPasses = 0;  // forward minus backward
        int left = 0;       // the winding number on its left
        bool bFound = false;
    };
    struct VertexState {
        int surplus = 0;  // pieces that begin there minus pieces that end there
        bool bDone = false;
    };
    /// A vertex of the graph, and a triangle at it whose winding number is known.
    struct Visit {
        const Point2* pVtx;
        const Triangle2* pT;
        int winding;
    };

    void notePass(const DirectedEdge& edge);
    void visitPart(const Point2* pSmallest);
    int followPath(const Triangle2* pT);
    int getWinding(const Point2* pVtx, const Triangle2* pT) const;
    void rotate(const Visit& visit);
    bool crossEdge(const Point2* pVtx, const Point2* pEnd, int& winding);

    std::vector<Piece> vPieces_;      // each piece once
    VertexPairMap<Piece> pieces_;     // into vPieces_
    PointerMap<VertexState> states_;  // of the vertices of the graph
    PointerMap<int> pathWindings_;    // of vertices between its parts
    std::vector<Visit> vToVisit_;
    const Point2* pSmallest_ = nullptr;  // of the vertices of the graph
    bool bClosed_ = false, bCrossing_ = false;
};

}  // namespace LUMO_TARO25D
