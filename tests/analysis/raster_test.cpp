#include "support/rasters.h"
#include "taro25d/rasterize.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <cmath>
#include <cstdlib>
#include <fstream>
#include <limits>
#include <string>

#include "mesh/Dt2.h"
#include "support/capture.h"
#include "support/generators.h"
#include "support/mesh.h"
#include "support/recorder.h"
#include "taro25d/TaroCancelled.h"
#include "taro25d/Taro_2D.h"
#include "taro25d/Vector2.h"
#include "taro25d/freeFunctions.h"

using namespace LUMO_TARO25D;
using namespace rasters;

namespace {

/// Equal values; all NaNs are equal.
void expectEqualCells(const Cells& vExpected, const Cells& vCells) {
    ASSERT_EQ(vExpected.size(), vCells.size());
    for (size_t k = 0; k < vCells.size(); ++k) {
        ASSERT_TRUE(vCells[k] == vExpected[k] || (std::isnan(vCells[k]) && std::isnan(vExpected[k])))
            << "cell " << k << ": " << vCells[k] << " instead of " << vExpected[k];
    }
}

bool contains(const Triangle2& triangle, const Point2& place) {
    for (int i = 0; i < 3; ++i) {
        const Point2 *pSrc = triangle.getCorner(i), *pTrg = triangle.getCorner((i + 1) % 3);
        if (getOrientation2_mt(pSrc, pTrg, &place) == ORIENTATION2_CW) return false;
    }
    return true;
}

/// The triangle of a cell's centre by definition: the first one, counterclockwise from the east, that holds a point
/// next to the centre. The steps are small enough for a mesh of small integers.
const Triangle2* ownerOf(const TriangleVector& vTriangles, const Point2& centre) {
    for (int k = 0; k < 720; ++k) {
        const double angle = (0.001 + 0.5 * k) * 3.14159265358979 / 180.0;
        const Point2 near(centre.x() + 1e-7 * std::cos(angle), centre.y() + 1e-7 * std::sin(angle), 0);
        for (const Triangle2* pT : vTriangles)
            if (contains(*pT, centre) && contains(*pT, near)) return pT;
    }
    return nullptr;
}

struct Slopes {
    double slope, aspect, shade;
};

/// By the formulas of GDAL's gdaldem, with the face's normal.
Slopes slopesOf(const Triangle2& triangle) {
    const Vector2 n = triangle.getNormalVector();
    const double rad = std::acos(-1.0) / 180.0;
    const double dzdx = -n.x() / n.z(), dzdy = -n.y() / n.z();
    double aspect = std::atan2(-dzdx, -dzdy) / rad;
    if (aspect < 0) aspect += 360;
    const double azimuth = 315 * rad, altitude = 45 * rad;
    const double cang =
        (std::sin(altitude) - std::cos(altitude) * (dzdy * std::cos(azimuth) + dzdx * std::sin(azimuth))) /
        std::sqrt(1 + dzdx * dzdx + dzdy * dzdy);
    return {std::atan(std::hypot(dzdx, dzdy)) / rad, dzdx == 0 && dzdy == 0 ? NOT_A_NUMBER : aspect,
            cang <= 0 ? 1.0 : 1.0 + 254.0 * cang};
}

void expectNear(double expected, double value) {
    if (std::isnan(expected)) {
        EXPECT_TRUE(std::isnan(value)) << value;
    } else {
        EXPECT_NEAR(expected, value, 1e-9);
    }
}

}  // namespace

// ---- Which triangle ----

