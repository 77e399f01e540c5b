#pragma once

// C++ reads and writes of AIDL field types, as generated code uses them:
// ndk::AParcel_writeData(parcel, value) and ndk::AParcel_readData(parcel, &value) for every field
// type, and the Nullable variants for the types whose null is a value of the type itself
// (interfaces, binders, file descriptors). std::optional makes a parcelable, string or array
// nullable. The encodings are the Binder wire format:
//   - a parcelable is an int32 1 (non-null marker) and its writeToParcel; a null one an int32 0;
//   - a string or an array is an int32 count (-1 for null) and the elements;
//   - an enum is its backing type.
// ndk::internal holds the framing of generated parcelables and unions (size header, union tag).

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <type_traits>
#include <utility>
#include <variant>
#include <vector>

#include <android/binder_auto_utils.h>
#include <android/binder_interface_utils.h>
#include <android/binder_parcel.h>

namespace ndk {

namespace internal {

template <typename T>
concept Parcelable = requires(T& value, const T& constValue, const AParcel* in, AParcel* out) {
    { value.readFromParcel(in) } -> std::same_as<binder_status_t>;
    { constValue.writeToParcel(out) } -> std::same_as<binder_status_t>;
};
template <typename T>
concept Interface = std::is_base_of_v<ICInterface, T>;
template <typename T>
concept Enum = std::is_enum_v<T>;

}  // namespace internal

// Primitives.
inline binder_status_t AParcel_writeData(AParcel* parcel, int32_t value) {
    return AParcel_writeInt32(parcel, value);
}
inline binder_status_t AParcel_writeData(AParcel* parcel, uint32_t value) {
    return AParcel_writeUint32(parcel, value);
}
inline binder_status_t AParcel_writeData(AParcel* parcel, int64_t value) {
    return AParcel_writeInt64(parcel, value);
}
inline binder_status_t AParcel_writeData(AParcel* parcel, uint64_t value) {
    return AParcel_writeUint64(parcel, value);
}
inline binder_status_t AParcel_writeData(AParcel* parcel, float value) {
    return AParcel_writeFloat(parcel, value);
}
inline binder_status_t AParcel_writeData(AParcel* parcel, double value) {
    return AParcel_writeDouble(parcel, value);
}
inline binder_status_t AParcel_writeData(AParcel* parcel, bool value) {
    return AParcel_writeBool(parcel, value);
}
inline binder_status_t AParcel_writeData(AParcel* parcel, char16_t value) {
    return AParcel_writeChar(parcel, value);
}
inline binder_status_t AParcel_writeData(AParcel* parcel, int8_t value) {
    return AParcel_writeByte(parcel, value);
}
inline binder_status_t AParcel_readData(const AParcel* parcel, int32_t* value) {
    return AParcel_readInt32(parcel, value);
}
inline binder_status_t AParcel_readData(const AParcel* parcel, uint32_t* value) {
    return AParcel_readUint32(parcel, value);
}
inline binder_status_t AParcel_readData(const AParcel* parcel, int64_t* value) {
    return AParcel_readInt64(parcel, value);
}
inline binder_status_t AParcel_readData(const AParcel* parcel, uint64_t* value) {
    return AParcel_readUint64(parcel, value);
}
inline binder_status_t AParcel_readData(const AParcel* parcel, float* value) {
    return AParcel_readFloat(parcel, value);
}
inline binder_status_t AParcel_readData(const AParcel* parcel, double* value) {
    return AParcel_readDouble(parcel, value);
}
inline binder_status_t AParcel_readData(const AParcel* parcel, bool* value) {
    return AParcel_readBool(parcel, value);
}
inline binder_status_t AParcel_readData(const AParcel* parcel, char16_t* value) {
    return AParcel_readChar(parcel, value);
}
inline binder_status_t AParcel_readData(const AParcel* parcel, int8_t* value) {
    return AParcel_readByte(parcel, value);
}

// Enums travel as their backing type.
template <internal::Enum E>
binder_status_t AParcel_writeData(AParcel* parcel, E value) {
    return AParcel_writeData(parcel, static_cast<std::underlying_type_t<E>>(value));
}
template <internal::Enum E>
binder_status_t AParcel_readData(const AParcel* parcel, E* value) {
    std::underlying_type_t<E> backing;
    binder_status_t status = AParcel_readData(parcel, &backing);
    if (status == STATUS_OK) *value = static_cast<E>(backing);
    return status;
}

// Strings: std::string is UTF-8 in memory and UTF-16 on the wire.
inline binder_status_t AParcel_writeData(AParcel* parcel, const std::string& value) {
    if (value.size() > INT32_MAX) return STATUS_BAD_VALUE;
    return AParcel_writeString(parcel, value.c_str(), static_cast<int32_t>(value.size()));
}
inline binder_status_t AParcel_writeData(AParcel* parcel, const std::optional<std::string>& value) {
    if (!value.has_value()) return AParcel_writeString(parcel, nullptr, -1);
    return AParcel_writeData(parcel, *value);
}
inline binder_status_t AParcel_readData(const AParcel* parcel, std::string* value) {
    return AParcel_readString(parcel, value, [](void* data, int32_t length, char** buffer) {
        if (length <= 0) return false;
        auto* string = static_cast<std::string*>(data);
        string->resize(static_cast<size_t>(length) - 1);
        *buffer = string->data();
        return true;
    });
}
inline binder_status_t AParcel_readData(const AParcel* parcel, std::optional<std::string>* value) {
    return AParcel_readString(parcel, value, [](void* data, int32_t length, char** buffer) {
        auto* string = static_cast<std::optional<std::string>*>(data);
        if (length < 0) {
            string->reset();
            return true;
        }
        if (length == 0) return false;
        string->emplace(static_cast<size_t>(length) - 1, '\0');
        *buffer = (*string)->data();
        return true;
    });
}

// Parcelables (and unions): the non-null marker, then the value.
template <internal::Parcelable P>
binder_status_t AParcel_writeData(AParcel* parcel, const P& value) {
    binder_status_t status = AParcel_writeInt32(parcel, 1);
    if (status != STATUS_OK) return status;
    return value.writeToParcel(parcel);
}
template <internal::Parcelable P>
binder_status_t AParcel_writeData(AParcel* parcel, const std::optional<P>& value) {
    if (!value.has_value()) return AParcel_writeInt32(parcel, 0);
    return AParcel_writeData(parcel, *value);
}
template <internal::Parcelable P>
binder_status_t AParcel_readData(const AParcel* parcel, P* value) {
    int32_t marker;
    binder_status_t status = AParcel_readInt32(parcel, &marker);
    if (status != STATUS_OK) return status;
    if (marker == 0) return STATUS_UNEXPECTED_NULL;
    return value->readFromParcel(parcel);
}
template <internal::Parcelable P>
binder_status_t AParcel_readData(const AParcel* parcel, std::optional<P>* value) {
    int32_t marker;
    binder_status_t status = AParcel_readInt32(parcel, &marker);
    if (status != STATUS_OK) return status;
    if (marker == 0) {
        value->reset();
        return STATUS_OK;
    }
    value->emplace();
    status = (*value)->readFromParcel(parcel);
    if (status != STATUS_OK) value->reset();
    return status;
}

// Interfaces: a binder object. A required one may not be null.
template <internal::Interface I>
binder_status_t AParcel_writeData(AParcel* parcel, const std::shared_ptr<I>& value) {
    if (value == nullptr) return STATUS_UNEXPECTED_NULL;
    return I::writeToParcel(parcel, value);
}
template <internal::Interface I>
binder_status_t AParcel_writeNullableData(AParcel* parcel, const std::shared_ptr<I>& value) {
    return I::writeToParcel(parcel, value);
}
template <internal::Interface I>
binder_status_t AParcel_readData(const AParcel* parcel, std::shared_ptr<I>* value) {
    binder_status_t status = I::readFromParcel(parcel, value);
    if (status == STATUS_OK && *value == nullptr) return STATUS_UNEXPECTED_NULL;
    return status;
}
template <internal::Interface I>
binder_status_t AParcel_readNullableData(const AParcel* parcel, std::shared_ptr<I>* value) {
    return I::readFromParcel(parcel, value);
}

// IBinder.
inline binder_status_t AParcel_writeNullableData(AParcel* parcel, const SpAIBinder& value) {
    return AParcel_writeStrongBinder(parcel, value.get());
}
inline binder_status_t AParcel_writeData(AParcel* parcel, const SpAIBinder& value) {
    if (value.get() == nullptr) return STATUS_UNEXPECTED_NULL;
    return AParcel_writeNullableData(parcel, value);
}
inline binder_status_t AParcel_readNullableData(const AParcel* parcel, SpAIBinder* value) {
    return AParcel_readStrongBinder(parcel, value->getR());
}
inline binder_status_t AParcel_readData(const AParcel* parcel, SpAIBinder* value) {
    binder_status_t status = AParcel_readNullableData(parcel, value);
    if (status == STATUS_OK && value->get() == nullptr) return STATUS_UNEXPECTED_NULL;
    return status;
}

// ParcelFileDescriptor.
inline binder_status_t AParcel_writeNullableData(AParcel* parcel,
                                                 const ScopedFileDescriptor& value) {
    return AParcel_writeParcelFileDescriptor(parcel, value.get());
}
inline binder_status_t AParcel_writeData(AParcel* parcel, const ScopedFileDescriptor& value) {
    if (value.get() < 0) return STATUS_UNEXPECTED_NULL;
    return AParcel_writeNullableData(parcel, value);
}
inline binder_status_t AParcel_readNullableData(const AParcel* parcel, ScopedFileDescriptor* value) {
    int fd = -1;
    binder_status_t status = AParcel_readParcelFileDescriptor(parcel, &fd);
    if (status == STATUS_OK) value->reset(fd);
    return status;
}
inline binder_status_t AParcel_readData(const AParcel* parcel, ScopedFileDescriptor* value) {
    binder_status_t status = AParcel_readNullableData(parcel, value);
    if (status == STATUS_OK && value->get() < 0) return STATUS_UNEXPECTED_NULL;
    return status;
}

namespace internal {

// Sizes a vector for a read; refuses the null array (-1), which a required vector may not be.
template <typename T>
bool ResizeVector(void* data, int32_t length) {
    if (length < 0) return false;
    static_cast<std::vector<T>*>(data)->resize(static_cast<size_t>(length));
    return true;
}
template <typename T, typename Wire = T>
bool AllocateVector(void* data, int32_t length, Wire** buffer) {
    if (!ResizeVector<T>(data, length)) return false;
    *buffer = reinterpret_cast<Wire*>(static_cast<std::vector<T>*>(data)->data());
    return true;
}
template <typename T>
constexpr bool kContiguous =
        std::is_same_v<T, int32_t> || std::is_same_v<T, uint32_t> || std::is_same_v<T, int64_t> ||
        std::is_same_v<T, uint64_t> || std::is_same_v<T, float> || std::is_same_v<T, double> ||
        std::is_same_v<T, char16_t> || std::is_same_v<T, int8_t> || std::is_same_v<T, uint8_t>;

inline binder_status_t WriteArray(AParcel* p, const int32_t* d, int32_t n) {
    return AParcel_writeInt32Array(p, d, n);
}
inline binder_status_t WriteArray(AParcel* p, const uint32_t* d, int32_t n) {
    return AParcel_writeUint32Array(p, d, n);
}
inline binder_status_t WriteArray(AParcel* p, const int64_t* d, int32_t n) {
    return AParcel_writeInt64Array(p, d, n);
}
inline binder_status_t WriteArray(AParcel* p, const uint64_t* d, int32_t n) {
    return AParcel_writeUint64Array(p, d, n);
}
inline binder_status_t WriteArray(AParcel* p, const float* d, int32_t n) {
    return AParcel_writeFloatArray(p, d, n);
}
inline binder_status_t WriteArray(AParcel* p, const double* d, int32_t n) {
    return AParcel_writeDoubleArray(p, d, n);
}
inline binder_status_t WriteArray(AParcel* p, const char16_t* d, int32_t n) {
    return AParcel_writeCharArray(p, d, n);
}
inline binder_status_t WriteArray(AParcel* p, const int8_t* d, int32_t n) {
    return AParcel_writeByteArray(p, d, n);
}
inline binder_status_t WriteArray(AParcel* p, const uint8_t* d, int32_t n) {
    return AParcel_writeByteArray(p, reinterpret_cast<const int8_t*>(d), n);
}

template <typename T>
binder_status_t ReadArray(const AParcel* p, std::vector<T>* v) {
    if constexpr (std::is_same_v<T, int32_t>) {
        return AParcel_readInt32Array(p, v, AllocateVector<T>);
    } else if constexpr (std::is_same_v<T, uint32_t>) {
        return AParcel_readUint32Array(p, v, AllocateVector<T>);
    } else if constexpr (std::is_same_v<T, int64_t>) {
        return AParcel_readInt64Array(p, v, AllocateVector<T>);
    } else if constexpr (std::is_same_v<T, uint64_t>) {
        return AParcel_readUint64Array(p, v, AllocateVector<T>);
    } else if constexpr (std::is_same_v<T, float>) {
        return AParcel_readFloatArray(p, v, AllocateVector<T>);
    } else if constexpr (std::is_same_v<T, double>) {
        return AParcel_readDoubleArray(p, v, AllocateVector<T>);
    } else if constexpr (std::is_same_v<T, char16_t>) {
        return AParcel_readCharArray(p, v, AllocateVector<T>);
    } else {
        return AParcel_readByteArray(p, v, AllocateVector<T, int8_t>);
    }
}

}  // namespace internal

// Arrays. Numbers and bytes are contiguous; bool, string, enum and everything else go element by
// element.
template <typename T>
requires internal::kContiguous<T> binder_status_t AParcel_writeData(AParcel* parcel,
                                                                    const std::vector<T>& value) {
    if (value.size() > INT32_MAX) return STATUS_BAD_VALUE;
    return internal::WriteArray(parcel, value.data(), static_cast<int32_t>(value.size()));
}
template <typename T>
requires internal::kContiguous<T> binder_status_t AParcel_readData(const AParcel* parcel,
                                                                   std::vector<T>* value) {
    return internal::ReadArray(parcel, value);
}

inline binder_status_t AParcel_writeData(AParcel* parcel, const std::vector<bool>& value) {
    if (value.size() > INT32_MAX) return STATUS_BAD_VALUE;
    return AParcel_writeBoolArray(parcel, &value, static_cast<int32_t>(value.size()),
                                  [](const void* data, size_t index) -> bool {
                                      return (*static_cast<const std::vector<bool>*>(data))[index];
                                  });
}
inline binder_status_t AParcel_readData(const AParcel* parcel, std::vector<bool>* value) {
    return AParcel_readBoolArray(parcel, value, internal::ResizeVector<bool>,
                                 [](void* data, size_t index, bool v) {
                                     (*static_cast<std::vector<bool>*>(data))[index] = v;
                                 });
}

inline binder_status_t AParcel_writeData(AParcel* parcel, const std::vector<std::string>& value) {
    if (value.size() > INT32_MAX) return STATUS_BAD_VALUE;
    return AParcel_writeStringArray(
            parcel, &value, static_cast<int32_t>(value.size()),
            [](const void* data, size_t index, int32_t* length) -> const char* {
                const std::string& element =
                        (*static_cast<const std::vector<std::string>*>(data))[index];
                *length = static_cast<int32_t>(element.size());
                return element.c_str();
            });
}
inline binder_status_t AParcel_readData(const AParcel* parcel, std::vector<std::string>* value) {
    return AParcel_readStringArray(
            parcel, value, internal::ResizeVector<std::string>,
            [](void* data, size_t index, int32_t length, char** buffer) {
                if (length <= 0) return false;
                std::string& element = (*static_cast<std::vector<std::string>*>(data))[index];
                element.resize(static_cast<size_t>(length) - 1);
                *buffer = element.data();
                return true;
            });
}

template <internal::Enum E>
binder_status_t AParcel_writeData(AParcel* parcel, const std::vector<E>& value) {
    using Backing = std::underlying_type_t<E>;
    std::vector<Backing> backing(value.size());
    for (size_t i = 0; i < value.size(); ++i) backing[i] = static_cast<Backing>(value[i]);
    return AParcel_writeData(parcel, backing);
}
template <internal::Enum E>
binder_status_t AParcel_readData(const AParcel* parcel, std::vector<E>* value) {
    std::vector<std::underlying_type_t<E>> backing;
    binder_status_t status = AParcel_readData(parcel, &backing);
    if (status != STATUS_OK) return status;
    value->resize(backing.size());
    for (size_t i = 0; i < backing.size(); ++i) (*value)[i] = static_cast<E>(backing[i]);
    return STATUS_OK;
}

// Vectors of parcelables, file descriptors, binders and other vectors: each element as a field of
// its type.
template <typename T>
binder_status_t AParcel_writeData(AParcel* parcel, const std::vector<T>& value) {
    if (value.size() > INT32_MAX) return STATUS_BAD_VALUE;
    return AParcel_writeParcelableArray(
            parcel, &value, static_cast<int32_t>(value.size()),
            [](AParcel* p, const void* data, size_t index) {
                return AParcel_writeData(p, (*static_cast<const std::vector<T>*>(data))[index]);
            });
}
template <typename T>
binder_status_t AParcel_readData(const AParcel* parcel, std::vector<T>* value) {
    return AParcel_readParcelableArray(
            parcel, value, internal::ResizeVector<T>,
            [](const AParcel* p, void* data, size_t index) {
                return AParcel_readData(p, &(*static_cast<std::vector<T>*>(data))[index]);
            });
}

// Nullable arrays: null is the count -1.
template <typename T>
binder_status_t AParcel_writeData(AParcel* parcel, const std::optional<std::vector<T>>& value) {
    if (!value.has_value()) return AParcel_writeInt32(parcel, -1);
    return AParcel_writeData(parcel, *value);
}
template <typename T>
binder_status_t AParcel_readData(const AParcel* parcel, std::optional<std::vector<T>>* value) {
    const int32_t start = AParcel_getDataPosition(parcel);
    int32_t count;
    binder_status_t status = AParcel_readInt32(parcel, &count);
    if (status != STATUS_OK) return status;
    if (count == -1) {
        value->reset();
        return STATUS_OK;
    }
    AParcel_setDataPosition(parcel, start);
    value->emplace();
    status = AParcel_readData(parcel, &**value);
    if (status != STATUS_OK) value->reset();
    return status;
}

namespace internal {

// The framing of a generated parcelable: an int32 size header (the size of the whole parcelable,
// the header included), then the fields. A reader reads fields only while the position is inside
// the declared size, so fields that an older writer did not know keep their defaults, and then
// moves to the declared end, skipping fields that a newer writer added. After the first failure
// nothing more is read or written, and Finish() returns that failure.
class ParcelableReader {
  public:
    explicit ParcelableReader(const AParcel* parcel)
        : parcel_(parcel), start_(AParcel_getDataPosition(parcel)) {
        status_ = AParcel_readInt32(parcel_, &size_);
        if (status_ != STATUS_OK) return;
        if (size_ < 4 || start_ > INT32_MAX - size_ ||
            start_ + size_ > AParcel_getDataSize(parcel_)) {
            status_ = STATUS_BAD_VALUE;
        }
    }

