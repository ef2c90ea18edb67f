#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <set>
#include <string>
#include <vector>

#include "support/capture.h"
#include "support/exact.h"
#include "support/files.h"
#include "support/mesh.h"
#include "support/polygons.h"
#include "taro25d/AcceptExperimentalFeature.h"
#include "taro25d/ConstraintGraph2.h"
#include "taro25d/Taro_2D.h"
#include "taro25d/Zone2.h"

// The inside of rings that cross themselves, touch themselves, and retrace themselves.

using namespace LUMO_TARO25D;

namespace {

using TriangleSet = std::set<const Triangle2*>;

TriangleSet setOf(const Zone2* pZone) {
    const TriangleVector vTriangles = trianglesOf(pZone);
    return TriangleSet(vTriangles.begin(), vTriangles.end());
}

/// Rounded crossings move sides by some rounding errors, so that thinner triangles may be on another side than the
/// oracle thinks.
bool isThin(const Triangle2& t) {
    double sqLongest = 0;
    for (int i = 0; i < 3; ++i) sqLongest = std::max(sqLongest, t.getSquaredEdgeLength2D(i));
    return t.getArea2D() < 1e-9 * sqLongest;
}

/// Zones inside and outside a graph hold the triangles that its rings wind around, and the others.
struct Zones {
    Zones(Taro_2D& ofMesh, ConstraintGraph2* pGraph)
        : mesh(ofMesh),
          pInside(mesh.createZone(pGraph, ZL_INSIDE, false)),
          pOutside(mesh.createZone(pGraph, ZL_OUTSIDE, false)),
          pBounded(mesh.createZone(pGraph, ZL_BOUNDED, false)) {}

    void check(const SegmentVector& vSides) const {
        const TriangleSet sInside = setOf(pInside), sOutside = setOf(pOutside);
        size_t numInside = 0;
        for (const Triangle2* pT : trianglesOf(mesh)) {
            const bool bInside = sInside.count(pT) > 0;
            numInside += bInside;
            EXPECT_NE(bInside, sOutside.count(pT) > 0) << "in one of them\n" << *pT;
            EXPECT_TRUE(isThin(*pT) || bInside == (getWindingNumber(vSides, *pT) != 0)) << *pT;
            if (testing::Test::HasFailure()) return;
        }
        EXPECT_EQ(numInside, sInside.size());
        EXPECT_EQ(setOf(pBounded), sInside);
    }

