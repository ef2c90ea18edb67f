// Cancellation of operations that change a mesh. Each is cancelled at 50 random cancellation points; the state must
// then be valid, and running the operation again must give the result of an uninterrupted run.

#include <gtest/gtest.h>

#include "support/cancelling.h"
#include "taro25d/taro25d.h"

using namespace LUMO_TARO25D;
using namespace cancelling;

TEST_F(CancelTest, BulkInsertionKeepsWhatIsInserted) {
    const std::vector<Point2> vPoints = makeGround(5000, 1);
    for (const int numBefore : {0, 3000}) {
        testAtRandomMoments([&](const std::atomic<bool>* pFlag) {
            const auto pScene = std::make_shared<Scene>(pFlag, size_t(numBefore));
            Operation operation =
                makeOfMesh(pScene, [pScene, &vPoints] { pScene->mesh.insert(vPoints, pScene->vHandles); });
            operation.checkCancelled = [pScene, &vPoints, numBefore] {
                expectValid(*pScene);
                size_t numInserted = 0;
                for (size_t i = 0; i < pScene->vHandles.size(); ++i) {
                    if (!pScene->vHandles[i]) continue;
                    ++numInserted;
                    EXPECT_EQ(*pScene->vHandles[i], vPoints[i]);
                }
                EXPECT_EQ(pScene->mesh.numberOfPoints(), size_t(numBefore) + numInserted);
            };
            return operation;
        });
    }
}

TEST_F(CancelTest, BulkInsertionOnTwoThreadsKeepsWhatIsInserted) {
    const std::vector<Point2> vPoints = makeGround(150000, 1);
    std::atomic<bool> bFlag{false};
    for (size_t round = 0; round < scaled(10); ++round) {
        Taro_2D mesh;
        mesh.setNumCPU(2);
        mesh.setCancelFlag(&bFlag);
        size_t numPassed = 0;
        {
            const ObserverScope cancel([&] { bFlag = bFlag || ++numPassed == 5 + 9 * round; });
            EXPECT_THROW(mesh.insert(vPoints), TaroCancelled);
        }
        bFlag = false;
        EXPECT_TRUE(!mesh.is2D() || mesh.checkValidity(true, "cancelled"));
        mesh.insert(vPoints);
        EXPECT_EQ(mesh.numberOfPoints(), vPoints.size());
        EXPECT_TRUE(mesh.checkValidity(true, "run again"));
    }
}

TEST_F(CancelTest, ConstraintsAreEstablishedByTheNextCall) {
    for (const ConstraintInsertionStrategy cis : {CIS_CONSTRAINED_DELAUNAY, CIS_CONFORMING_LINEAR_Z}) {
        for (const bool bApply : {false, true}) {
            testAtRandomMoments([=](const std::atomic<bool>* pFlag) {
                const auto pScene = std::make_shared<Scene>(pFlag, 1000);
                return makeOfMesh(pScene, [=, bStarted = std::make_shared<bool>(false)] {
                    if (bApply && *bStarted) return pScene->mesh.applyConstraintsAndZones();
                    *bStarted = true;
                    pScene->mesh.createConstraint(makeSegments(10), cis);
                });
            });
        }
    }
}

TEST_F(CancelTest, CrossingsHaveTheirHeightsInTheEnd) {
    std::vector<Segment2> vLattice;  // oblique, without four corners on one circle
    for (int i = 1; i <= 15; ++i) {
        vLattice.emplace_back(Point2(0.0, 6.0 * i, i), Point2(100.0, 6.0 * i + 0.03 * i * i, i + 50.0));
        vLattice.emplace_back(Point2(6.0 * i, 0.0, 3.0 * i), Point2(6.0 * i - 0.02 * i * i, 100.0, i));
    }
    testAtRandomMoments([&](const std::atomic<bool>* pFlag) {
        const auto pScene = std::make_shared<Scene>(pFlag, 300);
        const auto run = [pScene, vLattice, bStarted = std::make_shared<bool>(false)] {
            if (*bStarted) return pScene->mesh.applyConstraintsAndZones();
            *bStarted = true;
            pScene->mesh.createConstraint(vLattice, CIS_CONSTRAINED_DELAUNAY);
        };
        return makeOperation(pScene, run, [pScene] {
            std::vector<Point2> vPlaces;
            for (const Point2* pVtx : verticesOf(pScene->mesh)) vPlaces.push_back(*pVtx);
            std::sort(vPlaces.begin(), vPlaces.end());
            Numbers vNumbers = toNumbers(pScene->mesh);
            for (const Point2& place : vPlaces) vNumbers.push_back(place.z());
            return vNumbers;
        });
    });
}

TEST_F(CancelTest, RemovalOfConstraintsIsFinishedByTheNextCall) {
    testAtRandomMoments([](const std::atomic<bool>* pFlag) {
        const auto pScene = std::make_shared<Scene>(pFlag, 1000);
        pScene->pGraph = pScene->mesh.createConstraint(makeSegments(40), CIS_CONSTRAINED_DELAUNAY);
        return makeOfMesh(pScene, [pScene] {
            std::vector<ConstraintGraph2*> vGraphs;
            pScene->mesh.getConstraintGraphs(vGraphs);
            if (!vGraphs.empty()) return void(pScene->mesh.removeConstraint(pScene->pGraph));
            pScene->mesh.applyConstraintsAndZones();
        });
    });
}

