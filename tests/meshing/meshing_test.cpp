#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <functional>
#include <map>
#include <memory>
#include <set>
#include <string>

#include "mesh/Dt2.h"
#include "mesh/InnerVtxMgr.h"
#include "meshing/RefCand3.h"
#include "support/capture.h"
#include "support/files.h"
#include "support/mesh.h"
#include "support/mesh_quality.h"
#include "support/polygons.h"
#include "support/scene.h"
#include "taro25d/AcceptExperimentalFeature.h"
#include "taro25d/ConstraintGraph2.h"
#include "taro25d/ConstraintSegment2.h"
#include "taro25d/MeshGenParams.h"
#include "taro25d/Taro_2D.h"
#include "taro25d/Zone2.h"
#include "taro25d/freeFunctions.h"

using namespace LUMO_TARO25D;

namespace {

/// A zone and its limits.
struct LimitCase {
    const char* name;
    Scene scene;
    std::function<void(MeshGenParams&)> set;
};

std::vector<LimitCase> makeLimitCases() {
    Random r(1);
    const PointVector vSquare = makeRectangle(0, 0, 100, 100), vStar = makeStar(60, 50, 50, 50, r);
    const std::vector<PointVector> vHoles{makeRectangle(0, 0, 100, 100), makeStar(12, 30, 30, 20, r),
                                          makeStar(9, 70, 65, 25, r)};
    const std::vector<PointVector> vWedges{
        {{0, 0, 0}, {100, 0, 0}, {100, 18, 0}, {50, 60, 0}, {45, 2, 0}, {40, 60, 0}}};
    const SegmentVector vInner = makeRandomSegments(30, 100, r);
    std::vector<LimitCase> vCases;
    const auto add = [&](const char* name, Scene scene, std::function<void(MeshGenParams&)> set) {
        vCases.push_back({name, std::move(scene), std::move(set)});
    };
    const auto angle = [](double degrees) { return [=](MeshGenParams& params) { params.minAngleDegree = degrees; }; };
    add("angle alone", makeScene({vSquare}, vInner), angle(20));
    add("30 degrees", makeScene({vSquare}, vInner), angle(30));
    add("star", makeScene({vStar}), angle(25));
    add("holes", makeScene(vHoles), angle(28));
    add("narrow corners", makeScene(vWedges), angle(30));
    add("edge length", makeScene({vSquare}, vInner), [](MeshGenParams& params) { params.maxEdgeLength = 3; });
    add("area", makeScene(vHoles), [](MeshGenParams& params) { params.maxTriangleArea = 1.5; });
    add("growth", makeScene({vStar}, vInner), [](MeshGenParams& params) { params.growthFactor = 2; });
    add("growth near 1", makeScene({makeRectangle(0, 0, 4, 3)}, makeRandomSegments(3, 3, r)),
        [](MeshGenParams& params) {
            params.growthFactor = 1.01;
            params.growthMinArea = 0.01;
        });
    add("steep", makeScene({vSquare}, vInner, steep, makeStar(300, 50, 50, 50, r)),
        [](MeshGenParams& params) { params.maxEdgeLength = 12; });
    add("no splitting", makeScene({vStar}, vInner), [](MeshGenParams& params) {
        params.bAllowConstraintSplitting = false;
        params.maxEdgeLength = 4;
    });
    add("long pieces only", makeScene({vStar}, vInner), [](MeshGenParams& params) { params.minEdgeLength = 4; });
    add("far away, in centimetres", makeScene({makeStar(30, 5e6, 5e6, 0.5, r)}, {}, flat),
        [](MeshGenParams& params) { params.maxEdgeLength = 0.02; });
    return vCases;
}

}  // namespace

// ---------------------------------------------------------------------------------------------------------------------
// Limits

