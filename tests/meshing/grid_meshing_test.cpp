#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>

#include "kernel/tools.h"
#include "mesh/Dt2.h"
#include "meshing/GridMesher.h"
#include "support/capture.h"
#include "support/mesh.h"
#include "support/mesh_quality.h"
#include "support/scene.h"
#include "taro25d/ConstraintSegment2.h"
#include "taro25d/MeshGenParams.h"
#include "taro25d/freeFunctions.h"

using namespace LUMO_TARO25D;

TEST(GridMeshing, CentresItsStripes) {
    for (const double degrees : {0.0, 17.0, 45.0, 100.0}) {
        const Scene scene = makeScene({makeRectangle(0, 0, 100, 37)});
        const double angle = degrees * M_PI / 180;
        MeshGenParams params(scene.pZone);
        params.gridLength = 4;
        const Vector2 along(std::cos(angle), std::sin(angle), 0), across(-along.y(), along.x(), 0);
        std::vector<Segment2> vStripes;
        GridMesher(&params).createStripes(along, vStripes);
        std::vector<double> vOffsets;
        for (const Segment2& stripe : vStripes) vOffsets.push_back(getVector2D(Point2(), stripe.getSrc()) * across);
        double low = 1e300, high = -1e300;
        for (const Point2& corner : makeRectangle(0, 0, 100, 37)) {
            low = std::min(low, getVector2D(Point2(), corner) * across);
            high = std::max(high, getVector2D(Point2(), corner) * across);
        }
        ASSERT_GT(vOffsets.size(), 5u);
        EXPECT_TRUE(std::is_sorted(vOffsets.begin(), vOffsets.end()));
        for (size_t i = 1; i < vOffsets.size(); ++i) EXPECT_NEAR(vOffsets[i] - vOffsets[i - 1], 4, 1e-9);
        EXPECT_NEAR(vOffsets.front() - low, high - vOffsets.back(), 1e-9);
        EXPECT_GE(vOffsets.front() - low, 2 - 1e-9);
        EXPECT_LE(vOffsets.front() - low, 4 + 1e-9);
        params.gridLength = 150;
        GridMesher(&params).createStripes(along, vStripes);
        EXPECT_EQ(vStripes.size(), vOffsets.size()) << "wider than the zone";
    }
}

TEST(GridMeshing, SeedsZonesThatRefinementCompletes) {
    for (const double degrees : {0.0, 17.0, 45.0, 90.0, 200.0}) {
        for (const int mode : {0, 1, 2}) {
            SCOPED_TRACE(degrees * 10 + mode);
            Random r(21);
            const Scene scene = makeScene({makeRectangle(0, 0, 100, 100), makeStar(12, 50, 50, 25, r)},
                                          {Segment2({10, 5, 0}, {80, 15, 0})}, plane);
            const double angle = degrees * M_PI / 180;
            MeshGenParams params(scene.pZone);
            params.gridLength = 3;
            params.gridVector = Vector2(5 * std::cos(angle), 5 * std::sin(angle), 0);
            params.maxEdgeLength = 5;
            params.bAllowConstraintSplitting = mode != 1;
            const CSegVector vSides = originalsOf(scene.vGraphs[0]);
            if (mode == 2) params.addLockedConstraint(vSides[0]);
            scene.pMesh->refineAdvanced(&params);
            EXPECT_TRUE(isWellMeshed(*scene.pMesh, params));
            EXPECT_NEAR(params.gridVector.length(), 1, 1e-12);
            EXPECT_EQ(vSides[0]->isAlive(), mode != 0);
            EXPECT_EQ(vSides[1]->isAlive(), mode == 1);
            const TriangleVector vTriangles = trianglesOf(scene.pZone);
            const auto isRegular = [](const Triangle2* pT) {
                std::array<double, 3> aLength;
                for (int i = 0; i < 3; ++i) aLength[static_cast<size_t>(i)] = std::sqrt(pT->getSquaredEdgeLength2D(i));
                std::sort(aLength.begin(), aLength.end());
                return std::abs(aLength[0] - 3) < 1e-6 && std::abs(aLength[1] - 3) < 1e-6;
            };
            EXPECT_GT(2 * std::count_if(vTriangles.begin(), vTriangles.end(), isRegular), vTriangles.size());
            for (const Point2* p : verticesOf(*scene.pMesh)) EXPECT_NEAR(p->z(), plane(p->x(), p->y()), 1e-10);
        }
    }
}

