#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <filesystem>
#include <set>

#include "support/constraint_oracle.h"
#include "support/constraint_scene.h"
#include "support/constraint_work.h"
#include "support/generators.h"
#include "support/polygons.h"
#include "taro25d/Taro_2D.h"

using namespace LUMO_TARO25D;
using namespace constraint_work;

namespace {

TEST_F(Constraint, EveryFileOfTheCorpus) {
    int numFiles = 0, numExact = 0;
    for (const auto& entry : std::filesystem::directory_iterator(TARO25D_CORPUS_DIR "/constraints")) {
        SCOPED_TRACE(entry.path().filename());
        const Scene scene = readCorpusFile(entry.path());
        ASSERT_FALSE(scene.vSteps.empty());
        ++numFiles;
        numExact += checkAllOrders(scene);
        Scene shuffled = scene;
        Random random(1);
        for (int i = 0; i < 10; ++i) {
            SCOPED_TRACE(testing::Message() << "shuffled " << i);
            std::shuffle(shuffled.vSteps.begin(), shuffled.vSteps.end(), random);
            checkAllOrders(shuffled);
        }
        for (int numTurns = 1; numTurns < 4; ++numTurns) {
            SCOPED_TRACE(testing::Message() << "turned " << numTurns);
            checkAllOrders(scene.transformed(numTurns, 1, 0, 0));
        }
        for (const double scale : {0x1p-600, 0x1p-40, 0x1p-10, 0x1p10, 0x1p40, 0x1p500}) {
            SCOPED_TRACE(testing::Message() << "scaled by " << scale);
            checkAllOrders(scene.transformed(1, scale, 0, 0));
        }
        for (const double spacing : {1.0, 0.1, 0x1p-20, 0x1p-29}) {
            SCOPED_TRACE(testing::Message() << "far away, spacing " << spacing);
            checkAllOrders(scene.transformed(0, spacing, 5e6 + 0.3, -4.5e6));
        }
    }
    EXPECT_GT(numFiles, 0) << "no corpus in " << TARO25D_CORPUS_DIR;
    EXPECT_GT(numExact, 0);
}

/// All segments between points of the line through (0, 0) and (dx, dy), in both directions.
SegmentVector segmentsOnLine(int numPoints, double dx, double dy) {
    SegmentVector vSegments;
    for (int i = 0; i < numPoints; ++i) {
        for (int j = 0; j < numPoints; ++j) {
            if (i != j) vSegments.push_back(makeSegment(i * dx, i * dy, j * dx, j * dy));
        }
    }
    return vSegments;
}

TEST_F(Constraint, CollinearOverlapsInEveryArrangement) {
    const struct {
        double dx, dy;
        PointVector vPoints;
    } aLines[] = {{2, 1, makeSquare(-20, 20)},                                    // inside
                  {3, 0, {Point2(0, 9, 0), Point2(4, 9, 0)}},                     // along the hull
                  {0, 2, {Point2(-1, 1, 0), Point2(1, 3, 0), Point2(0, 3, 0)}}};  // through a vertex and an edge
    for (const auto& line : aLines) {
        const SegmentVector vAll = segmentsOnLine(4, line.dx, line.dy);
        for (const Segment2& a : vAll) {
            for (const Segment2& b : vAll) {
                for (int way = 0; way < 4; ++way) {
                    Work work;
                    if (way < 3) work.insertBulk(line.vPoints);
                    if (way == 0) {
                        work.constrain({a, b}, CIS_CONSTRAINED_DELAUNAY, false);
                    } else if (way == 1) {
                        work.constrain({a, b});
                    } else {  // two graphs; at last before there are triangles
                        work.constrain({a});
                        work.constrain({b});
                    }
                    if (way == 3) work.insertBulk(line.vPoints);
                    if (way == 3) work.apply();
                    ASSERT_TRUE(work.checkExactly() && !HasFailure())
                        << way << ": " << a.getSrc() << a.getTrg() << b.getSrc() << b.getTrg();
                }
            }
        }
    }
}

TEST_F(Constraint, ManyCollinearOverlapsAtOnce) {
    for (int seed = 0; seed < 100; ++seed) {
        Random random(seed);
        SegmentVector vSegments = segmentsOnLine(7, 1, seed % 2 ? 3 : 0);
        std::shuffle(vSegments.begin(), vSegments.end(), random);
        vSegments.resize(2 + random() % 12);
        Work work;
        if (seed % 3) work.insertBulk({Point2(-3, 40, 0), Point2(9, -40, 0), Point2(9, 7, 0)});
        if (seed % 4) {
            work.constrain(vSegments, CIS_CONSTRAINED_DELAUNAY, seed % 4 == 2);
        } else {
            for (const Segment2& s : vSegments) work.constrain({s}, strategies[random() % 3]);
        }
        if (seed % 3 == 0) work.insertBulk({Point2(-3, 40, 0), Point2(9, -40, 0)});
        work.apply();
        ASSERT_TRUE(work.checkExactly() && !HasFailure()) << "seed " << seed;
    }
}

/// A segment along a row, a column or a diagonal of an integer grid: crossings of these are doubles.
Segment2 octilinear(Random& random, int side) {
    for (;;) {
        const double x = integer(random, 0, side), y = integer(random, 0, side), length = integer(random, 1, side);
        const double dx = integer(random, -1, 1), dy = integer(random, -1, 1);
        const double u = x + length * dx, v = y + length * dy;
        if ((dx != 0 || dy != 0) && std::min(u, v) >= 0 && std::max(u, v) <= side) return makeSegment(x, y, u, v);
    }
}

TEST_F(Constraint, ExactCrossingsInAnyOrder) {
    for (int seed = 0; seed < 60; ++seed) {
        SCOPED_TRACE(testing::Message() << "seed " << seed);
        Random random(seed);
        const int side = seed % 2 ? 6 : 16;
        Scene scene;
        for (int i = 0; i < 24; ++i) {
            const bool bPoint = random() % 2;
            const double x = integer(random, -1, side), y = integer(random, -1, side);
            scene.vSteps.push_back(
                {bPoint, bPoint ? makeSegment(x, y, 0, 0) : octilinear(random, side), CIS_CONSTRAINED_DELAUNAY});
        }
        ASSERT_EQ(checkAllOrders(scene.transformed(0, 2, 0, 0)), NUM_ORDERS);
        if (seed < 20) checkAllOrders(scene.transformed(0, 1, 5e6, -4.1e6));
        if (HasFailure()) return;
    }
}

TEST_F(Constraint, StarsThroughOnePoint) {
    Random random(1);
    for (const XY& centre : {XY(0, 0), XY(5e6, 4e6), XY(0.1, 0.3), XY(1e5 + 0.1, 0.7)}) {
        for (const bool bCentreFirst : {false, true}) {
            SegmentVector vSegments;
            for (int i = 0; i < 100; ++i) {
                const double a = integer(random, 1, 30), b = integer(random, -30, 30);
                vSegments.push_back(
                    makeSegment(centre.first - a, centre.second - b, centre.first + a, centre.second + b));
            }
            Work work;
            if (bCentreFirst) work.insert(Point2(centre.first, centre.second, 7));
            work.constrain(vSegments);
            const bool bRounded = centre.first != std::round(centre.first);
            EXPECT_EQ(work.checkExactly(), !bRounded);
            // All crossings are within an ulp or so of the centre: one vertex serves them all.
            EXPECT_LE(work.mesh.numberOfPoints(), 201u);
        }
    }
}

TEST_F(Constraint, HundredsOfMutualCrossings) {
    const size_t n = scaled(160);
    for (int seed = 0; seed < 2; ++seed) {
        Random random(seed);
        SegmentVector vSegments;
        const double scale = seed ? 1e4 : 1, origin = seed ? 5e6 : 0;
        for (size_t i = 0; i < n; ++i) {
            vSegments.push_back(makeSegment(origin, origin + scale * uniform(random, 0, 1), origin + scale,
                                            origin + scale * uniform(random, 0, 1)));
        }
        Work work;
        for (int i = 0; i < 500; ++i) {
            work.vPoints.emplace_back(origin + scale * uniform(random, -0.1, 1.1),
                                      origin + scale * uniform(random, -0.1, 1.1), 0);
        }
        work.mesh.insert(work.vPoints);
        work.constrain(vSegments);
        EXPECT_TRUE(work.check()) << "seed " << seed;
        EXPECT_GT(work.mesh.numberOfPoints(), 500 + 2 * n + n * n / 8);
        EXPECT_EQ(work.output.substr(0, 300), "");
    }
}

TEST_F(Constraint, RunsThroughThousandsOfVertices) {
    const double side = 2 * std::floor(std::sqrt(static_cast<double>(scaled(3500)))) + 1, last = side - 1;
    Random random(1);
    for (const ConstraintInsertionStrategy cis : strategies) {
        Work work;
        work.vPoints = makeGrid(static_cast<size_t>(side), 0, 0, 1, random);
        work.mesh.insert(work.vPoints);
        work.constrain({makeSegment(last, 5, 0, 5), makeSegment(0, last, last, last), makeSegment(7, 0, 7, last)}, cis);
        // A conforming segment takes midpoints where the squares have the other diagonal.
        if (cis == CIS_CONSTRAINED_DELAUNAY)
            work.constrain({makeSegment(0, 0, last, last), makeSegment(last, 0, 0, last)});
        EXPECT_EQ(work.mesh.numberOfPoints(), work.vPoints.size());
        EXPECT_TRUE(work.checkExactly());
        // Knight's moves cross edges between the vertices that they meet.
        work.constrain({makeSegment(0, 0, 40, 20), makeSegment(40, 0, 0, 20), makeSegment(0, 3, 30, 63)}, cis);
        EXPECT_TRUE(work.check());
    }
}

TEST_F(Constraint, RunsAlongThousandsOfCollinearVertices) {
    const size_t n = 4000;
    const double last = n - 1;
    for (const bool bVerticesFirst : {true, false}) {
        Work work;
        work.insert(Point2(last / 2, -last, 0));
        if (!bVerticesFirst) work.constrain({makeSegment(last, 0, 0, 0), makeSegment(0, 0, last, 0)});
        work.insertBulk(makePoints(n, [](double i) { return XY(i, 0); }));
        work.insert(Point2(last / 2, last, 0));
        if (bVerticesFirst) work.constrain({makeSegment(last, 0, 0, 0), makeSegment(0, 0, last, 0)});
        EXPECT_TRUE(work.check(0));
        EXPECT_EQ(ConstraintOracle(work.mesh).aliveEnds().size(), n - 1);
        EXPECT_EQ(work.output.substr(0, 300), "");
    }
    for (const double scale : {1.0, 0x1p-600}) {
        Work work;
        work.insertBulk(makePoints(n, [=](double i) { return XY(i * scale, 0); }));
        work.insertBulk({Point2(0, last * scale, 0), Point2(0, -last * scale, 0)});
        work.constrain({makeSegment(last * scale, 0, 0, 0)}, CIS_CONFORMING_SURFACE_Z);
        EXPECT_TRUE(work.check(0));
        EXPECT_EQ(work.mesh.numberOfPoints(), n + 2);
        EXPECT_EQ(work.output.substr(0, 300), "");
    }
}

TEST_F(Constraint, CrossingsNearAllEndsMoveToTheSameEndInAnyOrder) {
    const Segment2 up = makeSegment(-1e-7, -1e-7, 1e-7, 1e-7), down = makeSegment(-1e-7, 1e-7, 1e-7, -1e-7);
    std::set<std::set<Ends>> sResults;
    for (int way = 0; way < 8; ++way) {
        const Segment2 a = way & 1 ? up : reversed(up), b = way & 2 ? down : reversed(down);
        Work work;
        work.insertBulk(makeSquare(-1, 1));
        work.constrain({way & 4 ? a : b});
        work.constrain({way & 4 ? b : a});
        EXPECT_TRUE(work.check());
        sResults.insert(ConstraintOracle(work.mesh).aliveEnds());
    }
    EXPECT_EQ(sResults.size(), 1u);
}

// ---- Where doubles end ----

TEST_F(Constraint, EndsWhereCrossingsHaveNoRoomLeft) {
    // Segments between neighbouring doubles, with each strategy: crossings are rounded onto ends, beside the line, or
    // back to their origin.
    const struct {
        const char* name;
        double origin, step;
    } aSettings[] = {{"even integers", 0x1p53, 2}, {"far away", 5e6, 0x1p-30},     {"smallest steps", 0.1, 0x1p-56},
                     {"subnormals", 0, 0x1p-1074}, {"largest", 0x1p1023, 0x1p971}, {"below squares", 0, 0x1p-600},
                     {"drawn to ends", 0, 1e-7},   {"about to be drawn", 0, 1e-6}};
    const int numSeeds = static_cast<int>(std::max<size_t>(scaled(40), 8));
    for (const auto& setting : aSettings) {
        for (int seed = 0; seed < numSeeds; ++seed) {
            SCOPED_TRACE(testing::Message() << setting.name << ", seed " << seed);
            Random random(seed);
            const int width = 2 << seed % 4;
            const auto coordinate = [&] { return setting.origin + setting.step * integer(random, 0, width); };
            Scene scene;
            for (int i = 0; i < 20; ++i) {
                Step step{random() % 3 == 0, {}, seed % 3 ? CIS_CONSTRAINED_DELAUNAY : strategies[random() % 3]};
                do step.s = makeSegment(coordinate(), coordinate(), coordinate(), coordinate());
                while (step.s.getSrc() == step.s.getTrg());
                scene.vSteps.push_back(step);
            }
            checkAllOrders(scene);
            if (HasFailure()) return;
        }
    }
}

}  // namespace
