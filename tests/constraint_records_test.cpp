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

#include "ConstraintMgr.h"
#include "Dt2.h"
#include "InnerVtxMgr.h"
#include "support/capture.h"
#include "support/generators.h"
#include "taro25d/ConstraintGraph2.h"
#include "taro25d/ConstraintSegment2.h"
#include "taro25d/MsgBase.h"
#include "taro25d/TaroException.h"
#include "taro25d/Taro_2D.h"

using namespace LUMO_TARO25D;

namespace {

using CSegs = std::vector<ConstraintSegment2*>;
using Segments = std::vector<Segment2>;
using Handles = std::vector<Point2*>;

constexpr ConstraintInsertionStrategy allStrategies[] = {CIS_CONFORMING_SURFACE_Z, CIS_CONSTRAINED_DELAUNAY,
                                                         CIS_CONFORMING_LINEAR_Z};

ConstraintMgr& managerOf(const Taro_2D& mesh) { return *mesh.getImpl()->getConstraintManager(); }

/// Calls something that must fail; returns what it printed.
template <class Call>
std::string textOfFailure(const Call& call) {
    const StdoutCapture capture;
    EXPECT_THROW(call(), TaroException);
    return capture.text();
}

bool contains(const std::string& text, const std::string& part) { return text.find(part) != std::string::npos; }

/// A segment for each pair of points that follow each other; with bClosed from the last to the first, too.
Segments chainOf(const PointVector& vPoints, bool bClosed = false) {
    Segments vSegments;
    for (size_t i = 0; i + 1 < vPoints.size(); ++i) vSegments.emplace_back(vPoints[i], vPoints[i + 1]);
    if (bClosed) vSegments.emplace_back(vPoints.back(), vPoints.front());
    return vSegments;
}

struct Listener : MsgBase {
    void update(MsgType, const std::string& message, double value) override {
        vMessages.push_back(message);
        vValues.push_back(value);
        if (pMesh) numPoints = pMesh->numberOfPoints();
    }
    std::vector<std::string> vMessages;
    std::vector<double> vValues;
    const Taro_2D* pMesh = nullptr;
    size_t numPoints = 0;
};

unsigned labelOf(const ConstraintSegment2& segment) {
    std::ostringstream stream;
    stream << segment;
    return static_cast<unsigned>(std::stoul(stream.str().substr(std::string("ConstraintSegment2 label ").size())));
}

/// The mesh is sound, and every alive segment is one of its edges.
void expectEstablished(const Taro_2D& mesh) {
    const StdoutCapture capture;
    EXPECT_TRUE(mesh.checkValidity(true, "constraints")) << capture.text();
    CSegs vAlive;
    mesh.getAliveConstraintSegments(vAlive);
    for (const ConstraintSegment2* pCSeg : vAlive) {
        EXPECT_TRUE(mesh.getImpl()->isEdge(pCSeg->getSrc(), pCSeg->getTrg())) << *pCSeg;
    }
}

/// Where the alive chain of a graph starts and where each of its pieces ends.
Handles verticesOfChain(const ConstraintGraph2& graph) {
    CSegs vChain;
    graph.getAliveConstraintChain(vChain);
    Handles vVertices;
    for (ConstraintSegment2* pCSeg : vChain) {
        Point2 *pSrc = pCSeg->getSrc(), *pTrg = pCSeg->getTrg();
        if (graph.isReverse(pCSeg)) std::swap(pSrc, pTrg);
        if (vVertices.empty()) vVertices.push_back(pSrc);
        EXPECT_EQ(vVertices.back(), pSrc);
        vVertices.push_back(pTrg);
    }
    return vVertices;
}

PointVector positionsOf(const Handles& vVertices) {
    PointVector vPoints;
    for (const Point2* pVtx : vVertices) vPoints.push_back(*pVtx);
    return vPoints;
}

/// Three vertices off a line along which the segments of a test lie.
class LineMesh : public testing::Test {
  protected:
    LineMesh() {
        mesh.insert({{-5, -9, 0}, {25, -9, 0}, {10, 30, 0}});
        for (int i = 0; i <= 20; ++i) vOnLine.push_back(mesh.insert(Point2(i, 0, i)));
    }
    ConstraintGraph2* create(int from, int to) { return createIn(mesh, from, to); }
    ConstraintGraph2* createIn(Taro_2D& taro, int from, int to) {
        return taro.createConstraint({Segment2(*at(from), *at(to))}, CIS_CONSTRAINED_DELAUNAY, true);
    }
    Point2* at(int i) const { return vOnLine[static_cast<size_t>(i)]; }
    ConstraintSegment2* segment(int i, int k) {
        return managerOf(mesh).addConstraintSegment(at(i), at(k), CIS_CONSTRAINED_DELAUNAY);
    }

    Taro_2D mesh;
    Handles vOnLine;
};

}  // namespace

// ---------------------------------------------------------------------------------------------------------------------
// Segments

