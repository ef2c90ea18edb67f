#include <gtest/gtest.h>
#include <unistd.h>

#include <algorithm>
#include <cmath>
#include <filesystem>
#include <fstream>
#include <functional>
#include <limits>
#include <map>
#include <set>
#include <sstream>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include "constraints/ConstraintMgr.h"
#include "mesh/Dt2.h"
#include "support/capture.h"
#include "support/constraint_oracle.h"
#include "support/files.h"
#include "support/generators.h"
#include "support/mesh.h"
#include "support/polygons.h"
#include "support/recorder.h"
#include "taro25d/Edge2.h"
#include "taro25d/TaroException.h"
#include "taro25d/Taro_2D.h"
#include "taro25d/freeFunctions.h"

using namespace LUMO_TARO25D;

namespace {

/// Ends the process if a test takes much longer than it should, so that an endless loop fails.
class Constraint : public testing::Test {
  protected:
    Constraint() { alarm(120); }
    ~Constraint() override { alarm(0); }
};

constexpr double SNAP_DISTANCE = 1e-6;
constexpr ConstraintInsertionStrategy strategies[] = {CIS_CONSTRAINED_DELAUNAY, CIS_CONFORMING_SURFACE_Z,
                                                      CIS_CONFORMING_LINEAR_Z};

Segment2 reversed(const Segment2& s) { return Segment2(s.getTrg(), s.getSrc()); }

PointVector makeSquare(double from, double to) { return makeRectangle(from, from, to, to); }

/// What was inserted, with the graphs that came of it, and whether the triangulation said that it had to give up.
struct Work {
    Taro_2D mesh;
    std::vector<ConstraintGraph2*> vGraphs;
    PointVector vPoints;
    SegmentVector vSegments;
    std::string output;
    bool bPending = false;  // segments wait for triangles

    void insert(const Point2& point) {
        StdoutCapture capture;
        vPoints.push_back(point);
        EXPECT_EQ(*mesh.insert(point), point);
        output += capture.text();
    }
    void insertBulk(const PointVector& vMore) {
        StdoutCapture capture;
        vPoints.insert(vPoints.end(), vMore.begin(), vMore.end());
        mesh.insert(vMore);
        output += capture.text();
    }
    ConstraintGraph2* constrain(const SegmentVector& vMore, ConstraintInsertionStrategy cis = CIS_CONSTRAINED_DELAUNAY,
                                bool bOriented = true) {
        StdoutCapture capture;
        vSegments.insert(vSegments.end(), vMore.begin(), vMore.end());
        ConstraintGraph2* pGraph = mesh.createConstraint(vMore, cis, bOriented);
        EXPECT_NE(pGraph, nullptr);
        if (pGraph) vGraphs.push_back(pGraph);
        output += capture.text();
        bPending |= !mesh.is2D();
        return pGraph;
    }
    void apply() {
        StdoutCapture capture;
        mesh.applyConstraintsAndZones();
        output += capture.text();
    }
    void applyIfPending() {
        if (!bPending || !mesh.is2D()) return;
        apply();
        bPending = false;
    }

    bool gaveUp() const {
        return contains(output, "insufficient numeric accuracy") || contains(output, "Double precision arithmetic");
    }

    /// By default, crossings may be rounded, each by an ulp, or drawn to an end.
    testing::AssertionResult check(double tolerance = 4 * SNAP_DISTANCE) const {
        double magnitude = 0;
        for (const Segment2& s : vSegments) {
            for (const Point2& p : {s.getSrc(), s.getTrg()}) {
                magnitude = std::max({magnitude, std::abs(p.x()), std::abs(p.y())});
            }
        }
        tolerance += 32 * magnitude * std::numeric_limits<double>::epsilon();
        testing::AssertionResult result = ConstraintOracle(mesh, gaveUp()).check();
        for (size_t i = 0; result && i < vGraphs.size(); ++i) {
            result = ConstraintOracle::checkGraph(*vGraphs[i], tolerance);
        }
        return result ? result : result << "\n" << output;
    }

    /// The same, and exactly the edges that should be constraints are, where that can be told. Returns whether it can.
    bool checkExactly() const {
        const auto sExpected = expectedEdges(vPoints, vSegments);
        EXPECT_TRUE(check(sExpected ? 0 : 4 * SNAP_DISTANCE));
        if (sExpected) {
            EXPECT_EQ(ConstraintOracle(mesh).aliveEnds(), *sExpected);
            EXPECT_EQ(output.substr(0, 300), "");
        }
        return sExpected.has_value();
    }
};

// ---- Scenes that are inserted in every way ----

struct Step {
    bool bPoint;
    Segment2 s;
    ConstraintInsertionStrategy cis;
};

struct Scene {
    std::vector<Step> vSteps;

