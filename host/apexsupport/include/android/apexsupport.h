#pragma once

// Information about APEXes, as the platform's libapexsupport offers it: a handle made for an APEX
// by name (or for the APEX the caller runs from) tells its name and its manifest's version.
//
//   AApexInfo* info = nullptr;
//   if (AApexInfo_createWithName("com.example.apex", &info) == AAPEXINFO_OK) {
//       int64_t version = AApexInfo_getVersion(info);
//       AApexInfo_destroy(info);
//   }
//
// On a Linux host there is no APEX: every lookup answers as the platform does for an APEX that is
// not installed. Include from C++ (the error type has a fixed underlying type).

#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

struct AApexInfo;
typedef struct AApexInfo AApexInfo;

typedef enum AApexInfoError : int32_t {
    AAPEXINFO_OK = 0,
    // The caller does not run from an APEX.
    AAPEXINFO_NO_APEX = 1,
    // The caller's executable path cannot be read.
    AAPEXINFO_ERROR_EXECUTABLE_PATH = 2,
    // The APEX is not installed, or its manifest is missing or invalid.
    AAPEXINFO_INVALID_APEX = 3,
    // The name given to AApexInfo_createWithName is not valid UTF-8.
    AAPEXINFO_INVALID_APEX_NAME = 4,
} AApexInfoError;

// The APEX the calling executable belongs to. On success *info is a new handle to release with
// AApexInfo_destroy; on failure *info is null.
__attribute__((warn_unused_result)) AApexInfoError AApexInfo_create(AApexInfo** info);

// The installed APEX called `name`. On success *info is a new handle to release with
// AApexInfo_destroy; on failure *info is null.
__attribute__((warn_unused_result)) AApexInfoError AApexInfo_createWithName(const char* name,
                                                                            AApexInfo** info);

// Releases a handle; null is ignored.
void AApexInfo_destroy(AApexInfo* info);

// The APEX's name; valid while the handle lives.
__attribute__((warn_unused_result)) const char* AApexInfo_getName(const AApexInfo* info);

// The version from the APEX's manifest.
int64_t AApexInfo_getVersion(const AApexInfo* info);

#ifdef __cplusplus
}  // extern "C"
#endif
