#include "fake_wake_lock.h"

#include <errno.h>
#include <hardware_legacy/power.h>

#include <mutex>
#include <utility>

namespace autl::test {
namespace {

struct Result {
    int value = 0;
    int error = 0;
};

struct State {
    std::mutex mutex;
    Result acquire;
    Result release;
    std::vector<WakeLockCall> calls;
};

State& GetState() {
    static State state;
    return state;
}

void Reset() {
    State& state = GetState();
    std::lock_guard lock(state.mutex);
    state.acquire = {};
    state.release = {};
    state.calls.clear();
}

int Record(WakeLockCall call, Result State::*result) {
    State& state = GetState();
    std::lock_guard lock(state.mutex);
    state.calls.push_back(std::move(call));
    const Result scripted = state.*result;
    if (scripted.value != 0) errno = scripted.error;
    return scripted.value;
}

}  // namespace

std::ostream& operator<<(std::ostream& out, const WakeLockCall& call) {
    return out << "{" << (call.kind == WakeLockCall::kAcquire ? "acquire" : "release") << ", "
               << call.lock << ", \"" << call.id << "\"}";
}

FakeWakeLock::FakeWakeLock() {
    Reset();
}

FakeWakeLock::~FakeWakeLock() {
    Reset();
}

void FakeWakeLock::SetAcquireResult(int result, int error) {
    State& state = GetState();
    std::lock_guard lock(state.mutex);
    state.acquire = {result, error};
}

void FakeWakeLock::SetReleaseResult(int result, int error) {
    State& state = GetState();
    std::lock_guard lock(state.mutex);
    state.release = {result, error};
}

std::vector<WakeLockCall> FakeWakeLock::Calls() const {
    State& state = GetState();
    std::lock_guard lock(state.mutex);
    return state.calls;
}

}  // namespace autl::test

extern "C" {

int acquire_wake_lock(int lock, const char* id) {
    using autl::test::WakeLockCall;
    return autl::test::Record({WakeLockCall::kAcquire, lock, id}, &autl::test::State::acquire);
}

int release_wake_lock(const char* id) {
    using autl::test::WakeLockCall;
    return autl::test::Record({WakeLockCall::kRelease, 0, id}, &autl::test::State::release);
}

}  // extern "C"
