#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <cmath>
#include <vector>

#include "mesh/Dt2.h"
#include "support/capture.h"
#include "support/generators.h"
#include "support/mesh.h"
#include "support/polygons.h"
#include "support/recorder.h"
#include "taro25d/EfficientModel.h"
#include "taro25d/TaroCancelled.h"
#include "taro25d/Taro_2D.h"

using namespace LUMO_TARO25D;

namespace {

double hills(double x, double y) { return 30 * std::sin(x / 9) * std::cos(y / 13) + 4 * std::sin(x / 2.5 + y / 3); }

PointVector makeHills(size_t n, unsigned seed) {
    Random random(seed);
    PointVector vPoints;
    for (size_t i = 0; i < n; ++i) {
        const double x = uniform(random, 0, 100), y = uniform(random, 0, 100);
        vPoints.emplace_back(x, y, hills(x, y));
    }
    return vPoints;
}

PointVector makeHillGrid(int side) {
    PointVector vPoints;
    for (int i = 0; i < side; ++i) {
        for (int j = 0; j < side; ++j) vPoints.emplace_back(i, j, hills(i, j));
    }
    return vPoints;
}

/// The largest distance of the points from a model, as a client measures it.
double errorOf(const Taro_2D& model, const PointVector& vPoints) {
    double error = 0;
    for (const Point2& p : vPoints) {
        double height = 0;
        if (!model.getHeight(p.x(), p.y(), height)) return INF;
        error = std::max(error, std::abs(height - p.z()));
    }
    return error;
}

/// The largest difference of two surfaces at many places.
double sampledDifference(const Taro_2D& a, const Taro_2D& b, int numSamples) {
    Random random(9);
    double difference = 0;
    for (int i = 0; i < numSamples; ++i) {
        const double x = uniform(random, 0, 100), y = uniform(random, 0, 100);
        double inA = 0, inB = 0;
        if (a.getHeight(x, y, inA) && b.getHeight(x, y, inB)) difference = std::max(difference, std::abs(inA - inB));
    }
    return difference;
}

TEST(EfficientModel, HoldsItsBoundWithFewPoints) {
    for (const bool bGrid : {false, true}) {
        const PointVector vPoints = bGrid ? makeHillGrid(100) : makeHills(10000, 1);
        size_t numBefore = vPoints.size() + 1;
        for (const double maxError : {0.0, 0.05, 0.5, 5.0, 100.0}) {
            EfficientModel model(vPoints);
            model.setMaxError(maxError);
            model.go();
            const Taro_2D& mesh = *model.getTriangulation();
            EXPECT_LE(errorOf(mesh, vPoints), maxError);
            EXPECT_EQ(model.getError(), errorOf(mesh, vPoints));
            EXPECT_TRUE(mesh.checkValidity(true, ""));
            EXPECT_LT(mesh.numberOfPoints(), numBefore);
            numBefore = mesh.numberOfPoints();
        }
        EXPECT_LE(numBefore, bGrid ? 4u : 40u) << "the corners of the hull";
    }
}

TEST(EfficientModel, TheErrorOfPointsOnEdgesIsThatOfClients) {
    // Lattice points lie on edges, where either triangle may be asked.
    for (unsigned seed = 0; seed < 60; ++seed) {
        Random random(seed);
        PointVector vPoints;
        for (int i = 0; i < 400; ++i) vPoints.emplace_back(i / 20, i % 20, uniform(random, 0, 3));
        EfficientModel model(vPoints);
        model.setMaxError(1.5);
        model.go();
        EXPECT_EQ(model.getError(), errorOf(*model.getTriangulation(), vPoints)) << seed;
    }
}

std::vector<Point2> cornersOf(const Taro_2D& mesh) {
    std::vector<Point2*> vHull;
    mesh.getConvexHull(false, vHull);
    std::vector<Point2> vCorners;
    for (const Point2* pVtx : vHull) vCorners.push_back(*pVtx);
    std::sort(vCorners.begin(), vCorners.end());
    return vCorners;
}

TEST(EfficientModel, CoversTheHullOfAllPoints) {
    Random random(5);
    for (int i = 0; i < 300; ++i) {
        // Small lattices, so that many points are on the hull; in tilted ones rounding decides that.
        const int extent = 1 + i % 9;
        const double slope = i % 3 == 0 ? 0.0 : uniform(random, -1, 1), offset = i % 2 == 0 ? 0.0 : 1e9;
        PointVector vPoints;
        for (int k = 0; k < 3 + i % 40; ++k) {
            const double x = random() % (extent + 1), y = random() % (extent + 1);
            vPoints.emplace_back(offset + x - slope * y, y + slope * x, 0);
        }
        Taro_2D full;
        full.insert(vPoints);
        EfficientModel model(vPoints);
        model.setMaxError(1);
        const std::string text = printedBy([&] { model.go(); });
        if (full.is2D()) {
            EXPECT_EQ(cornersOf(*model.getTriangulation()), cornersOf(full));
        }
    }
}

TEST(EfficientModel, StopsAtItsNumberOfPoints) {
    const PointVector vPoints = makeHillGrid(60);
    double errorBefore = INF;
    for (const size_t num : {10u, 100u, 1000u}) {
        EfficientModel model(vPoints);
        model.setMaxNumberOfPoints(num);
        model.go();
        EXPECT_EQ(model.getTriangulation()->numberOfPoints(), num);
        EXPECT_EQ(model.getError(), errorOf(*model.getTriangulation(), vPoints));
        EXPECT_LT(model.getError(), errorBefore);
        errorBefore = model.getError();
    }
}

TEST(EfficientModel, KeepsLinesWithTheirHeights) {
    PointVector vPoints = makeHills(3000, 2);
    const PointVector vFree = vPoints;
    for (int i = 0; i <= 40; ++i) vPoints.emplace_back(20 + i, 50, -77);  // on the line, at other heights
    EfficientModel model(vPoints);
    model.keep({makeSegment(20, 50, 60, 50, 10, 20), makeSegment(40, 20, 40, 80, 5, 5)});
    model.setMaxError(1);
    StdoutCapture capture;
    model.go();
    EXPECT_TRUE(contains(capture, "are left out: 41"));
    const Taro_2D& mesh = *model.getTriangulation();
    double height = 0;
    for (int i = 0; i <= 40; ++i) {
        ASSERT_TRUE(mesh.getHeight(20 + i, 50, height));
        EXPECT_NEAR(height, 10 + 0.25 * i, 1e-9);
    }
    EXPECT_LE(errorOf(mesh, vFree), 1);
    EXPECT_TRUE(mesh.isConstraint(mesh.getImpl()->getVertexPointer(Point2(20, 50, 0))));
}

TEST(EfficientModel, CornersOnKeptLinesAreLeftOut) {
    // A border without points at its corners: those on its sides are corners of the hull of the points.
    const PointVector vPoints{{2, 0, 1}, {8, 0, 1}, {10, 3, 1}, {10, 8, 1}, {5, 10, 1}, {0, 5, 1}, {5, 5, 6}};
    SegmentVector vBorder;
    for (const Segment2& side : makeSides(makeRectangle(0, 0, 10, 10)))
        vBorder.push_back(
            makeSegment(side.getSrc().x(), side.getSrc().y(), side.getTrg().x(), side.getTrg().y(), 5, 5));
    for (const bool bCertified : {false, true}) {
        EfficientModel model(vPoints);
        model.keep(vBorder);
        model.setMaxError(0.1);
        model.setCertified(bCertified);
        EXPECT_TRUE(contains(printedBy([&] { model.go(); }), "are left out: 6"));
        double height = 0;
        EXPECT_TRUE(model.getTriangulation()->getHeight(5, 0, height));
        EXPECT_EQ(height, 5);
        EXPECT_EQ(model.getTriangulation()->numberOfPoints(), 5u);
    }
}

TEST(EfficientModel, OfPointsAtOnePlaceTheFirstCounts) {
    PointVector vPoints = makeHills(200, 3);
    const PointVector vFirst = vPoints;
    for (size_t i = 0; i < 50; ++i) vPoints.emplace_back(vFirst[i].x(), vFirst[i].y(), 1e6);
    vPoints.emplace_back(NOT_A_NUMBER, 0, 0);
    EfficientModel model(vPoints);
    model.setMaxError(0.1);
    StdoutCapture capture;
    model.go();
    EXPECT_TRUE(contains(capture, "EfficientModel::go(), WARNING: "));
    EXPECT_TRUE(contains(capture, "are left out: 51"));
    EXPECT_LE(errorOf(*model.getTriangulation(), vFirst), 0.1);
}

TEST(EfficientModel, CertifiedHoldsBetweenPointsToo) {
    for (const bool bGrid : {false, true}) {
        const PointVector vPoints = bGrid ? makeHillGrid(60) : makeHills(3000, 4);
        Taro_2D full;
        full.insert(vPoints);
        full.canonicalizeDiagonals();
        for (const double maxError : {2.0, 0.3}) {
            EfficientModel plain(vPoints), certified(vPoints);
            for (EfficientModel* pModel : {&plain, &certified}) {
                pModel->setMaxError(maxError);
                pModel->setCertified(pModel == &certified);
                pModel->go();
                EXPECT_LE(pModel->getError(), maxError);
                const double sampled = sampledDifference(*pModel->getTriangulation(), full, 20000);
                EXPECT_LE(sampled, pModel->getSurfaceError() + 1e-9);
            }
            EXPECT_GT(plain.getSurfaceError(), maxError);
            EXPECT_LE(certified.getSurfaceError(), maxError);
            EXPECT_EQ(certified.getError(), errorOf(*certified.getTriangulation(), vPoints));
            EXPECT_LT(certified.getTriangulation()->numberOfPoints(), vPoints.size());
            const auto vFaces = facesOf(*certified.getTriangulation());
            const double surfaceError = certified.getSurfaceError();
            certified.setNumCPU(3);
            certified.go();
            EXPECT_TRUE(vFaces == facesOf(*certified.getTriangulation()));
            EXPECT_EQ(surfaceError, certified.getSurfaceError());
        }
    }
}

TEST(EfficientModel, LargeModelsAreEqualForAnyNumberOfThreads) {
    // Large enough for regions. Grids have circles through four points, where diagonals may be chosen.
    for (const bool bGrid : {false, true}) {
        PointVector vPoints = bGrid ? makeHillGrid(210) : makeHills(40000, 8);
        vPoints.emplace_back(51.5, 49.7, 1e3);  // a pole beside the kept line
        const SegmentVector vKept{makeSegment(3, 5, 95, 88, 0, 40), makeSegment(50, 2, 52, 97, 20, -20)};
        std::vector<std::vector<XY>> vFaces;
        double error = 0;
        for (const int numThreads : {1, 2, 5}) {
            EfficientModel model(vPoints);
            model.keep(vKept);
            model.setMaxError(0.5);
            model.setNumCPU(numThreads);
            const std::string text = printedBy([&] { model.go(); });
            const Taro_2D& mesh = *model.getTriangulation();
            if (numThreads == 1) {
                vFaces = facesOf(mesh);
                error = model.getError();
                EXPECT_LE(error, 0.5);
                EXPECT_LT(mesh.numberOfPoints(), vPoints.size() / 2);
                EXPECT_TRUE(mesh.checkValidity(true, ""));
            }
            EXPECT_TRUE(vFaces == facesOf(mesh)) << numThreads;
            EXPECT_EQ(error, model.getError());
        }
    }
}

TEST(EfficientModel, OfAlmostNothing) {
    for (const PointVector& vPoints :
         {PointVector(), PointVector{{1, 2, 3}}, PointVector{{0, 0, 0}, {1, 1, 5}, {2, 2, 0}},
          PointVector{{0, 0, 0}, {1, 0, 5}, {0, 1, 0}}}) {
        EfficientModel model(vPoints);
        EXPECT_TRUE(std::isnan(model.getError()));
        EXPECT_TRUE(std::isnan(model.getSurfaceError()));
        model.setMaxError(1);
        model.setCertified(true);
        model.go();
        EXPECT_EQ(model.getTriangulation()->numberOfPoints(), vPoints.size());
        EXPECT_EQ(model.getError(), 0.0);
        EXPECT_EQ(model.getSurfaceError(), 0.0);
    }
}

TEST(EfficientModel, MeasuresTheSurfaceOnlyOfGivenPoints) {
    EfficientModel model(makeHills(100, 5));
    model.setMaxError(1);
    model.go();
    Point2* pOther = model.getTriangulation()->insert(Point2(0.123, 0.456, 7));
    StdoutCapture capture;
    EXPECT_TRUE(std::isnan(model.getSurfaceError()));
    EXPECT_TRUE(contains(capture, "a vertex of the model is none of the given points"));
    model.getTriangulation()->remove(pOther);
    EXPECT_FALSE(std::isnan(model.getSurfaceError()));
}

TEST(EfficientModel, RefusesWrongCalls) {
    EfficientModel model(makeHills(100, 5));
    StdoutCapture capture;
    model.go();
    EXPECT_TRUE(contains(capture, "EfficientModel::go(), WARNING: no limit has been set"));
    model.setMaxError(-1);
    model.setMaxError(NOT_A_NUMBER);
    model.setMaxNumberOfPoints(0);
    model.keep({makeSegment(0, 0, NOT_A_NUMBER, 1)});
    model.go();
    EXPECT_EQ(model.getTriangulation()->numberOfPoints(), 0u) << "there is no limit still";
}

class EfficientModelOfSize : public testing::TestWithParam<size_t> {};

TEST_P(EfficientModelOfSize, ReportsAndCanBeCancelledAndRunAgain) {
    EfficientModel model(makeHills(GetParam(), 6));
    model.setMaxError(0.2);
    model.setNumCPU(2);
    Recorder recorder;
    model.subscribe(MT_PROGRESS, &recorder);
    model.go();
    const size_t numPoints = model.getTriangulation()->numberOfPoints();
    EXPECT_TRUE(std::is_sorted(recorder.vValues.begin(), recorder.vValues.end()));
    EXPECT_GT(recorder.vValues.size(), 20u);
    EXPECT_EQ(recorder.vValues.back(), 1.0);
    std::atomic<bool> bCancel{false};
    model.setCancelFlag(&bCancel);
    int numLeft = 30;
    recorder.hook = [&] { bCancel = --numLeft <= 0; };
    EXPECT_THROW(model.go(), TaroCancelled);
    EXPECT_TRUE(std::isnan(model.getError()));
    EXPECT_TRUE(model.getTriangulation()->checkValidity(true, ""));
    bCancel = false;
    recorder.hook = nullptr;
    model.go();
    EXPECT_EQ(model.getTriangulation()->numberOfPoints(), numPoints);
}

INSTANTIATE_TEST_SUITE_P(WithAndWithoutRegions, EfficientModelOfSize, testing::Values(5000, 30000));

}  // namespace
