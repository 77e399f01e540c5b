#include <wake_lock.h>

#include <errno.h>

#include <string>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "fake_wake_lock.h"
#include "log_capture.h"

namespace vendor::zentro::tevrash::audio::hal::utils {
namespace {

using android::base::INFO;
using android::base::WARNING;
using autl::test::FakeWakeLock;
using autl::test::LogCapture;
using autl::test::LogLine;
using testing::ElementsAre;

constexpr char kTag[] = "AUtl::WakeLock";

// Every call reaches the platform, and only 0 is success: the classic platform answered a byte
// count, which must not pass for it. A failure leaves errno as the platform set it.
TEST(WakeLockTest, EachCallReachesThePlatformAndIsLogged) {
    const struct {
        int result;
        android::base::LogSeverity severity;
        const char* acquired;
        const char* released;
    } cases[] = {
            {0, INFO, "Acquire: acquired wake lock for hal", "Release: released wake lock for hal"},
            {-1, WARNING, "Acquire: failed to acquire wake lock for hal",
             "Release: failed to release wake lock for hal"},
            {9, WARNING, "Acquire: failed to acquire wake lock for hal",
             "Release: failed to release wake lock for hal"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.result);
        FakeWakeLock platform;
        LogCapture logs;
        WakeLock wake_lock("hal");
        platform.SetAcquireResult(c.result, EACCES);
        platform.SetReleaseResult(c.result, ENOENT);
        errno = 0;
        EXPECT_EQ(wake_lock.Acquire(), c.result == 0);
        EXPECT_EQ(errno, c.result == 0 ? 0 : EACCES);
        EXPECT_EQ(wake_lock.Acquire(), c.result == 0);
        EXPECT_EQ(wake_lock.Release(), c.result == 0);
        EXPECT_EQ(errno, c.result == 0 ? 0 : ENOENT);
        EXPECT_THAT(platform.Calls(),
                    ElementsAre("acquire_wake_lock(1, hal)", "acquire_wake_lock(1, hal)",
                                "release_wake_lock(hal)"));
        const LogLine acquired{c.severity, kTag, c.acquired};
        EXPECT_THAT(logs.Lines(kTag),
                    ElementsAre(acquired, acquired, LogLine{c.severity, kTag, c.released}));
    }
}

}  // namespace
}  // namespace vendor::zentro::tevrash::audio::hal::utils
