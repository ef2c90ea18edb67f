#include "mesh/walk.h"

#include <random>

#include "kernel/links.h"
#include "kernel/tools.h"
#include "support/diagnostics.h"

namespace LUMO_TARO25D {

namespace {

constexpr int MAX_ORDERED_STEPS = 1000;

constexpr int CODE_WALK_ON = 5;

/// Continues from a triangle whose hull edge idx is collinear with p: returns CODE_WALK_ON with the next triangle, or
/// the index of the hull edge of pT across which, or on which, p lies.
int locateCoplanarExtension(const Point2* p, Triangle2*& pT, int idx, GeomTest& geomTest) {
    for (const int i : {incIndexBy1(idx), incIndexBy2(idx)}) {
        const Orientation2 ori =
            geomTest.getOrientation2(pT->getCorner(incIndexBy2(i)), pT->getCorner(incIndexBy1(i)), p);
        if (ori != ORIENTATION2_CCW) continue;
        Triangle2* pN = pT->getOppositeTriangle(i);
        if (!pN) return i;
        pT = pN;
        return CODE_WALK_ON;
    }
    return idx;
}

}  // namespace

int walk(const Point2* p, Triangle2*& pT, int& idx, GeomTest& geomTest) {
    TARO_ASSERT_TEXT(pT != nullptr, "pStartTriangle!=__null");
    idx = -1;
    int i = 0;
    int numEdges = 3;  // edges still to be tested in this triangle, from edge i on
    std::minstd_rand random;
    for (int numSteps = 0; numEdges > 0;) {
        const int next = incIndexBy1(i), afterNext = incIndexBy2(i);
        const Orientation2 ori = geomTest.getOrientation2(pT->getCorner(afterNext), pT->getCorner(next), p);
        if (ori == ORIENTATION2_CCW) {
            Triangle2* pN = pT->getOppositeTriangle(i);
            if (!pN) return i;
            // p lies strictly on the inner side of the edge of entry, which need not be tested again. A long walk may
            // be cycling, which is possible among constraints: from then on it starts at a random edge. The seed is
            // fixed, so that only the mesh and the point decide where the walk ends.
            const bool bOrdered = ++numSteps <= MAX_ORDERED_STEPS;
            i = bOrdered ? incIndexBy1(indexOfNeighbour(pN, pT)) : static_cast<int>(random() % 3);
            numEdges = bOrdered ? 2 : 3;
            idx = -1;
            pT = pN;
            continue;
        }
        if (ori == ORIENTATION2_COLLINEAR) {
            for (int k = 0; k < 3; ++k) {
                if (*pT->getCorner(k) == *p) return CODE_DUPLICATE;
            }
            idx = i;
            if (!pT->getOppositeTriangle(i)) {
                const int code = locateCoplanarExtension(p, pT, i, geomTest);
                if (code != CODE_WALK_ON) return code;
                i = 0;
                numEdges = 3;
                idx = -1;
                continue;
            }
        }
        i = next;
        --numEdges;
    }
    return CODE_INSIDE;
}

}  // namespace LUMO_TARO25D
