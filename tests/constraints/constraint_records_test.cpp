#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <filesystem>
#include <fstream>
#include <set>
#include <sstream>
#include <string>
#include <vector>

#include "constraints/ConstraintMgr.h"
#include "mesh/Dt2.h"
#include "mesh/InnerVtxMgr.h"
#include "support/capture.h"
#include "support/generators.h"
#include "support/mesh.h"
#include "support/polygons.h"
#include "support/recorder.h"
#include "taro25d/ConstraintGraph2.h"
#include "taro25d/ConstraintSegment2.h"
#include "taro25d/MsgBase.h"
#include "taro25d/TaroException.h"
#include "taro25d/Taro_2D.h"

using namespace LUMO_TARO25D;

namespace {

ConstraintMgr& managerOf(const Taro_2D& mesh) { return *mesh.getImpl()->getConstraintManager(); }

unsigned labelOf(const ConstraintSegment2& segment) {
    std::ostringstream stream;
    stream << segment;
    return static_cast<unsigned>(std::stoul(stream.str().substr(std::string("ConstraintSegment2 label ").size())));
}

/// The mesh is sound, and every alive segment is one of its edges.
void expectEstablished(const Taro_2D& mesh) {
    const StdoutCapture capture;
    EXPECT_TRUE(mesh.checkValidity(true, "constraints")) << capture.text();
    for (const ConstraintSegment2* pCSeg : aliveSegmentsOf(mesh)) {
        EXPECT_TRUE(mesh.getImpl()->isEdge(pCSeg->getSrc(), pCSeg->getTrg())) << *pCSeg;
    }
}

/// Where the alive chain of a graph starts and where each of its pieces ends.
VertexVector verticesOfChain(const ConstraintGraph2& graph) {
    CSegVector vChain;
    graph.getAliveConstraintChain(vChain);
    VertexVector vVertices;
    for (ConstraintSegment2* pCSeg : vChain) {
        Point2 *pSrc = pCSeg->getSrc(), *pTrg = pCSeg->getTrg();
        if (graph.isReverse(pCSeg)) std::swap(pSrc, pTrg);
        if (vVertices.empty()) vVertices.push_back(pSrc);
        EXPECT_EQ(vVertices.back(), pSrc);
        vVertices.push_back(pTrg);
    }
    return vVertices;
}

/// Three vertices off a line along which the segments of a test lie.
class LineMesh : public testing::Test {
  protected:
    LineMesh() {
        mesh.insert({{-5, -9, 0}, {25, -9, 0}, {10, 30, 0}});
        for (int i = 0; i <= 20; ++i) vOnLine.push_back(mesh.insert(Point2(i, 0, i)));
    }
    ConstraintGraph2* create(int from, int to) {
        return mesh.createConstraint({Segment2(*at(from), *at(to))}, CIS_CONSTRAINED_DELAUNAY, true);
    }
    Point2* at(int i) const { return vOnLine[static_cast<size_t>(i)]; }
    ConstraintSegment2* segment(int i, int k) {
        return managerOf(mesh).addConstraintSegment(at(i), at(k), CIS_CONSTRAINED_DELAUNAY);
    }

    Taro_2D mesh;
    VertexVector vOnLine;
};

}  // namespace

// ---------------------------------------------------------------------------------------------------------------------
// Segments

TEST(ConstraintSegment, PrintsItself) {
    Point2 aPoints[2] = {{0, 0, 1}, {3, 4, 2}};
    ConstraintSegment2 segment(aPoints, aPoints + 1, CIS_CONFORMING_LINEAR_Z);
    EXPECT_EQ(labelOf(ConstraintSegment2(aPoints, aPoints + 1, CIS_CONSTRAINED_DELAUNAY)), labelOf(segment) + 1);
    std::ostringstream expected, text;
    expected << "ConstraintSegment2 label " << labelOf(segment) << ", segment " << &segment << ": (" << aPoints << ","
             << aPoints + 1 << ") [alive]\nPoint2 (" << aPoints << ",-1): 0, 0, 1\nPoint2 (" << aPoints + 1
             << ",-1): 3, 4, 2\nlength=5";
    text << segment;
    EXPECT_EQ(text.str(), expected.str());
    segment.kill();
    text << segment;
    EXPECT_TRUE(contains(text.str(), " [DEAD, numChildren=0]\n"));
}

