#include "taro25d/syntheticSurfaces.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>

#include "support/capture.h"
#include "support/generators.h"
#include "taro25d/Taro_2D.h"
#include "taro25d/Zone2.h"

using namespace LUMO_TARO25D;

namespace {

bool areEqual(const PointVector& a, const PointVector& b) {
    const auto isSame = [](const Point2& p, const Point2& q) { return p == q && p.z() == q.z(); };
    return std::equal(a.begin(), a.end(), b.begin(), b.end(), isSame);
}

TEST(SyntheticSurfaces, RepeatAndDifferBySeed) {
    using Make = PointVector (*)(size_t, double, std::uint64_t);
    for (const Make make : {&makeFractalTerrain, &makeSurveyLines, &makeStockpile, &makeRoad, &makeScannedFacade}) {
        const PointVector vPoints = make(1000, 500.0, 7);
        EXPECT_EQ(vPoints.size(), 1000u);
        EXPECT_TRUE(areEqual(vPoints, make(1000, 500.0, 7)));
        for (const double bad : {-1.0, INF, NOT_A_NUMBER}) {
            PointVector vNone;
            EXPECT_NE(printedBy([&] { vNone = make(10, bad, 1); }), "");
            EXPECT_TRUE(vNone.empty());
        }
    }
    EXPECT_FALSE(areEqual(makeFractalTerrain(100, 1.0, 1), makeFractalTerrain(100, 1.0, 2)));
    EXPECT_NE(makeRoad(100, 1000.0, 1)[0].z(), makeRoad(100, 1000.0, 2)[0].z());
    // Known bits: the points are those of any other machine.
    EXPECT_TRUE(
        areEqual(makeFractalTerrain(1, 1.0, 1), {{0x1.122deafddb434p-3, 0x1.175c928118c7cp-3, -0x1.56a8922a2cba5p-6}}));
}

TEST(SyntheticSurfaces, TerrainIsContinuousAndSharedByLines) {
    const PointVector vGround = makeFractalTerrain(40000, 1000.0, 3), vLines = makeSurveyLines(40000, 1000.0, 3);
    Taro_2D mesh;
    mesh.insert(vGround);
    const auto [pLow, pHigh] = std::minmax_element(vGround.begin(), vGround.end(),
                                                   [](const Point2& p, const Point2& q) { return p.z() < q.z(); });
    const double relief = pHigh->z() - pLow->z();
    EXPECT_GT(relief, 50.0);
    EXPECT_LT(relief, 250.0);
    double sum = 0.0, num = 0.0;
    for (const Point2& p : vLines) {
        double height = 0.0;
        if (!mesh.getHeight(p.x(), p.y(), height)) continue;
        sum += std::abs(height - p.z());
        ++num;
    }
    EXPECT_GT(num, 39000.0);
    EXPECT_LT(sum / num, 0.01 * relief);
}

TEST(SyntheticSurfaces, StockpileHasItsVolume) {
    Taro_2D mesh;
    mesh.insert(makeStockpile(200000, 10.0, 1));
    Zone2* pZone = mesh.createZone(nullptr, ZL_GLOBAL);
    std::vector<Triangle2*> vTriangles;
    pZone->getTriangles(vTriangles);
    double volume = 0.0;
    for (const Triangle2* pT : vTriangles) {
        const double height = (pT->getCorner(0)->z() + pT->getCorner(1)->z() + pT->getCorner(2)->z()) / 3.0;
        volume += height * pT->getArea2D();
    }
    EXPECT_NEAR(volume, 16.0 / 27.0 * M_PI * 1000.0, 1.0);
}

TEST(SyntheticSurfaces, RoadEndsOnTheGround) {
    const PointVector vRoad = makeRoad(5000, 2000.0, 5), vGround = makeFractalTerrain(300000, 2000.0, 5);
    Taro_2D ground;
    ground.insert(vGround);
    size_t numNear = 0;
    for (size_t k = 0; k < vRoad.size(); k += 5) {
        EXPECT_NEAR(std::hypot(vRoad[k + 1].x() - vRoad[k + 3].x(), vRoad[k + 1].y() - vRoad[k + 3].y()), 8.0, 1e-9);
        EXPECT_NEAR(vRoad[k + 2].z() - vRoad[k + 1].z(), 0.1, 1e-9);
        double height = 0.0;
        numNear += ground.getHeight(vRoad[k].x(), vRoad[k].y(), height) && std::abs(height - vRoad[k].z()) < 2.0;
    }
    EXPECT_GT(numNear, 950u);
}

}  // namespace
