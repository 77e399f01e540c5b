#pragma once

// Binder objects of the host: an AIBinder is a reference-counted, in-process object of one
// AIBinder_Class (named by its interface descriptor) that carries the user data its class made for
// it. A host has no binder driver, so there are no remote binders and no transactions: a binder
// written into a parcel is read back as the same object.
//
//   AIBinder_Class* clazz = AIBinder_Class_define("my.IThing", OnCreate, OnDestroy, nullptr);
//   AIBinder* binder = AIBinder_new(clazz, &args);   // one strong reference, owned by the caller
//   AIBinder_decStrong(binder);                      // the last one destroys it (OnDestroy)

#include <stdbool.h>
#include <stdint.h>

#include <android/binder_parcel.h>
#include <android/binder_status.h>

#ifdef __cplusplus
extern "C" {
#endif

typedef uint32_t transaction_code_t;

struct AIBinder;
typedef struct AIBinder AIBinder;
struct AIBinder_Class;
typedef struct AIBinder_Class AIBinder_Class;
struct AIBinder_Weak;
typedef struct AIBinder_Weak AIBinder_Weak;

// Makes the user data of a new binder from the args given to AIBinder_new.
typedef void* (*AIBinder_Class_onCreate)(void* args);
// Releases the user data when the binder is destroyed.
typedef void (*AIBinder_Class_onDestroy)(void* userData);
typedef binder_status_t (*AIBinder_Class_onTransact)(AIBinder* binder, transaction_code_t code,
                                                     const AParcel* in, AParcel* out);

// Defines a class; it lives as long as the process. The descriptor is copied. Null when any
// argument is null, as on the platform, although host binders never receive transactions.
__attribute__((warn_unused_result)) AIBinder_Class* AIBinder_Class_define(
        const char* interfaceDescriptor, AIBinder_Class_onCreate onCreate,
        AIBinder_Class_onDestroy onDestroy, AIBinder_Class_onTransact onTransact);
const char* AIBinder_Class_getDescriptor(const AIBinder_Class* clazz);

// A new binder with one strong reference owned by the caller. Null when clazz is null.
__attribute__((warn_unused_result)) AIBinder* AIBinder_new(const AIBinder_Class* clazz, void* args);
void AIBinder_incStrong(AIBinder* binder);
void AIBinder_decStrong(AIBinder* binder);
// The strong count, or -1 for a null binder.
int32_t AIBinder_debugGetRefCount(AIBinder* binder);

// Host binders are local: never remote, always alive.
bool AIBinder_isRemote(const AIBinder* binder);
bool AIBinder_isAlive(const AIBinder* binder);
binder_status_t AIBinder_ping(AIBinder* binder);

// True when the binder is of this class (a host binder has exactly one class).
bool AIBinder_associateClass(AIBinder* binder, const AIBinder_Class* clazz);
const AIBinder_Class* AIBinder_getClass(AIBinder* binder);
void* AIBinder_getUserData(AIBinder* binder);
// Orders binders by identity, as for a std::map key.
bool AIBinder_lt(const AIBinder* lhs, const AIBinder* rhs);

// Weak references: promote gives a new strong reference, or null once the binder is gone.
__attribute__((warn_unused_result)) AIBinder_Weak* AIBinder_Weak_new(AIBinder* binder);
// Null is fine.
void AIBinder_Weak_delete(AIBinder_Weak* weakBinder);
__attribute__((warn_unused_result)) AIBinder* AIBinder_Weak_promote(AIBinder_Weak* weakBinder);

#ifdef __cplusplus
}  // extern "C"
#endif
