#include <gtest/gtest.h>

#include <cmath>
#include <vector>

#include "support/capture.h"
#include "support/contours.h"
#include "support/generators.h"
#include "support/mesh.h"
#include "taro25d/IsoContours.h"
#include "taro25d/Taro_2D.h"

using namespace LUMO_TARO25D;
using namespace contour_lines;

namespace {

/// A profile is connected, lies on the surface, and runs in the given direction, if there is one.
void expectSoundProfile(const Taro_2D& mesh, const Polyline& vProfile, const Vector2& direction) {
    const bool bDirected = std::isfinite(direction.x()) && direction.z() != 1;
    for (size_t i = 0; i < vProfile.size(); ++i) {
        const Point2 &src = vProfile[i].getSrc(), &trg = vProfile[i].getTrg();
        const double advance = (trg.x() - src.x()) * direction.x() + (trg.y() - src.y()) * direction.y();
        EXPECT_TRUE(!bDirected || advance > 0);
        EXPECT_TRUE(i == 0 || samePoint(vProfile[i - 1].getTrg(), src));
        for (const double t : {0.0, 0.3, 1.0}) {
            double surface = 0;
            EXPECT_TRUE(mesh.getHeight((1 - t) * src.x() + t * trg.x(), (1 - t) * src.y() + t * trg.y(), surface,
                                       nullptr, 1e-9));
            EXPECT_NEAR((1 - t) * src.z() + t * trg.z(), surface, 1e-7);
        }
    }
}

}  // namespace

TEST(IsoContours, UnusualTriangles) {
    Point2 a(0, 0, 0), b(2, 0, 2), c(0, 2, 4), d(2, 2, 1), e(-1, 3, 1), bad(1, 1, NOT_A_NUMBER), far(INF, 0, 0);
    const IsoContours nothing({}), onlyBad({nullptr});
    for (const IsoContours* pIso : {&nothing, &onlyBad}) {
        EXPECT_EQ(pIso->getMinHeight(), -1.0);
        EXPECT_EQ(pIso->getMaxHeight(), -1.0);
        EXPECT_TRUE(contours(*pIso, 1).empty());
    }
    Triangle2 good(&a, &b, &c), withNaN(&a, &b, &bad), withInf(&a, &b, &far), recycled;
    const IsoContours mixed({&withNaN, &recycled, &good, nullptr, &withInf});
    EXPECT_EQ(mixed.getMaxHeight(), 4);
    EXPECT_EQ(toText(contours(mixed, 1)), toText(contours(IsoContours({&good}), 1)));
    EXPECT_EQ(toText(contours(mixed, 1)), "0 0.5 1, 1 0\n");

    // Clockwise corners change nothing. Triangles with coincident corners and vertical ones only connect others.
    Triangle2 clockwise(&a, &c, &b), doubled(&a, &a, &c), onEdge(&a, &b, &b);
    EXPECT_EQ(toText(contours(IsoContours({&clockwise, &doubled, &onEdge}), 1)), "0 0.5 1, 1 0\n");
    Point2 below(2, 0, -1), top(0, 0, 9);
    Triangle2 wall(&a, &below, &b), wallOnly(&a, &b, &top);
    EXPECT_EQ(toText(contours(IsoContours({&wall, &good}), 1)), "0 0.5 1, 1 0 1, 2 0\n");
    EXPECT_EQ(contours(IsoContours({&wallOnly}), 1).size(), 1u);

    // At an edge of three triangles contours are no chain; at other heights the same triangles give one.
    Triangle2 second(&b, &d, &c), third(&b, &e, &c);
    const IsoContours fan({&good, &second, &third});
    EXPECT_EQ(printedBy(fan, 2.5, true, true, false),
              warningOf("Bad numerical accuracy at height z=2.5.\n      Please add a little noise and try again. Use "
                        "bVerbose=false to suppress this message."));
    EXPECT_EQ(printedBy(fan, 2.5, false, false, false), "");
    EXPECT_EQ(contours(fan, 0.5).size(), 1u);

    // Coordinates near the largest and the smallest doubles.
    for (const double scale : {0.9 * MAX, 1e-300}) {
        Point2 p(-scale, -scale, -scale), q(scale, -scale, -scale), r(scale, scale, scale);
        Triangle2 huge(&p, &q, &r);
        const Polylines vContours = contours(IsoContours({&huge}), scale / 2);
        ASSERT_EQ(vContours.size(), 1u);
        EXPECT_NEAR(vContours[0][0].getSrc().x() / scale, 0.5, 1e-15);
        EXPECT_NEAR(vContours[0][0].getTrg().x() / scale, 1, 1e-15);
        EXPECT_NEAR(vContours[0][0].getTrg().y() / scale, 0.5, 1e-15);
    }
}

