#pragma once

// Status codes of the Binder NDK and AStatus, the result of a binder call: an exception code, a
// transaction status or a service-specific error, with an optional message.
//
//   AStatus* status = AStatus_fromServiceSpecificErrorWithMessage(3, "no such port");
//   bool ok = AStatus_isOk(status);   // false
//   AStatus_delete(status);

#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

// Low-level status of a parcel operation or a transaction (the platform's status_t values).
enum {
    STATUS_OK = 0,
    STATUS_UNKNOWN_ERROR = (-2147483647 - 1),
    STATUS_NO_MEMORY = -12,
    STATUS_INVALID_OPERATION = -38,
    STATUS_BAD_VALUE = -22,
    STATUS_BAD_TYPE = (STATUS_UNKNOWN_ERROR + 1),
    STATUS_NAME_NOT_FOUND = -2,
    STATUS_PERMISSION_DENIED = -1,
    STATUS_NO_INIT = -19,
    STATUS_ALREADY_EXISTS = -17,
    STATUS_DEAD_OBJECT = -32,
    STATUS_FAILED_TRANSACTION = (STATUS_UNKNOWN_ERROR + 2),
    STATUS_BAD_INDEX = -75,
    STATUS_NOT_ENOUGH_DATA = -61,
    STATUS_WOULD_BLOCK = -11,
    STATUS_TIMED_OUT = -110,
    STATUS_UNKNOWN_TRANSACTION = -74,
    STATUS_FDS_NOT_ALLOWED = (STATUS_UNKNOWN_ERROR + 7),
    STATUS_UNEXPECTED_NULL = (STATUS_UNKNOWN_ERROR + 8),
};
typedef int32_t binder_status_t;

// Exception codes carried by an AStatus.
enum {
    EX_NONE = 0,
    EX_SECURITY = -1,
    EX_BAD_PARCELABLE = -2,
    EX_ILLEGAL_ARGUMENT = -3,
    EX_NULL_POINTER = -4,
    EX_ILLEGAL_STATE = -5,
    EX_NETWORK_MAIN_THREAD = -6,
    EX_UNSUPPORTED_OPERATION = -7,
    EX_SERVICE_SPECIFIC = -8,
    EX_PARCELABLE = -9,
    EX_TRANSACTION_FAILED = -129,
};
typedef int32_t binder_exception_t;

struct AStatus;
typedef struct AStatus AStatus;

// Every constructor returns a new object that the caller releases with AStatus_delete. The
// functions below take a status that is not null, as on the platform.
__attribute__((warn_unused_result)) AStatus* AStatus_newOk(void);
__attribute__((warn_unused_result)) AStatus* AStatus_fromExceptionCode(binder_exception_t exception);
__attribute__((warn_unused_result)) AStatus* AStatus_fromExceptionCodeWithMessage(
        binder_exception_t exception, const char* message);
__attribute__((warn_unused_result)) AStatus* AStatus_fromServiceSpecificError(
        int32_t serviceSpecific);
__attribute__((warn_unused_result)) AStatus* AStatus_fromServiceSpecificErrorWithMessage(
        int32_t serviceSpecific, const char* message);
// STATUS_OK gives an ok status; any other value an EX_TRANSACTION_FAILED carrying it.
__attribute__((warn_unused_result)) AStatus* AStatus_fromStatus(binder_status_t status);

bool AStatus_isOk(const AStatus* status);
binder_exception_t AStatus_getExceptionCode(const AStatus* status);
// 0 unless the exception is EX_SERVICE_SPECIFIC.
int32_t AStatus_getServiceSpecificError(const AStatus* status);
// STATUS_OK unless the exception is EX_TRANSACTION_FAILED.
binder_status_t AStatus_getStatus(const AStatus* status);
// Never null; empty when there is no message. Valid while the status lives.
const char* AStatus_getMessage(const AStatus* status);
// A new text describing the status, released with AStatus_deleteDescription.
__attribute__((warn_unused_result)) const char* AStatus_getDescription(const AStatus* status);
void AStatus_deleteDescription(const char* description);
// Null is fine.
void AStatus_delete(AStatus* status);

#ifdef __cplusplus
}  // extern "C"
#endif
