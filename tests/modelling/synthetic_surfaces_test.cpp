#include "taro25d/syntheticSurfaces.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <utility>

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
}

TEST(SyntheticSurfaces, HaveKnownBits) {
    // The points are those of any other machine, and of the package taro25d, whose tests have the same numbers.
    const std::pair<PointVector, Point2> aKnown[] = {
        {makeFractalTerrain(1000, 1000.0, 7), {0x1.2ee9c64e1a2cbp+7, 0x1.9fa2ffe8a689bp+9, 0x1.2bb42bd0fae70p+5}},
        {makeSurveyLines(1000, 1000.0, 7), {0x1.171647b1dcc78p+9, 0x1.894c36e7dc3b9p+9, -0x1.136e5883350b2p+5}},
        {makeStockpile(1000, 10.0, 7), {-0x1.be22b448e5022p+3, 0x1.a807add8b493ap+3, 0.0}},
        {makeRoad(1000, 1000.0, 7), {0x1.85727e120292bp+9, 0x1.93f053817b7a1p+8, -0x1.0ed4412f0b91ep+5}},
        {makeScannedFacade(1000, 0.01, 7), {0x1.070a380da8b8cp+4, 0x1.130339d4df7b5p+3, 0x1.72756c8de681fp-7}}};
    for (const auto& [vPoints, point] : aKnown) EXPECT_TRUE(samePoint(vPoints[777], point)) << vPoints[777];
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
