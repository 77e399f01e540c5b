#include "fake_apexsupport.h"

#include <android/apexsupport.h>

#include <map>
#include <mutex>

// The same layout as the stand-in's handle.
struct AApexInfo {
    std::string name;
    int64_t version;
};

namespace {

std::mutex mutex;
std::map<std::string, int64_t> installed;
std::vector<std::string> create_calls;
int open_handles = 0;

void Reset() {
    std::lock_guard lock(mutex);
    installed.clear();
    create_calls.clear();
    open_handles = 0;
}

}  // namespace

namespace autl::test {

FakeApexSupport::FakeApexSupport() {
    Reset();
}

FakeApexSupport::~FakeApexSupport() {
    Reset();
}

void FakeApexSupport::Install(std::string name, int64_t version) {
    std::lock_guard lock(mutex);
    installed[std::move(name)] = version;
}

std::vector<std::string> FakeApexSupport::CreateCalls() const {
    std::lock_guard lock(mutex);
    return create_calls;
}

int FakeApexSupport::OpenHandles() const {
    std::lock_guard lock(mutex);
    return open_handles;
}

}  // namespace autl::test

// The calls the library makes; the others stay the stand-in's. The library finds
// AApexInfo_createWithName at run time, in the program's exported symbols (see CMakeLists.txt).
extern "C" {

// Declared by no public header yet.
AApexInfoError AApexInfo_createWithName(const char* name, AApexInfo** info);

AApexInfoError AApexInfo_createWithName(const char* name, AApexInfo** info) {
    std::lock_guard lock(mutex);
    create_calls.emplace_back(name);
    const auto it = installed.find(name);
    *info = it != installed.end() ? new AApexInfo{it->first, it->second} : nullptr;
    open_handles += *info != nullptr;
    return *info != nullptr ? AAPEXINFO_OK : AAPEXINFO_INVALID_APEX;
}

void AApexInfo_destroy(AApexInfo* info) {
    std::lock_guard lock(mutex);
    open_handles -= info != nullptr;
    delete info;
}

int64_t AApexInfo_getVersion(const AApexInfo* info) {
    return info->version;
}

}  // extern "C"
