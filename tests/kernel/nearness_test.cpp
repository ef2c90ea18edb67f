#include "kernel/nearness.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <map>
#include <set>

#include "support/capture.h"
#include "support/constraint_oracle.h"
#include "support/mesh.h"
#include "support/polygons.h"
#include "taro25d/Taro_2D.h"

using namespace LUMO_TARO25D;

namespace {

TEST(Nearness, IsRelativeToTheCoordinates) {
    for (int exponent = -200; exponent <= 200; exponent += 25) {
        const auto at = [exponent](double x, double y) {
            return Point2(std::ldexp(x, exponent), std::ldexp(y, exponent), 0);
        };
        const auto isBesideAnyWay = [](const Point2& a, const Point2& b, const Point2& p) {
            EXPECT_EQ(isBeside(a, b, p), isBeside(b, a, p));
            return isBeside(a, b, p);
        };
        const Point2 src = at(1, 1), trg = at(2, 1), up = at(1, 2);
        EXPECT_TRUE(isBesideAnyWay(src, trg, at(1.5, 1 + 0x1p-49)));
        EXPECT_TRUE(isBesideAnyWay(src, up, at(1 - 0x1p-49, 1.25)));
        EXPECT_FALSE(isBesideAnyWay(src, trg, at(1.5, 1 + 0x1.8p-49)));
        EXPECT_FALSE(isBesideAnyWay(src, trg, at(1 + 0x0.fp-39, 1 + 0x1p-50))) << "next to an end";
        EXPECT_TRUE(isBesideAnyWay(src, trg, at(1 + 0x1.1p-39, 1 + 0x1p-50)));
        EXPECT_FALSE(isBesideAnyWay(src, trg, at(2 + 0x1p-30, 1))) << "beyond an end";
        EXPECT_FALSE(isBesideAnyWay(src, trg, at(0, 1)));
        EXPECT_FALSE(isBesideAnyWay(src, src, src));
    }
}

/// Survey points on lines, as far as doubles can say that, in a square of other points. Heights tell them apart.
struct Scene {
    PointVector vPoints;
    SegmentVector vLines;