TEST(Rasterize, GivesEachCentreTheTriangleToItsEastThenNorth) {
    Random r(1);
    for (int round = 0; round < 60; ++round) {
        Taro_2D mesh;
        insertSmallIntegers(mesh, r);
        // The whole mesh, or half of its triangles: vertices and edges with few triangles around them.
        Zone2* pZone = mesh.createZone(nullptr, ZL_GLOBAL);
        if (round % 2 == 1) pZone = mesh.createZone(someOf(trianglesOf(mesh), 0.5, r), false);
        if (!pZone) continue;
        const TriangleVector vTriangles = trianglesOf(pZone);
        // Centres at the integers and halfway between them, most of them on edges.
        const RasterFrame frame{-0.75, 8.75, 0.5, 0.5, 19, 19};
        const Cells vHeights = rasterOf(pZone, frame, RK_LINEAR), vSlopes = rasterOf(pZone, frame, RK_SLOPE),
                    vAspects = rasterOf(pZone, frame, RK_ASPECT), vShades = rasterOf(pZone, frame, RK_HILLSHADE);
        for (size_t k = 0; k < vHeights.size(); ++k) {
            const Point2 centre = centreOf(frame, k);
            const Triangle2* pOwner = ownerOf(vTriangles, centre);
            ASSERT_EQ(pOwner == nullptr, std::isnan(vHeights[k])) << "round " << round << " at " << centre;
            if (!pOwner) continue;
            double height = 0;
            mesh.getHeight(centre.x(), centre.y(), height, const_cast<Triangle2*>(pOwner));
            EXPECT_NEAR(height, vHeights[k], 1e-12);
            const Slopes expected = slopesOf(*pOwner);
            expectNear(expected.slope, vSlopes[k]);
            expectNear(expected.aspect, vAspects[k]);
            expectNear(expected.shade, vShades[k]);
        }
    }
}

TEST(Rasterize, AgreesWithHeightsWhereverAndHoweverLargeTheCellsAre) {
    Random r(2);
    for (const double origin : {0.0, 4.5e6}) {
        Taro_2D mesh;
        mesh.insert(makeScattered(3000, origin, origin, origin + 100, origin + 100, r, 50));
        const Zone2* pZone = mesh.createZone(nullptr, ZL_GLOBAL);
        for (const double size : {0.37, 7.1, 60.0}) {
            const size_t num = static_cast<size_t>(120 / size);
            const RasterFrame frame{origin - 9.5, origin + 111.3, size, 1.3 * size, num, num};
            const Cells vCells = rasterOf(pZone, frame, RK_LINEAR);
            for (size_t k = 0; k < vCells.size(); ++k) {
                const Point2 centre = centreOf(frame, k);
                double height = 0;
                ASSERT_EQ(mesh.getHeight(centre.x(), centre.y(), height), !std::isnan(vCells[k])) << centre;
                ASSERT_FALSE(std::abs(height - vCells[k]) > 1e-9) << centre;
            }
        }
    }
}

TEST(Rasterize, DescribesPlanesOfAnySize) {
    Random r(19);
    const PointVector vPoints = makeScattered(60, -1, -1, 1, 1, r, 1);
    const auto makeScaled = [&](double scale, RasterKind kind, double zScale) {
        PointVector vScaled;
        for (const Point2& p : vPoints) vScaled.emplace_back(p.x() * scale, p.y() * scale, p.z() * zScale);
        Taro_2D mesh;
        mesh.insert(vScaled);
        const RasterFrame scaledFrame{-0.75 * scale, 0.75 * scale, 0.25 * scale, 0.25 * scale, 6, 6};
        return rasterOf(mesh.createZone(nullptr, ZL_GLOBAL), scaledFrame, kind);
    };
    for (const double scale : {0x1p-1000, 0x1p-530, 0x1p-490, 0x1p500, 0x1p520, 0x1p1020}) {
        for (const RasterKind kind : {RK_LINEAR, RK_NATURAL_NEIGHBOUR}) {
            const Cells vExpected = makeScaled(1, kind, 1), vCells = makeScaled(scale, kind, 1);
            for (size_t k = 0; k < vCells.size(); ++k)
                EXPECT_NEAR(vCells[k], vExpected[k], 1e-7) << scale << " " << kind;
        }
        for (const RasterKind kind : {RK_SLOPE, RK_ASPECT, RK_HILLSHADE}) {
            const Cells vExpected = makeScaled(1, kind, 1), vCells = makeScaled(scale, kind, scale);
            for (size_t k = 0; k < vCells.size(); ++k)
                EXPECT_NEAR(vCells[k], vExpected[k], 1e-7) << scale << " " << kind;
        }
    }
}

