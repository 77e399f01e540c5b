#pragma once

// Replaces libhardware_legacy's wake locks in a test program: acquire_wake_lock and
// release_wake_lock record each call and return the result the test scripted (0 unless told
// otherwise; a failing call also sets the scripted errno). Creating a FakeWakeLock starts from no
// calls and success.
//
//   FakeWakeLock platform;
//   platform.SetAcquireResult(-1, EACCES);
//   EXPECT_FALSE(WakeLock("hal").Acquire());
//   EXPECT_THAT(platform.Calls(), ElementsAre("acquire_wake_lock(1, hal)"));

#include <string>
#include <vector>

namespace autl::test {

class FakeWakeLock {
  public:
    FakeWakeLock();
    FakeWakeLock(const FakeWakeLock&) = delete;
    FakeWakeLock& operator=(const FakeWakeLock&) = delete;

    // What the following calls return; a non-zero result also sets errno to `error`.
    void SetAcquireResult(int result, int error = 0);
    void SetReleaseResult(int result, int error = 0);
    // Every call so far, in order, written like the call.
    std::vector<std::string> Calls() const;
};

}  // namespace autl::test