TEST(ConstraintSegment, keepsItsEndsInPointerOrderAndPrintsItself) {
    Point2 aPoints[2] = {{0, 0, 1}, {3, 4, 2}};
    EXPECT_TRUE(contains(textOfFailure([&] { ConstraintSegment2(aPoints + 1, aPoints, CIS_CONSTRAINED_DELAUNAY); }),
                         "Condition [ p0<p1 failed ]"));
    EXPECT_THROW(ConstraintSegment2(aPoints, aPoints, CIS_CONSTRAINED_DELAUNAY), TaroException);
    ConstraintSegment2 segment(aPoints, aPoints + 1, CIS_CONFORMING_LINEAR_Z);
    EXPECT_EQ(segment.getCIS(), CIS_CONFORMING_LINEAR_Z);
    EXPECT_EQ(segment.getAdjacentArea(), 1.7976931348623157e308);
    EXPECT_EQ(labelOf(ConstraintSegment2(aPoints, aPoints + 1, CIS_CONSTRAINED_DELAUNAY)), labelOf(segment) + 1);
    std::ostringstream expected, text;
    expected << "ConstraintSegment2 label " << labelOf(segment) << ", segment " << &segment << ": (" << aPoints << ","
             << aPoints + 1 << ") [alive]\nPoint2 (" << aPoints << ",-1): 0, 0, 1\nPoint2 (" << aPoints + 1
             << ",-1): 3, 4, 2\nlength=5";
    text << segment;
    EXPECT_EQ(text.str(), expected.str());
    segment.kill();
    EXPECT_FALSE(segment.isAlive());
    text << segment;
    EXPECT_TRUE(contains(text.str(), " [DEAD, numChildren=0]\n"));
    EXPECT_TRUE(contains(textOfFailure([&] { segment.addOwnerRecursive(nullptr); }),
                         "Condition [ pKid0!=__null && pKid1!=__null failed ]"));
    segment.unkill();
    EXPECT_TRUE(segment.isAlive());
}

TEST_F(LineMesh, splitsMakeATreeOfTwoChildrenEach) {
    // Without the mesh knowing, so that the tree is the one that is wanted.
    ConstraintSegment2* pRoot = segment(3, 9);
    EXPECT_TRUE(contains(textOfFailure([&] { pRoot->split_combinatorialOnly(nullptr); }), "pSplit!=__null"));
    EXPECT_TRUE(contains(textOfFailure([&] { pRoot->split_combinatorialOnly(at(9)); }), "p0!=pSplit && p1!=pSplit"));
    EXPECT_TRUE(contains(textOfFailure([&] { pRoot->split_combinatorialOnly(at(4)); }), "!sOwners.empty()"));
    EXPECT_TRUE(contains(textOfFailure([&] {
                             CSegs vLeaves;
                             pRoot->getChildrenRec(vLeaves);
                         }),
                         "vChildren.size()==2"));
    Dt2* pDt2 = mesh.getImpl();
    ConstraintGraph2 first(pDt2, {pRoot}, CIS_CONSTRAINED_DELAUNAY);
    ConstraintGraph2 second(pDt2, {pRoot}, {{{pRoot->getSrc(), pRoot->getTrg()}, true}}, CIS_CONSTRAINED_DELAUNAY);
    EXPECT_FALSE(first.isOriented());
    EXPECT_TRUE(second.isOriented());

    for (const auto& [from, to, split] : {std::array{3, 9, 6}, {6, 9, 8}, {3, 6, 4}, {4, 6, 5}}) {
        EXPECT_TRUE(segment(from, to)->split_combinatorialOnly(at(split)));
        EXPECT_TRUE(managerOf(mesh).isConstraintVertex(at(split)));
        EXPECT_TRUE(contains(textOfFailure([&] { segment(from, to)->split_combinatorialOnly(at(7)); }), "isAlive()"));
    }
    CSegs vLeaves;
    pRoot->getChildrenRec(vLeaves);
    // Children are ordered by the pointers of their parent's ends, so this order depends on addresses.
    const auto halves = [&](int i, int split, int k) {
        return at(i) < at(k) ? CSegs{segment(i, split), segment(k, split)}
                             : CSegs{segment(k, split), segment(i, split)};
    };
    const auto replace = [](CSegs& vCSegs, ConstraintSegment2* pOld, const CSegs& vNew) {
        auto it = std::find(vCSegs.begin(), vCSegs.end(), pOld);
        vCSegs.insert(vCSegs.erase(it), vNew.begin(), vNew.end());
    };
    CSegs vExpected = halves(3, 6, 9);
    replace(vExpected, segment(6, 9), halves(6, 8, 9));
    replace(vExpected, segment(3, 6), halves(3, 4, 6));
    replace(vExpected, segment(4, 6), halves(4, 5, 6));
    EXPECT_EQ(vLeaves, vExpected);

    ConstraintSegment2 *pChild0 = nullptr, *pChild1 = nullptr;
    Point2* pSplit = nullptr;
    pRoot->getChildrenAndSplitPoint(pChild0, pChild1, pSplit);
    EXPECT_EQ(pSplit, at(6));
    {
        const StdoutCapture capture;
        segment(8, 9)->getChildrenAndSplitPoint(pChild0, pChild1, pSplit);
        EXPECT_TRUE(contains(capture.text(), "getChildrenAndSplitPoint(), WARNING: *this is still alive!"));
        EXPECT_EQ(pSplit, at(6));
    }
    const bool bDown = first.isReverse(pRoot) ? pRoot->getSrc() == at(3) : pRoot->getTrg() == at(3);
    for (const ConstraintGraph2* pGraph : {&first, &second}) {
        Handles vExpectedVertices{at(3), at(4), at(5), at(6), at(8), at(9)};
        if (bDown == (pGraph == &first)) std::reverse(vExpectedVertices.begin(), vExpectedVertices.end());
        EXPECT_EQ(verticesOfChain(*pGraph), vExpectedVertices);
        EXPECT_TRUE(pGraph->isConstraint(at(8), at(9)));
        EXPECT_TRUE(pGraph->isConstraint(segment(4, 5)));
        EXPECT_FALSE(pGraph->isConstraint(at(3), at(9)));
        EXPECT_FALSE(pGraph->isConstraint(at(3), at(3)));
        EXPECT_FALSE(pGraph->isConstraint(segment(10, 11)));
        EXPECT_TRUE(contains(textOfFailure([&] { pGraph->isReverse(segment(10, 11)); }), "q_it!=mCSegReverse.end()"));
    }
    EXPECT_EQ(segment(4, 5)->getNumberOfOwners(), 2u);
    const unsigned lastLabel = labelOf(*segment(17, 18));
    first.isConstraint(at(8), at(9));
    EXPECT_EQ(labelOf(*segment(18, 19)), lastLabel + 2);

    const StdoutCapture capture;
    EXPECT_TRUE(segment(4, 5)->dbg_hasDirection());
    ConstraintSegment2* pStranger = segment(19, 20);
    pStranger->addOwnerRecursive(&first);
    EXPECT_FALSE(pStranger->dbg_hasDirection());
    pStranger->removeOwner(&first);
    EXPECT_EQ(pStranger->getNumberOfOwners(), 0u);
    std::ostringstream expected;
    expected << "ConstraintSegment2::dbg_hasDirection(), label " << labelOf(*pStranger)
             << ", alive, numOwners=1\nFor one owner CG2: " << &first << " NO Direction, NOK NOK NOK\n";
    EXPECT_TRUE(contains(capture.text(), expected.str())) << capture.text();
    EXPECT_TRUE(contains(capture.text(), " has Direction, true\n"));
}