TEST(Rasterize, ReturnsTheHeightsOfAGridItIsLaidOver) {
    Random r(3);
    PointVector vPoints = makeGrid(40, 500000, 4000000, 2.5, r);
    for (Point2& point : vPoints) point.set(point.x(), point.y(), uniform(r, 0, 1e4));
    Taro_2D mesh;
    mesh.insert(vPoints);
    const RasterFrame frame{500000 - 1.25, 4000000 + 39 * 2.5 + 1.25, 2.5, 2.5, 40, 40};
    const Zone2* pZone = mesh.createZone(nullptr, ZL_GLOBAL);
    for (const RasterKind kind : {RK_LINEAR, RK_NATURAL_NEIGHBOUR}) {
        const Cells vCells = rasterOf(pZone, frame, kind);
        for (const Point2& point : vPoints) {
            const size_t row = static_cast<size_t>((4000000 + 39 * 2.5 - point.y()) / 2.5);
            const size_t column = static_cast<size_t>((point.x() - 500000) / 2.5);
            ASSERT_EQ(vCells[row * 40 + column], point.z());
        }
    }
}

TEST(Rasterize, GivesTheSameForAnyNumberOfThreads) {
    Random r(4);
    PointVector vPoints = makeScattered(scaled(60000), 0, 0, 100, 100, r, 50);
    for (const double far : {-1000.0, 1100.0}) vPoints.emplace_back(far, 0.5 * far, 0);  // with large triangles
    Taro_2D mesh;
    mesh.insert(vPoints);
    mesh.createConstraint({Segment2(Point2(10, 10, 0), Point2(70, 90, 40))}, CIS_CONSTRAINED_DELAUNAY);
    const RasterFrame frame{-200, 200, 1.0, 1.0, 400, 400};
    const Zone2* pZone = mesh.createZone(nullptr, ZL_GLOBAL);
    for (const RasterKind kind : {RK_LINEAR, RK_NATURAL_NEIGHBOUR, RK_SLOPE, RK_ASPECT, RK_HILLSHADE}) {
        const Cells vOne = rasterOf(pZone, frame, kind);
        for (const int numCPU : {2, 5, 0, std::numeric_limits<int>::max()})
            expectEqualCells(vOne, rasterOf(pZone, frame, kind, numCPU));
    }
}

namespace {

/// The cells of a raster in GDAL's text format.
Cells readAsciiGrid(const std::string& filename) {
    std::ifstream file(filename);
    std::string line;
    while (file && !std::isdigit(file.peek()) && file.peek() != ' ' && file.peek() != '-') std::getline(file, line);
    Cells vCells;
    for (double value = 0; file >> value;) vCells.push_back(value);
    return vCells;
}

}  // namespace

TEST(Rasterize, DescribesPlanesLikeGdal) {
    if (std::system("command -v gdaldem > /dev/null") != 0) GTEST_SKIP() << "gdaldem is not installed";
    const RasterFrame frame{0, 5, 1, 1, 5, 5};
    for (const XY& slope : {XY{0.5, 0.25}, XY{-0.75, 0.5}, XY{0.0, -1.5}}) {
        Taro_2D mesh;
        PointVector vCorners;
        for (const double x : {0.0, 5.0})
            for (const double y : {0.0, 5.0}) vCorners.emplace_back(x, y, 20 + slope.first * x + slope.second * y);
        mesh.insert(vCorners);
        const Zone2* pZone = mesh.createZone(nullptr, ZL_GLOBAL);
        std::ofstream file("plane.asc");
        file.precision(17);
        file << "ncols 5\nnrows 5\nxllcorner 0\nyllcorner 0\ncellsize 1\nNODATA_value -9999\n";
        for (const double height : rasterOf(pZone, frame, RK_LINEAR)) file << height << "\n";
        file.close();
        const auto check = [&](const std::string& mode, RasterKind kind, double tolerance) {
            const std::string command = "gdaldem " + mode + " plane.asc " + mode +
                                        ".tif -q && gdal_translate -q -of AAIGrid " + mode + ".tif " + mode + ".asc";
            ASSERT_EQ(std::system(command.c_str()), 0);
            const Cells vTheirs = readAsciiGrid(mode + ".asc");
            ASSERT_EQ(vTheirs.size(), 25u);
            EXPECT_NEAR(vTheirs[12], rasterOf(pZone, frame, kind)[12], tolerance)
                << mode << " " << slope.first << " " << slope.second;
        };
        check("slope", RK_SLOPE, 1e-4);
        check("aspect", RK_ASPECT, 1e-4);
        check("hillshade", RK_HILLSHADE, 0.5 + 1e-6);  // theirs is rounded
    }
}

