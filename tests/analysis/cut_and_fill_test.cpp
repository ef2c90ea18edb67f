#include "taro25d/CutAndFill.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <memory>
#include <string>

#include "analysis/CutAndFillImpl.h"
#include "support/capture.h"
#include "support/earthworks.h"
#include "support/files.h"
#include "support/mesh.h"
#include "support/polygons.h"
#include "taro25d/Taro_2D.h"
#include "taro25d/Zone2.h"

using namespace LUMO_TARO25D;
using namespace earthworks;

namespace {

/// Every byte of vertices and triangles.
std::string dump(const Taro_2D& mesh) {
    std::string bytes;
    for (const Point2* p : verticesOf(mesh)) bytes.append(reinterpret_cast<const char*>(p), sizeof(*p));
    for (const Triangle2* p : trianglesOf(mesh)) bytes.append(reinterpret_cast<const char*>(p), sizeof(*p));
    return bytes;
}

/// Two thirds of the triangles.
Zone2* makeRagged(Surface& surface, Random& r) {
    return surface.mesh.createZone(someOf(trianglesOf(surface.mesh), 2 / 3.0, r), false);
}

/// Points at 40 of 49 places of a lattice, each moved by itself, with heights from 0 to 2.
struct Family {
    const char* name;
    double origin, spacing;
    double (*move)(Random&);
    bool bRoundHeights;

    PointVector make(Random& r) const {
        PointVector vPoints;
        for (int i = 0; i < 49; ++i) {
            const double x = origin + (spacing * (i % 7) + move(r)), y = origin + (spacing * (i / 7) + move(r));
            const double z = uniform(r, 0, 2);
            vPoints.emplace_back(x, y, bRoundHeights ? std::round(z) : z);
        }
        std::shuffle(vPoints.begin(), vPoints.end(), r);
        vPoints.resize(40);
        return vPoints;
    }
};

}  // namespace

TEST(CutAndFill, AgreesWithAllAgainstAll) {
    const Family aFamilies[] = {
        {"scattered", 0, 10, [](Random& r) { return uniform(r, -5, 5); }, false},
        {"scattered far off", 5e6, 10, [](Random& r) { return uniform(r, -5, 5); }, false},
        {"scattered, low", 1e5, 10, [](Random& r) { return uniform(r, -5, 5); }, true},
        {"lattice", 0, 1, [](Random&) { return 0.0; }, true},
        {"lattice far off", 5e6, 1, [](Random&) { return 0.0; }, true},
        {"half lattice", 0, 1, [](Random& r) { return 0.5 * integer(r, 0, 1); }, true},
        {"lattice with ulps", 9, 1, [](Random& r) { return std::ldexp(integer(r, -1, 1), -49); }, true},
        {"lattice with ulps far off", 5e6, 1, [](Random& r) { return std::ldexp(integer(r, -1, 1), -30); }, true},
        {"lattice, jittered", 0, 1000, [](Random& r) { return uniform(r, -1e-7, 1e-7); }, true},
        {"lattice, jittered less", 0, 1, [](Random& r) { return uniform(r, -1e-11, 1e-11); }, true},
    };
    size_t numCases = 0, numWarnings = 0;
    for (const Family& family : aFamilies) {
        for (unsigned seed = 1; seed <= scaled(200) + 2; ++seed) {
            SCOPED_TRACE(std::string(family.name) + ", seed " + std::to_string(seed));
            Random r(seed);
            Surface before(family.make(r)), after(family.make(r));
            if (seed % 2) {  // with holes, parts, and corners that touch
                before.pZone = makeRagged(before, r);
                after.pZone = makeRagged(after, r);
            }
            const Volumes expected = intersectAll(before.pZone, after.pZone);
            const std::string bytesBefore = dump(before.mesh), bytesAfter = dump(after.mesh);
            const StdoutCapture capture;
            const Volumes volumes = compare(before.pZone, after.pZone);
            ++numCases;
            if (contains(capture, "insufficient numeric accuracy")) {
                ++numWarnings;
            } else {
                const Bbox2 box = before.mesh.computeBoundingBox();
                const double area = (box.getMaxX() - box.getMinX()) * (box.getMaxY() - box.getMinY());
                EXPECT_NEAR(volumes.cut, expected.cut, 1e-9 * 2 * area);
                EXPECT_NEAR(volumes.fill, expected.fill, 1e-9 * 2 * area);
            }
            EXPECT_TRUE(bytesBefore == dump(before.mesh) && bytesAfter == dump(after.mesh));
        }
    }
    EXPECT_LE(numWarnings, numCases / 50);
}

