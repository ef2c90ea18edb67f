#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <cmath>
#include <functional>
#include <memory>
#include <random>
#include <string>
#include <utility>
#include <vector>

#include "support/generators.h"
#include "support/mesh.h"
#include "support/stopping.h"
#include "taro25d/MessageHandler.h"
#include "taro25d/TaroCancelled.h"
#include "taro25d/Taro_2D.h"

// Operations that are cancelled at random cancellation points.

namespace cancelling {

using namespace LUMO_TARO25D;

using Numbers = std::vector<double>;

/// An operation on a scene that belongs to it.
struct Operation {
    std::shared_ptr<void> pScene;
    std::function<void()> run;
    std::function<void()> checkCancelled;  // the state after a cancelled run
    std::function<Numbers()> describe;     // the result
};
using MakeOperation = std::function<Operation(const std::atomic<bool>* pFlag)>;

/// For its lifetime, calls a function at each cancellation point.
class ObserverScope {
  public:
    explicit ObserverScope(std::function<void()> observer) { setCancelPointObserver(std::move(observer)); }
    ~ObserverScope() { setCancelPointObserver(nullptr); }
    ObserverScope(const ObserverScope&) = delete;
    ObserverScope& operator=(const ObserverScope&) = delete;
};

/// Cancels an operation at random points of at least minCancelPoints and runs it again.
inline void testAtRandomMoments(const MakeOperation& make, size_t minCancelPoints = 20) {
    std::atomic<bool> bFlag{false};
    size_t numCancelPoints = 0;
    const Operation whole = make(&bFlag);
    {
        const ObserverScope count([&] { ++numCancelPoints; });
        whole.run();
    }
    const Numbers vExpected = whole.describe();
    ASSERT_GE(numCancelPoints, minCancelPoints);
    std::mt19937 random(1);
    size_t numCancelled = 0;
    for (size_t round = 0; round < scaled(50); ++round) {
        const Operation operation = make(&bFlag);
        const size_t moment = 1 + random() % numCancelPoints;
        SCOPED_TRACE("cancellation point " + std::to_string(moment) + " of " + std::to_string(numCancelPoints));
        size_t numPassed = 0;
        bool bCancelled = false;
        {
            const ObserverScope cancel([&] { bFlag = bFlag || ++numPassed == moment; });
            try {
                operation.run();
            } catch (const TaroCancelled&) {
                bCancelled = true;
            }
        }
        bFlag = false;
        if (!bCancelled) continue;  // the last cancellation points may be within a change that must be finished
        ++numCancelled;
        operation.checkCancelled();
        operation.run();
        EXPECT_EQ(operation.describe(), vExpected);
        if (::testing::Test::HasFailure()) return;
    }
    EXPECT_GT(numCancelled, scaled(50) / 2);
}

inline std::vector<Point2> makeGround(size_t num, unsigned seed) {
    std::mt19937 random(seed);
    std::uniform_real_distribution<double> place(0.0, 100.0), noise(0.0, 1.0);
    std::vector<Point2> vPoints;
    for (size_t i = 0; i < num; ++i) {
        const double x = place(random), y = place(random);
        vPoints.emplace_back(x, y, 5.0 * std::sin(0.1 * x) + noise(random));
    }
    return vPoints;
}

inline std::vector<Segment2> makeSegments(int numRows) {
    std::vector<Segment2> vSegments;
    const double cell = 100.0 / numRows;
    for (int i = 0; i < numRows; ++i) {
        for (int k = 0; k < numRows; ++k) {
            const Point2 src((i + 0.1) * cell, (k + 0.15) * cell, 1.0);
            vSegments.emplace_back(src, Point2(src.x() + 0.71 * cell, src.y() + 0.6 * cell, 2.0));
        }
    }
    return vSegments;
}

inline std::vector<Segment2> makeRing(int num, double radius) {
    std::vector<Point2> vCorners;
    for (int i = 0; i < num; ++i) {
        const double angle = 2.0 * M_PI * i / num;
        vCorners.emplace_back(50.0 + radius * std::cos(angle), 50.0 + radius * std::sin(angle), 0.0);
    }
    std::vector<Segment2> vRing;
    for (size_t i = 0; i < vCorners.size(); ++i) vRing.emplace_back(vCorners[i], vCorners[(i + 1) % vCorners.size()]);
    return vRing;
}

inline Numbers toNumbers(const std::vector<Triangle2*>& vTriangles) {
    std::vector<std::array<double, 6>> vPlaces;
    for (const Triangle2* pT : vTriangles) {
        std::array<const Point2*, 3> aCorners{pT->getCorner(0), pT->getCorner(1), pT->getCorner(2)};
        std::sort(aCorners.begin(), aCorners.end(), [](const Point2* a, const Point2* b) { return *a < *b; });
        vPlaces.push_back({aCorners[0]->x(), aCorners[0]->y(), aCorners[1]->x(), aCorners[1]->y(), aCorners[2]->x(),
                           aCorners[2]->y()});
    }
    std::sort(vPlaces.begin(), vPlaces.end());
    Numbers vNumbers;
    for (const auto& places : vPlaces) vNumbers.insert(vNumbers.end(), places.begin(), places.end());
    return vNumbers;
}

inline Numbers toNumbers(const Taro_2D& mesh) {
    std::vector<Triangle2*> vTriangles;
    mesh.getTrianglePointers(vTriangles);
    return toNumbers(vTriangles);
}

/// A mesh with the flag, and objects of the operations.
struct Scene {
    Scene(const std::atomic<bool>* pFlag, size_t numPoints) {
        if (numPoints > 0) mesh.insert(makeGround(numPoints, 3));
        mesh.setCancelFlag(pFlag);
    }
    Taro_2D mesh;
    Zone2* pZone = nullptr;
    ConstraintGraph2* pGraph = nullptr;
    std::vector<Point2*> vHandles;
    std::vector<Triangle2*> vTriangles;
};

inline void expectValid(const Scene& scene) { EXPECT_TRUE(scene.mesh.checkValidity(true, "cancelled")); }

inline Operation makeOperation(const std::shared_ptr<Scene>& pScene, std::function<void()> run,
                               std::function<Numbers()> describe) {
    return {pScene, std::move(run), [pScene] { expectValid(*pScene); }, std::move(describe)};
}

/// An operation whose result is a mesh.
inline Operation makeOfMesh(const std::shared_ptr<Scene>& pScene, std::function<void()> run) {
    return makeOperation(pScene, std::move(run), [pScene] { return toNumbers(pScene->mesh); });
}

class CancelTest : public ::testing::Test {
  protected:
    void SetUp() override {
        setMessageHandler([](MsgLevel, const std::string&, const std::string&) {});
    }
    void TearDown() override { setMessageHandler(nullptr); }
};

}  // namespace cancelling
