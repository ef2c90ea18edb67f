// The convex hull. Most places lie inside the polygon of the places that are extreme in eight directions, and cannot be
// corners (Akl and Toussaint 1978). A place strictly left of all sides of a closed polygon is inside the hull of that
// polygon's corners, whichever corners rounding chose. The remaining places are sorted, and two chains of left turns
// make the hull (Andrew 1979).

#include "modelling/hullCorners.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <numeric>
#include <tuple>

#include "kernel/GeomTest.h"

namespace LUMO_TARO25D {

namespace {

using Place = PointBuckets::Place;

/// The corners of a polygon of extreme places, counterclockwise.
std::vector<Point2> getExtremePolygon(const std::vector<Place>& vPlaces) {
    constexpr std::array<std::array<double, 2>, 8> DIRECTIONS{
        {{0, -1}, {1, -1}, {1, 0}, {1, 1}, {0, 1}, {-1, 1}, {-1, 0}, {-1, -1}}};
    std::vector<Point2> vCorners;
    for (const auto& direction : DIRECTIONS) {
        const auto reach = [&](const Place& p) { return direction[0] * p.x + direction[1] * p.y; };
        const auto isLess = [&](const Place& p, const Place& q) { return reach(p) < reach(q); };
        const Point2 corner = std::max_element(vPlaces.begin(), vPlaces.end(), isLess)->getPoint();
        if (vCorners.empty() || (vCorners.back() != corner && vCorners.front() != corner)) vCorners.push_back(corner);
    }
    return vCorners;
}

class HullBuilder {
  public:
    explicit HullBuilder(const std::vector<Place>& vPlaces) : vPlaces_(vPlaces) {
        double magnitude = 0.0;
        for (const Place& place : vPlaces) magnitude = std::max({magnitude, std::abs(place.x), std::abs(place.y)});
        geomTest_.setStaticBound(magnitude);
    }

    /// The places that may be corners, by x, then y.
    std::vector<std::uint32_t> getCandidates() {
        const std::vector<Point2> vPolygon = getExtremePolygon(vPlaces_);
        std::vector<std::uint32_t> vCandidates;
        for (std::uint32_t k = 0; k < vPlaces_.size(); ++k) {
            if (!isInside(vPolygon, vPlaces_[k].getPoint())) vCandidates.push_back(k);
        }
        std::sort(vCandidates.begin(), vCandidates.end(), [this](std::uint32_t a, std::uint32_t b) {
            return std::tie(vPlaces_[a].x, vPlaces_[a].y) < std::tie(vPlaces_[b].x, vPlaces_[b].y);
        });
        return vCandidates;
    }

    /// Appends the corners on the right of the line from the first candidate to the last, without the last.
    template <class Iterator>
    void addChain(Iterator begin, Iterator end, std::vector<std::uint32_t>& vHull) {
        const size_t start = vHull.size();
        for (Iterator it = begin; it != end; ++it) {
            while (vHull.size() >= start + 2 && !isLeftTurn(vHull[vHull.size() - 2], vHull.back(), *it))
                vHull.pop_back();
            vHull.push_back(*it);
        }
        vHull.pop_back();
    }

  private:
    bool isLeftTurn(std::uint32_t a, std::uint32_t b, std::uint32_t c) {
        return isLeftOf(vPlaces_[a].getPoint(), vPlaces_[b].getPoint(), vPlaces_[c].getPoint());
    }
    bool isLeftOf(const Point2& a, const Point2& b, const Point2& p) {
        return geomTest_.getOrientation2(&a, &b, &p) == ORIENTATION2_CCW;
    }
    bool isInside(const std::vector<Point2>& vPolygon, const Point2& point) {
        for (size_t i = 0; i < vPolygon.size(); ++i) {
            if (!isLeftOf(vPolygon[i], vPolygon[(i + 1) % vPolygon.size()], point)) return false;
        }
        return true;
    }

    const std::vector<Place>& vPlaces_;
    GeomTest geomTest_;
};

}  // namespace

std::vector<std::uint32_t> getHullCorners(const std::vector<Place>& vPlaces) {
    std::vector<std::uint32_t> vAll(vPlaces.size()), vHull;
    std::iota(vAll.begin(), vAll.end(), 0u);
    if (vPlaces.size() < 3) return vAll;
    HullBuilder builder(vPlaces);
    const std::vector<std::uint32_t> vCandidates = builder.getCandidates();
    builder.addChain(vCandidates.begin(), vCandidates.end(), vHull);
    builder.addChain(vCandidates.rbegin(), vCandidates.rend(), vHull);
    return vHull.size() < 3 ? vAll : vHull;
}

}  // namespace LUMO_TARO25D