    Scene transformed(int numTurns, double scale, double dx, double dy) const {
        const auto turn = [&](const Point2& p) {
            double x = p.x(), y = p.y();
            for (int i = 0; i < numTurns; ++i) std::swap(x, y), x = -x;
            return Point2(x * scale + dx, y * scale + dy, p.z());
        };
        Scene result = *this;
        for (Step& step : result.vSteps) step.s = Segment2(turn(step.s.getSrc()), turn(step.s.getTrg()));
        return result;
    }

    bool isConstrainedOnly() const {
        return std::all_of(vSteps.begin(), vSteps.end(),
                           [](const Step& step) { return step.bPoint || step.cis == CIS_CONSTRAINED_DELAUNAY; });
    }
};

/// Step by step, points first, constraints first, and constraints first one by one and backwards.
constexpr int NUM_WAYS = 4;

void insertIn(int way, const Scene& scene, Work& work) {
    PointVector vPoints;
    std::map<ConstraintInsertionStrategy, SegmentVector> mSegments;
    for (const Step& step : scene.vSteps) {
        if (way == 0 && step.bPoint) {
            work.insert(step.s.getSrc());
        } else if (way == 0) {
            work.constrain({step.s}, step.cis);
        } else if (step.bPoint) {
            vPoints.push_back(step.s.getSrc());
        } else {
            mSegments[step.cis].push_back(step.s);
        }
    }
    if (way == 1) work.insertBulk(vPoints);
    for (const auto& [cis, vSegments] : mSegments) {
        if (way != 3) work.constrain(vSegments, cis, way == 2);
        for (auto it = vSegments.rbegin(); way == 3 && it != vSegments.rend(); ++it)
            work.constrain({reversed(*it)}, cis);
    }
    if (way == 2) work.insertBulk(vPoints);
    for (auto it = vPoints.begin(); way == 3 && it != vPoints.end(); ++it) work.insert(*it);
    work.applyIfPending();
}

/// Returns how often the edges could be compared with what they should be.
int checkAllWays(const Scene& scene) {
    int numExact = 0;
    for (int way = 0; way < NUM_WAYS; ++way) {
        SCOPED_TRACE(testing::Message() << "way " << way);
        Work work;
        insertIn(way, scene, work);
        if (scene.isConstrainedOnly()) {
            numExact += work.checkExactly();
        } else {
            EXPECT_TRUE(work.check());
            if (work.mesh.is2D()) work.apply();
            EXPECT_TRUE(work.check());
            EXPECT_TRUE(work.gaveUp() || ConstraintOracle(work.mesh).numEncroached() == 0);
        }
    }
    return numExact;
}

/// Lines of "point x y" or a strategy and the coordinates of two ends, in any notation of strtod.
Scene readCorpusFile(const std::filesystem::path& path) {
    const std::map<std::string, ConstraintInsertionStrategy> mStrategies{{"constrained", CIS_CONSTRAINED_DELAUNAY},
                                                                         {"surface_z", CIS_CONFORMING_SURFACE_Z},
                                                                         {"linear_z", CIS_CONFORMING_LINEAR_Z}};
    Scene scene;
    std::ifstream file(path);
    for (std::string line; std::getline(file, line);) {
        std::istringstream words(line.substr(0, line.find('#')));
        std::string kind, number;
        if (!(words >> kind)) continue;
        std::vector<double> v;
        while (words >> number) v.push_back(std::stod(number));
        const bool bPoint = kind == "point";
        EXPECT_EQ(v.size(), bPoint ? 2u : 4u) << path << ": " << line;
        v.resize(4);
        const double z = static_cast<double>(scene.vSteps.size());
        scene.vSteps.push_back({bPoint, makeSegment(v[0], v[1], v[2], v[3], z, z + 0.5),
                                bPoint ? CIS_CONSTRAINED_DELAUNAY : mStrategies.at(kind)});
    }
    return scene;
}

TEST_F(Constraint, EveryFileOfTheCorpus) {
    int numFiles = 0, numExact = 0;
    for (const auto& entry : std::filesystem::directory_iterator(TARO25D_CORPUS_DIR "/constraints")) {
        SCOPED_TRACE(entry.path().filename());
        const Scene scene = readCorpusFile(entry.path());
        ASSERT_FALSE(scene.vSteps.empty());
        ++numFiles;
        numExact += checkAllWays(scene);
        Scene shuffled = scene;
        Random random(1);
        for (int i = 0; i < 10; ++i) {
            SCOPED_TRACE(testing::Message() << "shuffled " << i);
            std::shuffle(shuffled.vSteps.begin(), shuffled.vSteps.end(), random);
            checkAllWays(shuffled);
        }
        for (int numTurns = 1; numTurns < 4; ++numTurns) {
            SCOPED_TRACE(testing::Message() << "turned " << numTurns);
            checkAllWays(scene.transformed(numTurns, 1, 0, 0));
        }
        for (const double scale : {0x1p-600, 0x1p-40, 0x1p-10, 0x1p10, 0x1p40, 0x1p500}) {
            SCOPED_TRACE(testing::Message() << "scaled by " << scale);
            checkAllWays(scene.transformed(1, scale, 0, 0));
        }
        for (const double spacing : {1.0, 0.1, 0x1p-20, 0x1p-29}) {
            SCOPED_TRACE(testing::Message() << "far away, spacing " << spacing);
            checkAllWays(scene.transformed(0, spacing, 5e6 + 0.3, -4.5e6));
        }
    }
    EXPECT_GT(numFiles, 0) << "no corpus in " << TARO25D_CORPUS_DIR;
    EXPECT_GT(numExact, 0);
}

/// SegmentVector between points of the line through (0, 0) and (dx, dy), in both directions.
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
        ASSERT_EQ(checkAllWays(scene.transformed(0, 2, 0, 0)), NUM_WAYS);
        if (seed < 20) checkAllWays(scene.transformed(0, 1, 5e6, -4.1e6));
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
        // A conforming segment takes midpoints where the diagonals of the squares run the other way.
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

// ---- What a segment cuts ----

bool cross(const Point2& a, const Point2& b, const Point2& c, const Point2& d) {
    return oracleOrientation(a, b, c) * oracleOrientation(a, b, d) < 0 &&
           oracleOrientation(c, d, a) * oracleOrientation(c, d, b) < 0;
}

TEST_F(Constraint, RegionsThatTouchThemselves) {
    // An edge that is not crossed but lies between two triangles that are: the border passes both its sides.
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
        // The midpoint of the next one is not on the edge that it crosses; that of the last one is.
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

TEST_F(Constraint, EndsWhereCrossingsHaveNoRoomLeft) {
    // SegmentVector between neighbouring doubles, of every strategy: crossings round onto ends, beside the line, or back to
    // where they came from.
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
            checkAllWays(scene);
            if (HasFailure()) return;
        }
    }
}

