#include <gtest/gtest.h>

#include <algorithm>
#include <fstream>
#include <vector>

#include "constraints/ConstraintMgr.h"
#include "mesh/Dt2.h"
#include "support/capture.h"
#include "support/generators.h"
#include "support/line_mesh.h"
#include "support/mesh.h"
#include "support/polygons.h"
#include "support/recorder.h"
#include "taro25d/ConstraintGraph2.h"
#include "taro25d/ConstraintSegment2.h"
#include "taro25d/Taro_2D.h"

using namespace LUMO_TARO25D;
using namespace line_mesh;

// ---------------------------------------------------------------------------------------------------------------------
// Graphs

TEST(ConstraintGraph, IsAPolygonOnlyIfOneLoopUsesEverySegment) {
    Random r(11);
    const PointVector vCorners{{0, 0, 0}, {7, 1, 0}, {9, 8, 0}, {3, 9, 0}, {5, 4, 0}, {1, 5, 0}};
    int numPolygons = 0;
    for (int round = 0; round < 3000; ++round) {
        const size_t n = 1 + r() % 7;
        std::vector<std::pair<size_t, size_t>> vPairs;
        while (vPairs.size() < n) {
            const size_t i = r() % 6, k = vPairs.empty() || r() % 3 == 0 ? r() % 6 : vPairs.back().second;
            if (i != k) vPairs.emplace_back(k, i);
        }
        Taro_2D mesh;  // without further vertices the records are not established, so crossings do not matter
        VertexVector vHandles;
        mesh.insert(vCorners, vHandles);
        std::vector<ConstraintMgr::VertexPair> vVertexPairs;
        size_t aDegree[6] = {}, aPart[6] = {0, 1, 2, 3, 4, 5};
        for (const auto& [i, k] : vPairs) {
            vVertexPairs.emplace_back(vHandles[i], vHandles[k]);
            ++aDegree[i];
            ++aDegree[k];
            std::replace(std::begin(aPart), std::end(aPart), size_t(aPart[i]), size_t(aPart[k]));
        }
        bool bExpected = n >= 3;
        for (size_t i = 0; i < 6; ++i) {
            if (aDegree[i] == 0) continue;
            bExpected = bExpected && aDegree[i] == 2 && aPart[i] == aPart[vPairs[0].first];
        }
        ConstraintGraph2* pGraph = managerOf(mesh).createConstraint(vVertexPairs, CIS_CONSTRAINED_DELAUNAY, false);
        ASSERT_EQ(pGraph->isPolygon(), bExpected) << round;
        ASSERT_EQ(pGraph->isOriented(), bExpected);
        ASSERT_EQ(polygonOf(pGraph).size(), bExpected ? n : 0);
        const CSegVector vOriginals = originalsOf(pGraph);
        ASSERT_EQ(vOriginals.size(), n);
        for (size_t i = 0; i < n && !bExpected; ++i) {
            ASSERT_EQ(vOriginals[i], mesh.getConstraintSegment(vVertexPairs[i].first, vVertexPairs[i].second));
            ASSERT_FALSE(pGraph->isReverse(vOriginals[i]));
        }
        numPolygons += bExpected;
    }
    EXPECT_GT(numPolygons, 50);
}

TEST(ConstraintGraph, KeepsTheDirectionOfTheFirstOfEqualSegmentsAndReportsSpikes) {
    Taro_2D mesh;
    mesh.insert({{-1, -1, 0}, {9, -1, 0}, {0, 9, 0}});
    const Point2 a(0, 0, 0), b(4, 0, 0), c(2, 0, 0), d(2, 3, 0);
    ConstraintGraph2* pTwice =
        mesh.createConstraint({Segment2(b, a), Segment2(a, b), Segment2(b, d)}, CIS_CONSTRAINED_DELAUNAY, true);
    EXPECT_FALSE(pTwice->isPolygon());
    CSegVector vCSegs;
    pTwice->getAliveConstraintChain(vCSegs);
    ASSERT_EQ(vCSegs.size(), 3u);
    EXPECT_EQ(vCSegs[0], vCSegs[1]);
    EXPECT_EQ(*(pTwice->isReverse(vCSegs[0]) ? vCSegs[0]->getTrg() : vCSegs[0]->getSrc()), b);

    // One closed chain that runs back on itself: the shared piece can have one direction only.
    ConstraintGraph2* pSpike = mesh.createConstraint(makeSides({d, a, b, c}), CIS_CONSTRAINED_DELAUNAY, false);
    EXPECT_TRUE(pSpike->isPolygon());
    const StdoutCapture capture;
    EXPECT_EQ(polygonOf(pSpike).size(), 5u);
    EXPECT_TRUE(contains(capture, "BUG in ConstraintGraph2::getPolygonVertices\nFor constraint segment pCSeg: "));
    EXPECT_TRUE(contains(capture, "ownerCG=0x"));
}

