// Valleys and ridges.
//
// A Delaunay triangulation depends on x and y alone, so that its edges may run across a valley and leave dams in it, or
// make terraces of contour lines. Here the cost of an edge is the angle between the normals of its two triangles. A
// flip changes the costs of the edge and of the four sides of its quadrilateral, and is done if their sum decreases
// (Dyn, Levin and Rippa 1990, angle between normals). Where contours bend, such a flip may also make a level triangle
// between three points of one contour. These flips come last: the others leave fewer level triangles in the end.
//
// Each flip lowers the sum of all costs by at least 1e-9, so that the passes over the edges end. A pass visits the
// edges in the order of their coordinates, so that no address matters. Flipped edges, and edges that are not Delaunay
// afterwards, become constraints. Until then the mesh is not valid, so a cancelled run makes it Delaunay again (Lawson
// 1977): that needs a fraction of the time that the constraints would take, and the next run begins where this one did.

#include "modelling/ValleyOptimizer.h"

#include <algorithm>
#include <cmath>

#include "constraints/ConstraintMgr.h"
#include "kernel/links.h"
#include "kernel/tolerances.h"
#include "kernel/tools.h"
#include "mesh/Dt2.h"
#include "support/stopping.h"
#include "taro25d/Vector2.h"
#include "taro25d/freeFunctions.h"

