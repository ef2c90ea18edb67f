#include <gmpxx.h>
#include <gtest/gtest.h>

#include <cfloat>
#include <cmath>
#include <set>
#include <sstream>
#include <tuple>

#include "kernel/GeomTest.h"
#include "kernel/tools.h"
#include "support/capture.h"
#include "support/exact.h"
#include "support/generators.h"
#include "taro25d/Edge2.h"
#include "taro25d/Segment2.h"
#include "taro25d/TaroException.h"
#include "taro25d/freeFunctions.h"

using namespace LUMO_TARO25D;

namespace {

template <class T>
std::string toText(const T& object) {
    std::ostringstream stream;
    stream << object;
    return stream.str();
}

Point2 randomPoint(Random& r, double center, double size) {
    const double x = center + uniform(r, -size, size), y = center + uniform(r, -size, size);
    return Point2(x, y, uniform(r, -size, size));
}

void expectNear(const Vector2& v, double x, double y, double z, double tolerance = 0.0) {
    EXPECT_NEAR(v.x(), x, tolerance);
    EXPECT_NEAR(v.y(), y, tolerance);
    EXPECT_NEAR(v.z(), z, tolerance);
}

double distanceSpread(const Triangle2& triangle, const Point2& center) {
    const auto [min, max] =
        std::minmax({distance2D(center, *triangle.getCorner(0)), distance2D(center, *triangle.getCorner(1)),
                     distance2D(center, *triangle.getCorner(2))});
    return max - min;
}

}  // namespace

TEST(Point2, OrderAndEqualityIgnoreTheHeight) {
    const Point2 low(1, 2, 3), high(1, 2, 4);
    EXPECT_FALSE(low < high || high < low || low != high);
    EXPECT_FALSE(samePoint(low, high));
    EXPECT_FALSE(samePoint(Point2(NOT_A_NUMBER, 0, 0), Point2(NOT_A_NUMBER, 0, 0)));
    EXPECT_EQ(std::set<Point2>({high, low, Point2(1, 1, 9), Point2(0, 7, 0)}).size(), 3u);
    EXPECT_TRUE(ltPoint(Point2(0, 9, 0), Point2(1, 0, 0)) && ltPoint(Point2(1, 0, 0), Point2(1, 1, 0)));
}

TEST(Point2, CopiesAreNoVerticesAndKeepTheCustomIndex) {
    Triangle2 triangle;
    Point2 vertex(1, 2, 3.5), assigned;
    vertex.setCustomIndex(7);
    vertex.setIncidentTriangle(&triangle);
    assigned = vertex;
    for (const Point2& copy : {Point2(vertex), assigned}) {
        EXPECT_TRUE(copy.getIncidentTriangle() == nullptr && copy.getCustomIndex() == 7);
    }
    const Point2 moved = vertex + Vector2(1, -2, 0.5);
    EXPECT_TRUE(samePoint(moved, Point2(2, 0, 4)));
    EXPECT_EQ(moved.getCustomIndex(), -1);
    EXPECT_EQ(toText(vertex), "Point2 (" + toText(static_cast<const void*>(&vertex)) + ",7): 1, 2, 3.5");
}

TEST(Vector2, MaxIndexAndOrthogonalVectorFollowTheLargerComponent) {
    EXPECT_EQ(Vector2(2, -2, 1).getMaxIndex(), 0);
    EXPECT_EQ(Vector2(1, -2, 2).getMaxIndex(), 1);
    EXPECT_EQ(Vector2(1, 1, -3).getMaxIndex(), 2);
    expectNear(Vector2(4, -2, 9).orthogonalVector(), 0.5, 1, 0);
    expectNear(Vector2(-2, 2, 9).orthogonalVector(), 1, 1, 0);
    expectNear(Vector2(0, 0, 9).orthogonalVector(), 0, 0, 0);
}

TEST(Vector2, NormalizesEveryMagnitude) {
    for (double scale : {4.9e-324, 1e-310, 1e-200, 1.0, 1e200, 3e307}) {
        expectNear(normalize(Vector2(3 * scale, 0, 4 * scale)), 0.6, 0, 0.8, 1e-15);
    }
    EXPECT_TRUE(normalize(Vector2()).isDegenerate());
    EXPECT_TRUE(std::isnan(Vector2(0, NOT_A_NUMBER, 0).length()));
    // The truncated factor counts, and so does the clamp.
    EXPECT_EQ(getAngleDegree(Vector2(1, 0, 0), Vector2(-1, 0, 0)), std::acos(-1.0) * 57.295779513);
    EXPECT_EQ(getAngleDegree(Vector2(1.1, 0, 0), Vector2(1.1, 0, 0)), 0.0);
}

