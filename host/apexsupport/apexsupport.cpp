// libapexsupport on a Linux host. A host has no /apex: no program runs from an APEX, so
// AApexInfo_create fails the way the platform's does outside an APEX and no handle is ever handed
// out. The handle type, destroy and the getters are still whole, so that the library offers every
// call the platform's does with the same meaning. Like today's platform it has no
// AApexInfo_createWithName.

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