namespace {

struct ClosedForm {
    const char* name;
    struct {
        double cut, fill;
        size_t numCut, numFill;
    } expected;
    double range;
    SegmentVector vBreaklines;
    HeightFunction before, after;
};

/// Upright lines through the square.
SegmentVector makeUprights(const std::vector<double>& vX) {
    SegmentVector vLines;
    for (const double x : vX) vLines.push_back(makeSegment(x, 0, x, 10));
    return vLines;
}

/// The sides of a square around (5, 5), and lines from there to its corners.
SegmentVector makePyramid(double half) {
    const PointVector vCorners = makeRectangle(5 - half, 5 - half, 5 + half, 5 + half);
    SegmentVector vLines = makeSides(vCorners);
    for (const Point2& corner : vCorners) vLines.emplace_back(corner, Point2(5, 5, 0));
    return vLines;
}

double pyramid(double x, double y, double half) {
    return std::max(0.0, 1 - std::max(std::abs(x - 5), std::abs(y - 5)) / half);
}

/// Over the square from 0 to 10.
std::vector<ClosedForm> makeClosedForms() {
    const auto flat = [](double, double) { return 0.0; };
    const auto slope = [](double x, double y) { return 100 + 0.3 * x - 0.1 * y; };
    const auto above = [=](double height) { return [=](double x, double y) { return slope(x, y) + height; }; };
    const auto tilted = [=](double x, double y) { return slope(x, y) + 0.01 * (x + 2 * y - 15); };
    const auto hill = [](double height, double half) {
        return [=](double x, double y) { return height * pyramid(x, y, half); };
    };
    const auto hillInPit = [](double x, double y) { return 6 * pyramid(x, y, 2) - 3 * pyramid(x, y, 4); };
    const auto diagonal = [](double x, double y) { return x - y; };
    const auto dam = [](double x, double) { return std::clamp(3 - std::abs(x - 5), 0.0, 2.0); };
    const auto step = [](double at) { return [=](double x, double) { return std::clamp(1000 * (x - at), 0.0, 1.0); }; };
    const auto wave = [](double x, double) { return std::abs(std::fmod(x, 4) - 2) - 1; };
    // Half the integral of 0.01 |u + 2 v| over -5 < u, v < 5.
    const double tilt = 0.0025 * (1000 + 250 / 3.0);
    return {
        {"identical", {0, 0, 0, 0}, 4, {}, slope, slope},
        {"raised", {0, 150, 0, 1}, 4, {}, slope, above(1.5)},
        {"lowered", {25, 0, 1, 0}, 4, {}, slope, above(-0.25)},
        {"crossing", {40, 90, 1, 1}, 5, {}, flat, [](double x, double) { return 0.5 * (x - 4); }},
        {"crossing in a diagonal", {500 / 3.0, 500 / 3.0, 1, 1}, 10, {}, flat, diagonal},
        {"crossing high up", {tilt, tilt, 1, 1}, 4, {}, slope, tilted},
        {"hill in a pit", {0, 60, 0, 1}, 5, makePyramid(3), hill(-3, 3), hill(2, 3)},
        {"smaller hill in a pit", {0, 32, 0, 1}, 6, joined(makePyramid(4), makePyramid(2)), hill(-3, 4), hillInPit},
        {"dam", {0, 80, 0, 1}, 2, makeUprights({2, 4, 6, 8}), flat, dam},
        {"moved step", {40, 0, 1, 0}, 1, makeUprights({3, 3.001, 7, 7.001}), step(3), step(7)},
        {"wave", {25, 25, 3, 3}, 2, makeUprights({2, 4, 6, 8}), flat, wave},
    };
}

/// The surface of a function over that square, with some random points, and all of it moved.
std::unique_ptr<Surface> makeSurface(const HeightFunction& f, SegmentVector vBreaklines, unsigned seed, double origin) {
    Random r(seed);
    const auto move = [origin](const Point2& p) { return Point2(origin + p.x(), origin + p.y(), 0); };
    PointVector vRectangle = makeRectangle(0, 0, 10, 10), vExtra = makeScattered(60, 0, 0, 10, 10, r);
    for (Point2& p : vRectangle) p = move(p);
    for (Point2& p : vExtra) p = move(p);
    for (Segment2& s : vBreaklines) s = Segment2(move(s.getSrc()), move(s.getTrg()));
    const auto moved = [&](double x, double y) { return f(x - origin, y - origin); };
    return std::make_unique<Surface>(vRectangle, moved, vExtra, vBreaklines);
}

}  // namespace

