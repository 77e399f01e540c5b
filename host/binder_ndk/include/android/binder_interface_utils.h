#pragma once

// Base classes of AIDL interfaces in the NDK binding. An interface object is made with
// SharedRefBase::make and held in a std::shared_ptr; asBinder() gives the binder that represents it
// in a parcel, and fromBinder() of the generated interface turns that binder back into the object.
//
//   class StreamIn : public aidl::android::hardware::audio::core::BnStreamIn {};
//   std::shared_ptr<StreamIn> stream = ndk::SharedRefBase::make<StreamIn>();
//   ndk::SpAIBinder binder = stream->asBinder();

#include <syslog.h>

#include <cstdint>
#include <cstdlib>
#include <memory>
#include <mutex>
#include <string>
#include <string_view>
#include <utility>

#include <android/binder_auto_utils.h>
#include <android/binder_ibinder.h>

namespace ndk {

// Shares ownership of an object through std::shared_ptr from the moment it is made, so that the
// object can hand out new owners of itself (ref()). Make objects only with make<T>(): as on the
// platform, an object destroyed without ever having had an owner, or while it still has one, ends
// the process.
class SharedRefBase {
  public:
    SharedRefBase() {}
    virtual ~SharedRefBase() {
        std::call_once(mFlagThis, [] {
            syslog(LOG_ERR, "SharedRefBase: no ref created during lifetime");
            std::abort();
        });
        if (mThis.lock() != nullptr) {
            syslog(LOG_ERR, "SharedRefBase: destructed but still able to lock weak_ptr");
            std::abort();
        }
    }

    // Another owner of this object. A shared_ptr to it must exist when this is called.
    std::shared_ptr<SharedRefBase> ref() {
        std::shared_ptr<SharedRefBase> thiz = mThis.lock();
        std::call_once(mFlagThis, [&] { mThis = thiz = std::shared_ptr<SharedRefBase>(this); });
        return thiz;
    }
    template <typename CHILD>
    std::shared_ptr<CHILD> ref() {
        return std::static_pointer_cast<CHILD>(ref());
    }

    template <class T, class... Args>
    static std::shared_ptr<T> make(Args&&... args) {
        T* t = new T(std::forward<Args>(args)...);
        return t->template ref<T>();
    }

    static void operator delete(void* p) { std::free(p); }

  private:
    // Only make() creates objects, so that each one has exactly one shared owner group.
    static void* operator new(size_t s) { return std::malloc(s); }

    std::once_flag mFlagThis;
    std::weak_ptr<SharedRefBase> mThis;
};

// The root of every interface: an object that can be represented by a binder.
class ICInterface : public SharedRefBase {
  public:
    ICInterface() {}
    virtual ~ICInterface() {}

    // The binder of this object (made on first use, the same one while any reference to it lives).
    virtual SpAIBinder asBinder() = 0;
    virtual bool isRemote() = 0;
    // Dumps nothing unless overridden; does not own fd.
    virtual inline binder_status_t dump(int fd, const char** args, uint32_t numArgs);

    // The object behind a binder of a class made by defineClass, or null.
    static inline std::shared_ptr<ICInterface> asInterface(AIBinder* binder);
    // A binder class whose binders keep the ICInterface given to AIBinder_new alive; null when
    // either argument is null.
    static inline AIBinder_Class* defineClass(const char* interfaceDescriptor,
                                              AIBinder_Class_onTransact onTransact);

  private:
    // The user data of such a binder: an owner of the interface object.
    class ICInterfaceData {
      public:
        std::shared_ptr<ICInterface> interface;

        static void* onCreate(void* args) {
            return new ICInterfaceData{static_cast<ICInterface*>(args)->ref<ICInterface>()};
        }
        static void onDestroy(void* userData) { delete static_cast<ICInterfaceData*>(userData); }
    };
};

// The local side of an interface: the object keeps a weak reference to its binder and makes a new
// one with createBinder() whenever none is alive.
template <typename INTERFACE>
class BnCInterface : public INTERFACE {
  public:
    BnCInterface() {}
    virtual ~BnCInterface() {}

    SpAIBinder asBinder() override final;
    bool isRemote() override final { return false; }

    static std::string makeServiceName(std::string_view instance) {
        return INTERFACE::descriptor + ("/" + std::string(instance));
    }

  protected:
    // A new binder of the interface's class for this object; only asBinder() calls it.
    virtual SpAIBinder createBinder() = 0;

  private:
    std::mutex mMutex;
    ScopedAIBinder_Weak mWeakBinder;
};

binder_status_t ICInterface::dump(int /*fd*/, const char** /*args*/, uint32_t /*numArgs*/) {
    return STATUS_OK;
}

std::shared_ptr<ICInterface> ICInterface::asInterface(AIBinder* binder) {
    if (binder == nullptr) return nullptr;
    const auto* data = static_cast<const ICInterfaceData*>(AIBinder_getUserData(binder));
    return data == nullptr ? nullptr : data->interface;
}

AIBinder_Class* ICInterface::defineClass(const char* interfaceDescriptor,
                                         AIBinder_Class_onTransact onTransact) {
    return AIBinder_Class_define(interfaceDescriptor, ICInterfaceData::onCreate,
                                 ICInterfaceData::onDestroy, onTransact);
}

template <typename INTERFACE>
SpAIBinder BnCInterface<INTERFACE>::asBinder() {
    std::lock_guard<std::mutex> lock(mMutex);
    SpAIBinder binder;
    if (mWeakBinder.get() != nullptr) binder.set(AIBinder_Weak_promote(mWeakBinder.get()));
    if (binder.get() == nullptr) {
        binder = createBinder();
        mWeakBinder.set(AIBinder_Weak_new(binder.get()));
    }
    return binder;
}

}  // namespace ndk
