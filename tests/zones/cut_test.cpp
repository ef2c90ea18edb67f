#include <gtest/gtest.h>

#include <algorithm>
#include <map>

#include "mesh/Dt2.h"
#include "support/capture.h"
#include "support/constraint_oracle.h"
#include "support/cut_surfaces.h"
#include "support/mesh.h"
#include "support/polygons.h"
#include "taro25d/ConstraintGraph2.h"
#include "taro25d/Taro_2D.h"
#include "taro25d/Zone2.h"
#include "taro25d/freeFunctions.h"

using namespace LUMO_TARO25D;
using namespace cut_surfaces;

namespace {

// ---------------------------------------------------------------------------------------------------------------------
// Segments

TEST(Cut, SurfaceKeepsItsShape) {
    for (const char* name : {"Uniform", "Grid", "Survey", "Clusters", "Spiral", "RoundedCircle", "PythagoreanCircle"}) {
        const auto generator = std::find_if(std::begin(generators), std::end(generators),
                                            [&](const Generator& g) { return g.name == std::string(name); });
        ASSERT_NE(generator, std::end(generators));
        for (std::uint64_t seed = 1; seed <= 10; ++seed) {
            SCOPED_TRACE(std::string(name) + ", seed " + std::to_string(seed));
            Surface surface(*generator, 300, seed);
            const double area = surface.mesh.createZone(nullptr, ZL_GLOBAL)->getArea2D();
            SegmentVector vSegments;
            for (int i = 0; i < 12; ++i) {
                vSegments.emplace_back(i % 3 == 0 ? surface.randomVertex() : surface.randomPlace(0.6),
                                       i % 4 == 0 ? surface.randomVertex() : surface.randomPlace(0.6));
            }
            vSegments.push_back(vSegments[0]);
            vSegments.emplace_back(vSegments[1].getTrg(), vSegments[1].getSrc());
            vSegments.emplace_back(vSegments[2].getTrg(), vSegments[3].getSrc());
            const bool bConstraints = seed % 2;
            EXPECT_EQ(surface.cut(vSegments, bConstraints), "");
            EXPECT_TRUE(surface.isSound());
            EXPECT_TRUE(surface.isUnchanged());
            EXPECT_NEAR(surface.mesh.createZone(nullptr, ZL_GLOBAL)->getArea2D(), area, 1e-7 * area)
                << "Heron's formula";
            for (const Segment2& segment : vSegments) {
                const bool bInHull = surface.mesh.locate(segment.getSrc()) && surface.mesh.locate(segment.getTrg());
                EXPECT_TRUE(!bConstraints || !bInHull || isCovered(surface, segment));
            }
            // Cutting again finds everything in place, to rounding.
            const size_t numPoints = surface.mesh.numberOfPoints();
            EXPECT_EQ(surface.cut(vSegments, bConstraints), "");
            EXPECT_LE(surface.mesh.numberOfPoints(), 2 * numPoints);
            EXPECT_TRUE(surface.isSound());
            EXPECT_TRUE(surface.isUnchanged());
        }
    }
}

TEST(Cut, AddsAVertexForEachCrossing) {
    Surface surface({{0, 0, 0}, {8, 0, 0}, {8, 8, 8}, {0, 8, 0}, {4, 4, 2}});
    Taro_2D& mesh = surface.mesh;
    mesh.cutTriangles({2, 1, 99}, {2, 7, 99});
    std::map<Point2, double> mHeight;
    for (const Point2* pVtx : verticesOf(mesh)) mHeight[*pVtx] = pVtx->z();
    ASSERT_EQ(mHeight.size(), 9u);
    EXPECT_EQ(mHeight.at({2, 1, 0}), 0.5);
    EXPECT_EQ(mHeight.at({2, 2, 0}), 1);
    EXPECT_EQ(mHeight.at({2, 6, 0}), 1);
    EXPECT_EQ(mHeight.at({2, 7, 0}), 1.5);
    EXPECT_TRUE(surface.isUnchanged());
    const size_t numPoints = mesh.numberOfPoints();
    mesh.cutTriangles({0, 0, 0}, {4, 4, 0});
    EXPECT_EQ(mesh.numberOfPoints(), numPoints) << "along edges";
    mesh.cutTriangles({4, 4, 0}, {8, 4, 0}, false);
    EXPECT_EQ(mesh.numberOfPoints(), numPoints + 1);
    EXPECT_TRUE(surface.isSound());
}

TEST(Cut, EndsAtTheHull) {
    for (std::uint64_t seed = 1; seed <= 30; ++seed) {
        SCOPED_TRACE("seed " + std::to_string(seed));
        Surface surface(generators[seed % 2 ? 0 : 3], 60, seed);
        const size_t numPoints = surface.mesh.numberOfPoints();
        SegmentVector vSegments;
        for (int i = 0; i < 20; ++i) {
            vSegments.emplace_back(surface.randomPlace(3), i % 2 ? surface.randomPlace(3) : surface.randomVertex());
        }
        const VertexVector vHull = hullOf(surface.mesh, true);
        const auto beyond = [](const Point2& a, const Point2& b) {
            return Point2(2 * b.x() - a.x(), 2 * b.y() - a.y(), 0);
        };
        vSegments.emplace_back(beyond(*vHull[1], *vHull[0]), beyond(*vHull[0], *vHull[1]));
        vSegments.emplace_back(beyond(*vHull[2], *vHull[1]), *vHull[1]);
        surface.mesh.cutTriangles(vSegments);
        EXPECT_GT(surface.mesh.numberOfPoints(), numPoints + 20);
        EXPECT_TRUE(surface.isSound());
        EXPECT_TRUE(surface.isUnchanged());
        const VertexVector vHullNow = hullOf(surface.mesh, false);
        for (const Point2* pVtx : vHullNow) EXPECT_TRUE(surface.box.isInBox(*pVtx));
    }
}

TEST(Cut, RespectsConstraints) {
    for (std::uint64_t seed = 1; seed <= 20; ++seed) {
        SCOPED_TRACE("seed " + std::to_string(seed));
        Random r(seed);
        PointVector vPoints = generators[0].make(100, r);
        SegmentVector vLines;
        for (int i = 0; i < 5; ++i) {
            vLines.emplace_back(Point2(uniform(r, -1, 1), uniform(r, -1, 1), 1),
                                Point2(uniform(r, -1, 1), uniform(r, -1, 1), 2));
        }
        Surface surface(vPoints);
        ConstraintGraph2* pGraph = surface.mesh.createConstraint(vLines, CIS_CONSTRAINED_DELAUNAY);
        surface.takeHeights();
        for (int i = 0; i < 10; ++i)
            surface.mesh.cutTriangles(surface.randomPlace(0.7), surface.randomPlace(0.7), i % 2);
        EXPECT_TRUE(surface.isSound());
        EXPECT_TRUE(surface.isUnchanged());
        for (const Segment2& line : vLines) EXPECT_TRUE(isCovered(surface, line));
        for (const ConstraintSegment2* pCSeg : piecesOf(pGraph)) {
            EXPECT_TRUE(surface.mesh.getImpl()->isEdge(pCSeg->getSrc(), pCSeg->getTrg()));
        }
    }
}

TEST(Cut, RefusesWhatIsNoSegment) {
    Taro_2D mesh;
    const StdoutCapture capture;
    mesh.cutTriangles({0, 0, 0}, {1, 1, 0});
    mesh.insert({{0, 0, 0}, {1, 0, 0}, {0, 1, 0}});
    mesh.cutTriangles({0.1, 0.1, 0}, {NAN, 1, 0});
    EXPECT_EQ(mesh.numberOfPoints(), 3u);
    EXPECT_TRUE(contains(capture, "not full dimensional"));
    EXPECT_TRUE(contains(capture, "non-finite coordinates"));
    mesh.cutTriangles({0.1, 0.1, 0}, {0.1, 0.1, 0});
    EXPECT_EQ(mesh.numberOfPoints(), 4u) << "a point";
    mesh.cutTriangles(SegmentVector{});
    EXPECT_TRUE(mesh.checkValidity(true, "refused"));
}

}  // namespace
