#include "fake_apexsupport.h"

#include <android/apexsupport.h>

#include <map>
#include <mutex>
#include <utility>

// The same layout as the stand-in's handle.
struct AApexInfo {
    std::string name;
    int64_t version;
};

namespace autl::test {
namespace {

struct State {
    std::mutex mutex;
    std::map<std::string, int64_t> installed;
    std::vector<std::string> create_calls;
    int open_handles = 0;
};

State& GetState() {
    static State state;
    return state;
}

void Reset() {
    State& state = GetState();
    std::lock_guard lock(state.mutex);
    state.installed.clear();
    state.create_calls.clear();
    state.open_handles = 0;
}

}  // namespace

FakeApexSupport::FakeApexSupport() {
    Reset();
}

FakeApexSupport::~FakeApexSupport() {
    Reset();
}

void FakeApexSupport::Install(std::string name, int64_t version) {
    State& state = GetState();
    std::lock_guard lock(state.mutex);
    state.installed[std::move(name)] = version;
}

std::vector<std::string> FakeApexSupport::CreateCalls() const {
    State& state = GetState();
    std::lock_guard lock(state.mutex);
    return state.create_calls;
}

int FakeApexSupport::OpenHandles() const {
    State& state = GetState();
    std::lock_guard lock(state.mutex);
    return state.open_handles;
}

}  // namespace autl::test

using autl::test::GetState;

// The calls the library makes; the others stay the stand-in's.
extern "C" {

AApexInfoError AApexInfo_createWithName(const char* name, AApexInfo** info) {
    auto& state = GetState();
    std::lock_guard lock(state.mutex);
    state.create_calls.emplace_back(name);
    const auto it = state.installed.find(name);
    if (it == state.installed.end()) {
        *info = nullptr;
        return AAPEXINFO_INVALID_APEX;
    }
    *info = new AApexInfo{it->first, it->second};
    ++state.open_handles;
    return AAPEXINFO_OK;
}

void AApexInfo_destroy(AApexInfo* info) {
    if (info == nullptr) return;
    auto& state = GetState();
    std::lock_guard lock(state.mutex);
    --state.open_handles;
    delete info;
}

int64_t AApexInfo_getVersion(const AApexInfo* info) {
    return info->version;
}

}  // extern "C"