    template <typename T>
    void Read(T* field) {
        if (Inside()) status_ = AParcel_readData(parcel_, field);
    }
    template <typename T>
    void ReadNullable(T* field) {
        if (Inside()) status_ = AParcel_readNullableData(parcel_, field);
    }
    binder_status_t Finish() {
        if (status_ == STATUS_OK) AParcel_setDataPosition(parcel_, start_ + size_);
        return status_;
    }

  private:
    bool Inside() const {
        return status_ == STATUS_OK && AParcel_getDataPosition(parcel_) - start_ < size_;
    }

    const AParcel* parcel_;
    int32_t start_;
    int32_t size_ = 0;
    binder_status_t status_;
};

class ParcelableWriter {
  public:
    explicit ParcelableWriter(AParcel* parcel)
        : parcel_(parcel), start_(AParcel_getDataPosition(parcel)) {
        status_ = AParcel_writeInt32(parcel_, 0);
    }

    template <typename T>
    void Write(const T& field) {
        if (status_ == STATUS_OK) status_ = AParcel_writeData(parcel_, field);
    }
    template <typename T>
    void WriteNullable(const T& field) {
        if (status_ == STATUS_OK) status_ = AParcel_writeNullableData(parcel_, field);
    }
    // Fills in the size header.
    binder_status_t Finish() {
        if (status_ != STATUS_OK) return status_;
        const int32_t end = AParcel_getDataPosition(parcel_);
        AParcel_setDataPosition(parcel_, start_);
        status_ = AParcel_writeInt32(parcel_, end - start_);
        AParcel_setDataPosition(parcel_, end);
        return status_;
    }

