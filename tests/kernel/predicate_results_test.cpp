#include <gtest/gtest.h>

#include <cmath>
#include <string>
#include <vector>

#include "kernel/GeomTest.h"
#include "support/capture.h"
#include "support/exact.h"
#include "support/predicate_points.h"
#include "taro25d/TaroException.h"
#include "taro25d/freeFunctions.h"

using namespace LUMO_TARO25D;
using namespace predicate_points;

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
