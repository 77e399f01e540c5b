#pragma once

// Information about APEXes, as the platform's libapexsupport offers it: a handle made for the APEX
// the calling program runs from tells that APEX's name and its manifest's version.
//
//   AApexInfo* info = nullptr;
//   if (AApexInfo_create(&info) == AAPEXINFO_OK) {
//       int64_t version = AApexInfo_getVersion(info);
//       AApexInfo_destroy(info);
//   }
//
// The same declarations as the platform's header, no more: AApexInfo_createWithName (an APEX by
// name, platform level 37) is in no public header yet, and this library lacks it as today's
// platform does. On a Linux host no program runs from an APEX. Include from C++ (the error type
// has a fixed underlying type).

#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

struct AApexInfo;
typedef struct AApexInfo AApexInfo;

typedef enum AApexInfoError : int32_t {
    AAPEXINFO_OK,
    // The calling program does not run from an APEX.
    AAPEXINFO_NO_APEX,
    // The calling program's executable path cannot be read.
    AAPEXINFO_ERROR_EXECUTABLE_PATH,
    // The APEX is ill-formed: its manifest is missing or invalid.
    AAPEXINFO_INVALID_APEX,
} AApexInfoError;

// The APEX the calling program belongs to. On success *info is a new handle to release with
// AApexInfo_destroy; on failure *info is null.
__attribute__((warn_unused_result)) AApexInfoError AApexInfo_create(AApexInfo** info);

// Releases a handle made by AApexInfo_create.
void AApexInfo_destroy(AApexInfo* info);

// The APEX's name; valid while the handle lives.
__attribute__((warn_unused_result)) const char* AApexInfo_getName(const AApexInfo* info);

// The version from the APEX's manifest.
int64_t AApexInfo_getVersion(const AApexInfo* info);

#ifdef __cplusplus
}  // extern "C"
#endif
