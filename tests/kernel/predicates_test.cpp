#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cfenv>
#include <cmath>
#include <fstream>
#include <functional>
#include <map>
#include <string>
#include <vector>

#include "kernel/GeomTest.h"
#include "support/exact.h"
#include "support/files.h"
#include "support/generators.h"
#include "support/predicate_points.h"
#include "taro25d/freeFunctions.h"

using namespace LUMO_TARO25D;
using namespace predicate_points;

namespace {

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
