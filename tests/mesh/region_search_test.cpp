#include <gtest/gtest.h>

#include <gmpxx.h>
#include <algorithm>
#include <functional>
#include <vector>

#include "support/capture.h"
#include "support/exact.h"
#include "support/generators.h"
#include "support/mesh.h"
#include "support/polygons.h"
#include "taro25d/Bbox2.h"
#include "taro25d/Circle2.h"
#include "taro25d/Taro_2D.h"
#include "taro25d/Zone2.h"

using namespace LUMO_TARO25D;

namespace {

mpq_class exactSqDistance(const Point2& a, const Point2& b) { return ExactVector(a, b).sqLength(); }

Point2* nearestOf(const Taro_2D& mesh, const Point2& place) {
    const VertexVector vVertices = verticesOf(mesh);
    return *std::min_element(vVertices.begin(), vVertices.end(), [&](const Point2* a, const Point2* b) {
        const int order = cmp(exactSqDistance(*a, place), exactSqDistance(*b, place));
        return order != 0 ? order < 0 : *a < *b;
    });
}

VertexVector thoseWith(const Taro_2D& mesh, const std::function<bool(const Point2&)>& test) {
    VertexVector vVertices = verticesOf(mesh);
    vVertices.erase(std::remove_if(vVertices.begin(), vVertices.end(), [&](const Point2* p) { return !test(*p); }),
                    vVertices.end());
    std::sort(vVertices.begin(), vVertices.end());
    return vVertices;
}

/// Whether a triangle shares a point with a box, by clipping. Exact for small integers.
bool meetsBox(const Triangle2* pT, const Bbox2& box) {
    PointVector vPolygon{*pT->getCorner(0), *pT->getCorner(1), *pT->getCorner(2)};
    PointVector vCorners;
    box.getCorners(vCorners);
    for (int i = 0; i < 3; ++i) {
        const Point2 &a = *pT->getCorner(i), &b = *pT->getCorner((i + 1) % 3);
        if (std::all_of(vCorners.begin(), vCorners.end(),
                        [&](const Point2& c) { return exactOrientation(a, b, c) < 0; }))
            return false;
    }
    const auto outside = [&](const std::function<bool(const Point2&)>& test) {
        return std::all_of(vPolygon.begin(), vPolygon.end(), test);
    };
    return !outside([&](const Point2& p) { return p.x() < box.getMinX(); }) &&
           !outside([&](const Point2& p) { return p.x() > box.getMaxX(); }) &&
           !outside([&](const Point2& p) { return p.y() < box.getMinY(); }) &&
           !outside([&](const Point2& p) { return p.y() > box.getMaxY(); });
}

/// Compares all queries at places inside, outside, on vertices and between them with a linear search.
void checkQueries(const Taro_2D& mesh, const std::function<Point2()>& makePlace, double unit, int numQueries,
                  Random& random) {
    for (int i = 0; i < numQueries; ++i) {
        const Point2 place = makePlace();
        ASSERT_EQ(mesh.getNearestVertex(place), nearestOf(mesh, place)) << place;
        const double sqRadius = unit * unit * integer(random, 0, 50);
        VertexVector vFound;
        mesh.getVerticesInCircle(Circle2(place, sqRadius), vFound);
        std::sort(vFound.begin(), vFound.end());
        ASSERT_EQ(
            vFound,
            thoseWith(mesh, [&](const Point2& p) { return cmp(exactSqDistance(p, place), mpq_class(sqRadius)) <= 0; }))
            << place;
        const Bbox2 box(place.x(), place.y(), place.x() + unit * integer(random, 0, 8),
                        place.y() + unit * integer(random, 0, 8));
        vFound.clear();
        mesh.getVerticesInBox(box, vFound);
        std::sort(vFound.begin(), vFound.end());
        ASSERT_EQ(vFound, thoseWith(mesh, [&](const Point2& p) { return box.isInBox(p); })) << place;
        TriangleVector vInBox, vExpected = trianglesOf(mesh);
        mesh.getTrianglesInBox(box, vInBox);
        vExpected.erase(
            std::remove_if(vExpected.begin(), vExpected.end(), [&](const Triangle2* pT) { return !meetsBox(pT, box); }),
            vExpected.end());
        std::sort(vExpected.begin(), vExpected.end());
        std::sort(vInBox.begin(), vInBox.end());
        ASSERT_EQ(vInBox, vExpected) << place;
    }
}

TEST(RegionSearch, FindsWhatALookAtEveryRecordFinds) {
    Random random(3);
    for (const double origin : {0.0, 5e6}) {
        for (int round = 0; round < 12; ++round) {
            Taro_2D mesh;
            const int width = round % 3 ? 12 : 40;
            const auto makePlace = [&] {
                return Point2(origin + 0.25 * integer(random, -20, 4 * width + 20),
                              origin + 0.25 * integer(random, -20, 4 * width + 20), 0);
            };
            const size_t numPoints = 1 + random() % 150;
            for (size_t i = 0; i < numPoints; ++i) {
                mesh.insert(Point2(origin + integer(random, 0, width),
                                   origin + (round == 0 ? 0 : integer(random, 0, width)), 0));
            }
            if (round % 2) {
                // A descent along edges would end early beside such walls.
                const double at = origin + width / 2;
                mesh.createConstraint({makeSegment(origin, at, origin + width, at), makeSegment(at, origin, at, at)},
                                      CIS_CONSTRAINED_DELAUNAY);
            }
            checkQueries(mesh, makePlace, 0.5, 60, random);
        }
    }
}

TEST(RegionSearch, AtExtremeCoordinates) {
    Random random(4);
    for (const double scale : {0x1p-1060, 0x1p-530, 0x1p-300, 0x1p300, 0x1p505, 0x1p1010}) {
        Taro_2D mesh;
        for (int i = 0; i < 60; ++i)
            mesh.insert(Point2(scale * integer(random, 0, 30), scale * integer(random, 0, 30), 0));
        for (int i = 0; i < 60; ++i) {
            const Point2 place(scale * integer(random, -9, 39), scale * integer(random, -9, 39), 0);
            ASSERT_EQ(mesh.getNearestVertex(place), nearestOf(mesh, place)) << place << " " << scale;
            const Bbox2 box(place.x(), place.y(), place.x() + 5 * scale, place.y() + 9 * scale);
            VertexVector vFound;
            mesh.getVerticesInBox(box, vFound);
            std::sort(vFound.begin(), vFound.end());
            ASSERT_EQ(vFound, thoseWith(mesh, [&](const Point2& p) { return box.isInBox(p); })) << place;
        }
    }
}

TEST(RegionSearch, OfNothingIsNothing) {
    Taro_2D mesh;
    VertexVector vVertices;
    TriangleVector vTriangles;
    EXPECT_EQ(mesh.getNearestVertex(Point2(0, 0, 0)), nullptr);
    mesh.insert(makeRectangle(0, 0, 9, 9));
    EXPECT_EQ(mesh.getNearestVertex(Point2(NOT_A_NUMBER, 0, 0)), nullptr);
    EXPECT_EQ(mesh.getNearestVertex(Point2(INF, 0, 0)), nullptr);
    mesh.getVerticesInBox(Bbox2(), vVertices);
    mesh.getTrianglesInBox(Bbox2(), vTriangles);
    mesh.getTrianglesInBox(Bbox2(20, 20, 30, 30), vTriangles);
    for (const double sqRadius : {-1.0, NOT_A_NUMBER}) mesh.getVerticesInCircle(Circle2(1, 1, sqRadius), vVertices);
    mesh.getVerticesInCircle(Circle2(NOT_A_NUMBER, 1, 4), vVertices);
    EXPECT_TRUE(vVertices.empty() && vTriangles.empty());
    mesh.getVerticesInBox(Bbox2(-INF, -INF, INF, INF), vVertices);
    mesh.getTrianglesInBox(Bbox2(-1e308, -1e308, 1e308, 1e308), vTriangles);
    EXPECT_EQ(vVertices.size() + vTriangles.size(), 6u);
    mesh.getVerticesInCircle(Circle2(0, 0, INF), vVertices);
    EXPECT_EQ(vVertices.size(), 8u);
}

TEST(RegionSearch, ZonesContainTheirBorders) {
    Taro_2D mesh;
    mesh.insert(makeRectangle(0, 0, 20, 20));
    Zone2* pZone = mesh.createZone(
        mesh.createConstraint(makeSides(makeRectangle(5, 5, 10, 10)), CIS_CONSTRAINED_DELAUNAY), ZL_INSIDE);
    const TriangleVector vInside = trianglesOf(pZone);
    for (const Triangle2* pT : trianglesOf(mesh)) {
        EXPECT_EQ(pZone->contains(pT), std::find(vInside.begin(), vInside.end(), pT) != vInside.end());
    }
    EXPECT_FALSE(pZone->contains(nullptr));
    for (double x = 0; x <= 20; x += 0.5) {
        for (double y = 0; y <= 20; y += 0.5) {
            EXPECT_EQ(pZone->contains(Point2(x, y, 0)), x >= 5 && x <= 10 && y >= 5 && y <= 10) << x << " " << y;
        }
    }
    for (const double out : {-1.0, NOT_A_NUMBER, INF}) EXPECT_FALSE(pZone->contains(Point2(out, 7, 0)));
}

}  // namespace