TEST(CutAndFill, AgreesWithClosedForms) {
    for (const auto& [name, expected, range, vBreaklines, before, after] : makeClosedForms()) {
        for (const double origin : {0.0, 5e6}) {
            for (unsigned seed = 1; seed <= 3; ++seed) {
                SCOPED_TRACE(testing::Message() << name << " at " << origin << ", seed " << seed);
                const auto pBefore = makeSurface(before, vBreaklines, seed, origin),
                           pAfter = makeSurface(after, vBreaklines, 10 + seed, origin);
                const StdoutCapture capture;
                CutAndFill caf(pBefore->pZone, pAfter->pZone, 1e-6);
                caf.go();
                const Volumes volumes = check(caf);
                EXPECT_NEAR(volumes.cut, expected.cut, 1e-9 * 100 * range);
                EXPECT_NEAR(volumes.fill, expected.fill, 1e-9 * 100 * range);
                size_t aNumbers[3] = {0, 0, 0};
                for (size_t i = 0; i < caf.getNumberOfComponents(); ++i) ++aNumbers[caf.getComponent(i)->getCAFType()];
                EXPECT_EQ(aNumbers[CT_CUT], expected.numCut);
                EXPECT_EQ(aNumbers[CT_FILL], expected.numFill);
            }
        }
    }
}

namespace {

HeightFunction plane(double z) {
    return [z](double x, double) { return z + 0.5 * x; };
}

Zone2* makeRing(Surface& surface, const PointVector& vOuter, const PointVector& vInner) {
    return zoneDifference(surface.inside(vOuter), surface.inside(vInner));
}

}  // namespace

TEST(CutAndFill, ComparesWhatIsInBothZones) {
    Random r(1);
    const PointVector vExtra = makeScattered(50, 0, 0, 10, 10, r);
    const auto square = makeRectangle(0, 0, 10, 10);
    const auto makePair = [&] {
        return std::make_pair(std::make_unique<Surface>(square, plane(3), vExtra),
                              std::make_unique<Surface>(square, plane(1), PointVector()));
    };
    const auto cutBetween = [&](const PointVector& vBefore, const PointVector& vAfter) {
        const auto [pBefore, pAfter] = makePair();
        return compare(pBefore->inside(vBefore), pAfter->inside(vAfter)).cut;
    };
    EXPECT_NEAR(cutBetween(makeRectangle(1, 1, 6, 9), makeRectangle(4, 2, 10, 10)), 2 * 2 * 7, 1e-7);
    EXPECT_NEAR(cutBetween(makeRectangle(1, 4, 9, 6), makeRectangle(4, 1, 6, 9)), 2 * 2 * 2, 1e-7) << "a cross";
    EXPECT_NEAR(cutBetween(makeRectangle(1, 1, 9, 9), {{3, 3, 0}, {7, 3, 0}, {5, 7, 0}}), 2 * 8, 1e-7) << "inside";
    const PointVector vComb{{1, 1, 0}, {9, 1, 0}, {9, 9, 0}, {7, 9, 0}, {7, 3, 0}, {3, 3, 0}, {3, 9, 0}, {1, 9, 0}};
    EXPECT_NEAR(cutBetween(vComb, makeRectangle(0, 5, 10, 8)), 2 * 12, 1e-7) << "two parts";
    {
        const auto [pBefore, pAfter] = makePair();
        CutAndFill caf(makeRing(*pBefore, makeRectangle(1, 1, 9, 9), makeRectangle(3, 3, 6, 6)),
                       makeRing(*pAfter, makeRectangle(2, 2, 10, 10), makeRectangle(5, 5, 7, 7)), 0);
        caf.go();
        EXPECT_NEAR(check(caf).cut, 2 * (49 - 9 - 4 + 1), 1e-7) << "holes";
        EXPECT_EQ(caf.getNumberOfComponents(), 1u);
    }
    {  // of one triangulation, and in it
        const auto pBefore = std::move(makePair().first);
        CutAndFill caf(pBefore->pZone, pBefore->inside(makeRectangle(2, 2, 5, 5)), 0);
        caf.go();
        check(caf);
        ASSERT_EQ(caf.getNumberOfComponents(), 1u);
        EXPECT_EQ(caf.getComponent(0)->getCAFType(), CT_NO_CHANGE);
    }
}

