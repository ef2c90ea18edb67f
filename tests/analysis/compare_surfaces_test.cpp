#include "taro25d/compareSurfaces.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <cmath>
#include <cstring>
#include <functional>
#include <vector>

#include "mesh/Dt2.h"
#include "support/capture.h"
#include "support/generators.h"
#include "support/mesh.h"
#include "support/recorder.h"
#include "taro25d/CutAndFill.h"
#include "taro25d/TaroCancelled.h"
#include "taro25d/Taro_2D.h"
#include "taro25d/freeFunctions.h"

using namespace LUMO_TARO25D;

namespace {

using HeightAt = std::function<double(double, double)>;

/// Random ground over a square, with its corners.
struct Ground {
    Ground(size_t n, double from, double to, const HeightAt& heightAt, unsigned seed) {
        Random r(seed);
        PointVector vPoints = makeScattered(n, from, from, to, to, r);
        for (const double x : {from, to})
            for (const double y : {from, to}) vPoints.emplace_back(x, y, 0);
        for (Point2& point : vPoints) point.set(point.x(), point.y(), heightAt(point.x(), point.y()));
        mesh.insert(vPoints);
        pZone = mesh.createZone(nullptr, ZL_GLOBAL);
    }
    Taro_2D mesh;
    Zone2* pZone;
};

void expectNear(const SurfaceDifference& expected, const SurfaceDifference& found, double share = 1e-9) {
    const double volumes = expected.cutVolume + expected.fillVolume + 1e-300;
    const double areas = expected.cutArea + expected.fillArea + expected.unchangedArea + 1e-300;
    EXPECT_NEAR(expected.cutVolume, found.cutVolume, share * volumes);
    EXPECT_NEAR(expected.fillVolume, found.fillVolume, share * volumes);
    EXPECT_NEAR(expected.cutArea, found.cutArea, share * areas);
    EXPECT_NEAR(expected.fillArea, found.fillArea, share * areas);
    EXPECT_NEAR(expected.unchangedArea, found.unchangedArea, share * areas);
}

SurfaceDifference turned(const SurfaceDifference& d) {
    return {d.fillVolume, d.cutVolume, d.fillArea, d.cutArea, d.unchangedArea};
}

/// The totals of CutAndFill, an independent implementation.
SurfaceDifference totalsOf(Zone2* pBefore, Zone2* pAfter) {
    const StdoutCapture capture;
    CutAndFill caf(pBefore, pAfter, 0);
    caf.go();
    SurfaceDifference totals;
    caf.getTotals(totals);
    return totals;
}

}  // namespace

TEST(CompareSurfaces, GivesTheVolumesOfWedges) {
    for (const double origin : {0.0, 3e6}) {
        // A level plane, and planes on other points that rise from -1 to 1, in the same square and beyond it.
        const Ground flat(
            500, origin, origin + 10, [](double, double) { return 50.0; }, 1);
        const Ground tilted(
            700, origin, origin + 10, [=](double x, double) { return 50 + 0.2 * (x - origin) - 1; }, 2);
        const Ground larger(
            900, origin - 5, origin + 20, [=](double x, double) { return 50 + 0.2 * (x - origin) - 1; }, 3);
        const SurfaceDifference wedges{25, 25, 50, 50, 0};
        // Coordinates around 3e6 have rounding errors of 5e-10.
        const double share = 1e-9 + 1e-15 * origin;
        expectNear(wedges, compareSurfaces(flat.pZone, tilted.pZone, 0), share);
        expectNear(wedges, compareSurfaces(tilted.pZone, flat.pZone, 0), share);
        expectNear(wedges, compareSurfaces(flat.pZone, larger.pZone, 0), share);
        expectNear(wedges, compareSurfaces(larger.pZone, flat.pZone, 0), share);
        // From 0.5 on: half of the ground, with three quarters of the volume.
        expectNear({18.75, 18.75, 25, 25, 50}, compareSurfaces(flat.pZone, tilted.pZone, 0.5), share);
        expectNear({0, 0, 0, 0, 100}, compareSurfaces(flat.pZone, tilted.pZone, 1.0 + 1e-6), share);
        expectNear(wedges, compareSurfaces(flat.pZone, tilted.pZone, -1), share);
        expectNear(wedges, compareSurfaces(flat.pZone, tilted.pZone, NOT_A_NUMBER), share);
    }
}