TEST(Segment2, EqualityIsUndirectedAndFlat) {
    Segment2 segment(Point2(0, 0, 5), Point2(3, 4, 17));
    EXPECT_EQ(segment, Segment2(Point2(3, 4, 0), Point2(0, 0, 1)));
    EXPECT_NE(segment, Segment2(Point2(0, 0, 5), Point2(0, 0, 5)));
    EXPECT_TRUE(segment.getSqLen2D() == 25.0 && segment.getSqLen25D() == 169.0);
    segment.swapSrcTrg();
    EXPECT_TRUE(samePoint(segment.getSrc(), Point2(3, 4, 17)) && samePoint(segment.getTrg(), Point2(0, 0, 5)));
}

TEST(Bbox2, IsEmptyUntilItHasAPointAndThenClosed) {
    Bbox2 box;
    EXPECT_TRUE(!box.isValid() && box.getMinX() == MAX && box.getMaxY() == -MAX);
    for (double c : {0.0, MAX, -MAX}) EXPECT_FALSE(box.isInBox(Point2(c, c, 0)));
    box.doubleTheBox();
    EXPECT_FALSE(box.isValid() || Bbox2(1, 0, 0, 1).isValid() || getBox({}).isValid());

    box.add({Point2(3, -1, 0), Point2(1, 2, 0)});
    for (const Point2& corner : {Point2(1, -1, 0), Point2(3, 2, 0), Point2(3, 0, 0)}) EXPECT_TRUE(box.isInBox(corner));
    EXPECT_FALSE(box.isInBox(Point2(std::nextafter(3.0, 4.0), 0, 0)) || box.isInBox(Point2(NOT_A_NUMBER, 0, 0)));
    EXPECT_TRUE(box.doIntersect(Bbox2(3, 2, 4, 4)));
    EXPECT_FALSE(box.doIntersect(Bbox2(0, 2.5, 9, 4)) || box.doIntersect(Bbox2(3.5, -9, 4, 9)));

    Bbox2 sum;
    EXPECT_EQ(&(sum + box), &sum);
    sum + Bbox2(0, 0, 1, 5);
    std::vector<Point2> vCorners;
    sum.getCorners(vCorners);
    sum.getOffsetCorners(1, vCorners);
    EXPECT_EQ(vCorners,
              (std::vector<Point2>{
                  {0, -1, 0}, {3, -1, 0}, {3, 5, 0}, {0, 5, 0}, {-1, -2, 0}, {4, -2, 0}, {4, 6, 0}, {-1, 6, 0}}));
    EXPECT_EQ(sum.computeCenter(), Point2(1.5, 2, 0));
}

TEST(Bbox2, InvalidBoxesInBinaryOperationsAreUsageErrors) {
    const Bbox2 invalid;
    Bbox2 valid(0, 0, 1, 1);
    StdoutCapture capture;
    EXPECT_THROW(valid.doIntersect(invalid), TaroException);
    EXPECT_THROW(invalid.doIntersect(valid), TaroException);
    EXPECT_TRUE(contains(capture, "Bbox2::doIntersect(), ERROR: bbox invalid"));
    try {
        valid + invalid;
        ADD_FAILURE() << "an invalid box was added";
    } catch (const std::exception& exception) {
        EXPECT_STREQ(exception.what(), "LUMO_TARO25D::TaroException");
    }
    EXPECT_TRUE(contains(capture, "Box2::operator+(), ERROR: trying to add an invalid Bbox2"));
}

