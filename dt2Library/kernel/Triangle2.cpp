#include "taro25d/Triangle2.h"

#include <algorithm>
#include <cmath>
#include <initializer_list>
#include <iostream>
#include <limits>

#include "kernel/tools.h"
#include "support/diagnostics.h"
#include "taro25d/Vector2.h"
#include "taro25d/freeFunctions.h"

namespace LUMO_TARO25D {

namespace {

void printPoint(const Point2* pPoint) {
    if (pPoint) {
        std::cout << " " << *pPoint;
    } else {
        std::cout << " null";
    }
}

/// Reports points that should have been corners, or corners of a neighbour, and fails.
[[noreturn]] void failIndexLookup(std::initializer_list<const Point2*> points, int line) {
    std::cout << "BUG: Triangle2::getIntraTriangleIndex failed for";
    for (const Point2* pPoint : points) printPoint(pPoint);
    std::cout << std::endl;
    assertionFailed("false", __FILE__, line);
}

double getSideLength25D(const Point2& p0, const Point2& p1) {
    const double length = distance25D(p0, p1);
    if (std::isnan(length)) {
        warning("Triangle2::getArea25D()", "warning, sqDistance25D, nan value, no distance");
        std::cout << "p0=" << p0 << "\np1=" << p1 << std::endl;
    }
    return length;
}

double getAngle(const Vector2& u, const Vector2& v) { return getAngleDegree(normalize(u), normalize(v)); }

/// Rounds to the 24 binary digits of single precision, whatever the exponent.
double roundToSingle(double value) {
    int exponent;
    const double mantissa = std::frexp(value, &exponent);
    return std::ldexp(static_cast<double>(static_cast<float>(mantissa)), exponent);
}

/// The mean of the coordinate nearest to zero and the one farthest from it. Subtracting it leaves numbers of
/// about the size of the triangle, and as it has few digits the subtraction hardly ever rounds.
double getOffset(double c0, double c1, double c2) {
    const auto isNearerToZero = [](double a, double b) { return std::abs(a) < std::abs(b); };
    const auto [nearest, farthest] = std::minmax({c0, c1, c2}, isNearerToZero);
    return roundToSingle(0.5 * nearest + 0.5 * farthest);
}

/// Searches the perpendicular bisector of the edge a-b for the point that is as far from apex as from a.
/// Halving a range needs no division by the area, so it also works for corners that are collinear up to rounding.
Point2 bisectForCenter(const Point2& apex, const Point2& a, const Point2& b) {
    const Point2 mid = centerWithShift(a, b);
    const Vector2 direction = getVector2D(b, a).orthogonalVector();
    if (direction.isDegenerate()) return mid;

    // The centre lies on the side of the apex if the angle there is acute, otherwise on the other side.
    const Vector2 toApex = getVector2D(mid, apex);
    const bool bAcute = toApex.sqLength() > sqDistance2D(a, mid);
    const double sign = bAcute ? 1.0 : -1.0;
    const double reach = (bAcute ? toApex.length() : 1e13) / direction.length();
    const Vector2 ray = direction * (direction * toApex * sign < 0.0 ? -reach : reach);

    const Vector2 chord = getVector2D(apex, a);
    const Point2 chordMid = centerWithShift(apex, a);
    Point2 candidate;
    double lower = 0.0, upper = 1.0;
    for (double t = 0.5; t != lower && t != upper; t = 0.5 * (lower + upper)) {
        candidate = mid + ray * t;
        // The squared distance from apex minus that from a, but not as a difference of squares that cancel.
        const double excess = 2.0 * (chord * getVector2D(chordMid, candidate));
        if (std::abs(excess) < 1e-16) break;
        (excess * sign < 0.0 ? upper : lower) = t;
    }
    return candidate;
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
    return maxIndex;
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
    return minIndex;
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
    std::cout << "ownHalfCircf=" << (l0 + l1 + l2) * 0.5 << "\nCorners are: ";
    for (const Point2* pCorner : aCorner_) std::cout << "\n" << *pCorner;
    std::cout << "\nlen0=" << l0 << "\nlen1=" << l1 << "\nlen2=" << l2 << std::endl;
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
    const double offsetX = getOffset(aCorner_[0]->x(), aCorner_[1]->x(), aCorner_[2]->x());
    const double offsetY = getOffset(aCorner_[0]->y(), aCorner_[1]->y(), aCorner_[2]->y());
    const int longestEdge = getMaxIndex();

    Point2 center;
    bAccurate = getCC_strategy1(offsetX, offsetY, center) && isAccurateCC(longestEdge, center);
    if (bAccurate) return center;
    center = getCC_strategy2(longestEdge, offsetX, offsetY);
    bAccurate = isAccurateCC(longestEdge, center);
    return center;
}

bool Triangle2::getCC_strategy1(double offsetX, double offsetY, Point2& result) const {
    const Vector2 shift(-offsetX, -offsetY, 0.0);
    const Point2 origin = *aCorner_[0] + shift;
    Vector2 u = getVector2D(origin, *aCorner_[1] + shift), v = getVector2D(origin, *aCorner_[2] + shift);
    const double scale = std::max(getBinaryScale(u), getBinaryScale(v));
    u = u / scale;
    v = v / scale;

    const double d = 2.0 * crossProduct2D(u, v);
    if (d == 0.0) return false;
    const double x = (v.y() * u.sqLength() - u.y() * v.sqLength()) / d;
    const double y = (u.x() * v.sqLength() - v.x() * u.sqLength()) / d;
    result.set(offsetX + (origin.x() + x * scale), offsetY + (origin.y() + y * scale), getBarycenter().z());
    return true;
}

Point2 Triangle2::getCC_strategy2(int longestEdge, double offsetX, double offsetY) const {
    const Vector2 shift(-offsetX, -offsetY, 0.0);
    const Point2 apex = *aCorner_[longestEdge] + shift;
    const Point2 a = *aCorner_[incIndexBy1(longestEdge)] + shift;
    const Point2 b = *aCorner_[incIndexBy2(longestEdge)] + shift;
    return bisectForCenter(apex, a, b) + Vector2(offsetX, offsetY, 0.0);
}

bool Triangle2::isAccurateCC(int longestEdge, const Point2& center) const {
    const Point2 *pA = aCorner_[longestEdge], *pB = aCorner_[incIndexBy1(longestEdge)];
    const Point2* pE = aCorner_[incIndexBy2(longestEdge)];
    const auto [minDistance, maxDistance] =
        std::minmax({distance2D(center, *pA), distance2D(center, *pB), distance2D(center, *pE)});
    // Written so that a centre that is not finite fails here: the predicates need numbers.
    return maxDistance - minDistance < 1e-6 && getOrientation2_mt(pA, pB, &center) != ORIENTATION2_CW &&
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
