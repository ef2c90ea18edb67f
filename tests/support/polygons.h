#pragma once

#include <gmpxx.h>

#include <algorithm>
#include <cmath>
#include <map>
#include <vector>

#include "support/generators.h"
#include "taro25d/Segment2.h"
#include "taro25d/Triangle2.h"

// Polygons, and slow oracles for the inside.

using SegmentVector = std::vector<LUMO_TARO25D::Segment2>;

inline LUMO_TARO25D::Segment2 makeSegment(double x0, double y0, double x1, double y1, double z0 = 0, double z1 = 0) {
    return LUMO_TARO25D::Segment2(LUMO_TARO25D::Point2(x0, y0, z0), LUMO_TARO25D::Point2(x1, y1, z1));
}

/// The segments from each point to the next.
inline SegmentVector makeChain(const PointVector& vPoints) {
    SegmentVector vSegments;
    for (size_t i = 1; i < vPoints.size(); ++i) vSegments.emplace_back(vPoints[i - 1], vPoints[i]);
    return vSegments;
}

/// The sides of the polygon with these corners.
inline SegmentVector makeSides(const PointVector& vCorners) {
    SegmentVector vSides = makeChain(vCorners);
    vSides.emplace_back(vCorners.back(), vCorners.front());
    return vSides;
}

template <class T>
std::vector<T> joined(std::vector<T> v, const std::vector<T>& w) {
    v.insert(v.end(), w.begin(), w.end());
    return v;
}

template <class T>
std::vector<T> reversed(std::vector<T> v) {
    std::reverse(v.begin(), v.end());
    return v;
}

inline PointVector makeRectangle(double minX, double minY, double maxX, double maxY) {
    return {{minX, minY, 0}, {maxX, minY, 0}, {maxX, maxY, 0}, {minX, maxY, 0}};
}

/// A polygon around a centre whose corners have random distances from it; simple, with n > 4 corners.
inline PointVector makeStar(size_t n, double x, double y, double radius, Random& r) {
    PointVector vCorners;
    for (size_t i = 0; i < n; ++i) {
        const double angle = 2 * M_PI * (static_cast<double>(i) + uniform(r, 0, 0.9)) / static_cast<double>(n);
        const double distance = radius * uniform(r, 0.2, 1);
        vCorners.emplace_back(x + distance * std::cos(angle), y + distance * std::sin(angle), 0);
    }
    return vCorners;
}

/// The rings of segments that lead from corner to corner.
inline std::vector<PointVector> ringsOf(const SegmentVector& vSegments) {
    std::map<LUMO_TARO25D::Point2, LUMO_TARO25D::Point2> mNext;
    for (const auto& segment : vSegments) mNext.emplace(segment.getSrc(), segment.getTrg());
    std::vector<PointVector> vRings;
    while (!mNext.empty()) {
        PointVector& vRing = vRings.emplace_back();
        for (auto it = mNext.begin(); it != mNext.end();) {
            const auto [corner, next] = *it;
            vRing.push_back(corner);
            mNext.erase(it);
            it = mNext.find(next);
        }
    }
    return vRings;
}

/// The part of a convex polygon on which a function that is linear on it is not negative (Sutherland, Hodgman 1974).
template <class FunctionT>
PointVector clip(const PointVector& vPolygon, const FunctionT& f) {
    PointVector vPart;
    for (size_t i = 0; i < vPolygon.size(); ++i) {
        const auto &a = vPolygon[i], &b = vPolygon[(i + 1) % vPolygon.size()];
        const double fa = f(a), fb = f(b);
        if (fa >= 0) vPart.push_back(a);
        if ((fa > 0 && fb < 0) || (fa < 0 && fb > 0)) {
            const double t = fa / (fa - fb);
            vPart.emplace_back(a.x() + t * (b.x() - a.x()), a.y() + t * (b.y() - a.y()), 0);
        }
    }
    return vPart;
}

/// The part on the left of the line from a to b.
inline PointVector clip(const PointVector& vPolygon, const LUMO_TARO25D::Point2& a, const LUMO_TARO25D::Point2& b) {
    return clip(vPolygon, [&](const LUMO_TARO25D::Point2& p) {
        return (b.x() - a.x()) * (p.y() - a.y()) - (b.y() - a.y()) * (p.x() - a.x());
    });
}

/// The signed area.
inline double getArea(const PointVector& vCorners) {
    double sum = 0;
    for (size_t i = 0; i < vCorners.size(); ++i) {
        const auto &o = vCorners[0], &p = vCorners[i], &q = vCorners[(i + 1) % vCorners.size()];
        sum += (p.x() - o.x()) * (q.y() - o.y()) - (q.x() - o.x()) * (p.y() - o.y());
    }
    return sum / 2;
}

/// How often directed sides wind counterclockwise around the barycentre of a triangle: exact, for one that is on no
/// side.
inline int getWindingNumber(const SegmentVector& vSides, const LUMO_TARO25D::Triangle2& t) {
    using Rational = mpq_class;
    const auto &a = *t.getCorner(0), &b = *t.getCorner(1), &c = *t.getCorner(2);
    const auto [minY, maxY] = std::minmax({a.y(), b.y(), c.y()});
    const double maxX = std::max({a.x(), b.x(), c.x()}), minX = std::min({a.x(), b.x(), c.x()});
    const Rational x3 = Rational(a.x()) + b.x() + c.x(), y3 = Rational(a.y()) + b.y() + c.y();
    int winding = 0;
    for (const auto& side : vSides) {
        const auto &p = side.getSrc(), &q = side.getTrg();
        if (std::max(p.y(), q.y()) < minY || std::min(p.y(), q.y()) > maxY || std::max(p.x(), q.x()) < minX) continue;
        const bool bUp = 3 * Rational(p.y()) <= y3;
        if (bUp == (3 * Rational(q.y()) <= y3)) continue;
        const int passage = bUp ? 1 : -1;
        if (std::min(p.x(), q.x()) > maxX) {
            winding += passage;
            continue;
        }
        const Rational det = (Rational(q.x()) - p.x()) * (y3 - 3 * Rational(p.y())) -
                             (Rational(q.y()) - p.y()) * (x3 - 3 * Rational(p.x()));
        if (sgn(det) == passage) winding += passage;
    }
    return winding;
}

/// Whether the barycentre is inside by the even-odd rule, which does not ask for directions.
inline bool isInside(const SegmentVector& vSides, const LUMO_TARO25D::Triangle2& t) {
    return getWindingNumber(vSides, t) % 2 != 0;
}
