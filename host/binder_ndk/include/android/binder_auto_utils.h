#pragma once

// Owners of the Binder NDK's C objects: SpAIBinder (a strong reference to a binder), ScopedAParcel
// (a parcel), ScopedAStatus (a call status), ScopedFileDescriptor (a file descriptor) and
// ScopedAIBinder_Weak (a weak binder reference). Each has one owner and one release path.
//
//   ndk::ScopedAParcel parcel(AParcel_create());
//   AParcel_writeInt32(parcel.get(), 1);
//   ndk::ScopedAParcel other = std::move(parcel);   // move-only; parcel is now null
//
// As on the platform, set() releases what is held before taking the new value, even when both are
// the same, and a null ScopedAStatus is not ok: ScopedAStatus::ok() makes one that is.

#include <string.h>
#include <syslog.h>
#include <unistd.h>

#include <cerrno>
#include <cstddef>
#include <ostream>
#include <string>

#include <android/binder_ibinder.h>
#include <android/binder_parcel.h>
#include <android/binder_status.h>

namespace ndk {

// A strong reference to a binder, or null. Copying takes another reference.
class SpAIBinder {
  public:
    SpAIBinder() : mBinder(nullptr) {}
    // Takes over one strong reference that the caller owns.
    explicit SpAIBinder(AIBinder* binder) : mBinder(binder) {}
    SpAIBinder(std::nullptr_t) : SpAIBinder() {}  // NOLINT(google-explicit-constructor)
    SpAIBinder(const SpAIBinder& other) { *this = other; }
    ~SpAIBinder() { set(nullptr); }
    SpAIBinder& operator=(const SpAIBinder& other) {
        if (this == &other) return *this;
        AIBinder_incStrong(other.mBinder);
        set(other.mBinder);
        return *this;
    }

    // Takes over one strong reference to binder and drops the one held before.
    void set(AIBinder* binder) {
        AIBinder* old = mBinder;
        if (old != nullptr) AIBinder_decStrong(old);
        mBinder = binder;
    }
    AIBinder* get() const { return mBinder; }
    // For C functions that return a new reference through an out parameter: release the held one
    // first (set(nullptr)), or it leaks.
    AIBinder** getR() { return &mBinder; }

  private:
    AIBinder* mBinder = nullptr;
};

// Binders compare by address.
static inline bool operator==(const SpAIBinder& lhs, const SpAIBinder& rhs) {
    return lhs.get() == rhs.get();
}
static inline bool operator!=(const SpAIBinder& lhs, const SpAIBinder& rhs) {
    return lhs.get() != rhs.get();
}
static inline bool operator<(const SpAIBinder& lhs, const SpAIBinder& rhs) {
    return lhs.get() < rhs.get();
}
static inline bool operator<=(const SpAIBinder& lhs, const SpAIBinder& rhs) {
    return lhs.get() <= rhs.get();
}
static inline bool operator>(const SpAIBinder& lhs, const SpAIBinder& rhs) {
    return lhs.get() > rhs.get();
}
static inline bool operator>=(const SpAIBinder& lhs, const SpAIBinder& rhs) {
    return lhs.get() >= rhs.get();
}

namespace impl {

// Owns one T released with Destroy; DEFAULT means "none" and is released too, so Destroy must
// accept it.
template <typename T, void (*Destroy)(T), T DEFAULT>
class ScopedAResource {
  public:
    explicit ScopedAResource(T t = DEFAULT) : mT(t) {}
    ~ScopedAResource() { set(DEFAULT); }

    // Releases what is held and takes over t.
    void set(T t) {
        Destroy(mT);
        mT = t;
    }
    T get() { return mT; }
    const T get() const { return mT; }
    // Gives up ownership without releasing.
    [[nodiscard]] T release() {
        T t = mT;
        mT = DEFAULT;
        return t;
    }
    // For C functions that return a new resource through an out parameter.
    T* getR() { return &mT; }

    ScopedAResource(const ScopedAResource&) = delete;
    ScopedAResource& operator=(const ScopedAResource&) = delete;
    ScopedAResource(ScopedAResource&& other) noexcept : mT(other.mT) { other.mT = DEFAULT; }
    ScopedAResource& operator=(ScopedAResource&& other) noexcept {
        set(other.mT);
        other.mT = DEFAULT;
        return *this;
    }

  private:
    T mT;
};

}  // namespace impl

// The owner of one parcel. Move-only; compared by address.
class ScopedAParcel : public impl::ScopedAResource<AParcel*, AParcel_delete, nullptr> {
  public:
    explicit ScopedAParcel(AParcel* a = nullptr) : ScopedAResource(a) {}
    ~ScopedAParcel() {}
    ScopedAParcel(ScopedAParcel&&) = default;
    ScopedAParcel& operator=(ScopedAParcel&&) = default;