TEST(ConstraintGraph, RefusesWhatTheManagerNeverMakes) {
    Taro_2D mesh;
    Point2 aPoints[3] = {{0, 0, 0}, {1, 0, 0}, {1, 0, 5}};
    ConstraintSegment2 sound(aPoints, aPoints + 1, CIS_CONSTRAINED_DELAUNAY),
        degenerate(aPoints + 1, aPoints + 2, CIS_CONSTRAINED_DELAUNAY);
    const StdoutCapture capture;
    const ConstraintGraph2 graph(mesh.getImpl(), {&sound, &degenerate}, CIS_CONSTRAINED_DELAUNAY);
    EXPECT_TRUE(
        contains(capture, "ConstraintGraph2::ConstraintGraph2(), WARNING: Ignoring a degenerate constraint segment"));
    EXPECT_EQ(originalsOf(&graph), CSegVector{&sound});
    EXPECT_TRUE(
        contains(printedByFailing([&] { ConstraintGraph2(mesh.getImpl(), {&sound}, {}, CIS_CONSTRAINED_DELAUNAY); }),
                 "q_it!=mPPReverse.end()"));
    EXPECT_TRUE(contains(printedByFailing([&] { managerOf(mesh).updateConstraintSegment(&sound, &sound, &sound); }),
                         "!pParentCSeg->isAlive()"));
}

TEST_F(LineMesh, AGraphThatCannotBeMadeOwnsNothing) {
    ConstraintGraph2* pGraph = create(2, 3);
    create(3, 4);
    // A polygon, and a chain that begins with another segment.
    const std::vector<SegmentVector> vLists{makeSides({*at(2), *at(3), Point2(2, -1, 0)}),
                                            makeChain({*at(4), *at(3), *at(2)})};
    for (const SegmentVector& vSegments : vLists) mesh.createConstraint(vSegments, CIS_CONSTRAINED_DELAUNAY);
    const size_t numOwners = segment(3, 4)->getNumberOfOwners();
    segment(2, 3)->kill();
    for (const SegmentVector& vSegments : vLists) {
        for (const bool bOriented : {false, true}) {
            const auto createAgain = [&] { mesh.createConstraint(vSegments, CIS_CONSTRAINED_DELAUNAY, bOriented); };
            EXPECT_TRUE(contains(printedByFailing(createAgain), "Condition [ pKid0!=__null && pKid1!=__null failed ]"));
        }
    }
    EXPECT_FALSE(contains(printedByFailing([&] { pGraph->show("never.ps"); }), "Writing"));
    EXPECT_EQ(segment(3, 4)->getNumberOfOwners(), numOwners);
    segment(2, 3)->unkill();
    EXPECT_EQ(segment(2, 3)->getNumberOfOwners(), 3u);
    EXPECT_NE(segment(2, 3)->insertAndSplit(Point2(2.5, 5e-7, 0)), nullptr);
    expectEstablished(mesh);
}

// ---------------------------------------------------------------------------------------------------------------------
// The manager

TEST(ConstraintMgr, MakesOneSegmentForEachPairAndKeepsItsFirstStrategy) {
    Taro_2D mesh;
    const Point2 a(0, 0, 0), b(5, 0, 0), c(2, 4, 0), a2(0, 0, 9);
    const StdoutCapture capture;
    ConstraintGraph2* pFirst = mesh.createConstraint({Segment2(c, a), Segment2(a, a2), Segment2(b, c), Segment2(a, c)},
                                                     CIS_CONFORMING_LINEAR_Z, false);
    EXPECT_TRUE(contains(capture, ",-1): 0, 0, 0 <-> Point2 ("));
    ConstraintGraph2* pSecond = mesh.createConstraint({Segment2(c, b)}, CIS_CONSTRAINED_DELAUNAY, true);
    ConstraintGraph2* pEmpty = mesh.createConstraint({Segment2(a, a)}, CIS_CONSTRAINED_DELAUNAY, true);
    ASSERT_NE(pEmpty, nullptr);
    EXPECT_FALSE(pEmpty->isPolygon());
    EXPECT_TRUE(originalsOf(pEmpty).empty());
    const CSegVector vFirst = originalsOf(pFirst);
    EXPECT_EQ(vFirst, (CSegVector{vFirst[0], vFirst[1], vFirst[0]}));
    EXPECT_EQ(labelOf(*vFirst[1]), labelOf(*vFirst[0]) + 1);
    EXPECT_EQ(originalsOf(pSecond), CSegVector{vFirst[1]});
    EXPECT_EQ(vFirst[1]->getCIS(), CIS_CONFORMING_LINEAR_Z);
    CSegVector vAll;
    mesh.getAliveAndDeadConstraintSegments(vAll);
    EXPECT_EQ(vAll.size(), 2u);
    EXPECT_TRUE(std::is_sorted(vAll.begin(), vAll.end(), [](auto* p, auto* q) { return *p < *q; }));
}

