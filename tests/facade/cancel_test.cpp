// Cancellation. Every operation is cancelled at 50 random cancellation points; the state must then be valid, and
// running the operation again must give the result of an uninterrupted run.

#include "taro25d/TaroCancelled.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <fstream>
#include <functional>
#include <memory>
#include <random>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include "support/generators.h"
#include "support/mesh.h"
#include "support/recorder.h"
#include "support/stopping.h"
#include "taro25d/taro25d.h"

using namespace LUMO_TARO25D;

namespace {

using Numbers = std::vector<double>;

/// An operation on a scene that belongs to it.
struct Operation {
    std::shared_ptr<void> pScene;
    std::function<void()> run;
    std::function<void()> checkCancelled;  // the state after a cancelled run
    std::function<Numbers()> describe;     // the result
};
using MakeOperation = std::function<Operation(const std::atomic<bool>* pFlag)>;

/// For its lifetime, calls a function at each cancellation point.
class ObserverScope {
  public:
    explicit ObserverScope(std::function<void()> observer) { setCancelPointObserver(std::move(observer)); }
    ~ObserverScope() { setCancelPointObserver(nullptr); }
    ObserverScope(const ObserverScope&) = delete;
    ObserverScope& operator=(const ObserverScope&) = delete;
};

void testAtRandomMoments(const MakeOperation& make) {
    std::atomic<bool> bFlag{false};
    size_t numCancelPoints = 0;
    const Operation whole = make(&bFlag);
    {
        const ObserverScope count([&] { ++numCancelPoints; });
        whole.run();
    }
    const Numbers vExpected = whole.describe();
    ASSERT_GT(numCancelPoints, 20u);
    std::mt19937 random(1);
    size_t numCancelled = 0;
    for (size_t round = 0; round < scaled(50); ++round) {
        const Operation operation = make(&bFlag);
        const size_t moment = 1 + random() % numCancelPoints;
        SCOPED_TRACE("cancellation point " + std::to_string(moment) + " of " + std::to_string(numCancelPoints));
        size_t numPassed = 0;
        bool bCancelled = false;
        {
            const ObserverScope cancel([&] { bFlag = bFlag || ++numPassed == moment; });
            try {
                operation.run();
            } catch (const TaroCancelled&) {
                bCancelled = true;
            }
        }
        bFlag = false;
        if (!bCancelled) continue;  // the last cancellation points may be within a change that must be finished
        ++numCancelled;
        operation.checkCancelled();
        operation.run();
        EXPECT_EQ(operation.describe(), vExpected);
        if (::testing::Test::HasFailure()) return;
    }
    EXPECT_GT(numCancelled, scaled(50) / 2);
}

std::vector<Point2> makeGround(size_t num, unsigned seed) {
    std::mt19937 random(seed);
    std::uniform_real_distribution<double> place(0.0, 100.0), noise(0.0, 1.0);
    std::vector<Point2> vPoints;
    for (size_t i = 0; i < num; ++i) {
        const double x = place(random), y = place(random);
        vPoints.emplace_back(x, y, 5.0 * std::sin(0.1 * x) + noise(random));
    }
    return vPoints;
}

std::vector<Segment2> makeSegments(int numRows) {
    std::vector<Segment2> vSegments;
    const double cell = 100.0 / numRows;
    for (int i = 0; i < numRows; ++i) {
        for (int k = 0; k < numRows; ++k) {
            const Point2 src((i + 0.1) * cell, (k + 0.15) * cell, 1.0);
            vSegments.emplace_back(src, Point2(src.x() + 0.71 * cell, src.y() + 0.6 * cell, 2.0));
        }
    }
    return vSegments;
}

std::vector<Segment2> makeRing(int num, double radius) {
    std::vector<Point2> vCorners;
    for (int i = 0; i < num; ++i) {
        const double angle = 2.0 * M_PI * i / num;
        vCorners.emplace_back(50.0 + radius * std::cos(angle), 50.0 + radius * std::sin(angle), 0.0);
    }
    std::vector<Segment2> vRing;
    for (size_t i = 0; i < vCorners.size(); ++i) vRing.emplace_back(vCorners[i], vCorners[(i + 1) % vCorners.size()]);
    return vRing;
}

Numbers toNumbers(const std::vector<Triangle2*>& vTriangles) {
    std::vector<std::array<double, 6>> vPlaces;
    for (const Triangle2* pT : vTriangles) {
        std::array<const Point2*, 3> aCorners{pT->getCorner(0), pT->getCorner(1), pT->getCorner(2)};
        std::sort(aCorners.begin(), aCorners.end(), [](const Point2* a, const Point2* b) { return *a < *b; });
        vPlaces.push_back({aCorners[0]->x(), aCorners[0]->y(), aCorners[1]->x(), aCorners[1]->y(), aCorners[2]->x(),
                           aCorners[2]->y()});
    }
    std::sort(vPlaces.begin(), vPlaces.end());
    Numbers vNumbers;
    for (const auto& places : vPlaces) vNumbers.insert(vNumbers.end(), places.begin(), places.end());
    return vNumbers;
}

Numbers toNumbers(const Taro_2D& mesh) {
    std::vector<Triangle2*> vTriangles;
    mesh.getTrianglePointers(vTriangles);
    return toNumbers(vTriangles);
}

/// A mesh with the flag, and objects of the operations.
struct Scene {
    Scene(const std::atomic<bool>* pFlag, size_t numPoints) {
        if (numPoints > 0) mesh.insert(makeGround(numPoints, 3));
        mesh.setCancelFlag(pFlag);
    }
    Taro_2D mesh;
    Zone2* pZone = nullptr;
    ConstraintGraph2* pGraph = nullptr;
    std::vector<Point2*> vHandles;
    std::vector<Triangle2*> vTriangles;
};

void expectValid(const Scene& scene) { EXPECT_TRUE(scene.mesh.checkValidity(true, "cancelled")); }

Operation makeOperation(const std::shared_ptr<Scene>& pScene, std::function<void()> run,
                        std::function<Numbers()> describe) {
    return {pScene, std::move(run), [pScene] { expectValid(*pScene); }, std::move(describe)};
}

/// An operation whose result is a mesh.
Operation makeOfMesh(const std::shared_ptr<Scene>& pScene, std::function<void()> run) {
    return makeOperation(pScene, std::move(run), [pScene] { return toNumbers(pScene->mesh); });
}

}  // namespace