TEST(CompareSurfaces, AgreesWithCutAndFill) {
    const auto hills = [](double x, double y) { return 5 * std::sin(0.3 * x) + 3 * std::cos(0.5 * y); };
    const auto others = [](double x, double y) { return 5 * std::sin(0.3 * x + 0.4) + 3 * std::cos(0.5 * y - 0.2); };
    for (const double origin : {0.0, 400000.0}) {
        const auto moved = [origin](const HeightAt& f) {
            return [=](double x, double y) { return f(x - origin, y - origin); };
        };
        Ground before(900, origin, origin + 60, moved(hills), 4);
        Ground after(300, origin + 7, origin + 90, moved(others), 5);
        const std::vector<Segment2> vRing{
            Segment2(Point2(origin + 10, origin + 10, 0), Point2(origin + 50, origin + 14, 0)),
            Segment2(Point2(origin + 50, origin + 14, 0), Point2(origin + 40, origin + 55, 0)),
            Segment2(Point2(origin + 40, origin + 55, 0), Point2(origin + 10, origin + 10, 0))};
        Zone2* pPart = before.mesh.createZone(before.mesh.createConstraint(vRing, CIS_CONSTRAINED_DELAUNAY), ZL_INSIDE);
        Zone2* pRest = zoneDifference(before.pZone, pPart);
        for (Zone2* pZone : {before.pZone, pPart, pRest}) {
            const SurfaceDifference totals = totalsOf(pZone, after.pZone);
            expectNear(totals, compareSurfaces(pZone, after.pZone, 0));
            expectNear(turned(totals), compareSurfaces(after.pZone, pZone, 0));
        }
    }
}

TEST(CompareSurfaces, SeesNoDifferenceInWhatIsEqual) {
    const auto steep = [](double x, double y) { return 1000 + 300 * std::sin(x) - 200 * std::cos(y); };
    Ground ground(3000, 0, 100, steep, 6);
    Ground same(3000, 0, 100, steep, 6);
    expectNear({0, 0, 0, 0, 10000}, compareSurfaces(ground.pZone, ground.pZone, 0));
    expectNear({0, 0, 0, 0, 10000}, compareSurfaces(ground.pZone, same.pZone, 0));
    // One hole more in one plane: other triangles, heights within rounding.
    const auto plane = [](double x, double y) { return 0.3 * x + 0.1 * y + 1e4; };
    const Ground coarse(50, 0, 100, plane, 7), fine(5000, 0, 100, plane, 8);
    const SurfaceDifference d = compareSurfaces(coarse.pZone, fine.pZone, 0);
    EXPECT_EQ(d.cutVolume + d.fillVolume, 0.0);
    EXPECT_NEAR(d.unchangedArea, 10000, 1e-5);
}

/// Equal grids share vertices and edges; edges of grids with different spacings overlap in part. Ground along them must
/// be neither missed nor counted twice.
TEST(CompareSurfaces, RoundsByTheCoordinatesAtThePlace) {
    // A vertex far away makes no difference of a tenth of a millimetre vanish.
    const auto steep = [](double x, double) { return 0.5 * x; };
    Ground before(500, 0, 10, steep, 21);
    Ground after(
        400, 0, 10, [](double x, double) { return 0.5 * x - 1e-4; }, 22);
    const std::vector<Segment2> vSquare = makePolyline({{2, 2, 1}, {8, 2, 4}, {8, 8, 4}, {2, 8, 1}}, true);
    Zone2* pPart = before.mesh.createZone(before.mesh.createConstraint(vSquare, CIS_CONSTRAINED_DELAUNAY), ZL_INSIDE);
    before.mesh.insert(Point2(1e13, 3e12, 0));
    expectNear({36e-4, 0, 36, 0, 0}, compareSurfaces(pPart, after.pZone, 0));
    expectNear({0, 36e-4, 0, 36, 0}, compareSurfaces(after.pZone, pPart, 0));
}

TEST(CompareSurfaces, CountsGroundOnceWhereEdgesCoincide) {
    Random r(9);
    const auto gridOf = [&r](size_t side, double spacing, double height) {
        PointVector vPoints = makeGrid(side, 0, 0, spacing, r);
        for (Point2& point : vPoints) point.set(point.x(), point.y(), height);
        return vPoints;
    };
    for (const double spacing : {1.0, 0.75, 1.5, 0.1}) {
        Taro_2D low, high;
        low.insert(gridOf(31, 1.0, 0));
        const size_t side = static_cast<size_t>(30 / spacing + 1.5);
        high.insert(gridOf(side, 30 / static_cast<double>(side - 1), 2));
        const Zone2 *pLow = low.createZone(nullptr, ZL_GLOBAL), *pHigh = high.createZone(nullptr, ZL_GLOBAL);
        expectNear({0, 1800, 0, 900, 0}, compareSurfaces(pLow, pHigh, 0), 1e-12);
        expectNear({1800, 0, 900, 0, 0}, compareSurfaces(pHigh, pLow, 0), 1e-12);
    }
}

