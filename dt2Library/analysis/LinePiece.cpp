// Along a line, each piece begins where the one before ends, so the triangle of that one is the first to look at, and a
// few steps around the vertex lead to the next piece. A piece that was an edge before is one as long as its triangle
// has not changed.

#include "analysis/LinePiece.h"

#include "kernel/links.h"
#include "kernel/tools.h"
#include "mesh/Dt2.h"

namespace LUMO_TARO25D {

namespace {

constexpr int MAX_LOOKED = 16;

/// Turns around a vertex until a triangle has another one too, and counts numLeft down for each triangle. Returns the
/// triangle at which numLeft became 0 if that comes first, and null if the turn ends at the hull.
const Triangle2* turn(const Point2* pVtx, const Point2* pOther, const Triangle2* pFirst, bool bLeft, int& numLeft) {
    const Triangle2* pT = pFirst;
    do {
        if (pT->hasVertex(pOther) || --numLeft == 0) return pT;
        const int i = indexOfVertex(pT, pVtx);
        pT = pT->getOppositeTriangle(bLeft ? incIndexBy1(i) : incIndexBy2(i));
    } while (pT && pT != pFirst);
    return pT == pFirst ? pT : nullptr;
}

}  // namespace

bool isEdge(const Dt2& mesh, LinePiece& piece, const Triangle2* pNear) {
    if (piece.pT && piece.pT->hasVertex(piece.pSrc) && piece.pT->hasVertex(piece.pTrg)) return true;
    const bool bNear = pNear && pNear->hasVertex(piece.pSrc);
    const Triangle2* pFirst = bNear ? pNear : piece.pSrc->getIncidentTriangle();
    int numLeft = MAX_LOOKED;
    piece.pT = turn(piece.pSrc, piece.pTrg, pFirst, true, numLeft);
    if (!piece.pT) piece.pT = turn(piece.pSrc, piece.pTrg, pFirst, false, numLeft);  // beyond the hull
    if (piece.pT && piece.pT->hasVertex(piece.pTrg)) return true;
    piece.pT = nullptr;
    return numLeft == 0 && mesh.isEdge(piece.pSrc, piece.pTrg);
}

}  // namespace LUMO_TARO25D
