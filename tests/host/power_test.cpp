#include <hardware_legacy/power.h>

#include <errno.h>
#include <signal.h>
#include <sys/resource.h>
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
            {"file at the size limit", file, "hal", EFBIG},  // a full disk
            {"no id", file, nullptr, EINVAL},
    };
    rlimit limit = {};
    ASSERT_EQ(getrlimit(RLIMIT_FSIZE, &limit), 0);
    rlimit zero = limit;
    zero.rlim_cur = 0;
    const sighandler_t previous = signal(SIGXFSZ, SIG_IGN);
    for (const auto& c : kFailures) {
        SCOPED_TRACE(c.what);
        ASSERT_EQ(setrlimit(RLIMIT_FSIZE, &zero), 0);
        errno = 0;
        const int result = WriteWakeLockFile(c.path.c_str(), c.id);
        const int error = errno;
        setrlimit(RLIMIT_FSIZE, &limit);
        EXPECT_EQ(result, -1);
        EXPECT_EQ(error, c.error);
    }
    signal(SIGXFSZ, previous);
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