/// Only the borders of some triangles meet the other surface, which may also lie within a single triangle.
TEST(CompareSurfaces, FindsGroundThatOnlyBordersReach) {
    const auto flat = [](double height) { return [height](double, double) { return height; }; };
    const Ground small(20, 100, 101, flat(1), 10);
    Taro_2D coarse;
    coarse.insert({Point2(-1e4, -1e4, 0), Point2(3e4, -1e4, 0), Point2(-1e4, 3e4, 0)});
    expectNear({1, 0, 1, 0, 0}, compareSurfaces(small.pZone, coarse.createZone(nullptr, ZL_GLOBAL), 0));
    expectNear({0, 1, 0, 1, 0}, compareSurfaces(coarse.createZone(nullptr, ZL_GLOBAL), small.pZone, 0));
    // A ribbon across the square, and a ribbon that cuts off its corner.
    for (const auto& [p, q] : {std::make_pair(Point2(-1e3, 100.4, 0), Point2(1e3, 100.4, 0)),
                               std::make_pair(Point2(0, 200.1, 0), Point2(200.1, 0, 0))}) {
        Taro_2D ribbon;
        ribbon.insert({p, q, Point2(p.x(), p.y() + 0.25, 0), Point2(q.x(), q.y() + 0.25, 0)});
        Zone2* pRibbon = ribbon.createZone(nullptr, ZL_GLOBAL);
        // The area between two parallel lines through the square.
        const double area = p.y() < 150 ? 0.25 : 0.5 * 0.35 * 0.35 - 0.5 * 0.1 * 0.1;
        expectNear({area, 0, area, 0, 0}, compareSurfaces(small.pZone, pRibbon, 0), 1e-9);
    }
}

/// Most triangles of one surface are in a corner of the other, and the rest are large.
TEST(CompareSurfaces, FollowsLargeTrianglesOverManySmallOnes) {
    const Ground square(
        400, 0, 100, [](double, double) { return 1.0; }, 14);
    Random r(15);
    PointVector vPoints = makeScattered(2000, 0, 0, 1, 1, r);
    for (Point2& point : vPoints) point.set(point.x(), point.y(), 0);
    for (const Point2& corner : {Point2(-50, -50, 0), Point2(300, -50, 0), Point2(-50, 300, 0)})
        vPoints.push_back(corner);
    Taro_2D clustered;
    clustered.insert(vPoints);
    const Zone2* pClustered = clustered.createZone(nullptr, ZL_GLOBAL);
    expectNear({1e4, 0, 1e4, 0, 0}, compareSurfaces(square.pZone, pClustered, 0), 1e-12);
}

/// At a corner of a thin triangle the common parts may be cut off from the others by parts that count as rounding.
TEST(CompareSurfaces, CountsAllOfThinTriangles) {
    for (const unsigned seed : {1163u, 4350u, 4956u}) {
        Random r(seed);
        const auto fill = [&r](Taro_2D& mesh, unsigned n) {
            PointVector vPoints = {Point2(0, 0, 0), Point2(0, 1, 0), Point2(30, 0, 0), Point2(30, 1, 0)};
            for (unsigned k = 0; k < n; ++k) {
                const double x = integer(r, 0, 30);
                const double y = 1e-7 * integer(r, 0, 2) + (integer(r, 0, 1) > 0 ? uniform(r, 0, 1 - 1e-6) : 0.0);
                vPoints.emplace_back(x, y, 0);
            }
            mesh.insert(vPoints);
            return mesh.createZone(nullptr, ZL_GLOBAL);
        };
        Taro_2D before, after;
        const Zone2* pBefore = fill(before, 5 + seed % 380);
        EXPECT_NEAR(compareSurfaces(pBefore, fill(after, 5 + seed * 7 % 390), 0).unchangedArea, 30, 1e-9) << seed;
    }
}

TEST(CompareSurfaces, CountsTrianglesWhoseCentresRoundOutOfThem) {
    Random r(27);
    PointVector vPoints;
    for (int k = 0; k < 300; ++k) {
        const double x = 1e15 + integer(r, 0, 40), y = 3e15 + 0.5 * integer(r, 0, 80);
        vPoints.emplace_back(x, y, integer(r, 0, 1));
    }
    Taro_2D mesh;
    mesh.insert(vPoints);
    Zone2* pZone = mesh.createZone(nullptr, ZL_GLOBAL);
    EXPECT_NEAR(compareSurfaces(pZone, pZone, 0).unchangedArea, pZone->getArea2D(), 1e-6);
}

