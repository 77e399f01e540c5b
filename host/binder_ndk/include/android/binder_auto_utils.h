#pragma once

// Owners of the Binder NDK's C objects: SpAIBinder (a strong reference to a binder), ScopedAParcel
// (a parcel), ScopedAStatus (a call status), ScopedFileDescriptor (a file descriptor) and
// ScopedAIBinder_Weak (a weak binder reference). Each has one owner and one release path.
//
//   ndk::ScopedAParcel parcel(AParcel_create());
//   AParcel_writeInt32(parcel.get(), 1);
//   ndk::ScopedAParcel other = std::move(parcel);   // move-only; parcel is now null

#include <unistd.h>

#include <cstddef>
#include <string>

#include <android/binder_ibinder.h>
#include <android/binder_parcel.h>
#include <android/binder_status.h>

namespace ndk {

// A strong reference to a binder, or null.
class SpAIBinder {
  public:
    SpAIBinder() : binder_(nullptr) {}
    SpAIBinder(std::nullptr_t) : SpAIBinder() {}  // NOLINT(google-explicit-constructor)
    // Takes over one strong reference that the caller owns.
    explicit SpAIBinder(AIBinder* binder) : binder_(binder) {}
    SpAIBinder(const SpAIBinder& other) : binder_(other.binder_) {
        if (binder_ != nullptr) AIBinder_incStrong(binder_);
    }
    SpAIBinder(SpAIBinder&& other) noexcept : binder_(other.release()) {}
    SpAIBinder& operator=(const SpAIBinder& other) {
        if (this != &other) {
            if (other.binder_ != nullptr) AIBinder_incStrong(other.binder_);
            set(other.binder_);
        }
        return *this;
    }
    SpAIBinder& operator=(SpAIBinder&& other) noexcept {
        if (this != &other) set(other.release());
        return *this;
    }
    ~SpAIBinder() { set(nullptr); }

    // Takes over one strong reference to binder and drops the one held before.
    void set(AIBinder* binder) {
        AIBinder* old = binder_;
        binder_ = binder;
        if (old != nullptr) AIBinder_decStrong(old);
    }
    AIBinder* get() const { return binder_; }
    // For C functions that return a new reference through an out parameter; the old one is
    // dropped first.
    AIBinder** getR() {
        set(nullptr);
        return &binder_;
    }

    bool operator==(const SpAIBinder& rhs) const { return get() == rhs.get(); }
    bool operator!=(const SpAIBinder& rhs) const { return get() != rhs.get(); }
    bool operator<(const SpAIBinder& rhs) const { return AIBinder_lt(get(), rhs.get()); }
    bool operator<=(const SpAIBinder& rhs) const { return !(rhs < *this); }
    bool operator>(const SpAIBinder& rhs) const { return rhs < *this; }
    bool operator>=(const SpAIBinder& rhs) const { return !(*this < rhs); }

  private:
    AIBinder* release() {
        AIBinder* binder = binder_;
        binder_ = nullptr;
        return binder;
    }

    AIBinder* binder_;
};

namespace impl {

// Owns one T released with Destroy; kDefault means "none".
template <typename T, void (*Destroy)(T), T kDefault>
class ScopedAResource {
  public:
    explicit ScopedAResource(T resource = kDefault) : resource_(resource) {}
    ~ScopedAResource() { reset(); }
    ScopedAResource(const ScopedAResource&) = delete;
    ScopedAResource& operator=(const ScopedAResource&) = delete;
    ScopedAResource(ScopedAResource&& other) noexcept : resource_(other.release()) {}
    ScopedAResource& operator=(ScopedAResource&& other) noexcept {
        if (this != &other) reset(other.release());
        return *this;
    }

    T get() const { return resource_; }
    // For C functions that return a new resource through an out parameter.
    T* getR() { return &resource_; }
    // Releases what is held and takes over resource.
    void reset(T resource = kDefault) {
        if (resource == resource_) return;
        if (resource_ != kDefault) Destroy(resource_);
        resource_ = resource;
    }
    // Gives up ownership without releasing.
    T release() {
        T resource = resource_;
        resource_ = kDefault;
        return resource;
    }

