#include "modelling/PointFan.h"

#include <algorithm>

#include "kernel/links.h"

namespace LUMO_TARO25D {

void PointFan::set(const Point2& center, const std::vector<Triangle2*>& vTriangles) {
    pCenter_ = &center;
    x_ = center.x();
    y_ = center.y();
    last_ = 0;
    vSpokes_.clear();
    vPlanes_.clear();
    double reachX = 0.0, reachY = 0.0;
    const auto addSpoke = [&](const Point2* pEnd) {
        vSpokes_.push_back({pEnd, pEnd->x() - x_, pEnd->y() - y_, 0.0});
        reachX = std::max(reachX, std::abs(vSpokes_.back().dx));
        reachY = std::max(reachY, std::abs(vSpokes_.back().dy));
    };
    for (const Triangle2* pT : vTriangles) {
        const int i = indexOfVertex(pT, &center);
        addSpoke(pT->getCorner(incIndexBy1(i)));
        vPlanes_.emplace_back(pT, i);
        if (pT == vTriangles.back()) addSpoke(pT->getCorner(incIndexBy2(i)));
    }
    // The error bound of a filtered orientation test (Shewchuk 1997) for all points of the fan; underflow adds less
    // than TINY.
    constexpr double ERROR_BOUND = 0x1p-50, TINY = 1e-300;
    for (Spoke& spoke : vSpokes_)
        spoke.bound = ERROR_BOUND * (std::abs(spoke.dx) * reachY + std::abs(spoke.dy) * reachX) + TINY;
}

Orientation2 PointFan::getSideExactly(const Spoke& spoke, double x, double y) {
    const Point2 point(x, y, 0.0);
    return geomTest_.getOrientation2(pCenter_, spoke.pEnd, &point);
}

}  // namespace LUMO_TARO25D