TEST(CutAndFill, HasNoComponentsWhereThereIsNothingToCompare) {
    Surface left(makeRectangle(0, 0, 1, 1), plane(0), {}), right(makeRectangle(1, 0, 2, 1), plane(1), {});
    Surface corner(makeRectangle(1, 1, 2, 2), plane(1), {}), far(makeRectangle(7, 7, 8, 8), plane(1), {});
    Surface inner(makeRectangle(0.2, 0.2, 0.8, 0.8), plane(1), {}),
        turned({{1, 0.5, 0}, {3, 0, 0}, {3, 1, 0}}, plane(1), {});
    Zone2* pNothing = zoneDifference(left.pZone, left.pZone);
    Zone2* pRing = left.inside(makeRectangle(0.2, 0.2, 0.8, 0.8));
    const struct {
        Zone2 *pBefore, *pAfter;
        const char* message;
    } aCases[] = {
        {left.pZone, right.pZone, "Zones do not overlap, nothing to do"},
        {left.pZone, corner.pZone, "Zones do not overlap, nothing to do"},
        {left.pZone, turned.pZone, "Zones do not overlap, nothing to do"},
        {left.pZone, far.pZone, "Zones do not overlap, nothing to do"},
        {zoneDifference(left.pZone, pRing), inner.pZone, "Zones do not overlap, nothing to do"},
        {pNothing, left.pZone, "Zones do not overlap, nothing to do"},
        {left.pZone, pNothing, "Zones do not overlap, nothing to do"},
        {nullptr, left.pZone, "NULL"},
        {left.pZone, nullptr, "NULL"},
    };
    for (const auto& c : aCases) {
        const StdoutCapture capture;
        CutAndFill caf(c.pBefore, c.pAfter, 0);
        caf.go();
        check(caf);
        EXPECT_EQ(caf.getNumberOfComponents(), 0u);
        EXPECT_TRUE(contains(capture, c.message));
        EXPECT_EQ(capture.text().find("WARNING"), capture.text().rfind("WARNING")) << "more than one warning";
    }
}

TEST(CutAndFill, ComparesZonesThatHardlyOverlap) {
    for (const double overlap : {1e-12, 1e-9, 1e-7, 1e-6}) {
        for (unsigned seed = 1; seed <= 20; ++seed) {  // the borders meet at other points, and fold
            SCOPED_TRACE(std::to_string(overlap) + ", seed " + std::to_string(seed));
            Random r(seed);
            const auto makeSurface = [&r](double x) {
                PointVector vPoints = makeRectangle(x, 0, x + 5, 5);
                for (int i = 1; i < 5; ++i)
                    for (const double side : {0, 5}) vPoints.emplace_back(x + side, i + uniform(r, -0.3, 0.3), 2);
                return std::make_unique<Surface>(vPoints);
            };
            const auto pBefore = makeSurface(0), pAfter = makeSurface(5 - overlap);
            const StdoutCapture capture;
            const Volumes volumes = compare(pBefore->pZone, pAfter->pZone);
            EXPECT_LE(volumes.cut + volumes.fill, 1e-4);
        }
    }
}

TEST(CutAndFill, TakesHeightsWhoseDifferenceOverflows) {
    Surface before(makeRectangle(0, 0, 10, 10), [](double x, double) { return x > 5 ? 1.7e308 : -1.7e308; }, {});
    Surface after(makeRectangle(0, 0, 10, 10), [](double x, double) { return x > 5 ? -1.7e308 : 1.7e308; }, {});
    const StdoutCapture capture;
    CutAndFill caf(before.pZone, after.pZone, 0);
    caf.go();
    EXPECT_GE(caf.getNumberOfComponents(), 2u);
}

