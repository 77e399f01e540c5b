// libhardware_legacy's wake locks on a Linux host, over the kernel's wake lock files as the
// platform's first implementation used them: the id goes into /sys/power/wake_lock to acquire and
// into /sys/power/wake_unlock to release. The results follow today's platform: 0 for success, -1
// for failure, and the lock type is ignored.

#include <hardware_legacy/power.h>

#include <errno.h>
#include <fcntl.h>
#include <string.h>
#include <unistd.h>

#include "power_sysfs.h"

namespace android::hardware_legacy {

int WriteWakeLockFile(const char* path, const char* id) {
    if (id == nullptr) {
        errno = EINVAL;
        return -1;
    }
    const int fd = TEMP_FAILURE_RETRY(open(path, O_WRONLY | O_CLOEXEC));
    if (fd < 0) return -1;
    const size_t length = strlen(id);
    const ssize_t written = TEMP_FAILURE_RETRY(write(fd, id, length));
    const int write_errno = errno;
    close(fd);
    if (written < 0) {
        errno = write_errno;
        return -1;
    }
    if (static_cast<size_t>(written) != length) {
        errno = EIO;
        return -1;
    }
    return 0;
}

}  // namespace android::hardware_legacy

extern "C" {

int acquire_wake_lock(int /*lock*/, const char* id) {
    return android::hardware_legacy::WriteWakeLockFile(android::hardware_legacy::kWakeLockPath, id);
}

int release_wake_lock(const char* id) {
    return android::hardware_legacy::WriteWakeLockFile(android::hardware_legacy::kWakeUnlockPath,
                                                       id);
}

}  // extern "C"
