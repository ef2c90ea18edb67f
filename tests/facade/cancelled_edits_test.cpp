// Calls cancelled at one of their cancellation points: what clients hold then is still there.

#include <gtest/gtest.h>

#include <atomic>
#include <functional>
#include <string>
#include <vector>

#include "support/generators.h"
#include "support/mesh.h"
#include "support/stopping.h"
#include "taro25d/TaroCancelled.h"
#include "taro25d/Taro_2D.h"
#include "taro25d/Zone2.h"

using namespace LUMO_TARO25D;

namespace {

/// Runs a call on a mesh and cancels it at a cancellation point (1: the first). Returns whether it was cancelled.
bool cancelAt(size_t moment, Taro_2D& mesh, const std::function<void()>& run) {
    std::atomic<bool> bFlag{false};
    mesh.setCancelFlag(&bFlag);
    size_t numCancelPoints = 0;
    setCancelPointObserver([&] { bFlag = bFlag || ++numCancelPoints == moment; });
    bool bCancelled = false;
    try {
        run();
    } catch (const TaroCancelled&) {
        bCancelled = true;
    }
    setCancelPointObserver(nullptr);
    mesh.setCancelFlag(nullptr);
    return bCancelled;
}

TEST(CancelledEdit, FirstPointOffALineLeavesAValidMesh) {
    const Point2 top(1000.5, 50, 0);
    size_t numAmongTriangles = 0, moment = 1;
    for (bool bCancelled = true; bCancelled; moment += 1 + moment / 8) {
        Taro_2D mesh;
        std::vector<Point2> vLine;
        for (int i = 0; i < 2000; ++i) vLine.emplace_back(i, 0, 0);
        mesh.insert(vLine);
        bCancelled = cancelAt(moment, mesh, [&] { mesh.insert(top); });
        numAmongTriangles += bCancelled && mesh.is2D();
        EXPECT_EQ(mesh.numberOfPoints(), mesh.is2D() ? 2001u : 2000u) << moment;
        EXPECT_TRUE(!mesh.is2D() || mesh.checkValidity(true, "cancelled")) << moment;
        mesh.insert(top);
        EXPECT_EQ(mesh.numberOfTriangles(), 1999u) << moment;
        ASSERT_TRUE(mesh.checkValidity(true, "again")) << moment;
    }
    EXPECT_GT(numAmongTriangles, 5u);
}

TEST(CancelledEdit, MoveKeepsTheVertex) {
    size_t numCancelled = 0;
    for (const double far : {10.0, 1e9}) {
        bool bCancelled = true;
        for (size_t moment = 1; bCancelled; ++moment) {
            Random random(1);
            Taro_2D mesh;
            std::vector<Point2> vPoints;
            for (int i = 0; i < 3000; ++i) vPoints.emplace_back(uniform(random, 0, 100), uniform(random, 0, 100), i);
            std::vector<Point2*> vHandles;
            mesh.insert(vPoints, vHandles);
            const Point2 target(far, far + 3, 1);
            bCancelled = cancelAt(moment, mesh, [&] { mesh.moveVertex(vHandles[7], target); });
            numCancelled += bCancelled;
            EXPECT_EQ(mesh.numberOfPoints(), 3000u);
            EXPECT_TRUE(samePoint(*vHandles[7], bCancelled ? vPoints[7] : target));
            EXPECT_TRUE(mesh.checkValidity(true, "cancelled"));
            ASSERT_TRUE(mesh.moveVertex(vHandles[7], target)) << moment;
        }
    }
    EXPECT_GE(numCancelled, 3u);
}

TEST(CancelledLoad, KeepsZonesWithoutVertices) {
    const char* const filename = "cancelled_edits_test.taro";
    Taro_2D source;
    for (int i = 0; i < 3000; ++i) source.insert(Point2(i % 57, i % 61 + 0.001 * i, 0));
    ASSERT_TRUE(source.save(filename));
    const PointVector vCorners{Point2(0, 0, 0), Point2(4, 0, 0), Point2(0, 4, 0)};
    for (const size_t moment : {1, 60, 150}) {
        Taro_2D mesh;
        std::vector<Point2*> vHandles;
        mesh.insert(vCorners, vHandles);
        Zone2* pZone = mesh.createZone(nullptr, ZL_GLOBAL);
        for (Point2* pVtx : vHandles) mesh.remove(pVtx);
        ASSERT_TRUE(cancelAt(moment, mesh, [&] { mesh.load(filename); })) << moment;
        EXPECT_EQ(mesh.numberOfPoints(), 0u) << moment;
        mesh.insert(vCorners);
        EXPECT_EQ(mesh.numberOfTriangles(), 1u) << moment;
        EXPECT_TRUE(mesh.deleteZone(pZone)) << moment;
    }
}

}  // namespace
