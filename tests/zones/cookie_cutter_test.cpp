#include <gtest/gtest.h>

#include <algorithm>

#include "mesh/Dt2.h"
#include "support/capture.h"
#include "support/constraint_oracle.h"
#include "support/cut_surfaces.h"
#include "support/files.h"
#include "support/mesh.h"
#include "support/polygons.h"
#include "taro25d/ConstraintGraph2.h"
#include "taro25d/Taro_2D.h"
#include "taro25d/Zone2.h"
#include "taro25d/freeFunctions.h"

using namespace LUMO_TARO25D;
using namespace cut_surfaces;

namespace {

// ---------------------------------------------------------------------------------------------------------------------
// The cookie cutter

TEST(CookieCutter, TakesWhatIsInside) {
    for (std::uint64_t seed = 1; seed <= 60; ++seed) {
        SCOPED_TRACE("seed " + std::to_string(seed));
        Surface surface(generators[seed % 3 == 0 ? 3 : 0], 200, seed);
        Random& r = surface.random;
        const Point2 center = surface.randomPlace(0.5);
        const double radius = (surface.box.getMaxX() - surface.box.getMinX()) * uniform(r, 0.05, 1);
        PointVector vCorners = makeStar(5 + seed % 20, center.x(), center.y(), radius, r);
        const VertexVector vHull = hullOf(surface.mesh, false);
        PointVector vExpected = vCorners;
        for (size_t i = 0; i < vHull.size(); ++i)
            vExpected = clip(vExpected, *vHull[i], *vHull[(i + 1) % vHull.size()]);
        SegmentVector vSides = makeSides(vCorners);
        std::shuffle(vSides.begin(), vSides.end(), r);
        for (size_t i = 0; i < vSides.size(); i += 2) vSides[i].swapSrcTrg();
        Zone2* pZone = surface.mesh.createZone_cookieCutter(vSides);
        EXPECT_TRUE(surface.isSound());
        EXPECT_TRUE(surface.isUnchanged());
        const double area = vExpected.empty() ? 0 : getArea(vExpected);
        if (!pZone) {
            EXPECT_NEAR(area, 0, 1e-9);
            continue;
        }
        EXPECT_EQ(pZone->getZoneLocation(), ZL_BOUNDED);
        EXPECT_NEAR(pZone->getArea2D(), area, 1e-8 * area);
        for (const Triangle2* pT : trianglesOf(pZone)) {
            EXPECT_TRUE(pT->getArea2D() < 1e-6 * area || isInside(vSides, *pT));
        }
        surface.mesh.insert(center);
        EXPECT_NEAR(pZone->getArea2D(), area, 1e-8 * area);
    }
}

TEST(CookieCutter, MeetsTheBorderOfTheSurface) {
    const struct {
        PointVector vCorners;
        double area;
    } aCases[] = {
        {makeRectangle(-5, -5, 15, 15), 100},                     // around everything
        {makeRectangle(0, 0, 10, 10), 100},                       // the hull itself
        {makeRectangle(-5, 2, 15, 4), 20},                        // a strip across
        {makeRectangle(0, 0, 3, 3), 9},                           // in a corner
        {makeRectangle(3, -2, 7, 5), 20},                         // two exits over one side
        {{{-5, 5, 0}, {5, -5, 0}, {15, 5, 0}, {5, 15, 0}}, 100},  // touching the corners
        {{{1, 1, 0}, {12, 1, 0}, {12, 9, 0}, {1, 9, 0}, {1, 8, 0}, {11, 8, 0}, {11, 2, 0}, {1, 2, 0}},
         18},                                // two parts
        {makeRectangle(20, 20, 30, 30), 0},  // beside
        {makeRectangle(10, 2, 30, 30), 0},   // touching from outside
    };
    for (const auto& [vCorners, area] : aCases) {
        SCOPED_TRACE(testing::Message() << vCorners[0] << vCorners[2]);
        for (const double angle : {0.0, 0.3}) {
            const auto turned = [angle](const PointVector& vPoints) {
                PointVector vTurned;
                for (const Point2& p : vPoints) {
                    vTurned.emplace_back(p.x() * std::cos(angle) - p.y() * std::sin(angle),
                                         p.x() * std::sin(angle) + p.y() * std::cos(angle), p.z());
                }
                return vTurned;
            };
            Random r(5);
            Surface surface(turned(joined(makeRectangle(0, 0, 10, 10), makeScattered(30, 0, 0, 10, 10, r, 1))));
            Zone2* pZone = surface.mesh.createZone_cookieCutter(makeSides(turned(vCorners)), false);
            EXPECT_NEAR(pZone ? pZone->getArea2D() : 0, area, 1e-9);
            EXPECT_TRUE(surface.isSound());
            EXPECT_TRUE(surface.isUnchanged());
        }
    }
}

TEST(CookieCutter, PassesPointsThatAreOnABreaklineButForRounding) {
    for (std::uint64_t seed = 1; seed <= 100; ++seed) {
        SCOPED_TRACE("seed " + std::to_string(seed));
        Random r(seed);
        const double origin = seed % 2 ? 1e6 : 0;
        const auto place = [&](double from, double to) { return origin + uniform(r, from, to); };
        const auto at = [](const Segment2& line, double t, double z) {
            const Point2 &src = line.getSrc(), &trg = line.getTrg();
            return Point2(src.x() + t * (trg.x() - src.x()), src.y() + t * (trg.y() - src.y()), z);
        };
        PointVector vPoints = makeRectangle(origin, origin, origin + 100, origin + 100);
        for (int i = 0; i < 60; ++i) vPoints.emplace_back(place(0, 100), place(0, 100), uniform(r, 0, 10));
        SegmentVector vLines;
        for (std::uint64_t k = 0; k <= seed % 3; ++k) {
            const Point2 src(place(5, 20), place(0, 100), 0), trg(place(80, 95), place(0, 100), 0);
            vLines.emplace_back(src, trg);
            // At other heights than the line.
            for (int i = 1; i < 8; ++i) vPoints.push_back(at(vLines[k], i / 8.0, uniform(r, 0, 10)));
        }
        Surface surface(vPoints);
        surface.mesh.createConstraint(vLines, CIS_CONSTRAINED_DELAUNAY);
        surface.takeHeights();
        PointVector vCorners = makeStar(7, origin + 50, origin + 50, 45, r);
        if (seed % 3 == 0) {  // one side on the line
            const bool bBelow = at(vLines[0], 0.5, 0).y() > origin + 50;
            vCorners = {at(vLines[0], 0.3, 0), at(vLines[0], 0.7, 0),
                        Point2(origin + 50, origin + (bBelow ? 5 : 95), 0)};
            if (bBelow) std::swap(vCorners[0], vCorners[1]);
        }
        const StdoutCapture capture;
        const Zone2* pZone = surface.mesh.createZone_cookieCutter(makeSides(vCorners));
        ASSERT_TRUE(pZone) << capture.text();
        EXPECT_EQ(capture.text(), "");
        EXPECT_EQ(countBeside(surface.mesh), 0u);
        const double area = getArea(vCorners);
        EXPECT_NEAR(pZone->getArea2D(), area, 1e-7 * area);
        const Bbox2 wanted = getBox(vCorners), found = pZone->getBoundingBox();
        EXPECT_NEAR(found.getMinX(), wanted.getMinX(), 1e-7);
        EXPECT_NEAR(found.getMinY(), wanted.getMinY(), 1e-7);
        EXPECT_NEAR(found.getMaxX(), wanted.getMaxX(), 1e-7);
        EXPECT_NEAR(found.getMaxY(), wanted.getMaxY(), 1e-7);
        EXPECT_TRUE(surface.isSound());
        EXPECT_TRUE(surface.isUnchanged());
    }
}

TEST(CookieCutter, TakesVerticesWithoutAHeight) {
    Surface surface(makeRectangle(0, 0, 10, 10));
    surface.mesh.insert(Point2(3, 4, 0))->set(3, 4, NOT_A_NUMBER);
    const Zone2* pZone = surface.mesh.createZone_cookieCutter(makeSides(makeRectangle(2, 2, 8, 8)));
    ASSERT_TRUE(pZone);
    EXPECT_NEAR(pZone->getArea2D(), 36, 1e-12);
}

TEST(CookieCutter, RefusesWhatIsNoSimplePolygon) {
    const Point2 a(1, 1, 0), b(5, 1, 0), c(5, 5, 0), d(1, 5, 0), e(9, 9, 0);
    EXPECT_TRUE(Dt2::isSimplePolygon(makeSides({a, b, c, d})));
    EXPECT_TRUE(Dt2::isSimplePolygon({Segment2(c, b), Segment2(d, a), Segment2(b, a), Segment2(d, c)}));
    const SegmentVector aBad[] = {
        {},
        {Segment2(a, b), Segment2(b, a)},
        {Segment2(a, b), Segment2(b, c), Segment2(c, d)},            // open
        makeSides({a, c, b, d}),                                     // crosses itself
        makeSides({a, e, b, c}),                                     // a corner on a side
        makeSides({a, c, e}),                                        // no area
        joined(makeSides({a, b, d}), {Segment2(b, e)}),              // a tail
        joined(makeSides({a, b, d}), makeSides({c, e, {9, 5, 0}})),  // two loops
        makeSides({a, b, b, c}),                                     // a side of length zero
        makeSides({a, b, {5, NAN, 0}}),
        makeSides({a, b, c, {3, 3, 0}, d, {3, 3, 0}}),  // a vertex twice
        joined(makeSides({a, b, c}), makeSides({a, b, c})),
    };
    Taro_2D mesh;
    mesh.insert({{0, 0, 0}, {10, 0, 1}, {10, 10, 0}, {0, 10, 1}});
    for (const SegmentVector& vSegments : aBad) {
        EXPECT_FALSE(Dt2::isSimplePolygon(vSegments));
        const StdoutCapture capture;
        EXPECT_EQ(mesh.createZone_cookieCutter(vSegments), nullptr);
        EXPECT_TRUE(
            contains(capture, "Dt2::createZone_cookieCutter(..), WARNING: the segments form no simple polygon"));
        EXPECT_EQ(mesh.createZone_cookieCutter(vSegments, false), nullptr);
    }
    EXPECT_EQ(mesh.numberOfPoints(), 4u);
    EXPECT_EQ(mesh.numberOfTriangles(), 2u);
    const StdoutCapture capture;
    EXPECT_NE(mesh.createZone_cookieCutter(makeSides({a, b, c, d})), nullptr);
    EXPECT_EQ(capture.text(), "");
}

/// Corners a few units in the last place apart, so that a cut cannot keep to its segment.
TEST(CookieCutter, IsSilentAboutRoundingIfToldSo) {
    const auto at = [](int x, int y, double z) {
        return Point2(1e6 + std::ldexp(x, -33), 1e6 + std::ldexp(y, -33), z);
    };
    for (const bool bVerbose : {false, true}) {
        Taro_2D mesh;
        mesh.insert({at(3, 11, 2), at(8, 7, 3), at(1, 1, 4)});
        mesh.createConstraint({Segment2(at(0, 0, 1), at(13, 12, 2))}, CIS_CONSTRAINED_DELAUNAY);
        const StdoutCapture capture;
        mesh.createZone_cookieCutter(makeSides({at(-22, 18, 0), at(6, 10, 0), at(10, 0, 0)}), bVerbose);
        EXPECT_EQ(capture.text().empty(), !bVerbose) << capture.text();
    }
}

TEST(CookieCutter, CutsALakeOutOfATerrain) {
    const SegmentVector vLake = readRealSegments("lake_superior");
    if (vLake.empty()) GTEST_SKIP() << "without TARO25D_DATA_DIR";
    const std::vector<PointVector> vRings = ringsOf(vLake);
    const PointVector& vShore = *std::max_element(vRings.begin(), vRings.end(),
                                                  [](const auto& v, const auto& w) { return v.size() < w.size(); });
    Bbox2 box;
    box.add(vShore);
    Random r(9);
    PointVector vCorners;
    box.getCorners(vCorners);
    Surface surface(
        joined(vCorners, makeScattered(5000, box.getMinX(), box.getMinY(), box.getMaxX(), box.getMaxY(), r, 1)));
    Zone2* pZone = surface.mesh.createZone_cookieCutter(makeSides(vShore));
    ASSERT_NE(pZone, nullptr);
    EXPECT_NEAR(pZone->getArea2D(), std::abs(getArea(vShore)), 1e-9);
    EXPECT_TRUE(surface.isSound());
    EXPECT_TRUE(surface.isUnchanged());
}

}  // namespace