    bool operator!=(const ScopedAParcel& rhs) const { return get() != rhs.get(); }
    bool operator<(const ScopedAParcel& rhs) const { return get() < rhs.get(); }
    bool operator<=(const ScopedAParcel& rhs) const { return get() <= rhs.get(); }
    bool operator==(const ScopedAParcel& rhs) const { return get() == rhs.get(); }
    bool operator>(const ScopedAParcel& rhs) const { return get() > rhs.get(); }
    bool operator>=(const ScopedAParcel& rhs) const { return get() >= rhs.get(); }
};

// The owner of one call status. A null one is not ok, and its getters pass null on to the C
// functions, which do not accept it.
class ScopedAStatus : public impl::ScopedAResource<AStatus*, AStatus_delete, nullptr> {
  public:
    explicit ScopedAStatus(AStatus* a = nullptr) : ScopedAResource(a) {}
    ~ScopedAStatus() {}
    ScopedAStatus(ScopedAStatus&&) = default;
    ScopedAStatus& operator=(ScopedAStatus&&) = default;

    bool isOk() const { return get() != nullptr && AStatus_isOk(get()); }
    binder_exception_t getExceptionCode() const { return AStatus_getExceptionCode(get()); }
    int32_t getServiceSpecificError() const { return AStatus_getServiceSpecificError(get()); }
    binder_status_t getStatus() const { return AStatus_getStatus(get()); }
    const char* getMessage() const { return AStatus_getMessage(get()); }
    std::string getDescription() const {
        const char* description = AStatus_getDescription(get());
        std::string text = description;
        AStatus_deleteDescription(description);
        return text;
    }

    static ScopedAStatus ok() { return ScopedAStatus(AStatus_newOk()); }
    static ScopedAStatus fromExceptionCode(binder_exception_t exception) {
        return ScopedAStatus(AStatus_fromExceptionCode(exception));
    }
    static ScopedAStatus fromExceptionCodeWithMessage(binder_exception_t exception,
                                                      const char* message) {
        return ScopedAStatus(AStatus_fromExceptionCodeWithMessage(exception, message));
    }
    static ScopedAStatus fromServiceSpecificError(int32_t serviceSpecific) {
        return ScopedAStatus(AStatus_fromServiceSpecificError(serviceSpecific));
    }
    static ScopedAStatus fromServiceSpecificErrorWithMessage(int32_t serviceSpecific,
                                                             const char* message) {
        return ScopedAStatus(AStatus_fromServiceSpecificErrorWithMessage(serviceSpecific, message));
    }
    static ScopedAStatus fromStatus(binder_status_t status) {
        return ScopedAStatus(AStatus_fromStatus(status));
    }
};

static inline std::ostream& operator<<(std::ostream& os, const ScopedAStatus& status) {
    return os << status.getDescription();
}

// The owner of one weak binder reference.
class ScopedAIBinder_Weak
    : public impl::ScopedAResource<AIBinder_Weak*, AIBinder_Weak_delete, nullptr> {
  public:
    explicit ScopedAIBinder_Weak(AIBinder_Weak* a = nullptr) : ScopedAResource(a) {}
    ~ScopedAIBinder_Weak() {}
    ScopedAIBinder_Weak(ScopedAIBinder_Weak&&) = default;
    ScopedAIBinder_Weak& operator=(ScopedAIBinder_Weak&&) = default;

    // A strong reference, or null once the binder is gone.
    SpAIBinder promote() const { return SpAIBinder(AIBinder_Weak_promote(get())); }
};

namespace internal {

// Closes fd unless it is -1; a failed close goes to the system log.
inline void closeWithError(int fd) {
    if (fd == -1) return;
    if (close(fd) != 0) syslog(LOG_ERR, "Could not close FD %d: %s", fd, strerror(errno));
}

}  // namespace internal

// The owner of one file descriptor, closed on release; -1 means none. Compared by number.
class ScopedFileDescriptor : public impl::ScopedAResource<int, internal::closeWithError, -1> {
  public:
    ScopedFileDescriptor() : ScopedFileDescriptor(-1) {}
    explicit ScopedFileDescriptor(int a) : ScopedAResource(a) {}
    ~ScopedFileDescriptor() {}
    ScopedFileDescriptor(ScopedFileDescriptor&&) = default;
    ScopedFileDescriptor& operator=(ScopedFileDescriptor&&) = default;

    // A new owner of a duplicate of the descriptor (-1 when dup fails).
    ScopedFileDescriptor dup() const { return ScopedFileDescriptor(::dup(get())); }

    bool operator!=(const ScopedFileDescriptor& rhs) const { return get() != rhs.get(); }
    bool operator<(const ScopedFileDescriptor& rhs) const { return get() < rhs.get(); }
    bool operator<=(const ScopedFileDescriptor& rhs) const { return get() <= rhs.get(); }
    bool operator==(const ScopedFileDescriptor& rhs) const { return get() == rhs.get(); }
    bool operator>(const ScopedFileDescriptor& rhs) const { return get() > rhs.get(); }
    bool operator>=(const ScopedFileDescriptor& rhs) const { return get() >= rhs.get(); }
};

}  // namespace ndk
