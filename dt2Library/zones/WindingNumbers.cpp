// Winding numbers from the links of the mesh alone, so that rounding cannot falsify them: the pieces are edges, which
// do not cross, and a step over an edge changes the number by the net count of passes along it.
//
// A turn around a vertex of the graph gives the numbers on both sides of all pieces there, and pieces lead from vertex
// to vertex through a connected part of the graph. Each part is entered at its smallest vertex by x, then y. To find
// the number there, a path goes from vertex to smallest neighbour. It crosses no piece, since its vertices are smaller
// than all vertices of this part and of the parts that are not done; parts are done in the order of their smallest
// vertices. The path ends at a part that is done, or at a vertex that is smaller than the whole graph: the places
// smaller than that form a half-plane without pieces, so that the number there is 0. In the triangulation of a convex
// region every vertex except the smallest has a smaller neighbour. Numbers along paths are stored, so that each vertex
// is passed once.
//
// Linear in the degrees of the vertices of the graph and of the paths, which only lead between its parts; O(n log n)
// for n vertices if there are several parts.

#include "zones/WindingNumbers.h"

#include <algorithm>
#include <functional>

#include "kernel/links.h"
#include "support/stopping.h"
#include "taro25d/TriangleAroundVertexIterator.h"

namespace LUMO_TARO25D {

namespace {

bool isLess(const Point2* p, const Point2* q) { return *p < *q; }

const Point2* getSmallestCorner(const Triangle2* pT) {
    return std::min({pT->getCorner(0), pT->getCorner(1), pT->getCorner(2)}, isLess);
}

/// A triangle at a vertex that contains its smallest neighbour, or the vertex itself if that is smaller.
const Triangle2* getSmallestTriangle(const Point2* pVtx) {
    TriangleAroundVertexIterator it(pVtx);
    const Triangle2 *const pFirst = *it, *pBest = pFirst;
    for (++it; *it != pFirst; ++it) {
        if (isLess(getSmallestCorner(*it), getSmallestCorner(pBest))) pBest = *it;
    }
    return pBest;
}

/// The other end of the edge clockwise, and counterclockwise, of a triangle at a vertex.
const Point2* getClockwiseEnd(const Triangle2* pT, const Point2* pVtx) {
    return pT->getCorner(incIndexBy1(indexOfVertex(pT, pVtx)));
}
const Point2* getCounterclockwiseEnd(const Triangle2* pT, const Point2* pVtx) {
    return pT->getCorner(incIndexBy2(indexOfVertex(pT, pVtx)));
}

/// Whether the hull follows counterclockwise of a triangle at a vertex.
bool isBeforeGap(const Triangle2* pT, const Point2* pVtx) {
    return !pT->getOppositeTriangle(incIndexBy1(indexOfVertex(pT, pVtx)));
}

}  // namespace

WindingNumbers::WindingNumbers(const std::vector<DirectedEdge>& vPieces) {
    vPieces_.reserve(vPieces.size());
    pieces_.reserve(vPieces.size());
    states_.reserve(vPieces.size());
    CancelPoint<> cancelPoint;
    for (const DirectedEdge& piece : vPieces) {
        cancelPoint.pass();
        notePass(piece);
    }
    std::vector<const Point2*> vVertices;  // of closed rings, at each of which a piece begins
    for (const auto& [pSrc, pTrg] : vPieces) {
        if (states_.find(pSrc)->surplus != 0 || states_.find(pTrg)->surplus != 0) return;
        vVertices.push_back(pSrc);
    }
    const auto isDone = [this](const Point2* pVtx) { return states_.find(pVtx)->bDone; };
    if (!vVertices.empty()) {
        pSmallest_ = *std::min_element(vVertices.begin(), vVertices.end(), isLess);
        visitPart(pSmallest_);
    }
    vVertices.erase(std::remove_if(vVertices.begin(), vVertices.end(), isDone), vVertices.end());
    std::sort(vVertices.begin(), vVertices.end(), withCancelPoints(isLess));
    for (const Point2* pVtx : vVertices) {
        if (!isDone(pVtx)) visitPart(pVtx);
    }
    bClosed_ = std::all_of(vPieces_.begin(), vPieces_.end(), [](const Piece& piece) { return piece.bFound; });
}

int WindingNumbers::getLeftOf(const Point2* pSrc, const Point2* pTrg) const {
    const Piece& piece = *pieces_.find(pSrc, pTrg);
    return std::less<>()(pSrc, pTrg) ? piece.left : piece.left - piece.numPasses;
}

void WindingNumbers::notePass(const DirectedEdge& edge) {
    const auto& [pSrc, pTrg] = edge;
    ++states_[pSrc].surplus;
    --states_[pTrg].surplus;
    Piece* pPiece = pieces_.find(pSrc, pTrg);
    if (!pPiece) {
        pPiece = &vPieces_.emplace_back();
        pieces_.add(pSrc, pTrg, pPiece);
    }
    pPiece->numPasses += std::less<>()(pSrc, pTrg) ? 1 : -1;
}

/// Finds the numbers along a connected part of the graph, from its smallest vertex.
void WindingNumbers::visitPart(const Point2* pSmallest) {
    const Triangle2* pT = getSmallestTriangle(pSmallest);
    if (getSmallestCorner(pT) != pSmallest) {
        vToVisit_.push_back({pSmallest, pT, followPath(pT)});
    } else {
        // The smallest vertex of the mesh is on the hull, outside of which the number is 0.
        TriangleAroundVertexIterator it(pSmallest);
        it.loop();
        int winding = 0;
        crossEdge(pSmallest, getClockwiseEnd(*it, pSmallest), winding);
        vToVisit_.push_back({pSmallest, *it, winding});
    }
    CancelPoint<> cancelPoint;
    while (!vToVisit_.empty()) {
        cancelPoint.pass();
        const Visit visit = vToVisit_.back();
        vToVisit_.pop_back();
        VertexState& state = states_[visit.pVtx];
        if (!state.bDone) rotate(visit);
        state.bDone = true;
    }
}

/// The winding number of a triangle at the smallest vertex of the parts that are not done.
int WindingNumbers::followPath(const Triangle2* pT) {
    std::vector<const Point2*> vPath;
    CancelPoint<> cancelPoint;
    int winding = 0;
    for (const Point2* pVtx = nullptr; pVtx != getSmallestCorner(pT); pT = getSmallestTriangle(pVtx)) {
        pVtx = getSmallestCorner(pT);
        if (isLess(pVtx, pSmallest_)) break;
        const int* pKnown = pathWindings_.find(pVtx);
        if (pKnown || states_.find(pVtx)) {
            winding = pKnown ? *pKnown : getWinding(pVtx, pT);
            break;
        }
        cancelPoint.pass();
        vPath.push_back(pVtx);
    }
    for (const Point2* pVtx : vPath) pathWindings_.add(pVtx, winding);
    return winding;
}

/// The winding number of a triangle at a visited vertex: the number on this side of the next piece counterclockwise.
int WindingNumbers::getWinding(const Point2* pVtx, const Triangle2* pT) const {
    TriangleAroundVertexIterator it(pVtx);
    while (*it != pT) ++it;
    do {
        const Point2* pEnd = getCounterclockwiseEnd(*it, pVtx);
        if (pieces_.find(pVtx, pEnd)) return getLeftOf(pEnd, pVtx);
        if (isBeforeGap(*it, pVtx)) return 0;
        ++it;
    } while (*it != pT);
    return 0;  // the pieces at the vertex are no edges
}

/// Finds the numbers around a vertex, and pushes the vertices at the other ends of its pieces.
void WindingNumbers::rotate(const Visit& visit) {
    const Point2* pVtx = visit.pVtx;
    TriangleAroundVertexIterator it(pVtx);
    while (*it != visit.pT) ++it;
    int winding = visit.winding, min = winding, max = winding;
    const auto note = [&] {
        min = std::min(min, winding);
        max = std::max(max, winding);
    };
    do {
        note();
        const Triangle2* pT = *it;
        const int ofTriangle = winding;
        const Point2* pEnd = getCounterclockwiseEnd(pT, pVtx);
        if (crossEdge(pVtx, pEnd, winding)) vToVisit_.push_back({pEnd, pT, ofTriangle});
        ++it;
        if (!isBeforeGap(pT, pVtx)) continue;
        note();
        pEnd = getClockwiseEnd(*it, pVtx);
        if (crossEdge(pVtx, pEnd, winding)) vToVisit_.push_back({pEnd, *it, winding});
    } while (*it != visit.pT);
    bCrossing_ = bCrossing_ || max - min > 1;
}

/// Goes counterclockwise over an edge at a vertex; true if it is a piece.
bool WindingNumbers::crossEdge(const Point2* pVtx, const Point2* pEnd, int& winding) {
    Piece* pPiece = pieces_.find(pVtx, pEnd);
    if (!pPiece) return false;
    const bool bForward = std::less<>()(pVtx, pEnd);
    const int before = winding;
    winding += bForward ? pPiece->numPasses : -pPiece->numPasses;
    pPiece->left = bForward ? winding : before;
    pPiece->bFound = true;
    return true;
}

}  // namespace LUMO_TARO25D