/// Seen from the corners of large triangles, the corners of a tiny one are all at one place.
TEST(CompareSurfaces, CountsGroundOnceAroundTinyTriangles) {
    const Ground before(
        30, -1e6, 1e6, [](double, double) { return 3.0; }, 12);
    Ground after(
        0, -1e6, 1e6, [](double, double) { return 1.0; }, 1);
    for (const double angle : {0.1, 2.0, 4.5}) {
        after.mesh.insert(Point2(1e-12 * std::cos(angle), 1e-12 * std::sin(angle), 1));
    }
    expectNear({8e12, 0, 4e12, 0, 0}, compareSurfaces(before.pZone, after.pZone, 0));
    expectNear({0, 8e12, 0, 4e12, 0}, compareSurfaces(after.pZone, before.pZone, 0));
}

TEST(CompareSurfaces, GivesTheSameForAnyNumberOfThreads) {
    Ground before(
        scaled(20000), 0, 100, [](double x, double y) { return x * y; }, 11);
    Ground after(
        scaled(15000), 10, 120, [](double x, double y) { return 100 * std::sin(x + y); }, 12);
    const SurfaceDifference one = compareSurfaces(before.pZone, after.pZone, 0.1);
    for (const int numCPU : {2, 7, 0}) {
        const SurfaceDifference several = compareSurfaces(before.pZone, after.pZone, 0.1, numCPU);
        EXPECT_EQ(std::memcmp(&one, &several, sizeof one), 0);
    }
}

TEST(CompareSurfaces, AnswersWrongCalls) {
    const auto flat = [](double, double) { return 1.0; };
    const Ground ground(10, 0, 1, flat, 13), aside(10, 5, 6, flat, 14);
    const auto compareWith = [&](const Zone2* pZone, const char* warning) {
        const StdoutCapture capture;
        const SurfaceDifference d = compareSurfaces(ground.pZone, pZone, 0);
        EXPECT_TRUE(contains(capture, warning));
        return d;
    };
    EXPECT_TRUE(std::isnan(compareWith(nullptr, "A zone is NULL").cutVolume));
    EXPECT_EQ(compareWith(aside.pZone, "Zones do not overlap").unchangedArea, 0.0);
    EXPECT_EQ(compareWith(zoneDifference(aside.pZone, aside.pZone), "Zones do not overlap").cutArea, 0.0);
}

TEST(CompareSurfaces, ReportsToBothAndEndsByEitherFlag) {
    Ground before(
        20000, 0, 100, [](double x, double y) { return x * y; }, 15);
    Ground after(
        20000, 0, 100, [](double x, double y) { return x + y; }, 16);
    for (Ground* pGround : {&before, &after}) {
        Recorder recorder;
        pGround->mesh.subscribe(MT_PROGRESS, &recorder);
        compareSurfaces(before.pZone, after.pZone, 0);
        EXPECT_TRUE(std::is_sorted(recorder.vValues.begin(), recorder.vValues.end()));
        ASSERT_GT(recorder.vValues.size(), 3u);
        EXPECT_EQ(recorder.vValues.back(), 1.0);
        std::atomic<bool> bCancel{true};
        Progress& progress = pGround->mesh.getImpl()->getProgress();
        progress.setCancelFlag(&bCancel);
        EXPECT_THROW(compareSurfaces(before.pZone, after.pZone, 0, 2), TaroCancelled);
        progress.setCancelFlag(nullptr);
        pGround->mesh.unsubscribe(MT_PROGRESS, &recorder);
    }
}

TEST(CutAndFill, GivesAreasAndDepthsOfComponents) {
    Ground flat(
        300, 0, 10, [](double, double) { return 0.0; }, 17);
    Ground tilted(
        200, 0, 10, [](double x, double) { return 0.2 * x - 1; }, 18);
    CutAndFill caf(flat.pZone, tilted.pZone, 0);
    SurfaceDifference totals{1, 1, 1, 1, 1};
    caf.getTotals(totals);
    EXPECT_EQ(totals.cutArea + totals.fillArea + totals.unchangedArea + totals.cutVolume + totals.fillVolume, 0.0);
    caf.go();
    caf.getTotals(totals);
    expectNear({25, 25, 50, 50, 0}, totals);
    ASSERT_EQ(caf.getNumberOfComponents(), 2u);
    for (size_t i = 0; i < 2; ++i) {
        EXPECT_NEAR(caf.getComponent(i)->getArea2D(), 50, 1e-9);
        EXPECT_NEAR(caf.getComponent(i)->getMaxHeightDifference(), 1, 1e-12);
    }
    CutAndFill same(flat.pZone, flat.pZone, 0);
    same.go();
    ASSERT_EQ(same.getNumberOfComponents(), 1u);
    EXPECT_EQ(same.getComponent(0)->getMaxHeightDifference(), 0.0);
    EXPECT_NEAR(same.getComponent(0)->getArea2D(), 100, 1e-9);
}
