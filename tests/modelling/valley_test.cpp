#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <map>
#include <vector>

#include "mesh/Dt2.h"
#include "support/capture.h"
#include "support/constraint_oracle.h"
#include "support/generators.h"
#include "support/mesh.h"
#include "support/polygons.h"
#include "taro25d/Edge2.h"
#include "taro25d/Taro_2D.h"
#include "taro25d/Zone2.h"
#include "taro25d/freeFunctions.h"

using namespace LUMO_TARO25D;

namespace {

constexpr double NO_LIMIT = std::numeric_limits<double>::max();

/// The sum of the angles between normals over all inner edges.
double costOf(const Taro_2D& mesh) {
    double sum = 0;
    for (const Triangle2* pT : trianglesOf(mesh)) {
        for (int i = 0; i < 3; ++i) {
            const Triangle2* pN = pT->getOppositeTriangle(i);
            if (!pN || pT < pN) continue;
            bool ok = true;
            const Vector2 u = getNormalVector(*pT->getCorner(0), *pT->getCorner(1), *pT->getCorner(2), ok);
            const Vector2 v = getNormalVector(*pN->getCorner(0), *pN->getCorner(1), *pN->getCorner(2), ok);
            sum += std::acos(std::min(1.0, (u.x() * v.x() + u.y() * v.y() + u.z() * v.z()) / u.length() / v.length()));
        }
    }
    return sum;
}

/// A valley along x + y = 0, given by points that suggest edges across it.
PointVector makeValley(unsigned seed) {
    Random random(seed);
    PointVector vPoints;
    for (int i = 0; i < 400; ++i) {
        const double x = uniform(random, -10, 10), y = uniform(random, -10, 10);
        vPoints.emplace_back(x, y, std::abs(x + y));
    }
    for (int i = -12; i <= 12; ++i) vPoints.emplace_back(0.7 * i, -0.7 * i, 0);
    return vPoints;
}

TEST(Valleys, FlipsLowerTheCostAndKeepTheHeights) {
    for (unsigned seed = 0; seed < 5; ++seed) {
        Taro_2D mesh;
        mesh.insert(makeValley(seed));
        std::map<XY, double> mHeights;
        for (const Point2* p : verticesOf(mesh)) mHeights[xyOf(*p)] = p->z();
        const double before = costOf(mesh);
        mesh.createZone(nullptr, ZL_GLOBAL)->optimizeValleysAndRidges(1, NO_LIMIT);
        EXPECT_LT(costOf(mesh), 0.9 * before);
        EXPECT_TRUE(ConstraintOracle(mesh).check());
        for (const Point2* p : verticesOf(mesh)) EXPECT_EQ(mHeights.at(xyOf(*p)), p->z());
        const double after = costOf(mesh);
        mesh.createZone(nullptr, ZL_GLOBAL)->optimizeValleysAndRidges(1, NO_LIMIT);
        EXPECT_EQ(costOf(mesh), after) << "flipped edges are constraints";
    }
}

TEST(Valleys, LimitsConstraintsAndBordersHold) {
    Taro_2D mesh;
    mesh.insert(makeValley(7));
    mesh.createConstraint({makeSegment(-9, -9, 9, 9, 18, 18)}, CIS_CONSTRAINED_DELAUNAY);
    Zone2* pZone = mesh.createZone(
        mesh.createConstraint(makeSides(makeRectangle(-4, -4, 4, 4)), CIS_CONSTRAINED_DELAUNAY), ZL_INSIDE);
    Zone2* pAll = mesh.createZone(nullptr, ZL_GLOBAL);
    const double before = costOf(mesh);
    pAll->optimizeValleysAndRidges(180, NO_LIMIT);
    pAll->optimizeValleysAndRidges(0, 0);
    EXPECT_EQ(costOf(mesh), before);
    std::vector<Edge2> vBorder;
    pZone->getBorderEdges(vBorder);
    pZone->slopeValleyRidgeOptimization();
    EXPECT_LT(costOf(mesh), before);
    for (const Edge2& edge : vBorder) EXPECT_TRUE(mesh.isConstraint(edge.getSrc(), edge.getTrg()));
    EXPECT_TRUE(ConstraintOracle(mesh).check());
    StdoutCapture capture;
    for (const double wrong : {-1.0, NOT_A_NUMBER}) {
        pAll->optimizeValleysAndRidges(wrong, 1);
        pAll->optimizeValleysAndRidges(1, wrong);
        pAll->unifyGrid(wrong);
    }
    pAll->unifyGrid(0);
    EXPECT_TRUE(contains(capture, "Zone2::optimizeValleysAndRidges(), WARNING: "));
    EXPECT_TRUE(contains(capture, "Zone2::unifyGrid(), WARNING: "));
}

TEST(Valleys, GridOfHeights) {
    Taro_2D mesh;
    mesh.insert({{0, 0, 0.26}, {4, 0, -0.26}, {0, 4, 1.1}, {9, 9, 7.77}});
    Zone2* pZone = mesh.createZone({trianglesOf(mesh)[0]});
    VertexVector vInside;
    pZone->getVertices(vInside);
    pZone->unifyGrid(0.5);
    for (const Point2* p : verticesOf(mesh)) {
        const bool bInside = std::find(vInside.begin(), vInside.end(), p) != vInside.end();
        EXPECT_EQ(std::fmod(p->z(), 0.5) == 0, bInside) << *p;
    }
}

TEST(Holes, AreFilledUpToAPerimeter) {
    Taro_2D mesh;
    mesh.insert(makeRectangle(0, 0, 40, 40));
    const auto zoneOf = [&mesh](double x, double y, double size) {
        return mesh.createZone(
            mesh.createConstraint(makeSides(makeRectangle(x, y, x + size, y + size)), CIS_CONSTRAINED_DELAUNAY),
            ZL_INSIDE);
    };
    Zone2 *pWhole = zoneOf(2, 2, 30), *pSmall = zoneOf(5, 5, 2), *pLarge = zoneOf(12, 12, 6);
    Zone2* pZone = zoneDifference(zoneDifference(pWhole, pSmall), pLarge);
    EXPECT_DOUBLE_EQ(mesh.fillHoles(pZone, 7)->getArea2D(), 900 - 4 - 36);
    EXPECT_DOUBLE_EQ(mesh.fillHoles(pZone, 8)->getArea2D(), 900 - 36);
    EXPECT_DOUBLE_EQ(mesh.fillHoles(pZone, 1e300)->getArea2D(), 900);
    StdoutCapture capture;
    Taro_2D other;
    EXPECT_EQ(mesh.fillHoles(nullptr, 8), nullptr);
    EXPECT_EQ(other.fillHoles(pZone, 8), nullptr);
    EXPECT_EQ(mesh.fillHoles(pZone, -1), nullptr);
}

}  // namespace
