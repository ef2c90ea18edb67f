#include <gtest/gtest.h>

#include <cmath>
#include <functional>
#include <set>

#include "support/capture.h"
#include "support/mesh.h"
#include "support/recorder.h"
#include "support/scene.h"
#include "taro25d/AcceptExperimentalFeature.h"
#include "taro25d/ConstraintGraph2.h"
#include "taro25d/MeshGenParams.h"
#include "taro25d/Taro_2D.h"
#include "taro25d/Zone2.h"

using namespace LUMO_TARO25D;

// Meshes whose heights come from another surface.

namespace {

double hills(double x, double y) { return 100 + 3 * std::sin(x / 10) + 2 * std::cos(y / 10); }

/// A guide on a grid.
void fill(Taro_2D& guide, double min, double max, double step, const Height& height) {
    for (double x = min; x <= max; x += step) {
        for (double y = min; y <= max; y += step) guide.insert(Point2(x, y, height(x, y)));
    }
}

std::set<XY> placesOf(const Taro_2D& mesh) {
    std::set<XY> sPlaces;
    for (const Point2* p : verticesOf(mesh)) sPlaces.emplace(p->x(), p->y());
    return sPlaces;
}

bool isExplained(const Scene& scene, double minAngle) {
    const StdoutCapture capture;
    const bool bExplained = scene.pMesh->checkZoneQuality(scene.pZone, minAngle, "guided", AcceptExperimentalFeature());
    if (!bExplained) ADD_FAILURE() << capture.text();
    return bExplained;
}

}  // namespace

TEST(GuidedMeshing, HeightsComeFromTheGuideOrTheSegment) {
    // A hill that the border does not know; the guide ends before the zone does.
    Taro_2D guide;
    for (double x = 0; x <= 60; x += 5) {
        for (double y = 0; y <= 100; y += 5) {
            const double hill = 5 * std::sin(M_PI * x / 100) * std::sin(M_PI * y / 100);
            guide.insert(Point2(x, y, plane(x, y) + hill));
        }
    }
    const Scene scene = makeSquare(100, plane);
    MeshGenParams params(scene.pZone);
    params.pHeightGuide = &guide;
    params.maxEdgeLength = 8;
    const StdoutCapture capture;
    scene.pMesh->refineAdvanced(&params);
    size_t numGuided = 0, numMissing = 0;
    for (Point2* p : verticesOf(*scene.pMesh)) {
        double z = 0;
        const bool bBorder = scene.pMesh->isConstraint(p), bGuided = !bBorder && guide.getHeight(p->x(), p->y(), z);
        if (bBorder) z = plane(p->x(), p->y());
        EXPECT_TRUE(!(bBorder || bGuided) || std::abs(p->z() - z) < 1e-11);
        EXPECT_GE(p->z(), plane(0, 100)) << "no sentinel";
        numGuided += bGuided;
        numMissing += !bBorder && !bGuided;
    }
    EXPECT_GT(numGuided, 50u);
    EXPECT_GT(numMissing, 20u);
    EXPECT_EQ(countOf("Dt2::refineMain2(), WARNING: No height value available, vertices: ", capture.text()), 1u);
    EXPECT_EQ(countOf("WARNING", capture.text()), 1u);
}