TEST_F(LineMesh, aSplitWhoseChildWouldBeAnAncestorIsRefused) {
    ConstraintGraph2 graph(mesh.getImpl(), {segment(0, 9)}, CIS_CONSTRAINED_DELAUNAY);
    segment(0, 9)->split_combinatorialOnly(at(5));
    segment(0, 5)->split_combinatorialOnly(at(3));
    const size_t numPoints = mesh.numberOfPoints();
    Listener listener;
    mesh.subscribe(MT_WARNING, &listener);
    for (const int beyond : {5, 9}) {
        const StdoutCapture capture;
        EXPECT_FALSE(segment(0, 3)->split_combinatorialOnly(at(beyond)));
        EXPECT_EQ(segment(0, 3)->insertAndSplit(*at(beyond)), nullptr);
        EXPECT_TRUE(contains(capture.text(), "ConstraintMgr::apply(), WARNING: insufficient numeric accuracy, "));
    }
    EXPECT_EQ(listener.vMessages.size(), 4u);
    EXPECT_TRUE(segment(0, 3)->isAlive());
    EXPECT_EQ(mesh.numberOfPoints(), numPoints);
    EXPECT_TRUE(segment(0, 3)->split_combinatorialOnly(at(1)));
}

TEST_F(LineMesh, overlappingSegmentsShareTheirPieces) {
    ConstraintGraph2* pLong = create(2, 15);
    ConstraintGraph2* pShort = create(18, 7);
    ConstraintGraph2* pWhole = create(0, 20);
    expectEstablished(mesh);
    const auto range = [&](int from, int to) {
        Handles vVertices;
        for (int i = from; i != to; i += from < to ? 1 : -1) vVertices.push_back(at(i));
        vVertices.push_back(at(to));
        return vVertices;
    };
    EXPECT_EQ(verticesOfChain(*pLong), range(2, 15));
    EXPECT_EQ(verticesOfChain(*pShort), range(18, 7));
    EXPECT_EQ(verticesOfChain(*pWhole), range(0, 20));
    EXPECT_EQ(segment(9, 10)->getNumberOfOwners(), 3u);
    EXPECT_NE(pLong->isReverse(segment(9, 10)), pShort->isReverse(segment(9, 10)));

    Point2* pSplit = segment(9, 10)->insertAndSplit(Point2(9.25, 0, 7));
    ASSERT_NE(pSplit, nullptr);
    EXPECT_EQ(pSplit->z(), 7.0);
    expectEstablished(mesh);
    for (const ConstraintGraph2* pGraph : {pLong, pShort, pWhole}) {
        const Handles vVertices = verticesOfChain(*pGraph);
        EXPECT_EQ(std::count(vVertices.begin(), vVertices.end(), pSplit), 1);
    }
    EXPECT_EQ(segment(3, 4)->insertAndSplit(Point2(4, 0, 99)), nullptr);
    EXPECT_TRUE(segment(3, 4)->isAlive());
    EXPECT_TRUE(contains(textOfFailure([&] { segment(3, 4)->insertAndSplit(Point2(NAN, 0, 0)); }), "pSplit!=__null"));
    EXPECT_TRUE(segment(3, 4)->isAlive());
}

