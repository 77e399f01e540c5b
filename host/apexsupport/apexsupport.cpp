// libapexsupport on a Linux host. A host has no /apex: no program runs from an APEX and no APEX is
// installed, so every lookup fails the way the platform's does for a missing APEX and no handle is
// ever handed out. The handle type, destroy and the getters are still whole, so that the library
// offers every call the platform's does with the same meaning.

#include <android/apexsupport.h>

#include <cstdint>
#include <string>

struct AApexInfo {
    std::string name;
    int64_t version;
};

extern "C" {

AApexInfoError AApexInfo_create(AApexInfo** info) {
    *info = nullptr;
    return AAPEXINFO_NO_APEX;
}

AApexInfoError AApexInfo_createWithName(const char* /*name*/, AApexInfo** info) {
    *info = nullptr;
    return AAPEXINFO_INVALID_APEX;
}

void AApexInfo_destroy(AApexInfo* info) {
    delete info;
}

const char* AApexInfo_getName(const AApexInfo* info) {
    return info->name.c_str();
}

int64_t AApexInfo_getVersion(const AApexInfo* info) {
    return info->version;
}

}  // extern "C"