TEST(GridMeshing, KeepsWhatWasThere) {
    // The grid of spacing 20 in this square has its points at 20, 40, ...; one of them is taken, others are near
    // vertices.
    const PointVector vPoints{{40, 40, 0}, {41, 60, 0}, {62, 40, 0}, {40, 42, 0}};
    const Scene scene = makeScene({makeRectangle(0, 0, 100, 100)}, {}, flat, vPoints);
    MeshGenParams params(scene.pZone);
    params.gridLength = 20;
    GridMesher(&params).insertGridPoints(false);
    Dt2* pDt2 = scene.pMesh->getImpl();
    for (const Point2& p : vPoints) EXPECT_NE(pDt2->getVertexPointer(p), nullptr) << p;
    EXPECT_EQ(pDt2->getVertexPointer(Point2(40, 60, 0)), nullptr);
    EXPECT_EQ(pDt2->getVertexPointer(Point2(60, 40, 0)), nullptr);
    EXPECT_NE(pDt2->getVertexPointer(Point2(80, 80, 0)), nullptr);
    EXPECT_EQ(scene.pMesh->numberOfPoints(), 4 + 4 + 16 - 3u);

    // No grid point is near a segment of the zone, and a segment outside that stripes reach is not split.
    const Scene crossed =
        makeScene({makeRectangle(0, 0, 100, 100)}, {makeSegment(5, 42, 95, 42), makeSegment(110, 0, 110, 100)});
    MeshGenParams chopping(crossed.pZone);
    chopping.gridLength = 20;
    GridMesher(&chopping).insertGridPoints(true);
    for (const double y : {40, 60}) {
        const VertexVector vRow = verticesOf(*crossed.pMesh);
        const auto isInner = [y](const Point2* p) { return p->y() == y && p->x() > 0 && p->x() < 100; };
        EXPECT_EQ(std::count_if(vRow.begin(), vRow.end(), isInner), y == 40 ? 0 : 4);
    }
    EXPECT_TRUE(crossed.pMesh->isConstraint(crossed.pMesh->getImpl()->getVertexPointer(Point2(110, 0, 0)),
                                            crossed.pMesh->getImpl()->getVertexPointer(Point2(110, 100, 0))));

    // One point inside is enough: with the crossings on the border there are five.
    const Scene small = makeSquare(35);
    MeshGenParams few(small.pZone);
    few.gridLength = 20;
    GridMesher(&few).insertGridPoints(false);
    EXPECT_NE(small.pMesh->getImpl()->getVertexPointer(Point2(17.5, 17.5, 0)), nullptr);
}

namespace {

/// The distance of a point from a segment.
double getDistance(const Point2& p, const Segment2& s) {
    const double toEnds = std::min(distance2D(p, s.getSrc()), distance2D(p, s.getTrg()));
    const Vector2 along = getVector2D(s.getSrc(), s.getTrg());
    const double t = getVector2D(s.getSrc(), p) * along / (along * along);
    return t < 0 || t > 1 ? toEnds : getPointLineDistance2D(p, s.getSrc(), s.getTrg());
}

/// Whether a point that is on no side is inside a polygon with holes.
bool isInside(const SegmentVector& vSides, const Point2& p) {
    bool bInside = false;
    for (const Segment2& s : vSides) {
        const Point2 &a = s.getSrc(), &b = s.getTrg();
        if ((a.y() > p.y()) == (b.y() > p.y())) continue;
        bInside ^= p.x() < a.x() + (b.x() - a.x()) * (p.y() - a.y()) / (b.y() - a.y());
    }
    return bInside;
}

/// A strip around the origin that runs at an angle.
PointVector makeCorridor(double length, double width, double degrees) {
    const double c = std::cos(degrees * M_PI / 180), s = std::sin(degrees * M_PI / 180);
    PointVector vCorners;
    for (const Point2& p : makeRectangle(-length / 2, -width / 2, length / 2, width / 2)) {
        vCorners.emplace_back(c * p.x() - s * p.y(), s * p.x() + c * p.y(), 0);
    }
    return vCorners;
}

/// How deep the split tree of a segment is.
size_t getDepth(ConstraintSegment2* pCSeg) {
    if (pCSeg->isAlive()) return 0;
    ConstraintSegment2 *pChild0 = nullptr, *pChild1 = nullptr;
    Point2* pSplit = nullptr;
    pCSeg->getChildrenAndSplitPoint(pChild0, pChild1, pSplit);
    return 1 + std::max(getDepth(pChild0), getDepth(pChild1));
}

}  // namespace