TEST(IsoContours, OneLongLineInAStripOfManyTriangles) {
    const size_t n = scaled(1000000);
    std::vector<Point2> vPoints;
    for (size_t i = 0; i < n + 2; ++i) vPoints.emplace_back(double(i), double(i % 2), double(i % 2));
    std::vector<Triangle2> vTriangles;
    TriangleVector vPointers;
    for (size_t i = 0; i < n; ++i) vTriangles.emplace_back(&vPoints[i], &vPoints[i + 1], &vPoints[i + 2]);
    for (Triangle2& triangle : vTriangles) vPointers.push_back(&triangle);
    const Polylines vContours = contours(IsoContours(vPointers), 0.5);
    ASSERT_EQ(vContours.size(), 1u);
    EXPECT_EQ(vContours[0].size(), n);
    EXPECT_EQ(vContours[0][0].getSrc(), Point2(0.5, 0.5, 0));
}

TEST(IsoContours, ProfilesFollowTheSurface) {
    Random random(7);
    Taro_2D mesh;
    PointVector vPoints{Point2(-5, -5, 1), Point2(5, -5, 2), Point2(5, 5, 3), Point2(-5, 5, 4)};
    for (int i = 0; i < 400; ++i)
        vPoints.emplace_back(uniform(random, -5, 5), uniform(random, -5, 5), uniform(random, 0, 3));
    for (int i = -4; i < 5; ++i) vPoints.emplace_back(i, i, uniform(random, 0, 3));
    mesh.insert(vPoints);
    const struct {
        Point2 point;
        Vector2 direction;
        double length;  // in x-y
    } aCase[] = {
        {{0, 0, 99}, {1, 0, 0}, 10},
        {{0, 1, 0}, {-2e300, 0, 5}, 10},
        {{1, 0, 0}, {0, 3, 0}, 10},
        {{2, 2, 0}, {1, 1, 0}, 10 * M_SQRT2},
        {{3, 3, 0}, {-1e-9, -1e-9, 0}, 10 * M_SQRT2},
        {{0, 0, 0}, {1, 2, 0}, 5 * std::sqrt(5)},
        {{0, 5, 0}, {1, 0, 0}, 10},
        {{0, -5, 0}, {1, 0, 0}, 10},
        {{5, 7, 0}, {0, -1, 0}, 10},
        {{0, 2, 0}, {0, 0, 1}, 10},
        {{0, 2, 0}, {NOT_A_NUMBER, 1, 0}, 10},
        {{0, 5.5, 0}, {1, 0, 0}, 0},
        {{5, -5, 0}, {1, 1, 0}, 0},
    };
    for (const auto& c : aCase) {
        SCOPED_TRACE(testing::Message() << c.point << " " << c.direction.x() << " " << c.direction.y());
        const IsoContours iso(vPoints, c.direction);
        Polyline vProfile;
        EXPECT_TRUE(iso.getProfile(c.point, vProfile));
        expectSoundProfile(mesh, vProfile, c.direction);
        double length = 0;
        for (const Segment2& s : vProfile) length += std::sqrt(s.getSqLen2D());
        EXPECT_NEAR(length, c.length, 1e-9);
    }
}

TEST(IsoContours, ProfilesAndContoursOfPointsAndOfLooseTriangles) {
    Random random(7);
    const PointVector vPoints = makeScattered(100, -5, -5, 5, 5, random, 3);
    Taro_2D mesh;
    mesh.insert(vPoints);
    const IsoContours iso(vPoints, Vector2(0, 1, 0)), sameSurface(trianglesOf(mesh));
    EXPECT_EQ(toText(contours(iso, 1.55)), toText(contours(sameSurface, 1.55)));
    // Profiles of an object made from triangles run along the x axis, and may have gaps.
    Point2 a(0, 0, 0), b(1, 0, 1), c(0, 1, 2), d(2, 0, 5), e(3, 0, 5), f(2, 1, 5);
    Triangle2 left(&a, &b, &c), right(&d, &e, &f);
    Polyline vProfile;
    EXPECT_TRUE(IsoContours({&right, &left}).getProfile(Point2(7, 0.5, 0), vProfile));
    EXPECT_EQ(toText({{vProfile[0]}, {vProfile[1]}}), "0 0.5 1, 0.5 0.5\n2 0.5 5, 2.5 0.5\n");
    const StdoutCapture capture;
    EXPECT_FALSE(iso.getProfile(Point2(0, NOT_A_NUMBER, 0), vProfile));
    EXPECT_TRUE(IsoContours({{0, 0, 0}, {1, 1, 1}}, Vector2(1, 1, 0)).getProfile(Point2(), vProfile));
    EXPECT_EQ(vProfile.size(), 2u);
    EXPECT_TRUE(contains(capture, "IsoContours::getProfile(), WARNING: non-finite coordinates, no profile"));
}
