// Bulk insertion on several threads gives the vertices, handles and (in general position) triangles of one thread.

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cmath>
#include <filesystem>
#include <functional>
#include <iterator>
#include <numeric>
#include <stdexcept>
#include <thread>
#include <utility>

#include "mesh/Dt2.h"
#include "mesh/InserterMT.h"
#include "support/capture.h"
#include "support/generators.h"
#include "support/mesh.h"
#include "support/parallel.h"
#include "support/recorder.h"
#include "taro25d/taro25d.h"

using namespace LUMO_TARO25D;

namespace {

/// Whether an item is inserted by a chunk and not by the sparse start; repeats the library's selection.
bool isDense(size_t i, size_t numItems) {
    const size_t numSparse = std::min(numItems / 2, 5 * static_cast<size_t>(2 * std::sqrt(numItems)));
    const size_t step = numItems / numSparse;
    return i % (step + 1) != step;
}

/// Forces chunks where the library would find them slower: most sets here are small.
void useChunks(Taro_2D& mesh, int numThreads) {
    mesh.setNumCPU(numThreads);
    mesh.getImpl()->preferChunks();
}

/// The coordinates of the triangles' corners in the order in which the mesh gives them.
std::vector<double> listCorners(const Taro_2D& mesh) {
    std::vector<double> vCoordinates;
    for (const Triangle2* pT : trianglesOf(mesh)) {
        for (int i = 0; i < 3; ++i)
            vCoordinates.insert(vCoordinates.end(), {pT->getCorner(i)->x(), pT->getCorner(i)->y()});
    }
    return vCoordinates;
}

/// Inserts the points in one bulk call, or the first part before the others, and checks mesh and handles against a mesh
/// of one thread.
void expectSameAsOneThread(const PointVector& vPoints, int numThreads, size_t numBefore, bool bGeneralPosition) {
    const PointVector vBefore(vPoints.begin(), vPoints.begin() + static_cast<std::ptrdiff_t>(numBefore));
    Taro_2D one, many;
    useChunks(many, numThreads);
    VertexVector vHandlesOne, vHandlesMany;
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
        EXPECT_TRUE(snapshot(trianglesOf(many)) == snapshot(trianglesOf(one)));
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

TEST(Parallel, GivesTheSameTrianglesInTheSameOrderInEveryRun) {
    // In a lattice four points lie on one circle, and the last of them decides about the diagonal.
    Random random(20);
    const PointVector vPoints = makeGrid(static_cast<size_t>(std::sqrt(scaled(40000))) + 40, 0, 0, 1, random);
    std::vector<double> vFirst;
    for (const int numThreads : {2, 2, 3, 8}) {
        Taro_2D mesh;
        useChunks(mesh, numThreads);
        mesh.insert(vPoints);
        if (vFirst.empty()) vFirst = listCorners(mesh);
        EXPECT_TRUE(listCorners(mesh) == vFirst) << numThreads << " threads";
    }
}

TEST(Parallel, UsesChunksWhereTheyAreFaster) {
    // The use of chunks shows in the order of the triangles.
    const auto areUsed = [](size_t numNew, size_t numBefore) {
        const PointVector vBefore = makeUniform(numBefore, 21), vNew = makeUniform(numNew, 22);
        Taro_2D one, two;
        two.setNumCPU(2);
        for (Taro_2D* pMesh : {&one, &two}) {
            pMesh->insert(vBefore);
            pMesh->insert(vNew);
        }
        return listCorners(one) != listCorners(two);
    };
    EXPECT_TRUE(areUsed(50000, 0));
    EXPECT_TRUE(areUsed(50000, 10000));
    EXPECT_FALSE(areUsed(20000, 0));
    EXPECT_FALSE(areUsed(50000, 25000));
}

TEST(Parallel, StartsNoMoreThreadsThanThereIsWorkFor) {
    const size_t numProcessors = std::max(1u, std::thread::hardware_concurrency());
    EXPECT_EQ(numParallelParts(200000, 1000000000, 1), 4 * numProcessors);
    EXPECT_EQ(numParallelParts(200000, 5, 3), 1u);
    EXPECT_EQ(numParallelParts(0, 1000000000), 1u);
    const auto countThreads = [] {
        const std::filesystem::directory_iterator threads("/proc/self/task");
        return static_cast<size_t>(std::distance(begin(threads), end(threads)));
    };
    const size_t numBefore = countThreads();
    size_t numMost = 0;
    Taro_2D mesh;
    EXPECT_EQ(mesh.setNumCPU(200000), 200000);
    Recorder listener;
    listener.hook = [&] { numMost = std::max(numMost, countThreads()); };
    mesh.subscribe(MT_PROGRESS, &listener);
    const PointVector vPoints = makeUniform(200000, 23);
    mesh.insert(vPoints);
    EXPECT_LE(numMost, numBefore + 4 * numProcessors);
    EXPECT_EQ(mesh.numberOfPoints(), vPoints.size());
}

TEST(Parallel, LeavesNoTraceOfTheBox) {
    const PointVector vPoints = makeUniform(5000, 9);
    Bbox2 box;
    box.add(vPoints);
    Taro_2D mesh;
    useChunks(mesh, 4);
    mesh.insert(vPoints);
    VertexVector vHull, vVertices;
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
    useChunks(mesh, 2);
    VertexVector vVertices;
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

TEST(Parallel, PointsNearTheHullAreLeftToOneThread) {
    Random random(13);
    const auto onTwoLines = [](double i) { return XY(std::floor(i / 2), std::fmod(i, 2)); };
    const auto onFourLines = [&](double) {
        const XY xy(uniform(random, -1, 1), uniform(random, -1e-3, 1e-3));
        return integer(random, 0, 1) ? xy : XY(xy.second, xy.first);
    };
    const auto onParabola = [&](double) {
        const double x = uniform(random, -1, 1);
        return XY(x, x * x);
    };
    const size_t n = scaled(20000) + 2000;
    expectSameAsOneThread(makeShuffledPoints(n, onTwoLines, random), 2, 0, false);
    expectSameAsOneThread(makePoints(n, onFourLines), 2, 0, true);
    expectSameAsOneThread(makePoints(n, onParabola), 2, 0, true);
    expectSameAsOneThread(makePoints(n, onParabola), 2, n / 3, true);
    // The sparse start inserts points of one line only; in the first run that line exists already.
    PointVector vPoints = makePoints(n, onTwoLines);
    std::stable_partition(vPoints.begin(), vPoints.end(), [](const Point2& point) { return point.y() == 0.0; });
    expectSameAsOneThread(vPoints, 2, n / 2, false);
    expectSameAsOneThread(vPoints, 2, 0, false);
    // The sparse start prolongs the line, so insertion must restart without the box.
    vPoints.clear();
    for (size_t i = 0; i < 4000; ++i) vPoints.emplace_back(0.001 * static_cast<double>(i), 0.0, 0.0);
    for (size_t i = 0; i < 4000; ++i) {
        vPoints.emplace_back(0.001 * (static_cast<double>(i) + 0.5), isDense(i, 4000) ? 1e-9 : 0.0, 0.0);
    }
    expectSameAsOneThread(vPoints, 2, 4000, false);
}

TEST(Parallel, AMillionPointsOnManyThreads) {
    Random random(14);
    const size_t side = static_cast<size_t>(std::sqrt(scaled(1000000)));
    std::normal_distribution<double> normal(0, 0.01);
    const auto inCluster = [&](double) {
        return XY(integer(random, 0, 14) / 15 + normal(random), integer(random, 0, 14) / 15 + normal(random));
    };
    const PointVector aSets[] = {makeUniform(side * side, 15), makePoints(side * side, inCluster),
                                 makeGrid(side, 4.5e5, 5.2e6, 0.25, random)};
    for (const PointVector& vPoints : aSets) {
        size_t numTriangles = 0;
        for (const int numThreads : {1, 2, 4, 8}) {
            Taro_2D mesh;
            useChunks(mesh, numThreads);
            mesh.insert(vPoints);
            EXPECT_EQ(mesh.numberOfPoints(), vPoints.size());
            if (numThreads == 1) numTriangles = mesh.numberOfTriangles();
            EXPECT_EQ(mesh.numberOfTriangles(), numTriangles);
            EXPECT_TRUE(mesh.checkValidity(true, "many"));
        }
    }
}

TEST(Parallel, ReportsProgressFromTheCallingThread) {
    const std::thread::id caller = std::this_thread::get_id();
    Taro_2D mesh;
    useChunks(mesh, 3);
    Recorder listener;
    listener.hook = [&] { EXPECT_EQ(std::this_thread::get_id(), caller); };
    mesh.subscribe(MT_PROGRESS, &listener);
    for (const unsigned seed : {10u, 16u}) {  // the second time, the corners of the box are no steps
        listener.vValues.clear();
        mesh.insert(makeUniform(30000, seed));
        EXPECT_TRUE(std::is_sorted(listener.vValues.begin(), listener.vValues.end()));
        EXPECT_EQ(listener.vValues.back(), 1.0);
        EXPECT_LE(listener.vValues.size(), 101u);
    }
    EXPECT_EQ(listener.vMessages, std::vector<std::string>(listener.vMessages.size(), "insert vertices"));
}

TEST(Parallel, AListenerThatThrowsLeavesWhatIsInserted) {
    const PointVector vPoints = makeUniform(5000, 17);
    PointVector vCollinear = makePoints(1500, [](double i) { return XY(i / 1500 - 0.5, 0.0); });
    for (const int numThreads : {1, 3}) {
        for (const double limit : {0.05, 0.15, 0.5, 1.0}) {
            for (const size_t numBefore : {0, 1, 1500}) {
                SCOPED_TRACE(testing::Message() << numThreads << " " << limit << " " << numBefore);
                Taro_2D mesh;
                useChunks(mesh, numThreads);
                mesh.insert(PointVector(vCollinear.begin(), vCollinear.begin() + static_cast<int>(numBefore)));
                Recorder listener;
                listener.hook = [&] {
                    if (listener.vValues.back() >= limit) throw std::range_error("enough");
                };
                mesh.subscribe(MT_PROGRESS, &listener);
                VertexVector vHandles;
                EXPECT_THROW(mesh.insert(vPoints, vHandles), std::range_error);
                const auto isSet = [](const Point2* pVtx) { return pVtx != nullptr; };
                const auto numInserted = std::count_if(vHandles.begin(), vHandles.end(), isSet);
                EXPECT_EQ(mesh.numberOfPoints(), numBefore + static_cast<size_t>(numInserted));
                EXPECT_TRUE(!mesh.is2D() || mesh.checkValidity(true, "thrown"));
                mesh.unsubscribe(MT_PROGRESS, &listener);
                mesh.insert(vPoints);
                EXPECT_EQ(mesh.numberOfPoints(), numBefore + vPoints.size());
                EXPECT_TRUE(mesh.checkValidity(true, "complete"));
            }
        }
    }
}

TEST(Parallel, AFailureInsideAChunkLeavesAMesh) {
    // Three quarters of the new points are duplicates. The listener registers some of them before the workers find
    // them, which is wrong, so that one worker fails.
    const PointVector vBefore = makeUniform(6000, 18);
    PointVector vPoints = makeUniform(2000, 19);
    vPoints.insert(vPoints.end(), vBefore.begin(), vBefore.end());
    Dt2 engine(3);
    engine.setNumCPU(3);
    engine.preferChunks();
    engine.insertVector(vBefore);
    Recorder listener;
    listener.hook = [&] {
        if (listener.vValues.size() > 1) return;  // later its workers run
        VertexVault& vault = engine.getVertexVault();
        for (size_t i = vPoints.size() / 2; vault.dupIsClean() && i < vPoints.size(); ++i) {
            Point2* pVtx = vault.getData()[vBefore.size() + i]->vtx;
            Point2* pOriginal = engine.getVertexPointer(*pVtx);
            if (isDense(i, vPoints.size()) && pOriginal != pVtx) vault.registerDup(pVtx, pOriginal);
        }
    };
    engine.getProgress().subscribe(MT_PROGRESS, &listener);
    VertexVector vHandles;
    {
        StdoutCapture capture;
        EXPECT_THROW(engine.insertVector(vPoints, vHandles), TaroException);
        EXPECT_TRUE(contains(capture, "bInserted"));
    }
    engine.getProgress().unsubscribe(MT_PROGRESS, &listener);
    EXPECT_LT(engine.numberOfPoints(), vPoints.size());
    for (size_t i = 0; i < vPoints.size(); ++i) EXPECT_TRUE(!vHandles[i] || *vHandles[i] == vPoints[i]);
    EXPECT_TRUE(engine.checkValidity(true, "failed"));
    EXPECT_TRUE(engine.getVertexVault().checkVault());
    engine.insertVector(vPoints);
    EXPECT_EQ(engine.numberOfPoints(), vPoints.size());
    EXPECT_TRUE(engine.checkValidity(true, "complete"));
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
