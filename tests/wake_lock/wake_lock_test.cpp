#include <wake_lock.h>

#include <errno.h>
#include <hardware_legacy/power.h>

#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "log_capture.h"

// The platform's wake lock calls, replaced at the link seam: each is recorded and answers `result`,
// setting errno to EACCES when it fails.
namespace {
std::vector<std::string> calls;
int result = 0;

int Answer(std::string call) {
    calls.push_back(std::move(call));
    if (result != 0) errno = EACCES;
    return result;
}
}  // namespace

extern "C" int acquire_wake_lock(int lock, const char* id) {
    return Answer("acquire " + std::to_string(lock) + " " + id);
}

extern "C" int release_wake_lock(const char* id) {
    return Answer(std::string("release ") + id);
}

namespace vendor::zentro::tevrash::audio::hal::utils {
namespace {

using testing::ElementsAre;

// Only 0 is success: the classic platform answered a byte count, which must not pass for it. A
// failure leaves errno as the platform set it.
TEST(WakeLockTest, EachCallReachesThePlatformAndIsLogged) {
    for (const int answer : {0, -1, 9}) {
        SCOPED_TRACE(answer);
        autl::test::LogCapture logs;
        calls.clear();
        result = answer;
        WakeLock wake_lock("hal");
        errno = 0;
        EXPECT_EQ(wake_lock.Acquire(), answer == 0);
        EXPECT_EQ(errno, answer == 0 ? 0 : EACCES);
        EXPECT_EQ(wake_lock.Release(), answer == 0);
        EXPECT_THAT(calls, ElementsAre("acquire 1 hal", "release hal"));
        using Lines = std::vector<std::string>;
        EXPECT_EQ(logs.Lines("AUtl::WakeLock"),
                  (answer == 0 ? Lines{"I Acquire: acquired wake lock for hal",
                                       "I Release: released wake lock for hal"}
                               : Lines{"W Acquire: failed to acquire wake lock for hal",
                                       "W Release: failed to release wake lock for hal"}));
    }
}

}  // namespace
}  // namespace vendor::zentro::tevrash::audio::hal::utils
