#include <gtest/gtest.h>

#include <cmath>
#include <memory>
#include <set>
#include <string>
#include <vector>

#include "support/capture.h"
#include "support/constraint_oracle.h"
#include "support/generators.h"
#include "support/mesh.h"
#include "support/polygons.h"
#include "taro25d/Taro_2D.h"

// Every piece of a conforming segment is a Delaunay edge, whatever comes after it.

using namespace LUMO_TARO25D;

namespace {

constexpr ConstraintInsertionStrategy conformingStrategies[] = {CIS_CONFORMING_SURFACE_Z, CIS_CONFORMING_LINEAR_Z};
const std::string gaveUp =
    "ConstraintMgr::apply(), WARNING: insufficient numeric accuracy, need to skip last insertions";

size_t numEncroached(const Taro_2D& mesh) { return ConstraintOracle(mesh).numEncroached(); }

/// Returns the printed text.
std::string constrain(Taro_2D& mesh, const SegmentVector& vSegments,
                      ConstraintInsertionStrategy cis = CIS_CONFORMING_LINEAR_Z) {
    return printedBy([&] { EXPECT_NE(mesh.createConstraint(vSegments, cis, false), nullptr); });
}

std::string apply(Taro_2D& mesh) {
    return printedBy([&] { mesh.applyConstraintsAndZones(); });
}

/// The message of checkValidity() about encroached pieces; everything else must be valid.
std::string check(const Taro_2D& mesh, bool bCircles) {
    const std::string text = printedBy([&] { EXPECT_TRUE(mesh.checkValidity(bCircles, "conforming")); });
    const size_t begin = text.find("Dt2::checkValidity()");
    return begin == std::string::npos ? "" : text.substr(begin, text.find_first_of("\n\033", begin) - begin);
}

/// Segments from one end, an angle apart, with random lengths.
SegmentVector makeFan(int numSegments, double angle, Random& random) {
    SegmentVector vSegments;
    for (int i = 0; i < numSegments; ++i) {
        const double length = uniform(random, 50, 150);
        vSegments.push_back(makeSegment(0, 0, length * std::cos(i * angle), length * std::sin(i * angle), 5, i));
    }
    return vSegments;
}

}  // namespace

TEST(Conforming, WhatLaterPiecesEncroachOnIsSplitAgain) {
    const Segment2 s1 = makeSegment(0, 0, 10, 0), s2 = makeSegment(-20, 1, 30, 3);
    const std::vector<std::vector<SegmentVector>> vCalls{{{s1, s2}}, {{s2, s1}}, {{s1}, {s2}}, {{s2}, {s1}}};
    for (const ConstraintInsertionStrategy cis : conformingStrategies) {
        for (const auto& vLists : vCalls) {
            Taro_2D mesh;
            mesh.insert({Point2(5, 6, 0), Point2(5, -6, 0)});
            for (const SegmentVector& vSegments : vLists) EXPECT_EQ(constrain(mesh, vSegments, cis), "");
            EXPECT_EQ(numEncroached(mesh), 0u);
            EXPECT_EQ(mesh.numberOfPoints(), 12u);
            EXPECT_TRUE(ConstraintOracle(mesh).check());
        }
    }
}

TEST(Conforming, VerticesOfConstrainedSegmentsSplitIt) {
    Taro_2D mesh;
    mesh.insert(makeRectangle(-10, -10, 20, 10));
    constrain(mesh, {makeSegment(0, 0, 10, 0)});
    EXPECT_EQ(aliveSegmentsOf(mesh).size(), 1u);
    EXPECT_EQ(constrain(mesh, {makeSegment(4, 1, 4, 5), makeSegment(6, -1, 6, -5)}, CIS_CONSTRAINED_DELAUNAY), "");
    EXPECT_GT(aliveSegmentsOf(mesh).size(), 3u);
    EXPECT_EQ(numEncroached(mesh), 0u);
}

TEST(Conforming, PointsThatCameLaterAreAnsweredByTheNextCall) {
    Random random(3);
    for (const bool bBulk : {false, true}) {
        Taro_2D mesh;
        mesh.insert(makeRectangle(-1, -1, 101, 101));
        const PointVector vEnds = makeScattered(20, 0, 0, 100, 100, random);
        SegmentVector vSegments;
        for (size_t i = 0; i + 1 < vEnds.size(); i += 2) vSegments.emplace_back(vEnds[i], vEnds[i + 1]);
        constrain(mesh, vSegments);
        EXPECT_EQ(check(mesh, true), "");
        const PointVector vMore = makeScattered(300, 0, 0, 100, 100, random);
        if (bBulk) mesh.insert(vMore);
        for (size_t i = 0; !bBulk && i < vMore.size(); ++i) mesh.insert(vMore[i]);
        const size_t num = numEncroached(mesh);
        EXPECT_GT(num, 0u);
        EXPECT_EQ(check(mesh, true),
                  "Dt2::checkValidity(), WARNING: pieces of conforming segments that are not Delaunay: " +
                      std::to_string(num));
        EXPECT_EQ(check(mesh, false), "");
        EXPECT_EQ(bBulk ? apply(mesh) : constrain(mesh, {makeSegment(200, 200, 201, 200)}), "");
        EXPECT_EQ(numEncroached(mesh), 0u);
        EXPECT_EQ(check(mesh, true), "");
        EXPECT_TRUE(ConstraintOracle(mesh).check());
    }
}