    Taro_2D& mesh;
    Zone2 *pInside, *pOutside, *pBounded;
};

/// A square of side 100 around the rings, with random points.
struct Square : Taro_2D {
    explicit Square(size_t n, std::uint64_t seed = 1) : random(seed) {
        insert(makeRectangle(-10, -10, 110, 110));
        insert(makeScattered(n, -10, -10, 110, 110, random, 9));
    }
    Random random;
};

std::string warningsOf(Taro_2D& mesh, ConstraintGraph2* pGraph, ZoneLocation zoneLoc, bool bVerbose = true) {
    return printedBy([&] { mesh.createZone(pGraph, zoneLoc, bVerbose); });
}

constexpr const char* CROSSES_ITSELF = "Dt2::createZone(..), WARNING: the polygon crosses itself";

bool crossProperly(const Segment2& s, const Segment2& t) {
    const Point2 &a = s.getSrc(), &b = s.getTrg(), &c = t.getSrc(), &d = t.getTrg();
    return exactOrientation(a, b, c) * exactOrientation(a, b, d) < 0 &&
           exactOrientation(c, d, a) * exactOrientation(c, d, b) < 0;
}

bool doesAnyCross(const SegmentVector& vSides) {
    for (const Segment2& s : vSides) {
        for (const Segment2& t : vSides) {
            if (crossProperly(s, t)) return true;
        }
    }
    return false;
}

TEST(Winding, OfABowTie) {
    for (const bool bOriented : {false, true}) {
        for (const bool bReversed : {false, true}) {
            Taro_2D mesh;
            mesh.insert(makeRectangle(-100, -100, 100, 100));
            const PointVector vBow{{0, 0, 0}, {10, 10, 0}, {10, 0, 0}, {0, 10.5, 0}};
            ConstraintGraph2* pGraph = mesh.createConstraint(makeSides(bReversed ? reversed(vBow) : vBow),
                                                             CIS_CONSTRAINED_DELAUNAY, bOriented);
            EXPECT_TRUE(pGraph->isPolygon()) << "which looks at ends alone";
            Zone2 *pInside = mesh.createZone(pGraph, ZL_INSIDE), *pOutside = mesh.createZone(pGraph, ZL_OUTSIDE);
            const double x = 10.5 / 2.05, area = 5.0 * (10 - x) + 5.25 * x;
            EXPECT_NEAR(pInside->getArea2D(), area, 1e-9);
            EXPECT_NEAR(pOutside->getArea2D(), 40000 - area, 1e-9);
            for (const ZoneLocation zoneLoc : {ZL_INSIDE, ZL_OUTSIDE, ZL_BOUNDED}) {
                EXPECT_EQ(countOf(CROSSES_ITSELF, warningsOf(mesh, pGraph, zoneLoc)), 1u);
                EXPECT_EQ(warningsOf(mesh, pGraph, zoneLoc, false), "");
            }
        }
    }
}

TEST(Winding, OfRandomRingsIsThatOfTheOracle) {
    for (std::uint64_t seed = 1; seed <= 6 + scaled(60); ++seed) {
        SCOPED_TRACE("seed " + std::to_string(seed));
        Square mesh(seed % 5 == 0 ? 0 : 150, seed);
        PointVector vCorners;
        for (size_t k = 0; k < 4 + seed % 11; ++k) {
            vCorners.emplace_back(integer(mesh.random, 0, 100), integer(mesh.random, 0, 100), 0);
        }
        if (std::set<Point2>(vCorners.begin(), vCorners.end()).size() != vCorners.size()) continue;
        const SegmentVector vSides = makeSides(vCorners);
        const auto cis = static_cast<ConstraintInsertionStrategy>(seed % 3);
        ConstraintGraph2* pGraph = mesh.createConstraint(vSides, cis, seed % 4 >= 2);
        if (!pGraph->isOriented()) continue;  // both sides at the first corner have one direction
        const Zones zones(mesh, pGraph);
        zones.check(vSides);
        EXPECT_TRUE(!doesAnyCross(vSides) || contains(warningsOf(mesh, pGraph, ZL_INSIDE), CROSSES_ITSELF));
        mesh.insert(makeScattered(60, 0, 0, 100, 100, mesh.random));
        mesh.createConstraint(makeSides(makeStar(7, 45, 55, 60, mesh.random)), CIS_CONSTRAINED_DELAUNAY);
        zones.check(vSides);
        if (HasFailure()) return;
    }
}

/// Rings that are no polygons by their ends need the client's direction.
TEST(Winding, OfRingsThatMeetThemselves) {
    const PointVector vSquare = makeRectangle(20, 20, 80, 80), vHole = makeRectangle(40, 40, 60, 60);
    const auto loop = [](const PointVector& v) { return makeSides(v); };
    const Point2 bridge0(20, 20, 0), bridge1(40, 40, 0);
    const SegmentVector vThere{Segment2(bridge0, bridge1)}, vBack{Segment2(bridge1, bridge0)};
    const struct {
        const char* name;
        SegmentVector vSegments;
        double area;
        bool bCrosses;
    } aCases[] = {
        {"figure eight over a corner",
         loop({{0, 0, 0}, {50, 50, 0}, {100, 100, 0}, {100, 0, 0}, {50, 50, 0}, {0, 100, 0}}), 5000, true},
        {"wings that touch", loop({{0, 0, 0}, {50, 50, 0}, {100, 0, 0}, {100, 100, 0}, {50, 50, 0}, {0, 100, 0}}), 5000,
         false},
        {"spiral",
         loop({{10, 10, 0}, {90, 10, 0}, {90, 90, 0}, {10, 90, 0}, {10, 30, 0}, {70, 30, 0}, {70, 70, 0}, {30, 70, 0}}),
         -1, true},
        {"loop inside a corner", loop({{0, 0, 0}, {100, 0, 0}, {50, 80, 0}, {30, 40, 0}, {70, 40, 0}, {50, 80, 0}}),
         4000, true},
        {"twice around", joined(loop(vSquare), loop(vSquare)), 3600, true},
        {"there and back", {Segment2(bridge0, bridge1), Segment2(bridge1, bridge0)}, 0, false},
        {"with a bridge to a hole", joined(joined(loop(vSquare), vThere), joined(loop(reversed(vHole)), vBack)), 3200,
         false},
        {"with a bridge to a loop of its own way", joined(joined(loop(vSquare), vThere), joined(loop(vHole), vBack)),
         3600, false},
        {"a hole", joined(loop(vSquare), loop(reversed(vHole))), 3200, false},
        {"both turn the same way", joined(loop(vSquare), loop(vHole)), 3600, false},
        {"side by side, turning different ways",
         joined(loop(makeRectangle(0, 0, 30, 30)), loop(reversed(makeRectangle(31, 0, 61, 30)))), 1800, false},
        {"collinear at the first corner", loop({{0, 0, 0}, {0, 100, 0}, {50, 50, 0}, {0, 50, 0}}), 1250, false},
        {"over the hull", loop({{-10, -10, 0}, {110, 110, 0}, {110, -10, 0}, {-10, 110, 0}}), 7200, true},
        {"along the hull", joined(loop(makeRectangle(-10, -10, 110, 110)), loop(reversed(vSquare))), 10800, false}};
    for (const auto& c : aCases) {
        for (const bool bReversed : {false, true}) {
            for (const size_t numPoints : {0, 200}) {
                SCOPED_TRACE(testing::Message() << c.name << (bReversed ? ", reversed, " : ", ") << numPoints);
                Square mesh(numPoints);
                SegmentVector vSegments;
                for (const Segment2& s : c.vSegments) {
                    vSegments.push_back(bReversed ? Segment2(s.getTrg(), s.getSrc()) : s);
                }
                ConstraintGraph2* pGraph = mesh.createConstraint(vSegments, CIS_CONSTRAINED_DELAUNAY, true);
                const Zones zones(mesh, pGraph);
                zones.check(vSegments);
                EXPECT_TRUE(c.area < 0 || std::abs(zones.pInside->getArea2D() - c.area) < 1e-7);
                EXPECT_EQ(countOf(CROSSES_ITSELF, warningsOf(mesh, pGraph, ZL_INSIDE)), c.bCrosses ? 1u : 0u);
            }
        }
    }
}

/// Nested and adjacent squares of either orientation in one graph: the parts begin at different places.
TEST(Winding, OfManyRingsInOneGraph) {
    for (std::uint64_t seed = 1; seed <= 3 + scaled(5); ++seed) {
        SCOPED_TRACE("seed " + std::to_string(seed));
        Square mesh(seed % 2 ? 30 : 1000, seed);
        SegmentVector vSides;
        for (double x = 0; x < 100; x += 25) {
            for (double y = 0; y < 100; y += 25) {
                for (double inset = 1; inset < 11; inset += integer(mesh.random, 1, 6)) {
                    const PointVector v = makeRectangle(x + inset, y + inset, x + 25 - inset, y + 25 - inset);
                    vSides = joined(vSides, makeSides(mesh.random() % 2 ? v : reversed(v)));
                }
            }
        }
        std::shuffle(vSides.begin(), vSides.end(), mesh.random);
        ConstraintGraph2* pGraph = mesh.createConstraint(vSides, CIS_CONSTRAINED_DELAUNAY, true);
        Zones(mesh, pGraph).check(vSides);
        EXPECT_EQ(warningsOf(mesh, pGraph, ZL_INSIDE), "");
    }
}

TEST(Winding, AGraphThatDoesNotCloseHasItsInsideOnItsLeft) {
    Square mesh(50);
    ConstraintGraph2* pGraph = mesh.createConstraint({makeSegment(-10, 40, 110, 40)}, CIS_CONSTRAINED_DELAUNAY, true);
    EXPECT_NEAR(mesh.createZone(pGraph, ZL_INSIDE)->getArea2D(), 120 * 70, 1e-9);
    EXPECT_NEAR(mesh.createZone(pGraph, ZL_OUTSIDE)->getArea2D(), 120 * 50, 1e-9);
}

TEST(Winding, OfRealOutlines) {
    if (!hasDataFolder()) GTEST_SKIP() << "without TARO25D_DATA_DIR";
    for (const char* pName : {"degenerate", "dude", "eberly_6", "hilbert", "hourglass", "issue35", "rain",
                              "self_tangent_4", "touching2", "touching_holes6", "water", "water4"}) {
        SCOPED_TRACE(pName);
        SegmentVector vAll = readRealSegments(std::string("earcut_") + pName);
        vAll.erase(std::remove_if(vAll.begin(), vAll.end(), [](const auto& s) { return s.getSrc() == s.getTrg(); }),
                   vAll.end());
        std::vector<SegmentVector> vRings(1);
        for (const Segment2& s : vAll) {
            if (!vRings.back().empty() && vRings.back().back().getTrg() != s.getSrc()) vRings.emplace_back();
            vRings.back().push_back(s);
        }
        vRings.push_back(vAll);
        for (const SegmentVector& vRing : vRings) {
            Taro_2D mesh;
            ConstraintGraph2* pGraph = mesh.createConstraint(vRing, CIS_CONSTRAINED_DELAUNAY, true);
            if (mesh.is2D()) Zones(mesh, pGraph).check(vRing);
            if (HasFailure()) return;
        }
    }
}

TEST(Winding, MeshingStaysInside) {
    for (const bool bSpiral : {false, true}) {
        Taro_2D mesh;
        mesh.insert(makeRectangle(-100, -100, 200, 200));
        PointVector vCorners{{0, 0, 0}, {100, 90, 0}, {100, 0, 0}, {0, 105, 0}};
        if (bSpiral)
            vCorners = {{0, 0, 0}, {90, 0, 0}, {100, 90, 0}, {20, 70, 0}, {60, 10, 0}, {80, 60, 0}, {0, 100, 0}};
        Zone2* pZone =
            mesh.createZone(mesh.createConstraint(makeSides(vCorners), CIS_CONSTRAINED_DELAUNAY), ZL_INSIDE, false);
        const double area = pZone->getArea2D();
        const VertexVector vBefore = verticesOf(mesh);
        const std::set<const Point2*> sBefore(vBefore.begin(), vBefore.end());
        mesh.refine(pZone, 25, 0.01, 8, true);
        EXPECT_GT(mesh.numberOfPoints(), 100u);
        EXPECT_NEAR(pZone->getArea2D(), area, 1e-9 * area);
        EXPECT_TRUE(mesh.checkZoneQuality(pZone, 25, "ring", AcceptExperimentalFeature()));
        const TriangleSet sInside = setOf(pZone);
        for (Point2* pVtx : verticesOf(mesh)) {
            const TriangleVector vAround = trianglesAround(mesh, pVtx);
            const auto isInZone = [&](const Triangle2* pT) { return sInside.count(pT) > 0; };
            EXPECT_TRUE(sBefore.count(pVtx) || std::any_of(vAround.begin(), vAround.end(), isInZone)) << *pVtx;
        }
    }
}

}  // namespace
