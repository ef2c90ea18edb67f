// The age of constraints: where two cross, the older one gives the height.

#include <gtest/gtest.h>

#include <algorithm>
#include <utility>
#include <vector>

#include "constraints/ConstraintMgr.h"
#include "mesh/Dt2.h"
#include "support/capture.h"
#include "support/constraint_oracle.h"
#include "support/generators.h"
#include "support/mesh.h"
#include "support/polygons.h"
#include "taro25d/Taro_2D.h"

using namespace LUMO_TARO25D;

namespace {

double heightAt(const Taro_2D& mesh, double x, double y) {
    const Point2* pVtx = mesh.getImpl()->getVertexPointer(Point2(x, y, 0));
    return pVtx ? pVtx->z() : NOT_A_NUMBER;
}

ConstraintSegment2* segmentBetween(const Taro_2D& mesh, const Point2& a, const Point2& b) {
    const Dt2* pDt2 = mesh.getImpl();
    return pDt2->getAliveConstraintSegment(pDt2->getVertexPointer(a), pDt2->getVertexPointer(b));
}

std::pair<unsigned, unsigned> ageOf(const ConstraintSegment2* pCSeg) {
    return pCSeg ? std::pair(pCSeg->getAge().call, pCSeg->getAge().place) : std::pair(0u, 0u);
}

using AgePair = std::pair<unsigned, unsigned>;

/// A call whose segments are only recorded, not applied.
void record(Taro_2D& mesh, const SegmentVector& vSegments, ConstraintInsertionStrategy cis) {
    std::vector<ConstraintMgr::VertexPair> vPairs;
    for (const Segment2& s : vSegments) vPairs.emplace_back(mesh.insert(s.getSrc()), mesh.insert(s.getTrg()));
    mesh.getImpl()->getConstraintManager()->createConstraint(vPairs, cis, false);
}

// ---- Combs: lines that cross each other only in pairs of an older and a younger one ----

struct Line {
    Segment2 s;
    bool bOlder;
    double rank;  // the order in which clients ask for the lines
};

struct Comb {
    Segment2 spine;
    SegmentVector vTeeth;
    bool bSpineOlder;

    double expectedHeight(const Segment2& tooth) const {
        const double x = tooth.getSrc().x(), y = spine.getSrc().y();
        return bSpineOlder ? interpolate(spine.getSrc().x(), spine.getTrg().x(), x, spine)
                           : interpolate(tooth.getSrc().y(), tooth.getTrg().y(), y, tooth);
    }