namespace {

/// Ground with a level platform, and slopes of 1 in 2 around it.
double graded(const Point2& p, double x, double y, double half, double level) {
    const double beside = std::max({0.0, std::abs(p.x() - x) - half, std::abs(p.y() - y) - half});
    return std::clamp(p.z(), level - 0.5 * beside, level + 0.5 * beside);
}

}  // namespace

TEST(CutAndFill, OfALandslide) {
    if (!hasDataFolder()) GTEST_SKIP() << "without TARO25D_DATA_DIR";
    Surface before(readRealPoints("landslide_pre10m")), after(readRealPoints("landslide_post10m"));
    ASSERT_EQ(before.mesh.numberOfPoints(), 9638u);
    const Volumes volumes = compare(before.pZone, after.pZone);
    EXPECT_GE(volumes.fill, 19774.6);
    EXPECT_LE(volumes.fill, 23605.3);
    EXPECT_GE(volumes.cut, 24024.4);
    EXPECT_LE(volumes.cut, 27083.2);
    const double exact = volumeUnder(after.pZone) - volumeUnder(before.pZone);
    EXPECT_NEAR(volumes.fill - volumes.cut, exact, 1e-6 * std::abs(exact));
}

TEST(CutAndFill, OfGradedGroundIsTheIntegral) {
    const size_t side = std::max<size_t>(30, scaled(120));
    const PointVector vGround = readTerrain(side, side, 1);
    ASSERT_EQ(vGround.size(), side * side);
    const double x = 74.57 * double(side) / 2, y = -92.47 * double(side) / 2;
    Random r(7);
    // The graded ground, seen through half of the points, and others on it.
    Surface before(vGround);
    PointVector vGraded;
    for (const Point2& p : vGround) {
        const bool bOnHull =
            p.x() == 0 || p.y() == 0 || p.x() > 74.57 * (double(side) - 1.5) || p.y() < -92.47 * (double(side) - 1.5);
        Point2 q = p;
        if (!bOnHull && uniform(r, 0, 1) < 0.5) {
            q.set(p.x() + uniform(r, -30, 30), p.y() + uniform(r, -30, 30), 0);
            double z = 0;
            ASSERT_TRUE(before.mesh.getHeight(q.x(), q.y(), z));
            q.set(q.x(), q.y(), z);
        }
        q.set(q.x(), q.y(), graded(q, x, y, 600, 450));
        vGraded.push_back(q);
    }
    Surface after(vGraded);
    const StdoutCapture capture;
    CutAndFill caf(before.pZone, after.pZone, 0);
    caf.go();
    const Volumes volumes = check(caf);
    const double exact = volumeUnder(after.pZone) - volumeUnder(before.pZone);
    EXPECT_NEAR(volumes.fill - volumes.cut, exact, 1e-6 * std::abs(exact));
    EXPECT_GT(std::min(volumes.cut, volumes.fill), 1e5);
}

// ---- The object ----

TEST(CutAndFill, DoesNotDependOnTheOrderOfThePoints) {
    Random r(3);
    PointVector aPoints[2];
    for (PointVector& vPoints : aPoints) {
        vPoints = joined(makeRectangle(0, 0, 100, 100), makeScattered(300, 0, 0, 100, 100, r, 10));
    }
    std::vector<double> aVolumes[2];
    for (auto& vVolumes : aVolumes) {
        Surface before(aPoints[0]), after(aPoints[1]);
        CutAndFill caf(before.pZone, after.pZone, 0);
        caf.go();
        check(caf);
        for (size_t i = 0; i < caf.getNumberOfComponents(); ++i) vVolumes.push_back(caf.getComponent(i)->getVolume());
        for (PointVector& vPoints : aPoints) std::shuffle(vPoints.begin(), vPoints.end(), r);
    }
    ASSERT_GT(aVolumes[0].size(), 20u);
    ASSERT_EQ(aVolumes[0].size(), aVolumes[1].size());
    for (size_t i = 0; i < aVolumes[0].size(); ++i) EXPECT_NEAR(aVolumes[0][i], aVolumes[1][i], 1e-6) << i;
}