TEST(Conforming, SplittingAtSmallAnglesEnds) {
    constexpr double DEGREE = M_PI / 180;
    Random random(4);
    for (const auto& [numSegments, angle] : {std::pair(12, 30.0), {6, 3.0}, {6, 1.0}, {3, 0.1}, {2, 0.01}}) {
        SCOPED_TRACE(angle);
        Taro_2D mesh;
        mesh.insert(makeRectangle(-200, -200, 200, 200));
        mesh.insert(makeScattered(50, -100, -100, 100, 100, random));
        EXPECT_EQ(constrain(mesh, makeFan(numSegments, angle * DEGREE, random)), "");
        EXPECT_EQ(numEncroached(mesh), 0u);
        EXPECT_TRUE(ConstraintOracle(mesh).check());
    }
}

TEST(Conforming, PiecesAtASmallAngleHaveLengthsOfPowersOfTwoAfterEightHalvings) {
    Taro_2D mesh;
    mesh.insert(makeRectangle(-200, -200, 200, 200));
    mesh.insert({Point2(0.5, 0.25, 0), Point2(0.5, -0.25, 0), Point2(0.05, 0.025, 0), Point2(0.05, -0.025, 0)});
    constrain(mesh, {makeSegment(0, 0, 100, 0), makeSegment(0, 0, 90, 0.5), makeSegment(0, 0, 110, -0.75)});
    EXPECT_EQ(numEncroached(mesh), 0u);
    for (const ConstraintSegment2* pCSeg : aliveSegmentsOf(mesh)) {
        const auto [near, far] = endsOf(*pCSeg);
        const double distance = std::hypot(far.first, far.second);
        int exponent = 0;
        if (near != XY(0, 0)) continue;
        EXPECT_LT(distance, 90.0 / 256);
        EXPECT_NEAR(std::frexp(distance, &exponent), 0.5, 1e-12);
    }
    // Eight times a segment is simply halved: 100 / 256 is no power of two.
    EXPECT_NE(mesh.getImpl(), nullptr);
    std::set<XY> sPlaces;
    for (const Point2* pVtx : verticesOf(mesh)) sPlaces.insert(xyOf(*pVtx));
    for (int i = 1; i <= 8; ++i) EXPECT_TRUE(sPlaces.count(XY(std::ldexp(100, -i), 0))) << i;
}

TEST(Conforming, NearlyCollinearSegmentsEnd) {
    const int numSeeds = static_cast<int>(std::max<size_t>(scaled(12), 4));
    for (int seed = 0; seed < numSeeds; ++seed) {
        SCOPED_TRACE(seed);
        Random random(seed);
        const auto makePoint = [&] {
            const double x = 1000 * uniform(random, 0, 1), y = 500 + 1e-12 * integer(random, -10, 9);
            return Point2(x, random() % 6 == 0 ? uniform(random, 0, 1000) : y, 0);
        };
        const auto makeSegments = [&] {
            SegmentVector vSegments;
            for (int i = 0; i < 8; ++i) {
                const Point2 src = makePoint();
                vSegments.emplace_back(src, makePoint());
            }
            return vSegments;
        };
        Taro_2D mesh;
        for (int i = 0; i < 30; ++i) mesh.insert(makePoint());
        std::string text;
        if (seed % 2) text += constrain(mesh, makeSegments(), CIS_CONSTRAINED_DELAUNAY);
        text += constrain(mesh, makeSegments());
        EXPECT_LT(mesh.numberOfPoints(), 2500u);
        check(mesh, true);
        EXPECT_TRUE(ConstraintOracle(mesh).check());
        EXPECT_TRUE(numEncroached(mesh) == 0 || contains(text, gaveUp));
        text += apply(mesh);
        EXPECT_LT(mesh.numberOfPoints(), 6000u) << "what was given up once does not count as input";
        EXPECT_TRUE(numEncroached(mesh) == 0 || contains(text, gaveUp));
    }
}

