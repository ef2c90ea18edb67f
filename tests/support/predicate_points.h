#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <functional>
#include <random>
#include <string>
#include <vector>

#include "kernel/GeomTest.h"
#include "support/exact.h"
#include "support/generators.h"

// Points for which predicates are hard to decide.

namespace predicate_points {

using namespace LUMO_TARO25D;

using Points = std::array<Point2, 4>;

inline Point2 at(double x, double y, double z = 0.0) { return Point2(x, y, z); }

inline int signOf(Orientation2 ori) { return ori == ORIENTATION2_CCW ? 1 : ori == ORIENTATION2_CW ? -1 : 0; }
inline int signOf(CINC2 cinc) { return cinc == CINC2_INCIRCLE ? 1 : cinc == CINC2_OUTCIRCLE ? -1 : 0; }

inline double getMaxCoord(const Points& points) {
    double largest = 0.0;
    for (const Point2& p : points) largest = std::max({largest, std::abs(p.x()), std::abs(p.y())});
    return largest;
}

/// Groups of four points from the hard corners of the predicates. All are finite.
class PointSource {
  public:
    explicit PointSource(unsigned seed) : engine_(seed) {}

    static constexpr int numKinds = 12;

    Points get(int kind) {
        if (kind == 0) return make([&] { return at(unit(), unit()); });
        if (kind == 1) return nudged(onLine(at(unit(), unit()), at(unit(), unit())));
        if (kind == 2) return make([&] { return diagonalPoint(0, 40); });
        if (kind == 3) return make([&] { return at(integer(-4, 4), integer(-4, 4)); });
        if (kind == 4) return nudged(onLine(surveyPoint(), surveyPoint()));
        if (kind == 5) return make([&] { return at(anyDouble(), anyDouble()); });
        if (kind == 6) return atOppositeCorners();
        if (kind == 7) return nudged(make([&] { return onUnitCircle(4 * unit()); }));
        if (kind == 8) return onLatticeCircle();
        if (kind == 9) return trapezoid();
        if (kind == 10) return besideDiagonal();
        return make([&] { return at(integerOrTiny(), integerOrTiny()); });
    }

    /// A group multiplied by a power of two: from subnormal numbers to the largest ones.
    Points getScaled(int kind) {
        const Points points = get(kind);
        const int room = 1023 - std::ilogb(std::max(getMaxCoord(points), 1e-300));
        const int shift = integer(room - 2097, room);
        return transformed(points, [&](double v) { return std::ldexp(v, shift); });
    }

    int integer(int from, int to) { return std::uniform_int_distribution<int>(from, to)(engine_); }
    double unit() { return std::uniform_real_distribution<double>(-1.0, 1.0)(engine_); }

  private:
    template <class F>
    static Points make(F f) {
        return {f(), f(), f(), f()};
    }
    static Points transformed(const Points& points, const std::function<double(double)>& f) {
        Points result;
        for (int i = 0; i < 4; ++i) result[i].set(f(points[i].x()), f(points[i].y()), 0.0);
        return result;
    }
    /// Moves about half of the coordinates by an ulp or a few.
    Points nudged(const Points& points) {
        return transformed(points, [&](double v) {
            for (int i = integer(-3, 3); i > 0; --i) v = std::nextafter(v, integer(0, 1) ? 1e308 : -1e308);
            return v;
        });
    }
    double anyDouble() { return std::ldexp(unit(), integer(-1074, 1024)); }
    Point2 surveyPoint() { return at(4512000 + integer(0, 900000) / 1000.0, integer(0, 900000) / 1000.0); }
    static Point2 onUnitCircle(double angle) { return at(std::cos(angle), std::sin(angle)); }
    Points onLine(const Point2& a, const Point2& b) {
        return make([&] {
            const double t = unit() * 2;
            return at(a.x() + t * (b.x() - a.x()), a.y() + t * (b.y() - a.y()));
        });
    }
    /// Exactly on the line y = 3x; differences of these need more bits than a double has.
    Point2 diagonalPoint(int minShift, int maxShift) {
        const double x = std::ldexp(integer(-(1 << 30), 1 << 30), -30 - integer(minShift, maxShift));
        return at(x, 3 * x);
    }
    /// The third point is so close to the line of the others that even double-double arithmetic barely tells its side.
    Points besideDiagonal() {
        Points points = make([&] { return diagonalPoint(0, 3); });
        points[2] = nudged(make([&] { return diagonalPoint(40, 60); }))[0];
        return points;
    }
    /// Differences of these can lose the tiny part.
    double integerOrTiny() { return std::ldexp(integer(-4, 4), integer(0, 2) ? 0 : -60); }
    /// Near opposite corners of the box, where the static bound is nearly reached.
    Points atOppositeCorners() {
        const double m = 1.0 + std::abs(unit());
        const auto corner = [&](double v) { return at(v, v); };
        return nudged({corner(m), corner(m), corner(-m), corner(-m)});
    }
    /// Integer points on one circle, some too large for small integer types.
    Points onLatticeCircle() {
        static const std::vector<Point2> vCircle = [] {
            std::vector<Point2> vResult;
            for (int x = -65; x <= 65; ++x)
                for (int y = -65; y <= 65; ++y)
                    if (x * x + y * y == 65 * 65) vResult.push_back(at(x, y));
            return vResult;
        }();
        const double factor = integer(0, 1) ? 1.0 : 1.0 + integer(0, 1 << 30);
        const double shift = integer(-1000, 1000);
        const int last = static_cast<int>(vCircle.size()) - 1;
        const Points points = make([&] { return vCircle[integer(0, last)]; });
        return transformed(points, [&](double v) { return v * factor + shift; });
    }
    /// Isosceles trapezoids have a circumcircle, whatever their sides.
    Points trapezoid() {
        const double a = unit(), b = unit(), c = std::ldexp(unit(), -integer(0, 12)), d = unit();
        const bool bUpright = integer(0, 1) != 0;
        const auto corner = [&](double u, double v) { return bUpright ? at(v, u) : at(u, v); };
        Points points = {corner(a, b), corner(-a, b), corner(c, d), corner(-c, d)};
        std::shuffle(points.begin(), points.end(), engine_);
        return points;
    }

    std::mt19937_64 engine_;
};

inline std::string describe(const Points& points) {
    std::ostringstream stream;
    stream << std::hexfloat;
    for (const Point2& p : points) stream << p.x() << " " << p.y() << "\n";
    return stream.str();
}

}  // namespace predicate_points
