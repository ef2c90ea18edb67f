#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <filesystem>
#include <functional>
#include <string>

#include "mesh/Dt2.h"
#include "mesh/InnerVtxMgr.h"
#include "meshing/RefCand3.h"
#include "support/capture.h"
#include "support/polygons.h"
#include "support/recorder.h"
#include "support/scene.h"
#include "taro25d/AcceptExperimentalFeature.h"
#include "taro25d/ConstraintGraph2.h"
#include "taro25d/ConstraintSegment2.h"
#include "taro25d/MeshGenParams.h"
#include "taro25d/Taro_2D.h"
#include "taro25d/Zone2.h"

using namespace LUMO_TARO25D;

// ---------------------------------------------------------------------------------------------------------------------
// Termination

TEST(Meshing, EndsOnNastyInput) {
    Random r(3);
    const PointVector vSliver{{0, 0, 0}, {20, 0, 0}, {20, 1e-7, 0}, {0, 1e-9, 0}};
    const PointVector vNeedle{{0, 0, 0}, {10, 0, 0}, {10, 10 * std::tan(0.01 * M_PI / 180), 0}};
    const PointVector vWedge{{0, 0, 0}, {10, 0, 0}, {10, 10 * std::tan(5 * M_PI / 180), 0}};
    const PointVector vTangent{{0, 0, 0}, {10, 0, 0}, {10, 5, 0}, {5, 1e-6, 0}, {0, 5, 0}};
    PointVector vFar;
    for (const Point2& p : makeStar(40, 0, 0, 1, r)) {
        vFar.emplace_back(5e6 + std::round(p.x() * 100) / 100, 5e6 + std::round(p.y() * 100) / 100, 0);
    }
    struct Case {
        PointVector vCorners;
        double minEdgeLength, maxEdgeLength;
    };
    for (const Case& test : {Case{vSliver, 0.01, 10}, Case{vNeedle, 0.001, 1}, Case{vWedge, 0, 1}, Case{vTangent, 0, 1},
                             Case{vFar, 0, 0.05}}) {
        const Scene scene = makeScene({test.vCorners});
        MeshGenParams params(scene.pZone);
        params.minEdgeLength = test.minEdgeLength;
        params.maxEdgeLength = test.maxEdgeLength;
        const StdoutCapture capture;
        scene.pMesh->refineAdvanced(&params);
        EXPECT_LT(scene.pMesh->numberOfPoints(), 300000u);
        EXPECT_TRUE(scene.pMesh->checkValidity(true, "nasty"));
    }
}

TEST(Meshing, EndsWhereNumbersResolveMoreThanTheZoneNeeds) {
    // Around the origin halving could go on down to 1e-308; spokes that differ in height have no narrow angle in space.
    SegmentVector vSpokes;
    for (int i = 0; i < 60; ++i) {
        const double angle = i * M_PI / 30;
        vSpokes.emplace_back(Point2(0, 0, 0), Point2(8 * std::cos(angle), 8 * std::sin(angle), i % 2 * 50));
    }
    const Scene wheel = makeScene({makeRectangle(-10, -10, 10, 10)}, vSpokes);
    wheel.pMesh->refine(wheel.pZone, 30, 0, 1e300, true);
    EXPECT_LT(wheel.pMesh->numberOfPoints(), 20000u);
    // A triangle of few units in the last place, and one with a border that has no number between its ends on this
    // side.
    const auto at = [](int x, int y) { return Point2(0x1p22 + x * 0x1p-30, 0x1p22 + y * 0x1p-30, 0); };
    const std::pair<PointVector, const char*> aGrains[] = {
        {{at(0, 0), at(9, 1), at(2, 8)}, "too small for the numbers"},
        {{at(0, 0), at(377, 233), at(233, 144)}, "centre behind a segment that the numbers cannot split"}};
    for (const auto& [vCorners, excuse] : aGrains) {
        const Scene grain = makeScene({vCorners});
        const StdoutCapture capture;
        grain.pMesh->refine(grain.pZone, 20, 0, 0x1p-31, true);
        EXPECT_EQ(grain.pMesh->numberOfPoints(), 3u);
        EXPECT_TRUE(grain.pMesh->checkZoneQuality(grain.pZone, 20, "grain", AcceptExperimentalFeature()));
        EXPECT_TRUE(contains(capture, std::string("longest edge: missed by 1\n    1 ") + excuse));
        EXPECT_EQ(countOf("no appropriate splitPoint", capture.text()), vCorners[1] == at(377, 233) ? 1u : 0u);
    }
}

