#include <gtest/gtest.h>

#include <cmath>
#include <functional>
#include <limits>
#include <set>
#include <string>
#include <vector>

#include "support/capture.h"
#include "support/mesh.h"
#include "support/scene.h"
#include "taro25d/ConstraintSegment2.h"
#include "taro25d/MeshGenParams.h"

using namespace LUMO_TARO25D;

// Estimates and caps, which keep a refinement from running for hours.

namespace {

using Setter = std::function<void(MeshGenParams&)>;

struct Outcome {
    size_t numNew;
    bool bValid;
    std::string text;
};

Outcome refine(const Scene& scene, MeshGenParams& params) {
    const size_t numBefore = scene.pMesh->numberOfPoints();
    const std::string text = printedBy([&] { scene.pMesh->refineAdvanced(&params); });
    const StdoutCapture capture;
    return {scene.pMesh->numberOfPoints() - numBefore, scene.pMesh->checkValidity(true, "refined"), text};
}

/// A square with breaklines.
Outcome refineSquare(double side, const Setter& set) {
    Random r(2);
    const Scene scene = makeScene({makeRectangle(0, 0, side, side)}, makeRandomSegments(3, side, r));
    MeshGenParams params(scene.pZone);
    set(params);
    return refine(scene, params);
}

/// Limits of a client that knows when a pass begins: in the zone there is a triangle far away that never changes, and
/// was created first, so that each pass begins with it.
class PassWatcher : public MeshGenParams {
  public:
    explicit PassWatcher(const PointVector& vCorners) : PassWatcher(makeScene({SENTINEL}), vCorners) {}
    double getMaxEdgeLength(Triangle2* pT) override {
        if (pT->getBarycenter().x() < 1000) return getLimit(pT);
        ++numPasses;
        return maxEdgeLength;
    }
    virtual double getLimit(Triangle2* pT) = 0;

    Scene scene;
    int numPasses = 0;

  private:
    PassWatcher(Scene scene, const PointVector& vCorners)
        : MeshGenParams(scene.pMesh->createZone(
              {scene.vGraphs[0], scene.pMesh->createConstraint(makeSides(vCorners), CIS_CONSTRAINED_DELAUNAY)},
              ZL_INSIDE)),
          scene(std::move(scene)) {
        minAngleDegree = 0;
    }

    static const PointVector SENTINEL;
};

const PointVector PassWatcher::SENTINEL{{2000, 0, 0}, {2001, 0, 0}, {2000.5, 0.9, 0}};

}  // namespace

TEST(MeshEstimate, RefusesWhatWouldNeverEnd) {
    struct Case {
        double side;
        Setter set;
        std::string estimate;
    };
    for (const Case& test : {
             Case{100, [](auto& p) { p.maxEdgeLength = 1e-3; }, "999999999"},
             Case{100, [](auto& p) { p.maxTriangleArea = 1e-6; }, "499999999"},
             Case{100, [](auto& p) { p.gridLength = 0.001; }, "10000000000 new"},
             Case{1000, [](auto& p) { p.growthFactor = 1.6; }, "24999999"},
             Case{1000, [](auto& p) { p.growthFactor = 1.6, p.maxNumVertices = 200'000'000; }, "24999999"},
             Case{100, [](auto& p) { p.maxEdgeLength = 1e-200; }, "inf new"},
             Case{100, [](auto& p) { p.gridLength = 1e-100; }, "1e+204 new"},
             Case{100, [](auto& p) { p.maxEdgeLength = 1, p.maxNumVertices = 9900; }, "999"},
         }) {
        const Outcome outcome = refineSquare(test.side, test.set);
        EXPECT_EQ(outcome.numNew, 0u);
        EXPECT_TRUE(contains(outcome.text, "Dt2::refineMain2(), ERROR: the limits ask for about " + test.estimate));
        EXPECT_TRUE(contains(outcome.text, " new vertices, more than maxNumVertices, "));
    }
}

