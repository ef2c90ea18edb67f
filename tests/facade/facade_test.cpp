#include <gtest/gtest.h>

#include <algorithm>
#include <functional>
#include <string>
#include <thread>
#include <vector>

#include "mesh/Dt2.h"
#include "support/capture.h"
#include "support/generators.h"
#include "support/recorder.h"
#include "taro25d/Taro_2D.h"
#include "taro25d/freeFunctions.h"

using namespace LUMO_TARO25D;

namespace {

const Point2 badPoint(NOT_A_NUMBER, 0, 0);

TEST(Facade, SetsAndReturnsTheNumberOfThreads) {
    Taro_2D mesh;
    EXPECT_EQ(mesh.getImpl()->getNumCPU(), 1);
    const int numHardware = std::max(1, static_cast<int>(std::thread::hardware_concurrency()));
    const std::pair<int, int> aCases[] = {{8, 8}, {-3, 1}, {0, numHardware}, {1, 1}};
    for (const auto& [n, expected] : aCases) {
        EXPECT_EQ(mesh.setNumCPU(n), expected);
        EXPECT_EQ(mesh.getImpl()->getNumCPU(), expected);
    }
    EXPECT_EQ(mesh.enableMultithreading(), numHardware);
    EXPECT_EQ(std::max(1, getNumCPU()), numHardware);
}

TEST(Facade, WarningsReachTheListenersOfThisTriangulationOnce) {
    Taro_2D mesh, other;
    Recorder listener, stranger;
    for (int i = 0; i < 2; ++i) mesh.subscribe(MT_WARNING, &listener);
    other.subscribe(MT_WARNING, &stranger);
    const StdoutCapture capture;
    mesh.insert(badPoint);
    mesh.insert({badPoint, Point2(1, 2, 3), badPoint});
    mesh.checkValidity(true, "early");
    std::vector<Point2*> vHull;
    mesh.getConvexHull(true, vHull);
    mesh.unsubscribe(MT_WARNING, &listener);
    mesh.unsubscribe(MT_WARNING, &listener);
    mesh.insert(badPoint);
    ASSERT_GE(listener.vMessages.size(), 3u);
    EXPECT_EQ(listener.vMessages[0], "non-finite coordinates, point refused");
    EXPECT_EQ(listener.vMessages[1], "non-finite coordinates, points refused: 2");
    EXPECT_EQ(listener.vMessages.size(), 4u);
    EXPECT_EQ(listener.vTypes, std::vector<MsgType>(listener.vMessages.size(), MT_WARNING));
    for (const std::string& message : listener.vMessages) {
        EXPECT_TRUE(contains(capture, ", WARNING: " + message + "\033[m\n")) << message;
    }
    EXPECT_TRUE(stranger.vMessages.empty());
}

TEST(Facade, ProgressOfBulkInsertionRisesToOne) {
    Random random(1);
    const PointVector vUniform = generators[0].make(2000, random), vOne{Point2(7, 7, 7)};
    const struct {
        const char* name;
        std::vector<PointVector> vBatches;  // the last one is watched
        size_t numUpdates;                  // 0: any number
    } aCases[] = {{"empty mesh", {vUniform}, 100},
                  {"full mesh", {vUniform, makePoints(1000, [&](double i) { return XY(i, -i); })}, 100},
                  {"duplicates only", {vUniform, vUniform}, 100},
                  {"equal points", {PointVector(500, Point2(1, 1, 1))}, 0},
                  {"collinear", {makePoints(300, [](double i) { return XY(i, i); })}, 0},
                  {"few points", {makePoints(20, [](double i) { return XY(i, i * i); })}, 20},
                  {"one point", {vOne}, 1},
                  {"one more point", {vUniform, vOne}, 1},
                  {"refused points", {PointVector(50, badPoint)}, 2}};
    for (const auto& c : aCases) {
        const StdoutCapture capture;
        Taro_2D mesh;
        Recorder listener;
        for (size_t i = 0; i < c.vBatches.size(); ++i) {
            if (i + 1 == c.vBatches.size()) mesh.subscribe(MT_PROGRESS, &listener);
            mesh.insert(c.vBatches[i]);
        }
        const auto& v = listener.vValues;
        ASSERT_FALSE(v.empty()) << c.name;
        EXPECT_TRUE(std::adjacent_find(v.begin(), v.end(), std::greater_equal<>()) == v.end()) << c.name << " rises";
        EXPECT_GT(v.front(), 0.0) << c.name;
        EXPECT_EQ(v.back(), 1.0) << c.name;
        EXPECT_LE(v.size(), 110u) << c.name;
        if (c.numUpdates > 0) {
            EXPECT_NEAR(double(v.size()), double(c.numUpdates), 0.1 * double(c.numUpdates)) << c.name;
        }
        EXPECT_EQ(listener.vMessages, std::vector<std::string>(v.size(), "insert vertices")) << c.name;
        mesh.insert(Point2(0.5, 0.25, 0));
        mesh.insert(PointVector());
        EXPECT_EQ(listener.vValues.back(), 1.0);
        EXPECT_EQ(listener.vMessages.size(), v.size()) << c.name << ": single points and nothing are no bulk";
    }
}

TEST(Facade, MeasuringTheTimeChangesNothingAndPrintsNothing) {
    Random random(1);
    PointVector vPoints = generators[0].make(300, random);
    const PointVector vBefore = vPoints;
    Taro_2D mesh;
    mesh.insert(Point2(1, 2, 3));
    const StdoutCapture capture;
    const double seconds = mesh.measureTrianguluationTime(vPoints);
    EXPECT_GT(seconds, 0.0);
    EXPECT_LT(seconds, 60.0);
    EXPECT_EQ(capture.text(), "");
    EXPECT_EQ(mesh.numberOfPoints(), 1u);
    EXPECT_EQ(vPoints, vBefore);
}

TEST(Facade, NamesAndStartsAnew) {
    Taro_2D mesh(4000000000u);
    EXPECT_EQ(mesh.getName(), "");
    mesh.setName("pit");
    EXPECT_EQ(mesh.getName(), "pit");
    mesh.setDev("prefix_", 0, 0.0);
    EXPECT_EQ(Dt2::getFilenamePrefix(), "prefix_");
    mesh.setDev("", 0, 0.0);
    mesh.insert({Point2(0, 0, 0), Point2(1, 0, 0), Point2(0, 1, 0)});
    EXPECT_TRUE(mesh.is2D());
    EXPECT_EQ(mesh.getOrientation(Point2(0, 0, 0), Point2(1, 0, 0), Point2(5, -1, 0)), ORIENTATION2_CW);
    mesh.initTaro(10);
    EXPECT_EQ(mesh.numberOfPoints(), 0u);
    EXPECT_FALSE(mesh.is2D());
    EXPECT_NE(mesh.insert(Point2(1, 1, 1)), nullptr);
}

TEST(Facade, ReconstructionOnlyPrintsANotice) {
    const StdoutCapture capture;
    reconstruct(PointVector{Point2(0, 0, 0)});
    reconstruct(PointVector{Point2(0, 0, 0)}, "reconstructed.off");
    reconstruct("points.xyz", "reconstructed.off");
    const std::string text = capture.text(), notice = text.substr(0, text.find('\n') + 1);
    EXPECT_TRUE(contains(notice, "moved to a separate library"));
    EXPECT_EQ(text, notice + notice + notice);
}

}  // namespace