TEST(Meshing, RefusesWhatItCannotDo) {
    Scene scene = makeSquare();
    const Scene other = makeSquare();
    Taro_2D& mesh = *scene.pMesh;
    Zone2* pOutside = mesh.createZone(scene.vGraphs[0], ZL_OUTSIDE);
    testing::internal::CaptureStderr();
    MeshGenParams outside(pOutside);
    EXPECT_EQ(testing::internal::GetCapturedStderr(),
              "\n\n\nMeshGenParams::MeshGenParams(..), ERROR: \n\tbehavior since Taro 1.39: The zoneLocation must be "
              "ZL_INSIDE or ZL_BOUNDED. Please convert the zone using pZone->convertToBoundedZone(..)\n\n\n");
    EXPECT_TRUE(outside.gridVector.isDegenerate());
    struct Case {
        std::function<void(MeshGenParams&)> set;
        std::string message;
    };
    const std::string invalid = "Dt2::refineMain2(), ERROR: invalid limit, return: ";
    for (const Case& test : {
             Case{[](auto& p) { p.pZone = nullptr; }, "Dt2::refineMain2(..), ERROR: pZone==NULL"},
             Case{[&](auto& p) { p.pZone = pOutside; },
                  "Dt2::refineMain2(), ERROR: The zoneLocation must be ZL_INSIDE or "
                  "ZL_BOUNDED. Please convert the zone using pZone->convertToBoundedZone(..)"},
             Case{[&](auto& p) { p.pZone = other.pZone; }, "The zone does not belong to the triangulation, return"},
             Case{[](auto& p) { p.minAngleDegree = 30.000001; },
                  "Dt2::refine(..), ERROR: minAngleDegree must be <=30.0, return"},
             Case{[](auto& p) { p.maxEdgeLength = 0; }, invalid + "maxEdgeLength must be greater than 0"},
             Case{[&](auto& p) { p.maxEdgeLength = NOT_A_NUMBER; }, invalid + "maxEdgeLength must be greater than 0"},
             Case{[](auto& p) { p.maxTriangleArea = -1; }, invalid + "maxTriangleArea must be greater than 0"},
             Case{[&](auto& p) { p.maxTriangleArea = NOT_A_NUMBER; },
                  invalid + "maxTriangleArea must be greater than 0"},
             Case{[&](auto& p) { p.growthFactor = NOT_A_NUMBER; }, invalid + "growthFactor is not a number"},
             Case{[](auto& p) { p.growthFactor = 1; }, invalid + "growthFactor must be greater than 1"},
             Case{[](auto& p) { p.growthFactor = 1e-300; }, invalid + "growthFactor must be greater than 1"},
             Case{[&](auto& p) { p.minAngleDegree = NOT_A_NUMBER; }, invalid + "minAngleDegree is not a number"},
             Case{[&](auto& p) { p.minEdgeLength = NOT_A_NUMBER; }, invalid + "minEdgeLength is not a number"},
             Case{[&](auto& p) { p.gridLength = NOT_A_NUMBER; }, invalid + "gridLength is not a number"},
             Case{[&](auto& p) {
                      p.gridLength = 1;
                      p.gridVector = Vector2(NOT_A_NUMBER, 0, 0);
                  },
                  invalid + "gridVector must be finite"},
         }) {
        MeshGenParams params(scene.pZone);
        params.maxEdgeLength = 10;
        test.set(params);
        const StdoutCapture capture;
        mesh.refineAdvanced(&params);
        EXPECT_TRUE(contains(capture, test.message));
        EXPECT_EQ(mesh.numberOfPoints(), 4u);
    }
}

