#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>

#include "kernel/tools.h"
#include "support/capture.h"
#include "support/delaunay_oracle.h"
#include "support/generators.h"
#include "support/mesh.h"
#include "support/query_meshes.h"
#include "taro25d/TaroException.h"
#include "taro25d/Taro_2D.h"
#include "taro25d/Visualizer2.h"
#include "taro25d/freeFunctions.h"

using namespace LUMO_TARO25D;
using namespace query_meshes;

namespace {

bool isIn(const Triangle2& t, const Point2& p) {
    const auto isOnInnerSide = [&](int i) {
        return oracleOrientation(*t.getCorner(i), *t.getCorner(incIndexBy1(i)), p) >= 0;
    };
    return isOnInnerSide(0) && isOnInnerSide(1) && isOnInnerSide(2);
}

TEST(Locate, FindsExactlyTheTrianglesThatContainAPoint) {
    forEachMesh([](Taro_2D& mesh, Random& random) {
        const TriangleVector vTriangles = trianglesOf(mesh);
        PointVector vQueries;
        const VertexVector vVertices = verticesOf(mesh);
        for (const Point2* p : vVertices) vQueries.push_back(*p);
        for (size_t i = 0; i < 12; ++i) {
            const Point2 a = vQueries[random() % vQueries.size()], b = vQueries[random() % vQueries.size()];
            vQueries.push_back(centerWithShift(a, b));  // often exactly on an edge, or on the hull
            vQueries.emplace_back(std::nextafter(a.x(), b.x()), a.y(), 0.0);
            vQueries.emplace_back(a.x(), std::nextafter(a.y(), 0.0), 0.0);
        }
        for (const Point2& query : vQueries) {
            const Triangle2* pT = mesh.locate(query);
            const bool bInside =
                std::any_of(vTriangles.begin(), vTriangles.end(), [&](const Triangle2* p) { return isIn(*p, query); });
            ASSERT_EQ(pT != nullptr, bInside) << query;
            const bool bVertex =
                std::any_of(vVertices.begin(), vVertices.end(), [&](const Point2* p) { return *p == query; });
            const Point2* pVtx = mesh.getImpl()->getVertexPointer(query);
            ASSERT_TRUE(bVertex ? pVtx && *pVtx == query : !pVtx) << query;
            ASSERT_TRUE(!pT || isIn(*pT, query)) << query;
        }
    });
}

TEST(Locate, RefusesWhatCannotBeInside) {
    const Square square;
    for (const double bad : {NOT_A_NUMBER, INF, -INF, 1e308}) {
        EXPECT_EQ(square.mesh.locate(Point2(bad, 0.5, 0.0)), nullptr);
        EXPECT_EQ(square.mesh.locate(Point2(0.5, bad, 0.0)), nullptr);
        EXPECT_EQ(square.mesh.getImpl()->getVertexPointer(Point2(bad, 0.5, 0.0)), nullptr);
    }
    EXPECT_NE(square.mesh.locate(Point2(0.25, 1.0, NOT_A_NUMBER)), nullptr);
    EXPECT_LT(square.mesh.getImpl()->getGeomTest().getMaxAbsCoord(), 10.0) << "filters suffered from far queries";
}

bool isThin(const Triangle2& t) {
    const ExactVector u(*t.getCorner(1), *t.getCorner(0)), v(*t.getCorner(2), *t.getCorner(0));
    const mpq_class det = exactCross(u, v), sqSize = std::max(mpq_class(u.sqLength()), mpq_class(v.sqLength()));
    return det * det < 1e-16 * sqSize * sqSize;
}

/// The height of the plane through the corners at p, in rational numbers.
mpq_class exactHeight(const Triangle2& t, const Point2& p) {
    const Point2 &a = *t.getCorner(0), &b = *t.getCorner(1), &c = *t.getCorner(2);
    const ExactVector u(b, a), v(c, a), w(p, a);
    return a.z() + (exactCross(w, v) * (mpq_class(b.z()) - a.z()) + exactCross(u, w) * (mpq_class(c.z()) - a.z())) /
                       exactCross(u, v);
}

TEST(Height, IsThatOfThePlaneThroughTheCorners) {
    forEachMesh([](Taro_2D& mesh, Random& random) {
        const double zScale = std::ldexp(1.0, static_cast<int>(integer(random, -1000, 1000)));
        for (Point2* p : verticesOf(mesh)) p->set(p->x(), p->y(), p->z() * zScale);
        for (Triangle2* pT : trianglesOf(mesh)) {
            const Point2 &a = *pT->getCorner(0), &b = *pT->getCorner(1), &c = *pT->getCorner(2);
            const Point2 place = barycenter(centerWithShift(a, b), b, c);
            if (!isIn(*pT, place)) continue;
            double height = NOT_A_NUMBER;
            ASSERT_TRUE(mesh.getHeight(place.x(), place.y(), height)) << *pT;
            const auto [zMin, zMax] = std::minmax({a.z(), b.z(), c.z()});
            ASSERT_TRUE(zMin <= height && height <= zMax) << *pT;
            ASSERT_LE(std::abs(height - exactHeight(*pT, place).get_d()), 1e-7 * (zMax - zMin)) << *pT;
            ASSERT_TRUE(mesh.getHeight(b.x(), b.y(), height));
            ASSERT_EQ(height, b.z());
        }
    });
}

TEST(Height, OnALevelEdgeIsItsHeightHoweverLarge) {
    // The plane is above the edge by rounding, which is no reason to doubt that the place is in the triangle.
    Random random(5);
    for (int i = 0; i < 200; ++i) {
        Taro_2D mesh;
        const Point2 a(uniform(random, -1, 1), uniform(random, -1, 1), 1e20), b(uniform(random, 2, 4), 0.1, 1e20);
        for (const Point2& p : {a, b, Point2(1, 5, -1e20), Point2(1, -5, -1e20)}) mesh.insert(p);
        const Point2 place = centerWithShift(a, b);
        double height = 0;
        ASSERT_TRUE(mesh.getHeight(place.x(), place.y(), height));
        EXPECT_NEAR(height, 1e20, 1e6);
    }
}

TEST(Height, OfAGivenTriangle) {
    using XYZ = std::array<double, 3>;
    const struct {
        std::array<XYZ, 3> aCorners;
        double x, y;
        bool bFound;
        double height;
    } aCases[] = {// Beyond the range of the corners by less than the tolerance; by more, the edges on y = 0
                  // and x + y = 1 decide.
                  {{XYZ{0, 0, 0}, {1, 0, 1}, {0, 1, 0}}, 0.25, 0.25, true, 0.25},
                  {{XYZ{0, 0, 0}, {1, 0, 1}, {0, 1, 0}}, 1.0009, 0.25, true, 1.0},
                  {{XYZ{0, 0, 0}, {1, 0, 1}, {0, 1, 0}}, -0.0009, 0.25, true, 0.0},
                  {{XYZ{0, 0, 0}, {1, 0, 1}, {0, 1, 0}}, 1.5, 0.0, true, 1.0},
                  // Thinner than rounding errors of an area.
                  {{XYZ{-2.4285714285714284, -7.4285714285714279, -2.4285714285714284}, {-3, -8, -3}, {-1, -6, -1}},
                   -1.525,
                   -6.525,
                   true,
                   -1.525},
                  // Collinear, between the second and the third corner: straight, bent up, bent down, level.
                  {{XYZ{0, 0, 0}, {1, 1, 1}, {4, 4, 4}}, 2.0, 2.0, true, 2.0},
                  {{XYZ{0, 0, 0}, {1, 1, 7}, {4, 4, 4}}, 2.0, 2.0, false, 3.5},
                  {{XYZ{0, 0, 0}, {1, 1, -2}, {4, 4, 4}}, 2.0, 2.0, true, 1.0},
                  {{XYZ{0, 0, 6}, {1, 1, 6}, {4, 4, 6}}, 2.0, 2.0, true, 6.0}};
    const Square square;
    for (const auto& c : aCases) {
        PointVector v;
        for (const auto& [x, y, z] : c.aCorners) v.emplace_back(x, y, z);
        Triangle2 triangle(&v[0], &v[1], &v[2]);
        double height = NOT_A_NUMBER;
        EXPECT_EQ(square.mesh.getHeight(c.x, c.y, height, &triangle), c.bFound) << triangle;
        EXPECT_DOUBLE_EQ(height, c.height) << triangle;
    }
}

TEST(Height, OutsideTheHullNeedsATolerance) {
    const Square square;
    const struct {
        double x, y, tolerance;
        bool bFound;
        double height;
    } aCases[] = {
        {0.25, -0.5, 0.0, false, 0.0},        {0.25, -0.5, 0.4375, false, 0.0}, {0.25, -0.5, 0.5, true, 0.25},
        {0.75, 1.5, 1.0, true, 0.75},         {-3.0, -4.0, 5.0, true, 0.0},     {4.0, 5.0, 4.999, false, 0.0},
        {4.0, 5.0, 5.0, true, 1.0},           {4.0, 1.0, 3.0, true, 1.0},       {1e300, 0.5, 1.0, false, 0.0},
        {1e300, 0.5, 1e301, true, 1.0},       {2.0, 0.5, INF, true, 1.0},       {2.0, 0.5, NOT_A_NUMBER, false, 0.0},
        {NOT_A_NUMBER, 0.5, 1.0, false, 0.0}, {0.5, INF, INF, false, 0.0}};
    for (const auto& c : aCases) {
        double height = 0.0;
        EXPECT_EQ(square.mesh.getHeight(c.x, c.y, height, nullptr, c.tolerance), c.bFound) << c.x << ", " << c.y;
        EXPECT_DOUBLE_EQ(height, c.height) << c.x << ", " << c.y;
    }
    double height = 0.0;
    const StdoutCapture capture;
    EXPECT_THROW(square.mesh.getImpl()->getNearbyHeight(0.3, 0.4, height, 1.0), TaroException);
    expectPrinted(capture, {"intState>-1 && intState<4"});
}

TEST(Height, OutsideTheHullIsThatOfTheNearestHullPoint) {
    forEachMesh([](Taro_2D& mesh, Random& random) {
        const PointVector vHull = getHull(mesh, true);
        const Bbox2 box = mesh.computeBoundingBox();
        const double size = std::max(box.getMaxX() - box.getMinX(), box.getMaxY() - box.getMinY());
        if (!(size < 1e100 && size > 1e-100)) return;
        // Heights along the hull must not be too steep, or on both sides of a flat hull, to be compared.
        for (const Triangle2* pT : trianglesOf(mesh)) {
            if (isThin(*pT)) return;
        }
        for (int k = 0; k < 20; ++k) {
            const Point2 query(box.getMinX() + uniform(random, -1.0, 2.0) * size,
                               box.getMinY() + uniform(random, -1.0, 2.0) * size, 0.0);
            double height = 0.0, nearest = INF, expected = 0.0;
            if (mesh.getHeight(query.x(), query.y(), height)) continue;
            for (size_t i = 0; i < vHull.size(); ++i) {
                const Point2 &a = vHull[i], &b = vHull[(i + 1) % vHull.size()];
                const Point2 foot = getFootPoint(query, a, b);
                const Point2& candidate = approxHasOn(a, b, foot) ? foot : b;
                if (distance2D(query, candidate) > nearest) continue;
                nearest = distance2D(query, candidate);
                expected = candidate.z();
            }
            ASSERT_TRUE(mesh.getHeight(query.x(), query.y(), height, nullptr, 1.0000001 * nearest));
            ASSERT_NEAR(height, expected, 1e-6);
            ASSERT_FALSE(mesh.getHeight(query.x(), query.y(), height, nullptr, 0.9999 * nearest));
        }
    });
}

}  // namespace