TEST_F(Constraint, GoesOnAfterAListenerHasThrown) {
    // What is left of the quota of crossings when the exception comes must not be all that later segments have.
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

// ---- Graphs ----

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

// ---- Real line work ----

TEST_F(Constraint, RealLineWork) {
    if (!hasDataFolder()) GTEST_SKIP() << "without TARO25D_DATA_DIR";
    size_t numFiles = 0;
    for (const auto& entry : std::filesystem::directory_iterator(dataPath("segments"))) {
        if (entry.path().extension() != ".segb") continue;
        SCOPED_TRACE(entry.path().filename());
        ++numFiles;
        const SegmentVector vSegments = readRealSegments(entry.path().stem());
        for (const ConstraintInsertionStrategy cis : strategies) {
            if (cis != CIS_CONSTRAINED_DELAUNAY && vSegments.size() > scaled(6000)) continue;
            Work work;
            work.constrain(vSegments, cis, cis == CIS_CONSTRAINED_DELAUNAY);
            EXPECT_TRUE(work.check());
            EXPECT_FALSE(work.gaveUp());
            EXPECT_EQ(ConstraintOracle(work.mesh).numEncroached(), 0u);
        }
    }
    EXPECT_GT(numFiles, 0u);
}

TEST_F(Constraint, RealCounts) {
    if (!hasDataFolder()) GTEST_SKIP() << "without TARO25D_DATA_DIR";
    const struct {
        const char* name;
        size_t numNewVertices, numMoreSegments;
    } aFiles[] = {{"lake_superior", 0, 0}, {"ne_50m_rivers_lake_centerlines", 25, 2 * 25 + 1}};
    for (const auto& file : aFiles) {
        Work work;
        work.constrain(readRealSegments(file.name));
        std::set<XY> sEnds;
        std::set<Ends> sSegments;
        for (const Segment2& s : work.vSegments) {
            sEnds.insert({xyOf(s.getSrc()), xyOf(s.getTrg())});
            sSegments.insert(endsOf(s.getSrc(), s.getTrg()));
        }
        EXPECT_EQ(work.mesh.numberOfPoints() - sEnds.size(), file.numNewVertices) << file.name;
        EXPECT_EQ(ConstraintOracle(work.mesh).aliveEnds().size() - sSegments.size(), file.numMoreSegments) << file.name;
    }
}

// ---- Everything mixed ----

/// One random step: points, segments, removals of free vertices, or a split. The kinds that are left do nothing.
template <class MakePoint>
void doAnything(int kind, Work& work, const MakePoint& makePoint, Random& random) {
    if (kind == 0) work.insert(makePoint());
    if (kind == 1) {
        PointVector vPoints;
        while (vPoints.size() < 8) vPoints.push_back(makePoint());
        work.insertBulk(vPoints);
    }
    if (kind == 2 || kind == 3) {
        SegmentVector vSegments;
        for (size_t k = 1 + random() % 3; vSegments.size() < k;) {
            const Segment2 s(makePoint(), makePoint());
            if (s.getSrc() != s.getTrg()) vSegments.push_back(s);
        }
        work.constrain(vSegments, kind == 2 ? CIS_CONSTRAINED_DELAUNAY : strategies[random() % 3], random() % 2);
    }
    for (int k = 0; k < 3 && kind == 4 && work.mesh.numberOfPoints() > 0; ++k) {
        const VertexVector vVertices = verticesOf(work.mesh);
        Point2* pVtx = vVertices[random() % vVertices.size()];
        if (!work.mesh.isConstraint(pVtx)) work.mesh.remove(pVtx);
    }
    CSegVector vAlive = aliveSegmentsOf(work.mesh);
    if (kind == 5 && work.mesh.is2D() && !vAlive.empty()) {
        // The same one whatever the addresses are.
        std::sort(vAlive.begin(), vAlive.end(), [](auto* p, auto* q) { return endsOf(*p) < endsOf(*q); });
        ConstraintSegment2* pCSeg = vAlive[random() % vAlive.size()];
        const auto [a, b] = std::minmax(*pCSeg->getSrc(), *pCSeg->getTrg());
        const double t = integer(random, 0, 4) / 4;
        const Point2 place(a.x() + t * (b.x() - a.x()), a.y() + t * (b.y() - a.y()), 0);
        const bool bAtEnd = place == a || place == b;
        bool bNull = false;
        work.output += printedBy([&] { bNull = !pCSeg->insertAndSplit(place); });
        EXPECT_TRUE(bNull == bAtEnd || work.gaveUp());
    }
    work.bPending |= !work.mesh.is2D();
    work.applyIfPending();
}

TEST_F(Constraint, MixesOfEverything) {
    const struct {
        const char* name;
        double origin, step;
        int width;
    } aSettings[] = {{"small grid", 0, 1, 6},        {"grid", 0, 1, 20},
                     {"survey", 4.5e6, 0.01, 30000}, {"unit square", 0, 1e-9, 1000000000},
                     {"large", 0, 1e30, 50},         {"small", 0, 1e-3, 9}};
    const int numSeeds = static_cast<int>(std::max<size_t>(scaled(10), 2));
    int numGivenUp = 0;
    for (const auto& setting : aSettings) {
        for (int seed = 0; seed < numSeeds; ++seed) {
            SCOPED_TRACE(testing::Message() << setting.name << ", seed " << seed);
            Random random(seed);
            const auto makePoint = [&] {
                const double x = integer(random, 0, setting.width), y = integer(random, 0, setting.width);
                return Point2(setting.origin + setting.step * x, setting.origin + setting.step * y,
                              uniform(random, 0, 9));
            };
            Work work;
            for (int i = 0; i < 60 && !work.gaveUp(); ++i) {
                const int kind = static_cast<int>(random() % 8);
                doAnything(kind, work, makePoint, random);
                const auto step = testing::Message() << "step " << i << ", kind " << kind;
                ASSERT_FALSE(HasFailure()) << step;
                ASSERT_TRUE(work.check()) << step;
            }
            numGivenUp += work.gaveUp();
        }
    }
    EXPECT_LE(numGivenUp, numSeeds / 10) << "crossings without room for their last bits are rare";
}

}  // namespace