  private:
    T resource_;
};

inline void CloseFileDescriptor(int fd) {
    ::close(fd);
}

}  // namespace impl

// The owner of one parcel. Move-only.
class ScopedAParcel : public impl::ScopedAResource<AParcel*, AParcel_delete, nullptr> {
  public:
    explicit ScopedAParcel(AParcel* parcel = nullptr) : ScopedAResource(parcel) {}
    ScopedAParcel(ScopedAParcel&&) = default;
    ScopedAParcel& operator=(ScopedAParcel&&) = default;

    bool operator==(const ScopedAParcel& rhs) const { return get() == rhs.get(); }
    bool operator!=(const ScopedAParcel& rhs) const { return get() != rhs.get(); }
};

// The owner of one call status; null means ok.
class ScopedAStatus : public impl::ScopedAResource<AStatus*, AStatus_delete, nullptr> {
  public:
    explicit ScopedAStatus(AStatus* status = nullptr) : ScopedAResource(status) {}
    ScopedAStatus(ScopedAStatus&&) = default;
    ScopedAStatus& operator=(ScopedAStatus&&) = default;

    bool isOk() const { return get() == nullptr || AStatus_isOk(get()); }
    binder_exception_t getExceptionCode() const {
        return get() == nullptr ? EX_NONE : AStatus_getExceptionCode(get());
    }
    int32_t getServiceSpecificError() const {
        return get() == nullptr ? 0 : AStatus_getServiceSpecificError(get());
    }
    binder_status_t getStatus() const {
        return get() == nullptr ? STATUS_OK : AStatus_getStatus(get());
    }
    const char* getMessage() const { return get() == nullptr ? "" : AStatus_getMessage(get()); }
    std::string getDescription() const {
        if (get() == nullptr) return "No error";
        const char* description = AStatus_getDescription(get());
        std::string text(description);
        AStatus_deleteDescription(description);
        return text;
    }

    static ScopedAStatus ok() { return ScopedAStatus(AStatus_newOk()); }
    static ScopedAStatus fromStatus(binder_status_t status) {
        return ScopedAStatus(AStatus_fromStatus(status));
    }
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
};

// The owner of one file descriptor, closed on release; -1 means none. Compared by number.
class ScopedFileDescriptor : public impl::ScopedAResource<int, impl::CloseFileDescriptor, -1> {
  public:
    explicit ScopedFileDescriptor(int fd = -1) : ScopedAResource(fd) {}
    ScopedFileDescriptor(ScopedFileDescriptor&&) = default;
    ScopedFileDescriptor& operator=(ScopedFileDescriptor&&) = default;

    // A new owner of a duplicate of the descriptor (none when this holds none or dup fails).
    ScopedFileDescriptor dup() const { return ScopedFileDescriptor(get() < 0 ? -1 : ::dup(get())); }

    bool operator==(const ScopedFileDescriptor& rhs) const { return get() == rhs.get(); }
    bool operator!=(const ScopedFileDescriptor& rhs) const { return get() != rhs.get(); }
    bool operator<(const ScopedFileDescriptor& rhs) const { return get() < rhs.get(); }
    bool operator<=(const ScopedFileDescriptor& rhs) const { return get() <= rhs.get(); }
    bool operator>(const ScopedFileDescriptor& rhs) const { return get() > rhs.get(); }
    bool operator>=(const ScopedFileDescriptor& rhs) const { return get() >= rhs.get(); }
};

// The owner of one weak binder reference.
class ScopedAIBinder_Weak
    : public impl::ScopedAResource<AIBinder_Weak*, AIBinder_Weak_delete, nullptr> {
  public:
    explicit ScopedAIBinder_Weak(AIBinder_Weak* weak = nullptr) : ScopedAResource(weak) {}
    ScopedAIBinder_Weak(ScopedAIBinder_Weak&&) = default;
    ScopedAIBinder_Weak& operator=(ScopedAIBinder_Weak&&) = default;

    // A strong reference, or null once the binder is gone.
    SpAIBinder promote() const { return SpAIBinder(AIBinder_Weak_promote(get())); }
};

}  // namespace ndk
