#include <gtest/gtest.h>

#include <algorithm>
#include <functional>

#include "mesh/Dt2.h"
#include "support/capture.h"
#include "support/files.h"
#include "support/mesh.h"
#include "support/polygons.h"
#include "support/recorder.h"
#include "support/zones.h"
#include "taro25d/ConstraintGraph2.h"
#include "taro25d/Taro_2D.h"
#include "taro25d/Zone2.h"
#include "zones/ConnectedComponent.h"

using namespace LUMO_TARO25D;
using namespace zones;

namespace {

// ---------------------------------------------------------------------------------------------------------------------
// Inside and outside

TEST(Zone, InsideAndOutsideAgreeWithPointInPolygon) {
    for (std::uint64_t seed = 1; seed <= 4 + scaled(16); ++seed) {
        SCOPED_TRACE("seed " + std::to_string(seed));
        Square mesh(150, seed);
        const PointVector vCorners = makeStar(5 + seed, 50, 50, 60, mesh.random);
        const auto cis = static_cast<ConstraintInsertionStrategy>(seed % 3);
        ConstraintGraph2* pGraph = addPolygon(mesh, seed % 2 ? vCorners : reversed(vCorners), cis, seed % 4 >= 2);
        Zone2 *pInside = mesh.createZone(pGraph, ZL_INSIDE), *pOutside = mesh.createZone(pGraph, ZL_OUTSIDE),
              *pBounded = mesh.createZone(pGraph, ZL_BOUNDED), *pAll = mesh.createZone(nullptr, ZL_GLOBAL);
        const double area = getArea(vCorners);
        const auto check = [&] {
            // Sides that were split at rounded points are those of the polygon that the zone knows.
            const SegmentVector vSides = makeSides(positionsOf(polygonOf(pGraph)));
            const auto inside = [&](const Triangle2* pT) { return isInside(vSides, *pT); };
            EXPECT_EQ(setOf(pInside), selected(mesh, inside));
            EXPECT_EQ(setOf(pBounded), setOf(pInside));
            EXPECT_EQ(setOf(pOutside), selected(mesh, std::not_fn(inside)));
            EXPECT_EQ(setOf(pAll), allOf(mesh));
            EXPECT_NEAR(pInside->getArea2D(), area, 1e-9 * area);
        };
        check();
        mesh.scatter(100);
        check();
        // Crossings split the sides; sides are split as refinement does; a vertex goes.
        addPolygon(mesh, makeStar(7, 45, 55, 70, mesh.random), CIS_CONFORMING_LINEAR_Z);
        for (ConstraintSegment2* pCSeg : piecesOf(pGraph)) {
            const Point2 &p = *pCSeg->getSrc(), &q = *pCSeg->getTrg();
            if (p.y() < q.y()) pCSeg->insertAndSplit(Point2((p.x() + q.x()) / 2, (p.y() + q.y()) / 2, 0));
        }
        for (Point2* pVtx : {mesh.insert(Point2(51, 50, 0)), mesh.insert(Point2(1, 50, 0))}) {
            if (!mesh.isConstraint(pVtx)) mesh.remove(pVtx);
        }
        check();
    }
}

TEST(Zone, SeveralGraphs) {
    Square mesh(300);
    const auto square = [](double min, double max) { return makeRectangle(min, min, max, max); };
    ConstraintGraph2 *pOuter = addPolygon(mesh, square(10, 90)), *pInner = addPolygon(mesh, square(40, 60)),
                     *pTouching = addPolygon(mesh, square(90, 95)), *pSharing = addPolygon(mesh, square(60, 90));
    const auto area = [&](const std::vector<ConstraintGraph2*>& vGraphs, ZoneLocation zoneLoc) {
        Zone2* pZone = mesh.createZone(vGraphs, zoneLoc);
        setOf(pZone);
        return pZone->getArea2D();
    };
    EXPECT_NEAR(area({pOuter, pInner}, ZL_INSIDE), 6400, 1e-6) << "nested rings give all inside the outer one";
    EXPECT_NEAR(area({pInner, pTouching}, ZL_INSIDE), 425, 1e-6);
    EXPECT_NEAR(area({pInner, pSharing}, ZL_INSIDE), 1300, 1e-6) << "touching at a corner";
    EXPECT_NEAR(area({pInner, pTouching, pSharing}, ZL_OUTSIDE), 10000 - 1325, 1e-6);
    EXPECT_NEAR(area({pInner, pInner}, ZL_INSIDE), 400, 1e-6);
    EXPECT_NEAR(mesh.createZone({pInner, pTouching}, ZL_INSIDE)->getArea2D(), 425, 1e-6) << "in braces";
    Zone2 *pOuterZone = mesh.createZone(pOuter, ZL_INSIDE), *pInnerZone = mesh.createZone(pInner, ZL_INSIDE);
    EXPECT_NEAR(zoneDifference(pOuterZone, pInnerZone)->getArea2D(), 6000, 1e-6) << "a ring";
}

TEST(Zone, OrientedGraphsThatAreNoPolygonHaveTheZoneOnTheirLeft) {
    Square mesh(300);
    const SegmentVector vRings =
        joined(makeSides(makeRectangle(10, 10, 90, 90)), makeSides(reversed(makeRectangle(30, 30, 60, 60))));
    ConstraintGraph2* pGraph = mesh.createConstraint(vRings, CIS_CONSTRAINED_DELAUNAY, true);
    ASSERT_FALSE(pGraph->isPolygon());
    EXPECT_NEAR(mesh.createZone(pGraph, ZL_INSIDE)->getArea2D(), 5500, 1e-6);
    EXPECT_NEAR(mesh.createZone(pGraph, ZL_OUTSIDE)->getArea2D(), 4500, 1e-6);
}

TEST(Zone, LakeWithIslands) {
    const SegmentVector vLake = readRealSegments("lake_superior");
    if (vLake.empty()) GTEST_SKIP() << "without TARO25D_DATA_DIR";
    const std::vector<PointVector> vRings = ringsOf(vLake);
    ASSERT_EQ(vRings.size(), 7u);
    Taro_2D mesh;
    std::vector<Zone2*> vZones;
    for (const PointVector& vRing : vRings) {
        ConstraintGraph2* pGraph = addPolygon(mesh, vRing);
        ASSERT_TRUE(pGraph->isPolygon());
        vZones.push_back(mesh.createZone(pGraph, ZL_INSIDE));
        EXPECT_NEAR(vZones.back()->getArea2D(), std::abs(getArea(vRing)), 1e-12);
    }
    const auto isLarger = [](const Zone2* a, const Zone2* b) { return a->getArea2D() > b->getArea2D(); };
    std::sort(vZones.begin(), vZones.end(), isLarger);
    Zone2* pWater = vZones[0];
    for (size_t k = 1; k < vZones.size(); ++k) pWater = zoneDifference(pWater, vZones[k]);
    EXPECT_NEAR(pWater->getArea2D(), 0.15230242, 1e-8);
    const auto inWater = [&](const Triangle2* pT) { return isInside(vLake, *pT); };
    EXPECT_EQ(setOf(pWater), selected(mesh, inWater));
    Zone2* pBounded = pWater->convertToBoundedZone();
    EXPECT_EQ(setOf(pBounded), setOf(pWater));
    const Bbox2 box = pWater->getBoundingBox();
    Random r(3);
    mesh.insert(makeScattered(500, box.getMinX(), box.getMinY(), box.getMaxX(), box.getMaxY(), r));
    EXPECT_EQ(setOf(pBounded), selected(mesh, inWater));
    EXPECT_EQ(setOf(pWater), setOf(pBounded));
}

// ---------------------------------------------------------------------------------------------------------------------
// Growth

TEST(Zone, GrowsFromSeedsUpToItsOwnGraphs) {
    Square mesh(200);
    ConstraintGraph2 *pA = addPolygon(mesh, makeRectangle(10, 10, 50, 50)),
                     *pB = addPolygon(mesh, makeRectangle(50, 10, 90, 50)),
                     *pLine = mesh.createConstraint({Segment2({0, 70, 0}, {100, 70, 0})}, CIS_CONSTRAINED_DELAUNAY);
    const auto area = [&](const std::vector<ConstraintGraph2*>& vGraphs, const Point2& seed) {
        return mesh.createZone(vGraphs, ZL_GROW, seed)->getArea2D();
    };
    EXPECT_NEAR(area({pA}, {20, 20, 0}), 1600, 1e-6);
    EXPECT_NEAR(area({pA}, {60, 20, 0}), 8400, 1e-6) << "the edges of a strange graph do not stop it";
    EXPECT_NEAR(area({pA, pB, pLine}, {95, 60, 0}), 3800, 1e-6);
    EXPECT_NEAR(area({pLine}, {50, 50, 0}), 7000, 1e-6) << "a seed on a vertex";
    EXPECT_NEAR(mesh.createZone(pLine, ZL_GROW, Point2(1, 99, 0))->getArea2D(), 3000, 1e-6) << "an open graph";
    EXPECT_NEAR(area({}, {20, 20, 0}), 10000, 1e-6);
    for (const double x : {-1.0, 1e300, double(NAN)}) {
        Zone2* pOutside = mesh.createZone(pA, ZL_GROW, Point2(x, 20, 0));
        Recorder recorder;
        mesh.subscribe(MT_WARNING, &recorder);
        EXPECT_EQ(pOutside->getNumberOfTriangles(), 0u);
        EXPECT_EQ(recorder.vMessages.size(), 1u) << "outside the hull";
        mesh.unsubscribe(MT_WARNING, &recorder);
    }
    const double onEdge = area({pA, pB}, {50, 30, 0});
    EXPECT_NEAR(onEdge, 1600, 1e-6) << "on a common edge: either side";
}

// ---------------------------------------------------------------------------------------------------------------------
// Combinations

TEST(Zone, ResultsAreThoseOfSets) {
    Square mesh(300, 5);
    std::vector<Zone2*> vZones{mesh.createZone(nullptr, ZL_GLOBAL),
                               mesh.createZone(addPolygon(mesh, makeStar(9, 40, 50, 45, mesh.random)), ZL_INSIDE),
                               mesh.createZone(addPolygon(mesh, makeStar(9, 60, 50, 45, mesh.random)), ZL_OUTSIDE)};
    struct Operation {
        Zone2* (*combine)(Zone2*, Zone2*);
        bool (*keep)(bool, bool);
    };
    const Operation aOperations[] = {{zoneUnion, [](bool a, bool b) { return a || b; }},
                                     {zoneIntersection, [](bool a, bool b) { return a && b; }},
                                     {zoneDifference, [](bool a, bool b) { return a && !b; }},
                                     {zoneSymmetricDifference, [](bool a, bool b) { return a != b; }}};
    struct Combination {
        size_t first, second;
        const Operation* pOperation;
    };
    std::vector<Combination> vCombinations;
    for (int i = 0; i < 40; ++i) {
        const Combination c{mesh.random() % vZones.size(), mesh.random() % vZones.size(), &aOperations[i % 4]};
        vCombinations.push_back(c);
        vZones.push_back(c.pOperation->combine(vZones[c.first], vZones[c.second]));
        EXPECT_EQ(vZones.back()->getZoneLocation(), ZL_RESULT_UNION + i % 4);
    }
    for (const size_t numInserted : {0, 50}) {
        mesh.scatter(numInserted);
        std::vector<TriangleSet> vSets;
        for (size_t k = 0; k < 3; ++k) vSets.push_back(setOf(vZones[k]));
        for (size_t k = 0; k < vCombinations.size(); ++k) {
            const Combination& c = vCombinations[k];
            const TriangleSet sExpected = selected(mesh, [&](Triangle2* pT) {
                return c.pOperation->keep(vSets[c.first].count(pT) > 0, vSets[c.second].count(pT) > 0);
            });
            vSets.push_back(sExpected);
            const TriangleVector vTriangles = trianglesOf(vZones[3 + k]);
            EXPECT_EQ(TriangleSet(vTriangles.begin(), vTriangles.end()), sExpected);
            EXPECT_TRUE(std::is_sorted(vTriangles.begin(), vTriangles.end(), std::less<>()));
        }
    }
}

TEST(Zone, ResultsThatShareOperandsAreEvaluatedOnce) {
    Square mesh(20);
    Zone2 *pLast = mesh.createZone(nullptr, ZL_GLOBAL), *pBefore = pLast;
    for (int i = 0; i < 100000; ++i) {  // too deep for recursion
        Zone2* pNext = zoneUnion(pLast, pBefore);
        pBefore = pLast;
        pLast = pNext;
    }
    EXPECT_EQ(setOf(pLast), allOf(mesh));
}

TEST(Zone, OfTwoTriangulationsAreNotCombined) {
    Square a(10), b(10);
    Zone2 *pA = a.createZone(nullptr, ZL_GLOBAL), *pB = b.createZone(nullptr, ZL_GLOBAL);
    Recorder recorder;
    a.subscribe(MT_WARNING, &recorder);
    const StdoutCapture capture;
    EXPECT_EQ(zoneUnion(pA, pB), nullptr);
    EXPECT_EQ(recorder.vMessages.size(), 1u);
    EXPECT_EQ(zoneIntersection(pA, nullptr), nullptr);
    EXPECT_TRUE(contains(capture,
                         "Zone2::zoneUnion(...), ERROR: The zones must belong to the same triangulation! "
                         "Returning NULL"));
    EXPECT_TRUE(contains(capture, "] zoneUnion(...), ERROR"));
}

TEST(Zone, DeletionRespectsOperands) {
    Square mesh(20), other(20);
    Zone2 *pA = mesh.createZone(nullptr, ZL_GLOBAL), *pB = mesh.createZone(nullptr, ZL_GLOBAL), *pC = zoneUnion(pA, pB),
          *pD = zoneDifference(pC, pC);
    const size_t numTriangles = mesh.numberOfTriangles();
    const StdoutCapture capture;
    for (Zone2* pOperand : {pA, pB, pC}) EXPECT_FALSE(mesh.deleteZone(pOperand));
    EXPECT_EQ(pD->getNumberOfTriangles(), 0u);
    EXPECT_FALSE(other.deleteZone(pD));
    EXPECT_FALSE(mesh.deleteZone(nullptr));
    for (Zone2* pZone : {pD, pC, pA, pB}) EXPECT_TRUE(mesh.deleteZone(pZone));
    EXPECT_FALSE(mesh.deleteZone(pB));
    EXPECT_EQ(mesh.numberOfTriangles(), numTriangles);
    EXPECT_TRUE(contains(capture, "Dt2::deleteZone(..), WARNING: the zone is an operand of another zone"));
    EXPECT_TRUE(contains(capture, "Dt2::deleteZone(..), WARNING: trying to delete a non-existing zone"));
}

// ---------------------------------------------------------------------------------------------------------------------
// Wrong calls

/// Null, with a message only for those who want one.
void expectNoZone(const std::function<Zone2*(bool)>& create, const std::string& message) {
    SCOPED_TRACE(message);
    const StdoutCapture capture;
    EXPECT_EQ(create(false), nullptr);
    EXPECT_EQ(capture.text(), "");
    EXPECT_EQ(create(true), nullptr);
    EXPECT_TRUE(contains(capture, "Dt2::createZone(), WARNING: "));
    EXPECT_TRUE(contains(capture, message));
    EXPECT_TRUE(
        contains(capture, "Taro_2D::createZone(..), WARNING: No zone created, returning NULL (bVerbose==true)"));
}

TEST(Zone, WrongCallsCreateNothing) {
    Square mesh(50), other(50);
    ConstraintGraph2 *pGraph = addPolygon(mesh, makeRectangle(20, 20, 80, 80)),
                     *pOpen = mesh.createConstraint({Segment2({5, 5, 0}, {95, 10, 0})}, CIS_CONSTRAINED_DELAUNAY),
                     *pStrange = addPolygon(other, makeRectangle(20, 20, 80, 80)), *pNone = nullptr;
    using Graphs = std::vector<ConstraintGraph2*>;
    const Point2 seed(50, 50, 0);
    std::vector<Edge2> vEdges, vNoEdges;
    mesh.createZone(pGraph, ZL_INSIDE)->getBorderEdges(vEdges);
    const std::string only = "This overloaded version of createZone accepts only ";
    const std::string noGraph = "pConstraintGraph==NULL, but zoneLoc!=ZL_GLOBAL or ZL_RESULT. Returning NULL";
    const std::string notOriented = "The constraint graph is not oriented, returning NULL";
    const std::pair<std::function<Zone2*(bool)>, std::string> aCases[] = {
        {[&](bool b) { return mesh.createZone(pOpen, ZL_INSIDE, b); }, notOriented},
        {[&](bool b) { return mesh.createZone(pOpen, ZL_GROW, b); }, notOriented},
        {[&](bool b) { return mesh.createZone(pNone, ZL_OUTSIDE, b); }, noGraph},
        {[&](bool b) { return mesh.createZone(pStrange, ZL_INSIDE, b); }, "another triangulation"},
        {[&](bool b) { return mesh.createZone(Graphs{pGraph}, ZL_GROW, b); },
         only + "ZL_INSIDE and ZL_OUTSIDE as zoneLocation. Returning NULL"},
        {[&](bool b) {
             return mesh.createZone(Graphs{pGraph, pNone}, ZL_INSIDE, b);
         },
         noGraph},
        {[&](bool b) {
             return mesh.createZone(Graphs{pGraph, pOpen}, ZL_INSIDE, b);
         },
         notOriented},
        {[&](bool b) { return mesh.createZone(Graphs{}, ZL_OUTSIDE, b); }, "no constraint graph"},
        {[&](bool b) { return mesh.createZone(pGraph, ZL_INSIDE, seed, b); },
         only + "ZL_GROW as zoneLocation. Returning NULL"},
        {[&](bool b) { return mesh.createZone(pNone, ZL_GROW, seed, b); }, noGraph},
        {[&](bool b) { return mesh.createZone(Graphs{pStrange}, ZL_GROW, seed, b); }, "another triangulation"},
        {[&](bool b) { return mesh.createZone(vEdges, ZL_INSIDE, b); },
         only + "ZL_BOUNDED as zoneLocation. Returning NULL"},
        {[&](bool b) { return mesh.createZone(vNoEdges, ZL_BOUNDED, b); }, "no edges"},
    };
    for (const auto& [create, message] : aCases) expectNoZone(create, message);
}

TEST(Zone, OddZonesAnswerSoundly) {
    Square mesh(50);
    ConstraintGraph2* pGraph = addPolygon(mesh, makeRectangle(20, 20, 80, 80));
    Zone2* pWrong = mesh.createZone(pGraph, static_cast<ZoneLocation>(9));
    const StdoutCapture capture;
    EXPECT_EQ(pWrong->getNumberOfTriangles(), 0u);
    EXPECT_TRUE(contains(capture, "Zone2::getTriangles(), ERROR: unknown zoneLoc value"));
    Zone2* pTwo = mesh.createZone(std::vector<ConstraintGraph2*>{pGraph, pGraph}, ZL_INSIDE);
    EXPECT_EQ(pTwo->getConstraintGraph(), nullptr);
    EXPECT_TRUE(contains(capture, "Zone2::getConstraintGraph(), WARNING: There is more than one constraint graph"));
    EXPECT_EQ(mesh.createZone(pGraph, ZL_OUTSIDE)->getConstraintGraph(), pGraph);
    EXPECT_EQ(mesh.createZone(nullptr, ZL_GLOBAL)->getConstraintGraph(), nullptr);
    EXPECT_EQ(mesh.createZone(nullptr, ZL_RESULT_UNION)->getNumberOfTriangles(), 0u) << "without operands";
}

TEST(Zone, BeforeTrianglesAndBeforeConstraints) {
    Taro_2D mesh;
    ConstraintGraph2* pGraph = mesh.createConstraint({Segment2({0, 0, 0}, {1, 0, 0}), Segment2({1, 0, 0}, {2, 0, 0})},
                                                     CIS_CONSTRAINED_DELAUNAY, true);
    const StdoutCapture capture;
    EXPECT_EQ(mesh.createZone(pGraph, ZL_INSIDE), nullptr);
    EXPECT_EQ(mesh.createZone(nullptr, ZL_GLOBAL), nullptr);
    EXPECT_EQ(mesh.createZone_cookieCutter(makeSides(makeRectangle(0, 0, 1, 1))), nullptr);
    EXPECT_TRUE(contains(capture, "WARNING"));
    // A vertex on the line that hides the pending segment, and a vertex off it.
    mesh.insert({{0.5, 1e-3, 0}, {0.5, -1e-3, 0}, {1.5, 1, 0}, {1, -1, 0}});
    Zone2* pZone = mesh.createZone(pGraph, ZL_INSIDE);
    setOf(pZone);
    mesh.applyConstraintsAndZones();
    EXPECT_GT(setOf(pZone).size(), 0u);
    Taro_2D emptied;
    emptied.insert({{0, 0, 0}, {1, 0, 0}, {0, 1, 0}});
    Zone2* pAll = emptied.createZone(nullptr, ZL_GLOBAL);
    emptied.remove(emptied.insert(Point2(0, 1, 0)));
    EXPECT_EQ(pAll->getNumberOfTriangles(), 0u);
    EXPECT_FALSE(pAll->getBoundingBox().isValid());
    EXPECT_EQ(pAll->convertToBoundedZone(), nullptr);
}

}  // namespace
