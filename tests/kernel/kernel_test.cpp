#include <gtest/gtest.h>

#include <cmath>
#include <set>

#include "kernel/GeomTest.h"
#include "kernel/expansion.h"
#include "support/capture.h"
#include "support/generators.h"
#include "support/values.h"
#include "taro25d/Segment2.h"
#include "taro25d/TaroException.h"
#include "taro25d/freeFunctions.h"

using namespace LUMO_TARO25D;
using namespace values;

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

TEST(ExactSum, ZerosDoNotNeedRoom) {
    ExactSum<2> sum;
    for (const double term : {1.0, -0x1p-60, 0.0}) sum.add(term);  // sanitizers see a write behind the last term
    EXPECT_EQ(sum.sign(), 1);
}
