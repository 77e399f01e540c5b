#include <wake_lock.h>

#include <errno.h>

#include <string>
#include <vector>

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
using autl::test::WakeLockCall;
using testing::ElementsAre;

constexpr char kTag[] = "AUtl::WakeLock";

TEST(WakeLockTest, AcquireTwiceReleaseOnce_EachCallReachesThePlatform) {
    FakeWakeLock platform;
    LogCapture logs;
    WakeLock wake_lock("audio_hal_offload");

    EXPECT_TRUE(wake_lock.Acquire());
    EXPECT_TRUE(wake_lock.Acquire());
    EXPECT_TRUE(wake_lock.Release());

    EXPECT_THAT(platform.Calls(),
                ElementsAre(WakeLockCall{WakeLockCall::kAcquire, 1, "audio_hal_offload"},
                            WakeLockCall{WakeLockCall::kAcquire, 1, "audio_hal_offload"},
                            WakeLockCall{WakeLockCall::kRelease, 0, "audio_hal_offload"}));
    EXPECT_THAT(
            logs.Lines(kTag),
            ElementsAre(LogLine{INFO, kTag, "Acquire: acquired wake lock for audio_hal_offload"},
                        LogLine{INFO, kTag, "Acquire: acquired wake lock for audio_hal_offload"},
                        LogLine{INFO, kTag, "Release: released wake lock for audio_hal_offload"}));
}

// Only 0 is success: the classic platform answered a byte count, which must not pass for it.
TEST(WakeLockTest, NonZeroResult_FalseWithWarningAndStaysUsable) {
    for (const int result : {-1, 9}) {
        SCOPED_TRACE(result);
        FakeWakeLock platform;
        LogCapture logs;
        WakeLock wake_lock("hal");

        platform.SetAcquireResult(result, EACCES);
        errno = 0;
        EXPECT_FALSE(wake_lock.Acquire());
        EXPECT_EQ(EACCES, errno);

        platform.SetReleaseResult(result, ENOENT);
        errno = 0;
        EXPECT_FALSE(wake_lock.Release());
        EXPECT_EQ(ENOENT, errno);

        EXPECT_THAT(
                logs.Lines(kTag),
                ElementsAre(LogLine{WARNING, kTag, "Acquire: failed to acquire wake lock for hal"},
                            LogLine{WARNING, kTag, "Release: failed to release wake lock for hal"}));

        platform.SetAcquireResult(0);
        platform.SetReleaseResult(0);
        EXPECT_TRUE(wake_lock.Acquire());
        EXPECT_TRUE(wake_lock.Release());
        EXPECT_EQ(platform.Calls().size(), 4u);
    }
}

}  // namespace
}  // namespace vendor::zentro::tevrash::audio::hal::utils
