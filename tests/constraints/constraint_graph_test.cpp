#include <gtest/gtest.h>

#include <algorithm>
#include <vector>

#include "constraints/ConstraintMgr.h"
#include "mesh/Dt2.h"
#include "support/capture.h"
#include "support/constraint_oracle.h"
#include "support/constraint_work.h"
#include "support/generators.h"
#include "support/mesh.h"
#include "support/polygons.h"
#include "taro25d/Edge2.h"
#include "taro25d/Taro_2D.h"

using namespace LUMO_TARO25D;
using namespace constraint_work;

namespace {

TEST_F(Constraint, GraphsOfWrongSegments) {
    const struct {
        SegmentVector vSegments;
        const char* text;
        int strategy = CIS_CONSTRAINED_DELAUNAY;
    } aWrong[] = {
        {{}, "Dt2::createConstraint(..), WARNING: vSegments is empty, returning NULL"},
        {{makeSegment(0, 0, 5, 5), makeSegment(0, 0, NOT_A_NUMBER, 0)},
         "Dt2::createConstraint(..), WARNING: non-finite coordinates, constraint refused"},
        {{makeSegment(0, 0, 5, 5, INF, 0)},
         "Dt2::createConstraint(..), WARNING: non-finite coordinates, constraint refused"},
        {{makeSegment(0, 0, 5, 5)}, "ConstraintMgr::apply(), ERROR: Unknown CIS", 3},
    };
    Work work;
    work.insertBulk(makeSquare(0, 8));
    for (const auto& wrong : aWrong) {
        for (const bool bOriented : {false, true}) {
            StdoutCapture capture;
            const auto cis = static_cast<ConstraintInsertionStrategy>(wrong.strategy);
            EXPECT_EQ(work.mesh.getImpl()->createConstraint(wrong.vSegments, cis, bOriented), nullptr);
            EXPECT_TRUE(contains(capture, wrong.text));
        }
    }
    StdoutCapture capture;
    EXPECT_EQ(work.mesh.createConstraint({}, CIS_CONSTRAINED_DELAUNAY), nullptr);
    EXPECT_EQ(work.mesh.getImpl()->createConstraint(std::vector<Edge2*>(), CIS_CONSTRAINED_DELAUNAY), nullptr);
    EXPECT_TRUE(contains(capture,
                         "Taro_2D::createConstraint(), WARNING: You have not supplied any segments. Returning "
                         "NULL!"));
    EXPECT_TRUE(contains(capture, "Dt2::createConstraint(..), WARNING: vEdges is empty, returning NULL"));
    EXPECT_EQ(work.mesh.numberOfPoints(), 4u) << "nothing was inserted";
    for (const bool bOriented : {false, true}) {
        work.output.clear();
        work.constrain({makeSegment(1, 1, 1, 1), makeSegment(1, 2, 6, 2)}, CIS_CONSTRAINED_DELAUNAY, bOriented);
        EXPECT_TRUE(contains(work.output,
                             "ConstraingMgr::createConstraint, WARNING: (0) Identical source and endpoint, a "
                             "constraint segment has been skipped"));
        EXPECT_TRUE(work.check(0));
        EXPECT_EQ(ConstraintOracle(work.mesh).aliveEnds().size(), 1u);
    }
}

TEST_F(Constraint, PolygonsRunCounterclockwiseFromTheirFirstVertex) {
    Random random(1);
    const PointVector vDent{{0, 0, 0}, {8, 0, 0}, {8, 8, 0}, {4, 2, 0}, {0, 8, 0}};
    const PointVector vFlatStart{{0, 0, 0}, {6, 1, 0}, {0, 8, 0}, {0, 4, 0}};
    for (int round = 0; round < 120; ++round) {
        SCOPED_TRACE(testing::Message() << "round " << round);
        PointVector vExpected = round % 2 ? vDent : vFlatStart;
        if (round >= 80) {
            vExpected = makeStar(5 + random() % 8, 4, 4, 6, random);
            std::rotate(vExpected.begin(), std::min_element(vExpected.begin(), vExpected.end()), vExpected.end());
        }
        SegmentVector vGiven = makeSides(vExpected);
        std::shuffle(vGiven.begin(), vGiven.end(), random);
        for (Segment2& s : vGiven) {
            if (round < 20 || (round > 40 && random() % 2)) s = reversed(s);
        }
        Work work;
        work.insertBulk(makeSquare(-9, 19));
        const bool bCrossed = vExpected == vDent && round % 3 > 0;
        if (bCrossed && round % 3 == 1) work.constrain({makeSegment(4, -3, 4, 12)});
        ConstraintGraph2* pGraph = work.constrain(vGiven, CIS_CONSTRAINED_DELAUNAY, round % 4 < 2);
        if (bCrossed && round % 3 == 2) work.constrain({makeSegment(4, -3, 4, 12)});
        ASSERT_TRUE(pGraph->isPolygon() && pGraph->isOriented());
        if (bCrossed) vExpected.insert(vExpected.begin() + 1, {4, 0, 0});
        EXPECT_EQ(positionsOf(polygonOf(pGraph)), vExpected);
        EXPECT_TRUE(work.checkExactly());
    }
}

}  // namespace
