// Reports of progress: their phases and fractions, and exceptions of listeners.

#include <gtest/gtest.h>

#include <chrono>
#include <stdexcept>
#include <thread>

#include "support/cancelling.h"
#include "support/recorder.h"
#include "taro25d/taro25d.h"

using namespace LUMO_TARO25D;
using namespace cancelling;

class ProgressPhaseTest : public CancelTest {};

TEST_F(ProgressPhaseTest, ExceptionsOfListenersEndTheCallInTheSameWay) {
    const std::vector<Point2> vPoints = makeGround(20000, 1);
    for (size_t numReports = 1; numReports < 100; numReports += 9) {
        Taro_2D mesh;
        Recorder recorder;
        recorder.hook = [&] {
            if (recorder.vValues.size() == numReports) throw std::runtime_error("enough");
        };
        mesh.subscribe(MT_PROGRESS, &recorder);
        EXPECT_THROW(mesh.insert(vPoints), std::runtime_error);
        EXPECT_TRUE(!mesh.is2D() || mesh.checkValidity(true, "stopped"));
        mesh.insert(vPoints);
        EXPECT_EQ(mesh.numberOfPoints(), vPoints.size());
    }
}

TEST_F(ProgressPhaseTest, ListenersHearASignOfLifeWhereStepsAreLong) {
    const auto insert = [](bool bWait) {
        Taro_2D mesh;
        Recorder recorder;
        mesh.subscribe(MT_PROGRESS, &recorder);
        size_t numCancelPoints = 0;
        const ObserverScope wait([&] {
            if (bWait && ++numCancelPoints % 100 == 0) std::this_thread::sleep_for(std::chrono::milliseconds(60));
        });
        mesh.insert(makeGround(20000, 1));
        return recorder.vValues;
    };
    const Numbers vReports = insert(false), vWithWaits = insert(true);
    EXPECT_GT(vWithWaits.size(), vReports.size());
    EXPECT_TRUE(std::is_sorted(vWithWaits.begin(), vWithWaits.end()));
    EXPECT_EQ(vWithWaits.back(), 1.0);
}

TEST_F(ProgressPhaseTest, CrossingsAreAPhaseOfTheirOwn) {
    Taro_2D mesh;
    Recorder recorder;
    mesh.subscribe(MT_PROGRESS, &recorder);
    mesh.createConstraint(makeSegments(10), CIS_CONSTRAINED_DELAUNAY);
    std::vector<Segment2> vAcross;
    for (int i = 1; i <= 20; ++i) {
        vAcross.emplace_back(Point2(0, 4.0 * i, 0), Point2(100, 4.0 * i + 1, 0));
        vAcross.emplace_back(Point2(4.0 * i, 0, 0), Point2(4.0 * i + 1, 100, 0));
    }
    recorder.vMessages.clear();
    mesh.createConstraint(vAcross, CIS_CONSTRAINED_DELAUNAY);
    recorder.vMessages.erase(std::unique(recorder.vMessages.begin(), recorder.vMessages.end()),
                             recorder.vMessages.end());
    EXPECT_EQ(recorder.vMessages,
              (std::vector<std::string>{"insert vertices", "insert crossings", "establish constraints"}));
}

TEST_F(ProgressPhaseTest, FractionsOfEachPhaseRiseToOne) {
    Taro_2D mesh;
    Recorder recorder;
    mesh.subscribe(MT_PROGRESS, &recorder);
    mesh.insert(makeGround(20000, 1));
    Zone2* pZone = mesh.createZone(mesh.createConstraint(makeRing(50, 40.0), CIS_CONSTRAINED_DELAUNAY), ZL_INSIDE);
    mesh.refine(pZone, 25.0, 0.0, 1.0, true);
    mesh.saveAll("cancel_test.taro");
    Taro_2D loaded;
    loaded.subscribe(MT_PROGRESS, &recorder);
    loaded.load("cancel_test.taro");
    for (size_t i = 0; i < recorder.vValues.size(); ++i) {
        const bool bLast = i + 1 == recorder.vValues.size() || recorder.vMessages[i + 1] != recorder.vMessages[i];
        if (bLast) {
            EXPECT_EQ(recorder.vValues[i], 1.0) << recorder.vMessages[i];
        } else if (recorder.vValues[i] < 1.0) {
            EXPECT_LE(recorder.vValues[i], recorder.vValues[i + 1]) << recorder.vMessages[i];
        }
    }
}