TEST(Conforming, MayTakeAsManyPiecesAsTheVerticesBesideItAskFor) {
    // On average 300 pieces for each segment, whether the vertices are there before or come later.
    Random random(5);
    SegmentVector vSegments;
    for (int i = 0; i < 20; ++i) vSegments.push_back(makeSegment(1, 5 * i + 1, 99, 5 * i + 3));
    const PointVector vPoints = makeScattered(50000, 0, 0, 100, 100, random);
    for (const bool bBefore : {true, false}) {
        Taro_2D mesh;
        if (bBefore) mesh.insert(vPoints);
        std::string text = constrain(mesh, vSegments);
        if (!bBefore) mesh.insert(vPoints);
        text += apply(mesh);
        EXPECT_EQ(text, "");
        EXPECT_GT(aliveSegmentsOf(mesh).size(), 5000u);
        EXPECT_EQ(numEncroached(mesh), 0u);
    }
}

TEST(Conforming, DoesNotDependOnAddresses) {
    const auto makeMesh = [](unsigned capacity) {
        Random random(6);
        Taro_2D mesh(capacity);
        mesh.insert(makeScattered(500, 0, 0, 100, 100, random));
        SegmentVector vSegments = makeFan(5, 0.1, random);
        for (int i = 0; i < 10; ++i) vSegments.push_back(makeSegment(1, 10 * i, 99, 10 * i + 3, 7, i));
        constrain(mesh, vSegments, CIS_CONFORMING_SURFACE_Z);
        mesh.insert(makeScattered(500, 0, 0, 100, 100, random));
        apply(mesh);
        return snapshot(trianglesOf(mesh));
    };
    const std::vector<Corners> vFirst = makeMesh(3);
    std::vector<std::unique_ptr<double[]>> vHoles;
    for (size_t i = 1; i < 300; ++i) vHoles.push_back(std::make_unique<double[]>(i * 37));
    EXPECT_EQ(makeMesh(100000), vFirst);
    EXPECT_EQ(makeMesh(50), vFirst);
}

TEST(Conforming, NearlyCollinearSegmentsDoNotDependOnAddresses) {
    // Several vertices lie beside a segment, within rounding, as seen from its end.
    const auto makeMesh = [](unsigned capacity) {
        Random random(97);
        Taro_2D mesh(capacity);
        mesh.insert(makeScattered(200, 1e5, 1e5, 1e5 + 1, 1e5 + 1, random));
        SegmentVector vSegments;
        for (int i = 0; i < 60; ++i) {
            const double y = 1e5 + 0.5 + 1e-8 * i * uniform(random, -0.5, 0.5);
            vSegments.push_back(makeSegment(1e5 + uniform(random, 0, 1), y, 1e5 + uniform(random, 0, 1),
                                            y + 1e-7 * uniform(random, 0, 1)));
        }
        constrain(mesh, vSegments, CIS_CONFORMING_SURFACE_Z);
        return std::pair(snapshot(trianglesOf(mesh)), aliveSegmentsOf(mesh).size());
    };
    const auto first = makeMesh(3);
    std::vector<std::unique_ptr<double[]>> vHoles;
    for (const unsigned capacity : {100000u, 50u, 3000u, 20u}) {
        for (size_t i = 1; i < 100; ++i) vHoles.push_back(std::make_unique<double[]>(i * 37));
        EXPECT_EQ(makeMesh(capacity), first) << capacity;
    }
}

TEST(Conforming, CrossingsDoNotDependOnAddresses) {
    const auto makeMesh = [](int seed, unsigned capacity) {
        Random random(static_cast<unsigned>(seed));
        Taro_2D mesh(capacity);
        mesh.insert(makeScattered(500, 0, 0, 100, 100, random, 10));
        for (const auto strategy : {CIS_CONSTRAINED_DELAUNAY, CIS_CONFORMING_SURFACE_Z, CIS_CONSTRAINED_DELAUNAY}) {
            const PointVector vEnds = makeScattered(240, 0, 0, 100, 100, random, 10);
            SegmentVector vSegments;
            for (size_t i = 0; i + 1 < vEnds.size(); i += 2) vSegments.emplace_back(vEnds[i], vEnds[i + 1]);
            constrain(mesh, vSegments, strategy);
        }
        return snapshot(trianglesOf(mesh));
    };
    std::vector<std::unique_ptr<double[]>> vHoles;
    for (const int seed : {5, 8}) {
        SCOPED_TRACE(seed);
        const std::vector<Corners> vFirst = makeMesh(seed, 3);
        for (size_t i = 1; i < 300; ++i) vHoles.push_back(std::make_unique<double[]>(i * 37));
        EXPECT_EQ(makeMesh(seed, 100000), vFirst);
        EXPECT_EQ(makeMesh(seed, 50), vFirst);
    }
}