TEST(Meshing, MeetsTheLimitsOrHasAReason) {
    std::vector<LimitCase> vCases = makeLimitCases();
    size_t numBadBefore = 0;
    for (LimitCase& test : vCases) {
        SCOPED_TRACE(test.name);
        MeshGenParams params(test.scene.pZone);
        test.set(params);
        const double area = test.scene.pZone->getArea2D();
        numBadBefore += inspectMesh(*test.scene.pMesh, params).mExcuses.count("");
        test.scene.pMesh->refineAdvanced(&params);
        EXPECT_TRUE(isWellMeshed(*test.scene.pMesh, params));
        EXPECT_NEAR(test.scene.pZone->getArea2D(), area, 1e-9 * area);
        EXPECT_GT(test.scene.pZone->getNumberOfTriangles(), 20u);
        const StdoutCapture report;
        EXPECT_TRUE(test.scene.pMesh->checkZoneQuality(test.scene.pZone, params.minAngleDegree, test.name,
                                                       AcceptExperimentalFeature()))
            << report.text();
    }
    EXPECT_GE(numBadBefore, vCases.size() - 1) << "the oracle sees nothing";
}

/// The circumcentre of a thin triangle is far away.
TEST(Meshing, LookingAtTheQualityLeavesThePredicatesAsTheyAre) {
    Scene scene = makeScene({makeRectangle(0, 0, 100, 100)}, {}, flat, {{50, 1e-6, 0}});
    const GeomTest& geomTest = scene.pMesh->getImpl()->getGeomTest();
    const double before = geomTest.getMaxAbsCoord();
    const StdoutCapture report;
    scene.pMesh->checkZoneQuality(scene.pZone, 20, "thin", AcceptExperimentalFeature());
    EXPECT_EQ(geomTest.getMaxAbsCoord(), before);
}

TEST(Meshing, MeshesRealPolygons) {
    if (!hasDataFolder()) GTEST_SKIP() << "without TARO25D_DATA_DIR";
    for (const char* filename : {"earcut_dude", "earcut_water", "lake_superior"}) {
        const SegmentVector vSegments = readRealSegments(filename);
        SCOPED_TRACE(filename);
        const StdoutCapture capture;
        Taro_2D mesh;
        ConstraintGraph2* pGraph = mesh.createConstraint(vSegments, CIS_CONSTRAINED_DELAUNAY, true);
        mesh.applyConstraintsAndZones();
        TriangleVector vTriangles, vInside;
        mesh.getTrianglePointers(vTriangles);
        for (Triangle2* pT : vTriangles) {
            if (isInside(vSegments, *pT)) vInside.push_back(pT);
        }
        ASSERT_NE(pGraph, nullptr);
        Zone2* pZone = mesh.createZone(vInside)->convertToBoundedZone();
        MeshGenParams params(pZone);
        params.minAngleDegree = 25;
        params.minEdgeLength = 0.01;
        mesh.refineAdvanced(&params);
        EXPECT_TRUE(isWellMeshed(mesh, params));
        EXPECT_GT(pZone->getNumberOfTriangles(), vInside.size());
    }
}

TEST(Meshing, MeshesRealGround) {
    Taro_2D ground;
    const PointVector vPoints = readTerrain(344, 403, 10);
    ASSERT_FALSE(vPoints.empty());
    ground.insert(vPoints);
    const Bbox2 box = ground.computeBoundingBox();
    const auto at = [&](double u, double v) {
        Point2 p(box.getMinX() + u * (box.getMaxX() - box.getMinX()),
                 box.getMinY() + v * (box.getMaxY() - box.getMinY()), 0);
        double z = 0;
        EXPECT_TRUE(ground.getHeight(p.x(), p.y(), z));
        p.set(p.x(), p.y(), z);
        return p;
    };
    const PointVector vOutline{at(0.1, 0.1), at(0.8, 0.2), at(0.9, 0.9), at(0.3, 0.7)};
    ConstraintGraph2* pOutline = ground.createConstraint(makeSides(vOutline), CIS_CONSTRAINED_DELAUNAY);
    ground.createConstraint({Segment2(at(0.3, 0.3), at(0.7, 0.6)), Segment2(at(0.7, 0.6), at(0.8, 0.5))},
                            CIS_CONSTRAINED_DELAUNAY);
    ground.applyConstraintsAndZones();
    MeshGenParams params(ground.createZone(pOutline, ZL_INSIDE));
    params.maxEdgeLength = 400;
    ground.refineAdvanced(&params);
    EXPECT_TRUE(isWellMeshed(ground, params));
}

