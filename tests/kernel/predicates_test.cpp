#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cfenv>
#include <cmath>
#include <fstream>
#include <functional>
#include <map>
#include <random>
#include <string>
#include <vector>

#include "kernel/GeomTest.h"
#include "support/capture.h"
#include "support/exact.h"
#include "support/files.h"
#include "support/generators.h"
#include "taro25d/TaroException.h"
#include "taro25d/freeFunctions.h"

using namespace LUMO_TARO25D;

namespace {

using Points = std::array<Point2, 4>;

Point2 at(double x, double y, double z = 0.0) { return Point2(x, y, z); }

int signOf(Orientation2 ori) { return ori == ORIENTATION2_CCW ? 1 : ori == ORIENTATION2_CW ? -1 : 0; }
int signOf(CINC2 cinc) { return cinc == CINC2_INCIRCLE ? 1 : cinc == CINC2_OUTCIRCLE ? -1 : 0; }

double getMaxCoord(const Points& points) {
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

/// Counts the answers of a stage and checks each.
void expectSign(int expected, const std::optional<int>& sign, const std::string& stage,
                std::map<std::string, int>& mAnswers) {
    if (!sign) return;
    ++mAnswers[stage];
    EXPECT_EQ(expected, *sign) << stage;
}

void expectAllUsed(const std::map<std::string, int>& mAnswers, const std::vector<std::string>& vStages) {
    for (const std::string& stage : vStages) {
        const auto it = mAnswers.find(stage);
        EXPECT_TRUE(it != mAnswers.end() && it->second > 100) << "hardly exercised: " << stage;
    }
}

/// Whether the last point completes the others to an axis-parallel rectangle.
bool isRectangle(const Points& points) {
    const Point2& q = points[3];
    for (int i = 0; i < 3; ++i)
        for (int k = 0; k < 3; ++k) {
            if (i == k || points[i].x() != q.x() || points[k].y() != q.y()) continue;
            if (points[3 - i - k] == at(points[k].x(), points[i].y())) return true;
        }
    return false;
}

bool areDistinct(Points points) {
    std::sort(points.begin(), points.end());
    return std::adjacent_find(points.begin(), points.end()) == points.end();
}

std::string describe(const Points& points) {
    std::ostringstream stream;
    stream << std::hexfloat;
    for (const Point2& p : points) stream << p.x() << " " << p.y() << "\n";
    return stream.str();
}

void checkOrientationStages(const Points& points, std::map<std::string, int>& mAnswers) {
    const Point2 &a = points[0], &b = points[1], &c = points[2];
    const mpq_class det = exactOrientationDeterminant(a, b, c);
    const int expected = sgn(det);

    expectSign(expected, GeomTest::productFilterOri2(a, b, c), "products", mAnswers);
    expectSign(expected, GeomTest::expansionOri2(a, b, c), "expansion", mAnswers);

    const double lower = GeomTest::lowerBoundOri2(a, b, c), upper = GeomTest::upperBoundOri2(a, b, c);
    EXPECT_FALSE(std::isfinite(lower) && mpq_class(lower) > det);
    EXPECT_FALSE(std::isfinite(upper) && mpq_class(upper) < det);
    EXPECT_FALSE(lower == HUGE_VAL || upper == -HUGE_VAL);

    GeomTest intervalTest, exactTest, fullTest;
    const int intervalSign = signOf(intervalTest.dynamicFilterOri2(&a, &b, &c));
    expectSign(expected, intervalSign, intervalTest.hasRationals() ? "rational" : "interval", mAnswers);
    EXPECT_EQ(expected, signOf(exactTest.exact_getOrientation2(&a, &b, &c)));

    fullTest.setStaticBound(getMaxCoord(points));
    for (int i = 0; i < 3; ++i) {
        const Point2 *p0 = &points[i], *p1 = &points[(i + 1) % 3], *p2 = &points[(i + 2) % 3];
        EXPECT_EQ(expected, signOf(fullTest.getOrientation2(p0, p1, p2)));
        EXPECT_EQ(-expected, signOf(fullTest.getOrientation2(p1, p0, p2)));
    }
    EXPECT_EQ(expected, signOf(getOrientation2_mt(&a, &b, &c)));
}

void checkInCircleStages(Points points, std::map<std::string, int>& mAnswers) {
    const Point2 &a = points[0], &b = points[1], &c = points[2], &q = points[3];
    const int expected = exactInCircle(a, b, c, q);
    GeomTest geomTest;
    expectSign(expected, GeomTest::permanentInCircle(a, b, c, q), "filter", mAnswers);
    expectSign(expected, GeomTest::integerInCircle(a, b, c, q), "integer", mAnswers);
    expectSign(expected, GeomTest::doubleDoubleInCircle(a, b, c, q), "double-double", mAnswers);
    expectSign(expected, GeomTest::expansionInCircle(a, b, c, q), "expansion", mAnswers);
    expectSign(expected, geomTest.rationalInCircle(a, b, c, q), "rational", mAnswers);

    const Triangle2 triangle(&points[0], &points[1], &points[2]);
    for (const double bound : {0.0, getMaxCoord(points), 1e308}) {
        if (bound != 0.0) geomTest.setStaticBound(bound);
        EXPECT_EQ(expected, signOf(geomTest.circleInc3state(&triangle, &q)));
        EXPECT_EQ(expected, signOf(geomTest.exact_circleInc3state(&triangle, &q)));
        if (expected == 0 && !areDistinct(points)) continue;
        const bool bInside = expected > 0 || (expected == 0 && isRectangle(points));
        EXPECT_EQ(bInside, geomTest.circleInc(&a, &b, &c, &q));
        EXPECT_EQ(bInside, geomTest.circleInc(&b, &c, &a, &q));
        EXPECT_EQ(bInside, geomTest.circleInc(&c, &a, &b, &q));
        EXPECT_EQ(bInside, geomTest.exact_circleInc(&triangle, &q));
    }
}

/// Half of the groups are scaled. Stops at the first group that fails.
void forManyPoints(unsigned seed, size_t numEachKind, const std::function<void(const Points&)>& check) {
    SCOPED_TRACE("seed " + std::to_string(seed));
    PointSource source(seed);
    for (int i = 0; i < static_cast<int>(numEachKind) * PointSource::numKinds; ++i) {
        const int kind = i % PointSource::numKinds;
        const Points points = source.integer(0, 1) ? source.get(kind) : source.getScaled(kind);
        check(points);
        if (testing::Test::HasFailure()) FAIL() << "kind " << kind << "\n" << describe(points);
    }
}

}  // namespace

TEST(Predicates, EveryOrientationStageGivesTheExactSign) {
    std::map<std::string, int> mAnswers;
    forManyPoints(1, scaled(3000), [&](const Points& points) { checkOrientationStages(points, mAnswers); });
    expectAllUsed(mAnswers, {"products", "expansion", "interval", "rational"});
}

TEST(Predicates, EveryInCircleStageGivesTheExactSign) {
    std::map<std::string, int> mAnswers;
    forManyPoints(2, scaled(3000), [&](const Points& points) { checkInCircleStages(points, mAnswers); });
    expectAllUsed(mAnswers, {"filter", "integer", "double-double", "expansion", "rational"});
}

TEST(Predicates, StaticBoundHoldsAtTheLimitsOfItsRange) {
    // Scales at which products begin to underflow or overflow, and at which the bound itself would.
    PointSource source(3);
    for (const int exponent :
         {-1074, -1022, -540, -536, -535, -534, -533, -530, -512, -470, -465, 0, 480, 500, 510, 511, 1022})
        for (int i = 0; i < 300; ++i) {
            Points points = source.get(std::array{0, 1, 3, 6}[i % 4]);
            for (Point2& p : points) p.set(std::ldexp(p.x() / 4, exponent), std::ldexp(p.y() / 4, exponent), 0.0);
            GeomTest geomTest;
            geomTest.setStaticBound(-getMaxCoord(points));
            ASSERT_EQ(getMaxCoord(points), geomTest.getMaxAbsCoord());
            ASSERT_EQ(exactOrientation(points[0], points[1], points[2]),
                      signOf(geomTest.getOrientation2(&points[0], &points[1], &points[2])))
                << describe(points);
        }
}

TEST(Predicates, OverflowIsNotMistakenForASign) {
    // One rounded product is infinite, the other one is just finite, although its exact value is larger.
    const Point2 a = at(0x1.571b8f05f8c8ap+511, 0x1.82960c53f909ep+510),
                 b = at(0x1.b915fa1286fd9p+510, 0x1.9a4057d922b1ap+508),
                 c = at(-0x1.8b84ff670fd0fp+510, -0x1.b164533147ceep+511);
    ASSERT_EQ(-1, exactOrientation(a, b, c));
    GeomTest geomTest;
    geomTest.setStaticBound(0x1.b164533147ceep+511);
    EXPECT_EQ(ORIENTATION2_CW, geomTest.getOrientation2(&a, &b, &c));
}

TEST(Predicates, UnderflowIsNotMistakenForASign) {
    // The true products are 1.5 h (1 - 2^-55) and a little more, h = 2^-1074; rounded, they are 2 h and h.
    const double s = 0x1p-537, x = 0x1p-30;
    const Point2 a = at(s, s * (1 + x)), b = at(1.5 * s * (1 - x), 1.5 * s), c = at(s * 0x1p-55, 0);
    ASSERT_EQ(-1, exactOrientation(a, b, c));
    GeomTest geomTest;
    geomTest.setStaticBound(2 * s);
    EXPECT_EQ(ORIENTATION2_CW, geomTest.getOrientation2(&a, &b, &c));
    EXPECT_FALSE(GeomTest::productFilterOri2(a, b, c));
}

TEST(Predicates, CommonCasesNeedNoRationals) {
    GeomTest geomTest;
    geomTest.setStaticBound(1e9);
    const Points upright = {at(0.1, 7), at(0.1, -1e300), at(0.1, 5e-324)}, level = {at(7, 0), at(-2, 0), at(1e-300, 0)};
    EXPECT_EQ(ORIENTATION2_COLLINEAR, geomTest.dynamicFilterOri2(&upright[0], &upright[1], &upright[2]));
    EXPECT_EQ(ORIENTATION2_COLLINEAR, geomTest.dynamicFilterOri2(&level[0], &level[1], &level[2]));
    const Points p = {at(0.1, 0.4), at(1e-9, 4e-9), at(3e-17, 12e-17), at(512345.678, 5412345.678)};
    for (const Point2& other : p) {
        geomTest.getOrientation2(&p[0], &p[1], &other);
        geomTest.circleInc(&p[0], &p[1], &p[2], &other);
    }
    EXPECT_FALSE(geomTest.hasRationals());
}

TEST(Predicates, NeitherDoCoordinatesNearTheEndsOfTheRange) {
    Random random(7);
    for (const double scale : {0x1p-1040, 0x1p-900, 0x1p-500, 0x1p-300, 0x1p300, 0x1p500, 0x1p900, 0x1p1015}) {
        GeomTest geomTest(64 * scale);
        for (int i = 0; i < 2000; ++i) {
            const auto place = [&] {
                return Point2(scale * integer(random, -20, 20), scale * integer(random, -20, 20), 0);
            };
            const Point2 a = place(), b = place(), c = place(), d = place();
            const Orientation2 ori = geomTest.getOrientation2(&a, &b, &c);
            ASSERT_EQ(ori == ORIENTATION2_CCW, exactOrientation(a, b, c) > 0) << scale;
            ASSERT_EQ(ori == ORIENTATION2_CW, exactOrientation(a, b, c) < 0) << scale;
            if (ori != ORIENTATION2_CCW) continue;
            Point2 p = a, q = b, r = c;
            const Triangle2 triangle(&p, &q, &r);
            const int sign = exactInCircle(a, b, c, d);
            ASSERT_EQ(geomTest.circleInc3state(&triangle, &d), sign > 0   ? CINC2_INCIRCLE
                                                               : sign < 0 ? CINC2_OUTCIRCLE
                                                                          : CINC2_ZERO)
                << scale;
        }
        EXPECT_FALSE(geomTest.hasRationals()) << scale;
    }
}

TEST(Predicates, IntervalStageRoundsOutwardsInEveryCallersMode) {
    // Rounded to nearest, many of these determinants have the wrong sign; a bound would have it as well if the compiler
    // moved its operations across a change of the rounding mode.
    PointSource source(4);
    int numMisjudged = 0, numInterval = 0;
    for (const int mode : {FE_TONEAREST, FE_UPWARD, FE_DOWNWARD, FE_TOWARDZERO}) {
        for (int i = 0; i < 3000; ++i) {
            const Points points = source.get(i & 1 ? 1 : 6);
            const Point2 &a = points[0], &b = points[1], &c = points[2];
            const double rounded = (a.x() - c.x()) * (b.y() - c.y()) - (a.y() - c.y()) * (b.x() - c.x());
            const mpq_class det = exactOrientationDeterminant(a, b, c);
            numMisjudged += sgn(det) != (rounded > 0) - (rounded < 0);
            GeomTest geomTest;
            std::fesetround(mode);
            const double lower = GeomTest::lowerBoundOri2(a, b, c), upper = GeomTest::upperBoundOri2(a, b, c);
            const Orientation2 ori = geomTest.dynamicFilterOri2(&a, &b, &c);
            const int modeAfter = std::fegetround();
            std::fesetround(FE_TONEAREST);
            ASSERT_EQ(mode, modeAfter);
            ASSERT_EQ(sgn(det), signOf(ori)) << describe(points);
            ASSERT_TRUE(mpq_class(lower) <= det && det <= mpq_class(upper)) << describe(points);
            numInterval += !geomTest.hasRationals();
        }
    }
    EXPECT_GT(numMisjudged, 1000);
    EXPECT_GT(numInterval, 1000);
}

TEST(Predicates, RecordedOrientationCases) {
    if (!hasDataFolder()) GTEST_SKIP() << "without TARO25D_DATA_DIR";
    std::ifstream file(dataPath("predicates/orientation_cases.txt"));
    int numCases = 0, index, expected;
    double ax, ay, bx, by, cx, cy;
    while (file >> index >> ax >> ay >> bx >> by >> cx >> cy >> expected) {
        const Point2 a = at(ax, ay), b = at(bx, by), c = at(cx, cy);
        std::map<std::string, int> mAnswers;
        checkOrientationStages({a, b, c, c}, mAnswers);
        EXPECT_EQ(expected, signOf(getOrientation2_mt(&a, &b, &c))) << index;
        ++numCases;
    }
    EXPECT_EQ(1000, numCases);
}

TEST(Predicates, RectangleIsInsideForTwoStatesAndZeroForThree) {
    struct {
        Points points;
        bool bInside;
    } aCase[] = {{{at(0, 0), at(1, 0), at(1, 1), at(0, 1)}, true},
                 {{at(0.1, 1e-9), at(0.1, 77.7), at(-1e9, 77.7), at(-1e9, 1e-9)}, true},
                 {{at(1, 0), at(2, 1), at(1, 2), at(0, 1)}, false},  // a square, but not axis-parallel
                 {{at(-0.4, 0), at(0.4, 0), at(0.2, 0.3), at(-0.2, 0.3)}, false}};
    GeomTest geomTest;
    for (auto& [points, bInside] : aCase) {
        const Triangle2 triangle(&points[0], &points[1], &points[2]);
        EXPECT_EQ(CINC2_ZERO, geomTest.circleInc3state(&triangle, &points[3])) << describe(points);
        EXPECT_EQ(bInside, geomTest.exact_circleInc(&triangle, &points[3])) << describe(points);
    }
}

TEST(Predicates, NonFiniteCoordinatesThrow) {
    const StdoutCapture capture;
    GeomTest geomTest;
    geomTest.setStaticBound(1.0);
    Point2 a = at(0, 0), b = at(1, 0), c = at(1, 1);
    for (const double bad : {std::nan(""), HUGE_VAL, -HUGE_VAL}) {
        const Point2 q = at(0.25, bad);
        const Triangle2 triangle(&a, &b, &c);
        double x, y;
        EXPECT_THROW(geomTest.exact_getOrientation2(&a, &b, &q), TaroException);
        EXPECT_THROW(geomTest.circleInc(&a, &b, &c, &q), TaroException);
        EXPECT_THROW(geomTest.exact_circleInc3state(&triangle, &q), TaroException);
        EXPECT_THROW(geomTest.getIntersectionCoords_gmp(a, c, b, q, x, y), TaroException);
        EXPECT_THROW(geomTest.exactGetZOnSegment(a, q, 0, 0), TaroException);
    }
    const Point2 q = at(0.25, std::nan(""));
    EXPECT_THROW(geomTest.dynamicFilterOri2(&a, &b, &q), TaroException);
    geomTest.setStaticBound(HUGE_VAL);  // as the sum of three large magnitudes can be
    EXPECT_EQ(ORIENTATION2_CCW, geomTest.getOrientation2(&a, &b, &c));
}

TEST(Predicates, IntersectionTypeOfSegments) {
    const double up = std::nextafter(1.0, 2.0), huge = 1e300;
    const struct {
        Point2 p0, p1, p2, p3;
        IntersectionType expected;
    } aCase[] = {{at(0, 0), at(2, 2), at(0, 2), at(2, 0), IST_REGULAR},              // crossing
                 {at(0, 0), at(2, 0), at(1, 0), at(1, 5), IST_REGULAR},              // T
                 {at(0, 0), at(2, 0), at(2, 0), at(3, 5), IST_REGULAR},              // common end, not on one line
                 {at(0, 0), at(2, 0), at(3, 0), at(3, 5), IST_NOIS},                 // end on the line, off the segment
                 {at(0, 0), at(2, 0), at(0, 1), at(2, 1), IST_NOIS},                 // parallel
                 {at(0, 0), at(2, 0), at(5, -1), at(5, 1), IST_NOIS},                // crosses the line only
                 {at(0, 0), at(1, 1), at(1, 1), at(2, 2), IST_COLLINEAR},            // common end
                 {at(0, 0), at(1, 1), at(up, up), at(2, 2), IST_NOIS},               // one ulp apart
                 {at(0, 0), at(3, 6), at(2, 4), at(1, 2), IST_COLLINEAR},            // nested
                 {at(0, 5), at(0, 1), at(0, 0), at(0, 1), IST_COLLINEAR},            // upright
                 {at(-huge, 0), at(huge, 0), at(0, 0), at(1, 0), IST_COLLINEAR},     // squared lengths overflow
                 {at(0, 0), at(5e-324, 0), at(1e-323, 0), at(2e-323, 0), IST_NOIS},  // or underflow
                 {at(1, 1), at(1, 1), at(0, 0), at(2, 2), IST_COLLINEAR},            // a point on a segment
                 {at(1, 1.5), at(1, 1.5), at(0, 0), at(2, 2), IST_NOIS},             // a point beside it
                 {at(1, 1), at(1, 1), at(1, 1), at(1, 1), IST_COLLINEAR},            // two points
                 {at(1, 1), at(1, 1), at(1, up), at(1, up), IST_NOIS}};
    GeomTest geomTest;
    geomTest.setStaticBound(huge);
    for (const auto& test : aCase)
        for (const bool bSwap0 : {false, true})
            for (const bool bSwap2 : {false, true}) {
                const Point2 &p0 = bSwap0 ? test.p1 : test.p0, &p1 = bSwap0 ? test.p0 : test.p1;
                const Point2 &p2 = bSwap2 ? test.p3 : test.p2, &p3 = bSwap2 ? test.p2 : test.p3;
                EXPECT_EQ(test.expected, geomTest.getIntersectionType(p0, p1, p2, p3)) << &test - aCase;
                EXPECT_EQ(test.expected, geomTest.getIntersectionType(p2, p3, p0, p1)) << &test - aCase;
            }
}

TEST(Predicates, IntersectionCoordsAreExactUpToTheLastRounding) {
    PointSource source(5);
    GeomTest geomTest;
    int numCertain = 0;
    for (int i = 0; i < 4000; ++i) {
        const Points p = source.get(i % 8);
        const ExactVector u(p[1], p[0]), v(p[3], p[2]), w(p[2], p[0]);
        const mpq_class denominator = exactCross(u, v);
        if (denominator == 0) continue;
        const mpq_class t = exactCross(w, v) / denominator;
        const mpq_class exactX = mpq_class(p[0].x()) + t * u.x, exactY = mpq_class(p[0].y()) + t * u.y;
        double x, y;
        geomTest.getIntersectionCoords_gmp(p[0], p[1], p[2], p[3], x, y);
        ASSERT_EQ(exactX.get_d(), x) << describe(p);
        ASSERT_EQ(exactY.get_d(), y) << describe(p);
        double certainX = x, certainY = y;
        numCertain += GeomTest::doubleDoubleIntersectionCoords(p[0], p[1], p[2], p[3], certainX, certainY);
        ASSERT_TRUE(certainX == x && certainY == y) << describe(p);
    }
    EXPECT_GT(numCertain, 1000);
    const StdoutCapture capture;
    double x, y;
    EXPECT_THROW(geomTest.getIntersectionCoords_gmp(at(0, 0), at(1, 1), at(1, 0), at(2, 1), x, y), TaroException);
    EXPECT_TRUE(contains(capture, "GeomTest::getIntersectionCoords(), ERROR: denom=0 -> parallel segments"));
}

TEST(Predicates, HeightOnSegmentFollowsTheAxisOfGreaterExtent) {
    GeomTest geomTest;
    const Point2 p = at(0, 0, 10), q = at(4, 1, 20), upright = at(0, 1e-300, 11);
    EXPECT_EQ(15.0, geomTest.exactGetZOnSegment(p, q, 2, 77));
    EXPECT_EQ(10.0, geomTest.exactGetZOnSegment(p, q, 0, 0));
    EXPECT_EQ(20.0, geomTest.exactGetZOnSegment(q, p, 4, 1));
    EXPECT_EQ(22.5, geomTest.exactGetZOnSegment(p, q, 5, 1.25));
    EXPECT_EQ(10.5, geomTest.exactGetZOnSegment(p, upright, 0, 5e-301));
    EXPECT_EQ(10.0, geomTest.exactGetZOnSegment(p, at(0, 0, 99), 3, 3));
    const Point2 west = at(-1e308, 0, 1), east = at(1e308, 0, 3);
    EXPECT_EQ(2.0, geomTest.exactGetZOnSegment(west, east, 0, 0));
}

TEST(Predicates, SpatialOrientation) {
    const Point2 a = at(0, 0, 0), b = at(1, 0, 0), c = at(0, 1, 0), above = at(0.2, 0.2, 1), on = at(5, 5, 0);
    EXPECT_EQ(1, GeomTest::getOrientation3_inexact(&a, &b, &c, &above));
    EXPECT_EQ(2, GeomTest::getOrientation3_inexact(&a, &c, &b, &above));
    EXPECT_EQ(0, GeomTest::getOrientation3_inexact(&a, &b, &c, &on));
}

TEST(Predicates, Texts) {
    std::string names;
    for (int i = 0; i < 4; ++i)
        names += getString(static_cast<Orientation2>(i)) + " " + GeomTest::getString(static_cast<CINC2>(i)) + " " +
                 GeomTest::getString(static_cast<IntersectionType>(i)) + " " +
                 GeomTest::getUserFriendlyOrientation(static_cast<Orientation2>(i)) + "\n";
    EXPECT_EQ(
        "ORIENTATION2_COLLINEAR CINC2_ZERO IST_NOIS COL\n"
        "ORIENTATION2_CCW CINC2_INCIRCLE IST_COLLINEAR CCW\n"
        "ORIENTATION2_CW CINC2_OUTCIRCLE IST_REGULAR CW\n"
        "UNKNOWN UNKNOWN UNKNOWN unknown, this is a bug\n",
        names);

    const Point2 a = at(0, 0), b = at(1, 0);
    const struct {
        Point2 c;
        std::string simple, exact;
    } aCase[] = {
        {at(0, 1), "positive", "POSITIVE"}, {at(0, -1), "negative", "NEGATIVE"}, {at(3, 0), "'no idea'", "ZERO"}};
    for (const auto& test : aCase) {
        GeomTest geomTest;
        geomTest.setStaticBound(3);
        const StdoutCapture capture;
        geomTest.debug(&a, &b, &test.c);
        const std::vector<std::string> vParts = {"Point2 (",
                                                 "STATIC BOUND=2.39808e-14",
                                                 "simple result=",
                                                 "simple test says " + test.simple,
                                                 "Result of dynamic ub: ",
                                                 "Result of dynamic lb: ",
                                                 "exact test says " + test.exact};
        for (const std::string& part : vParts) EXPECT_TRUE(contains(capture, part)) << part;
    }
}
