#include <gtest/gtest.h>
#include <unistd.h>

#include <atomic>
#include <cstdlib>
#include <filesystem>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include "support/SimplePool.h"
#include "support/capture.h"
#include "support/diagnostics.h"
#include "support/generators.h"
#include "support/recorder.h"
#include "taro25d/taro25d.h"

using namespace LUMO_TARO25D;

namespace {

/// Sets a handler that keeps all messages, for as long as it lives.
class KeptMessages {
  public:
    struct Message {
        MsgLevel level;
        std::string location, text;
    };

    KeptMessages() {
        former_ = setMessageHandler([this](MsgLevel level, const std::string& location, const std::string& text) {
            vMessages.push_back({level, location, text});
            if (hook) hook();
        });
    }
    ~KeptMessages() { setMessageHandler(former_); }

    std::vector<Message> vMessages;
    std::function<void()> hook;

  private:
    MessageHandler former_;
};

}  // namespace

TEST(Message, AHandlerGetsEveryTextAndNothingIsPrinted) {
    Taro_2D mesh;
    mesh.insert(makeUniform(100, 1));
    Recorder listener;
    mesh.subscribe(MT_WARNING, &listener);
    KeptMessages kept;
    testing::internal::CaptureStderr();
    const std::string printed = printedBy([&] {
        mesh.remove(nullptr);
        mesh.statistics("plain");
        mesh.refine(nullptr, 20, 0, 10, true);
        Visualizer2("coloured.ps").writeFile();
    });
    EXPECT_EQ(printed, "");
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
    ASSERT_EQ(kept.vMessages.size(), 4u);
    EXPECT_EQ(kept.vMessages[0].level, ML_WARNING);
    EXPECT_EQ(kept.vMessages[0].location, "Dt2::remove(..)");
    EXPECT_EQ(kept.vMessages[0].text, "pVtx==NULL, illegal, return.");
    EXPECT_EQ(listener.vMessages, (std::vector<std::string>{"pVtx==NULL, illegal, return."}));
    EXPECT_EQ(kept.vMessages[1].level, ML_NOTE);
    EXPECT_EQ(kept.vMessages[1].text.find("********* MESH STATISTICS (plain) **********\n\nNumber of triangles"), 0u);
    EXPECT_NE(kept.vMessages[1].text.back(), '\n');
    EXPECT_EQ(kept.vMessages[2].text, "Warning: Taro_2D::refine(..) has been called with pZone==NULL");
    EXPECT_EQ(kept.vMessages[3].text, "Visualizer2:: Writing coloured.ps") << "texts carry no colours";
}

TEST(Message, SettingAHandlerReturnsTheFormerOne) {
    int numFirst = 0;
    EXPECT_FALSE(setMessageHandler([&](MsgLevel, const std::string&, const std::string&) { ++numFirst; }));
    MessageHandler first = setMessageHandler(nullptr);
    ASSERT_TRUE(first);
    EXPECT_TRUE(contains(printedBy([] { warning("here", "printed again"); }), "printed again"));
    first(ML_NOTE, "", "");
    EXPECT_EQ(numFirst, 1);
}

TEST(Message, AFailedConditionLeavesNoFileBehindWhereThereIsAHandler) {
    std::filesystem::remove("TARO_LOG.txt");
    {
        KeptMessages kept;
        EXPECT_THROW(TARO_ASSERT_TEXT(false, "sound"), TaroException);
        EXPECT_FALSE(std::filesystem::exists("TARO_LOG.txt"));
        ASSERT_EQ(kept.vMessages.size(), 2u);
        EXPECT_EQ(kept.vMessages[0].level, ML_ERROR);
        EXPECT_EQ(kept.vMessages[0].text, "Condition [ sound failed ]");
        EXPECT_EQ(kept.vMessages[1].text.find("      dt2Library/message_test:"), 0u);
        EXPECT_THROW(poolFailure("no memory"), std::bad_alloc);
    }
    printedByFailing([] { TARO_ASSERT_TEXT(false, "sound"); });
    EXPECT_TRUE(std::filesystem::exists("TARO_LOG.txt"));
}

TEST(Message, AHandlerMayCallTheLibraryAndSetAnotherHandler) {
    Taro_2D other;
    KeptMessages kept;
    kept.hook = [&] {
        kept.hook = nullptr;
        other.insert(makeUniform(50, 2));
        other.remove(nullptr);
        setMessageHandler(nullptr);
    };
    const std::string printed = printedBy([&] {
        other.remove(nullptr);
        warning("here", "printed");
    });
    EXPECT_EQ(kept.vMessages.size(), 2u);
    EXPECT_EQ(other.numberOfPoints(), 50u);
    EXPECT_TRUE(contains(printed, "printed"));
}

TEST(Message, AnExceptionOfAHandlerEndsTheNextLongOperationAndNothingElse) {
    Taro_2D mesh;
    mesh.insert(makeUniform(1000, 3));
    KeptMessages kept;
    kept.hook = [] { throw std::range_error("from the handler"); };
    mesh.remove(nullptr);
    kept.hook = nullptr;
    std::thread([] { Taro_2D().insert(makeUniform(100, 4)); }).join();  // another thread is not concerned
    EXPECT_THROW(mesh.insert(makeUniform(1000, 5)), std::range_error);
    EXPECT_TRUE(mesh.checkValidity(true, "after"));
    mesh.insert(makeUniform(1000, 5));
    EXPECT_EQ(mesh.numberOfPoints(), 2000u);
}

TEST(Message, IsNeverHandedOutByTwoThreadsAtOnce) {
    std::atomic<int> numInside{0};
    int numMessages = 0;  // guarded by the promise alone
    bool bAlone = true;
    const MessageHandler former = setMessageHandler([&](MsgLevel, const std::string&, const std::string&) {
        bAlone = bAlone && ++numInside == 1;
        ++numMessages;
        --numInside;
    });
    std::vector<std::thread> vThreads;
    for (int i = 0; i < 4; ++i) {
        vThreads.emplace_back([] {
            Taro_2D mesh;
            for (int k = 0; k < 500; ++k) mesh.remove(nullptr);
        });
    }
    for (std::thread& thread : vThreads) thread.join();
    setMessageHandler(former);
    EXPECT_TRUE(bAlone);
    EXPECT_EQ(numMessages, 2000);
}