TEST_F(LineMesh, SplitsMakeATreeOfTwoChildrenEach) {
    // The mesh is not told of the splits, so it adds none of its own.
    ConstraintSegment2* pRoot = segment(3, 9);
    Dt2* pDt2 = mesh.getImpl();
    ConstraintGraph2 first(pDt2, {pRoot}, CIS_CONSTRAINED_DELAUNAY);
    ConstraintGraph2 second(pDt2, {pRoot}, {{{pRoot->getSrc(), pRoot->getTrg()}, true}}, CIS_CONSTRAINED_DELAUNAY);
    EXPECT_FALSE(first.isOriented());
    EXPECT_TRUE(second.isOriented());

    for (const auto& [from, to, split] : {std::array{3, 9, 6}, {6, 9, 8}, {3, 6, 4}, {4, 6, 5}}) {
        ConstraintSegment2* pParent = segment(from, to);
        EXPECT_TRUE(pParent->split_combinatorialOnly(at(split)));
        EXPECT_TRUE(managerOf(mesh).isConstraintVertex(at(split)));
        EXPECT_TRUE(contains(printedByFailing([&] { pParent->split_combinatorialOnly(at(7)); }), "isAlive()"));
    }
    CSegVector vLeaves;
    pRoot->getChildrenRec(vLeaves);
    // Children are ordered by the pointers of their parent's ends, so this order depends on addresses.
    const auto halves = [&](int i, int split, int k) {
        return at(i) < at(k) ? CSegVector{segment(i, split), segment(k, split)}
                             : CSegVector{segment(k, split), segment(i, split)};
    };
    const auto replace = [](CSegVector& vCSegs, ConstraintSegment2* pOld, const CSegVector& vNew) {
        auto it = std::find(vCSegs.begin(), vCSegs.end(), pOld);
        vCSegs.insert(vCSegs.erase(it), vNew.begin(), vNew.end());
    };
    CSegVector vExpected = halves(3, 6, 9);
    replace(vExpected, segment(6, 9), halves(6, 8, 9));
    replace(vExpected, segment(3, 6), halves(3, 4, 6));
    replace(vExpected, segment(4, 6), halves(4, 5, 6));
    EXPECT_EQ(vLeaves, vExpected);

    const bool bDown = first.isReverse(pRoot) ? pRoot->getSrc() == at(3) : pRoot->getTrg() == at(3);
    for (const ConstraintGraph2* pGraph : {&first, &second}) {
        VertexVector vExpectedVertices{at(3), at(4), at(5), at(6), at(8), at(9)};
        if (bDown == (pGraph == &first)) std::reverse(vExpectedVertices.begin(), vExpectedVertices.end());
        EXPECT_EQ(verticesOfChain(*pGraph), vExpectedVertices);
        EXPECT_TRUE(pGraph->isConstraint(at(8), at(9)) && pGraph->isConstraint(segment(4, 5)));
        EXPECT_FALSE(pGraph->isConstraint(at(3), at(9)) || pGraph->isConstraint(at(3), at(3)) ||
                     pGraph->isConstraint(segment(10, 11)) || pGraph->isConstraint(nullptr));
    }
    EXPECT_EQ(segment(4, 5)->getNumberOfOwners(), 2u);
    const unsigned lastLabel = labelOf(*segment(17, 18));
    first.isConstraint(at(8), at(9));
    EXPECT_EQ(labelOf(*segment(18, 19)), lastLabel + 2) << "the question takes a label";
}

TEST_F(LineMesh, OwnersThatDoNotKnowASegmentAreFound) {
    const ConstraintGraph2* pGraph = create(4, 5);
    ConstraintSegment2* pStranger = segment(19, 20);
    pStranger->addOwnerRecursive(const_cast<ConstraintGraph2*>(pGraph));
    std::ostringstream expected;
    expected << "ConstraintSegment2::dbg_hasDirection(), label " << labelOf(*segment(4, 5))
             << ", alive, numOwners=1\nFor one owner CG2: " << pGraph << " has Direction, true\n"
             << "ConstraintSegment2::dbg_hasDirection(), label " << labelOf(*pStranger)
             << ", alive, numOwners=1\nFor one owner CG2: " << pGraph << " NO Direction, NOK NOK NOK\n";
    EXPECT_EQ(printedBy([&] {
                  EXPECT_TRUE(segment(4, 5)->dbg_hasDirection());
                  EXPECT_FALSE(pStranger->dbg_hasDirection());
              }),
              expected.str());
}

