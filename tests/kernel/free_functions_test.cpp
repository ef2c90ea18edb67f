#include <gmpxx.h>
#include <gtest/gtest.h>

#include <cfloat>
#include <cmath>

#include "kernel/GeomTest.h"
#include "kernel/tools.h"
#include "support/capture.h"
#include "support/exact.h"
#include "support/generators.h"
#include "support/values.h"
#include "taro25d/TaroException.h"
#include "taro25d/freeFunctions.h"

using namespace LUMO_TARO25D;
using namespace values;

TEST(FreeFunctions, BoxesOfPointsInSpaceAreWidenedAtBothEnds) {
    const Bbox3 box = getBbox(Point2(0, 5, -1), Point2(3, 4, 9), Point2(1, 1, 1), 0.5);
    EXPECT_EQ(std::vector<double>({box.minX, box.minY, box.minZ, box.maxX, box.maxY, box.maxZ}),
              std::vector<double>({-0.5, 0.5, -1.5, 3.5, 5.5, 9.5}));
    const Bbox3 pair = getBbox(Point2(0, 5, -1), Point2(3, 4, 9), 0), single = getBbox(Point2(0, 5, -1), 0);
    EXPECT_TRUE(pair.minZ == -1 && pair.maxZ == 9 && pair.minY == 4 && single.minY == 5 && single.maxY == 5);
}

TEST(FreeFunctions, HeightOnASegmentIsLinearAndClamped) {
    const Point2 a(0, 0, 10), b(4, 2, 30), c(1, 8, -6);
    const struct {
        Point2 a, b;
        double x, y, z;
    } aCase[] = {{a, b, 1, 99, 15},                  // along x
                 {a, c, 99, 2, 6},                   // along y
                 {a, Point2(2, -2, 20), 1, 99, 15},  // x on ties
                 {a, b, -1, 0, 10},
                 {a, b, 9, 9, 30},
                 {b, a, 9, 9, 30},
                 {a, Point2(0, 0, 5), 7, 7, 10},
                 {Point2(-MAX, 0, 0), Point2(MAX, 0, 8), 0, 0, 4},
                 {Point2(0, 0, MAX), Point2(1, 0, MAX), 0.3, 0, MAX},
                 {Point2(0, 0, -MAX), Point2(1, 0, MAX), 0.5, 0, 0}};
    for (const auto& k : aCase) EXPECT_EQ(getZOnSegment(k.a, k.b, k.x, k.y), k.z) << k.a << " - " << k.b;
    Random random(2);
    for (int i = 0; i < 1000; ++i) {
        const Point2 p = randomPoint(random, 0, 1), q(uniform(random, -1, 1), uniform(random, -1, 1), p.z());
        EXPECT_EQ(getZOnSegment(p, q, uniform(random, -1, 1), uniform(random, -1, 1)), p.z());
        EXPECT_EQ(getZOnSegment(p, c, c.x(), c.y()), c.z());
    }
}

TEST(FreeFunctions, FeetAreOnTheLineAndDistancesPerpendicularAtEveryScale) {
    Random random(3);
    for (double scale : {1e-300, 1e-160, 1e-3, 1.0, 1e9, 1e160, 1e300}) {
        const auto point = [&] {
            const Point2 p = randomPoint(random, 0, 1);
            return Point2(p.x() * scale, p.y() * scale, p.z() * scale);
        };
        for (int i = 0; i < 50; ++i) {
            const Point2 p = point(), a = point(), b = point();
            const Point2 foot = getFootPoint(p, a, b), foot3 = getFootPoint3D(p, a, b);
            EXPECT_NEAR(distance2D(p, foot) / scale, getPointLineDistance2D(p, a, b) / scale, 1e-14);
            EXPECT_NEAR(normalize(getVector2D(a, b)) * (getVector2D(p, foot) / scale), 0, 1e-14);
            EXPECT_NEAR(normalize(getVector25D(a, b)) * (getVector25D(p, foot3) / scale), 0, 1e-14);
            EXPECT_NEAR(crossProduct(normalize(getVector25D(a, b)), getVector25D(a, foot3) / scale).length(), 0, 1e-13);
            EXPECT_EQ(foot.z(), getZOnSegment(a, b, foot.x(), foot.y()));
            const double t = normalize(getVector2D(a, b)) * (getVector2D(a, p) / distance2D(a, b));
            EXPECT_EQ(approxHasOn(a, b, foot), t > 0 && t < 1) << t;
        }
    }
    const Point2 a(1, 2, 3), p(4, 6, 3);
    EXPECT_TRUE(samePoint(getFootPoint(p, a, a), a) && samePoint(getFootPoint3D(p, a, a), a));
    EXPECT_EQ(getPointLineDistance2D(p, a, a), 5.0);
    EXPECT_EQ(getPointLineDistance2D(Point2(30, 90, 0), Point2(0, 0, 0), Point2(1, 3, 0)), 0.0);
    EXPECT_TRUE(approxHasOn(a, a, a) && approxHasOn(a, p, p) && !approxHasOn(a, a, p));
}

