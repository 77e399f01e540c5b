#pragma once

// Wake locks, as the platform's libhardware_legacy offers them: while a process holds a wake lock
// with some id, the system does not suspend.
//
//   if (acquire_wake_lock(PARTIAL_WAKE_LOCK, "my_hal") == 0) {
//       ...                       // work that must not be suspended
//       release_wake_lock("my_hal");
//   }
//
// On a Linux host the kernel's wake lock files do the work: /sys/power/wake_lock and
// /sys/power/wake_unlock, which exist on kernels built with CONFIG_PM_WAKELOCKS and take a write
// from a privileged process only.

#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

enum {
    // Keeps the processor running; the screen may go off.
    PARTIAL_WAKE_LOCK = 1,
    // Keeps the screen on as well.
    FULL_WAKE_LOCK = 2,
};

// Takes the wake lock `id`. The type is not looked at: every lock is partial. Returns 0 on success
// and -1 on failure (no wake lock interface, or no right to use it), with errno set.
int acquire_wake_lock(int lock, const char* id);

// Drops the wake lock `id`. Returns 0 on success and -1 on failure, with errno set.
int release_wake_lock(const char* id);

#ifdef __cplusplus
}  // extern "C"
#endif