    static double interpolate(double from, double to, double at, const Segment2& s) {
        return s.getSrc().z() + (at - from) / (to - from) * (s.getTrg().z() - s.getSrc().z());
    }
};

Comb makeComb(double y, Random& random) {
    Comb comb{makeSegment(0, y, 120, y, uniform(random, 0, 10), uniform(random, 0, 10)), {}, random() % 2 == 0};
    const double reach = random() % 2 ? 0.2 : 15;  // the short ones are edges before their turn comes
    for (int x = 1; x < 120; x += integer(random, 1, 9)) {
        comb.vTeeth.push_back(makeSegment(x, y - uniform(random, 0.1, reach), x, y + uniform(random, 0.1, reach),
                                          uniform(random, 500, 900), uniform(random, 500, 900)));
    }
    return comb;
}

std::vector<Line> linesOf(const std::vector<Comb>& vCombs, Random& random) {
    std::vector<Line> vLines;
    const auto add = [&](const Segment2& s, bool bOlder) {
        vLines.push_back({s, bOlder, uniform(random, 0, 1) + (bOlder ? 0 : 1)});
    };
    for (const Comb& comb : vCombs) {
        add(comb.spine, comb.bSpineOlder);
        for (const Segment2& tooth : comb.vTeeth) add(tooth, !comb.bSpineOlder);
    }
    std::sort(vLines.begin(), vLines.end(), [](const Line& a, const Line& b) { return a.rank < b.rank; });
    return vLines;
}

struct Call {
    SegmentVector vSegments;
    ConstraintInsertionStrategy cis;
};

/// Cuts the lines into calls. Midpoints on the surface would bend an older line, so none has that strategy.
std::vector<Call> callsOf(const std::vector<Line>& vLines, size_t numCalls, Random& random) {
    constexpr ConstraintInsertionStrategy strategies[] = {CIS_CONSTRAINED_DELAUNAY, CIS_CONFORMING_LINEAR_Z,
                                                          CIS_CONFORMING_SURFACE_Z};
    std::vector<Call> vCalls(numCalls);
    for (size_t k = 0; k < numCalls; ++k) {
        bool bAnyOlder = false;
        for (size_t i = k * vLines.size() / numCalls; i < (k + 1) * vLines.size() / numCalls; ++i) {
            vCalls[k].vSegments.push_back(vLines[i].s);
            bAnyOlder |= vLines[i].bOlder;
        }
        vCalls[k].cis = strategies[random() % (bAnyOlder ? 2 : 3)];
    }
    return vCalls;
}

enum Way { AT_ONCE, ALL_LATER, IN_ANY_ORDER, NUM_WAYS };

void establish(Taro_2D& mesh, const std::vector<Call>& vCalls, int way, Random& random) {
    for (const Call& call : vCalls) {
        if (way == AT_ONCE) {
            mesh.createConstraint(call.vSegments, call.cis, random() % 2);
        } else {
            record(mesh, call.vSegments, call.cis);
        }
    }
    CSegVector vCSegs = aliveSegmentsOf(mesh);
    std::shuffle(vCSegs.begin(), vCSegs.end(), random);
    for (ConstraintSegment2* pCSeg : vCSegs) {
        if (way == IN_ANY_ORDER) mesh.getImpl()->getConstraintManager()->applyOneSegment(pCSeg);
    }
    mesh.applyConstraintsAndZones();
}

TEST(ConstraintAge, TheOlderOneGivesTheHeightWhereTwoCross) {
    for (unsigned seed = 0; seed < scaled(60); ++seed) {
        for (int way = 0; way < NUM_WAYS; ++way) {
            SCOPED_TRACE(testing::Message() << "seed " << seed << ", way " << way);
            Random random(seed);
            std::vector<Comb> vCombs;
            for (const double y : {0, 40, 80}) vCombs.push_back(makeComb(y, random));
            Taro_2D mesh;
            mesh.insert({{-50, -50, 0}, {170, -50, 0}, {170, 130, 0}, {-50, 130, 0}});
            const std::vector<Line> vLines = linesOf(vCombs, random);
            establish(mesh, callsOf(vLines, 1 + random() % 5, random), way, random);
            ASSERT_TRUE(ConstraintOracle(mesh).check());
            for (const Comb& comb : vCombs) {
                for (const Segment2& tooth : comb.vTeeth) {
                    ASSERT_NEAR(heightAt(mesh, tooth.getSrc().x(), comb.spine.getSrc().y()), comb.expectedHeight(tooth),
                                1e-9)
                        << tooth.getSrc() << (comb.bSpineOlder ? " younger" : " older");
                }
            }
        }
    }
}

TEST(ConstraintAge, AMidpointOnAnOlderConstraintTakesItsHeight) {
    for (const auto cis : {CIS_CONFORMING_SURFACE_Z, CIS_CONFORMING_LINEAR_Z}) {
        for (const bool bOtherOlder : {false, true}) {
            Taro_2D mesh;
            mesh.insert({{-9, -9, 0}, {9, -9, 0}, {9, 9, 0}, {-9, 9, 0}, {0, 0.5, 0}, {0, -0.5, 0}});
            const SegmentVector vOther{makeSegment(0, -3, 0, 3, 10, 30)}, vMiddle{makeSegment(-4, 0, 4, 0, 70, 90)};
            record(mesh, bOtherOlder ? vOther : vMiddle, bOtherOlder ? CIS_CONSTRAINED_DELAUNAY : cis);
            record(mesh, bOtherOlder ? vMiddle : vOther, bOtherOlder ? cis : CIS_CONSTRAINED_DELAUNAY);
            ConstraintMgr* pManager = mesh.getImpl()->getConstraintManager();
            pManager->applyOneSegment(segmentBetween(mesh, {0, -3, 0}, {0, 3, 0}));
            mesh.applyConstraintsAndZones();
            EXPECT_TRUE(ConstraintOracle(mesh).check());
            // The constraint goes through the two vertices beside the crossing, which are at height 0.
            EXPECT_EQ(heightAt(mesh, 0, 0), bOtherOlder ? 0 : 80) << cis;
        }
    }
}

TEST(ConstraintAge, AYoungerOneDoesNotHalveBeforeTheOlderOneIsThere) {
    // The crossing is a midpoint of both segments; halving reaches that of the younger segment first.
    const Segment2 aLines[] = {makeSegment(-3, 0, 1, 0, 10, 10), makeSegment(0, -1, 0, 1, 50, 50)};
    for (const int older : {0, 1}) {
        Random random(5);
        Taro_2D mesh;
        mesh.insert(makeRectangle(-20, -20, 20, 20));
        mesh.insert(makeScattered(200, -5, -5, 5, 5, random));
        mesh.createConstraint({aLines[older], aLines[1 - older]}, CIS_CONFORMING_LINEAR_Z);
        EXPECT_TRUE(ConstraintOracle(mesh).check());
        EXPECT_EQ(heightAt(mesh, 0, 0), aLines[older].getSrc().z());
    }
}

// ---- The numbers ----

TEST(ConstraintAge, IsTheCallAndThePlaceInItsList) {
    Taro_2D mesh;
    mesh.insert({{-9, -9, 0}, {9, -9, 0}, {9, 9, 0}, {-9, 9, 0}});
    StdoutCapture capture;
    mesh.createConstraint({makeSegment(0, 0, 4, 0), makeSegment(1, 1, 1, 1), makeSegment(0, 2, 4, 2)},
                          CIS_CONSTRAINED_DELAUNAY, true);
    mesh.createConstraint({makeSegment(0, 4, 4, 4), makeSegment(4, 0, 0, 0)}, CIS_CONFORMING_LINEAR_Z);
    EXPECT_EQ(ageOf(segmentBetween(mesh, {0, 0, 0}, {4, 0, 0})), AgePair(1, 0)) << "the first call counts";
    EXPECT_EQ(ageOf(segmentBetween(mesh, {0, 2, 0}, {4, 2, 0})), AgePair(1, 2)) << "what is skipped has a place";
    EXPECT_EQ(ageOf(segmentBetween(mesh, {0, 4, 0}, {4, 4, 0})), AgePair(2, 0));
    mesh.insert(Point2(1, 2, 0));
    mesh.insert(Point2(3, 2, 0));
    mesh.createConstraint({makeSegment(2, -1, 2, 5)}, CIS_CONSTRAINED_DELAUNAY);
    EXPECT_EQ(ageOf(segmentBetween(mesh, {1, 2, 0}, {2, 2, 0})), AgePair(1, 2)) << "children of children";
    EXPECT_EQ(ageOf(segmentBetween(mesh, {2, 4, 0}, {2, 2, 0})), AgePair(3, 0));
}

TEST(ConstraintAge, SharedPiecesAreAsOldAsTheOldest) {
    for (const bool bYoungFirst : {false, true}) {
        SCOPED_TRACE(bYoungFirst);
        Taro_2D mesh;
        mesh.insert({{-9, -9, 0}, {30, -9, 0}, {30, 9, 0}, {-9, 9, 0}, {5, 0, 100}, {10, 0, 2}});
        for (const double x : {6.9, 7.1, 11.9, 12.1}) mesh.insert({{x, 0.5, 0}, {x, -0.5, 0}});  // no edges by chance
        const Segment2 old = makeSegment(0, 0, 10, 0, 1, 2), between7 = makeSegment(7, -1, 7, 1, 500, 500),
                       between12 = makeSegment(12, -1, 12, 1, 500, 500), young = makeSegment(5, 0, 15, 0, 100, 110);
        record(mesh, {old}, CIS_CONSTRAINED_DELAUNAY);
        record(mesh, {between7, between12}, CIS_CONSTRAINED_DELAUNAY);
        record(mesh, {young}, CIS_CONSTRAINED_DELAUNAY);
        ConstraintMgr* pManager = mesh.getImpl()->getConstraintManager();
        if (bYoungFirst) {
            pManager->applyOneSegment(segmentBetween(mesh, young.getSrc(), young.getTrg()));
            EXPECT_EQ(ageOf(segmentBetween(mesh, {5, 0, 0}, {10, 0, 0})), AgePair(3, 0));
            mesh.insert(Point2(8, 0, 50));  // the piece has children by the time the old one reaches it
        }
        pManager->applyOneSegment(segmentBetween(mesh, old.getSrc(), old.getTrg()));
        if (!bYoungFirst) mesh.insert(Point2(8, 0, 50));
        mesh.applyConstraintsAndZones();
        EXPECT_TRUE(ConstraintOracle(mesh).check());
        EXPECT_EQ(ageOf(segmentBetween(mesh, {0, 0, 0}, {5, 0, 0})), AgePair(1, 0));
        EXPECT_EQ(ageOf(segmentBetween(mesh, {5, 0, 0}, {7, 0, 0})), AgePair(1, 0));
        EXPECT_EQ(ageOf(segmentBetween(mesh, {8, 0, 0}, {10, 0, 0})), AgePair(1, 0));
        EXPECT_EQ(ageOf(segmentBetween(mesh, {10, 0, 0}, {12, 0, 0})), AgePair(3, 0));
        EXPECT_NEAR(heightAt(mesh, 7, 0), 100 - 50 * 2 / 3., 1e-12) << "between the ends of the shared piece";
        EXPECT_EQ(heightAt(mesh, 12, 0), 500);
    }
}

}  // namespace