TEST(FreeFunctions, AreasNeitherOverflowNorLoseThinTriangles) {
    const Point2 a(0, 0, 0), b(4, 0, 0), c(0, 3, 0);
    EXPECT_EQ(getArea2D(a, b, c), 6.0);
    EXPECT_EQ(getArea2D(a, c, b), 6.0);
    EXPECT_EQ(getArea25D(Point2(0, 0, 1), Point2(0, 4, 1), Point2(0, 0, -2)), 6.0);
    EXPECT_EQ(getArea2D(a, Point2(1e6, 0, 0), Point2(5e5, 1e-6, 0)), 0.5);
    EXPECT_EQ(getArea2D(a, Point2(1, 3, 0), Point2(30, 90, 0)), 0.0);
    EXPECT_EQ(getArea2D(a, a, b) + getArea25D(a, b, b), 0.0);
    EXPECT_TRUE(computeArea(1, 2, 3) == 0.0 && computeArea(1, 1, 9) == 0.0 && computeArea(0, 0, 0) == 0.0);
    EXPECT_TRUE(std::isnan(computeArea(1, NOT_A_NUMBER, 1)) && std::isnan(computeArea(1, INF, 1)));
    for (int exponent : {-500, -300, 0, 300, 500}) {
        const double s = std::ldexp(1.0, exponent);
        EXPECT_EQ(computeArea(3 * s, 4 * s, 5 * s), 6 * s * s);
        EXPECT_EQ(getArea2D(a, Point2(4 * s, 0, 0), Point2(0, 3 * s, 0)), 6 * s * s);
        EXPECT_EQ(getArea2D(a, Point2(s, s, 0), Point2(2 * s, 2 * s, 0)), 0.0);
    }
}

TEST(FreeFunctions, NormalsAreUnitUpwardAndZeroForCollinearPoints) {
    bool ok = false;
    expectNear(getNormalVector(Point2(0, 0, 7), Point2(9, 0, 7), Point2(0, 2, 7), ok), 0, 0, 1);
    EXPECT_TRUE(ok);
    for (double scale : {1e-200, 1.0, 1e200}) {
        const auto scaled = [&](double x, double y, double z) { return Point2(x * scale, y * scale, z * scale); };
        // A sliver with two long sides: every starting corner must give the same normal.
        const Point2 p = scaled(0, 0, 0), q = scaled(1, 2, 3), r = scaled(1 - 1e-9, 2 + 1e-9, 3);
        const Vector2 normal = normalize(Vector2(3, 3, -3));
        for (const Vector2& n :
             {getNormalVector(p, r, q, ok), getNormalVector(r, q, p, ok), getNormalVector(q, p, r, ok)}) {
            expectNear(n, normal.x(), normal.y(), normal.z(), 1e-6);
        }
        EXPECT_TRUE(getNormalVector(p, q, scaled(0.3, 0.6, 0.9), ok).isDegenerate() && !ok);
    }
    EXPECT_TRUE(getNormalVector(Point2(), Point2(), Point2(1, 0, 0), ok).isDegenerate() && !ok);
}

TEST(FreeFunctions, MeansAreExactFarFromTheOriginAndDoNotOverflow) {
    const Point2 a(1e15 + 1, 0, 1), b(1e15 + 2, 3, 2), c(1e15 + 3, 6, 6);
    EXPECT_TRUE(samePoint(barycenter(a, b, c), Point2(1e15 + 2, 3, 3)));
    EXPECT_TRUE(samePoint(centerWithShift(a, c), Point2(1e15 + 2, 3, 3.5)));
    const Point2 low(-MAX, -MAX, 0), high(MAX, MAX, 0);
    EXPECT_EQ(centerWithShift(high, high), high);
    EXPECT_EQ(centerWithShift(high, low), Point2(0, 0, 0));
    EXPECT_NEAR(barycenter(high, high, low).x() / MAX, 1.0 / 3.0, 1e-15);
    EXPECT_NEAR(getMinInteriorAngle(Point2(0, 0, 0), Point2(1, 0, 50), Point2(0, std::sqrt(3.0), 0)), 30, 1e-6);
    EXPECT_EQ(getMinInteriorAngle(a, a, b), 0.0);
}

