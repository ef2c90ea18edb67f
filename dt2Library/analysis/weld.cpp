#include "analysis/weld.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <utility>

#include "kernel/tools.h"
#include "support/stopping.h"

namespace LUMO_TARO25D {

namespace {

/// Points in a grid of cells twice as wide as the distance, so that all points within the distance of a place are in
/// four cells.
class Cells {
  public:
    Cells(const std::vector<Point2>& vPoints, double distance)
        : vPoints_(vPoints), distance_(distance), vTaken_(vPoints.size(), false) {
        for (size_t i = 0; i < vPoints.size(); ++i) {
            vEntries_.push_back({std::floor(toCells(vPoints[i].x())), std::floor(toCells(vPoints[i].y())), i});
        }
        std::sort(vEntries_.begin(), vEntries_.end(), withCancelPoints(isBefore));
    }

    /// Takes the nearest point within the distance that has not been taken; null if there is none.
    const Point2* takeNear(const Point2& place) {
        size_t best = vPoints_.size();
        double sqBest = distance_ * distance_;
        const double x = std::floor(toCells(place.x()) - 0.5), y = std::floor(toCells(place.y()) - 0.5);
        for (const double cellX : {x, x + 1}) {
            const auto begin = std::lower_bound(vEntries_.begin(), vEntries_.end(), Entry{cellX, y, 0}, isBefore);
            for (auto it = begin; it != vEntries_.end() && it->x == cellX && it->y <= y + 1; ++it) {
                const double sqDistance = sqDistance2D(place, vPoints_[it->i]);
                if (vTaken_[it->i] || !(sqDistance <= sqBest)) continue;
                best = it->i;
                sqBest = sqDistance;
            }
        }
        if (best == vPoints_.size()) return nullptr;
        vTaken_[best] = true;
        return &vPoints_[best];
    }

  private:
    struct Entry {
        double x, y;
        size_t i;
    };
    static bool isBefore(const Entry& a, const Entry& b) {
        return a.x != b.x ? a.x < b.x : a.y != b.y ? a.y < b.y : a.i < b.i;
    }
    double toCells(double coordinate) const { return 0.5 * coordinate / distance_; }

    const std::vector<Point2>& vPoints_;
    double distance_;
    std::vector<bool> vTaken_;
    std::vector<Entry> vEntries_;
};

}  // namespace

void weld(const std::vector<Point2>& vFixed, double distance, std::vector<Point2>& vMoving) {
    Cells cells(vFixed, distance);
    CancelPoint<> cancelPoint;
    for (Point2& point : vMoving) {
        cancelPoint.pass();
        if (const Point2* pNear = cells.takeNear(point)) point.set(pNear->x(), pNear->y(), point.z());
    }
}

}  // namespace LUMO_TARO25D