namespace LUMO_TARO25D {

namespace {

/// The angle between the normals of two triangles, in radians; 0 if one has none.
double getAngle(const Point2& a, const Point2& b, const Point2& c, const Point2& d, const Point2& e, const Point2& f) {
    bool bFirst = false, bSecond = false;
    const Vector2 u = getNormalVector(a, b, c, bFirst), v = getNormalVector(d, e, f, bSecond);
    if (!bFirst || !bSecond) return 0.0;
    const Vector2 cross(u.y() * v.z() - u.z() * v.y(), u.z() * v.x() - u.x() * v.z(), u.x() * v.y() - u.y() * v.x());
    return std::atan2(cross.length(), u.x() * v.x() + u.y() * v.y() + u.z() * v.z());  // accurate for small angles, too
}

/// The corner of the triangle on the other side of edge i; null at the hull.
const Point2* getFarCorner(const Triangle2* pT, int i) {
    const Triangle2* pN = pT->getOppositeTriangle(i);
    return pN ? pN->getCorner(indexOfNeighbour(pN, pT)) : nullptr;
}

/// The angle at the side p-q of the triangle (p, q, r), with the far corner on the other side.
double getSideAngle(const Point2& p, const Point2& q, const Point2& r, const Point2* pFar) {
    return pFar ? getAngle(p, q, r, q, p, *pFar) : 0.0;
}

int isLevel(const Point2& a, const Point2& b, const Point2& c) { return a.z() == b.z() && a.z() == c.z(); }

}  // namespace

ValleyOptimizer::ValleyOptimizer(Dt2& mesh, const std::vector<Triangle2*>& vTriangles, double minAngleDegree,
                                 double maxHeightChange)
    : mesh_(mesh),
      vTriangles_(vTriangles),
      minAngle_(minAngleDegree * M_PI / 180.0),
      maxHeightChange_(maxHeightChange) {
    for (const Triangle2* pT : vTriangles_) sTriangles_.insert(pT);
}

void ValleyOptimizer::run() {
    try {
        for (const bool bMayLevel : {false, true}) {
            while (flipOnce(bMayLevel)) {
            }
        }
        keepEdges();
    } catch (...) {
        takeBack();
        throw;
    }
}

/// Visits all edges once; whether any was flipped.
bool ValleyOptimizer::flipOnce(bool bMayLevel) {
    bool bAny = false;
    for (const Side& side : getEdges()) {
        mesh_.getProgress().throwIfStopped();
        // An earlier flip may have changed the triangle; the edge is then visited in the next pass.
        bAny = tryFlip(side.pT, side.i, bMayLevel) || bAny;
    }
    return bAny;
}

std::vector<ValleyOptimizer::Side> ValleyOptimizer::getEdges() const {
    std::vector<Side> vEdges;
    CancelPoint<> cancelPoint;
    for (Triangle2* pT : vTriangles_) {
        cancelPoint.pass();
        for (int i = 0; i < 3; ++i) {
            const Triangle2* pN = pT->getOppositeTriangle(i);
            const Point2 &src = *pT->getCorner(incIndexBy1(i)), &trg = *pT->getCorner(incIndexBy2(i));
            if (pN && src < trg && sTriangles_.contains(pN)) vEdges.push_back({pT, i});
        }
    }
    std::sort(vEdges.begin(), vEdges.end(), withCancelPoints([](const Side& a, const Side& b) {
                  const Point2 &a0 = *a.pT->getCorner(incIndexBy1(a.i)), &b0 = *b.pT->getCorner(incIndexBy1(b.i));
                  if (a0 != b0) return a0 < b0;
                  return *a.pT->getCorner(incIndexBy2(a.i)) < *b.pT->getCorner(incIndexBy2(b.i));
              }));
    return vEdges;
}

bool ValleyOptimizer::tryFlip(Triangle2* pT, int i, bool bMayLevel) {
    Triangle2* pN = pT->getOppositeTriangle(i);
    if (!pN || !sTriangles_.contains(pN) || !mesh_.canBeFlipped(pT, i)) return false;
    const Point2 &a = *pT->getCorner(i), &b = *pT->getCorner(incIndexBy1(i)), &c = *pT->getCorner(incIndexBy2(i)),
                 &d = *getFarCorner(pT, i);
    if (!bMayLevel && isLevel(a, b, d) + isLevel(a, d, c) > isLevel(a, b, c) + isLevel(b, d, c)) return false;
    if (getAngle(a, b, c, d, c, b) < minAngle_ || changesHeightTooMuch(a, b, c, d)) return false;
    if (!(getCost(pT, i, true) < getCost(pT, i, false) - MIN_FLIP_GAIN)) return false;
    const Point2 *pFirst = pT->getCorner(i), *pSecond = getFarCorner(pT, i);
    mesh_.flip(pT, i);
    sFlipped_.insert(pFirst, pSecond);
    for (Triangle2* pTouched : {pT, pN}) {
        if (sTouched_.insert(pTouched)) vTouched_.push_back(pTouched);
    }
    return true;
}

double ValleyOptimizer::getCost(const Triangle2* pT, int i, bool bFlipped) const {
    const Triangle2* pN = pT->getOppositeTriangle(i);
    const int j = indexOfNeighbour(pN, pT);
    const Point2 &a = *pT->getCorner(i), &b = *pT->getCorner(incIndexBy1(i)), &c = *pT->getCorner(incIndexBy2(i)),
                 &d = *pN->getCorner(j);
    const Point2 *pBeyondCA = getFarCorner(pT, incIndexBy1(i)), *pBeyondAB = getFarCorner(pT, incIndexBy2(i)),
                 *pBeyondBD = getFarCorner(pN, incIndexBy1(j)), *pBeyondDC = getFarCorner(pN, incIndexBy2(j));
    if (!bFlipped) {
        return getAngle(a, b, c, d, c, b) + getSideAngle(a, b, c, pBeyondAB) + getSideAngle(c, a, b, pBeyondCA) +
               getSideAngle(d, c, b, pBeyondDC) + getSideAngle(b, d, c, pBeyondBD);
    }
    return getAngle(a, b, d, a, d, c) + getSideAngle(a, b, d, pBeyondAB) + getSideAngle(b, d, a, pBeyondBD) +
           getSideAngle(d, c, a, pBeyondDC) + getSideAngle(c, a, d, pBeyondCA);
}

/// Compares the heights of both diagonals where they cross.
bool ValleyOptimizer::changesHeightTooMuch(const Point2& a, const Point2& b, const Point2& c, const Point2& d) const {
    Point2 crossing;
    if (!getIntersectionPoint(b, c, a, d, crossing)) return true;
    const double onOther = getZOnSegment(a, d, crossing.x(), crossing.y());
    return !(std::abs(onOther - crossing.z()) <= maxHeightChange_);
}

void ValleyOptimizer::keepEdges() {
    if (vTouched_.empty()) return;
    std::vector<ConstraintMgr::VertexPair> vPairs;
    CancelPoint<> cancelPoint;
    for (const Triangle2* pT : vTriangles_) {
        cancelPoint.pass();
        for (int i = 0; i < 3; ++i) {
            const Triangle2* pN = pT->getOppositeTriangle(i);
            Point2 *pSrc = pT->getCorner(incIndexBy1(i)), *pTrg = pT->getCorner(incIndexBy2(i));
            const bool bOnce = pN && (*pSrc < *pTrg || !sTriangles_.contains(pN));
            if (!bOnce || mesh_.isConstraint(pT, i)) continue;
            const bool bDelaunay = mesh_.getGeomTest().circleInc3state(pT, getFarCorner(pT, i)) != CINC2_INCIRCLE;
            if (!bDelaunay || sFlipped_.contains(pSrc, pTrg)) vPairs.emplace_back(pSrc, pTrg);
        }
    }
    std::sort(vPairs.begin(), vPairs.end(), withCancelPoints([](const auto& p, const auto& q) {
                  return *p.first != *q.first ? *p.first < *q.first : *p.second < *q.second;
              }));
    const FlagScope exact = mesh_.takeConstraintsExactly();
    if (!vPairs.empty()) mesh_.getConstraintManager()->createEdges(vPairs, CIS_CONSTRAINED_DELAUNAY, false);
}

void ValleyOptimizer::takeBack() {
    const NoStopScope noStop;
    for (Triangle2* pT : vTouched_) mesh_.noteForFlips(pT);
    mesh_.flipUntilDelaunay();
}

}  // namespace LUMO_TARO25D
