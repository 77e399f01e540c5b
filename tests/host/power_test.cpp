#include <hardware_legacy/power.h>

#include <android-base/file.h>
#include <errno.h>
#include <unistd.h>

#include <string>

#include <gtest/gtest.h>

#include "power_sysfs.h"

namespace android::hardware_legacy {
namespace {

TEST(PowerTest, WriteWakeLockFile_WritesTheIdOrFailsWithErrno) {
    TemporaryDir dir;
    const std::string file = std::string(dir.path) + "/wake_lock";
    const std::string missing = std::string(dir.path) + "/missing";
    ASSERT_TRUE(base::WriteStringToFile("", file));
    const struct {
        std::string path;
        const char* id;
        int error;
    } kFailures[] = {
            {missing, "hal", ENOENT},
            {"/dev/full", "hal", ENOSPC},
            {file, nullptr, EINVAL},
    };
    for (const auto& c : kFailures) {
        if (access(c.path.c_str(), F_OK) != 0 && c.error == ENOSPC) continue;  // no /dev/full here
        errno = 0;
        EXPECT_EQ(WriteWakeLockFile(c.path.c_str(), c.id), -1) << c.path;
        EXPECT_EQ(errno, c.error) << c.path;
    }
    EXPECT_NE(access(missing.c_str(), F_OK), 0);
    // The id goes in without a newline.
    EXPECT_EQ(WriteWakeLockFile(file.c_str(), "audio_hal"), 0);
    std::string content;
    ASSERT_TRUE(base::ReadFileToString(file, &content));
    EXPECT_EQ(content, "audio_hal");
}

// Where the kernel offers no wake lock files, as on most workstations and containers, both calls
// fail. Where it does, the test would take a real wake lock, so it does not run.
TEST(PowerTest, AcquireRelease_FailWithoutKernelWakeLocks) {
    if (access(kWakeLockPath, F_OK) == 0 || access(kWakeUnlockPath, F_OK) == 0) {
        GTEST_SKIP() << "this kernel has wake lock files";
    }
    for (const int lock : {PARTIAL_WAKE_LOCK, FULL_WAKE_LOCK}) {
        errno = 0;
        EXPECT_EQ(acquire_wake_lock(lock, "autl_test"), -1);
        EXPECT_EQ(errno, ENOENT);
    }
    errno = 0;
    EXPECT_EQ(release_wake_lock("autl_test"), -1);
    EXPECT_EQ(errno, ENOENT);
}

}  // namespace
}  // namespace android::hardware_legacy