TEST(Meshing, SimpleCallsRefuseItToo) {
    Scene scene = makeSquare();
    Taro_2D& mesh = *scene.pMesh;
    const StdoutCapture capture;
    testing::internal::CaptureStderr();
    mesh.refine(nullptr, 20, 0.001, 1, true);
    mesh.refine(scene.pZone, 30.000001, 0.001, 1, true);
    EXPECT_EQ(testing::internal::GetCapturedStderr(),
              "\nWarning: Taro_2D::refine(..) has been called with pZone==NULL\n\n"
              "\nWarning: Taro_2D::refine(..), minAngleDegree can't be >30\n\n");
    EXPECT_EQ(capture.text(), "");
    mesh.refineAdvanced(nullptr);
    EXPECT_FALSE(mesh.checkZoneQuality(nullptr, 20, "none", AcceptExperimentalFeature()));
    EXPECT_EQ(mesh.numberOfPoints(), 4u);
    mesh.refine(scene.pZone, 30.0, 0.001, 20, true);
    EXPECT_GT(mesh.numberOfPoints(), 4u);
}

TEST(Meshing, CandidatesKnowTheirTriangle) {
    Dt2 dt(3);
    Point2 *a = dt.insert(Point2(0, 0, 0)), *b = dt.insert(Point2(4, 0, 0)), *c = dt.insert(Point2(0, 3, 0));
    Triangle2* pT = dt.getAdjacentTriangle(a, b);
    RefCand3 candidate(&dt, pT);
    candidate.init();
    candidate.computeMinMax();
    EXPECT_NEAR(candidate.getMinAngle(), std::atan2(3, 4) * 180 / M_PI, 1e-6);
    EXPECT_EQ(candidate.getSteiner(), Point2(2, 1.5, 0));
    EXPECT_EQ(candidate.getRadius(), 2.5);
    EXPECT_EQ(candidate.getMinSqSideLength2D(), 9);
    EXPECT_EQ(candidate.getMaxSqSideLength25D(), 25);
    EXPECT_NEAR(candidate.getQuality2D(), 2.5 / 3, 1e-12);
    EXPECT_NEAR(candidate.getQuality25D(), 2.5 / 3, 1e-12);
    // The circumcentre lies on the longest side, a hull edge, which obstructs the path to it.
    EXPECT_EQ(candidate.getContainingTriangle(), pT);
    EXPECT_EQ(candidate.getSplitIndex(), pT->getIntraTriangleIndex(b, c));
    EXPECT_FALSE(candidate.isConstraint(candidate.getSplitIndex()));
    EXPECT_TRUE(candidate.isAlive());

    // Across an edge that is no constraint the walk goes on.
    dt.insert(Point2(5, 4, 0));
    RefCand3 inner(&dt, dt.getAdjacentTriangle(a, b));
    inner.init();
    EXPECT_EQ(inner.getSplitIndex(), RefCand3::SPLIT_NONE);
    RefCand3 other(&dt, dt.getAdjacentTriangle(a, b));
    dt.insert(Point2(2, 1, 0));
    EXPECT_FALSE(other.isAlive());
    RefCand3 flatter(&dt, dt.getAdjacentTriangle(a, b));
    EXPECT_TRUE(other > flatter);
    Dt2 flat(3);
    flat.insert(Point2(0, 0, 0));
    flat.insert(Point2(4000, 0, 0));
    RefCand3 needle(&flat, flat.insert(Point2(2000, 1, 0))->getIncidentTriangle());
    needle.init();
    EXPECT_LT(needle.getSteiner().y(), -1e6);
    EXPECT_GE(flat.getGeomTest().getMaxAbsCoord(), -needle.getSteiner().y()) << "predicates are asked about it";
    const StdoutCapture capture;
    flatter.debug();
    EXPECT_TRUE(contains(capture, "[alive]"));
}

// ---------------------------------------------------------------------------------------------------------------------
// Messages

