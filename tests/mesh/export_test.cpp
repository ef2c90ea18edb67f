#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <set>
#include <utility>
#include <vector>

#include "support/capture.h"
#include "support/generators.h"
#include "support/mesh.h"
#include "taro25d/IndexedMesh.h"
#include "taro25d/Segment2.h"
#include "taro25d/Taro_2D.h"
#include "taro25d/Zone2.h"

using namespace LUMO_TARO25D;

namespace {

/// A mesh with holes in its lists: vertices and triangles that were removed.
void makeThinned(Taro_2D& mesh, size_t n, unsigned seed) {
    mesh.insert(makeUniform(n, seed));
    const VertexVector vVertices = verticesOf(mesh);
    for (size_t i = 0; i < vVertices.size(); i += 7) mesh.remove(vVertices[i]);
}

std::vector<Segment2> makeCross() {
    return {Segment2(Point2(-0.5, 0, 1), Point2(0.5, 0, 1)), Segment2(Point2(0, -0.5, 2), Point2(0, 0.5, 2))};
}

const Point2* vertexAt(const IndexedMesh& mesh, std::int32_t number) {
    return number < 0 ? nullptr : mesh.vVertices.at(static_cast<size_t>(number));
}

/// The exported triangles equal those of the mesh.
void expectExported(const IndexedMesh& exported, const TriangleVector& vTriangles) {
    ASSERT_EQ(exported.vTriangles.size(), 3 * vTriangles.size());
    ASSERT_EQ(exported.vNeighbours.size(), 3 * vTriangles.size());
    for (size_t i = 0; i < vTriangles.size(); ++i) {
        for (int k = 0; k < 3; ++k) {
            const size_t place = 3 * i + static_cast<size_t>(k);
            ASSERT_EQ(vertexAt(exported, exported.vTriangles[place]), vTriangles[i]->getCorner(k));
            const Triangle2* pN = vTriangles[i]->getOppositeTriangle(k);
            const std::int32_t neighbour = exported.vNeighbours[place];
            if (neighbour >= 0) {
                ASSERT_EQ(vTriangles.at(static_cast<size_t>(neighbour)), pN);
            } else {
                ASSERT_EQ(std::count(vTriangles.begin(), vTriangles.end(), pN), 0);
            }
        }
    }
    ASSERT_EQ(exported.vCoordinates.size(), 3 * exported.vVertices.size());
    for (size_t i = 0; i < exported.vVertices.size(); ++i) {
        const Point2& vertex = *exported.vVertices[i];
        ASSERT_EQ(exported.vCoordinates[3 * i], vertex.x());
        ASSERT_EQ(exported.vCoordinates[3 * i + 1], vertex.y());
        ASSERT_EQ(exported.vCoordinates[3 * i + 2], vertex.z());
    }
}

TEST(IndexedMesh, HoldsAllVerticesAndTrianglesInTheirOrder) {
    for (const int numCPU : {1, 3}) {
        Taro_2D mesh;
        mesh.setNumCPU(numCPU);
        makeThinned(mesh, scaled(100000) / (numCPU == 1 ? 50 : 1), 1);
        IndexedMesh exported;
        mesh.getIndexedMesh(exported);
        EXPECT_EQ(exported.vVertices, verticesOf(mesh));
        EXPECT_TRUE(exported.vConstraints.empty());
        if (numCPU == 1) {
            expectExported(exported, trianglesOf(mesh));
            continue;
        }
        IndexedMesh byOneThread;
        mesh.setNumCPU(1);
        mesh.getIndexedMesh(byOneThread);
        EXPECT_EQ(exported.vTriangles, byOneThread.vTriangles);
        EXPECT_EQ(exported.vNeighbours, byOneThread.vNeighbours);
        EXPECT_EQ(exported.vCoordinates, byOneThread.vCoordinates);
    }
}

TEST(IndexedMesh, HoldsEachConstraintEdgeOnce) {
    Taro_2D mesh;
    makeThinned(mesh, 500, 2);
    mesh.createConstraint(makeCross(), CIS_CONSTRAINED_DELAUNAY);
    IndexedMesh exported;
    mesh.getIndexedMesh(exported);
    std::set<std::pair<const Point2*, const Point2*>> sExported, sAlive;
    for (size_t i = 0; i < exported.vConstraints.size(); i += 2) {
        sExported.insert(std::minmax(vertexAt(exported, exported.vConstraints[i]),
                                     vertexAt(exported, exported.vConstraints[i + 1])));
    }
    for (const ConstraintSegment2* pCSeg : aliveSegmentsOf(mesh)) sAlive.emplace(pCSeg->getSrc(), pCSeg->getTrg());
    EXPECT_EQ(sExported, sAlive);
    EXPECT_EQ(exported.vConstraints.size(), 2 * sAlive.size());
}

TEST(IndexedMesh, OfAZoneHoldsItsTrianglesAndTheirCorners) {
    Taro_2D mesh;
    makeThinned(mesh, 500, 3);
    Random random(3);
    const TriangleVector vAll = trianglesOf(mesh);
    Zone2* pZone = mesh.createZone(someOf(vAll, 0.3, random));
    ASSERT_TRUE(pZone);
    const TriangleVector vInZone = trianglesOf(pZone);
    TriangleVector vInOrder;
    std::copy_if(vAll.begin(), vAll.end(), std::back_inserter(vInOrder),
                 [&](Triangle2* pT) { return std::count(vInZone.begin(), vInZone.end(), pT) > 0; });
    IndexedMesh exported;
    mesh.getIndexedMesh(exported, pZone);
    expectExported(exported, vInOrder);
    VertexVector vCorners;
    pZone->getVertices(vCorners);
    EXPECT_EQ(std::set<Point2*>(vCorners.begin(), vCorners.end()),
              std::set<Point2*>(exported.vVertices.begin(), exported.vVertices.end()));
    const VertexVector vVertices = verticesOf(mesh);
    const auto placeOf = [&](Point2* p) { return std::find(vVertices.begin(), vVertices.end(), p); };
    EXPECT_TRUE(std::is_sorted(exported.vVertices.begin(), exported.vVertices.end(),
                               [&](Point2* p, Point2* q) { return placeOf(p) < placeOf(q); }));
}

TEST(IndexedMesh, WithoutTrianglesOrForAStrangeZone) {
    Taro_2D line, other;
    line.insert({Point2(0, 0, 1), Point2(1, 1, 2)});
    other.insert(makeUniform(10, 4));
    IndexedMesh exported;
    other.getIndexedMesh(exported);
    const StdoutCapture capture;
    line.getIndexedMesh(exported, other.createZone(nullptr, ZL_GLOBAL));
    EXPECT_EQ(exported.vVertices.size(), 10u);
    EXPECT_TRUE(contains(capture, "the zone is none of this triangulation"));
    line.getIndexedMesh(exported);
    EXPECT_EQ(exported.vCoordinates, std::vector<double>({0, 0, 1, 1, 1, 2}));
    EXPECT_TRUE(exported.vTriangles.empty());
    EXPECT_TRUE(exported.vNeighbours.empty());
}

TEST(Heights, ManyAtOnceAreThoseOfSingleQueries) {
    Taro_2D mesh;
    Random random(5);
    mesh.insert(makeScattered(3000, -1, -1, 1, 1, random, 10));
    const size_t num = scaled(20000);
    std::vector<double> vXY;
    for (size_t i = 0; i < 2 * num; ++i) vXY.push_back(uniform(random, -1.2, 1.2));
    vXY[7] = NOT_A_NUMBER;
    for (const int numCPU : {1, 2, 5}) {
        mesh.setNumCPU(numCPU);
        std::vector<double> vHeights(num, -1.0);
        const size_t numInside = mesh.getHeights(num, vXY.data(), vHeights.data());
        size_t numExpected = 0;
        for (size_t i = 0; i < num; ++i) {
            double height = 0;
            const bool bInside = mesh.getHeight(vXY[2 * i], vXY[2 * i + 1], height);
            numExpected += bInside;
            ASSERT_TRUE(bInside ? vHeights[i] == height : std::isnan(vHeights[i])) << i;
        }
        EXPECT_EQ(numInside, numExpected);
    }
    const StdoutCapture capture;
    EXPECT_EQ(mesh.getHeights(0, nullptr, nullptr), 0u);
    EXPECT_FALSE(contains(capture, "WARNING"));
    EXPECT_EQ(mesh.getHeights(1, vXY.data(), nullptr), 0u);
    EXPECT_TRUE(contains(capture, "an array is null"));
}

}  // namespace