    Scene(std::uint64_t seed, size_t numLines, int numOnEach, double scale = 1) {
        Random r(seed);
        const double origin = seed % 3 == 0 ? 0 : seed % 3 == 1 ? 1e6 : -5e6;
        const auto at = [&](double x, double y) {
            return Point2(scale * (origin + x), scale * (origin + y), 100 + static_cast<double>(vPoints.size()));
        };
        for (const Point2& corner : makeRectangle(0, 0, 100, 100)) vPoints.push_back(at(corner.x(), corner.y()));
        for (int i = 0; i < 40; ++i) vPoints.push_back(at(uniform(r, 0, 100), uniform(r, 0, 100)));
        for (size_t k = 0; k < numLines; ++k) {
            const double y0 = uniform(r, 0, 100), y1 = uniform(r, 0, 100);
            const Point2 src = at(uniform(r, 5, 20), y0), trg = at(uniform(r, 80, 95), y1);
            vLines.emplace_back(src, trg);
            for (int i = 1; i <= numOnEach; ++i) {
                const double t = i / (numOnEach + 1.0);
                vPoints.push_back(at(0, 0));
                vPoints.back().set(src.x() + (trg.x() - src.x()) * t, src.y() + (trg.y() - src.y()) * t,
                                   vPoints.back().z());
            }
        }
    }
};

enum Way { POINTS_FIRST, LINES_FIRST, LINES_FIRST_ONE_BY_ONE, IN_TURN, NUM_WAYS };

void build(Taro_2D& mesh, const Scene& scene, Way way, ConstraintInsertionStrategy cis) {
    mesh.setNumCPU(2);
    const auto half = scene.vPoints.begin() + static_cast<std::ptrdiff_t>(scene.vPoints.size() / 2);
    if (way == POINTS_FIRST) mesh.insert(scene.vPoints);
    if (way == IN_TURN) mesh.insert(PointVector(scene.vPoints.begin(), half));
    mesh.createConstraint(scene.vLines, cis);
    if (way == LINES_FIRST) mesh.insert(scene.vPoints);
    if (way == IN_TURN) mesh.insert(PointVector(half, scene.vPoints.end()));
    for (size_t i = 0; way == LINES_FIRST_ONE_BY_ONE && i < scene.vPoints.size(); ++i) mesh.insert(scene.vPoints[i]);
    if (way != POINTS_FIRST) mesh.applyConstraintsAndZones();
}

TEST(Nearness, WhatIsNextToAConstraintLiesOnIt) {
    for (std::uint64_t seed = 1; seed <= scaled(60); ++seed) {
        const size_t numLines = 1 + seed % 4;
        const Scene scene(seed, numLines, 3 + static_cast<int>(seed) % 7);
        const auto cis = seed % 5 ? CIS_CONSTRAINED_DELAUNAY : CIS_CONFORMING_LINEAR_Z;
        std::set<std::set<Ends>> sResults;
        for (int way = 0; way < NUM_WAYS; ++way) {
            SCOPED_TRACE(testing::Message() << "seed " << seed << ", way " << way);
            Taro_2D mesh;
            const StdoutCapture capture;
            build(mesh, scene, static_cast<Way>(way), cis);
            EXPECT_EQ(capture.text(), "");
            EXPECT_EQ(countBeside(mesh), 0u);
            const ConstraintOracle oracle(mesh);
            EXPECT_TRUE(oracle.check());
            sResults.insert(oracle.aliveEnds());
            if (cis != CIS_CONSTRAINED_DELAUNAY) continue;  // midpoints may be there already
            std::map<XY, double> mHeight;
            for (const Point2* pVtx : verticesOf(mesh)) mHeight[xyOf(*pVtx)] = pVtx->z();
            for (const Point2& point : scene.vPoints) EXPECT_EQ(mHeight.at(xyOf(point)), point.z());
        }
        if (numLines > 1 || cis != CIS_CONSTRAINED_DELAUNAY) continue;
        EXPECT_EQ(sResults.size(), 1u) << "whichever comes first";
        EXPECT_EQ(sResults.begin()->size(), 4 + seed % 7) << "a piece between every two that follow each other";
    }
}

TEST(Nearness, SplitPiecesGoThroughVerticesBesideThem) {
    const Point2 src(1e6, 1e6 + 0.3, 0), trg(1e6 + 90, 1e6 + 31, 0);
    const auto at = [&](double t) {
        return Point2(src.x() + (trg.x() - src.x()) * t, src.y() + (trg.y() - src.y()) * t, 7);
    };
    Taro_2D mesh;
    mesh.insert(makeRectangle(1e6 - 10, 1e6 - 10, 1e6 + 100, 1e6 + 100));
    mesh.createConstraint({Segment2(src, trg)}, CIS_CONSTRAINED_DELAUNAY);
    for (const double t : {0.37, 0.11, 0.83, 0.59}) {
        const Point2 place = at(t);
        const CSegVector vPieces = aliveSegmentsOf(mesh);
        const auto piece = std::find_if(vPieces.begin(), vPieces.end(), [&](const ConstraintSegment2* pCSeg) {
            return std::minmax(pCSeg->getSrc()->x(), pCSeg->getTrg()->x()).first < place.x() &&
                   std::minmax(pCSeg->getSrc()->x(), pCSeg->getTrg()->x()).second > place.x();
        });
        ASSERT_NE(piece, vPieces.end());
        ASSERT_NE((*piece)->insertAndSplit(place), nullptr);
        mesh.insert(at(t + 0.01));  // on the half that has just been made
        EXPECT_EQ(countBeside(mesh), 0u);
    }
    EXPECT_EQ(aliveSegmentsOf(mesh).size(), 9u);
    EXPECT_TRUE(ConstraintOracle(mesh).check());
}

TEST(Nearness, GivesTheSameMeshAtEveryScale) {
    std::set<std::set<Ends>> sResults;
    for (const int exponent : {0, -200, -50, 70, 200}) {
        Taro_2D mesh;
        build(mesh, Scene(4, 1, 9, std::ldexp(1, exponent)), IN_TURN, CIS_CONSTRAINED_DELAUNAY);
        std::set<Ends> sEnds;
        const ConstraintOracle oracle(mesh);
        for (const auto& [a, b] : oracle.aliveEnds()) {
            const auto scaledBack = [exponent](const XY& xy) {
                return XY(std::ldexp(xy.first, -exponent), std::ldexp(xy.second, -exponent));
            };
            sEnds.emplace(scaledBack(a), scaledBack(b));
        }
        EXPECT_EQ(sEnds.size(), 10u);
        sResults.insert(sEnds);
    }
    EXPECT_EQ(sResults.size(), 1u);
}

TEST(Nearness, SpacingOfAFewRoundingErrorsCounts) {
    const double ulp = 0x1p-30;
    const auto at = [=](double i, double j) { return Point2(5e6 + i * ulp, 5e6 + j * ulp, 0); };
    for (const bool bPointsFirst : {true, false}) {
        Taro_2D mesh;
        mesh.insert(makeRectangle(5e6 - 1, 5e6 - 1, 5e6 + 1, 5e6 + 1));
        const PointVector vBeside{at(3, 1), at(8, -1), at(12, 1)};
        if (bPointsFirst) mesh.insert(vBeside);
        mesh.createConstraint({Segment2(at(0, 0), at(16, 0))}, CIS_CONSTRAINED_DELAUNAY);
        if (!bPointsFirst) mesh.insert(vBeside);
        EXPECT_EQ(ConstraintOracle(mesh).aliveEnds(), (std::set<Ends>{endsOf(at(0, 0), at(16, 0))}));
        EXPECT_TRUE(ConstraintOracle(mesh).check());
    }
}

TEST(Nearness, FilesAreReadAsTheyAre) {
    Taro_2D mesh, loaded;
    mesh.insert({{0, 9, 0}, {0, -9, 0}, {0x1p-31, 0x1p-58, 0}});
    mesh.createConstraint({makeSegment(0, 0, 1024, 0)}, CIS_CONSTRAINED_DELAUNAY);
    mesh.insert(Point2(1, 0, 0));
    EXPECT_EQ(countBeside(mesh), 1u) << "too near to the end of the whole, but not to that of the piece";
    ASSERT_TRUE(mesh.save("nearness.t25") && loaded.load("nearness.t25"));
    EXPECT_EQ(ConstraintOracle(loaded).aliveEnds(), ConstraintOracle(mesh).aliveEnds());
}

}  // namespace
