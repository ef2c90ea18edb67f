#include "modelling/PointFan.h"

#include <cmath>

#include "kernel/links.h"

namespace LUMO_TARO25D {

PointFan::PointFan(const Point2& center, const std::vector<Triangle2*>& vTriangles, GeomTest& geomTest)
    : center_(center), geomTest_(geomTest) {
    vSectors_.reserve(vTriangles.size());
    const auto getSpoke = [&](const Point2* pEnd) {
        return Spoke{pEnd, pEnd->x() - center.x(), pEnd->y() - center.y()};
    };
    for (const Triangle2* pT : vTriangles) {
        const int i = indexOfVertex(pT, &center);
        vSectors_.push_back(
            {getSpoke(pT->getCorner(incIndexBy1(i))), getSpoke(pT->getCorner(incIndexBy2(i))), TrianglePlane(pT)});
    }
}

/// The error bound of a filtered orientation test (Shewchuk 1997); underflow adds less than TINY.
inline bool PointFan::isOnSide(Orientation2 side, const Spoke& spoke, double x, double y) {
    constexpr double ERROR_BOUND = 0x1p-51, TINY = 1e-300;
    const double a = spoke.dx * (y - center_.y()), b = spoke.dy * (x - center_.x()), det = a - b;
    if (std::abs(det) > ERROR_BOUND * (std::abs(a) + std::abs(b)) + TINY)
        return (det > 0.0) == (side == ORIENTATION2_CCW);
    const Point2 point(x, y, 0.0);
    return geomTest_.getOrientation2(&center_, spoke.pEnd, &point) == side;
}

// A sector is narrower than a half plane, so that its two spokes decide. If the point is right of the right spoke, it
// is also right of the right spokes of all sectors passed clockwise up to its own; left likewise.
size_t PointFan::find(double x, double y) {
    const size_t num = vSectors_.size();
    const size_t first = last_;
    while (isOnSide(ORIENTATION2_CW, vSectors_[last_].right, x, y)) last_ = (last_ == 0 ? num : last_) - 1;
    if (last_ != first) return last_;
    while (isOnSide(ORIENTATION2_CCW, vSectors_[last_].left, x, y)) last_ = last_ + 1 == num ? 0 : last_ + 1;
    return last_;
}

}  // namespace LUMO_TARO25D