TEST(GridMeshing, FillsTheZoneAndNothingElse) {
    // Every crossing of stripes is tried against the polygons.
    Random r(31);
    const PointVector vOutline = makeStar(40, 0, 0, 100, r), vHole = makeStar(7, 0, 0, 18, r);
    SegmentVector vSides = makeSides(vOutline);
    for (const Segment2& side : makeSides(vHole)) vSides.push_back(side);
    for (const double degrees : {0.0, 30.0, 45.0, 100.0}) {
        const Scene scene = makeScene({vOutline, vHole}, {}, plane);
        MeshGenParams params(scene.pZone);
        params.gridLength = 2;
        params.gridVector = Vector2(std::cos(degrees * M_PI / 180), std::sin(degrees * M_PI / 180), 0);
        SegmentVector vStripes0, vStripes1;
        EXPECT_TRUE(GridMesher(&params).createGrid(vStripes0, vStripes1));
        EXPECT_TRUE(GridMesher(&params).insertGridPoints(false));
        size_t numInside = 0, numMissing = 0;
        for (const Segment2& s : vStripes0) {
            for (const Segment2& t : vStripes1) {
                Point2 place;
                ASSERT_TRUE(getIntersectionPoint(s.getSrc(), s.getTrg(), t.getSrc(), t.getTrg(), place));
                if (!isInside(vSides, place)) continue;
                ++numInside;
                const bool bFree = std::all_of(vSides.begin(), vSides.end(),
                                               [&](const Segment2& side) { return getDistance(place, side) > 2; });
                numMissing += bFree && !scene.pMesh->getImpl()->getVertexPointer(place);
            }
        }
        EXPECT_GT(numInside, 500u);
        EXPECT_EQ(numMissing, 0u);
        EXPECT_LE(scene.pMesh->numberOfPoints(), vSides.size() + numInside);
        EXPECT_GE(scene.pMesh->numberOfPoints(), vSides.size() + numInside / 2);
    }
}

TEST(GridMeshing, CostsWhatTheZoneIsLarge) {
    // With all crossings of the stripes through their extent the corridor would take minutes.
    const Scene corridor = makeScene({makeCorridor(20000, 10, 45)});
    MeshGenParams params(corridor.pZone);
    params.gridLength = 2;
    const CSegVector vSides = originalsOf(corridor.vGraphs[0]);
    corridor.pMesh->refineAdvanced(&params);
    EXPECT_GT(corridor.pMesh->numberOfPoints(), 45000u);
    EXPECT_LT(corridor.pMesh->numberOfPoints(), 80000u);
    // A long side has some 14000 pieces. If one end came first, each split would see all vertices that are to come.
    size_t depth = 0;
    for (ConstraintSegment2* pSide : vSides) depth = std::max(depth, getDepth(pSide));
    EXPECT_GE(depth, 13u);
    EXPECT_LE(depth, 25u);
}

TEST(GridMeshing, KeepsPointsApartThatNumbersDoNot) {
    // The spacing is less than an ulp of the coordinates: many crossings are rounded to one point.
    const double far = 1e16;
    PointVector vCorners;
    for (int i = 0; i < 5; ++i) {
        vCorners.emplace_back(far + 25 * std::cos(i * 0.4 * M_PI), far + 25 * std::sin(i * 0.4 * M_PI), 0);
    }
    const Scene scene = makeScene({vCorners});
    MeshGenParams params(scene.pZone);
    params.gridLength = 0.7;
    params.gridVector = Vector2(1, 0.3, 0);
    EXPECT_NO_THROW(scene.pMesh->refineAdvanced(&params));
    EXPECT_TRUE(scene.pMesh->checkValidity(true, "far"));
}

TEST(GridMeshing, IsRefusedAsAWhole) {
    // One row fits the width; across it there would be 20 million stripes.
    for (const bool bAlong : {true, false}) {
        const Scene scene = makeScene({makeRectangle(0, 0, 2e7, 1.5)});
        MeshGenParams params(scene.pZone);
        params.gridLength = 1;
        params.gridVector = bAlong ? Vector2(2, 0, 0) : Vector2(0, 2, 0);
        params.minAngleDegree = 0;
        const std::string text = printedBy([&] { scene.pMesh->refineAdvanced(&params); });
        EXPECT_EQ(countOf("GridMesher::createStripes(), ERROR: gridLength is too small for the zone, no grid", text),
                  1u);
        EXPECT_EQ(scene.pMesh->numberOfPoints(), 4u);
        EXPECT_EQ(params.gridVector.length(), 2);
    }
}
