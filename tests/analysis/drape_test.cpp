#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <vector>

#include "support/capture.h"
#include "support/generators.h"
#include "support/mesh.h"
#include "taro25d/Taro_2D.h"
#include "taro25d/freeFunctions.h"

using namespace LUMO_TARO25D;

namespace {

using Segments = std::vector<Segment2>;

Segments draped(const Taro_2D& mesh, const Segments& vSegments) {
    Segments vDraped;
    mesh.drape(vSegments, vDraped);
    return vDraped;
}

/// The crossings of a segment with all edges, by brute force, as parameters from 0 to 1 along the segment.
std::vector<double> crossingsOf(const Taro_2D& mesh, const Segment2& segment) {
    const Point2 &p = segment.getSrc(), &q = segment.getTrg();
    const double dx = q.x() - p.x(), dy = q.y() - p.y(), sqLength = dx * dx + dy * dy;
    const auto shareOf = [&](const Point2& at) { return ((at.x() - p.x()) * dx + (at.y() - p.y()) * dy) / sqLength; };
    std::vector<double> vShares;
    for (const Triangle2* pT : trianglesOf(mesh)) {
        for (int i = 0; i < 3; ++i) {
            const Point2 *a = pT->getCorner((i + 1) % 3), *b = pT->getCorner((i + 2) % 3);
            const Orientation2 oriA = getOrientation2_mt(&p, &q, a), oriB = getOrientation2_mt(&p, &q, b);
            if (oriA == ORIENTATION2_COLLINEAR) vShares.push_back(shareOf(*a));
            Point2 crossing;
            if (oriA == oriB || oriA == ORIENTATION2_COLLINEAR || oriB == ORIENTATION2_COLLINEAR) continue;
            if (getIntersectionPoint(*a, *b, p, q, crossing)) vShares.push_back(shareOf(crossing));
        }
    }
    double height = 0;
    if (mesh.getHeight(p.x(), p.y(), height)) vShares.push_back(0);
    if (mesh.getHeight(q.x(), q.y(), height)) vShares.push_back(1);
    const auto isAside = [](double share) { return share < -1e-12 || share > 1 + 1e-12; };
    vShares.erase(std::remove_if(vShares.begin(), vShares.end(), isAside), vShares.end());
    std::sort(vShares.begin(), vShares.end());
    vShares.erase(std::unique(vShares.begin(), vShares.end(), [](double s, double t) { return t - s < 1e-9; }),
                  vShares.end());
    return vShares;
}

void expectOnSurface(const Taro_2D& mesh, const Segment2& segment) {
    const std::vector<double> vShares = crossingsOf(mesh, segment);
    const Segments vDraped = draped(mesh, {segment});
    ASSERT_EQ(vDraped.size(), vShares.size() < 2 ? 0 : vShares.size() - 1) << segment.getSrc() << segment.getTrg();
    for (size_t k = 0; k < vDraped.size(); ++k) {
        const auto expectAt = [&](const Point2& at, double share) {
            const Point2 &p = segment.getSrc(), &q = segment.getTrg();
            EXPECT_NEAR(at.x(), p.x() + share * (q.x() - p.x()), 1e-9);
            EXPECT_NEAR(at.y(), p.y() + share * (q.y() - p.y()), 1e-9);
            double height = 0;
            EXPECT_TRUE(mesh.getHeight(at.x(), at.y(), height, nullptr, 1e-9));
            EXPECT_NEAR(at.z(), height, 1e-7);
        };
        expectAt(vDraped[k].getSrc(), vShares[k]);
        expectAt(vDraped[k].getTrg(), vShares[k + 1]);
        EXPECT_TRUE(k == 0 || samePoint(vDraped[k - 1].getTrg(), vDraped[k].getSrc()));
    }
}

}  // namespace

TEST(Drape, DividesSegmentsAtEveryEdge) {
    Random r(1);
    Taro_2D mesh;
    mesh.insert(makeScattered(200, 0, 0, 10, 10, r, 5));
    for (int round = 0; round < 200; ++round) {
        const auto somewhere = [&r] { return Point2(uniform(r, -3, 13), uniform(r, -3, 13), 99); };
        expectOnSurface(mesh, Segment2(somewhere(), somewhere()));
    }
}

/// On a grid of integers segments run through vertices and along edges and the hull.
TEST(Drape, PassesVerticesAndEdges) {
    Random r(2);
    Taro_2D mesh;
    PointVector vPoints = makeGrid(7, 0, 0, 1, r);
    for (Point2& point : vPoints) point.set(point.x(), point.y(), integer(r, 0, 9));
    mesh.insert(vPoints);
    for (int round = 0; round < 500; ++round) {
        const auto somewhere = [&r] { return Point2(0.5 * integer(r, -4, 16), 0.5 * integer(r, -4, 16), 0); };
        const Segment2 segment(somewhere(), somewhere());
        if (segment.getSrc() != segment.getTrg()) expectOnSurface(mesh, segment);
    }
}

