#pragma once

// The step shared by acquire and release: one write of an id into a kernel wake lock file.

namespace android::hardware_legacy {

inline constexpr char kWakeLockPath[] = "/sys/power/wake_lock";
inline constexpr char kWakeUnlockPath[] = "/sys/power/wake_unlock";

// Writes `id` (without a newline) into the file at `path` in one write. Returns 0 when the whole id
// went in, and -1 when the file cannot be opened for writing or the write fails or falls short,
// with errno set.
int WriteWakeLockFile(const char* path, const char* id);

}  // namespace android::hardware_legacy
