#pragma once

#include <gmpxx.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <fstream>
#include <string>
#include <vector>

#include "support/generators.h"
#include "taro25d/Segment2.h"
#include "taro25d/Triangle2.h"

// Polygons, and a slow oracle that tells what is inside.

using SegmentVector = std::vector<LUMO_TARO25D::Segment2>;

/// The sides of the polygon with these corners.
inline SegmentVector makeSides(const PointVector& vCorners) {
    SegmentVector vSides;
    for (size_t i = 0; i < vCorners.size(); ++i) {
        vSides.emplace_back(vCorners[i], vCorners[(i + 1) % vCorners.size()]);
    }
    return vSides;
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

/// Twice the signed area, rounded.
inline double getArea(const PointVector& vCorners) {
    double sum = 0;
    for (size_t i = 0; i < vCorners.size(); ++i) {
        const auto &o = vCorners[0], &p = vCorners[i], &q = vCorners[(i + 1) % vCorners.size()];
        sum += (p.x() - o.x()) * (q.y() - o.y()) - (q.x() - o.x()) * (p.y() - o.y());
    }
    return sum / 2;
}

/// Whether the barycentre of a triangle is inside: exact, for one that is on no side.
inline bool isInside(const SegmentVector& vSides, const LUMO_TARO25D::Triangle2& t) {
    using Rational = mpq_class;
    const auto &a = *t.getCorner(0), &b = *t.getCorner(1), &c = *t.getCorner(2);
    const auto [minY, maxY] = std::minmax({a.y(), b.y(), c.y()});
    const double maxX = std::max({a.x(), b.x(), c.x()}), minX = std::min({a.x(), b.x(), c.x()});
    const Rational x3 = Rational(a.x()) + b.x() + c.x(), y3 = Rational(a.y()) + b.y() + c.y();
    bool bInside = false;
    for (const auto& side : vSides) {
        const auto &p = side.getSrc(), &q = side.getTrg();
        if (std::max(p.y(), q.y()) < minY || std::min(p.y(), q.y()) > maxY || std::max(p.x(), q.x()) < minX) continue;
        const bool bUp = 3 * Rational(p.y()) <= y3;
        if (bUp == (3 * Rational(q.y()) <= y3)) continue;
        if (std::min(p.x(), q.x()) > maxX) {
            bInside = !bInside;
            continue;
        }
        const Rational det = (Rational(q.x()) - p.x()) * (y3 - 3 * Rational(p.y())) -
                             (Rational(q.y()) - p.y()) * (x3 - 3 * Rational(p.x()));
        if (sgn(det) == (bUp ? 1 : -1)) bInside = !bInside;
    }
    return bInside;
}

/// Segments from a file of the shared data: their number as uint64, then four doubles each. Empty where it is absent.
inline SegmentVector readSegments(const std::string& filename) {
    std::ifstream file(std::string(TARO25D_SHARED_DATA_DIR) + "/segments/" + filename, std::ios::binary);
    std::uint64_t n = 0;
    file.read(reinterpret_cast<char*>(&n), sizeof(n));
    SegmentVector vSegments;
    double a[4];
    for (; file && vSegments.size() < n && file.read(reinterpret_cast<char*>(a), sizeof(a));) {
        vSegments.emplace_back(LUMO_TARO25D::Point2(a[0], a[1], 0), LUMO_TARO25D::Point2(a[2], a[3], 0));
    }
    return vSegments;
}