TEST_F(CancelTest, RefinementGoesOn) {
    testAtRandomMoments([](const std::atomic<bool>* pFlag) {
        const auto pScene = std::make_shared<Scene>(pFlag, 0);
        ConstraintGraph2* pRing = pScene->mesh.createConstraint(makeRing(12, 50.0), CIS_CONSTRAINED_DELAUNAY);
        pScene->pZone = pScene->mesh.createZone(pRing, ZL_INSIDE);
        const auto run = [pScene] {
            MeshGenParams params(pScene->pZone);
            params.minAngleDegree = 25.0;
            params.maxEdgeLength = 4.0;
            params.gridLength = 3.0;
            params.gridVector = Vector2(1.0, 0.3, 0.0);
            pScene->mesh.refineAdvanced(&params);
        };
        // The vertices depend on the point of cancellation, the limits do not.
        const auto describe = [pScene]() -> Numbers {
            expectValid(*pScene);
            const bool bMet = pScene->mesh.checkZoneQuality(pScene->pZone, 25.0, "", AcceptExperimentalFeature());
            return {double(bMet), std::round(pScene->pZone->getArea2D())};
        };
        return makeOperation(pScene, run, describe);
    });
}

TEST_F(CancelTest, CutsKeepTheMeshValid) {
    for (const bool bCookie : {false, true}) {
        testAtRandomMoments([=](const std::atomic<bool>* pFlag) {
            const auto pScene = std::make_shared<Scene>(pFlag, 2000);
            const auto run = [=] {
                if (!bCookie) return pScene->mesh.cutTriangles(makeSegments(4), true);
                pScene->pZone = pScene->mesh.createZone_cookieCutter(makeRing(40, 40.0));
            };
            const double exactArea = 20.0 * 1600.0 * std::sin(2.0 * M_PI / 40.0);
            return makeOperation(pScene, run, [=]() -> Numbers {
                expectValid(*pScene);
                if (bCookie) {
                    EXPECT_NEAR(pScene->pZone->getArea2D(), exactArea, 1e-6 * exactArea);
                }
                return {};
            });
        });
    }
}

TEST_F(CancelTest, LoadLeavesWhatWasThere) {
    Scene saved(nullptr, 1000);
    saved.mesh.createConstraint(makeSegments(10), CIS_CONSTRAINED_DELAUNAY)->setName("steps");
    ASSERT_TRUE(saved.mesh.save("cancel_test.301") && saved.mesh.saveAll("cancel_test.302"));
    for (const char* filename : {"cancel_test.301", "cancel_test.302"}) {
        for (const size_t numBefore : {size_t(0), size_t(500)}) {
            testAtRandomMoments([=](const std::atomic<bool>* pFlag) {
                const auto pScene = std::make_shared<Scene>(pFlag, 0);
                std::vector<Point2> vBefore = makeGround(numBefore, 9);
                pScene->mesh.insert(vBefore);
                pScene->mesh.setName("before");
                const Numbers vMeshBefore = toNumbers(pScene->mesh);
                Operation operation = makeOfMesh(pScene, [=] { EXPECT_TRUE(pScene->mesh.load(filename)); });
                operation.checkCancelled = [=] {
                    EXPECT_EQ(toNumbers(pScene->mesh), vMeshBefore);
                    EXPECT_EQ(pScene->mesh.numberOfPoints(), numBefore);
                    EXPECT_EQ(pScene->mesh.getName(), "before");
                    std::vector<ConstraintGraph2*> vGraphs;
                    pScene->mesh.getConstraintGraphs(vGraphs);
                    EXPECT_TRUE(vGraphs.empty());
                    expectValid(*pScene);
                };
                return operation;
            });
        }
    }
}

TEST_F(CancelTest, DiagonalsAreChosenByTheNextCall) {
    testAtRandomMoments([](const std::atomic<bool>* pFlag) {
        const auto pScene = std::make_shared<Scene>(nullptr, 0);
        std::vector<Point2> vGrid;
        for (int i = 0; i < 300 * 300; ++i) vGrid.emplace_back(i % 300, i / 300, 0.0);
        pScene->mesh.insert(vGrid);
        pScene->mesh.setCancelFlag(pFlag);
        return makeOfMesh(pScene, [pScene] { pScene->mesh.canonicalizeDiagonals(); });
    });
}

TEST_F(CancelTest, ImportChangesNothing) {
    Scene source(nullptr, 3000);
    source.mesh.createConstraint(makeSegments(8), CIS_CONSTRAINED_DELAUNAY);
    std::vector<Point2> vCorners;
    for (const Triangle2* pT : trianglesOf(source.mesh)) {
        for (int i = 0; i < 3; ++i) vCorners.push_back(*pT->getCorner(i));
    }
    for (const bool bDamaged : {false, true}) {
        if (bDamaged) vCorners.insert(vCorners.end(), vCorners.begin(), vCorners.begin() + 30);
        testAtRandomMoments([&](const std::atomic<bool>* pFlag) {
            const auto pScene = std::make_shared<Scene>(pFlag, 0);
            Operation operation = makeOfMesh(pScene, [pScene, vCorners]() mutable {
                EXPECT_TRUE(pScene->mesh.importTriangles(vCorners, true, false));
            });
            operation.checkCancelled = [pScene] {
                EXPECT_EQ(pScene->mesh.numberOfPoints(), 0u);
                EXPECT_EQ(pScene->mesh.getImportedZone(), nullptr);
            };
            return operation;
        });
    }
}
