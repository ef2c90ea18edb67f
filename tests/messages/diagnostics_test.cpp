#include "support/diagnostics.h"

#include <gtest/gtest.h>

#include <string>

#include "support/capture.h"
#include "support/files.h"

using namespace LUMO_TARO25D;

namespace {

TEST(Diagnostics, AFailureIsReportedThenLoggedThenThrown) {
    struct Witness : MessageSink {
        void receive(const std::string& message) override {
            text = message;
            logBefore = readFile("TARO_LOG.txt");
        }
        std::string text, logBefore;
    } witness;
    const std::string log = readFile("TARO_LOG.txt"), message = "Condition [ left==right failed ]";
    const MessageScope scope(&witness);
    const std::string printed = printedByFailing([] { TARO_ASSERT_TEXT(1 == 2, "left==right"); });
    EXPECT_EQ(printed.find("\033[0;31m      [Taro2D-Message] Taro, ERROR: " + message + "\033[m\n      "), 0u)
        << printed;
    EXPECT_EQ(witness.text, message);
    EXPECT_EQ(witness.logBefore, log) << "the channel comes before the file";
    EXPECT_EQ(readFile("TARO_LOG.txt"), log + "Taro, " + message + "\n");
}

TEST(Diagnostics, AQuietScopeDropsWarningsButNoErrors) {
    const StdoutCapture capture;
    {
        const QuietScope quiet(false);
        const QuietScope verbose(true);
        warning("here", "dropped");
        error("here", "kept");
    }
    const QuietScope verbose(true);
    warning("here", "kept");
    EXPECT_EQ(countOf("dropped", capture.text()), 0u);
    EXPECT_EQ(countOf("kept", capture.text()), 2u);
}

}  // namespace
