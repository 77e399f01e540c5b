#pragma once

// How far a binder may travel. A binder of an interface that crosses the boundary between the
// vendor and system partitions (an AIDL interface marked @VintfStability) is marked so before it is
// handed out; the mark travels with it in a parcel.
//
//   AIBinder* binder = AIBinder_new(clazz, this);
//   AIBinder_markVintfStability(binder);

#include <android/binder_ibinder.h>

#ifdef __cplusplus
extern "C" {
#endif

void AIBinder_markVintfStability(AIBinder* binder);

#ifdef __cplusplus
}  // extern "C"
#endif