TEST(ConstraintSegment, runsAlongManyVerticesDoNotExhaustTheStack) {
    const int n = static_cast<int>(scaled(100000));
    PointVector vPoints{{0, 1, 0}, {0.5 * n, -1, 0}};
    for (int i = 0; i <= n; ++i) vPoints.emplace_back(i, 0, 0);
    for (const ConstraintInsertionStrategy cis : {CIS_CONSTRAINED_DELAUNAY, CIS_CONFORMING_LINEAR_Z}) {
        Taro_2D mesh;
        mesh.insert(vPoints);
        ConstraintGraph2* pLine = mesh.createConstraint({Segment2({double(n), 0, 0}, {0, 0, 0})}, cis, true);
        const Handles vOnLine = verticesOfChain(*pLine);
        ASSERT_EQ(vOnLine.size(), vPoints.size() - 2);
        for (size_t i = 0; i < vOnLine.size(); ++i) ASSERT_EQ(vOnLine[i]->x(), n - double(i));
        // Its pieces are there already; only this time the whole is part of a polygon.
        ConstraintGraph2* pGraph = mesh.createConstraint(chainOf({{0, 0, 0}, {0, 1, 0}, {double(n), 0, 0}}, true),
                                                         CIS_CONSTRAINED_DELAUNAY, false);
        Handles vVertices;
        pGraph->getPolygonVertices(vVertices);
        ASSERT_EQ(vVertices.size(), vOnLine.size() + 1);
        EXPECT_EQ(vVertices[1], vOnLine.end()[-2]);
    }
}

TEST(ConstraintSegment, insertAndSplitLeavesASoundMesh) {
    for (const int seed : {1, 2, 3, 4, 5, 6}) {
        SCOPED_TRACE(seed);
        Random r(static_cast<unsigned>(seed));
        const double offset = seed % 2 == 0 ? 5e6 : 0;  // large eastings leave few bits beside a segment
        const auto point = [&] { return Point2(offset + uniform(r, 0, 10), uniform(r, 0, 10), uniform(r, 0, 1)); };
        Taro_2D mesh;
        PointVector vPoints;
        for (int i = 0; i < 60; ++i) vPoints.push_back(point());
        mesh.insert(vPoints);
        std::vector<ConstraintGraph2*> vGraphs;
        for (int i = 0; i < 6; ++i) {
            vGraphs.push_back(mesh.createConstraint({Segment2(point(), point())}, allStrategies[i % 3], i % 2 == 0));
        }
        for (int i = 0; i < 60; ++i) {
            CSegs vAlive;
            mesh.getAliveConstraintSegments(vAlive);
            ConstraintSegment2* pCSeg = vAlive[r() % vAlive.size()];
            const Point2 &src = *pCSeg->getSrc(), &trg = *pCSeg->getTrg();
            const double t = uniform(r, 0.1, 0.9);
            const Point2 p(src.x() + t * (trg.x() - src.x()), src.y() + t * (trg.y() - src.y()), 0);
            const bool bAtEnd = p == src || p == trg;
            Point2* pSplit = pCSeg->insertAndSplit(p);
            ASSERT_EQ(pSplit == nullptr, bAtEnd);
            ASSERT_EQ(pCSeg->isAlive(), bAtEnd);
            if (pSplit) {
                ASSERT_EQ(*pSplit, p);
            }
        }
        expectEstablished(mesh);
        for (const ConstraintGraph2* pGraph : vGraphs) verticesOfChain(*pGraph);
        CSegs vAlive, vPieces;
        mesh.getAliveConstraintSegments(vAlive);
        for (const ConstraintGraph2* pGraph : vGraphs) pGraph->getChildConstraintSegments(vPieces);
        EXPECT_EQ(std::set<ConstraintSegment2*>(vAlive.begin(), vAlive.end()),
                  std::set<ConstraintSegment2*>(vPieces.begin(), vPieces.end()));
    }
}

