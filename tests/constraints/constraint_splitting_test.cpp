#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <functional>
#include <set>
#include <string>

#include "constraints/ConstraintMgr.h"
#include "mesh/Dt2.h"
#include "support/capture.h"
#include "support/constraint_oracle.h"
#include "support/constraint_work.h"
#include "support/generators.h"
#include "support/mesh.h"
#include "support/polygons.h"
#include "taro25d/TaroException.h"
#include "taro25d/Taro_2D.h"
#include "taro25d/freeFunctions.h"

using namespace LUMO_TARO25D;
using namespace constraint_work;

namespace {

// ---- Later insertions and removals ----

TEST_F(Constraint, PointsInsertedLaterSplitItInEveryOwner) {
    for (const int numThreads : {1, 4}) {
        Work work;
        work.mesh.setNumCPU(numThreads);
        work.mesh.getImpl()->preferChunks();
        work.insertBulk(makeSquare(0, 64));
        const SegmentVector vSides{makeSegment(0, 0, 64, 0), makeSegment(64, 64, 64, 0), makeSegment(0, 0, 64, 64),
                                   makeSegment(0, 32, 64, 32)};
        work.constrain(vSides);
        work.constrain({reversed(vSides[2]), vSides[0]});
        work.insert(Point2(16, 16, 0));
        work.insert(Point2(16, 0, 0));
        EXPECT_TRUE(work.checkExactly());
        Random random(1);
        work.insertBulk(makeGrid(33, 0, 0, 2, random));
        work.insertBulk(makeGrid(40, -5, 3, 1, random));
        EXPECT_TRUE(work.checkExactly());
    }
}

TEST_F(Constraint, RemovalIsRefusedForItsVerticesOnly) {
    Random random(1);
    Work work;
    work.insertBulk(makeGrid(9, 0, 0, 1, random));
    work.constrain({makeSegment(0, 0, 8, 8), makeSegment(1, 7, 7, 2), makeSegment(0, 0, 8, 0)});
    VertexVector vVertices = verticesOf(work.mesh);
    std::shuffle(vVertices.begin(), vVertices.end(), random);
    const std::set<Ends> sAlive = ConstraintOracle(work.mesh).aliveEnds();
    size_t numPoints = vVertices.size();
    for (Point2* pVtx : vVertices) {
        const bool bRefused = work.mesh.isConstraint(pVtx);
        testing::internal::CaptureStderr();
        StdoutCapture capture;
        work.mesh.remove(pVtx);
        EXPECT_EQ(contains(capture, "Dt2::remove(), WARNING: Illegal: Can't remove a constraint vertex"), bRefused);
        EXPECT_EQ(testing::internal::GetCapturedStderr().empty(), !bRefused);
        numPoints -= !bRefused;
        ASSERT_EQ(work.mesh.numberOfPoints(), numPoints);
        ASSERT_TRUE(work.check());
    }
    EXPECT_EQ(ConstraintOracle(work.mesh).aliveEnds(), sAlive);
    EXPECT_LT(numPoints, 30u);
}

// ---- Segments ----

ConstraintSegment2* onlySegment(const ConstraintGraph2& graph) { return originalsOf(&graph).at(0); }

TEST_F(Constraint, SegmentsAreSplitAtNewPoints) {
    Random random(3);
    Work work;
    work.insertBulk(makeSquare(-9, 9));
    work.insertBulk(makeGrid(5, -2.5, -2.5, 1.25, random));
    ConstraintGraph2* pFirst = work.constrain({makeSegment(-8, 0.25, 8, 0.25)});
    ConstraintGraph2* pSecond = work.constrain({makeSegment(8, 0.25, -8, 0.25)});
    ConstraintSegment2* pRoot = onlySegment(*pFirst);
    EXPECT_EQ(onlySegment(*pSecond), pRoot);
    EXPECT_NE(pFirst->isReverse(pRoot), pSecond->isReverse(pRoot));
    EXPECT_EQ(pRoot->insertAndSplit(Point2(8, 0.25, 3)), nullptr);
    EXPECT_EQ(pRoot->insertAndSplit(Point2(-8, 0.25, 3)), nullptr);
    EXPECT_TRUE(pRoot->isAlive());
    EXPECT_TRUE(work.checkExactly());
    const size_t numPoints = work.mesh.numberOfPoints();

    Point2* pMiddle = pRoot->insertAndSplit(Point2(0, 0.25, 3));
    ASSERT_NE(pMiddle, nullptr);
    EXPECT_TRUE(samePoint(*pMiddle, Point2(0, 0.25, 3)));
    work.vPoints.push_back(*pMiddle);
    EXPECT_TRUE(work.checkExactly());
    StdoutCapture capture;
    EXPECT_THROW(pRoot->insertAndSplit(Point2(1, 0.25, 0)), TaroException);
    EXPECT_THROW(pRoot->split_combinatorialOnly(pMiddle), TaroException);

    ConstraintSegment2 *pLeft = nullptr, *pRight = nullptr;
    Point2* pSplit = nullptr;
    pFirst->getDirectChildren(pRoot, pLeft, pRight);
    EXPECT_TRUE(pLeft->getSrc()->x() < 0 || pLeft->getTrg()->x() < 0) << "in the direction of the graph";
    pSecond->getDirectChildren(pRoot, pRight, pLeft);
    EXPECT_TRUE(pLeft->getSrc()->x() < 0 || pLeft->getTrg()->x() < 0);
    pRoot->getChildrenAndSplitPoint(pLeft, pRight, pSplit);
    EXPECT_EQ(pSplit, pMiddle);
    EXPECT_EQ(pLeft->getNumberOfOwners(), 2u);
    EXPECT_FALSE(pLeft->split_combinatorialOnly(pRoot->getTrg()) || pLeft->insertAndSplit(*pRoot->getTrg()))
        << "it would be its own descendant";
    EXPECT_TRUE(contains(capture, "insufficient numeric accuracy, need to skip last insertions"));
    EXPECT_TRUE(work.checkExactly());

    EXPECT_NE(pLeft->insertAndSplit(Point2(-4, 0.25 + 6e-6, 9)), nullptr) << "next to the line";
    EXPECT_TRUE(work.check(1e-5));
    EXPECT_EQ(work.mesh.numberOfPoints(), numPoints + 2);
    const Point2* pThere = work.mesh.insert(Point2(2.5, 0.25 - 6e-6, 0));
    EXPECT_EQ(pRight->insertAndSplit(Point2(2.5, 0.25 - 6e-6, 9)), pThere);
    EXPECT_TRUE(work.check(2e-5));
    EXPECT_EQ(work.mesh.numberOfPoints(), numPoints + 3);
    EXPECT_TRUE(work.mesh.checkValidity(true, "split"));
}

TEST_F(Constraint, SplittingIsRefusedBesideTheSegment) {
    for (const double origin : {0.0, 1e6, -0x1p50}) {
        Work work;
        work.insertBulk(makeSquare(origin - 9, origin + 9));
        ConstraintSegment2* pCSeg = onlySegment(*work.constrain({makeSegment(origin - 8, origin, origin + 8, origin)}));
        const double room = 16e-6 + 4 * getUlp(std::abs(origin) + 8);
        const size_t numPoints = work.mesh.numberOfPoints();
        const auto refuses = [&](double x, double y) {
            const std::string text = printedBy([&] { EXPECT_FALSE(pCSeg->insertAndSplit(Point2(x, y, 0))); });
            return contains(text, "ConstraintSegment2::insertAndSplit(), WARNING: ");
        };
        const double step = std::max(1e-7, getUlp(std::abs(origin) + 8));
        EXPECT_TRUE(refuses(origin + 1, origin + room + step));
        EXPECT_TRUE(refuses(origin - 1, origin - room - step));
        EXPECT_TRUE(refuses(origin + 8 + room + step, origin)) << "beyond the end";
        EXPECT_TRUE(refuses(origin - 8 - room - step, origin));
        EXPECT_TRUE(pCSeg->isAlive());
        EXPECT_EQ(work.mesh.numberOfPoints(), numPoints);
        EXPECT_NE(pCSeg->insertAndSplit(Point2(origin + 1, origin + 15e-6, 0)), nullptr);
        EXPECT_TRUE(work.mesh.checkValidity(true, "split"));
    }
}

TEST_F(Constraint, SplittingCrossesOtherConstraints) {
    Work work;
    work.insertBulk(makeSquare(-9, 9));
    ConstraintGraph2* pGraph = work.constrain({makeSegment(-4, 0, 4, 0)});
    work.constrain({makeSegment(-3, 0x1p-18, 3, 0x1p-18)});
    EXPECT_NE(onlySegment(*pGraph)->insertAndSplit(Point2(0, 0x1p-17, 0)), nullptr);
    EXPECT_TRUE(work.check(1e-5));
    EXPECT_TRUE(work.mesh.isConstraint(work.mesh.getImpl()->getVertexPointer(Point2(-2, 0x1p-18, 0))));
    ConstraintGraph2* pOther = work.constrain({makeSegment(-8, -5, 8, -5)});
    EXPECT_TRUE(onlySegment(*pOther)->splitAndRemovePrev(Point2(0, -5, 0)));
    EXPECT_TRUE(work.check(2));
}

TEST_F(Constraint, SegmentsKeepTheirRules) {
    Work work;
    work.insertBulk(makeSquare(0, 8));
    ConstraintSegment2* pCSeg = onlySegment(*work.constrain({makeSegment(0, 0, 8, 8)}));
    Point2 *pSrc = pCSeg->getSrc(), *pTrg = pCSeg->getTrg();
    EXPECT_EQ(pCSeg->getAdjacentArea(), MAX);
    ConstraintMgr* pManager = work.mesh.getImpl()->getConstraintManager();
    EXPECT_EQ(pManager->addConstraintSegment(pTrg, pSrc, CIS_CONFORMING_LINEAR_Z), pCSeg);

    pCSeg->kill();
    EXPECT_FALSE(pCSeg->isAlive() || work.mesh.isConstraint(pSrc, pTrg) || work.mesh.getConstraintSegment(pSrc, pTrg));
    EXPECT_TRUE(work.mesh.isConstraint(pSrc)) << "the vertices of dead segments stay constraint vertices";
    pCSeg->unkill();
    EXPECT_EQ(work.mesh.getConstraintSegment(pTrg, pSrc), pCSeg);

    StdoutCapture capture;
    ConstraintSegment2 *pChild0 = pCSeg, *pChild1 = nullptr;
    Point2* pSplit = pSrc;
    pCSeg->getChildrenAndSplitPoint(pChild0, pChild1, pSplit);
    EXPECT_TRUE(pChild0 == pCSeg && pChild1 == nullptr && pSplit == pSrc);
    EXPECT_TRUE(contains(capture, "ConstraintSegment2::getChildrenAndSplitPoint(), WARNING: *this is still alive!"));
    EXPECT_TRUE(work.checkExactly());
}

TEST_F(Constraint, SegmentsRefuseWhatBreaksTheirRules) {
    Work work;
    work.insertBulk(makeSquare(0, 8));
    ConstraintSegment2* pCSeg = onlySegment(*work.constrain({makeSegment(0, 0, 8, 8)}));
    Point2 *pSrc = pCSeg->getSrc(), *pTrg = pCSeg->getTrg();
    ConstraintMgr* pManager = work.mesh.getImpl()->getConstraintManager();
    CSegVector vChildren;
    ConstraintSegment2 *pFirst = nullptr, *pSecond = nullptr;
    ConstraintSegment2 foreign(pSrc, pTrg + 1, CIS_CONSTRAINED_DELAUNAY);
    const struct {
        const char* condition;
        std::function<void()> act;
    } aWrong[] = {
        {"p0<p1", [&] { ConstraintSegment2(pTrg, pSrc, CIS_CONSTRAINED_DELAUNAY); }},
        {"p0<p1", [&] { ConstraintSegment2(pSrc, pSrc, CIS_CONSTRAINED_DELAUNAY); }},
        {"p0<p1", [&] { pManager->addConstraintSegment(pSrc, pSrc, CIS_CONSTRAINED_DELAUNAY); }},
        {"pSplit!=__null", [&] { pCSeg->split_combinatorialOnly(nullptr); }},
        {"p0!=pSplit && p1!=pSplit", [&] { pCSeg->split_combinatorialOnly(pTrg); }},
        {"!sOwners.empty()", [&] { foreign.split_combinatorialOnly(pTrg); }},
        {"!sOwners.empty()", [&] { foreign.insertAndSplit(*pTrg); }},
        {"pSplit!=__null", [&] { pCSeg->insertAndSplit(Point2(4, NOT_A_NUMBER, 0)); }},
        {"vChildren.size()==2", [&] { pCSeg->getChildrenRec(vChildren); }},
        {"q_it!=mCSegReverse.end()", [&] { work.vGraphs[0]->isReverse(&foreign); }},
        {"q_it!=mCSegReverse.end()", [&] { work.vGraphs[0]->isReverse(nullptr); }},
        {"pParent!=__null", [&] { work.vGraphs[0]->getDirectChildren(nullptr, pFirst, pSecond); }},
        {"!pParentCSeg->isAlive()", [&] { work.vGraphs[0]->updateSplittedConstraintSegment(pCSeg, true); }},
        {"pInitialCSeg->isAlive()",
         [&] {
             foreign.kill();
             work.mesh.getImpl()->newCDT_applyOneCS(&foreign);
         }},
        {"pKid0!=__null && pKid1!=__null", [&] { foreign.addOwnerRecursive(nullptr); }},
    };
    for (const auto& [condition, act] : aWrong) {
        EXPECT_TRUE(contains(printedByFailing(act), std::string("Condition [ ") + condition + " failed ]"));
    }
    EXPECT_TRUE(work.checkExactly());
}

}  // namespace
