#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

#include "kernel/links.h"
#include "taro25d/Triangle2.h"

namespace LUMO_TARO25D {

/// Steps along the hull, from edge to edge.
///
/// A step turns around the vertex between two hull edges, through all its triangles. Where the degree of a hull vertex
/// grows with the mesh (a long line with one point beside it), every insertion next to it would cost that degree. So
/// the end of each long turn is remembered with its vertex. A hull vertex has one hull edge on each side: a remembered
/// edge that still starts (ends) at the vertex and still has no neighbour is the end of the turn, whatever happened to
/// the mesh meanwhile. Dead records have no corners and fail that test.
class HullHubs {
  public:
    /// Moves hull edge i of pT to the next one counterclockwise.
    void toNext(Triangle2*& pT, int& i) { turn(pT, i, 1); }
    /// Moves hull edge i of pT to the next one clockwise.
    void toPrevious(Triangle2*& pT, int& i) { turn(pT, i, 2); }

  private:
    struct End {
        const Point2* pVtx = nullptr;
        Triangle2* pT = nullptr;
        int i = 0;
    };
    static constexpr int LONG_TURN = 32;
    static constexpr std::size_t NUM_PLACES = 64;  // for each direction

    /// The next hull edge starts at the vertex that is `step` corners after corner i, the previous one ends there.
    void turn(Triangle2*& pT, int& i, int step) {
        const Point2* pVtx = pT->getCorner((i + 3 - step) % 3);
        End& end = aEnds_[step - 1][(reinterpret_cast<std::uintptr_t>(pVtx) / sizeof(Point2)) % NUM_PLACES];
        if (end.pVtx == pVtx && end.pT->getCorner((end.i + step) % 3) == pVtx && !end.pT->getOppositeTriangle(end.i)) {
            pT = end.pT;
            i = end.i;
            return;
        }
        int numTriangles = 1;
        for (i = (i + step) % 3; Triangle2* pN = pT->getOppositeTriangle(i); ++numTriangles) {
            i = (indexOfNeighbour(pN, pT) + step) % 3;
            pT = pN;
        }
        if (numTriangles > LONG_TURN) end = {pVtx, pT, i};
    }

    std::array<std::array<End, NUM_PLACES>, 2> aEnds_;
};

}  // namespace LUMO_TARO25D