class CancelTest : public ::testing::Test {
  protected:
    void SetUp() override {
        setMessageHandler([](MsgLevel, const std::string&, const std::string&) {});
    }
    void TearDown() override { setMessageHandler(nullptr); }
};

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

TEST_F(CancelTest, ZonesGiveTheSameTrianglesAfterwards) {
    testAtRandomMoments([](const std::atomic<bool>* pFlag) {
        const auto pScene = std::make_shared<Scene>(pFlag, 2000);
        pScene->pGraph = pScene->mesh.createConstraint(makeRing(200, 40.0), CIS_CONSTRAINED_DELAUNAY);
        const auto run = [pScene] {
            pScene->vTriangles.clear();
            Zone2* pInside = pScene->mesh.createZone(pScene->pGraph, ZL_INSIDE);
            const auto isLeft = [](Triangle2* pT) { return pT->getCorner(0)->x() < 50.0; };
            Zone2* pPeeled = peelOffBorder(pInside, isLeft, false);
            zoneSymmetricDifference(pPeeled, pScene->mesh.createZone(nullptr, ZL_GLOBAL))
                ->getTriangles(pScene->vTriangles);
            pInside->statistics("");
        };
        return makeOperation(pScene, run, [pScene] { return toNumbers(pScene->vTriangles); });
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

TEST_F(CancelTest, ContoursAppendNothing) {
    struct Surface {
        Surface() : contours(makeGround(30000, 5), Vector2(1.0, 0.0, 0.0)) {}
        IsoContours contours;
        std::vector<std::vector<Segment2>> vvContours;
        std::vector<Segment2> vProfile;
    };
    const auto pSurface = std::make_shared<Surface>();
    testAtRandomMoments([&](const std::atomic<bool>* pFlag) {
        pSurface->contours.setCancelFlag(pFlag);
        pSurface->vvContours.clear();
        pSurface->vProfile.clear();
        const auto run = [pSurface] {
            if (pSurface->vvContours.empty()) pSurface->contours.getContours(0.777, pSurface->vvContours);
            pSurface->contours.getProfile(Point2(50.0, 50.0, 0.0), pSurface->vProfile);
        };
        const auto describe = [pSurface]() -> Numbers {
            return {double(pSurface->vvContours.size()), double(pSurface->vProfile.size())};
        };
        return Operation{pSurface, run, [pSurface] { EXPECT_TRUE(pSurface->vProfile.empty()); }, describe};
    });
    pSurface->contours.setCancelFlag(nullptr);
}

TEST_F(CancelTest, CutAndFillHasNoComponentsAndRunsAgain) {
    struct Earthworks {
        Earthworks() {
            before.insert(makeGround(150, 1));
            after.insert(makeGround(150, 2));
            pWork = std::make_unique<CutAndFill>(before.createZone(nullptr, ZL_GLOBAL),
                                                 after.createZone(nullptr, ZL_GLOBAL), 0.0);
        }
        Taro_2D before, after;
        std::unique_ptr<CutAndFill> pWork;
    };
    for (const bool bFlagOfSurface : {false, true}) {
        testAtRandomMoments([=](const std::atomic<bool>* pFlag) {
            const auto pScene = std::make_shared<Earthworks>();
            if (bFlagOfSurface) {
                pScene->after.setCancelFlag(pFlag);
            } else {
                pScene->pWork->setCancelFlag(pFlag);
            }
            const auto describe = [pScene] {
                Numbers vVolumes;  // without their last digits, which depend on the order of a sum
                for (size_t i = 0; i < pScene->pWork->getNumberOfComponents(); ++i)
                    vVolumes.push_back(std::round(1e6 * pScene->pWork->getComponent(i)->getVolume()));
                return vVolumes;
            };
            return Operation{pScene, [pScene] { pScene->pWork->go(); },
                             [pScene] { EXPECT_EQ(pScene->pWork->getNumberOfComponents(), 0u); }, describe};
        });
    }
}

TEST_F(CancelTest, SegmentCheckerAppendsNothing) {
    struct Checked {
        std::vector<Segment2> vSegments = makeSegments(60);
        SegmentChecker checker;
        std::vector<Segment2*> vIllegal;
    };
    testAtRandomMoments([](const std::atomic<bool>* pFlag) {
        const auto pScene = std::make_shared<Checked>();
        pScene->vSegments.emplace_back(Point2(0, 0, 0), Point2(100, 100, 0));
        std::vector<Segment2*> vPointers;
        for (Segment2& segment : pScene->vSegments) vPointers.push_back(&segment);
        pScene->checker.addSegments(vPointers);
        pScene->checker.setCancelFlag(pFlag);
        return Operation{pScene, [pScene] { pScene->checker.getIllegalSegments(true, pScene->vIllegal); },
                         [pScene] { EXPECT_TRUE(pScene->vIllegal.empty()); },
                         [pScene] { return Numbers{double(pScene->vIllegal.size())}; }};
    });
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

TEST_F(CancelTest, SavingChecksAndDrawingLeaveNothingBehind) {
    testAtRandomMoments([](const std::atomic<bool>* pFlag) {
        const auto pScene = std::make_shared<Scene>(pFlag, 2000);
        const auto exists = [](const char* filename) { return std::ifstream(filename).good(); };
        std::remove("cancel_test.taro");
        std::remove("cancel_test.ps");
        const auto run = [pScene] {
            pScene->mesh.checkValidity(true, "");
            pScene->mesh.statistics("");
            pScene->mesh.show("cancel_test.ps", true);
            pScene->mesh.saveAll("cancel_test.taro");
        };
        Operation operation =
            makeOperation(pScene, run, [exists] { return Numbers{double(exists("cancel_test.taro"))}; });
        operation.checkCancelled = [exists] { EXPECT_FALSE(exists("cancel_test.taro")); };
        return operation;
    });
}

TEST_F(CancelTest, ExceptionsOfListenersEndTheCallInTheSameWay) {
    const std::vector<Point2> vPoints = makeGround(20000, 1);
    for (size_t numReports = 1; numReports < 100; numReports += 9) {
        Taro_2D mesh;
        Recorder recorder;
        recorder.hook = [&] {
            if (recorder.vValues.size() == numReports) throw std::runtime_error("enough");
        };
        mesh.subscribe(MT_PROGRESS, &recorder);
        EXPECT_THROW(mesh.insert(vPoints), std::runtime_error);
        EXPECT_TRUE(!mesh.is2D() || mesh.checkValidity(true, "stopped"));
        mesh.insert(vPoints);
        EXPECT_EQ(mesh.numberOfPoints(), vPoints.size());
    }
}

TEST_F(CancelTest, ListenersHearASignOfLifeWhereStepsAreLong) {
    const auto insert = [](bool bWait) {
        Taro_2D mesh;
        Recorder recorder;
        mesh.subscribe(MT_PROGRESS, &recorder);
        size_t numCancelPoints = 0;
        const ObserverScope wait([&] {
            if (bWait && ++numCancelPoints % 100 == 0) std::this_thread::sleep_for(std::chrono::milliseconds(60));
        });
        mesh.insert(makeGround(20000, 1));
        return recorder.vValues;
    };
    const Numbers vReports = insert(false), vWithWaits = insert(true);
    EXPECT_GT(vWithWaits.size(), vReports.size());
    EXPECT_TRUE(std::is_sorted(vWithWaits.begin(), vWithWaits.end()));
    EXPECT_EQ(vWithWaits.back(), 1.0);
}

TEST_F(CancelTest, SearchesInRegionsAppendNothing) {
    std::atomic<bool> bFlag{false};
    const Scene scene(&bFlag, 20000);
    bFlag = true;
    std::vector<Point2*> vVertices;
    std::vector<Triangle2*> vTriangles;
    Bbox2 box;
    box.add(Point2(10, 10, 0));
    box.add(Point2(90, 90, 0));
    EXPECT_THROW(scene.mesh.getVerticesInBox(box, vVertices), TaroCancelled);
    EXPECT_THROW(scene.mesh.getTrianglesInBox(box, vTriangles), TaroCancelled);
    EXPECT_THROW(scene.mesh.getVerticesInCircle(Circle2(50, 50, 1600), vVertices), TaroCancelled);
    EXPECT_TRUE(vVertices.empty() && vTriangles.empty());
}

TEST_F(CancelTest, CrossingsAreAPhaseOfTheirOwn) {
    Taro_2D mesh;
    Recorder recorder;
    mesh.subscribe(MT_PROGRESS, &recorder);
    mesh.createConstraint(makeSegments(10), CIS_CONSTRAINED_DELAUNAY);
    std::vector<Segment2> vAcross;
    for (int i = 1; i <= 20; ++i) {
        vAcross.emplace_back(Point2(0, 4.0 * i, 0), Point2(100, 4.0 * i + 1, 0));
        vAcross.emplace_back(Point2(4.0 * i, 0, 0), Point2(4.0 * i + 1, 100, 0));
    }
    recorder.vMessages.clear();
    mesh.createConstraint(vAcross, CIS_CONSTRAINED_DELAUNAY);
    recorder.vMessages.erase(std::unique(recorder.vMessages.begin(), recorder.vMessages.end()),
                             recorder.vMessages.end());
    EXPECT_EQ(recorder.vMessages,
              (std::vector<std::string>{"insert vertices", "insert crossings", "establish constraints"}));
}

TEST_F(CancelTest, FractionsOfEachPhaseRiseToOne) {
    Taro_2D mesh;
    Recorder recorder;
    mesh.subscribe(MT_PROGRESS, &recorder);
    mesh.insert(makeGround(20000, 1));
    Zone2* pZone = mesh.createZone(mesh.createConstraint(makeRing(50, 40.0), CIS_CONSTRAINED_DELAUNAY), ZL_INSIDE);
    mesh.refine(pZone, 25.0, 0.0, 1.0, true);
    mesh.saveAll("cancel_test.taro");
    Taro_2D loaded;
    loaded.subscribe(MT_PROGRESS, &recorder);
    loaded.load("cancel_test.taro");
    for (size_t i = 0; i < recorder.vValues.size(); ++i) {
        const bool bLast = i + 1 == recorder.vValues.size() || recorder.vMessages[i + 1] != recorder.vMessages[i];
        if (bLast) {
            EXPECT_EQ(recorder.vValues[i], 1.0) << recorder.vMessages[i];
        } else if (recorder.vValues[i] < 1.0) {
            EXPECT_LE(recorder.vValues[i], recorder.vValues[i + 1]) << recorder.vMessages[i];
        }
    }
}
