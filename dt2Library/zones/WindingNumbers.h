#pragma once

#include <vector>

#include "kernel/VertexPairMap.h"
#include "kernel/triangleLists.h"
#include "support/PointerMap.h"

namespace LUMO_TARO25D {

/// How often a graph winds counterclockwise around what is beside its pieces.
class WindingNumbers {
  public:
    /// The pieces as they are passed; one that is passed several times comes as often.
    explicit WindingNumbers(const std::vector<DirectedEdge>& vPieces);

    /// False if the pieces make no rings, so that there are no winding numbers: one is no edge of the mesh, or at some
    /// vertex more of them begin than end.
    bool areClosed() const { return bClosed_; }
    /// Whether rings cross: there is a vertex around which the numbers differ by more than 1. So they do where rings only
    /// touch that turn different ways, or one of which lies in the other and turns the same way.
    bool doCross() const { return bClosed_ && bCrossing_; }
    /// The winding number on the left of a piece, looking from one end to the other.
    int getLeftOf(const Point2* pSrc, const Point2* pTrg) const;

  private:
    /// A piece from the end with the smaller address to the other one.
    struct Piece {
        int numPasses = 0;  // less those back
        int left = 0;       // the winding number there
        bool bFound = false;
    };
    struct VertexState {
        int surplus = 0;  // how many more pieces begin there than end
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

    std::vector<Piece> vPieces_;      // different ones
    VertexPairMap<Piece> pieces_;     // to places in this list
    PointerMap<VertexState> states_;  // of the vertices of the graph
    PointerMap<int> pathWindings_;    // of vertices between its parts
    std::vector<Visit> vToVisit_;
    bool bClosed_ = false, bCrossing_ = false;
};

}  // namespace LUMO_TARO25D