TEST_F(LineMesh, splitAndRemovePrevTakesOutWhatRefinementInsertedInTheCircle) {
    create(3, 4);
    InnerVtxMgr& inner = *mesh.getImpl()->getInnerVtxManager();
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

TEST(ConstraintGraph, aClosedChainIsACounterclockwisePolygonInAnyOrderOfInput) {
    Random r(7);
    for (int round = 0; round < 200; ++round) {
        SCOPED_TRACE(round);
        // Star-shaped around the origin, with corners in general position.
        const int n = static_cast<int>(integer(r, 3, 12));
        PointVector vCorners;
        for (int i = 0; i < n; ++i) {
            const double angle = 6.283 * i / n, radius = uniform(r, 2, 5);
            vCorners.emplace_back(radius * std::cos(angle), radius * std::sin(angle), 0);
        }
        Segments vSegments = chainOf(vCorners, true);
        const bool bClockwise = integer(r, 0, 1) == 1, bMixed = integer(r, 0, 1) == 1;
        for (Segment2& segment : vSegments) {
            if (bMixed ? integer(r, 0, 1) == 1 : bClockwise) segment.swapSrcTrg();
        }
        std::shuffle(vSegments.begin(), vSegments.end(), r);
        Taro_2D mesh;
        const auto cis = allStrategies[r() % 3];
        ConstraintGraph2* pGraph = mesh.createConstraint(vSegments, cis, integer(r, 0, 1) == 1);
        ASSERT_TRUE(pGraph->isPolygon());
        EXPECT_TRUE(pGraph->isOriented());
        EXPECT_EQ(pGraph->getInsertionStrategy(), cis);
        std::rotate(vCorners.begin(), std::min_element(vCorners.begin(), vCorners.end()), vCorners.end());
        Handles vVertices;
        pGraph->getPolygonVertices(vVertices);
        PointVector vFound = positionsOf(vVertices);
        if (cis != CIS_CONSTRAINED_DELAUNAY) {  // which may have more vertices between the corners
            const auto bBetween = [&](const Point2& p) {
                return std::find(vCorners.begin(), vCorners.end(), p) == vCorners.end();
            };
            vFound.erase(std::remove_if(vFound.begin(), vFound.end(), bBetween), vFound.end());
        }
        EXPECT_EQ(vFound, vCorners);
    }
}

TEST(ConstraintGraph, isAPolygonOnlyIfOneLoopUsesEverySegment) {
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
        Segments vSegments;
        size_t aDegree[6] = {}, aPart[6] = {0, 1, 2, 3, 4, 5};
        for (const auto& [i, k] : vPairs) {
            vSegments.emplace_back(vCorners[i], vCorners[k]);
            ++aDegree[i];
            ++aDegree[k];
            std::replace(std::begin(aPart), std::end(aPart), size_t(aPart[i]), size_t(aPart[k]));
        }
        bool bExpected = n >= 3;
        for (size_t i = 0; i < 6; ++i) {
            if (aDegree[i] == 0) continue;
            bExpected = bExpected && aDegree[i] == 2 && aPart[i] == aPart[vPairs[0].first];
        }
        Taro_2D mesh;  // without further vertices the records are not established, so crossings do not matter
        Handles vHandles;
        std::vector<ConstraintMgr::VertexPair> vVertexPairs;
        mesh.insert(vCorners, vHandles);
        for (const auto& [i, k] : vPairs) vVertexPairs.emplace_back(vHandles[i], vHandles[k]);
        ConstraintGraph2* pGraph = managerOf(mesh).createConstraint(vVertexPairs, CIS_CONSTRAINED_DELAUNAY, false);
        ASSERT_EQ(pGraph->isPolygon(), bExpected) << round;
        ASSERT_EQ(pGraph->isOriented(), bExpected);
        CSegs vOriginal;
        pGraph->getOriginalConstraintSegments(vOriginal);
        ASSERT_EQ(vOriginal.size(), n);
        Handles vVertices;
        pGraph->getPolygonVertices(vVertices);
        ASSERT_EQ(vVertices.size(), bExpected ? n : 0);
        for (size_t i = 0; i < n && !bExpected; ++i) {
            ASSERT_EQ(vOriginal[i], mesh.getConstraintSegment(vVertexPairs[i].first, vVertexPairs[i].second));
            ASSERT_FALSE(pGraph->isReverse(vOriginal[i]));
        }
        numPolygons += bExpected;
    }
    EXPECT_GT(numPolygons, 50);
}

