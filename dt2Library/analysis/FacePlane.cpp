#include "analysis/FacePlane.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <tuple>

#include "kernel/heights.h"
#include "kernel/tolerances.h"
#include "kernel/tools.h"
#include "taro25d/Bbox2.h"
#include "taro25d/Vector2.h"

namespace LUMO_TARO25D {

namespace {

/// The rounding error of a product.
double getProductError(double a, double b, double product) {
    constexpr double SPLITTER = 0x1p27 + 1.0;
    const double bigA = SPLITTER * a, bigB = SPLITTER * b;
    const double highA = bigA - (bigA - a), highB = bigB - (bigB - b);
    const double lowA = a - highA, lowB = b - highB;
    return lowA * lowB - (((product - highA * highB) - lowA * highB) - highA * lowB);
}

}  // namespace

double cancelAccurately(double a, double b, double c, double d) {
    const double left = a * d, right = b * c, difference = left - right;
    const double accurate = difference + (getProductError(a, d, left) - getProductError(b, c, right));
    return std::isfinite(accurate) ? accurate : difference;
}

FacePlane::FacePlane(const Triangle2& triangle) : triangle_(triangle), origin_(*triangle.getCorner(0)) {
    const Point2 &p = *triangle.getCorner(1), &q = *triangle.getCorner(2);
    std::tie(minZ_, maxZ_) = std::minmax({origin_.z(), p.z(), q.z()});
    const double ux = p.x() - origin_.x(), uy = p.y() - origin_.y(), dzP = p.z() - origin_.z();
    const double vx = q.x() - origin_.x(), vy = q.y() - origin_.y(), dzQ = q.z() - origin_.z();
    const double det = accurateDeterminant(ux, uy, vx, vy);
    riseEast_ = (dzP * vy - dzQ * uy) / det;
    riseNorth_ = (ux * dzQ - vx * dzP) / det;
    const double sqLonger = std::max(ux * ux + uy * uy, vx * vx + vy * vy);
    const bool bInRange = sqLonger > MIN_FACE_SQUARE && sqLonger < MAX_PLAIN_SQUARE;
    bWide_ =
        bInRange && det >= MIN_PLANE_DETERMINANT * sqLonger && std::isfinite(riseEast_) && std::isfinite(riseNorth_);
    if (!bInRange) setRisesByScaling(p, q);
}

/// The rises where products of coordinates leave the range of doubles.
void FacePlane::setRisesByScaling(const Point2& p, const Point2& q) {
    Bbox2 box;
    for (const Point2* pCorner : {&origin_, &p, &q}) box.add(*pCorner);
    // A quarter of large coordinates, so that no difference overflows.
    const double factor = getMagnitude(box) > 1.0 ? 0.25 : 1.0;
    const auto getOffset = [&](const Point2& point) {
        return Vector2(factor * point.x() - factor * origin_.x(), factor * point.y() - factor * origin_.y(),
                       0.25 * point.z() - 0.25 * origin_.z());
    };
    const Vector2 toP = getOffset(p), toQ = getOffset(q);
    const double scale = getBinaryScale(
        Vector2(std::max(std::abs(toP.x()), std::abs(toP.y())), std::max(std::abs(toQ.x()), std::abs(toQ.y())), 0.0));
    const double zScale = getBinaryScale(Vector2(toP.z(), toQ.z(), 0.0));
    const double ux = toP.x() / scale, uy = toP.y() / scale, dzP = toP.z() / zScale;
    const double vx = toQ.x() / scale, vy = toQ.y() / scale, dzQ = toQ.z() / zScale;
    const double det = accurateDeterminant(ux, uy, vx, vy);
    const double rise = std::min(4.0 * factor * (zScale / scale), std::numeric_limits<double>::max());
    riseEast_ = (dzP * vy - dzQ * uy) / det * rise;
    riseNorth_ = (ux * dzQ - vx * dzP) / det * rise;
}

double FacePlane::getHeightOfSharpOne(double x, double y) const {
    double height = 0.0;
    getHeightInside(triangle_, Point2(x, y, 0.0), height);
    return height;
}

}  // namespace LUMO_TARO25D