TEST(Bbox2, GrowsAroundItsCentreWithoutLosingPointsOrLeavingTheDoubles) {
    Bbox2 box(1, 2, 3, 8);
    box.doubleTheBox();
    EXPECT_TRUE(box.getMinPoint() == Point2(0, -1, 0) && box.getMaxPoint() == Point2(4, 11, 0));
    box.enlargeRanges(0.25);
    EXPECT_TRUE(box.getMinPoint() == Point2(1.5, 3.5, 0) && box.getMaxPoint() == Point2(2.5, 6.5, 0));
    Bbox2 odd(-1, -1, 0x3p-54, 0);  // half of this width rounds up
    odd.enlargeRanges(0);
    EXPECT_EQ(odd.getMinX(), odd.getMaxX());
    Bbox2 huge(-MAX, 0, 1e308, MAX);
    for (int i = 0; i < 3; ++i) huge.doubleTheBox();
    EXPECT_TRUE(huge.getMinPoint() == Point2(-MAX, -MAX, 0) && huge.getMaxPoint() == Point2(MAX, MAX, 0));

    Random random(1);
    for (int i = 0; i < 1000; ++i) {
        const Point2 p = randomPoint(random, 1e16, 50), q = randomPoint(random, 1e16, 50);
        Bbox2 grown = getBox({p, q}), shrunk = grown;
        grown.enlargeRanges(uniform(random, 1, 1.1));
        shrunk.enlargeRanges(uniform(random, -0.1, 0.1));
        EXPECT_TRUE(grown.isInBox(p) && grown.isInBox(q));
        EXPECT_TRUE(shrunk.getMinX() <= shrunk.getMaxX() && shrunk.getMinY() <= shrunk.getMaxY());
    }
}

TEST(Bbox2, RaisesTheBoundOfItsPredicatesAndNeverLowersIt) {
    GeomTest geomTest;
    Bbox2 box;
    box.setGeomTest(&geomTest);
    EXPECT_EQ(geomTest.getMaxAbsCoord(), 0.0);
    box.add(Point2(-10, 3, 0));
    EXPECT_EQ(geomTest.getMaxAbsCoord(), 10.0);
    box + Bbox2(0, -20, 1, 0);
    EXPECT_EQ(geomTest.getMaxAbsCoord(), 20.0);
    box.doubleTheBox();
    EXPECT_EQ(geomTest.getMaxAbsCoord(), 31.5);
    Bbox2 copy = box;
    copy.enlargeRanges(10);
    box.enlargeRanges(0.1);
    EXPECT_EQ(geomTest.getMaxAbsCoord(), 31.5);
    box = copy;
    EXPECT_EQ(geomTest.getMaxAbsCoord(), -box.getMinY());
    EXPECT_GT(-box.getMinY(), 200.0);
}

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

/// The right triangle (0,0), (1,0), (0,1) and a neighbour across its hypotenuse.
struct TwoTriangles : testing::Test {
    Point2 a{0, 0, 0}, b{1, 0, 0}, c{0, 1, 2}, d{1, 1, 0};
    Triangle2 left{&a, &b, &c}, right{&d, &c, &b};
    TwoTriangles() {
        left.setOppositeTriangle(0, &right);
        right.setOppositeTriangle(0, &left);
    }
};

TEST_F(TwoTriangles, IndicesFollowTheConvention) {
    EXPECT_EQ(left.getIntraTriangleIndex(&c), 2);
    EXPECT_EQ(left.getIntraTriangleIndex(&right), 0);
    EXPECT_EQ(left.getIntraTriangleIndex(&c, &a), 1);
    EXPECT_EQ(left.getIntraTriangleIndex(&b, &a), 2);
    EXPECT_TRUE(left.hasVertex(&b) && !left.hasVertex(&d) && left.hasVertex(Point2(0, 1, 2)) &&
                !left.hasVertex(Point2(0, 1, 0)));
    EXPECT_TRUE(incIndexBy1(2) == 0 && incIndexBy2(0) == 2 && incIndexBy2(2) == 1);

    Point2 *pSrc, *pTrg;
    Triangle2 *pT0, *pT1;
    int i0, i1;
    const Edge2 shared(&left, 0), hull(&left, 2);
    shared.getPoints(pSrc, pTrg);
    shared.getTriangles(pT0, pT1, i0, i1);
    EXPECT_TRUE(pSrc == &b && pTrg == &c && pT0 == &left && pT1 == &right && i0 == 0 && i1 == 0);
    EXPECT_EQ(shared.getLength2D(), std::sqrt(2.0));
    EXPECT_EQ(shared.getLength25D(), std::sqrt(6.0));
    EXPECT_EQ(toText(shared), "Edge2 (" + toText(b) + ", " + toText(c) + ")");
    hull.getTriangles(pT0, pT1, i0, i1);
    EXPECT_TRUE(hull.getSrc() == &a && hull.getTrg() == &b && pT1 == nullptr && i0 == 2 && i1 == -1);
}

