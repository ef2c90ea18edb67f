// One candidate of refinement: its Steiner point, its measures, and the decision whether the point is inserted.
//
// The Steiner point is the circumcentre in x-y. A straight walk from the triangle finds the triangle that contains it,
// or the constraint or hull edge in front of it, which is then to be split instead. The walk starts at the corner
// opposite the longest edge, since the centre of an obtuse triangle lies beyond that edge.
//
// A candidate is refined if the triangle misses a limit (missesLimit) and nothing speaks against it
// (highPriorityReject: an edge that may not be split, a centre that doubles do not resolve, or an inaccurate centre
// that may lie beyond the border). The limits of length, area and growth come before that of the angle, which is
// ignored between constraints at a smaller angle, and where all angles in x-y are above PLANAR_ANGLE_CAP.
//
// getExcuse gives the same reasons in words, for the check of quality (zoneQuality.cpp).

#include "meshing/RefCand3.h"

#include <algorithm>
#include <cmath>
#include <initializer_list>
#include <iostream>
#include <limits>
#include <sstream>
#include <utility>

#include "kernel/links.h"
#include "kernel/tolerances.h"
#include "kernel/tools.h"
#include "mesh/Dt2.h"
#include "mesh/InnerVtxMgr.h"
#include "meshing/RefinementContext.h"
#include "support/diagnostics.h"
#include "taro25d/Color.h"
#include "taro25d/ConstraintSegment2.h"
#include "taro25d/MeshGenParams.h"
#include "taro25d/Vector2.h"
#include "taro25d/Visualizer2.h"
#include "taro25d/freeFunctions.h"

