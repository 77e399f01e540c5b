#pragma once

// Base classes of AIDL interfaces in the NDK binding. An interface object is made with
// SharedRefBase::make and held in a std::shared_ptr; asBinder() gives the binder that represents it
// in a parcel, and fromBinder() of the generated interface turns that binder back into the object.
//
//   class StreamIn : public aidl::android::hardware::audio::core::BnStreamIn {};
//   std::shared_ptr<StreamIn> stream = ndk::SharedRefBase::make<StreamIn>();
//   ndk::SpAIBinder binder = stream->asBinder();

#include <cstdint>
#include <cstdlib>
#include <memory>
#include <mutex>
#include <utility>

#include <android/binder_auto_utils.h>
#include <android/binder_ibinder.h>

namespace ndk {

// Shares ownership of an object through std::shared_ptr from the moment it is made, so that the
// object can hand out new owners of itself (ref()). Make objects only with make<T>().
class SharedRefBase {
  public:
    SharedRefBase() = default;
    virtual ~SharedRefBase() = default;
    SharedRefBase(const SharedRefBase&) = delete;
    SharedRefBase& operator=(const SharedRefBase&) = delete;

    // Another owner of this object.
    template <typename T = SharedRefBase>
    std::shared_ptr<T> ref() {
        std::shared_ptr<SharedRefBase> self = this_.lock();
        std::call_once(once_, [&] { this_ = self = std::shared_ptr<SharedRefBase>(this); });
        return std::static_pointer_cast<T>(self);
    }
    template <typename T = SharedRefBase>
    std::shared_ptr<const T> ref() const {
        return const_cast<SharedRefBase*>(this)->ref<T>();
    }

    template <class T, class... Args>
    static std::shared_ptr<T> make(Args&&... args) {
        T* object = new T(std::forward<Args>(args)...);
        return object->template ref<T>();
    }

    static void operator delete(void* p) { std::free(p); }

  private:
    // Only make() creates objects, so that each one has exactly one shared owner group.
    static void* operator new(size_t size) { return std::malloc(size); }

    std::once_flag once_;
    std::weak_ptr<SharedRefBase> this_;
};

// The root of every interface: an object that can be represented by a binder.
class ICInterface : public SharedRefBase {
  public:
    ICInterface() = default;
    ~ICInterface() override = default;

    // The binder of this object (made on first use, the same one while any reference to it lives).
    virtual SpAIBinder asBinder() = 0;
    // Host interface objects are always local.
    virtual bool isRemote() = 0;
    virtual binder_status_t dump(int /*fd*/, const char** /*args*/, uint32_t /*numArgs*/) {
        return STATUS_OK;
    }

    // A binder class whose binders keep the ICInterface given to AIBinder_new alive.
    static AIBinder_Class* defineClass(const char* interfaceDescriptor,
                                       AIBinder_Class_onTransact onTransact) {
        return AIBinder_Class_define(interfaceDescriptor, Data::OnCreate, Data::OnDestroy,
                                     onTransact);
    }
    // The object behind a binder of a class made by defineClass, or null.
    static std::shared_ptr<ICInterface> asInterface(AIBinder* binder) {
        if (binder == nullptr) return nullptr;
        const Data* data = static_cast<const Data*>(AIBinder_getUserData(binder));
        return data == nullptr ? nullptr : data->interface;
    }

  private:
    // The user data of such a binder: an owner of the interface object.
    struct Data {
        std::shared_ptr<ICInterface> interface;

        static void* OnCreate(void* args) {
            return new Data{static_cast<ICInterface*>(args)->ref<ICInterface>()};
        }
        static void OnDestroy(void* userData) { delete static_cast<Data*>(userData); }
    };
};

// The local side of an interface: the object keeps a weak reference to its binder and makes a new
// one with createBinder() whenever none is alive.
template <typename INTERFACE>
class BnCInterface : public INTERFACE {
  public:
    BnCInterface() = default;
    ~BnCInterface() override = default;

    SpAIBinder asBinder() final {
        std::lock_guard<std::mutex> lock(mutex_);
        SpAIBinder binder = weak_binder_.promote();
        if (binder.get() == nullptr) {
            binder = createBinder();
            weak_binder_.reset(AIBinder_Weak_new(binder.get()));
        }
        return binder;
    }
    bool isRemote() final { return false; }

  protected:
    // A new binder of the interface's class for this object.
    virtual SpAIBinder createBinder() = 0;

  private:
    std::mutex mutex_;
    ScopedAIBinder_Weak weak_binder_;
};

}  // namespace ndk