TEST(ConstraintGraph, aCrossedSideGetsItsVertexBetweenTheCorners) {
    for (const bool bOriented : {false, true}) {
        Taro_2D mesh;
        const PointVector vSquare{{0, 0, 0}, {0, 4, 0}, {4, 4, 0}, {4, 0, 0}};  // clockwise
        ConstraintGraph2* pGraph = mesh.createConstraint(chainOf(vSquare, true), CIS_CONSTRAINED_DELAUNAY, bOriented);
        ConstraintGraph2* pSide =
            mesh.createConstraint({Segment2({0, 4, 0}, {0, 0, 0})}, CIS_CONSTRAINED_DELAUNAY, true);
        mesh.createConstraint({Segment2({-1, 1, 5}, {6, 1, 5})}, CIS_CONSTRAINED_DELAUNAY);
        Handles vVertices;
        pGraph->getPolygonVertices(vVertices);
        const PointVector vExpected{{0, 0, 0}, {4, 0, 0}, {4, 1, 0}, {4, 4, 0}, {0, 4, 0}, {0, 1, 0}};
        EXPECT_EQ(positionsOf(vVertices), vExpected);
        const PointVector vExpectedSide{{0, 4, 0}, {0, 1, 0}, {0, 0, 0}};
        EXPECT_EQ(positionsOf(verticesOfChain(*pSide)), vExpectedSide);
        EXPECT_EQ(vVertices.back()->z(), 0.0);  // the height of the segment that was there before
        expectEstablished(mesh);
    }
}

TEST(ConstraintGraph, keepsTheDirectionOfTheFirstOfEqualSegmentsAndReportsSpikes) {
    Taro_2D mesh;
    mesh.insert({{-1, -1, 0}, {9, -1, 0}, {0, 9, 0}});
    const Point2 a(0, 0, 0), b(4, 0, 0), c(2, 0, 0), d(2, 3, 0);
    ConstraintGraph2* pTwice =
        mesh.createConstraint({Segment2(b, a), Segment2(a, b), Segment2(b, d)}, CIS_CONSTRAINED_DELAUNAY, true);
    EXPECT_FALSE(pTwice->isPolygon());
    CSegs vCSegs;
    pTwice->getAliveConstraintChain(vCSegs);
    ASSERT_EQ(vCSegs.size(), 3u);
    EXPECT_EQ(vCSegs[0], vCSegs[1]);
    EXPECT_EQ(*(pTwice->isReverse(vCSegs[0]) ? vCSegs[0]->getTrg() : vCSegs[0]->getSrc()), b);

    // One closed chain that runs back on itself: the shared piece can have one direction only.
    ConstraintGraph2* pSpike = mesh.createConstraint(chainOf({d, a, b, c}, true), CIS_CONSTRAINED_DELAUNAY, false);
    EXPECT_TRUE(pSpike->isPolygon());
    const StdoutCapture capture;
    Handles vVertices;
    pSpike->getPolygonVertices(vVertices);
    EXPECT_EQ(vVertices.size(), 5u);
    EXPECT_TRUE(
        contains(capture.text(), "BUG in ConstraintGraph2::getPolygonVertices\nFor constraint segment pCSeg: "));
    EXPECT_TRUE(contains(capture.text(), "ownerCG=0x"));
}

TEST(ConstraintGraph, refusesWhatTheManagerNeverMakes) {
    Taro_2D mesh;
    Point2 aPoints[3] = {{0, 0, 0}, {1, 0, 0}, {1, 0, 5}};
    ConstraintSegment2 sound(aPoints, aPoints + 1, CIS_CONSTRAINED_DELAUNAY),
        degenerate(aPoints + 1, aPoints + 2, CIS_CONSTRAINED_DELAUNAY);
    const StdoutCapture capture;
    const ConstraintGraph2 graph(mesh.getImpl(), {&sound, &degenerate}, CIS_CONSTRAINED_DELAUNAY);
    EXPECT_TRUE(contains(capture.text(),
                         "ConstraintGraph2::ConstraintGraph2(), WARNING: Ignoring a degenerate constraint "
                         "segment"));
    CSegs vCSegs;
    graph.getOriginalConstraintSegments(vCSegs);
    EXPECT_EQ(vCSegs, CSegs{&sound});
    EXPECT_TRUE(
        contains(textOfFailure([&] { ConstraintGraph2(mesh.getImpl(), {&sound}, {}, CIS_CONSTRAINED_DELAUNAY); }),
                 "q_it!=mPPReverse.end()"));
    EXPECT_TRUE(contains(textOfFailure([&] { managerOf(mesh).updateConstraintSegment(&sound, &sound, &sound); }),
                         "!pParentCSeg->isAlive()"));
    EXPECT_TRUE(contains(
        textOfFailure([&] { managerOf(mesh).addConstraintSegment(aPoints, aPoints, CIS_CONSTRAINED_DELAUNAY); }),
        "p0<p1"));
}

