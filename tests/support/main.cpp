#include <gtest/gtest.h>
#include <unistd.h>

#include <filesystem>
#include <string>

/// Runs the tests in a directory of this process's own, since the library writes its log file and its
/// drawings into the working directory. It is left behind when a test fails.
int main(int argc, char** argv) {
    testing::InitGoogleTest(&argc, argv);
    const auto scratch = std::filesystem::path(TARO25D_SCRATCH_DIR) / std::to_string(getpid());
    std::filesystem::create_directories(scratch);
    std::filesystem::current_path(scratch);
    const int result = RUN_ALL_TESTS();
    std::filesystem::current_path(TARO25D_SCRATCH_DIR);
    if (result == 0) std::filesystem::remove_all(scratch);
    return result;
}
