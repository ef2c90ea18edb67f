#include "analysis/FacePlane.h"

#include <algorithm>
#include <cmath>
#include <tuple>

#include "kernel/heights.h"
#include "kernel/tolerances.h"

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
    bWide_ = det >= MIN_PLANE_DETERMINANT * sqLonger && sqLonger > MIN_FACE_SQUARE && std::isfinite(riseEast_) &&
             std::isfinite(riseNorth_);
}

double FacePlane::getHeightOfSharpOne(double x, double y) const {
    double height = 0.0;
    getHeightInside(triangle_, Point2(x, y, 0.0), height);
    return height;
}

}  // namespace LUMO_TARO25D