TEST(Meshing, LimitsMayDependOnThePlace) {
    struct Dense : MeshGenParams {
        using MeshGenParams::MeshGenParams;
        double getMaxEdgeLength(Triangle2* pT) override { return pT->getBarycenter().x() < 50 ? 2 : maxEdgeLength; }
        double getMaxTriangleArea(Triangle2* pT) override {
            return pT->getBarycenter().x() < 50 ? -1 : maxTriangleArea;
        }
    };
    const Scene scene = makeSquare();
    Dense params(scene.pZone);
    scene.pMesh->refineAdvanced(&params);
    EXPECT_TRUE(isWellMeshed(*scene.pMesh, params));
    const TriangleVector vTriangles = trianglesOf(scene.pZone);
    size_t numLeft = 0, numRight = 0;
    for (const Triangle2* pT : vTriangles) {
        numLeft += pT->getBarycenter().x() < 50;
        numRight += pT->getBarycenter().x() > 70;
        if (pT->getBarycenter().x() >= 50) continue;
        EXPECT_LE(std::sqrt(pT->getMaxSqEdgeLen2D()), 2);
    }
    EXPECT_GT(numLeft, 10 * numRight);
    EXPECT_LT(numRight, 500u);
}

TEST(Meshing, SplitsOnlyWhatIsNeitherLockedNorShort) {
    Scene scene = makeSquare();
    const CSegVector vSides = originalsOf(scene.vGraphs[0]);
    // The lock of a segment that was split before holds for its pieces.
    vSides[0]->insertAndSplit(centerWithShift(*vSides[0]->getSrc(), *vSides[0]->getTrg()));
    MeshGenParams params(scene.pZone);
    EXPECT_EQ(params.pLockedConstraints, nullptr);
    params.addLockedConstraint(vSides[0]);
    params.addLockedConstraint(vSides[0]);
    params.addLockedConstraint(nullptr);
    EXPECT_EQ(params.pLockedConstraints->size(), 1u);
    params.maxEdgeLength = 5;
    params.minEdgeLength = 4;
    scene.pMesh->refineAdvanced(&params);
    EXPECT_TRUE(isWellMeshed(*scene.pMesh, params));
    CSegVector vPieces;
    vSides[0]->getChildrenRec(vPieces);
    EXPECT_EQ(vPieces.size(), 2u);
    vPieces.clear();
    vSides[1]->getChildrenRec(vPieces);
    EXPECT_GE(vPieces.size(), 12u);
    EXPECT_LE(vPieces.size(), 16u);
}

TEST(Meshing, RefinesZonesOfSeveralGraphs) {
    Scene scene = makeScene({makeRectangle(0, 0, 100, 100)});
    std::vector<ConstraintGraph2*> vGraphs;
    for (const double x : {10.0, 60.0}) {
        vGraphs.push_back(
            scene.pMesh->createConstraint(makeSides(makeRectangle(x, 20, x + 30, 50)), CIS_CONSTRAINED_DELAUNAY));
    }
    MeshGenParams params(scene.pMesh->createZone(vGraphs, ZL_INSIDE));
    params.maxEdgeLength = 4;
    scene.pMesh->refineAdvanced(&params);
    EXPECT_TRUE(isWellMeshed(*scene.pMesh, params));
    EXPECT_NEAR(params.pZone->getArea2D(), 2 * 900, 1e-9);
    for (const ConstraintGraph2* pGraph : vGraphs) {
        EXPECT_GE(piecesOf(pGraph).size(), 32u);
    }
}

