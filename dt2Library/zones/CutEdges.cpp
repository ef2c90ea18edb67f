#include "zones/CutEdges.h"

namespace LUMO_TARO25D {

void CutEdges::addPiece(Point2* pSrc, Point2* pTrg) {
    sPieces_.insert(pSrc, pTrg);
    vDirected_.emplace_back(pSrc, pTrg);
}

void CutEdges::inherit(const Point2* p0, const Point2* p1, Point2* pVtx) {
    const bool bPiece = isPiece(p0, p1);
    if (bPiece && !pieceSplits_.find(p0, p1)) {
        pieceSplits_.add(p0, p1, pVtx);
        ++numPieceSplits_;
    }
    EdgeSet& sHeirs = bPiece ? sPieces_ : isDiagonal(p0, p1) ? sDiagonals_ : sCreases_;
    sHeirs.insert(p0, pVtx);
    sHeirs.insert(pVtx, p1);
}

void CutEdges::getDirectedPieces(std::vector<DirectedEdge>& vPieces) const {
    for (const DirectedEdge& whole : vDirected_) {
        std::vector<DirectedEdge> vStack{whole};
        for (size_t numLeft = numPieceSplits_; !vStack.empty();) {
            const auto [pSrc, pTrg] = vStack.back();
            vStack.pop_back();
            Point2* pVtx = numLeft > 0 ? pieceSplits_.find(pSrc, pTrg) : nullptr;
            if (pVtx) {
                --numLeft;
                vStack.insert(vStack.end(), {{pVtx, pTrg}, {pSrc, pVtx}});
            } else {
                vPieces.emplace_back(pSrc, pTrg);
            }
        }
    }
}

}  // namespace LUMO_TARO25D