TEST_F(TwoTriangles, FailedIndexLookupsNameThePoints) {
    const std::string bug = "BUG: Triangle2::getIntraTriangleIndex failed for ";
    const Triangle2 stranger(&b, &d, nullptr);
    StdoutCapture capture;
    EXPECT_THROW(left.getIntraTriangleIndex(&d), TaroException);
    EXPECT_TRUE(contains(capture, bug + toText(d)) && contains(capture, "dt2Library/Triangle2:"));
    EXPECT_THROW(left.getIntraTriangleIndex(&a, &d), TaroException);
    EXPECT_TRUE(contains(capture, bug + toText(a) + " " + toText(d)));
    EXPECT_THROW(left.getIntraTriangleIndex(&stranger), TaroException);
    EXPECT_TRUE(contains(capture, bug + toText(b) + " " + toText(d) + " null"));
    EXPECT_THROW(right.getIntraTriangleIndex(&b, &b), TaroException);
    EXPECT_THROW(Triangle2(left).getIntraTriangleIndex(static_cast<Point2*>(nullptr)), TaroException);
}

TEST_F(TwoTriangles, MeasuresOfTheRightTriangle) {
    EXPECT_NEAR(left.getArea2D(), 0.5, 1e-15);
    EXPECT_NEAR(left.getArea25D(), 0.5 * std::sqrt(5.0), 1e-15);
    EXPECT_TRUE(left.getMaxIndex() == 0 && left.getMinIndex() == 1 && left.getMaxSqEdgeLen2D() == 2.0);
    EXPECT_TRUE(left.getSquaredEdgeLength(1) == 1.0 && left.getSquaredEdgeLength25D(1) == 5.0);
    EXPECT_TRUE(samePoint(left.getBarycenter(), Point2(1.0 / 3, 1.0 / 3, 2.0 / 3)));
    EXPECT_NEAR(left.getInteriorAngle2D(1), 45, 1e-6);
    EXPECT_NEAR(left.getInteriorAngle25D(0), 90, 1e-6);
    EXPECT_LT(left.getInteriorAngle25D(2), 30);
    const Vector2 normal = normalize(Vector2(0, -2, 1));
    expectNear(left.getNormalVector(), normal.x(), normal.y(), normal.z(), 1e-15);
    EXPECT_TRUE(left.hasOnEdge(0, Point2(0.25, 0.75, 9)) && left.hasOnEdge(1, c) && left.hasOnEdge(1, a));
    EXPECT_FALSE(left.hasOnEdge(0, Point2(0.25, 0.75 + 1e-16, 9)) || left.hasOnEdge(1, Point2(0, -1e-300, 0)) ||
                 left.hasOnEdge(2, Point2(0.5, 1e-300, 0)));
}

TEST_F(TwoTriangles, TextShowsAreasOrientationAndNeighbours) {
    const auto header = [](const Triangle2& t, const std::string& rest) {
        return "Triangle(" + toText(static_cast<const void*>(&t)) + "): " + rest + "\n";
    };
    EXPECT_EQ(toText(left), header(left, "area2D=0.5, area2.5D=1.11803, CCW") + "0: " + toText(a) +
                                "\t oppTriangle: " + toText(static_cast<void*>(&right)) + "\n1: " + toText(b) +
                                "\t oppTriangle: 0\n2: " + toText(c) + "\t oppTriangle: 0\n");
    Triangle2 clockwise(&a, &c, &b), flat(&a, &b, &a);
    EXPECT_TRUE(
        contains(toText(clockwise), header(clockwise, "area2D=0.5, area2.5D=1.11803, ATTENTION, CLOCKWISE CORNERS!")));
    EXPECT_TRUE(contains(toText(flat), header(flat, "area2D=0, area2.5D=0, ATTENTION, COLLINEAR CORNERS")));
}

