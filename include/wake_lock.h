#pragma once

// A named handle on the platform's partial wake lock: while it is held the system stays awake (the
// processor runs, the screen may go off).
//
//   WakeLock wake_lock("audio_hal_offload");
//   wake_lock.Acquire();       // before draining an offloaded stream
//   ...
//   wake_lock.Release();       // once the drain is over
//
// The handle keeps no count and no flag: every call goes straight to the platform, whose own
// bookkeeping decides what a second Acquire or a Release of a lock not held means (on today's
// platform a lock is held once per id and one Release drops it). Constructing and destroying the
// handle acquire and release nothing; a lock still held when the handle goes stays held.
// No lock is taken; calls from several threads reach the platform independently.

#include <string>

namespace vendor::zentro::tevrash::audio::hal::utils {

class WakeLock {
  public:
    // `name` is the wake lock's id as the platform and the log lines show it.
    explicit WakeLock(std::string name);

    // True when the platform took the lock; logs at INFO on success and at WARNING on failure,
    // keeping errno as the platform left it.
    bool Acquire();
    // True when the platform dropped the lock; logs at INFO on success and at WARNING on failure,
    // keeping errno as the platform left it.
    bool Release();

  private:
    const std::string name_;
};

}  // namespace vendor::zentro::tevrash::audio::hal::utils