TEST(MeshEstimate, RefusesNothingThatCanBeDone) {
    const Setter aLegitimate[] = {
        [](auto& p) { p.maxEdgeLength = 1; },
        [](auto& p) { p.maxEdgeLength = 1, p.maxNumVertices = 30000; },
        [](auto& p) { p.maxTriangleArea = 0.5; },
        [](auto& p) { p.gridLength = 1, p.maxNumVertices = 10300; },
        [](auto& p) { p.growthFactor = 1.6, p.growthMinArea = 1; },
        [](auto& p) { p.growthFactor = 2, p.growthMinArea = 0; },
        [](auto& p) { p.minAngleDegree = 30, p.maxNumVertices = std::numeric_limits<size_t>::max(); },
    };
    for (const Setter& set : aLegitimate) {
        const Outcome outcome = refineSquare(100, set);
        EXPECT_GT(outcome.numNew, 20u);
        EXPECT_EQ(outcome.text, "");
    }
    // A growth limit that is met needs no refinement, however small the triangles might become.
    const Scene square = makeSquare(10000);
    MeshGenParams even(square.pZone);
    even.growthFactor = 1.1;
    even.gridLength = 100;
    EXPECT_EQ(refine(square, even).text, "");
    // A limit may be fine at one place and coarse elsewhere.
    struct FineInTheCorner : MeshGenParams {
        using MeshGenParams::MeshGenParams;
        double getMaxEdgeLength(Triangle2* pT) override {
            const Point2 center = pT->getBarycenter();
            return center.x() + 2 * center.y() < 12000 ? 1e-3 : maxEdgeLength;
        }
    };
    const Scene large = makeSquare(10000);
    FineInTheCorner fine(large.pZone);
    fine.maxNumVertices = 1000;
    EXPECT_TRUE(contains(refine(large, fine).text, "refinement stops"));
}

TEST(MeshEstimate, StopsWhereTheEstimateWasTooLow) {
    const Setter aTooMuch[] = {
        [](auto& p) { p.maxEdgeLength = 1, p.maxNumVertices = 12000; },
        [](auto& p) { p.minAngleDegree = 30, p.maxNumVertices = 20; },
        [](auto& p) { p.gridLength = 5, p.maxEdgeLength = 3, p.maxNumVertices = 1200; },
    };
    for (const Setter& set : aTooMuch) {
        MeshGenParams params(nullptr);
        set(params);
        const Outcome outcome = refineSquare(100, set);
        EXPECT_EQ(outcome.numNew, params.maxNumVertices);
        EXPECT_TRUE(outcome.bValid);
        EXPECT_TRUE(
            contains(outcome.text, "Dt2::refineMain2(), WARNING: as many new vertices as maxNumVertices allows"));
    }
    // A grid makes neighbours unequal that were equal: once it is there, the run goes on as far as it may.
    const Scene square = makeSquare(100);
    MeshGenParams uneven(square.pZone);
    uneven.gridLength = 7;
    uneven.growthFactor = 1.05;
    uneven.growthMinArea = 1e-3;
    uneven.maxNumVertices = 1000;
    const Outcome stopped = refine(square, uneven);
    EXPECT_EQ(stopped.numNew, 1000u);
    EXPECT_TRUE(stopped.bValid);
    // A grid is counted beforehand, with the vertices that it would make on the border.
    const Outcome grid = refineSquare(100, [](auto& p) { p.gridLength = 1, p.maxNumVertices = 10050; });
    EXPECT_EQ(grid.numNew, 0u);
    EXPECT_TRUE(contains(grid.text, "ERROR: the limits ask for about 10"));
    // A cap equal to the number of vertices needed suffices.
    const size_t numNeeded = refineSquare(100, [](auto& p) { p.maxEdgeLength = 5; }).numNew;
    const auto refineWith = [](size_t max) {
        return refineSquare(100, [=](auto& p) { p.maxEdgeLength = 5, p.maxNumVertices = max; });
    };
    EXPECT_EQ(refineWith(numNeeded).text, "");
    EXPECT_NE(refineWith(numNeeded - 1).text, "");
}