  private:
    AParcel* parcel_;
    int32_t start_;
    binder_status_t status_;
};

template <size_t I, typename Variant>
binder_status_t ReadAlternative(const AParcel* parcel, Variant* value) {
    using Alternative = std::variant_alternative_t<I, Variant>;
    // Value-initialised, not aggregate-initialised: some members have explicit constructors.
    Alternative alternative = Alternative();
    binder_status_t status = AParcel_readData(parcel, &alternative);
    if (status == STATUS_OK) value->template emplace<I>(std::move(alternative));
    return status;
}
// Calls the one ReadAlternative<I> whose I is index.
template <typename Variant, size_t... I>
binder_status_t ReadAlternative(const AParcel* parcel, Variant* value, size_t index,
                                std::index_sequence<I...>) {
    binder_status_t status = STATUS_BAD_VALUE;
    (void)((I == index && (status = ReadAlternative<I>(parcel, value), true)) || ...);
    return status;
}
// Writes the alternative held, the one whose I is its index.
template <typename Variant, size_t... I>
binder_status_t WriteAlternative(AParcel* parcel, const Variant& value, std::index_sequence<I...>) {
    binder_status_t status = STATUS_BAD_VALUE;
    (void)((I == value.index() && (status = AParcel_writeData(parcel, std::get<I>(value)), true)) ||
           ...);
    return status;
}

// The framing of a generated union: an int32 tag (the index of the alternative, in declaration
// order), then the alternative as a field of its type; no size header. An unknown tag is
// STATUS_BAD_VALUE. The value changes only when the whole alternative has been read.
template <typename Variant>
binder_status_t ReadUnion(const AParcel* parcel, Variant* value) {
    int32_t tag;
    binder_status_t status = AParcel_readInt32(parcel, &tag);
    if (status != STATUS_OK) return status;
    if (tag < 0 || static_cast<size_t>(tag) >= std::variant_size_v<Variant>) {
        return STATUS_BAD_VALUE;
    }
    return ReadAlternative(parcel, value, static_cast<size_t>(tag),
                           std::make_index_sequence<std::variant_size_v<Variant>>());
}
template <typename Variant>
binder_status_t WriteUnion(AParcel* parcel, const Variant& value) {
    binder_status_t status = AParcel_writeInt32(parcel, static_cast<int32_t>(value.index()));
    if (status != STATUS_OK) return status;
    return WriteAlternative(parcel, value, std::make_index_sequence<std::variant_size_v<Variant>>());
}

}  // namespace internal

}  // namespace ndk
