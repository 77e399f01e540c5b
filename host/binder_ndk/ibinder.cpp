#include <android/binder_ibinder.h>
#include <android/binder_stability.h>

#include <atomic>
#include <memory>
#include <mutex>
#include <string>

#include "ibinder_internal.h"

namespace {

// The representation of a binder in a parcel says how far it may travel.
constexpr int32_t kStabilityUndeclared = 0;
constexpr int32_t kStabilityVintf = 0b111111;

// What weak references point at: the binder while it has strong references, then null.
struct WeakTarget {
    std::mutex mutex;
    AIBinder* binder;
};

}  // namespace

struct AIBinder_Class {
    std::string descriptor;
    AIBinder_Class_onCreate on_create;
    AIBinder_Class_onDestroy on_destroy;
    AIBinder_Class_onTransact on_transact;
};

struct AIBinder {
    const AIBinder_Class* clazz;
    void* user_data;
    std::atomic<int32_t> strong{1};
    std::atomic<int32_t> stability{kStabilityUndeclared};
    std::shared_ptr<WeakTarget> weak;
};

struct AIBinder_Weak {
    std::shared_ptr<WeakTarget> target;
};

namespace ndk::internal {

int32_t GetStability(const AIBinder* binder) {
    return binder == nullptr ? kStabilityUndeclared : binder->stability.load();
}

}  // namespace ndk::internal

extern "C" {

AIBinder_Class* AIBinder_Class_define(const char* interfaceDescriptor,
                                      AIBinder_Class_onCreate onCreate,
                                      AIBinder_Class_onDestroy onDestroy,
                                      AIBinder_Class_onTransact onTransact) {
    if (interfaceDescriptor == nullptr || onCreate == nullptr || onDestroy == nullptr ||
        onTransact == nullptr) {
        return nullptr;
    }
    // Classes live as long as the process, as on the platform.
    return new AIBinder_Class{interfaceDescriptor, onCreate, onDestroy, onTransact};
}

const char* AIBinder_Class_getDescriptor(const AIBinder_Class* clazz) {
    return clazz == nullptr ? nullptr : clazz->descriptor.c_str();
}

AIBinder* AIBinder_new(const AIBinder_Class* clazz, void* args) {
    if (clazz == nullptr) return nullptr;
    auto* binder = new AIBinder{clazz, clazz->on_create(args), 1, kStabilityUndeclared,
                                std::make_shared<WeakTarget>()};
    binder->weak->binder = binder;
    return binder;
}

void AIBinder_incStrong(AIBinder* binder) {
    if (binder != nullptr) binder->strong.fetch_add(1, std::memory_order_relaxed);
}

void AIBinder_decStrong(AIBinder* binder) {
    if (binder == nullptr) return;
    {
        // Under the weak target's lock, so that a promotion never revives a dying binder.
        std::lock_guard<std::mutex> lock(binder->weak->mutex);
        if (binder->strong.fetch_sub(1, std::memory_order_acq_rel) != 1) return;
        binder->weak->binder = nullptr;
    }
    binder->clazz->on_destroy(binder->user_data);
    delete binder;
}

int32_t AIBinder_debugGetRefCount(AIBinder* binder) {
    return binder == nullptr ? -1 : binder->strong.load();
}

bool AIBinder_isRemote(const AIBinder*) {
    return false;
}

bool AIBinder_isAlive(const AIBinder* binder) {
    return binder != nullptr;
}

binder_status_t AIBinder_ping(AIBinder* binder) {
    return binder == nullptr ? STATUS_UNEXPECTED_NULL : STATUS_OK;
}

bool AIBinder_associateClass(AIBinder* binder, const AIBinder_Class* clazz) {
    return binder != nullptr && clazz != nullptr && binder->clazz == clazz;
}

const AIBinder_Class* AIBinder_getClass(AIBinder* binder) {
    return binder == nullptr ? nullptr : binder->clazz;
}

void* AIBinder_getUserData(AIBinder* binder) {
    return binder == nullptr ? nullptr : binder->user_data;
}

bool AIBinder_lt(const AIBinder* lhs, const AIBinder* rhs) {
    return std::less<const AIBinder*>()(lhs, rhs);
}

void AIBinder_markVintfStability(AIBinder* binder) {
    if (binder != nullptr) binder->stability = kStabilityVintf;
}

AIBinder_Weak* AIBinder_Weak_new(AIBinder* binder) {
    if (binder == nullptr) return nullptr;
    return new AIBinder_Weak{binder->weak};
}

void AIBinder_Weak_delete(AIBinder_Weak* weakBinder) {
    delete weakBinder;
}

AIBinder* AIBinder_Weak_promote(AIBinder_Weak* weakBinder) {
    if (weakBinder == nullptr) return nullptr;
    std::lock_guard<std::mutex> lock(weakBinder->target->mutex);
    AIBinder* binder = weakBinder->target->binder;
    if (binder != nullptr) binder->strong.fetch_add(1, std::memory_order_relaxed);
    return binder;
}

}  // extern "C"