TEST_F(LineMesh, ASplitWhoseChildWouldBeAnAncestorIsRefused) {
    ConstraintGraph2 graph(mesh.getImpl(), {segment(0, 9)}, CIS_CONSTRAINED_DELAUNAY);
    segment(0, 9)->split_combinatorialOnly(at(5));
    segment(0, 5)->split_combinatorialOnly(at(3));
    const size_t numPoints = mesh.numberOfPoints();
    Recorder listener;
    mesh.subscribe(MT_WARNING, &listener);
    for (const int beyond : {5, 9}) {
        const StdoutCapture capture;
        EXPECT_FALSE(segment(0, 3)->split_combinatorialOnly(at(beyond)));
        EXPECT_TRUE(contains(capture, "ConstraintMgr::apply(), WARNING: insufficient numeric accuracy, "));
        EXPECT_EQ(segment(0, 3)->insertAndSplit(*at(beyond)), nullptr);
    }
    EXPECT_EQ(listener.vMessages.size(), 4u);
    EXPECT_TRUE(segment(0, 3)->isAlive());
    EXPECT_EQ(mesh.numberOfPoints(), numPoints);
    EXPECT_TRUE(segment(0, 3)->split_combinatorialOnly(at(1)));
}

TEST(ConstraintSegment, RunsAlongManyVerticesDoNotExhaustTheStack) {
    const int n = static_cast<int>(scaled(100000));
    PointVector vPoints{{0, 1, 0}, {0.5 * n, -1, 0}};
    for (int i = 0; i <= n; ++i) vPoints.emplace_back(i, 0, 0);
    for (const ConstraintInsertionStrategy cis : {CIS_CONSTRAINED_DELAUNAY, CIS_CONFORMING_LINEAR_Z}) {
        Taro_2D mesh;
        mesh.insert(vPoints);
        ConstraintGraph2* pLine = mesh.createConstraint({Segment2({double(n), 0, 0}, {0, 0, 0})}, cis, true);
        const VertexVector vOnLine = verticesOfChain(*pLine);
        ASSERT_EQ(vOnLine.size(), vPoints.size() - 2);
        for (size_t i = 0; i < vOnLine.size(); ++i) ASSERT_EQ(vOnLine[i]->x(), n - double(i));
        // The pieces exist already; only in this call the whole segment is a side of a polygon.
        ConstraintGraph2* pGraph = mesh.createConstraint(makeSides({{0, 0, 0}, {0, 1, 0}, {double(n), 0, 0}}),
                                                         CIS_CONSTRAINED_DELAUNAY, false);
        const VertexVector vVertices = polygonOf(pGraph);
        ASSERT_EQ(vVertices.size(), vOnLine.size() + 1);
        EXPECT_EQ(vVertices[1], vOnLine.end()[-2]);
    }
}

TEST_F(LineMesh, SplittingTakesOutWhatRefinementInsertedInTheCircle) {
    create(3, 4);
    InnerVtxMgr& inner = mesh.getImpl()->getInnerVtxMgr();
    const auto add = [&](double x, double y) {
        Point2* pVtx = mesh.insert(Point2(x, y, 0));
        inner.addVtx(pVtx);
        inner.addVtx(pVtx);
        return pVtx;
    };
    add(3.5, 0.25);
    add(3.5, -0.375);
    add(3.75, 0.25);
    add(3.5, 0.5);  // on the circle
    Point2 *pForgotten = add(3.25, 0.25), *pFixed = add(3.375, 0.125);
    inner.eraseVtx(pForgotten);
    inner.eraseVtx(at(0));
    mesh.createConstraint({Segment2(*pFixed, Point2(3.375, 9, 0))}, CIS_CONSTRAINED_DELAUNAY);
    const size_t numPoints = mesh.numberOfPoints();
    EXPECT_FALSE(segment(3, 4)->splitAndRemovePrev(*at(4)));
    EXPECT_EQ(mesh.numberOfPoints(), numPoints);
    EXPECT_TRUE(segment(3, 4)->splitAndRemovePrev(Point2(3.5, 0, 0)));
    EXPECT_EQ(mesh.numberOfPoints(), numPoints + 1 - 3);
    expectEstablished(mesh);
    inner.removePreviouslyInsertedVertices(at(3), 100, mesh.getImpl());  // of the rest only one is known, and free
    EXPECT_EQ(mesh.numberOfPoints(), numPoints - 3);
    EXPECT_EQ(mesh.getImpl()->getVertexPointer(Point2(3.5, 0.5, 0)), nullptr);
    add(1.5, 1);
    inner.clear();
    inner.removePreviouslyInsertedVertices(at(3), 100, mesh.getImpl());
    EXPECT_EQ(mesh.numberOfPoints(), numPoints - 2);
}

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