TEST(ConstraintMgr, TakesEdgesOfTheMesh) {
    Taro_2D mesh;
    mesh.insert({{0, 0, 0}, {5, 0, 0}, {2, 4, 0}});
    Triangle2* pT = mesh.getImpl()->getOneValidTriangle();
    std::vector<Edge2> vEdges{Edge2(pT, 0), Edge2(pT, 1), Edge2(pT, 2)};
    EXPECT_TRUE(managerOf(mesh).createConstraint_oriented(vEdges, CIS_CONSTRAINED_DELAUNAY)->isPolygon());
    EXPECT_TRUE(
        mesh.getImpl()->createConstraint({&vEdges[2], &vEdges[1], &vEdges[0]}, CIS_CONSTRAINED_DELAUNAY)->isPolygon());
    for (int i = 0; i < 3; ++i) EXPECT_TRUE(mesh.isConstraint(pT, i));
    EXPECT_FALSE(mesh.isConstraint(nullptr, 0) || mesh.isConstraint(pT, -1) || mesh.isConstraint(pT, 3));
    EXPECT_EQ(managerOf(mesh).createConstraint_oriented(SegmentVector(), CIS_CONSTRAINED_DELAUNAY), nullptr);
}

TEST(ConstraintMgr, TellsHowManySegmentsAreEstablished) {
    Taro_2D mesh;
    Recorder listener;
    mesh.subscribe(MT_PROGRESS, &listener);
    mesh.createConstraint({Segment2({0, 0, 0}, {8, 0, 0})}, CIS_CONSTRAINED_DELAUNAY);
    EXPECT_EQ(std::count(listener.vMessages.begin(), listener.vMessages.end(), "establish constraints"), 0);
    mesh.insert({{3, 0, 0}, {4, 5, 0}, {4, -5, 0}});
    mesh.applyConstraintsAndZones();
    EXPECT_EQ(listener.vMessages.back(), "apply");
    EXPECT_EQ(listener.vValues.back(), 1.0);
    // Crossings are no steps: the last step comes when all of them have been made.
    SegmentVector vSegments;
    for (int i = 1; i <= 20; ++i) {
        vSegments.push_back(makeSegment(i, 30, i, 60));
        vSegments.push_back(makeSegment(0, 30 + i, 30, 30 + i));
    }
    size_t numPoints = 0;
    listener.hook = [&] { numPoints = mesh.numberOfPoints(); };
    mesh.createConstraint(vSegments, CIS_CONSTRAINED_DELAUNAY);
    ASSERT_GE(listener.vValues.size(), vSegments.size());
    for (size_t i = 1; i <= vSegments.size(); ++i) {
        const size_t place = listener.vValues.size() - vSegments.size() + i - 1;
        EXPECT_EQ(listener.vMessages[place], "establish constraints");
        EXPECT_EQ(listener.vValues[place], double(i) / double(vSegments.size()));
    }
    EXPECT_EQ(numPoints, mesh.numberOfPoints());
}

TEST(ConstraintMgr, WritesTheAlivePiecesOfEachGraph) {
    Taro_2D mesh;
    mesh.createConstraint({makeSegment(0, 0, 4, 0, 1, 1)}, CIS_CONSTRAINED_DELAUNAY);
    mesh.createConstraint({makeSegment(2, -3, 2, 3, 0.1, 0.1)}, CIS_CONSTRAINED_DELAUNAY);
    const StdoutCapture capture;
    mesh.internal(3, 0, "dump");
    mesh.internal(4, 0, "dump");
    mesh.internal(3, 0, "no/such/folder");
    mesh.internal(4, 0, "no/such/folder");
    EXPECT_TRUE(contains(capture, "writes 2 child segments to dump_c1.con\n"));
    EXPECT_TRUE(contains(capture, "writes 2 child segments to dump_c1_con.bin\n"));
    EXPECT_EQ(countOf("WARNING: Cannot write ", capture.text()), 4u) << capture.text();
    std::ifstream text("dump_c1.con"), binary("dump_c1_con.bin", std::ios::binary);
    size_t numInText = 0;
    std::uint64_t numInBinary = 0;
    text >> numInText;
    binary.read(reinterpret_cast<char*>(&numInBinary), sizeof(numInBinary));
    EXPECT_EQ(numInText, 2u);
    EXPECT_EQ(numInBinary, 2u);
    double sumOfHeights = 0;
    for (int i = 0; i < 12; ++i) {
        double fromText = 0, fromBinary = 1;
        text >> fromText;
        binary.read(reinterpret_cast<char*>(&fromBinary), sizeof(fromBinary));
        EXPECT_EQ(fromText, fromBinary);
        if (i % 3 == 2) sumOfHeights += fromText;
    }
    EXPECT_DOUBLE_EQ(sumOfHeights, 0.1 + 1 + 0.1 + 1);
}
