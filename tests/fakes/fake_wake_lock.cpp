#include "fake_wake_lock.h"

#include <errno.h>
#include <hardware_legacy/power.h>

#include <mutex>

namespace {

struct Result {
    int value = 0;
    int error = 0;
};

std::mutex mutex;
Result acquire_result;
Result release_result;
std::vector<std::string> calls;

int Record(std::string call, const Result& result) {
    std::lock_guard lock(mutex);
    calls.push_back(std::move(call));
    if (result.value != 0) errno = result.error;
    return result.value;
}

}  // namespace

namespace autl::test {

FakeWakeLock::FakeWakeLock() {
    std::lock_guard lock(mutex);
    acquire_result = release_result = {};
    calls.clear();
}

void FakeWakeLock::SetAcquireResult(int result, int error) {
    std::lock_guard lock(mutex);
    acquire_result = {result, error};
}

void FakeWakeLock::SetReleaseResult(int result, int error) {
    std::lock_guard lock(mutex);
    release_result = {result, error};
}

std::vector<std::string> FakeWakeLock::Calls() const {
    std::lock_guard lock(mutex);
    return calls;
}

}  // namespace autl::test

extern "C" int acquire_wake_lock(int lock, const char* id) {
    return Record("acquire_wake_lock(" + std::to_string(lock) + ", " + id + ")", acquire_result);
}

extern "C" int release_wake_lock(const char* id) {
    return Record("release_wake_lock(" + std::string(id) + ")", release_result);
}