TEST_F(TwoTriangles, AreaWithoutANumberIsReportedAndFails) {
    c.set(0, 1, NOT_A_NUMBER);
    EXPECT_NEAR(left.getArea2D(), 0.5, 1e-15);
    StdoutCapture capture;
    EXPECT_THROW(left.getArea25D(), TaroException);
    const std::vector<std::string> vParts{"WARNING: warning, sqDistance25D, nan value, no distance",
                                          "p0=" + toText(b) + "\np1=" + toText(c),
                                          "Triangle2::computeArea(), WARNING: invalid value, no area for this triangle",
                                          "ownHalfCircf=nan\nCorners are: \n" + toText(a) + "\n" + toText(b) + "\n" +
                                              toText(c) + "\nlen0=1\nlen1=nan\nlen2=nan",
                                          "Condition [ false failed ]"};
    for (const std::string& part : vParts) EXPECT_TRUE(contains(capture, part)) << part;
}

TEST(Triangle2, TiesGoToTheLowestIndexAndEquilateralAnglesAre60) {
    Point2 a(-1, 0, 0), b(1, 0, 0), c(0, std::sqrt(3.0), 0), d(1, 1, 0), e(2, 2, 0);
    const Triangle2 equilateral(&a, &b, &c), collinear(&a, &b, &a), diagonal(&d, &e, &d);
    for (int i = 0; i < 3; ++i) EXPECT_NEAR(equilateral.getInteriorAngle2D(i), 60, 1e-6);
    EXPECT_TRUE(collinear.getMaxIndex() == 0 && collinear.getMinIndex() == 1);
    EXPECT_TRUE(collinear.getArea2D() == 0.0 && diagonal.getArea2D() == 0.0);
    EXPECT_TRUE(collinear.getNormalVector().isDegenerate());
}

TEST(Triangle2, CircumcentreIsTheTrueOneRoundedOnce) {
    bool bAccurate = false;
    Point2 a(0, 0, 3), b(4, 0, 0), c(0, 2, 0);
    const Triangle2 right(&a, &b, &c);
    EXPECT_TRUE(right.getDual(bAccurate) == Point2(2, 1, 0) && bAccurate);
    EXPECT_EQ(right.getDual(bAccurate).getCustomIndex(), -1);
    EXPECT_EQ(right.getDual(bAccurate).z(), 1);

    Random random(7);
    struct Case {
        double center, size;
        bool bLattice;
    };
    for (const Case& test :
         {Case{0, 1, false}, Case{1000, 1, false}, Case{5e5, 1e-3, false}, Case{-1e9, 1e-3, false}, Case{5e9, 1, false},
          Case{1e12, 1e6, false}, Case{0x1p60, 0x1p50, false}, Case{0, 1e-150, false}, Case{1e-40, 1e-42, false},
          Case{0, 1e150, false}, Case{1e200, 1e199, false}, Case{0, 9, true}, Case{1e6, 9, true}}) {
        SCOPED_TRACE(testing::Message() << test.center << " " << test.size);
        for (int i = 0; i < 200; ++i) {
            Point2 aCorner[3];
            for (Point2& corner : aCorner) {
                corner = randomPoint(random, test.center, test.size);
                if (test.bLattice) corner.set(std::round(corner.x()), std::round(corner.y()), 0);
            }
            if (i % 5 == 0 && !test.bLattice) {  // thin
                const Point2 mid = centerWithShift(aCorner[0], aCorner[1]);
                aCorner[2].set(mid.x() * (1 + uniform(random, -1e-12, 1e-12)), mid.y(), 0);
            }
            if (i % 5 == 1 || i % 5 == 2) {  // with the centre at 0, or a last bit beside it
                const double x = aCorner[0].x(), y = aCorner[0].y();
                aCorner[1].set(-x, y, 0);
                aCorner[2].set(i % 5 == 1 ? x : std::nextafter(x, 2 * x), -y, 0);
            }
            if (exactOrientation(aCorner[0], aCorner[1], aCorner[2]) < 0) std::swap(aCorner[1], aCorner[2]);
            const Triangle2 triangle(&aCorner[0], &aCorner[1], &aCorner[2]);
            const Point2 dual = triangle.getDual(bAccurate);
            mpq_class x, y;
            const bool bExists = exactCircumcenter(aCorner[0], aCorner[1], aCorner[2], x, y);
            EXPECT_TRUE(bExists || !bAccurate);
            EXPECT_TRUE(!bExists || (isNearestDouble(dual.x(), x) && isNearestDouble(dual.y(), y))) << triangle;
            EXPECT_TRUE(bAccurate || getMinInteriorAngle(aCorner[0], aCorner[1], aCorner[2]) < 1) << triangle;
            const double magnitude = getMagnitude(getBox({aCorner[0], aCorner[1], aCorner[2], dual}));
            EXPECT_TRUE(!bAccurate || distanceSpread(triangle, dual) <= 0x1p-49 * magnitude);
        }
    }
}