// ---- Refusal, progress and cancellation ----

TEST(Rasterize, RefusesWhatIsNoRaster) {
    Taro_2D mesh;
    mesh.insert({Point2(0, 0, 1), Point2(4, 0, 1), Point2(0, 4, 1)});
    Zone2* pZone = mesh.createZone(nullptr, ZL_GLOBAL);
    double cell = -7;
    const RasterFrame good{0, 2, 1, 1, 1, 1};
    const auto expectRefused = [&](const Zone2* pOf, const RasterFrame& frame, RasterKind kind, double* aCells) {
        const StdoutCapture capture;
        EXPECT_FALSE(rasterize(pOf, frame, kind, aCells));
        EXPECT_TRUE(contains(capture, "no raster"));
        EXPECT_EQ(cell, -7);
    };
    expectRefused(nullptr, good, RK_LINEAR, &cell);
    expectRefused(pZone, good, RK_LINEAR, nullptr);
    expectRefused(pZone, good, static_cast<RasterKind>(5), &cell);
    for (const double bad : {0.0, -1.0, NOT_A_NUMBER, INF}) {
        expectRefused(pZone, {0, 2, bad, 1, 1, 1}, RK_LINEAR, &cell);
        expectRefused(pZone, {0, 2, 1, bad, 1, 1}, RK_LINEAR, &cell);
    }
    expectRefused(pZone, {NOT_A_NUMBER, 2, 1, 1, 1, 1}, RK_LINEAR, &cell);
    expectRefused(pZone, {0, INF, 1, 1, 1, 1}, RK_LINEAR, &cell);
    expectRefused(pZone, {1e9, 2, 1e-9, 1, 1, 1}, RK_LINEAR, &cell);
    expectRefused(pZone, {0, 2, 1, 1, 0, 1}, RK_LINEAR, &cell);
    EXPECT_TRUE(rasterize(pZone, good, RK_LINEAR, &cell));
    EXPECT_EQ(cell, 1);
}

TEST(Rasterize, ReportsAndCanBeCancelled) {
    Random r(8);
    Taro_2D mesh;
    mesh.insert(makeScattered(3000, 0, 0, 100, 100, r, 50));
    const Zone2* pZone = mesh.createZone(nullptr, ZL_GLOBAL);
    const RasterFrame frame{0, 100, 0.1, 0.1, 1000, 1000};
    for (const int numCPU : {1, 2}) {
        Recorder recorder;
        mesh.subscribe(MT_PROGRESS, &recorder);
        rasterOf(pZone, frame, RK_NATURAL_NEIGHBOUR, numCPU);
        EXPECT_TRUE(std::is_sorted(recorder.vValues.begin(), recorder.vValues.end()));
        // With several threads, the thread that reports may have to wait for a processor.
        ASSERT_GT(recorder.vValues.size(), numCPU == 1 ? 20u : 0u);
        EXPECT_EQ(recorder.vValues.back(), 1.0);

        std::atomic<bool> bCancel{false};
        mesh.getImpl()->getProgress().setCancelFlag(&bCancel);
        recorder.hook = [&bCancel] { bCancel = true; };
        Cells vCells(1000000);
        EXPECT_THROW(rasterize(pZone, frame, RK_NATURAL_NEIGHBOUR, vCells.data(), numCPU), TaroCancelled);
        mesh.getImpl()->getProgress().setCancelFlag(nullptr);
        recorder.hook = [] { throw 7; };
        EXPECT_THROW(rasterize(pZone, frame, RK_NATURAL_NEIGHBOUR, vCells.data(), numCPU), int);
        mesh.unsubscribe(MT_PROGRESS, &recorder);
    }
}
