// The triangle record: look-up of corners and neighbours, sizes, angles and the circumcentre.
//
// Look-ups fail with TaroException when asked for a corner or a neighbour that is not there; loops that know it is
// there use links.h, which does not check. Lengths are compared by their squares unless these overflow or underflow.
// Areas come from the lengths of the sides (computeArea), which holds in the plane and in space alike.
//
// getDual computes the circumcentre correctly rounded (circumcenter.cpp). Collinear corners have none; a point far away
// on the perpendicular bisector of the longest edge takes its place, and bAccurate is false.

#include "taro25d/Triangle2.h"

#include <cmath>
#include <functional>
#include <initializer_list>
#include <iostream>
#include <limits>

#include "kernel/circumcenter.h"
#include "kernel/tolerances.h"
#include "kernel/tools.h"
#include "support/diagnostics.h"
#include "taro25d/Vector2.h"
#include "taro25d/freeFunctions.h"

namespace LUMO_TARO25D {

namespace {

/// Reports points that should have been corners, or corners of a neighbour, and fails.
[[noreturn]] void failIndexLookup(std::initializer_list<const Point2*> points, int line) {
    {
        Note note("Triangle2::getIntraTriangleIndex()", ML_ERROR);
        note << "BUG: Triangle2::getIntraTriangleIndex failed for";
        for (const Point2* pPoint : points) pPoint ? note << " " << *pPoint : note << " null";
        note << "\n";
    }
    assertionFailed("false", __FILE__, line);
}

double getSideLength25D(const Point2& p0, const Point2& p1) {
    const double length = distance25D(p0, p1);
    if (std::isnan(length)) {
        warning("Triangle2::getArea25D()", "warning, sqDistance25D, nan value, no distance");
        Note("Triangle2::getArea25D()") << "p0=" << p0 << "\np1=" << p1 << "\n";
    }
    return length;
}

double getAngle(const Vector2& u, const Vector2& v) { return getAngleDegree(normalize(u), normalize(v)); }

/// The index of the edge whose length comes first in an order. The lengths hold also where squares overflow or
/// underflow.
template <class Order>
int getFirstIndex(const Triangle2& triangle, const Order& isBefore) {
    const auto getLength = [&triangle](int i) {
        return distance2D(*triangle.getCorner(incIndexBy1(i)), *triangle.getCorner(incIndexBy2(i)));
    };
    int first = 0;
    for (const int i : {1, 2}) {
        if (isBefore(getLength(i), getLength(first))) first = i;
    }
    return first;
}

const char* getOrientationWords(const Triangle2& triangle) {
    switch (getOrientation2_mt(triangle.getCorner(0), triangle.getCorner(1), triangle.getCorner(2))) {
        case ORIENTATION2_CCW:
            return "CCW";
        case ORIENTATION2_CW:
            return "ATTENTION, CLOCKWISE CORNERS!";
        default:
            return "ATTENTION, COLLINEAR CORNERS";
    }
}

}  // namespace

int Triangle2::getIntraTriangleIndex(const Point2* pVtx) const {
    if (aCorner_[0] == pVtx) return 0;
    if (aCorner_[1] == pVtx) return 1;
    if (aCorner_[2] == pVtx) return 2;
    failIndexLookup({pVtx}, __LINE__);
}

int Triangle2::getIntraTriangleIndex(const Triangle2* pT) const {
    if (aOpposite_[0] == pT) return 0;
    if (aOpposite_[1] == pT) return 1;
    if (aOpposite_[2] == pT) return 2;
    if (!pT) failIndexLookup({}, __LINE__);
    failIndexLookup({pT->aCorner_[0], pT->aCorner_[1], pT->aCorner_[2]}, __LINE__);
}

int Triangle2::getIntraTriangleIndex(const Point2* p0, const Point2* p1) const {
    for (int i = 0; i < 3; ++i) {
        const Point2 *pSrc = aCorner_[incIndexBy1(i)], *pTrg = aCorner_[incIndexBy2(i)];
        if ((pSrc == p0 && pTrg == p1) || (pSrc == p1 && pTrg == p0)) return i;
    }
    failIndexLookup({p0, p1}, __LINE__);
}

bool Triangle2::hasVertex(const Point2& point) const {
    return samePoint(*aCorner_[0], point) || samePoint(*aCorner_[1], point) || samePoint(*aCorner_[2], point);
}

bool Triangle2::hasOnEdge(int i, const Point2& point) const {
    const Point2 *pApex = aCorner_[i], *pSrc = aCorner_[incIndexBy1(i)], *pTrg = aCorner_[incIndexBy2(i)];
    return getOrientation2_mt(pSrc, pTrg, &point) == ORIENTATION2_COLLINEAR &&
           getOrientation2_mt(pTrg, pApex, &point) != ORIENTATION2_CW &&
           getOrientation2_mt(pApex, pSrc, &point) != ORIENTATION2_CW;
}

double Triangle2::getSquaredEdgeLength2D(int i) const {
    return sqDistance2D(*aCorner_[incIndexBy1(i)], *aCorner_[incIndexBy2(i)]);
}

double Triangle2::getSquaredEdgeLength25D(int i) const {
    return sqDistance25D(*aCorner_[incIndexBy1(i)], *aCorner_[incIndexBy2(i)]);
}

double Triangle2::getSquaredEdgeLength(int i) const { return getSquaredEdgeLength2D(i); }

double Triangle2::getMaxSqEdgeLen2D() const { return getSquaredEdgeLength2D(getMaxIndex()); }

int Triangle2::getMaxIndex() const {
    int maxIndex = 0;
    double maxSqLength = -1.0;
    for (int i = 0; i < 3; ++i) {
        const double sqLength = getSquaredEdgeLength2D(i);
        if (sqLength > maxSqLength) {
            maxSqLength = sqLength;
            maxIndex = i;
        }
    }
    return isPlainSquare(maxSqLength) ? maxIndex : getFirstIndex(*this, std::greater<>());
}

int Triangle2::getMinIndex() const {
    int minIndex = 0;
    double minSqLength = std::numeric_limits<double>::max();
    for (int i = 0; i < 3; ++i) {
        const double sqLength = getSquaredEdgeLength2D(i);
        if (sqLength < minSqLength) {
            minSqLength = sqLength;
            minIndex = i;
        }
    }
    return isPlainSquare(minSqLength) ? minIndex : getFirstIndex(*this, std::less<>());
}

Point2 Triangle2::getBarycenter() const { return barycenter(*aCorner_[0], *aCorner_[1], *aCorner_[2]); }

double Triangle2::getArea2D() const {
    return computeArea(distance2D(*aCorner_[0], *aCorner_[1]), distance2D(*aCorner_[1], *aCorner_[2]),
                       distance2D(*aCorner_[2], *aCorner_[0]));
}

double Triangle2::getArea25D() const {
    const double l0 = getSideLength25D(*aCorner_[0], *aCorner_[1]);
    const double l1 = getSideLength25D(*aCorner_[1], *aCorner_[2]);
    const double l2 = getSideLength25D(*aCorner_[2], *aCorner_[0]);
    return computeArea(l0, l1, l2);
}

double Triangle2::computeArea(double l0, double l1, double l2) const {
    const double area = LUMO_TARO25D::computeArea(l0, l1, l2);
    if (!std::isnan(area)) return area;
    warning("Triangle2::computeArea()", "invalid value, no area for this triangle");
    {
        Note note("Triangle2::computeArea()");
        note << "ownHalfCircf=" << (l0 + l1 + l2) * 0.5 << "\nCorners are: ";
        for (const Point2* pCorner : aCorner_) note << "\n" << *pCorner;
        note << "\nlen0=" << l0 << "\nlen1=" << l1 << "\nlen2=" << l2 << "\n";
    }
    assertionFailed("false", __FILE__, __LINE__);
}

double Triangle2::getInteriorAngle2D(int i) const {
    const Point2& corner = *aCorner_[i];
    return getAngle(getVector2D(corner, *aCorner_[incIndexBy1(i)]), getVector2D(corner, *aCorner_[incIndexBy2(i)]));
}

double Triangle2::getInteriorAngle25D(int i) const {
    const Point2& corner = *aCorner_[i];
    return getAngle(getVector25D(corner, *aCorner_[incIndexBy1(i)]), getVector25D(corner, *aCorner_[incIndexBy2(i)]));
}

Vector2 Triangle2::getNormalVector() const {
    bool bOk;
    return LUMO_TARO25D::getNormalVector(*aCorner_[0], *aCorner_[1], *aCorner_[2], bOk);
}

Point2 Triangle2::getDual(bool& bAccurate) const {
    const int longestEdge = getMaxIndex();
    Point2 center;
    const bool bFound = getCC_strategy1(center);
    if (!bFound) center = getCC_strategy2(longestEdge);
    bAccurate = bFound && isAccurateCC(longestEdge, center);
    return center;
}

bool Triangle2::getCC_strategy1(Point2& result) const {
    double x, y;
    if (!getCircumcenter(*aCorner_[0], *aCorner_[1], *aCorner_[2], x, y)) return false;
    result.set(x, y, getBarycenter().z());
    return true;
}

/// Replaces the centre where the corners are collinear, or so nearly that the centre is out of range: a point far away
/// on the perpendicular bisector of the longest edge, on the side of the centre of a thin triangle.
Point2 Triangle2::getCC_strategy2(int longestEdge) const {
    constexpr double FAR = 1e13;
    const Point2 &a = *aCorner_[incIndexBy1(longestEdge)], &b = *aCorner_[incIndexBy2(longestEdge)];
    const Vector2 edge = getVector2D(a, b);
    const Point2 mid = centerWithShift(a, b), far = mid + Vector2(edge.y(), -edge.x(), 0.0) * FAR;
    return isFinite2D(far) ? far : mid;
}

/// Whether the rounded centre lies on the right side of the two shorter edges. Its distances from the corners need no
/// test: rounding a centre once leaves them equal to 2^-51 of the largest coordinate.
bool Triangle2::isAccurateCC(int longestEdge, const Point2& center) const {
    const Point2 *pA = aCorner_[longestEdge], *pB = aCorner_[incIndexBy1(longestEdge)];
    const Point2* pE = aCorner_[incIndexBy2(longestEdge)];
    return getOrientation2_mt(pA, pB, &center) != ORIENTATION2_CW &&
           getOrientation2_mt(pE, pA, &center) != ORIENTATION2_CW;
}

std::ostream& operator<<(std::ostream& stream, const Triangle2& triangle) {
    stream << "Triangle(" << static_cast<const void*>(&triangle) << "): area2D=" << triangle.getArea2D()
           << ", area2.5D=" << triangle.getArea25D() << ", " << getOrientationWords(triangle) << "\n";
    for (int i = 0; i < 3; ++i) {
        stream << i << ": " << *triangle.getCorner(i)
               << "\t oppTriangle: " << static_cast<const void*>(triangle.getOppositeTriangle(i)) << "\n";
    }
    return stream;
}

}  // namespace LUMO_TARO25D
