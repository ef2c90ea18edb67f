#include <gtest/gtest.h>

#include <set>
#include <sstream>
#include <stdexcept>
#include <utility>

#include "mesh/Dt2.h"
#include "support/capture.h"
#include "support/constraint_oracle.h"
#include "support/constraint_work.h"
#include "support/generators.h"
#include "support/mesh.h"
#include "support/polygons.h"
#include "support/recorder.h"
#include "taro25d/Edge2.h"
#include "taro25d/Taro_2D.h"

using namespace LUMO_TARO25D;
using namespace constraint_work;

namespace {

// ---- Regions of crossed triangles ----

bool cross(const Point2& a, const Point2& b, const Point2& c, const Point2& d) {
    return oracleOrientation(a, b, c) * oracleOrientation(a, b, d) < 0 &&
           oracleOrientation(c, d, a) * oracleOrientation(c, d, b) < 0;
}

TEST_F(Constraint, RegionsThatTouchThemselves) {
    // Both triangles at an edge are crossed, the edge is not: the region's border passes both its sides.
    size_t numBothSides = 0;
    for (int seed = 0; seed < 60; ++seed) {
        Random random(seed);
        Work work;
        for (int i = 0; i < 150; ++i) {
            const double x = uniform(random, 0, 1), y = uniform(random, 0, 1);
            work.vPoints.emplace_back(x, seed % 2 ? 0.1 * y : y, 0);
        }
        VertexVector vHandles;
        work.mesh.insert(work.vPoints, vHandles);
        const auto [pFrom, pTo] =
            std::minmax_element(vHandles.begin(), vHandles.end(), [](Point2* a, Point2* b) { return *a < *b; });
        const Point2 &p = **pFrom, &q = **pTo;
        TriangleVector vCut;
        work.mesh.getImpl()->getCZ(&p, &q, vCut);
        const std::set<Triangle2*> sCut(vCut.begin(), vCut.end());
        EXPECT_EQ(sCut.size(), vCut.size());
        for (Triangle2* pT : trianglesOf(work.mesh)) {
            bool bCrossed = false;
            for (int i = 0; i < 3; ++i) {
                const Point2 &a = *pT->getCorner((i + 1) % 3), &b = *pT->getCorner((i + 2) % 3);
                bCrossed |= cross(p, q, a, b);
                numBothSides += sCut.count(pT) && sCut.count(pT->getOppositeTriangle(i)) && !cross(p, q, a, b);
            }
            ASSERT_EQ(bCrossed, sCut.count(pT) != 0);
        }
        work.constrain({Segment2(p, q)});
        ASSERT_TRUE(work.check(0)) << "seed " << seed;
        EXPECT_EQ(work.mesh.numberOfPoints(), 150u);
    }
    EXPECT_GT(numBothSides, 20u);
}

TEST_F(Constraint, NeighboursChangeNoTriangle) {
    Work work;
    work.insertBulk(makeSquare(0, 1));
    std::ostringstream before, after;
    const TriangleVector vTriangles = trianglesOf(work.mesh);
    for (const Triangle2* pT : vTriangles) before << *pT;
    for (const ConstraintInsertionStrategy cis : strategies) work.constrain({makeSegment(0, 0, 1, 0)}, cis);
    for (const Triangle2* pT : vTriangles) after << *pT;
    EXPECT_EQ(before.str(), after.str());
    EXPECT_TRUE(work.checkExactly());
    CSegVector vCSegs;
    work.mesh.getAliveAndDeadConstraintSegments(vCSegs);
    ASSERT_EQ(vCSegs.size(), 1u);
    EXPECT_EQ(vCSegs[0]->getCIS(), CIS_CONSTRAINED_DELAUNAY) << "the first strategy stays";
    EXPECT_EQ(vCSegs[0]->getNumberOfOwners(), 3u);
}

TEST_F(Constraint, EdgesOfTheMesh) {
    Work work;
    Random random(1);
    work.insertBulk(generators[0].make(100, random));
    const TriangleVector vTriangles = trianglesOf(work.mesh);
    Edge2 first(vTriangles[3], 0), second(vTriangles[50], 2);
    work.vGraphs.push_back(work.mesh.getImpl()->createConstraint({&first, &second}, CIS_CONSTRAINED_DELAUNAY));
    const std::set<Ends> sExpected{endsOf(*first.getSrc(), *first.getTrg()),
                                   endsOf(*second.getSrc(), *second.getTrg())};
    work.insertBulk(generators[0].make(500, random));
    EXPECT_EQ(ConstraintOracle(work.mesh).aliveEnds(), sExpected);
    EXPECT_TRUE(work.check());
}

TEST_F(Constraint, ManySegmentsThroughOnePoint) {
    // Minutes, if each looked at all triangles around the point.
    const int numSegments = static_cast<int>(std::max<size_t>(scaled(40000), 4000));
    for (const bool bFromThere : {false, true}) {
        Taro_2D mesh;
        SegmentVector vSegments;
        for (int i = 0; i < numSegments; ++i) {
            const double angle = 3.14159265 * (i + 0.3) / numSegments;
            const double x = std::round(1e6 * std::cos(angle)), y = std::round(1e6 * std::sin(angle));
            vSegments.push_back(makeSegment(bFromThere ? 0 : -x, bFromThere ? 0 : -y, x, y));
        }
        ConstraintGraph2* pGraph = mesh.createConstraint(vSegments, CIS_CONSTRAINED_DELAUNAY);
        ASSERT_NE(pGraph, nullptr);
        EXPECT_TRUE(mesh.checkValidity(true, ""));
        EXPECT_EQ(mesh.numberOfPoints(), (bFromThere ? 1u : 2u) * numSegments + 1);
        for (const ConstraintSegment2* pCSeg : aliveSegmentsOf(mesh))
            ASSERT_TRUE(mesh.getAdjacentTriangle(pCSeg->getSrc(), pCSeg->getTrg()) ||
                        mesh.getAdjacentTriangle(pCSeg->getTrg(), pCSeg->getSrc()));
    }
}

// ---- Heights ----

double heightAt(const Work& work, double x, double y) {
    const Point2* pVtx = work.mesh.getImpl()->getVertexPointer(Point2(x, y, 0));
    return pVtx ? pVtx->z() : NOT_A_NUMBER;
}

TEST_F(Constraint, CrossingsTakeTheHeightOfWhatWasThereFirst) {
    for (const bool bOneList : {true, false}) {
        Work work;
        work.insertBulk(makeSquare(-9, 9));
        const Segment2 first = makeSegment(-3, -3, 3, 3, 10, 30), second = makeSegment(-4, 4, 4, -4, 100, 200);
        work.constrain(bOneList ? SegmentVector{first, second} : SegmentVector{first});
        if (!bOneList) work.constrain({second});
        EXPECT_EQ(heightAt(work, 0, 0), 20);
        EXPECT_TRUE(work.checkExactly());
        EXPECT_EQ(work.mesh.numberOfPoints(), 9u);
    }
}

TEST_F(Constraint, MidpointsTakeTheHeightOfTheSurfaceOrTheMeanOfTheEnds) {
    for (const auto& [cis, height] : {std::pair(CIS_CONFORMING_SURFACE_Z, 100), {CIS_CONFORMING_LINEAR_Z, 15}}) {
        Work work;
        work.insertBulk({Point2(2, 0.5, 100), Point2(2, -0.5, 100)});
        work.constrain({makeSegment(0, 0, 4, 0, 10, 20)}, cis);
        EXPECT_EQ(heightAt(work, 2, 0), height);
        EXPECT_EQ(ConstraintOracle(work.mesh).aliveEnds(), (std::set<Ends>{{{0, 0}, {2, 0}}, {{2, 0}, {4, 0}}}));
        EXPECT_TRUE(work.check(0));
        EXPECT_TRUE(work.mesh.checkValidity(true, "conforming"));
    }
}

TEST_F(Constraint, ConformingSegmentsSplitAtTheVertexOnThemAndAtConstraints) {
    for (const ConstraintInsertionStrategy cis : {CIS_CONFORMING_SURFACE_Z, CIS_CONFORMING_LINEAR_Z}) {
        Work work;
        work.insertBulk({Point2(1, 0, 5), Point2(2, 9, 0), Point2(2, -9, 0)});
        work.constrain({makeSegment(0, 0, 4, 0)}, cis);
        EXPECT_EQ(work.mesh.numberOfPoints(), 5u) << "no midpoint";
        EXPECT_TRUE(work.check(0));
        // The next segment crosses an edge beside its midpoint, the last one at its midpoint.
        work.constrain({makeSegment(5, -1, 5, 1, 10, 20)});
        work.constrain({makeSegment(4.5, 0.5, 7, 0.5, 50, 60)}, cis);
        EXPECT_EQ(heightAt(work, 5, 0.5), 17.5);
        work.constrain({makeSegment(4, -0.5, 6, -0.5, 70, 90)}, cis);
        EXPECT_EQ(heightAt(work, 5, -0.5), 12.5);
        EXPECT_TRUE(work.check(0));
        EXPECT_EQ(work.output.substr(0, 300), "");
    }
}

TEST_F(Constraint, AConformingSegmentLeavesTheMeshDelaunay) {
    for (int seed = 0; seed < 20; ++seed) {
        Random random(seed);
        Work work;
        work.insertBulk(generators[0].make(200, random));
        work.constrain({makeSegment(-0.9, uniform(random, -1, 1), 0.9, uniform(random, -1, 1))},
                       strategies[1 + seed % 2]);
        for (const Triangle2* pT : trianglesOf(work.mesh)) {
            for (int i = 0; i < 3; ++i) {
                ASSERT_TRUE(!pT->getOppositeTriangle(i) || isLocallyDelaunay(*pT, i));
            }
        }
        ASSERT_TRUE(work.check()) << "seed " << seed;
        EXPECT_EQ(work.output.substr(0, 300), "");
    }
}

// ---- Where doubles end ----

TEST_F(Constraint, WarnsWhereAConformingSegmentIsTooShortToSplit) {
    const double ulp = 0x1p-30;
    Work work;
    const auto at = [=](double i, double j) { return Point2(5e6 + i * ulp, 5e6 + j * ulp, 0); };
    work.insertBulk({at(8, 1), at(8, -1), at(-1e12, 0), at(1e12, 1e12)});
    work.constrain({Segment2(at(0, 0), at(16, 0))}, CIS_CONFORMING_LINEAR_Z);
    EXPECT_TRUE(contains(work.output,
                         "Dt2::insertSegmentConformingDelaunay(), WARNING: Double precision arithmetic does not "
                         "allow to split a segment further, giving up. Incorrect result!"));
    EXPECT_TRUE(work.check());
}

TEST_F(Constraint, GoesOnAfterAListenerHasThrown) {
    // An exception must not leave later segments with the rest of an earlier quota of crossings.
    Work work;
    Recorder thrower;
    thrower.hook = [&] {
        if (thrower.vMessages.back() == "establish constraints") throw std::runtime_error("stop");
    };
    work.vPoints = makeSquare(0, 100);
    work.mesh.insert(work.vPoints);
    work.mesh.subscribe(MT_PROGRESS, &thrower);
    EXPECT_THROW(work.mesh.createConstraint(SegmentVector{makeSegment(5, 1, 5, 99), makeSegment(6, 1, 6, 99)},
                                            CIS_CONSTRAINED_DELAUNAY),
                 std::runtime_error);
    work.mesh.unsubscribe(MT_PROGRESS, &thrower);
    SegmentVector vSegments;
    for (int i = 0; i < 40; ++i) {
        vSegments.push_back(makeSegment(10 + 2 * i, 1, 10 + 2 * i, 99));
        vSegments.push_back(makeSegment(1, 10 + 2 * i, 99, 10 + 2 * i));
    }
    work.constrain(vSegments);
    EXPECT_TRUE(work.check());
    EXPECT_EQ(work.output, "");
}

// ---- Before there are triangles ----

TEST_F(Constraint, WaitsUntilThereAreTriangles) {
    Work work;
    ConstraintGraph2* pGraph = work.constrain({makeSegment(0, 0, 8, 0), makeSegment(4, 0, 12, 0)});
    work.constrain({makeSegment(10, 0, 2, 0)}, CIS_CONFORMING_LINEAR_Z);
    EXPECT_FALSE(work.mesh.is2D());
    EXPECT_EQ(work.output.substr(0, 300), "");
    EXPECT_TRUE(work.mesh.isConstraint(work.mesh.getImpl()->getVertexPointer(Point2(8, 0, 0))));
    work.apply();
    EXPECT_TRUE(contains(work.output,
                         "Taro2D::applyConstraintsAndZones, WARNING: The triangulation is not 2D yet, can't apply "
                         "the constraints"));
    work.output.clear();
    {
        StdoutCapture capture;
        work.mesh.getImpl()->applyConstraintsAndZones();
        EXPECT_TRUE(contains(capture,
                             "Dt2::applyConstraintsAndZones(), WARNING: The triangulation is not full "
                             "dimensional yet. Nothing to do"));
    }
    CSegVector vCSegs;
    pGraph->getAliveConstraintChain(vCSegs);
    EXPECT_EQ(vCSegs.size(), 2u) << "only recorded";
    work.insert(Point2(6, 0, 0));
    work.insert(Point2(6, 5, 0));
    work.insert(Point2(6, -5, 0));
    work.insert(Point2(7, 0, 0));
    work.apply();
    EXPECT_TRUE(work.checkExactly());
}

TEST_F(Constraint, SurvivesTheReturnToALine) {
    Work work;
    work.constrain({makeSegment(0, 0, 4, 0)});
    Point2* pOff = work.mesh.insert(Point2(1, 1, 0));
    work.apply();
    EXPECT_TRUE(work.check(0));
    work.mesh.remove(pOff);
    EXPECT_FALSE(work.mesh.is2D());
    work.insert(Point2(2, 0, 0));
    work.insert(Point2(3, 7, 0));
    work.insert(Point2(3, -7, 0));
    work.apply();
    EXPECT_TRUE(work.checkExactly());
}

}  // namespace
