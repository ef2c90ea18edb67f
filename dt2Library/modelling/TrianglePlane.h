#pragma once

#include <algorithm>
#include <cmath>
#include <limits>
#include <tuple>

#include "kernel/heights.h"
#include "kernel/tools.h"
#include "taro25d/Point2.h"
#include "taro25d/Triangle2.h"

namespace LUMO_TARO25D {

/// Heights on the plane of a triangle, within the range of its corners, in plain arithmetic. The triangle must not
/// change.
class TrianglePlane {
  public:
    /// The plane is computed from one of the corners.
    explicit TrianglePlane(const Triangle2* pT, int origin = 0) : pT_(pT) {
        const Point2 &p = *pT->getCorner(origin), &q = *pT->getCorner(incIndexBy1(origin)),
                     &r = *pT->getCorner(incIndexBy2(origin));
        x_ = p.x();
        y_ = p.y();
        z_ = p.z();
        const double qx = q.x() - p.x(), qy = q.y() - p.y(), qz = q.z() - p.z();
        const double rx = r.x() - p.x(), ry = r.y() - p.y(), rz = r.z() - p.z();
        const double area = qx * ry - rx * qy;
        slopeX_ = (qz * ry - rz * qy) / area;
        slopeY_ = (qx * rz - rx * qz) / area;
        std::tie(min_, max_) = std::minmax({p.z(), q.z(), r.z()});
        bSound_ = std::isfinite(slopeX_) && std::isfinite(slopeY_);
        const double flatness = std::max(std::abs(qx), std::abs(rx)) * std::max(std::abs(qy), std::abs(ry)) / area;
        const double rise = std::max(std::abs(qz), std::abs(rz));
        slack_ = ROUNDING * (flatness * flatness * rise + std::max(std::abs(min_), std::abs(max_)));
        if (!bSound_ || !(slack_ >= 0.0)) slack_ = std::numeric_limits<double>::infinity();
    }

    /// The height at a place that the triangle holds.
    double getHeight(double x, double y) const {
        if (!bSound_) return getHeightOfUnsound(x, y);
        const double height = z_ + (slopeX_ * (x - x_) + slopeY_ * (y - y_));
        return std::clamp(height, min_, max_);
    }
    /// A bound on the difference between these heights and those of getHeightInside().
    double getSlack() const { return slack_; }

  private:
    // Fewer than 200 roundings, each magnified by the flatness of the triangle once in a product and once in a
    // quotient.
    static constexpr double ROUNDING = 0x1p-45;

    double getHeightOfUnsound(double x, double y) const {
        double height = 0.0;
        getHeightInside(*pT_, Point2(x, y, 0.0), height);
        return height;
    }

    const Triangle2* pT_;
    double x_, y_, z_, slopeX_, slopeY_, min_, max_, slack_;
    bool bSound_;
};

}  // namespace LUMO_TARO25D
