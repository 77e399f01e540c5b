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

namespace {

// Whether text is well-formed UTF-8: no stray continuation bytes, no overlong forms, no surrogates,
// nothing above U+10FFFF.
bool IsValidUtf8(const char* text) {
    const auto* s = reinterpret_cast<const unsigned char*>(text);
    while (*s != 0) {
        const unsigned char lead = *s++;
        if (lead < 0x80) continue;
        int continuation;
        uint32_t code_point;
        uint32_t minimum;
        if ((lead & 0xE0) == 0xC0) {
            continuation = 1, code_point = lead & 0x1F, minimum = 0x80;
        } else if ((lead & 0xF0) == 0xE0) {
            continuation = 2, code_point = lead & 0x0F, minimum = 0x800;
        } else if ((lead & 0xF8) == 0xF0) {
            continuation = 3, code_point = lead & 0x07, minimum = 0x10000;
        } else {
            return false;
        }
        for (; continuation > 0; --continuation) {
            if ((*s & 0xC0) != 0x80) return false;
            code_point = (code_point << 6) | (*s++ & 0x3F);
        }
        if (code_point < minimum || code_point > 0x10FFFF ||
            (code_point >= 0xD800 && code_point <= 0xDFFF)) {
            return false;
        }
    }
    return true;
}

}  // namespace

extern "C" {

AApexInfoError AApexInfo_create(AApexInfo** info) {
    *info = nullptr;
    return AAPEXINFO_NO_APEX;
}

AApexInfoError AApexInfo_createWithName(const char* name, AApexInfo** info) {
    *info = nullptr;
    if (name == nullptr || !IsValidUtf8(name)) return AAPEXINFO_INVALID_APEX_NAME;
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