TEST(Meshing, ReportsProgress) {
    const Scene scene = makeSquare();
    Recorder listener;
    scene.pMesh->subscribe(MT_PROGRESS, &listener);
    scene.pMesh->refine(scene.pZone, 25, 0.001, 2, true);
    EXPECT_EQ(listener.vMessages, std::vector<std::string>(listener.vValues.size(), "Mesh refinement"));
    EXPECT_GT(listener.vValues.size(), 10u);
    EXPECT_TRUE(std::is_sorted(listener.vValues.begin(), listener.vValues.end()));
    EXPECT_EQ(listener.vValues.back(), 1.0);
    EXPECT_EQ(std::count(listener.vValues.begin(), listener.vValues.end(), 1.0), 1);
}

TEST(Meshing, ExplainsEachRefinementIfAsked) {
    const std::filesystem::path folder(std::string(TARO25D_SCRATCH_DIR) + "/need");
    std::filesystem::remove_all(folder);
    std::filesystem::create_directories(folder);
    std::string text;
    {
        const StdoutCapture capture;
        const auto refine = [&](const std::vector<PointVector>& vPolygons,
                                const std::function<void(MeshGenParams&)>& set) {
            const Scene scene = makeScene(vPolygons, {Segment2({10, 10, 0}, {10.5, 10, 0})});
            scene.pMesh->setDev(folder.string() + "/", 0, 0);
            MeshGenParams params(scene.pZone);
            params.minAngleDegree = 0;
            params.debugCommand = 1;
            set(params);
            scene.pMesh->refineAdvanced(&params);
            scene.pMesh->setDev("", 0, 0);
        };
        const std::vector<PointVector> vSquare{makeRectangle(0, 0, 100, 100)};
        refine(vSquare, [](MeshGenParams& params) { params.maxEdgeLength = 80; });
        refine(vSquare, [](MeshGenParams& params) { params.maxTriangleArea = 2000; });
        refine(vSquare, [](MeshGenParams& params) { params.growthFactor = 5; });
        refine(vSquare, [](MeshGenParams& params) { params.minAngleDegree = 10; });
        text = capture.text();
    }
    const auto count = [&](const std::string& suffix) {
        return std::count_if(std::filesystem::directory_iterator(folder), {}, [&](const auto& entry) {
            const std::string name = entry.path().filename();
            return name.rfind("need_", 0) == 0 && name.find(suffix) != std::string::npos;
        });
    };
    EXPECT_TRUE(contains(text, "RefC: sidelength is "));
    EXPECT_TRUE(contains(text, " > 80\n"));
    EXPECT_TRUE(contains(text, "RefC: area\n"));
    EXPECT_TRUE(contains(text, "RefC: minAngle, current="));
    for (const char* suffix : {"_sidelen.ps", "_area.ps", "_growth.ps", "_quality25.ps"})
        EXPECT_GT(count(suffix), 0) << suffix;
}

TEST(Meshing, ChecksQualityAgainstTheLastLimits) {
    const Scene scene = makeScene({makeRectangle(0, 0, 100, 1)});
    const auto check = [&](double angle) {
        const StdoutCapture capture;
        const bool bGood = scene.pMesh->checkZoneQuality(scene.pZone, angle, "strip", AcceptExperimentalFeature());
        return std::pair(bGood, capture.text());
    };
    EXPECT_FALSE(check(20).first);
    EXPECT_TRUE(contains(check(20).second, "smallest angle: missed by 2"));
    EXPECT_TRUE(contains(check(20).second, "2 WITHOUT A REASON"));
    EXPECT_TRUE(check(0.1).first);
    MeshGenParams params(scene.pZone);
    params.bAllowConstraintSplitting = false;
    params.maxEdgeLength = 50;
    scene.pMesh->refineAdvanced(&params);
    const auto [bGood, text] = check(20);
    EXPECT_TRUE(bGood) << text;
    EXPECT_TRUE(contains(text, "longest edge: missed by 6\n    6 centre behind a segment, and none may be split"));
}