TEST_F(LineMesh, aGraphThatCannotBeMadeOwnsNothing) {
    ConstraintGraph2* pGraph = create(2, 3);
    create(3, 4);
    // A polygon, and segments of which another one comes first.
    const std::vector<Segments> vLists{chainOf({*at(2), *at(3), Point2(2, -1, 0)}, true),
                                       chainOf({*at(4), *at(3), *at(2)})};
    for (const Segments& vSegments : vLists) mesh.createConstraint(vSegments, CIS_CONSTRAINED_DELAUNAY);
    const size_t numOwners = segment(3, 4)->getNumberOfOwners();
    segment(2, 3)->kill();
    for (const Segments& vSegments : vLists) {
        for (const bool bOriented : {false, true}) {
            const auto createAgain = [&] { mesh.createConstraint(vSegments, CIS_CONSTRAINED_DELAUNAY, bOriented); };
            EXPECT_TRUE(contains(textOfFailure(createAgain), "Condition [ pKid0!=__null && pKid1!=__null failed ]"));
        }
    }
    EXPECT_FALSE(contains(textOfFailure([&] { pGraph->show("never.ps"); }), "Writing"));
    EXPECT_EQ(segment(3, 4)->getNumberOfOwners(), numOwners);
    segment(2, 3)->unkill();
    EXPECT_EQ(segment(2, 3)->getNumberOfOwners(), 3u);
    EXPECT_NE(segment(2, 3)->insertAndSplit(Point2(2.5, 0.25, 0)), nullptr);
    expectEstablished(mesh);
}

// ---------------------------------------------------------------------------------------------------------------------
// The manager

TEST(ConstraintMgr, makesOneSegmentForEachPairAndKeepsItsFirstStrategy) {
    Taro_2D mesh;
    const Point2 a(0, 0, 0), b(5, 0, 0), c(2, 4, 0), a2(0, 0, 9);
    const StdoutCapture capture;
    ConstraintGraph2* pFirst = mesh.createConstraint({Segment2(c, a), Segment2(a, a2), Segment2(b, c), Segment2(a, c)},
                                                     CIS_CONFORMING_LINEAR_Z, false);
    EXPECT_TRUE(contains(capture.text(), ",-1): 0, 0, 0 <-> Point2 ("));
    EXPECT_TRUE(contains(capture.text(),
                         "ConstraingMgr::createConstraint, WARNING: (0) Identical source and endpoint, a "
                         "constraint segment has been skipped"));
    ConstraintGraph2* pSecond = mesh.createConstraint({Segment2(c, b)}, CIS_CONSTRAINED_DELAUNAY, true);
    ConstraintGraph2* pEmpty = mesh.createConstraint({Segment2(a, a)}, CIS_CONSTRAINED_DELAUNAY, true);
    ASSERT_NE(pEmpty, nullptr);
    EXPECT_FALSE(pEmpty->isPolygon());
    CSegs vAll, vFirst, vSecond, vEmpty;
    mesh.getAliveAndDeadConstraintSegments(vAll);
    pFirst->getOriginalConstraintSegments(vFirst);
    pSecond->getOriginalConstraintSegments(vSecond);
    pEmpty->getOriginalConstraintSegments(vEmpty);
    EXPECT_TRUE(vEmpty.empty());
    EXPECT_EQ(vAll.size(), 2u);
    EXPECT_EQ(vFirst, (CSegs{vFirst[0], vFirst[1], vFirst[0]}));
    EXPECT_EQ(labelOf(*vFirst[1]), labelOf(*vFirst[0]) + 1);
    EXPECT_EQ(vSecond, CSegs{vFirst[1]});
    EXPECT_EQ(vSecond[0]->getCIS(), CIS_CONFORMING_LINEAR_Z);
    EXPECT_TRUE(std::is_sorted(vAll.begin(), vAll.end(), [](auto* p, auto* q) { return *p < *q; }));
    EXPECT_EQ(managerOf(mesh).createConstraint_oriented(Segments(), CIS_CONSTRAINED_DELAUNAY), nullptr);
    Triangle2* pT = mesh.getImpl()->getOneValidTriangle();
    std::vector<Edge2> vEdges{Edge2(pT, 0), Edge2(pT, 1), Edge2(pT, 2)};
    EXPECT_TRUE(managerOf(mesh).createConstraint_oriented(vEdges, CIS_CONSTRAINED_DELAUNAY)->isPolygon());
    EXPECT_TRUE(
        mesh.getImpl()->createConstraint({&vEdges[2], &vEdges[1], &vEdges[0]}, CIS_CONSTRAINED_DELAUNAY)->isPolygon());
    for (int i = 0; i < 3; ++i) EXPECT_TRUE(mesh.isConstraint(pT, i));
    EXPECT_FALSE(mesh.isConstraint(nullptr, 0) || mesh.isConstraint(pT, -1) || mesh.isConstraint(pT, 3));
    EXPECT_FALSE(pFirst->isConstraint(nullptr));
}