TEST(FreeFunctions, IntersectionsMatchRationalsAndParallelsAreFoundExactly) {
    Random random(5);
    int numParallel = 0, numSteep = 0;
    for (int i = 0; i < 3000; ++i) {
        const int size = i % 3 == 0 ? 3 : i % 3 == 1 ? 1000 : 1 << 30;
        const auto point = [&] { return Point2(integer(random, -size, size), integer(random, -size, size), i); };
        const Point2 a = point(), b = point(), c = point();
        const Point2 d = i % 2 ? point() : c + getVector2D(a, b) * integer(random, -2, 2) + Vector2(0, i % 4 / 2, 0);
        using Q = mpq_class;
        const Q ux = Q(b.x()) - a.x(), uy = Q(b.y()) - a.y(), vx = Q(d.x()) - c.x(), vy = Q(d.y()) - c.y();
        const Q det = ux * vy - uy * vx;
        Point2 plain(7, 7, 7), exact(7, 7, 7);
        EXPECT_EQ(getIntersectionPoint(a, b, c, d, plain), det != 0);
        EXPECT_EQ(getIntersectionPointNoRounding(a, b, c, d, exact), det != 0);
        if (det == 0) {
            ++numParallel;
            EXPECT_TRUE(samePoint(plain, Point2(7, 7, 7)) && samePoint(exact, plain));
            continue;
        }
        const Q t = ((Q(c.x()) - a.x()) * vy - (Q(c.y()) - a.y()) * vx) / det;
        const Q x = a.x() + t * ux, y = a.y() + t * uy;
        EXPECT_EQ(exact, Point2(x.get_d(), y.get_d(), 0));
        const double extent = size + std::abs(exact.x()) + std::abs(exact.y());
        EXPECT_NEAR(plain.x(), exact.x(), 1e-14 * extent);
        EXPECT_NEAR(plain.y(), exact.y(), 1e-14 * extent);
        EXPECT_EQ(plain.z(), getZOnSegment(a, b, plain.x(), plain.y()));
        numSteep += abs(det) < 1e-6 * abs(ux * vy);
    }
    EXPECT_GT(numParallel, 500);
    EXPECT_GT(numSteep, 100);

    Point2 result;
    double x, y;
    const Point2 o(0, 0, 0), e(1, 1, 0);
    EXPECT_TRUE(getIntersectionPoint(Point2(-1e200, -1e200, 0), Point2(1e200, 1e200, 0), Point2(-1e-200, 1e-200, 0),
                                     Point2(1e-200, -1e-200, 0), result));
    EXPECT_EQ(result, o);
    EXPECT_FALSE(getIntersectionPoint(o, o, e, Point2(1, 2, 0), result));
    EXPECT_FALSE(getIntersectionCoordsNoRounding(o, Point2(NOT_A_NUMBER, 1, 0), e, o, x, y));
    EXPECT_FALSE(getIntersectionCoordsNoRounding(o, Point2(INF, 1, 0), e, o, x, y));
}

TEST(FreeFunctions, UlpIsTheSmallestPowerOfTwoUpToOneThatCounts) {
    const double aCase[][2] = {
        {1.0, 0x1p-52},         {-3.0, 0x1p-51},
        {0.0, 0x1p-1074},       {0x1p60, 1.0},
        {0x1p52, 1.0},          {INF, 1.0},
        {0x1p-1022, 0x1p-1074}, {1.0 + DBL_EPSILON, 0x1p-53}};  // half a unit rounds an odd mantissa up
    for (const auto& k : aCase) EXPECT_EQ(getUlp(k[0]), k[1]) << k[0];
    EXPECT_TRUE(std::isnan(getUlp(NOT_A_NUMBER)));
}

TEST(FreeFunctions, OrientationGrowsItsBoundWithThePointsAndRefusesNull) {
    Random random(6);
    for (double scale : {1e-160, 1e-5, 1.0, 1e8, 1e-3, 1e160}) {
        for (int i = 0; i < 200; ++i) {
            const Point2 a = randomPoint(random, 0, scale), b = randomPoint(random, 0, scale);
            const double t = uniform(random, -1, 2);
            const Point2 c = a + getVector2D(a, b) * t;  // on the line up to rounding
            const Orientation2 expected = GeomTest().exact_getOrientation2(&a, &b, &c);
            EXPECT_EQ(getOrientation2(&a, &b, &c), expected);
            EXPECT_EQ(getOrientation2_mt(&a, &b, &c), expected);
        }
    }
    const Point2 p;
    const Point2* aArgument[][3] = {{nullptr, &p, &p}, {&p, nullptr, &p}, {&p, &p, nullptr}};
    for (int i = 0; i < 3; ++i) {
        const auto& k = aArgument[i];
        StdoutCapture capture;
        EXPECT_THROW(getOrientation2(k[0], k[1], k[2]), TaroException);
        EXPECT_THROW(getOrientation2_mt(k[0], k[1], k[2]), TaroException);
        EXPECT_TRUE(contains(capture, "Condition [ p" + std::to_string(i) + "!=__null failed ]"));
        EXPECT_TRUE(contains(capture, "      dt2Library/freeFunctions:"));
    }
}
