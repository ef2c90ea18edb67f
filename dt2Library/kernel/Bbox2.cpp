#include "taro25d/Bbox2.h"

#include <cmath>

#include "kernel/GeomTest.h"
#include "kernel/tools.h"
#include "support/diagnostics.h"

namespace LUMO_TARO25D {

namespace {

/// Moves both ends of a range outward (inward for a negative distance), but not past the finite numbers.
void moveEnds(double& min, double& max, double distance) {
    min = std::max(min - distance, std::numeric_limits<double>::lowest());
    max = std::min(max + distance, std::numeric_limits<double>::max());
    if (min > max) min = max = 0.5 * min + 0.5 * max;  // rounding made a range of length zero overshoot
}

/// Half the length of a range; the length itself may exceed the largest double.
double halfLength(double min, double max) { return 0.5 * max - 0.5 * min; }

}  // namespace

Bbox2::Bbox2(double minX, double minY, double maxX, double maxY)
    : minX_(minX), minY_(minY), maxX_(maxX), maxY_(maxY), bValid_(minX <= maxX && minY <= maxY) {}

Bbox2::Bbox2(const Bbox2& other) : Bbox2() { *this = other; }

Bbox2& Bbox2::operator=(const Bbox2& other) {
    minX_ = other.minX_;
    minY_ = other.minY_;
    maxX_ = other.maxX_;
    maxY_ = other.maxY_;
    bValid_ = other.bValid_;
    raiseStaticBound();
    return *this;
}

void Bbox2::setGeomTest(GeomTest* pGeomTest) {
    pGeomTest_ = pGeomTest;
    raiseStaticBound();
}

void Bbox2::raiseStaticBound() const {
    if (!pGeomTest_ || !bValid_) return;
    const double maxCoord = getMagnitude(*this);
    if (maxCoord > pGeomTest_->getMaxAbsCoord()) pGeomTest_->setStaticBound(maxCoord);
}

void Bbox2::add(const std::vector<Point2>& vPoints) {
    for (const Point2& point : vPoints) add(point);
}

Bbox2& Bbox2::operator+(const Bbox2& other) {
    if (!other.bValid_) failInvalid("Box2::operator+()", "trying to add an invalid Bbox2");
    add(other.getMinPoint());
    add(other.getMaxPoint());
    return *this;
}

void Bbox2::enlargeRanges(double factor) {
    if (!bValid_) return;
    const double growth = std::max(0.0, factor) - 1.0;
    moveEnds(minX_, maxX_, halfLength(minX_, maxX_) * growth);
    moveEnds(minY_, maxY_, halfLength(minY_, maxY_) * growth);
    raiseStaticBound();
}

void Bbox2::getBounds(double& minX, double& minY, double& maxX, double& maxY) const {
    minX = minX_;
    minY = minY_;
    maxX = maxX_;
    maxY = maxY_;
}

Point2 Bbox2::computeCenter() const { return Point2(0.5 * minX_ + 0.5 * maxX_, 0.5 * minY_ + 0.5 * maxY_, 0.0); }

void Bbox2::getOffsetCorners(double offset, std::vector<Point2>& vCorners) const {
    const double minX = minX_ - offset, minY = minY_ - offset, maxX = maxX_ + offset, maxY = maxY_ + offset;
    vCorners.emplace_back(minX, minY, 0.0);
    vCorners.emplace_back(maxX, minY, 0.0);
    vCorners.emplace_back(maxX, maxY, 0.0);
    vCorners.emplace_back(minX, maxY, 0.0);
}

void Bbox2::failInvalid(const char* location, const char* message) {
    error(location, message);
    assertionFailed("bValid", __FILE__, __LINE__);
}

}  // namespace LUMO_TARO25D
