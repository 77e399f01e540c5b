#include <hardware_legacy/power.h>

#include <errno.h>
#include <unistd.h>

#include <fstream>
#include <string>

#include <gtest/gtest.h>

#include "power_sysfs.h"
#include "temp_dir.h"

namespace android::hardware_legacy {
namespace {

using autl::test::ReadFile;
using autl::test::TempDir;

TEST(PowerTest, WriteWakeLockFile_WritesTheIdOrFailsWithErrno) {
    TempDir dir;
    const std::string file = dir.Join("wake_lock");
    std::ofstream(file).close();
    const struct {
        const char* what;
        std::string path;
        const char* id;
        int error;
    } kFailures[] = {
            {"missing file", dir.Join("missing"), "hal", ENOENT},
            {"full device", "/dev/full", "hal", ENOSPC},
            {"no id", file, nullptr, EINVAL},
    };
    for (const auto& c : kFailures) {
        SCOPED_TRACE(c.what);
        errno = 0;
        EXPECT_EQ(WriteWakeLockFile(c.path.c_str(), c.id), -1);
        EXPECT_EQ(errno, c.error);
    }
    EXPECT_NE(access(dir.Join("missing").c_str(), F_OK), 0);
    EXPECT_EQ(ReadFile(file), "");
    // The id goes in without a newline.
    EXPECT_EQ(WriteWakeLockFile(file.c_str(), "audio_hal"), 0);
    EXPECT_EQ(ReadFile(file), "audio_hal");
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
