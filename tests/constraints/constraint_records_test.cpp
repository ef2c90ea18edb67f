#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <optional>
#include <sstream>
#include <tuple>
#include <vector>

#include "constraints/ConstraintMgr.h"
#include "mesh/Dt2.h"
#include "mesh/InnerVtxMgr.h"
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

TEST(ConstraintSegment, KeepsARecordForEachGraph) {
    Point2 aPoints[2] = {{0, 0, 1}, {3, 4, 2}};
    ConstraintSegment2 segment(aPoints, aPoints + 1, CIS_CONSTRAINED_DELAUNAY);
    double aPlaces[3] = {};
    ConstraintGraph2* aGraphs[3] = {};  // only addresses
    for (int i = 0; i < 3; ++i) aGraphs[i] = reinterpret_cast<ConstraintGraph2*>(aPlaces + i);
    // From one record to several and back.
    for (const int i : {1, 2, 0}) {
        EXPECT_TRUE(segment.addDirection(aGraphs[i], i == 1));
        EXPECT_FALSE(segment.addDirection(aGraphs[i], i != 1)) << "the first one stays";
        EXPECT_FALSE(segment.removeOwner(aGraphs[i]));
        segment.addOwnerRecursive(aGraphs[i]);
        segment.addOwnerRecursive(aGraphs[i]);
    }
    EXPECT_EQ(segment.getNumberOfOwners(), 3u);
    const ConstraintSegment2::State stateOfThree = segment.getState();
    EXPECT_TRUE(segment.removeOwner(aGraphs[2]) && segment.forgetGraph(aGraphs[1]));
    EXPECT_FALSE(segment.removeOwner(aGraphs[2]) || segment.forgetGraph(aGraphs[1]));
    EXPECT_EQ(segment.getNumberOfOwners(), 1u);
    EXPECT_EQ(segment.getDirection(aGraphs[1]), std::nullopt);
    EXPECT_EQ(segment.getDirection(aGraphs[2]), false) << "ownership and direction are independent";
    EXPECT_TRUE(segment.forgetGraph(aGraphs[2]) && segment.forgetGraph(aGraphs[0]));
    EXPECT_TRUE(std::get<0>(segment.getState()).empty());
    segment.setState(stateOfThree);
    EXPECT_EQ(segment.getNumberOfOwners(), 3u);
    EXPECT_EQ(segment.getDirection(aGraphs[1]), true);
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
