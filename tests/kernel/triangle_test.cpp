#include <gmpxx.h>
#include <gtest/gtest.h>

#include <cmath>
#include <tuple>

#include "kernel/tools.h"
#include "support/capture.h"
#include "support/exact.h"
#include "support/generators.h"
#include "support/values.h"
#include "taro25d/Edge2.h"
#include "taro25d/TaroException.h"
#include "taro25d/freeFunctions.h"

using namespace LUMO_TARO25D;
using namespace values;

namespace {

double distanceSpread(const Triangle2& triangle, const Point2& center) {
    const auto [min, max] =
        std::minmax({distance2D(center, *triangle.getCorner(0)), distance2D(center, *triangle.getCorner(1)),
                     distance2D(center, *triangle.getCorner(2))});
    return max - min;
}

}  // namespace

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
