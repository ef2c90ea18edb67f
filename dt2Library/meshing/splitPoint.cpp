#include "meshing/splitPoint.h"

#include <algorithm>
#include <cmath>
#include <utility>

#include "kernel/links.h"
#include "kernel/nearness.h"
#include "kernel/tools.h"
#include "support/diagnostics.h"
#include "taro25d/freeFunctions.h"

namespace LUMO_TARO25D {

namespace {

/// Whether both ends of edge i are visible from a place beside it: the place lies inside one of its two triangles, or
/// between the ends. A place farther away could be behind another edge.
bool isVisible(GeomTest& geomTest, const Triangle2* pT, int i, const Point2& place) {
    const auto isInside = [&geomTest, &place](const Triangle2* pSide, int k) {
        const Point2 *pApex = pSide->getCorner(k), *pSrc = pSide->getCorner(incIndexBy1(k)),
                     *pTrg = pSide->getCorner(incIndexBy2(k));
        return geomTest.getOrientation2(pSrc, pTrg, &place) != ORIENTATION2_CW &&
               geomTest.getOrientation2(pTrg, pApex, &place) == ORIENTATION2_CCW &&
               geomTest.getOrientation2(pApex, pSrc, &place) == ORIENTATION2_CCW;
    };
    const Triangle2* pN = pT->getOppositeTriangle(i);
    return isInside(pT, i) || (pN && isInside(pN, indexOfNeighbour(pN, pT)));
}

/// The unit in the last place of a number of any magnitude; for 0, that of the extent.
double getUnit(double value, double extent) {
    int exponent;
    const double mantissa = std::frexp(value == 0.0 ? extent : value, &exponent);
    return std::ldexp(getUlp(mantissa), exponent);
}

bool isCorner(const Triangle2* pT, const Point2& point) {
    return point == *pT->getCorner(0) || point == *pT->getCorner(1) || point == *pT->getCorner(2);
}

}  // namespace

bool computeCenterWithoutConflict(GeomTest* pGeomTest, Triangle2* pT, int edgeIndex, Point2& splitPoint) {
    const Point2 *pSrc = pT->getCorner(incIndexBy1(edgeIndex)), *pTrg = pT->getCorner(incIndexBy2(edgeIndex));
    const Point2 middle = centerWithShift(*pSrc, *pTrg);
    const double extent = std::max(std::abs(pTrg->x() - pSrc->x()), std::abs(pTrg->y() - pSrc->y()));
    const double ulpX = getUnit(middle.x(), extent), ulpY = getUnit(middle.y(), extent);
    const auto shifted = [&](int i, int j) { return Point2(middle.x() + i * ulpX, middle.y() + j * ulpY, middle.z()); };
    const auto take = [&](const Point2& candidate, bool bTake) {
        if (bTake) splitPoint = candidate;
        return bTake;
    };
    const auto isOnEdge = [&](const Point2& candidate) {
        return pGeomTest->getOrientation2(pSrc, pTrg, &candidate) == ORIENTATION2_COLLINEAR &&
               approxHasOn(*pSrc, *pTrg, candidate);
    };
    for (const auto& [i, j] : {std::pair(0, 0), std::pair(0, 1), std::pair(1, 0), std::pair(1, 1)}) {
        const Point2 candidate = shifted(i, j);
        if (take(candidate, isOnEdge(candidate))) return true;
    }
    for (int k = 0; k <= 4; ++k) {
        for (const int i : {0, k, -k}) {
            for (const int j : {0, k, -k}) {
                const Point2 candidate = shifted(i, j);
                const bool bFits =
                    isVisible(*pGeomTest, pT, edgeIndex, candidate) && !isOffSegment(*pSrc, *pTrg, candidate);
                if (take(candidate, bFits)) return true;
            }
        }
    }
    return false;
}

bool canBeSplit(GeomTest& geomTest, Triangle2* pT, int edgeIndex) {
    Point2 splitPoint;
    return computeCenterWithoutConflict(&geomTest, pT, edgeIndex, splitPoint) && !isCorner(pT, splitPoint);
}

bool findSplitPoint(GeomTest& geomTest, Triangle2* pT, int edgeIndex, Point2& splitPoint) {
    if (!computeCenterWithoutConflict(&geomTest, pT, edgeIndex, splitPoint)) {
        warning("Dt2::tryRefine()", "no appropriate splitPoint in double precision arithmetic for a triangle");
        return false;
    }
    if (!isCorner(pT, splitPoint)) return true;
    warning("Dt2::tryRefine()", "Double precision arithmetic does not allow to split a segment further, giving up");
    Note lengths("Dt2::tryRefine()");
    for (int i = 0; i < 3; ++i) {
        lengths << "EdgeLen2D(" << i << "): " << std::sqrt(pT->getSquaredEdgeLength2D(i)) << "\n";
    }
    return false;
}

}  // namespace LUMO_TARO25D