namespace LUMO_TARO25D {

namespace {

constexpr double UNKNOWN = std::numeric_limits<double>::max();
constexpr int MAX_WALK = 1000;

std::atomic<int> numPictures{0};

std::string text(double value) {
    std::ostringstream stream;
    stream << value;
    return stream.str();
}

/// The side of edge i of a triangle on which a point lies; ORIENTATION2_CCW is inside.
Orientation2 getSide(GeomTest& geomTest, const Triangle2* pT, int i, const Point2* p) {
    return geomTest.getOrientation2(pT->getCorner(incIndexBy1(i)), pT->getCorner(incIndexBy2(i)), p);
}

double getSqLength25D(const Point2& p, const Point2& q) {
    const double sqLength = sqDistance25D(p, q);
    if (std::isnan(sqLength)) {
        Note("RefCand3", ML_WARNING, std::cerr) << "warning, sqDistance25D, nan value, no distance\n"
                                                << p << "\n"
                                                << q << "\n";
    }
    return sqLength;
}

/// The angle between two sides in degrees, with the approximation of pi with which limits were tuned.
double getNarrowAngle(const Vector2& u, const Vector2& v) {
    return std::acos(std::clamp(normalize(u) * normalize(v), -1.0, 1.0)) / 3.14159 * 180.0;
}

void sortThree(std::array<double, 3>& aNumber) {
    if (aNumber[1] < aNumber[0]) std::swap(aNumber[0], aNumber[1]);
    if (aNumber[2] < aNumber[1]) std::swap(aNumber[1], aNumber[2]);
    if (aNumber[1] < aNumber[0]) std::swap(aNumber[0], aNumber[1]);
}

/// normalize, without a call where the length is an ordinary number.
Vector2 toUnit(const Vector2& v) {
    const double sq = v.sqLength();
    return isPlainSquare(sq) ? v / std::sqrt(sq) : normalize(v);
}

Sides getSides(const RefinementContext& context, const Triangle2* pT) {
    return getSides(context.pGuide.get(), pT->getCorner(0), pT->getCorner(1), pT->getCorner(2));
}

}  // namespace

std::atomic<int> RefCand3::runningLabel{0};

RefCand3::RefCand3(Dt2* pDt2, Triangle2* pT) : RefCand3(getRefinementContext(pDt2), pT) {}

RefCand3::RefCand3(RefinementContext& context, Triangle2* pT)
    : label_(runningLabel.fetch_add(1, std::memory_order_relaxed)),
      aCorner_{pT->getCorner(0), pT->getCorner(1), pT->getCorner(2)},
      context_(context),
      pT_(pT),
      pContainingT_(pT),
      steiner_(-UNKNOWN, -UNKNOWN, -UNKNOWN),
      minAngle_(UNKNOWN) {}

// ---------------------------------------------------------------------------------------------------------------------
// The Steiner point

void RefCand3::init() {
    pContainingT_ = pT_;
    computeSteiner();
    const double maxCoord = std::max(std::abs(steiner_.x()), std::abs(steiner_.y()));
    radius_ = distance2D(steiner_, *aCorner_[0]);
    splitIndex_ = SPLIT_USELESS;
    if (!std::isfinite(maxCoord)) return;
    GeomTest& geomTest = context_.pDt2->getGeomTest();
    if (maxCoord > geomTest.getMaxAbsCoord()) geomTest.setStaticBound(maxCoord);
    splitIndex_ = walkUntilConstraint(&steiner_, pContainingT_);
}

void RefCand3::computeSteiner() { steiner_ = pT_->getDual(bAccurate_); }

int RefCand3::walkUntilConstraint(const Point2* pCircumcenter, Triangle2*& pContainingTriangle) {
    GeomTest& geomTest = context_.pDt2->getGeomTest();
    Triangle2*& pT = pContainingTriangle;
    const int longest = pT->getMaxIndex();
    const Point2* pStart = pT->getCorner(longest);
    // The sides of the edges on which the point lies: those that are known; all of them when no edge is left to cross.
    std::array<Orientation2, 3> aSide{};
    const auto liesBeyond = [&](int i) {
        aSide[static_cast<size_t>(i)] = getSide(geomTest, pT, i, pCircumcenter);
        return aSide[static_cast<size_t>(i)] == ORIENTATION2_CW;
    };
    int exit = -1;
    for (const int i : {longest, incIndexBy1(longest), incIndexBy2(longest)}) {
        if (exit == -1 && liesBeyond(i)) exit = i;
    }
    for (int numSteps = 0; exit != -1; ++numSteps) {
        Triangle2* pN = pT->getOppositeTriangle(exit);
        if (!pN || context_.pDt2->isConstraint(pT, exit)) return exit;
        if (numSteps == MAX_WALK) return SPLIT_USELESS;
        const int entry = indexOfNeighbour(pN, pT);
        pT = pN;
        aSide[static_cast<size_t>(entry)] = ORIENTATION2_CCW;
        const int right = incIndexBy1(entry), left = incIndexBy2(entry);
        const bool bBeyondRight = liesBeyond(right), bBeyondLeft = liesBeyond(left);
        exit = bBeyondRight ? right : bBeyondLeft ? left : -1;
        // A vertex exactly on the path is passed on its right.
        if (bBeyondRight && bBeyondLeft &&
            geomTest.getOrientation2(pStart, pCircumcenter, pT->getCorner(entry)) == ORIENTATION2_CW) {
            exit = left;
        }
    }
    return judgeArrival(pT, pCircumcenter, aSide);
}

int RefCand3::judgeArrival(const Triangle2* pT, const Point2* p, const std::array<Orientation2, 3>& aSide) {
    edgeOfSteiner_ = -1;
    for (int i = 0; i < 3; ++i) {
        if (aSide[static_cast<size_t>(i)] != ORIENTATION2_COLLINEAR) continue;
        if (*pT->getCorner(incIndexBy1(i)) == *p || *pT->getCorner(incIndexBy2(i)) == *p) return SPLIT_USELESS;
        // A centre on the border splits the border; as an inner vertex it would leave a flat triangle there.
        if (!pT->getOppositeTriangle(i) || context_.pDt2->isConstraint(pT, i)) return i;
        edgeOfSteiner_ = i;
    }
    if (pT != pT_) return SPLIT_NONE;
    TARO_ASSERT_TEXT(aSide[0] != ORIENTATION2_CW,
                     "pGeomPredicates->getOrientation2(pStartTriangle,0,pCircumcenter)!=ORIENTATION2_CW");
    TARO_ASSERT_TEXT(aSide[1] != ORIENTATION2_CW,
                     "pGeomPredicates->getOrientation2(pStartTriangle,1,pCircumcenter)!=ORIENTATION2_CW");
    TARO_ASSERT_TEXT(aSide[2] != ORIENTATION2_CW,
                     "pGeomPredicates->getOrientation2(pStartTriangle,2,pCircumcenter)!=ORIENTATION2_CW");
    TARO_ASSERT_TEXT(context_.pDt2->getGeomTest().circleInc(aCorner_[0], aCorner_[1], aCorner_[2], p),
                     "pGeomPredicates->circleInc(pStartTriangle,pCircumcenter)");
    return SPLIT_NONE;
}

void RefCand3::getContainingTriangleAndIndex(Triangle2*& pT, int& idx) const {
    pT = pContainingT_;
    idx = splitIndex_;
}

ConstraintSegment2* RefCand3::getAliveConstraintSegment(int i) const {
    return context_.pDt2->getAliveConstraintSegment(pContainingT_->getCorner(incIndexBy1(i)),
                                                    pContainingT_->getCorner(incIndexBy2(i)));
}

bool RefCand3::isConstraint(int i) const { return context_.pDt2->isConstraint(pContainingT_, i); }

// ---------------------------------------------------------------------------------------------------------------------
// Measures

double RefCand3::getMinAngle() {
    if (minAngle_ == UNKNOWN)
        minAngle_ = getMinAngleDegree(getSides(context_.pGuide.get(), aCorner_[0], aCorner_[1], aCorner_[2]));
    return minAngle_;
}

double getMinAngleDegree(const Sides& aSide) {
    const Vector2 u = toUnit(aSide[2]), v = toUnit(aSide[1] * -1.0), w = toUnit(aSide[0]);
    const double alpha = getAngleDegree(u, v), beta = getAngleDegree(w, u * -1.0);
    return std::min({beta, 180.0 - alpha - beta, alpha});
}

double RefCand3::getMinAngle2D() const {
    return std::min({pT_->getInteriorAngle2D(0), pT_->getInteriorAngle2D(1), pT_->getInteriorAngle2D(2)});
}

double RefCand3::getArea25D(const Triangle2* pT) const {
    const Sides aSide = getSides(context_, pT);
    return pT->computeArea(aSide[2].length(), aSide[0].length(), aSide[1].length());
}

void RefCand3::computeMinMax() {
    const Sides aSide = getSides(context_, pT_);
    for (size_t i = 0; i < 3; ++i) {
        aSqLengths2D_[i] = aSide[i].x() * aSide[i].x() + aSide[i].y() * aSide[i].y();
        aSqLengths25D_[i] = aSide[i].sqLength();
    }
    sortThree(aSqLengths2D_);
    sortThree(aSqLengths25D_);
}

double RefCand3::getQuality2D() const { return radius_ / std::sqrt(aSqLengths2D_[0]); }

double RefCand3::getQuality25D() const {
    const double a = std::sqrt(aSqLengths25D_[0]), b = std::sqrt(aSqLengths25D_[1]), c = std::sqrt(aSqLengths25D_[2]);
    const double area = computeArea(a, b, c);
    // By logarithms, since the product of three lengths may leave the range of doubles.
    const double radius =
        area > 0.0 ? std::exp(std::log(a) + std::log(b) + std::log(c) - std::log(4.0 * area)) : -UNKNOWN;
    return radius / a;
}

// ---------------------------------------------------------------------------------------------------------------------
// Decisions

bool RefCand3::needRefinement(MeshGenParams* pParams) {
    if (pParams->debugCommand == 1) debugFlag_ = 1;
    return !highPriorityReject(pParams) && missesLimit(pParams);
}

bool RefCand3::missesLimit(MeshGenParams* pParams) {
    computeMinMax();
    if (highPriorityAccept(pParams)) return true;
    if (hasNarrowConstraintAngle(pParams->minAngleDegree)) return false;
    if (!(getMinAngle() < pParams->minAngleDegree)) return false;
    if (getMinAngle2D() > PLANAR_ANGLE_CAP) return false;
    if (debugFlag_ != 0) reportAcceptance("RefC: minAngle, current=" + text(minAngle_), "_quality25.ps");
    return true;
}

bool RefCand3::highPriorityReject(MeshGenParams* pParams) { return illegalSplit(pParams) || !isSafe(); }

bool RefCand3::isTooSmall() const {
    // Near the origin doubles resolve far smaller details than any terrain has, so the magnitude of the zone is the
    // measure.
    const double maxCoord = std::max({std::abs(steiner_.x()), std::abs(steiner_.y()), context_.zoneMagnitude});
    return !(std::isfinite(radius_) && radius_ > 0.0 && radius_ >= MIN_RADIUS * maxCoord);
}

bool RefCand3::isTooNear(const MeshGenParams* pParams) const {
    if (!context_.pGuide.get() || !(pParams->minEdgeLength > 0.0)) return false;
    if (radius_ < pParams->minEdgeLength) return true;
    // Vertices on the other side of a constraint edge can be nearer than the corners.
    const double sqReach = pParams->minEdgeLength * pParams->minEdgeLength;
    const std::vector<Point2*> vNearby = getVerticesNearby(steiner_, pContainingT_, sqReach);
    return std::any_of(vNearby.begin(), vNearby.end(),
                       [&](const Point2* pVtx) { return sqDistance2D(steiner_, *pVtx) < sqReach; });
}

bool RefCand3::illegalSplit(MeshGenParams* pParams) { return getObstacle(pParams) != nullptr; }

const char* RefCand3::getObstacle(MeshGenParams* pParams) const {
    if (splitIndex_ == SPLIT_USELESS || isTooSmall()) return "too small for the numbers";
    if (splitIndex_ == SPLIT_NONE) {
        return isTooNear(pParams) ? "centre nearer to a vertex than the minimum edge length" : nullptr;
    }
    if (splitIndex_ < 0 || splitIndex_ > 2) {
        error("RefCand3::needRefinement", "bug, unexpected case");
        return "unknown";
    }
    if (!pParams->bAllowConstraintSplitting) return "centre behind a segment, and none may be split";
    const auto* pLocked = pParams->pLockedConstraints;
    if (pLocked && pLocked->count(getAliveConstraintSegment(splitIndex_)) > 0) return "centre behind a locked segment";
    const double sqLength = getSqLength25D(*pContainingT_->getCorner(incIndexBy1(splitIndex_)),
                                           *pContainingT_->getCorner(incIndexBy2(splitIndex_)));
    return 2.0 * pParams->minEdgeLength > std::sqrt(sqLength) ? "centre behind a segment too short to split" : nullptr;
}

const char* RefCand3::getExcuse(MeshGenParams* pParams, bool bForAngle) {
    if (const char* obstacle = getObstacle(pParams)) return obstacle;
    if (!isSafe()) return "centre not accurate";
    if (splitIndex_ >= 0 && !getAliveConstraintSegment(splitIndex_)) return "centre outside the hull";
    if (!bForAngle) return nullptr;
    if (hasNarrowConstraintAngle(pParams->minAngleDegree)) return "between constraints at a smaller angle";
    return getMinAngle2D() > PLANAR_ANGLE_CAP ? "planar angles above 29.5 degrees" : nullptr;
}

bool RefCand3::isSafe() {
    if (bAccurate_ || splitIndex_ < 0) return true;
    const int maxIdx = pT_->getMaxIndex();
    if (!context_.pDt2->isConstraint(pT_, maxIdx)) return true;
    if (getSide(context_.pDt2->getGeomTest(), pT_, maxIdx, &steiner_) != ORIENTATION2_CCW) return false;
    if (splitIndex_ == maxIdx) return true;
    warning("RefCand3::isSafe()", "splitIndex!=maxIdx, numeric");
    return false;
}

bool RefCand3::isTooLong(MeshGenParams* pParams) const {
    const double maxLength = usableLimit(pParams->getMaxEdgeLength(pT_));
    return getMaxSqSideLength25D() > maxLength * maxLength;
}

bool RefCand3::isTooLarge(MeshGenParams* pParams) const {
    const double maxArea = usableLimit(pParams->getMaxTriangleArea(pT_));
    return maxArea != UNKNOWN && getArea25D(pT_) > maxArea;
}

bool RefCand3::highPriorityAccept(MeshGenParams* pParams) {
    if (isTooLong(pParams)) {
        if (debugFlag_ != 0) {
            const std::string length = text(std::sqrt(getMaxSqSideLength25D()));
            reportAcceptance("RefC: sidelength is " + length + " > " + text(pParams->getMaxEdgeLength(pT_)),
                             "_sidelen.ps");
        }
        return true;
    }
    if (isTooLarge(pParams)) {
        if (debugFlag_ != 0) reportAcceptance("RefC: area", "_area.ps");
        return true;
    }
    if (pParams->growthFactor == UNKNOWN) return false;
    if (!needRefinementDueToGrowth(pParams->growthFactor, pParams->growthMinArea)) return false;
    if (debugFlag_ != 0) reportAcceptance("RefC: growth", "_growth.ps");
    return true;
}

double RefCand3::getNeighbourArea(int i) const {
    const ConstraintSegment2* pCSeg =
        context_.pDt2->getAliveConstraintSegment(aCorner_[incIndexBy1(i)], aCorner_[incIndexBy2(i)]);
    if (pCSeg) return pCSeg->getAdjacentArea();
    const Triangle2* pN = pT_->getOppositeTriangle(i);
    return pN ? getArea25D(pN) : 0.0;
}

bool RefCand3::needRefinementDueToGrowth(double growthFactor, double growthMinArea) {
    if (!(growthFactor > 0.0)) return false;
    const double area = getArea25D(pT_);
    for (int i = 0; i < 3; ++i) {
        const double neighbourArea = getNeighbourArea(i);
        const bool bSkipped = neighbourArea == 0.0 || neighbourArea < growthMinArea || neighbourArea == UNKNOWN;
        if (!bSkipped && area / neighbourArea > growthFactor) return true;
    }
    return false;
}

bool RefCand3::hasNarrowConstraintAngle(double minAngleDegree) {
    bool aConstraint[3];
    for (int i = 0; i < 3; ++i) aConstraint[i] = context_.pDt2->isConstraint(pT_, i);
    if (aConstraint[0] + aConstraint[1] + aConstraint[2] < 2) return false;
    const Sides aSide = getSides(context_, pT_);
    for (int i = 0; i < 3; ++i) {
        const int next = incIndexBy1(i), afterNext = incIndexBy2(i);
        if (!aConstraint[next] || !aConstraint[afterNext]) continue;
        const Vector2 &toNext = aSide[static_cast<size_t>(afterNext)], &fromLast = aSide[static_cast<size_t>(next)];
        if (minAngleDegree > getNarrowAngle(toNext, fromLast * -1.0)) return true;
    }
    return false;
}

// ---------------------------------------------------------------------------------------------------------------------
// For the library's developers

void RefCand3::reportAcceptance(const std::string& text, const char* suffix) const {
    Note("RefCand3") << text << "\n";
    showT("need_" + std::to_string(numPictures.fetch_add(1)) + suffix);
}

void RefCand3::showT(const std::string& filename) const {
    Visualizer2 visualizer(Dt2::getFilenamePrefix() + filename);
    visualizer.addObject(*pT_, Color(CRED, 0.1f, false));
    visualizer.writeFile();
}

void RefCand3::debug() const {
    Note("RefCand3::debug()") << "RefCand3 " << label_ << (isAlive() ? " [alive]" : " [stale]")
                              << ", steiner=" << steiner_ << ", accurate=" << bAccurate_ << ", radius=" << radius_
                              << ", splitIndex=" << splitIndex_ << ", quality2D=" << getQuality2D()
                              << ", quality25D=" << getQuality25D() << "\n"
                              << *pT_ << "\n";
}

}  // namespace LUMO_TARO25D
