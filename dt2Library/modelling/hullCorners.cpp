// The convex hull. Most places lie inside the polygon of the places that are extreme in eight directions, and cannot be
// corners (Akl and Toussaint 1978). A place strictly left of all sides of a closed polygon is inside the hull of that
// polygon's corners, whichever corners rounding chose. The remaining places are sorted, and two chains of left turns
// make the hull (Andrew 1979).

#include "modelling/hullCorners.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <limits>
#include <numeric>
#include <tuple>

#include "kernel/GeomTest.h"
#include "taro25d/Bbox2.h"

namespace LUMO_TARO25D {

namespace {

using Place = PointBuckets::Place;

constexpr size_t NUM_DIRECTIONS = 8;
using Extremes = std::array<const Place*, NUM_DIRECTIONS>;

/// The places that reach farthest to the south, the south east and so on, counterclockwise.
Extremes findExtremes(const std::vector<Place>& vPlaces) {
    Extremes aExtremes;
    aExtremes.fill(vPlaces.data());
    std::array<double, NUM_DIRECTIONS> aReach;
    aReach.fill(-std::numeric_limits<double>::infinity());
    for (const Place& place : vPlaces) {
        const double sum = place.x + place.y, difference = place.x - place.y;
        const std::array<double, NUM_DIRECTIONS> aOfPlace{-place.y, difference,  place.x,  sum,
                                                          place.y,  -difference, -place.x, -sum};
        for (size_t i = 0; i < NUM_DIRECTIONS; ++i) {
            if (!(aOfPlace[i] > aReach[i])) continue;
            aReach[i] = aOfPlace[i];
            aExtremes[i] = &place;
        }
    }
    return aExtremes;
}

/// The corners of the polygon of extreme places, counterclockwise.
std::vector<Point2> getPolygon(const Extremes& aExtremes) {
    std::vector<Point2> vCorners;
    for (const Place* pPlace : aExtremes) {
        const Point2 corner = pPlace->getPoint();
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
        const Extremes aExtremes = findExtremes(vPlaces_);
        const std::vector<Point2> vPolygon = getPolygon(aExtremes);
        const Bbox2 rectangle = getInnerRectangle(aExtremes, vPolygon);
        std::vector<std::uint32_t> vCandidates;
        for (std::uint32_t k = 0; k < vPlaces_.size(); ++k) {
            const Place& place = vPlaces_[k];
            const bool bBetweenX = rectangle.getMinX() < place.x && place.x < rectangle.getMaxX();
            if (bBetweenX && rectangle.getMinY() < place.y && place.y < rectangle.getMaxY()) continue;
            if (!isInside(vPolygon, place.getPoint())) vCandidates.push_back(k);
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
    /// A rectangle in the polygon, which decides for most places (Sedgewick 1990); a point if rounding has spoilt it.
    Bbox2 getInnerRectangle(const Extremes& aExtremes, const std::vector<Point2>& vPolygon) {
        const Place &southEast = *aExtremes[1], &northEast = *aExtremes[3], &northWest = *aExtremes[5],
                    &southWest = *aExtremes[7];
        const double minX = std::max(southWest.x, northWest.x), maxX = std::min(southEast.x, northEast.x);
        const double minY = std::max(southWest.y, southEast.y), maxY = std::min(northWest.y, northEast.y);
        const auto isOutside = [&](const Point2& corner) {
            for (size_t i = 0; i < vPolygon.size(); ++i) {
                if (isLeftOf(corner, vPolygon[(i + 1) % vPolygon.size()], vPolygon[i])) return true;
            }
            return false;
        };
        if (!(minX < maxX && minY < maxY)) return Bbox2(minX, minY, minX, minY);
        const Bbox2 rectangle(minX, minY, maxX, maxY);
        std::vector<Point2> vCorners;
        Bbox2(rectangle).getCorners(vCorners);
        const bool bSpoilt = std::any_of(vCorners.begin(), vCorners.end(), isOutside);
        return bSpoilt ? Bbox2(minX, minY, minX, minY) : rectangle;
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