TEST(ConstraintMgr, answersTheSameWithAndWithoutTheBitmap) {
    for (const size_t numPoints : {size_t(3000), size_t(12000)}) {
        Random r(5);
        Taro_2D mesh;
        PointVector vPoints;
        for (size_t i = 0; i < numPoints; ++i) vPoints.emplace_back(uniform(r, 0, 100), uniform(r, 0, 100), 0);
        mesh.insert(vPoints);
        Segments vSegments;
        for (int i = 0; i < 40; ++i) {
            vSegments.emplace_back(Point2(uniform(r, 0, 100), i, 0), Point2(uniform(r, 0, 100), i + 5, 0));
            if (i % 10 == 9) mesh.createConstraint(vSegments, CIS_CONSTRAINED_DELAUNAY);
        }
        expectEstablished(mesh);
        CSegs vAlive;
        mesh.getAliveConstraintSegments(vAlive);
        std::set<std::pair<const Point2*, const Point2*>> sAlive;
        for (const ConstraintSegment2* pCSeg : vAlive) {
            sAlive.emplace(pCSeg->getSrc(), pCSeg->getTrg());
            sAlive.emplace(pCSeg->getTrg(), pCSeg->getSrc());
        }
        std::vector<Triangle2*> vTriangles;
        mesh.getTrianglePointers(vTriangles);
        size_t numFound = 0;
        for (Triangle2* pT : vTriangles) {
            for (int i = 0; i < 3; ++i) {
                Point2 *p = pT->getCorner((i + 1) % 3), *q = pT->getCorner((i + 2) % 3);
                ASSERT_EQ(mesh.isConstraint(pT, i), sAlive.count({p, q}) > 0);
                ASSERT_EQ(mesh.isConstraint(p, q), mesh.isConstraint(pT, i));
                numFound += mesh.isConstraint(pT, i);
            }
        }
        EXPECT_GE(numFound, 2 * vAlive.size() - 4);  // but for edges of the hull, which have one side
    }
}

TEST(ConstraintMgr, segmentsWaitForTheSecondDimensionAndTellTheirProgress) {
    Taro_2D mesh;
    Listener listener;
    listener.pMesh = &mesh;
    mesh.subscribe(MT_PROGRESS, &listener);
    ConstraintGraph2* pGraph = mesh.createConstraint({Segment2({0, 0, 0}, {8, 0, 0})}, CIS_CONSTRAINED_DELAUNAY, true);
    EXPECT_EQ(std::count(listener.vMessages.begin(), listener.vMessages.end(), "establish constraints"), 0);
    mesh.insert({{3, 0, 0}, {4, 5, 0}, {4, -5, 0}});
    mesh.applyConstraintsAndZones();
    EXPECT_EQ(listener.vMessages.back(), "apply");
    EXPECT_EQ(listener.vValues.back(), 1.0);
    EXPECT_EQ(verticesOfChain(*pGraph).size(), 3u);
    // Crossings are no steps: the last step comes when all of them have been made.
    Segments vSegments;
    for (int i = 1; i <= 20; ++i) {
        vSegments.emplace_back(Point2(i, 30, 0), Point2(i, 60, 0));
        vSegments.emplace_back(Point2(0, 30 + i, 0), Point2(30, 30 + i, 0));
    }
    mesh.createConstraint(vSegments, CIS_CONSTRAINED_DELAUNAY);
    ASSERT_GE(listener.vValues.size(), vSegments.size());
    for (size_t i = 1; i <= vSegments.size(); ++i) {
        const size_t place = listener.vValues.size() - vSegments.size() + i - 1;
        EXPECT_EQ(listener.vMessages[place], "establish constraints");
        EXPECT_EQ(listener.vValues[place], double(i) / double(vSegments.size()));
    }
    EXPECT_EQ(listener.numPoints, mesh.numberOfPoints());
    expectEstablished(mesh);
}

TEST(ConstraintMgr, writesTheAlivePiecesOfEachGraph) {
    Taro_2D mesh;
    mesh.createConstraint({Segment2({0, 0, 1}, {4, 0, 1})}, CIS_CONSTRAINED_DELAUNAY);
    mesh.createConstraint({Segment2({2, -3, 0.1}, {2, 3, 0.1})}, CIS_CONSTRAINED_DELAUNAY);
    std::filesystem::create_directories(TARO25D_SCRATCH_DIR);
    const std::string prefix = std::string(TARO25D_SCRATCH_DIR) + "/dump";
    const StdoutCapture capture;
    mesh.internal(3, 0, prefix);
    mesh.internal(4, 0, prefix);
    mesh.internal(3, 0, std::string(TARO25D_SCRATCH_DIR) + "/no/such/folder");
    EXPECT_TRUE(contains(capture.text(), "writes 2 child segments to " + prefix + "_c1.con\n"));
    EXPECT_TRUE(contains(capture.text(), "writes 2 child segments to " + prefix + "_c1_con.bin\n"));
    EXPECT_TRUE(contains(capture.text(), "WARNING: Cannot write "));
    std::ifstream text(prefix + "_c1.con"), binary(prefix + "_c1_con.bin", std::ios::binary);
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
