// Bulk insertion on several threads: the same vertices, handles and (in general position) triangles as on one.

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <chrono>
#include <numeric>
#include <stdexcept>
#include <thread>

#include "parallel.h"
#include "support/generators.h"
#include "taro25d/taro25d.h"

using namespace LUMO_TARO25D;

namespace {

PointVector makeUniform(size_t n, unsigned seed) {
    Random random(seed);
    return makePoints(n, [&](double) { return XY(uniform(random, -1, 1), uniform(random, -1, 1)); });
}

using Corners = std::array<std::array<double, 2>, 3>;

std::vector<Corners> sortedTriangles(const Taro_2D& mesh) {
    std::vector<Triangle2*> vTriangles;
    mesh.getTrianglePointers(vTriangles);
    std::vector<Corners> vCorners;
    for (const Triangle2* pT : vTriangles) {
        Corners corners;
        for (int i = 0; i < 3; ++i) corners[static_cast<size_t>(i)] = {pT->getCorner(i)->x(), pT->getCorner(i)->y()};
        std::sort(corners.begin(), corners.end());
        vCorners.push_back(corners);
    }
    std::sort(vCorners.begin(), vCorners.end());
    return vCorners;
}

/// Inserts the points in one bulk call, or the first part before the others, and checks mesh and handles against a mesh
/// of one thread.
void expectSameAsOneThread(const PointVector& vPoints, int numThreads, size_t numBefore, bool bGeneralPosition) {
    const PointVector vBefore(vPoints.begin(), vPoints.begin() + static_cast<std::ptrdiff_t>(numBefore));
    Taro_2D one, many;
    many.setNumCPU(numThreads);
    std::vector<Point2*> vHandlesOne, vHandlesMany;
    one.insert(vBefore);
    many.insert(vBefore);
    one.insert(vPoints, vHandlesOne);
    many.insert(vPoints, vHandlesMany);
    ASSERT_TRUE(many.checkValidity(true, "parallel"));
    EXPECT_EQ(many.numberOfPoints(), one.numberOfPoints());
    EXPECT_EQ(many.numberOfTriangles(), one.numberOfTriangles());
    EXPECT_EQ(many.is2D(), one.is2D());
    ASSERT_EQ(vHandlesMany.size(), vPoints.size());
    for (size_t i = 0; i < vPoints.size(); ++i) {
        ASSERT_TRUE(vHandlesMany[i] && samePoint(*vHandlesMany[i], *vHandlesOne[i])) << "handle " << i;
    }
    if (bGeneralPosition) {
        EXPECT_TRUE(sortedTriangles(many) == sortedTriangles(one));
    }
}

}  // namespace

TEST(Parallel, GivesTheMeshOfOneThread) {
    for (const Generator& generator : generators) {
        SCOPED_TRACE(generator.name);
        Random random(6);
        const PointVector vPoints = generator.make(1600, random);
        expectSameAsOneThread(vPoints, 8, 0, false);
        expectSameAsOneThread(vPoints, 2, vPoints.size() / 3, false);
    }
    const PointVector vUniform = makeUniform(scaled(100000) + 2000, 7);
    for (const int numThreads : {2, 3, 8}) {
        expectSameAsOneThread(vUniform, numThreads, 0, true);
        expectSameAsOneThread(vUniform, numThreads, 10, true);
    }
}

TEST(Parallel, StaysSequentialBelowAThousandVertices) {
    expectSameAsOneThread(makeUniform(999, 8), 8, 0, true);
    PointVector vCollinear = makePoints(5000, [](double i) { return XY(i, 2.0 * i); });
    expectSameAsOneThread(vCollinear, 4, 0, false);
    vCollinear.emplace_back(0.0, 1.0, 0.0);
    expectSameAsOneThread(vCollinear, 4, 3000, true);
}

TEST(Parallel, LeavesNoTraceOfTheBox) {
    const PointVector vPoints = makeUniform(5000, 9);
    Bbox2 box;
    box.add(vPoints);
    Taro_2D mesh;
    mesh.setNumCPU(4);
    mesh.insert(vPoints);
    std::vector<Point2*> vHull, vVertices;
    mesh.getConvexHull(true, vHull);
    mesh.getVertexPointers(vVertices);
    EXPECT_EQ(vVertices.size(), vPoints.size());
    for (const Point2* pVtx : vHull) EXPECT_TRUE(box.isInBox(*pVtx));
    EXPECT_EQ(mesh.computeBoundingBox().getMaxX(), box.getMaxX());
    // The records of a mesh that is taken apart serve the next one.
    for (int round = 0; round < 3; ++round) {
        for (Point2* pVtx : vVertices) mesh.remove(pVtx);
        EXPECT_EQ(mesh.numberOfPoints() + mesh.numberOfTriangles(), 0u);
        mesh.insert(vPoints, vVertices);
        ASSERT_TRUE(mesh.checkValidity(true, "again"));
    }
}

TEST(Parallel, AStartAtARemovedVertexIsSafe) {
    // The record of the vertex inserted last serves a corner of the box, which is gone again afterwards.
    Taro_2D mesh;
    mesh.setNumCPU(2);
    std::vector<Point2*> vVertices;
    mesh.insert(makeUniform(3000, 11), vVertices);
    Point2* pLast = mesh.insert(Point2(0.5, 0.25, 0.0));
    mesh.remove(pLast);  // first, because records are reused last in, first out: the batch takes the other ones
    for (size_t i = 0; i < 1000; ++i) mesh.remove(vVertices[i]);
    mesh.insert(makeUniform(1000, 12));
    for (const double x : {-1.0, 1.0}) {
        for (const double y : {-1.0, 1.0}) mesh.insert(Point2(x, y, 0.0));
    }
    EXPECT_TRUE(mesh.checkValidity(true, "after the box"));
}

TEST(Parallel, ReportsProgressFromTheCallingThread) {
    struct Listener : MsgBase {
        std::thread::id caller = std::this_thread::get_id();
        double last = 0.0;
        void update(MsgType, const std::string& message, double value) override {
            EXPECT_EQ(std::this_thread::get_id(), caller);
            EXPECT_EQ(message, "insert vertices");
            EXPECT_GE(value, last);
            last = value;
        }
    } listener;
    Taro_2D mesh;
    mesh.setNumCPU(3);
    mesh.subscribe(MT_PROGRESS, &listener);
    mesh.insert(makeUniform(30000, 10));
    EXPECT_EQ(listener.last, 1.0);
}

TEST(Parallel, AFailureInAWorkerReachesTheCaller) {
    std::atomic<int> numEnded{0};
    const auto work = [&](int threadIdx) {
        ++numEnded;
        if (threadIdx == 1) throw std::runtime_error("one of them");
    };
    EXPECT_THROW(runOnThreads(4, work), std::runtime_error);
    EXPECT_EQ(numEnded, 4);
    EXPECT_THROW(runOnThreads(
                     2, [](int) { std::this_thread::sleep_for(std::chrono::milliseconds(30)); },
                     [] { throw std::logic_error("while waiting"); }),
                 std::logic_error);
    std::vector<int> vCount(100000, 0);
    parallelFor(7, vCount.size(), [&](size_t begin, size_t end, int) {
        for (size_t i = begin; i < end; ++i) ++vCount[i];
    });
    EXPECT_EQ(std::accumulate(vCount.begin(), vCount.end(), 0), 100000);
    EXPECT_EQ(*std::min_element(vCount.begin(), vCount.end()), 1);
}