TEST(Meshing, PassesAreFifty) {
    // In each pass there is one triangle too long, until one vertex has been inserted.
    struct OneVertexEachPass : PassWatcher {
        using PassWatcher::PassWatcher;
        double getLimit(Triangle2*) override {
            if (numPasses != lastPass) {
                lastPass = numPasses;
                numPoints = scene.pMesh->numberOfPoints();
            }
            return scene.pMesh->numberOfPoints() == numPoints ? 1e-3 : maxEdgeLength;
        }
        int lastPass = -1;
        size_t numPoints = 0;
    };
    Random r(3);
    OneVertexEachPass params(makeStar(60, 0, 0, 100, r));
    params.bAllowConstraintSplitting = false;  // which may remove vertices
    const Outcome outcome = refine(params.scene, params);
    EXPECT_EQ(outcome.numNew, 50u);
    EXPECT_TRUE(outcome.bValid);
}

TEST(Meshing, CandidatesAroundASplitAreAtMostAHundred) {
    // A split of the base of a segment of a circle makes a fan. Its triangles come at once, or in the next pass.
    struct FanWatcher : PassWatcher {
        using PassWatcher::PassWatcher;
        double getLimit(Triangle2* pT) override {
            for (int i = 0; i < 3; ++i) {
                if (*pT->getCorner(i) == Point2(0, 0, 0)) sPasses.insert(numPasses);
            }
            return 1.5;
        }
        std::set<int> sPasses;
    };
    const auto passesOfFan = [](int num) {
        PointVector vCorners;
        for (int i = 0; i <= num; ++i) {
            const double angle = i * 1.0 / num * (M_PI - 2 * std::atan(0.2)) + std::atan(0.2);
            vCorners.emplace_back(std::sqrt(1.04) * std::cos(angle), std::sqrt(1.04) * std::sin(angle) - 0.2, 0);
        }
        vCorners.front() = Point2(1, 0, 0);
        vCorners.back() = Point2(-1, 0, 0);
        FanWatcher params(vCorners);
        EXPECT_EQ(refine(params.scene, params).numNew, 1u);
        return params.sPasses;
    };
    const std::set<int> sFew = passesOfFan(90), sMany = passesOfFan(110);
    ASSERT_FALSE(sFew.empty() || sMany.empty());
    EXPECT_EQ(*sMany.begin(), *sFew.begin() + 1);
}

TEST(Meshing, GrowsFromAdjacentAreas) {
    // An equilateral triangle of area 4330 is divided in three, or not at all.
    struct Case {
        double adjacentArea, growthMinArea;
        size_t numNew;
    };
    for (const Case& test : {Case{1000, 0.001, 1}, Case{2000, 0.001, 1}, Case{2200, 0.001, 0}, Case{1000, 1500, 0},
                             Case{0, 0.001, 0}, Case{std::numeric_limits<double>::max(), 0.001, 0}}) {
        const Scene scene = makeScene({{{0, 0, 0}, {100, 0, 0}, {50, 50 * std::sqrt(3), 0}}});
        originalsOf(scene.vGraphs[0])[1]->setAdjacentArea(test.adjacentArea);
        MeshGenParams params(scene.pZone);
        params.growthFactor = 2;
        params.growthMinArea = test.growthMinArea;
        params.minAngleDegree = 0;
        EXPECT_EQ(refine(scene, params).numNew, test.numNew) << test.adjacentArea;
    }
    // A segment without an adjacent area hides the triangles behind it.
    for (const bool bConstraint : {false, true}) {
        const SegmentVector vBase{makeSegment(0, 0, 100, 0)};
        const Scene scene =
            makeScene({{{0, 0, 0}, {50, -35, 0}, {100, 0, 0}, {50, 90, 0}}}, bConstraint ? vBase : SegmentVector{});
        MeshGenParams params(scene.pZone);
        params.growthFactor = 2;
        params.minAngleDegree = 0;
        EXPECT_EQ(refine(scene, params).numNew > 0, !bConstraint);
    }
}