TEST(Drape, ChangesNothingAndRefusesWhatIsNotFinite) {
    Taro_2D mesh;
    Segments vDraped(1);
    EXPECT_TRUE(
        contains(printedBy([&] { mesh.drape({Segment2(Point2(0, 0, 0), Point2(1, 1, 0))}, vDraped); }), "is2D()"));
    mesh.insert({Point2(0, 0, 1), Point2(4, 0, 1), Point2(0, 4, 1)});
    EXPECT_TRUE(contains(printedBy([&] {
                             mesh.drape({Segment2(Point2(1, 1, 0), Point2(2, 1, 0)),
                                         Segment2(Point2(0, 0, 0), Point2(INF, 0, 0))},
                                        vDraped);
                         }),
                         "non-finite"));
    mesh.drape({Segment2(Point2(1, 1, 0), Point2(1, 1, 5)), Segment2(Point2(9, 9, 0), Point2(5, 5, 5))}, vDraped);
    EXPECT_EQ(vDraped.size(), 1u);
    EXPECT_EQ(mesh.numberOfPoints(), 3u);
    mesh.drape({Segment2(Point2(-1, 1, 0), Point2(9, 1, 7))}, vDraped);
    ASSERT_EQ(vDraped.size(), 2u);
    EXPECT_TRUE(samePoint(vDraped[1].getSrc(), Point2(0, 1, 1)) && samePoint(vDraped[1].getTrg(), Point2(3, 1, 1)));
}

TEST(Trim, TakesLongTrianglesOffTheBorderUpToConstraints) {
    // The letter C: the hull bridges its opening with long triangles.
    PointVector vPoints;
    for (double x = 0; x <= 10; x += 0.5)
        for (double y = 0; y <= 10; y += 0.5)
            if (!(x > 3 && y > 3 && y < 7)) vPoints.emplace_back(x, y, x);
    Taro_2D mesh;
    mesh.insert(vPoints);
    const Zone2* pZone = mesh.createZone_trimmed(1.0, false);
    ASSERT_TRUE(pZone);
    // In each corner of the opening a triangle with short edges remains.
    EXPECT_NEAR(pZone->getArea2D(), 72.25, 1e-9);
    // The border of the first zone is a constraint, and stops trimming with a smaller limit.
    EXPECT_NEAR(mesh.createZone_trimmed(0.6, false)->getArea2D(), 72.25, 1e-9);
    Taro_2D closed;
    closed.insert(vPoints);
    closed.createConstraint({Segment2(Point2(6, 3, 6), Point2(6, 7, 6))}, CIS_CONSTRAINED_DELAUNAY);
    EXPECT_NEAR(closed.createZone_trimmed(1.0, false)->getArea2D(), 100 - 4 * 4, 1e-9);
    EXPECT_NEAR(closed.createZone_trimmed(INF, false)->getArea2D(), 100, 1e-9);
}

TEST(Trim, GivesNoZoneWhereNothingIsLeft) {
    Taro_2D mesh;
    EXPECT_TRUE(contains(printedBy([&] { EXPECT_FALSE(mesh.createZone_trimmed(1)); }), "is2D()"));
    mesh.insert({Point2(0, 0, 1), Point2(4, 0, 1), Point2(0, 4, 1)});
    EXPECT_TRUE(contains(printedBy([&] { EXPECT_FALSE(mesh.createZone_trimmed(1)); }), "no triangle is left"));
    EXPECT_EQ(printedBy([&] { EXPECT_FALSE(mesh.createZone_trimmed(1, false)); }), "");
    for (const double limit : {0.0, -1.0, NOT_A_NUMBER}) EXPECT_FALSE(mesh.createZone_trimmed(limit, false));
}

TEST(Polyline, AndItsPointsAreInverse) {
    const PointVector vPoints{Point2(0, 0, 1), Point2(1, 0, 2), Point2(1, 1, 3)};
    const auto expectSame = [](const PointVector& vExpected, const PointVector& vFound) {
        ASSERT_EQ(vExpected.size(), vFound.size());
        for (size_t i = 0; i < vFound.size(); ++i) EXPECT_TRUE(samePoint(vExpected[i], vFound[i]));
    };
    EXPECT_EQ(makePolyline(vPoints).size(), 2u);
    EXPECT_EQ(makePolyline(vPoints, true).size(), 3u);
    expectSame(vPoints, getPolylinePoints(makePolyline(vPoints)));
    expectSame(vPoints, getPolylinePoints(makePolyline(vPoints, true)));
    const PointVector vRepeated{vPoints[0], vPoints[1], vPoints[2], vPoints[0]};
    expectSame(vPoints, getPolylinePoints(makePolyline(vRepeated, true)));
    EXPECT_TRUE(makePolyline({vPoints[0]}, true).empty());
    EXPECT_TRUE(getPolylinePoints({}).empty());
    const Segments vGap{Segment2(vPoints[0], vPoints[1]), Segment2(vPoints[2], vPoints[0])};
    EXPECT_TRUE(contains(printedBy([&] { EXPECT_TRUE(getPolylinePoints(vGap).empty()); }), "no polyline"));
}
