// Cancellation of operations that compute something from a mesh.

#include <gtest/gtest.h>

#include <cstdio>
#include <fstream>

#include "support/cancelling.h"
#include "taro25d/taro25d.h"

using namespace LUMO_TARO25D;
using namespace cancelling;

class CancelledQueryTest : public CancelTest {};

TEST_F(CancelledQueryTest, ZonesGiveTheSameTrianglesAfterwards) {
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

TEST_F(CancelledQueryTest, ContoursAppendNothing) {
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

TEST_F(CancelledQueryTest, CutAndFillHasNoComponentsAndRunsAgain) {
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

TEST_F(CancelledQueryTest, SegmentCheckerAppendsNothing) {
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

TEST_F(CancelledQueryTest, SavingChecksAndDrawingLeaveNothingBehind) {
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

TEST_F(CancelledQueryTest, SearchesInRegionsAppendNothing) {
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

TEST_F(CancelledQueryTest, QueriesGiveTheSameAfterwards) {
    constexpr size_t MIN_CANCEL_POINTS = 3;  // a copy of the mesh takes a few milliseconds
    Scene scene(nullptr, 8000), other(nullptr, 0);
    other.mesh.insert(makeGround(8000, 8));
    Zone2 *pAll = scene.mesh.createZone(nullptr, ZL_GLOBAL), *pOther = other.mesh.createZone(nullptr, ZL_GLOBAL);
    const RasterFrame frame{0.0, 100.0, 2.0, 2.0, 50, 50};
    Numbers vXY;
    for (const Point2& point : makeGround(60000, 4)) vXY.insert(vXY.end(), {point.x(), point.y()});
    const auto raster = [&](RasterKind kind) {
        Numbers vCells(50 * 50);
        rasterize(pAll, frame, kind, vCells.data());
        for (double& cell : vCells) cell = std::isfinite(cell) ? cell : -1e9;
        return vCells;
    };
    const std::vector<std::function<Numbers()>> vQueries{
        [&] { return raster(RK_LINEAR); },
        [&] { return raster(RK_NATURAL_NEIGHBOUR); },
        [&] {
            Numbers vHeights(vXY.size() / 2);
            return Numbers{double(scene.mesh.getHeights(vHeights.size(), vXY.data(), vHeights.data()))};
        },
        [&] {
            std::vector<Segment2> vDraped;
            scene.mesh.drape(makeSegments(10), vDraped);
            return Numbers{double(vDraped.size())};
        },
        [&] {
            const SurfaceDifference difference = compareSurfaces(pAll, pOther, 0.0);
            return Numbers{difference.cutVolume, difference.fillVolume};
        },
        [&] { return toNumbers(*scene.mesh.clone()); },
        [&] {
            IndexedMesh arrays;
            scene.mesh.getIndexedMesh(arrays);
            return arrays.vCoordinates;
        }};
    for (const auto& query : vQueries) {
        testAtRandomMoments(
            [&](const std::atomic<bool>* pFlag) {
                scene.mesh.setCancelFlag(pFlag);
                const auto pResult = std::make_shared<Numbers>();
                return Operation{pResult, [=] { *pResult = query(); }, [pResult] { EXPECT_TRUE(pResult->empty()); },
                                 [pResult] { return *pResult; }};
            },
            MIN_CANCEL_POINTS);
    }
}

TEST_F(CancelledQueryTest, BandsAppendNothing) {
    Scene scene(nullptr, 5000);
    std::vector<Triangle2*> vTriangles;
    scene.mesh.getTrianglePointers(vTriangles);
    const auto pContours = std::make_shared<IsoContours>(vTriangles);
    testAtRandomMoments([&](const std::atomic<bool>* pFlag) {
        pContours->setCancelFlag(pFlag);
        const auto pBands = std::make_shared<std::vector<ContourBand>>();
        return Operation{pBands,
                         [=] {
                             pContours->getBands({-4.0, 0.0, 4.0}, *pBands);
                         },
                         [pBands] { EXPECT_TRUE(pBands->empty()); },
                         [pBands] {
                             Numbers vSizes;
                             for (const ContourBand& band : *pBands) vSizes.push_back(double(band.vRings.size()));
                             return vSizes;
                         }};
    });
}

TEST_F(CancelledQueryTest, SimplificationRunsAgain) {
    const std::vector<Point2> vPoints = makeGround(3000, 6);
    testAtRandomMoments([&](const std::atomic<bool>* pFlag) {
        const auto pModel = std::make_shared<EfficientModel>(vPoints);
        pModel->setMaxError(1.0);
        pModel->setCertified(true);
        pModel->setCancelFlag(pFlag);
        return Operation{pModel, [pModel] { pModel->go(); }, [] {},
                         [pModel] { return toNumbers(*pModel->getTriangulation()); }};
    });
}
