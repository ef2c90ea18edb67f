#include "analysis/SurfacePart.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <vector>

#include "analysis/compareTriangles.h"
#include "analysis/rasterizeTriangles.h"
#include "mesh/Dt2.h"
#include "support/capture.h"
#include "support/generators.h"
#include "support/mesh.h"
#include "taro25d/compareSurfaces.h"
#include "taro25d/rasterize.h"

using namespace LUMO_TARO25D;

namespace {

/// Triangles of a mesh dealt out at random, so that the parts have borders everywhere.
std::vector<TriangleVector> deal(const Taro_2D& mesh, size_t numParts, Random& random) {
    std::vector<TriangleVector> vParts(numParts);
    for (Triangle2* pT : trianglesOf(mesh)) vParts[random() % numParts].push_back(pT);
    return vParts;
}

PointVector makeRelief(int size) {
    PointVector vPoints;
    for (int x = 0; x <= size; ++x)
        for (int y = 0; y <= size; ++y)
            if ((3 * x + 5 * y) % 7 != 0) vPoints.emplace_back(x, y, x * x % 11 + 3 * std::sin(y));
    return vPoints;
}

/// A cell that is settled from the parts: what a triangle gives, or else the border value with the smallest angle.
struct Cell {
    int numOwners = 0;
    double value = std::numeric_limits<double>::quiet_NaN();
    double angle = std::numeric_limits<double>::infinity();
};

void add(const PartialRaster& raster, const RasterGrid::Window& window, size_t numColumns, std::vector<Cell>& vCells) {
    const size_t width = window.columns.size();
    const auto at = [&](size_t row, size_t column) -> Cell& {
        return vCells[(window.rows.begin + row) * numColumns + window.columns.begin + column];
    };
    for (size_t k = 0; k < raster.vCells.size(); ++k) {
        if (!raster.vHas[k]) continue;
        Cell& cell = at(k / width, k % width);
        ++cell.numOwners;
        cell.value = raster.vCells[k];
    }
    for (const BorderCell& border : raster.vBorder) {
        Cell& cell = at(border.row, border.column);
        if (cell.numOwners > 0 || border.angle >= cell.angle) continue;
        cell.angle = border.angle;
        cell.value = border.value;
    }
}

/// Centres of cells fall on vertices and edges, inside and on the hull.
TEST(SurfacePart, RastersOfPartsMakeThatOfTheWhole) {
    Random random(5);
    Taro_2D mesh;
    mesh.insert(makeRelief(24));
    const RasterFrame frame{-1.25, 26.5, 0.5, 1.0, 56, 29};
    const std::vector<RasterGrid::Window> vWindows{{{0, 13}, {0, 56}}, {{13, 29}, {0, 20}}, {{13, 29}, {20, 56}}};
    for (const RasterKind kind : {RK_LINEAR, RK_SLOPE}) {
        std::vector<double> vWhole(frame.numColumns * frame.numRows);
        ASSERT_TRUE(rasterize(mesh.createZone(nullptr, ZL_GLOBAL), frame, kind, vWhole.data()));
        std::vector<PartialRaster> vRasters;
        std::vector<Cell> vCells(vWhole.size());
        for (const TriangleVector& vPart : deal(mesh, 3, random)) {
            for (const RasterGrid::Window& window : vWindows) {
                PartialRaster raster;
                rasterizeTriangles({*mesh.getImpl(), vPart}, frame, window, kind, raster, 1);
                add(raster, window, frame.numColumns, vCells);
            }
        }
        for (size_t k = 0; k < vWhole.size(); ++k) {
            ASSERT_LE(vCells[k].numOwners, 1) << "cell " << k;
            ASSERT_EQ(std::isnan(vWhole[k]), std::isnan(vCells[k].value)) << "cell " << k;
            if (std::isnan(vWhole[k])) continue;
            ASSERT_EQ(vWhole[k], vCells[k].value) << "cell " << k;
        }
    }
}

TEST(SurfacePart, ComparisonsOfPartsAddUpToThatOfTheWhole) {
    Random random(6);
    Taro_2D before, after;
    PointVector vBefore = makeScattered(400, 0, 0, 30, 30, random), vAfter = makeScattered(300, 5, -5, 40, 25, random);
    for (Point2& p : vBefore) p.set(p.x(), p.y(), std::sin(p.x() / 3));
    for (Point2& p : vAfter) p.set(p.x(), p.y(), std::cos(p.y() / 4) / 2);
    before.insert(vBefore);
    after.insert(vAfter);
    const double threshold = 0.05;
    const SurfaceDifference whole =
        compareSurfaces(before.createZone(nullptr, ZL_GLOBAL), after.createZone(nullptr, ZL_GLOBAL), threshold);
    SurfaceDifference sum{};
    const std::vector<TriangleVector> vParts = deal(before, 3, random), vOthers = deal(after, 2, random);
    for (const TriangleVector& vPart : vParts) {
        for (const TriangleVector& vOther : vOthers) {
            Progress progress(before.getImpl()->getProgress());
            const SurfaceDifference part =
                compareTriangles({*before.getImpl(), vPart}, {*after.getImpl(), vOther}, threshold, 40, 1, progress);
            sum.cutVolume += part.cutVolume;
            sum.fillVolume += part.fillVolume;
            sum.cutArea += part.cutArea;
            sum.fillArea += part.fillArea;
            sum.unchangedArea += part.unchangedArea;
        }
    }
    EXPECT_GT(std::min({whole.cutVolume, whole.fillVolume, whole.unchangedArea}), 1.0);
    EXPECT_NEAR(whole.cutVolume, sum.cutVolume, 1e-9 * whole.cutVolume);
    EXPECT_NEAR(whole.fillVolume, sum.fillVolume, 1e-9 * whole.fillVolume);
    EXPECT_NEAR(whole.cutArea, sum.cutArea, 1e-9 * whole.cutArea);
    EXPECT_NEAR(whole.fillArea, sum.fillArea, 1e-9 * whole.fillArea);
    EXPECT_NEAR(whole.unchangedArea, sum.unchangedArea, 1e-9 * whole.unchangedArea);
}

}  // namespace
