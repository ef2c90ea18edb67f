#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <vector>

#include "mesh/Dt2.h"
#include "support/capture.h"
#include "support/constraint_oracle.h"
#include "support/generators.h"
#include "support/mesh.h"
#include "support/polygons.h"
#include "taro25d/Taro_2D.h"

using namespace LUMO_TARO25D;

namespace {

using Faces = std::vector<std::vector<XY>>;

struct Input {
    PointVector vPoints;
    SegmentVector vSegments;
};

/// Vertices with many on one circle: grids as they are, turned and stretched, rings of grid points, regular polygons.
std::vector<Input> makeInputs() {
    Random random(1);
    std::vector<Input> vInputs;
    for (const auto& [dx, dy] : {XY(1, 0), XY(1, 1), XY(3, 4), XY(0.1, 0.7)}) {
        Input input;
        for (int i = 0; i < 12; ++i) {
            for (int j = 0; j < 12; ++j) input.vPoints.emplace_back(i * dx - j * dy, i * dy + j * dx, 0);
        }
        vInputs.push_back(input);
        input.vSegments = {Segment2(input.vPoints[0], input.vPoints[77]), Segment2(input.vPoints[5], input.vPoints[60]),
                           Segment2(input.vPoints[13], input.vPoints[26])};
        vInputs.push_back(input);
    }
    Input ring;  // all integer points on some circles
    for (int x = -65; x <= 65; ++x) {
        for (int y = -65; y <= 65; ++y) {
            if (x * x + y * y == 65 * 65 || x * x + y * y == 25 * 25) ring.vPoints.emplace_back(x, y, 0);
        }
    }
    vInputs.push_back(ring);
    ring.vSegments = {makeSegment(-65, 0, 65, 0), makeSegment(0, 25, 0, -25)};
    vInputs.push_back(ring);
    Input scattered;
    for (int i = 0; i < 400; ++i) scattered.vPoints.emplace_back(integer(random, 0, 30), integer(random, 0, 30), 0);
    vInputs.push_back(scattered);
    return vInputs;
}

Faces canonicalFaces(const Input& input, Random& random, int numThreads) {
    Input shuffled = input;
    std::shuffle(shuffled.vPoints.begin(), shuffled.vPoints.end(), random);
    std::shuffle(shuffled.vSegments.begin(), shuffled.vSegments.end(), random);
    Taro_2D mesh;
    if (numThreads > 1) mesh.getImpl()->preferChunks();
    mesh.setNumCPU(numThreads);
    if (random() % 2) {
        mesh.insert(shuffled.vPoints);
    } else {
        for (const Point2& p : shuffled.vPoints) mesh.insert(p);
    }
    if (!input.vSegments.empty()) mesh.createConstraint(shuffled.vSegments, CIS_CONSTRAINED_DELAUNAY);
    mesh.canonicalizeDiagonals();
    EXPECT_TRUE(ConstraintOracle(mesh).check());
    return facesOf(mesh);
}

TEST(Canonical, TheOrderOfInsertionDoesNotMatter) {
    Random random(2);
    for (const Input& input : makeInputs()) {
        const Faces vFaces = canonicalFaces(input, random, 1);
        for (int round = 0; round < 12; ++round) ASSERT_EQ(canonicalFaces(input, random, 1), vFaces);
    }
}

TEST(Canonical, ThreadsDoNotMatter) {
    Random random(3);
    Input grid;
    grid.vPoints = makeGrid(70, 0, 0, 1, random);
    const Faces vFaces = canonicalFaces(grid, random, 1);
    for (const int numThreads : {2, 3, 4}) EXPECT_EQ(canonicalFaces(grid, random, numThreads), vFaces);
}

TEST(Canonical, PolygonsBecomeFansOfTheirSmallestVertex) {
    Taro_2D mesh;
    PointVector vRing;
    for (int x = -65; x <= 65; ++x) {
        for (int y = -65; y <= 65; ++y) {
            if (x * x + y * y == 65 * 65) vRing.emplace_back(x, y, 0);
        }
    }
    mesh.insert(vRing);
    mesh.canonicalizeDiagonals();
    EXPECT_EQ(mesh.numberOfTriangles(), vRing.size() - 2);
    for (const Triangle2* pT : trianglesOf(mesh)) EXPECT_TRUE(pT->hasVertex(Point2(-65, 0, 0)));
}

/// A triangle of a subset whose closed circumcircle holds no other point is a triangle of the whole set.
TEST(Canonical, WhatIsOutsideTheCircleDoesNotMatter) {
    Random random(4);
    const PointVector vAll = makeGrid(14, 0, 0, 1, random);
    Taro_2D whole;
    whole.insert(vAll);
    whole.canonicalizeDiagonals();
    const Faces vWhole = facesOf(whole);
    for (int round = 0; round < 20; ++round) {
        const double minX = integer(random, 0, 5), maxX = integer(random, 7, 13);
        PointVector vPart;
        for (const Point2& p : vAll) {
            if (p.x() >= minX && p.x() <= maxX) vPart.push_back(p);
        }
        std::shuffle(vPart.begin(), vPart.end(), random);
        Taro_2D part;
        part.insert(vPart);
        part.canonicalizeDiagonals();
        for (const auto& vFace : facesOf(part)) EXPECT_TRUE(std::binary_search(vWhole.begin(), vWhole.end(), vFace));
    }
}

TEST(Canonical, WithoutTrianglesNothingHappens) {
    Taro_2D mesh;
    mesh.canonicalizeDiagonals();
    mesh.insert({{0, 0, 0}, {1, 1, 0}});
    mesh.canonicalizeDiagonals();
    EXPECT_EQ(mesh.numberOfPoints(), 2u);
}

}  // namespace