TEST(Meshing, KnowsWhereItMayStop) {
    // A corner of 10 degrees stays; steep ground with good planar angles is not refined for its angles in space.
    const Scene wedge = makeScene({{{0, 0, 0}, {100, 0, 0}, {100, 17.63, 0}}});
    wedge.pMesh->refine(wedge.pZone, 20, 0.001, 1e300, true);
    MeshGenParams params(wedge.pZone);
    const MeshQuality quality = inspectMesh(*wedge.pMesh, params);
    EXPECT_EQ(quality.mExcuses, (std::map<std::string, size_t>{{"narrow", 1}}));

    const Scene cliff =
        makeScene({{{0, 0, 0}, {10, 0, 0}, {5, 8.7, 0}}}, {}, [](double x, double) { return 1000 * x; });
    cliff.pMesh->refine(cliff.pZone, 30, 0.001, MAX, true);
    EXPECT_EQ(cliff.pMesh->numberOfTriangles(), 1u);

    const Scene good = makeSquare();
    good.pMesh->refine(good.pZone, 30, 0.001, 200, true);
    EXPECT_EQ(good.pMesh->numberOfPoints(), 4u);
}

// ---------------------------------------------------------------------------------------------------------------------
// Heights, and invariants

TEST(Meshing, TakesHeightsFromTheSurface) {
    // Refinement keeps a plane plane, and a breakline in place.
    const Scene tilted = makeSquare(100, plane);
    tilted.pMesh->refine(tilted.pZone, 25, 0.001, 5, true);
    for (const Point2* p : verticesOf(*tilted.pMesh)) EXPECT_NEAR(p->z(), plane(p->x(), p->y()), 1e-12 * 100);

    const auto ridge = [](double x, double y) { return 50 - std::abs(x - 37 - 0.3 * y); };
    const Scene roof = makeScene({makeRectangle(0, 0, 100, 100)}, {Segment2({37, 0, 0}, {67, 100, 0})}, ridge);
    roof.pMesh->refine(roof.pZone, 25, 0.001, 4, true);
    EXPECT_GT(roof.pMesh->numberOfPoints(), 500u);
    for (const Point2* p : verticesOf(*roof.pMesh)) EXPECT_NEAR(p->z(), ridge(p->x(), p->y()), 1e-11) << *p;
}

TEST(Meshing, LeavesTheOutsideAlone) {
    Random r(5);
    const PointVector vPoints = makeScattered(300, 0, 0, 100, 100, r);
    for (const bool bSplit : {false, true}) {
        const Scene scene = makeScene({makeRectangle(30, 30, 60, 60)}, {}, flat, vPoints);
        Zone2* pOutside = scene.pMesh->createZone(scene.vGraphs[0], ZL_OUTSIDE);
        const std::vector<Corners> vBefore = snapshot(trianglesOf(pOutside));
        MeshGenParams params(scene.pZone);
        params.bAllowConstraintSplitting = bSplit;
        params.maxEdgeLength = 3;
        scene.pMesh->refineAdvanced(&params);
        EXPECT_TRUE(isWellMeshed(*scene.pMesh, params));
        const std::vector<Corners> vAfter = snapshot(trianglesOf(pOutside));
        EXPECT_TRUE(bSplit || vBefore == vAfter);
        for (const Corners& corners : vAfter) {
            bool bAtBorder = false;
            for (size_t i = 0; i < 9; i += 3) {
                const double x = corners[i], y = corners[i + 1];
                bAtBorder = bAtBorder || (x >= 30 && x <= 60 && y >= 30 && y <= 60);
            }
            EXPECT_TRUE(bAtBorder || std::binary_search(vBefore.begin(), vBefore.end(), corners));
        }
    }
}

