#pragma once

// What the parcel needs to know of a binder beyond the public C API.

#include <cstdint>

#include <android/binder_ibinder.h>

namespace ndk::internal {

// The stability word that follows the binder's object in a parcel.
int32_t GetStability(const AIBinder* binder);

}  // namespace ndk::internal