TEST(GuidedMeshing, StepsAtSegmentsAreNotChased) {
    struct Case {
        const char* name;
        std::function<void(MeshGenParams&)> set;
    };
    for (const Case& test :
         {Case{"angle", [](auto& p) { p.minAngleDegree = 28; }}, Case{"edge", [](auto& p) { p.maxEdgeLength = 8; }},
          Case{"area", [](auto& p) { p.maxTriangleArea = 20; }}, Case{"growth", [](auto& p) { p.growthFactor = 4; }}}) {
        SCOPED_TRACE(test.name);
        Taro_2D guide;
        fill(guide, -20, 120, 5, plane);
        std::vector<std::set<XY>> vPlaces;
        // Border and breaklines on the guide, below it, and with teeth.
        for (const Height& height :
             {Height(plane), Height([](double, double) { return -100; }),
              Height([](double x, double y) { return std::fmod(std::floor(x + y), 2) * 1000; })}) {
            Random r(4);
            const Scene scene = makeScene({makeStar(20, 50, 50, 50, r)}, {Segment2({48, 48, 0}, {53, 50, 0})}, height);
            MeshGenParams params(scene.pZone);
            params.pHeightGuide = &guide;
            test.set(params);
            scene.pMesh->refineAdvanced(&params);
            vPlaces.push_back(placesOf(*scene.pMesh));
            const StdoutCapture capture;
            EXPECT_TRUE(scene.pMesh->checkValidity(true, test.name));
            EXPECT_TRUE(isExplained(scene, params.minAngleDegree));
        }
        EXPECT_GT(vPlaces[0].size(), 22u);
        EXPECT_EQ(vPlaces[1], vPlaces[0]);
        EXPECT_EQ(vPlaces[2], vPlaces[0]);
    }
}

TEST(GuidedMeshing, NorAreStepsWhereTheGuideEnds) {
    Taro_2D guide;
    fill(guide, 0, 100, 10, hills);
    const auto countVertices = [&guide](double overhang, double z) {
        const Scene scene = makeScene({makeRectangle(-overhang, -overhang, 100 + overhang, 100 + overhang)}, {},
                                      [z](double, double) { return z; });
        Recorder listener;
        scene.pMesh->subscribe(MT_WARNING, &listener);
        MeshGenParams params(scene.pZone);
        params.pHeightGuide = &guide;
        params.maxEdgeLength = 20;
        params.minEdgeLength = 0.1;
        const StdoutCapture capture;
        scene.pMesh->refineAdvanced(&params);
        EXPECT_LE(listener.vMessages.size(), 1u);
        EXPECT_TRUE(overhang < 5 || listener.vMessages.size() == 1);
        EXPECT_TRUE(isExplained(scene, params.minAngleDegree));
        EXPECT_TRUE(scene.pMesh->checkValidity(true, "overhang"));
        return scene.pMesh->numberOfPoints();
    };
    const size_t numOnGuide = countVertices(0, 100);
    EXPECT_GT(numOnGuide, 50u);
    for (const double overhang : {0.0, 1.0, 5.0, 20.0}) {
        for (const double z : {0.0, 90.0, 1e6}) EXPECT_LT(countVertices(overhang, z), 3 * numOnGuide);
    }
}

TEST(GuidedMeshing, MinimumEdgeLengthHoldsAtCliffs) {
    // Vertices outside the zone, just behind its border, count too.
    Random r(6);
    const PointVector vOutside =
        joined(makeScattered(100, -1, -1, 101, -0.05, r), makeScattered(100, 101, 0, 105, 100, r));
    const Scene scene =
        makeScene({makeRectangle(0, 0, 100, 100)}, {Segment2({20, 30, 0}, {40, 70, 0})}, flat, vOutside);
    Taro_2D guide;
    for (double y = -10; y <= 110; y += 10) {
        for (const double x : {-10.0, 49.99, 50.0, 110.0}) guide.insert(Point2(x, y, x < 50 ? 0 : 500));
    }
    MeshGenParams params(scene.pZone);
    params.pHeightGuide = &guide;
    params.maxEdgeLength = 20;
    params.minEdgeLength = 1.5;
    scene.pMesh->refineAdvanced(&params);
    EXPECT_TRUE(isExplained(scene, params.minAngleDegree));
    const VertexVector vVertices = verticesOf(*scene.pMesh);
    size_t numInner = 0;
    for (Point2* p : vVertices) {
        if (scene.pMesh->isConstraint(p) || p->y() < 0 || p->x() > 100) continue;
        ++numInner;
        for (const Point2* q : vVertices) {
            EXPECT_TRUE(p == q || std::hypot(p->x() - q->x(), p->y() - q->y()) >= 1.5) << *p << "\n" << *q;
        }
    }
    EXPECT_GT(numInner, 200u) << "along the cliff";
    EXPECT_LT(numInner, 3000u);
}
