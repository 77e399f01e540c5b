#define LOG_TAG "AUtl::WakeLock"

#include <wake_lock.h>

#include <android-base/logging.h>
#include <hardware_legacy/power.h>

#include <utility>

namespace vendor::zentro::tevrash::audio::hal::utils {

WakeLock::WakeLock(std::string name) : name_(std::move(name)) {}

bool WakeLock::Acquire() {
    if (acquire_wake_lock(PARTIAL_WAKE_LOCK, name_.c_str()) != 0) {
        LOG(WARNING) << "Acquire: failed to acquire wake lock for " << name_;
        return false;
    }
    LOG(INFO) << "Acquire: acquired wake lock for " << name_;
    return true;
}

bool WakeLock::Release() {
    if (release_wake_lock(name_.c_str()) != 0) {
        LOG(WARNING) << "Release: failed to release wake lock for " << name_;
        return false;
    }
    LOG(INFO) << "Release: released wake lock for " << name_;
    return true;
}

}  // namespace vendor::zentro::tevrash::audio::hal::utils
