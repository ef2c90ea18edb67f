#include "taro25d/version.h"

#include <gtest/gtest.h>

#include <string>

using namespace LUMO_TARO25D;

TEST(Version, NumbersAndTextAreThoseOfTheBuild) {
    EXPECT_STREQ(getTaro2DVersion(), TARO25D_PROJECT_VERSION);
    EXPECT_EQ(getTaro2DVersion(), std::to_string(getMajorVersionNumber()) + "." +
                                      std::to_string(getMinorVersionNumber()) + "." +
                                      std::to_string(getRevisionNumber()));
#ifdef NDEBUG
    EXPECT_TRUE(isRelease());
#else
    EXPECT_FALSE(isRelease());
#endif
}
