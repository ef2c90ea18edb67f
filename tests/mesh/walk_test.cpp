#include <gtest/gtest.h>

#include <atomic>
#include <cmath>
#include <cstdlib>
#include <string>
#include <thread>
#include <vector>

#include "mesh/Dt2.h"
#include "mesh/walk.h"
#include "support/capture.h"
#include "support/generators.h"
#include "support/mesh.h"
#include "support/polygons.h"
#include "taro25d/Segment2.h"
#include "taro25d/Taro_2D.h"

// The walk to a point ends, and leaves the mesh unchanged.

using namespace LUMO_TARO25D;

namespace {

Point2 onCircle(double radius, double degrees) {
    const double angle = degrees * std::acos(-1.0) / 180.0;
    return Point2(radius * std::cos(angle), radius * std::sin(angle), 0.0);
}

/// A ring of triangles around the origin. Each has the origin beyond its edge to the next triangle, and tests that edge
/// before its inner one, so a walk that tests edges in order circles for ever. Constraints keep these edges, which are
/// not Delaunay.
void makePinwheel(Taro_2D& mesh) {
    constexpr double TURN = 15.0;
    SegmentVector vSegments;
    for (int i = 0; i < 3; ++i) {
        const double here = 120.0 * i, next = 120.0 * ((i + 1) % 3);
        const Point2 inner = onCircle(1.0, here), innerNext = onCircle(1.0, next);
        const Point2 outer = onCircle(4.0, here + TURN), outerNext = onCircle(4.0, next + TURN);
        vSegments.insert(vSegments.end(), {Segment2(inner, innerNext), Segment2(outer, outerNext),
                                           Segment2(inner, outer), Segment2(inner, outerNext)});
    }
    mesh.insert({Point2(9, 0, 0), Point2(-9, 9, 0), Point2(-9, -9, 0)});
    mesh.createConstraint(vSegments, CIS_CONSTRAINED_DELAUNAY);
}

TEST(Walk, EndsWhereItWouldTurnInCirclesForEver) {
    Taro_2D mesh;
    makePinwheel(mesh);
    ASSERT_EQ(mesh.numberOfPoints(), 9u);
    const Point2 centre(0.0, 0.0, 0.0);
    std::srand(42);
    const int expected = std::rand();
    std::srand(42);
    for (Triangle2* pStart : trianglesOf(mesh)) {
        Triangle2* pT = pStart;
        int idx = 0;
        EXPECT_EQ(mesh.getImpl()->locateConflictTriangle(&centre, pT, idx), CODE_INSIDE);
        EXPECT_EQ(pT, mesh.locate(centre));
    }
    EXPECT_EQ(std::rand(), expected) << "the numbers are the client's";
}

/// Two close rows of points, so that the triangles between them are many and walks are long.
void makeStrip(Taro_2D& mesh, int n) {
    PointVector vPoints;
    for (int i = 0; i < n; ++i) {
        for (const double y : {0.0, 1e5}) vPoints.emplace_back(i, y, 0.0);
    }
    mesh.insert(vPoints);
}

TEST(Walk, DoesNotTouchTheRandomNumbersOfTheClient) {
    std::srand(42);
    const int expected = std::rand();
    std::vector<PointVector> vMeshes;
    for (const unsigned seed : {1u, 2u}) {
        Taro_2D mesh;
        makeStrip(mesh, 6000);
        std::srand(seed == 1 ? 42 : seed);
        double height = 0.0;
        for (int i = 0; i < 20; ++i) mesh.getHeight((i * 2741) % 6000, 5e4, height);
        for (int i = 0; i < 200; ++i) mesh.insert(Point2((i * 2741) % 6000, 5e4, 0));
        EXPECT_TRUE(seed != 1 || std::rand() == expected);
        PointVector vCentres;
        for (const Triangle2* pT : trianglesOf(mesh)) vCentres.push_back(pT->getBarycenter());
        vMeshes.push_back(vCentres);
    }
    EXPECT_EQ(vMeshes[0], vMeshes[1]) << "the mesh follows from the points alone";
}

TEST(Walk, ToAPlaceFarAwayLeavesThePredicatesAsTheyAre) {
    Taro_2D mesh;
    Random random(1);
    mesh.insert(generators[0].make(300, random));
    const GeomTest& geomTest = mesh.getImpl()->getGeomTest();
    const double before = geomTest.getMaxAbsCoord();
    double height = 0.0;
    for (const double far : {1e10, 1e200, MAX}) {
        for (const Point2& place : {Point2(far, -far, 0), Point2(0.5, far, 0)}) {
            EXPECT_FALSE(mesh.locate(place));
            EXPECT_FALSE(mesh.getHeight(place.x(), place.y(), height));
            EXPECT_TRUE(mesh.getHeight(place.x(), place.y(), height, nullptr, MAX) || far == MAX);
            EXPECT_FALSE(mesh.getImpl()->getVertexPointer(place));
        }
    }
    EXPECT_EQ(geomTest.getMaxAbsCoord(), before);
    EXPECT_FALSE(geomTest.hasRationals());
}

/// Coordinates of this size are beyond all stages of the predicates but the last, which works with numbers on the heap.
TEST(Walk, OfSeveralThreadsOnOneMeshDoNotDisturbEachOther) {
    constexpr int N = 12;
    for (const double scale : {1.0, 0x1p-1060}) {
        Taro_2D mesh;
        PointVector vPoints;
        for (int i = 0; i < N; ++i) {
            for (int k = 0; k < N; ++k) vPoints.emplace_back(scale * i, scale * k, i + k);
        }
        mesh.insert(vPoints);
        std::atomic<int> numWrong{0};
        const auto ask = [&](std::uint64_t seed) {
            Random random(seed);
            for (size_t i = 0; i < scaled(2000); ++i) {
                const double x = integer(random, 0, N - 1), y = integer(random, 0, N - 2) + 0.5;
                double height = -1.0;
                const bool bFound = mesh.getHeight(scale * x, scale * y, height);
                if (!bFound || std::abs(height - (x + y)) > 0.5) ++numWrong;
            }
        };
        std::vector<std::thread> vThreads;
        for (std::uint64_t seed = 1; seed <= 4; ++seed) vThreads.emplace_back(ask, seed);
        for (std::thread& thread : vThreads) thread.join();
        EXPECT_EQ(numWrong, 0) << scale;
    }
}

}  // namespace