TEST(Meshing, DoesNotDependOnAddresses) {
    const auto mesh = [](unsigned capacity) {
        Random r(8);
        Taro_2D dt(capacity);
        const SegmentVector vInner = makeRandomSegments(40, 100, r);
        ConstraintGraph2* pGraph =
            dt.createConstraint(lift(makeSides(makeRectangle(0, 0, 100, 100)), steep), CIS_CONSTRAINED_DELAUNAY);
        dt.createConstraint(lift(vInner, steep), CIS_CONSTRAINED_DELAUNAY);
        dt.applyConstraintsAndZones();
        dt.refine(dt.createZone(pGraph, ZL_INSIDE), 25, 0.001, 5, true);
        return snapshot(trianglesOf(dt));
    };
    const std::vector<Corners> vFirst = mesh(3);
    EXPECT_GT(vFirst.size(), 1000u);
    const std::vector<std::unique_ptr<double[]>> vHoles = [] {
        std::vector<std::unique_ptr<double[]>> v;
        for (size_t i = 1; i < 300; ++i) v.push_back(std::make_unique<double[]>(i * 37));
        return v;
    }();
    EXPECT_EQ(mesh(100000), vFirst);
    EXPECT_EQ(mesh(50), vFirst);
}

TEST(Meshing, KeepsEarlierVerticesIfAsked) {
    const auto countLost = [](bool bKeep) {
        Random r(9);
        const PointVector vPoints = makeScattered(100, 20, 20, 80, 80, r);
        const Scene scene = makeScene({makeRectangle(0, 0, 100, 100)}, {}, flat, vPoints);
        // Without splitting, vertices come near the border; later splits push them away.
        MeshGenParams params(scene.pZone);
        params.bAllowConstraintSplitting = false;
        params.maxTriangleArea = 2;
        scene.pMesh->refineAdvanced(&params);
        VertexVector vBefore, vAfter;
        scene.pMesh->getVertexPointers(vBefore);
        std::set<XY> sAfter;
        params.bAllowConstraintSplitting = true;
        params.bKeepExistingSteinerPoints = bKeep;
        params.maxEdgeLength = 20;
        std::vector<XY> vOld;
        for (const Point2* p : vBefore) vOld.emplace_back(p->x(), p->y());
        scene.pMesh->refineAdvanced(&params);
        scene.pMesh->getVertexPointers(vAfter);
        for (const Point2* p : vAfter) sAfter.emplace(p->x(), p->y());
        return std::count_if(vOld.begin(), vOld.end(), [&](const XY& xy) { return sAfter.count(xy) == 0; });
    };
    EXPECT_EQ(countLost(true), 0);
    EXPECT_GT(countLost(false), 0);
}

TEST(Meshing, ForgetsVerticesThatAreRemoved) {
    Random r(11);
    Dt2 dt(3);
    InnerVtxMgr& manager = dt.getInnerVtxMgr();
    VertexVector vKnown;
    Point2* pCenter = dt.insert(Point2(0, 0, 0));
    for (int i = 0; i < 400; ++i) {
        Point2* pVtx = dt.insert(Point2(uniform(r, -10, 10), uniform(r, -10, 10), 0));
        if (i % 2 == 0) vKnown.push_back(pVtx);
    }
    for (Point2* pVtx : vKnown) manager.addVtx(pVtx);
    dt.remove(vKnown.back());
    vKnown.pop_back();
    const auto isNear = [&](const Point2* p) { return p->x() * p->x() + p->y() * p->y() < 9.0; };
    const auto numNear = static_cast<size_t>(std::count_if(vKnown.begin(), vKnown.end(), isNear));
    const size_t numBefore = dt.numberOfPoints();
    EXPECT_GT(numNear, 5u);
    manager.removePreviouslyInsertedVertices(pCenter, 9.0, &dt);
    EXPECT_EQ(dt.numberOfPoints(), numBefore - numNear);
    manager.removePreviouslyInsertedVertices(pCenter, 9.0, &dt);
    EXPECT_EQ(dt.numberOfPoints(), numBefore - numNear);
    EXPECT_TRUE(dt.checkValidity(true, "removed"));
}