TEST(Triangle2, MeasuresScaleWithTheTriangle) {
    Random random(8);
    for (int i = 0; i < 200; ++i) {
        const Point2 aCorner[3] = {randomPoint(random, 3, 1), randomPoint(random, 3, 1), randomPoint(random, 3, 1)};
        const auto measure = [&aCorner](int exponent) {
            Point2 aScaled[3];
            for (int k = 0; k < 3; ++k) {
                aScaled[k].set(std::ldexp(aCorner[k].x(), exponent), std::ldexp(aCorner[k].y(), exponent), 0);
            }
            const Triangle2 triangle(&aScaled[0], &aScaled[1], &aScaled[2]);
            bool bAccurate;
            const Point2 dual = triangle.getDual(bAccurate);
            return std::make_tuple(std::ldexp(dual.x(), -exponent), std::ldexp(dual.y(), -exponent), bAccurate,
                                   triangle.getMaxIndex(), triangle.getMinIndex());
        };
        const auto expected = measure(0);
        // Beyond 2^512 squares of lengths overflow, below 2^-538 they vanish.
        for (const int exponent : {-800, -540, -200, -60, 33, 60, 200, 530, 900}) {
            EXPECT_EQ(measure(exponent), expected) << exponent;
        }
    }
}

TEST(Triangle2, CircumcentreOfNeedlesAndFlatTrianglesIsFlaggedHonestly) {
    // Circles of a radius so large that the area of the corners is lost in rounding, in all directions.
    bool bAccurate = false;
    int numAccurate = 0;
    for (int i = 0; i < 400; ++i) {
        const double angle = 0.0157 * i, x = std::cos(angle), y = std::sin(angle), bulge = i % 2 ? 1e-7 : 1e-12;
        Point2 a(1e3, 1e3, 0), b(1e3 + x, 1e3 + y, 0), c(1e3 + x / 2 + y * bulge, 1e3 + y / 2 - x * bulge, 0);
        if (getOrientation2(&a, &c, &b) != ORIENTATION2_CCW) continue;
        const Triangle2 needle(&a, &c, &b);
        const Point2 dual = needle.getDual(bAccurate);
        numAccurate += bAccurate;
        EXPECT_EQ(dual.getCustomIndex(), -1);
        EXPECT_TRUE(!bAccurate || distanceSpread(needle, dual) <= 0x1p-49 * getMagnitude(getBox({a, dual})));
        EXPECT_TRUE(std::isfinite(dual.x()) && std::isfinite(dual.y()));
    }
    EXPECT_GT(numAccurate, 150);

    // Corners of a few units in the last place may have no double on the inner side of both short edges.
    const auto at = [](int x, int y) { return Point2(0x1p52 + x, 0x1p52 + y, 0); };
    Point2 p = at(0, 0), q = at(1, 0), r = at(0, 1);
    EXPECT_EQ(Triangle2(&p, &q, &r).getDual(bAccurate), at(0, 0));

    Point2 a(0, 0, 0), b(1, 1, 0), c(3, 3, 0), mid(1.5, 1.5, 0);
    const Point2 dual = Triangle2(&a, &b, &c).getDual(bAccurate);
    EXPECT_FALSE(bAccurate);
    EXPECT_GT(distance2D(dual, mid), 1e12);
    EXPECT_NEAR(dual.x() + dual.y(), 3, 0.01);
    for (const Triangle2& flat : {Triangle2(&a, &a, &b), Triangle2(&a, &b, &a), Triangle2(&a, &a, &a)}) {
        EXPECT_TRUE(std::isfinite(flat.getDual(bAccurate).x()) && !bAccurate);
    }
    // The circumcentre would be at 1e309.
    Point2 far0(0, 0, 0), far1(1e300, 1e291, 0), far2(2e300, 0, 0);
    EXPECT_TRUE(isFinite2D(Triangle2(&far0, &far2, &far1).getDual(bAccurate)) && !bAccurate);
}
