#include "support/Progress.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <thread>
#include <vector>

#include "support/recorder.h"
#include "support/shareWork.h"

using namespace LUMO_TARO25D;

TEST(Progress, DeliversOncePerPairAndOnlyToItsType) {
    Progress progress;
    Recorder both, warnings;
    progress.subscribe(MT_WARNING, &warnings);
    progress.subscribe(MT_PROGRESS, &both);
    progress.subscribe(MT_PROGRESS, &both);
    progress.subscribe(MT_WARNING, &both);
    progress.subscribe(MT_WARNING, nullptr);
    progress.broadcast(MT_PROGRESS, "p", 0.5);
    {
        const MessageScope scope(&progress);
        warning("somewhere", "w");
    }
    warning("somewhere", "outside the scope");
    EXPECT_EQ(both.vTypes, (std::vector<MsgType>{MT_PROGRESS, MT_WARNING}));
    EXPECT_EQ(both.vMessages, (std::vector<std::string>{"p", "w"}));
    EXPECT_EQ(both.vValues, (std::vector<double>{0.5, 0.0}));
    EXPECT_EQ(warnings.vMessages, (std::vector<std::string>{"w"}));

    progress.unsubscribe(MT_PROGRESS, &both);
    progress.unsubscribe(MT_PROGRESS, &both);
    EXPECT_FALSE(progress.hasListeners(MT_PROGRESS));
    EXPECT_TRUE(progress.hasListeners(MT_WARNING));
}

TEST(Progress, ListenersMayUnsubscribeWhileTheyAreCalled) {
    Progress progress;
    Recorder first, second;
    progress.subscribe(MT_PROGRESS, &first);
    progress.subscribe(MT_PROGRESS, &second);
    first.hook = [&] {
        progress.unsubscribe(MT_PROGRESS, &first);
        progress.unsubscribe(MT_PROGRESS, &second);
    };
    progress.broadcast(MT_PROGRESS, "p", 0.5);
    EXPECT_EQ(first.vValues.size(), 1u);
    EXPECT_TRUE(second.vValues.empty());
}

TEST(Progress, ReportsWhereverTheCounterReachesOrPassesAMultipleOfTheStep) {
    const struct {
        size_t total, step, increment;
        size_t expectedStep;
    } aCase[] = {{1000, 0, 1, 10},
                 {50, 0, 1, 1},
                 {1099, 0, 7, 10},
                 {300, 0, 450, 3},
                 {350, 0, 1, 3},
                 {350, Progress::fineStep(350), 1, 1},
                 {400, Progress::fineStep(400), 3, 4}};
    for (const auto& c : aCase) {
        Progress progress;
        Recorder recorder;
        progress.subscribe(MT_PROGRESS, &recorder);
        progress.start("run", c.total, c.step);
        std::vector<double> vExpected;
        for (size_t numDone = 0; numDone < c.total; numDone += c.increment) {
            const size_t after = std::min(numDone + c.increment, c.total);
            if (after / c.expectedStep > numDone / c.expectedStep || after == c.total) {
                vExpected.push_back(double(after) / double(c.total));
            }
            progress.incProgress(c.increment);
        }
        progress.incProgress(c.increment);  // more than announced
        progress.finish();
        EXPECT_EQ(vExpected.back(), 1.0);
        EXPECT_EQ(recorder.vValues, vExpected) << c.total << " by " << c.increment;
        EXPECT_EQ(recorder.vMessages, std::vector<std::string>(vExpected.size(), "run"));
    }
}

TEST(Progress, IsActiveOnlyWithListenersATotalAndWhileEnabled) {
    Progress progress;
    Recorder recorder;
    progress.start("run", 10);
    EXPECT_FALSE(progress.isActive());
    progress.subscribe(MT_WARNING, &recorder);
    EXPECT_FALSE(progress.isActive());
    progress.subscribe(MT_PROGRESS, &recorder);
    EXPECT_TRUE(progress.isActive());
    progress.setEnabled(false);
    progress.incProgress(5);
    EXPECT_FALSE(progress.isActive());
    progress.setEnabled(true);
    progress.incProgress(2);
    progress.reset();
    progress.incProgress(3);
    progress.finish();
    EXPECT_FALSE(progress.isActive());
    progress.start("short", 100);
    progress.incProgress(1);
    progress.finish();
    EXPECT_EQ(recorder.vValues, (std::vector<double>{0.2, 0.01, 1.0}));
}

TEST(Progress, WorkersCountAndTheCallingThreadReports) {
    Progress progress;
    Recorder recorder;
    progress.subscribe(MT_PROGRESS, &recorder);
    progress.start("run", 30000);
    std::vector<std::thread> vThreads;
    for (int i = 0; i < 3; ++i) {
        vThreads.emplace_back([&] {
            for (int k = 0; k < 5000; ++k) progress.count(1);
        });
    }
    for (std::thread& thread : vThreads) thread.join();
    EXPECT_TRUE(recorder.vValues.empty());
    progress.report();
    progress.report();
    EXPECT_EQ(recorder.vValues, (std::vector<double>{0.5}));
}

TEST(Progress, IsRepeatedWhileSharedWorkCountsNothing) {
    Progress progress, silent;
    Recorder recorder;
    progress.subscribe(MT_PROGRESS, &recorder);
    const MessageScope scope(&progress);
    progress.start("long step", 10);
    for (const int numThreads : {1, 2}) {
        recorder.vValues.clear();
        shareWork(numThreads, 40, 1, silent,
                  [](size_t, size_t, int) { std::this_thread::sleep_for(std::chrono::milliseconds(8)); });
        EXPECT_GE(recorder.vValues.size(), 2u) << numThreads << " threads";
        EXPECT_EQ(recorder.vValues, std::vector<double>(recorder.vValues.size(), 0.0));
    }
    progress.finish();
}
