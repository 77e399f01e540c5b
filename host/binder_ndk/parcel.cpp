#include <android/binder_parcel.h>

#include <fcntl.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include <android/binder_auto_utils.h>

#include "ibinder_internal.h"
#include "utf.h"

namespace {

constexpr size_t kMaxDataSize = INT32_MAX;

// The kernel's flat_binder_object: the representation of a binder or a file descriptor.
struct FlatBinderObject {
    uint32_t type;
    uint32_t flags;
    uint64_t binder_or_handle;
    uint64_t cookie;
};
static_assert(sizeof(FlatBinderObject) == 24);

constexpr uint32_t PackChars(char c1, char c2, char c3, uint8_t c4) {
    return (static_cast<uint32_t>(c1) << 24) | (static_cast<uint32_t>(c2) << 16) |
           (static_cast<uint32_t>(c3) << 8) | c4;
}
constexpr uint32_t kTypeBinder = PackChars('s', 'b', '*', 0x85);
constexpr uint32_t kTypeFd = PackChars('f', 'd', '*', 0x85);
constexpr uint32_t kFlagAcceptsFds = 0x100;

constexpr size_t Pad4(size_t n) {
    return (n + 3) & ~size_t{3};
}

// A binder or descriptor held by the parcel, at the offset of its FlatBinderObject.
struct ParcelObject {
    size_t offset;
    ndk::SpAIBinder binder;
    ndk::ScopedFileDescriptor fd;
};

// Leaves the bytes that a resize adds uninitialised, as libbinder's realloc'ed buffer does: a
// write fills its own bytes, and nothing is zeroed twice.
template <typename T>
struct UninitializedAllocator : std::allocator<T> {
    template <typename U>
    struct rebind {
        using other = UninitializedAllocator<U>;
    };
    UninitializedAllocator() = default;
    template <typename U>
    UninitializedAllocator(const UninitializedAllocator<U>&) noexcept {}

    template <typename U>
    void construct(U* p) noexcept {
        ::new (static_cast<void*>(p)) U;
    }
    template <typename U, typename... Args>
    void construct(U* p, Args&&... args) {
        ::new (static_cast<void*>(p)) U(std::forward<Args>(args)...);
    }
};

}  // namespace

struct AParcel {
    std::vector<uint8_t, UninitializedAllocator<uint8_t>> data;
    // Reads take a const parcel but move the position, as on the platform.
    mutable size_t position = 0;
    std::vector<ParcelObject> objects;
};

namespace {

// Room for n bytes at the position, padded to 4 with zeros, growing the data as needed; the
// position moves past it. Objects whose bytes are overwritten are dropped. Null when the data
// would outgrow the int32 sizes of the API.
uint8_t* WriteSpan(AParcel* parcel, size_t n) {
    const size_t padded = Pad4(n);
    if (n > kMaxDataSize || parcel->position > kMaxDataSize - padded) return nullptr;
    const size_t start = parcel->position;
    const size_t end = start + padded;
    const size_t size = parcel->data.size();
    if (end > size) {
        // Grows as libbinder's Parcel::growData does: half again the data and the write, and at
        // least 128 bytes, so that a parcelable written one field at a time reallocates rarely.
        if (end > parcel->data.capacity()) {
            parcel->data.reserve(std::max<size_t>((std::max(end, size + padded) * 3) / 2, 128));
        }
        parcel->data.resize(end);
        // Bytes skipped by a position set past the end read as zeros.
        if (start > size) std::memset(parcel->data.data() + size, 0, start - size);
    }
    if (!parcel->objects.empty()) {
        std::erase_if(parcel->objects, [&](const ParcelObject& object) {
            return object.offset < end && object.offset + sizeof(FlatBinderObject) > start;
        });
    }
    uint8_t* span = parcel->data.data() + start;
    if (padded != n) std::memset(span + n, 0, padded - n);
    parcel->position = end;
    return span;
}

// n bytes at the position, which moves past them and their padding; null (and the position left
// alone) when the data does not hold them.
const uint8_t* ReadSpan(const AParcel* parcel, size_t n) {
    const size_t size = parcel->data.size();
    if (n > size || parcel->position > size || Pad4(n) > size - parcel->position) return nullptr;
    const uint8_t* span = parcel->data.data() + parcel->position;
    parcel->position += Pad4(n);
    return span;
}

bool HasRoomFor(const AParcel* parcel, size_t count, size_t element_size) {
    const size_t size = parcel->data.size();
    if (parcel->position > size) return count == 0;
    return count <= (size - parcel->position) / element_size;
}

template <typename T>
binder_status_t WriteValue(AParcel* parcel, T value) {
    static_assert(sizeof(T) % 4 == 0);
    uint8_t* span = WriteSpan(parcel, sizeof(T));
    if (span == nullptr) return STATUS_NO_MEMORY;
    std::memcpy(span, &value, sizeof(T));
    return STATUS_OK;
}

template <typename T>
binder_status_t ReadValue(const AParcel* parcel, T* value) {
    static_assert(sizeof(T) % 4 == 0);
    const uint8_t* span = ReadSpan(parcel, sizeof(T));
    if (span == nullptr) return STATUS_NOT_ENOUGH_DATA;
    std::memcpy(value, span, sizeof(T));
    return STATUS_OK;
}

// Values narrower than 4 bytes travel as an int32.
template <typename T>
binder_status_t ReadNarrow(const AParcel* parcel, T* value) {
    int32_t wide;
    binder_status_t status = ReadValue(parcel, &wide);
    if (status == STATUS_OK) *value = static_cast<T>(wide);
    return status;
}

// Reads an array's count: -1 (null), or a count whose elements fit in the remaining data at
// min_element_size bytes each, so that a corrupt count never sizes a huge destination.
binder_status_t ReadCount(const AParcel* parcel, size_t min_element_size, int32_t* count) {
    binder_status_t status = ReadValue(parcel, count);
    if (status != STATUS_OK) return status;
    if (*count < -1) return STATUS_BAD_VALUE;
    if (*count > 0 && !HasRoomFor(parcel, static_cast<size_t>(*count), min_element_size)) {
        return STATUS_NOT_ENOUGH_DATA;
    }
    return STATUS_OK;
}

// The null array is a count of -1 with no data; any other negative count, or a positive one
// without data, is refused.
binder_status_t WriteNullArray(AParcel* parcel, int32_t length) {
    if (length != -1) return STATUS_BAD_VALUE;
    return WriteValue<int32_t>(parcel, -1);
}

// Contiguous arrays of 4- or 8-byte numbers.
template <typename T>
binder_status_t WriteNumberArray(AParcel* parcel, const T* data, int32_t length) {
    if (length < 0 || (length > 0 && data == nullptr)) return WriteNullArray(parcel, length);
    binder_status_t status = WriteValue<int32_t>(parcel, length);
    if (status != STATUS_OK) return status;
    uint8_t* span = WriteSpan(parcel, sizeof(T) * static_cast<size_t>(length));
    if (span == nullptr) return STATUS_NO_MEMORY;
    if (length > 0) std::memcpy(span, data, sizeof(T) * static_cast<size_t>(length));
    return STATUS_OK;
}

template <typename T>
binder_status_t ReadNumberArray(const AParcel* parcel, void* array_data,
                                bool (*allocator)(void*, int32_t, T**)) {
    int32_t length;
    binder_status_t status = ReadCount(parcel, sizeof(T), &length);
    if (status != STATUS_OK) return status;
    T* array = nullptr;
    if (length < 0) return allocator(array_data, -1, &array) ? STATUS_OK : STATUS_UNEXPECTED_NULL;
    if (!allocator(array_data, length, &array)) return STATUS_NO_MEMORY;
    if (length == 0) return STATUS_OK;
    if (array == nullptr) return STATUS_NO_MEMORY;
    const uint8_t* span = ReadSpan(parcel, sizeof(T) * static_cast<size_t>(length));
    if (span == nullptr) return STATUS_NOT_ENOUGH_DATA;
    std::memcpy(array, span, sizeof(T) * static_cast<size_t>(length));
    return STATUS_OK;
}

binder_status_t WriteUtf16(AParcel* parcel, const char* string, int32_t length) {
    if (string == nullptr || length < 0) {
        if (string != nullptr || length != -1) return STATUS_BAD_VALUE;
        return WriteValue<int32_t>(parcel, -1);
    }
    const auto utf16 = ndk::internal::Utf8ToUtf16(std::string_view(string, length));
    if (!utf16.has_value() || utf16->size() >= kMaxDataSize / 2) return STATUS_BAD_VALUE;
    binder_status_t status = WriteValue(parcel, static_cast<int32_t>(utf16->size()));
    if (status != STATUS_OK) return status;
    const size_t bytes = (utf16->size() + 1) * sizeof(char16_t);
    uint8_t* span = WriteSpan(parcel, bytes);
    if (span == nullptr) return STATUS_NO_MEMORY;
    std::memcpy(span, utf16->c_str(), bytes);  // with the NUL
    return STATUS_OK;
}

// Reads a string as UTF-8; nullopt with STATUS_OK is the null string.
binder_status_t ReadUtf8(const AParcel* parcel, std::optional<std::string>* utf8) {
    int32_t length;
    binder_status_t status = ReadValue(parcel, &length);
    if (status != STATUS_OK) return status;
    if (length == -1) {
        utf8->reset();
        return STATUS_OK;
    }
    if (length < 0) return STATUS_BAD_VALUE;
    if (!HasRoomFor(parcel, static_cast<size_t>(length) + 1, sizeof(char16_t))) {
        return STATUS_NOT_ENOUGH_DATA;
    }
    const uint8_t* span = ReadSpan(parcel, (static_cast<size_t>(length) + 1) * sizeof(char16_t));
    if (span == nullptr) return STATUS_NOT_ENOUGH_DATA;
    std::u16string utf16(static_cast<size_t>(length) + 1, u'\0');
    std::memcpy(utf16.data(), span, utf16.size() * sizeof(char16_t));
    if (utf16.back() != u'\0') return STATUS_BAD_VALUE;
    utf16.pop_back();
    *utf8 = ndk::internal::Utf16ToUtf8(utf16);
    return utf8->has_value() ? STATUS_OK : STATUS_BAD_VALUE;
}

// Hands a string to a caller's allocator: length counts the NUL; -1 offers the null string.
binder_status_t DeliverString(const std::optional<std::string>& utf8,
                              bool (*allocate)(char** buffer, int32_t length, void* context),
                              void* context) {
    char* buffer = nullptr;
    if (!utf8.has_value())
        return allocate(&buffer, -1, context) ? STATUS_OK : STATUS_UNEXPECTED_NULL;
    const int32_t length = static_cast<int32_t>(utf8->size() + 1);
    if (!allocate(&buffer, length, context) || buffer == nullptr) return STATUS_NO_MEMORY;
    std::memcpy(buffer, utf8->c_str(), utf8->size() + 1);
    return STATUS_OK;
}

binder_status_t WriteObject(AParcel* parcel, const FlatBinderObject& object, ParcelObject* held) {
    const size_t offset = parcel->position;
    uint8_t* span = WriteSpan(parcel, sizeof(object));
    if (span == nullptr) return STATUS_NO_MEMORY;
    std::memcpy(span, &object, sizeof(object));
    if (held != nullptr) {
        held->offset = offset;
        parcel->objects.push_back(std::move(*held));
    }
    return STATUS_OK;
}

// The object that the parcel holds at the position, moving past it; null when there is none, with
// *status saying why.
const ParcelObject* ReadObject(const AParcel* parcel, FlatBinderObject* object,
                               binder_status_t* status) {
    const size_t offset = parcel->position;
    const uint8_t* span = ReadSpan(parcel, sizeof(*object));
    if (span == nullptr) {
        *status = STATUS_NOT_ENOUGH_DATA;
        return nullptr;
    }
    std::memcpy(object, span, sizeof(*object));
    *status = STATUS_OK;
    for (const ParcelObject& held : parcel->objects) {
        if (held.offset == offset) return &held;
    }
    return nullptr;
}

}  // namespace

extern "C" {

AParcel* AParcel_create() {
    return new AParcel();
}

void AParcel_delete(AParcel* parcel) {
    delete parcel;
}

binder_status_t AParcel_reset(AParcel* parcel) {
    parcel->data.clear();
    parcel->objects.clear();
    parcel->position = 0;
    return STATUS_OK;
}

int32_t AParcel_getDataSize(const AParcel* parcel) {
    return static_cast<int32_t>(std::max(parcel->data.size(), parcel->position));
}

int32_t AParcel_getDataPosition(const AParcel* parcel) {
    return static_cast<int32_t>(parcel->position);
}

binder_status_t AParcel_setDataPosition(const AParcel* parcel, int32_t position) {
    if (position < 0) return STATUS_BAD_VALUE;
    parcel->position = static_cast<size_t>(position);
    return STATUS_OK;
}

binder_status_t AParcel_marshal(const AParcel* parcel, uint8_t* buffer, size_t start, size_t len) {
    if (!parcel->objects.empty()) return STATUS_INVALID_OPERATION;
    const size_t size = parcel->data.size();
    if (len > size || start > size - len) return STATUS_BAD_VALUE;
    if (len > 0) std::memcpy(buffer, parcel->data.data() + start, len);
    return STATUS_OK;
}

binder_status_t AParcel_unmarshal(AParcel* parcel, const uint8_t* buffer, size_t len) {
    if (len > kMaxDataSize || (len > 0 && buffer == nullptr)) return STATUS_BAD_VALUE;
    parcel->objects.clear();
    parcel->data.assign(buffer, buffer + len);
    parcel->position = 0;
    return STATUS_OK;
}

binder_status_t AParcel_writeInt32(AParcel* parcel, int32_t value) {
    return WriteValue(parcel, value);
}
binder_status_t AParcel_writeUint32(AParcel* parcel, uint32_t value) {
    return WriteValue(parcel, value);
}
binder_status_t AParcel_writeInt64(AParcel* parcel, int64_t value) {
    return WriteValue(parcel, value);
}
binder_status_t AParcel_writeUint64(AParcel* parcel, uint64_t value) {
    return WriteValue(parcel, value);
}
binder_status_t AParcel_writeFloat(AParcel* parcel, float value) {
    return WriteValue(parcel, value);
}
binder_status_t AParcel_writeDouble(AParcel* parcel, double value) {
    return WriteValue(parcel, value);
}
binder_status_t AParcel_writeBool(AParcel* parcel, bool value) {
    return WriteValue<int32_t>(parcel, value ? 1 : 0);
}
binder_status_t AParcel_writeChar(AParcel* parcel, char16_t value) {
    return WriteValue<int32_t>(parcel, value);
}
binder_status_t AParcel_writeByte(AParcel* parcel, int8_t value) {
    return WriteValue<int32_t>(parcel, value);
}

binder_status_t AParcel_readInt32(const AParcel* parcel, int32_t* value) {
    return ReadValue(parcel, value);
}
binder_status_t AParcel_readUint32(const AParcel* parcel, uint32_t* value) {
    return ReadValue(parcel, value);
}
binder_status_t AParcel_readInt64(const AParcel* parcel, int64_t* value) {
    return ReadValue(parcel, value);
}
binder_status_t AParcel_readUint64(const AParcel* parcel, uint64_t* value) {
    return ReadValue(parcel, value);
}
binder_status_t AParcel_readFloat(const AParcel* parcel, float* value) {
    return ReadValue(parcel, value);
}
binder_status_t AParcel_readDouble(const AParcel* parcel, double* value) {
    return ReadValue(parcel, value);
}
binder_status_t AParcel_readBool(const AParcel* parcel, bool* value) {
    int32_t wide;
    binder_status_t status = ReadValue(parcel, &wide);
    if (status == STATUS_OK) *value = wide != 0;
    return status;
}
binder_status_t AParcel_readChar(const AParcel* parcel, char16_t* value) {
    return ReadNarrow(parcel, value);
}
binder_status_t AParcel_readByte(const AParcel* parcel, int8_t* value) {
    return ReadNarrow(parcel, value);
}

binder_status_t AParcel_writeString(AParcel* parcel, const char* string, int32_t length) {
    return WriteUtf16(parcel, string, length);
}

binder_status_t AParcel_readString(const AParcel* parcel, void* stringData,
                                   AParcel_stringAllocator allocator) {
    std::optional<std::string> utf8;
    binder_status_t status = ReadUtf8(parcel, &utf8);
    if (status != STATUS_OK) return status;
    struct Context {
        void* data;
        AParcel_stringAllocator allocator;
    } context{stringData, allocator};
    return DeliverString(
            utf8,
            [](char** buffer, int32_t length, void* c) {
                auto* context = static_cast<Context*>(c);
                return context->allocator(context->data, length, buffer);
            },
            &context);
}

binder_status_t AParcel_writeInt32Array(AParcel* parcel, const int32_t* arrayData, int32_t length) {
    return WriteNumberArray(parcel, arrayData, length);
}
binder_status_t AParcel_writeUint32Array(AParcel* parcel, const uint32_t* arrayData,
                                         int32_t length) {
    return WriteNumberArray(parcel, arrayData, length);
}
binder_status_t AParcel_writeInt64Array(AParcel* parcel, const int64_t* arrayData, int32_t length) {
    return WriteNumberArray(parcel, arrayData, length);
}
binder_status_t AParcel_writeUint64Array(AParcel* parcel, const uint64_t* arrayData,
                                         int32_t length) {
    return WriteNumberArray(parcel, arrayData, length);
}
binder_status_t AParcel_writeFloatArray(AParcel* parcel, const float* arrayData, int32_t length) {
    return WriteNumberArray(parcel, arrayData, length);
}
binder_status_t AParcel_writeDoubleArray(AParcel* parcel, const double* arrayData, int32_t length) {
    return WriteNumberArray(parcel, arrayData, length);
}

binder_status_t AParcel_writeCharArray(AParcel* parcel, const char16_t* arrayData, int32_t length) {
    if (length < 0 || (length > 0 && arrayData == nullptr)) {
        return WriteNullArray(parcel, length);
    }
    binder_status_t status = WriteValue(parcel, length);
    for (int32_t i = 0; status == STATUS_OK && i < length; ++i) {
        status = AParcel_writeChar(parcel, arrayData[i]);
    }
    return status;
}

binder_status_t AParcel_writeByteArray(AParcel* parcel, const int8_t* arrayData, int32_t length) {
    if (length < 0 || (length > 0 && arrayData == nullptr)) {
        return WriteNullArray(parcel, length);
    }
    binder_status_t status = WriteValue(parcel, length);
    if (status != STATUS_OK) return status;
    uint8_t* span = WriteSpan(parcel, static_cast<size_t>(length));
    if (span == nullptr) return STATUS_NO_MEMORY;
    if (length > 0) std::memcpy(span, arrayData, static_cast<size_t>(length));
    return STATUS_OK;
}

binder_status_t AParcel_writeBoolArray(AParcel* parcel, const void* arrayData, int32_t length,
                                       AParcel_boolArrayGetter getter) {
    if (length < 0) return WriteNullArray(parcel, length);
    binder_status_t status = WriteValue(parcel, length);
    for (int32_t i = 0; status == STATUS_OK && i < length; ++i) {
        status = AParcel_writeBool(parcel, getter(arrayData, static_cast<size_t>(i)));
    }
    return status;
}

binder_status_t AParcel_readInt32Array(const AParcel* parcel, void* arrayData,
                                       AParcel_int32ArrayAllocator allocator) {
    return ReadNumberArray(parcel, arrayData, allocator);
}
binder_status_t AParcel_readUint32Array(const AParcel* parcel, void* arrayData,
                                        AParcel_uint32ArrayAllocator allocator) {
    return ReadNumberArray(parcel, arrayData, allocator);
}
binder_status_t AParcel_readInt64Array(const AParcel* parcel, void* arrayData,
                                       AParcel_int64ArrayAllocator allocator) {
    return ReadNumberArray(parcel, arrayData, allocator);
}
binder_status_t AParcel_readUint64Array(const AParcel* parcel, void* arrayData,
                                        AParcel_uint64ArrayAllocator allocator) {
    return ReadNumberArray(parcel, arrayData, allocator);
}
binder_status_t AParcel_readFloatArray(const AParcel* parcel, void* arrayData,
                                       AParcel_floatArrayAllocator allocator) {
    return ReadNumberArray(parcel, arrayData, allocator);
}
binder_status_t AParcel_readDoubleArray(const AParcel* parcel, void* arrayData,
                                        AParcel_doubleArrayAllocator allocator) {
    return ReadNumberArray(parcel, arrayData, allocator);
}

binder_status_t AParcel_readCharArray(const AParcel* parcel, void* arrayData,
                                      AParcel_charArrayAllocator allocator) {
    int32_t length;
    binder_status_t status = ReadCount(parcel, sizeof(int32_t), &length);
    if (status != STATUS_OK) return status;
    char16_t* array = nullptr;
    if (length < 0) return allocator(arrayData, -1, &array) ? STATUS_OK : STATUS_UNEXPECTED_NULL;
    if (!allocator(arrayData, length, &array) || (length > 0 && array == nullptr)) {
        return STATUS_NO_MEMORY;
    }
    for (int32_t i = 0; status == STATUS_OK && i < length; ++i) {
        status = AParcel_readChar(parcel, &array[i]);
    }
    return status;
}

binder_status_t AParcel_readByteArray(const AParcel* parcel, void* arrayData,
                                      AParcel_byteArrayAllocator allocator) {
    int32_t length;
    binder_status_t status = ReadCount(parcel, 1, &length);
    if (status != STATUS_OK) return status;
    int8_t* array = nullptr;
    if (length < 0) return allocator(arrayData, -1, &array) ? STATUS_OK : STATUS_UNEXPECTED_NULL;
    const uint8_t* span = ReadSpan(parcel, static_cast<size_t>(length));
    if (span == nullptr) return STATUS_NOT_ENOUGH_DATA;
    if (!allocator(arrayData, length, &array) || (length > 0 && array == nullptr)) {
        return STATUS_NO_MEMORY;
    }
    if (length > 0) std::memcpy(array, span, static_cast<size_t>(length));
    return STATUS_OK;
}

binder_status_t AParcel_readBoolArray(const AParcel* parcel, void* arrayData,
                                      AParcel_boolArrayAllocator allocator,
                                      AParcel_boolArraySetter setter) {
    int32_t length;
    binder_status_t status = ReadCount(parcel, sizeof(int32_t), &length);
    if (status != STATUS_OK) return status;
    if (length < 0) return allocator(arrayData, -1) ? STATUS_OK : STATUS_UNEXPECTED_NULL;
    if (!allocator(arrayData, length)) return STATUS_NO_MEMORY;
    for (int32_t i = 0; status == STATUS_OK && i < length; ++i) {
        bool value;
        status = AParcel_readBool(parcel, &value);
        if (status == STATUS_OK) setter(arrayData, static_cast<size_t>(i), value);
    }
    return status;
}

binder_status_t AParcel_writeStringArray(AParcel* parcel, const void* arrayData, int32_t length,
                                         AParcel_stringArrayElementGetter getter) {
    if (length < 0) return WriteNullArray(parcel, length);
    binder_status_t status = WriteValue(parcel, length);
    for (int32_t i = 0; status == STATUS_OK && i < length; ++i) {
        int32_t element_length = -1;
        const char* element = getter(arrayData, static_cast<size_t>(i), &element_length);
        status = WriteUtf16(parcel, element, element_length);
    }
    return status;
}

binder_status_t AParcel_readStringArray(const AParcel* parcel, void* arrayData,
                                        AParcel_stringArrayAllocator allocator,
                                        AParcel_stringArrayElementAllocator elementAllocator) {
    int32_t length;
    // The smallest string is 8 bytes: its count and its NUL, padded.
    binder_status_t status = ReadCount(parcel, 8, &length);
    if (status != STATUS_OK) return status;
    if (length < 0) return allocator(arrayData, -1) ? STATUS_OK : STATUS_UNEXPECTED_NULL;
    if (!allocator(arrayData, length)) return STATUS_NO_MEMORY;
    struct Context {
        void* data;
        size_t index;
        AParcel_stringArrayElementAllocator allocator;
    } context{arrayData, 0, elementAllocator};
    for (int32_t i = 0; status == STATUS_OK && i < length; ++i) {
        std::optional<std::string> utf8;
        status = ReadUtf8(parcel, &utf8);
        if (status != STATUS_OK) break;
        context.index = static_cast<size_t>(i);
        status = DeliverString(
                utf8,
                [](char** buffer, int32_t string_length, void* c) {
                    auto* context = static_cast<Context*>(c);
                    return context->allocator(context->data, context->index, string_length, buffer);
                },
                &context);
    }
    return status;
}

binder_status_t AParcel_writeParcelableArray(AParcel* parcel, const void* arrayData, int32_t length,
                                             AParcel_writeParcelableElement elementWriter) {
    if (length < 0) return WriteNullArray(parcel, length);
    binder_status_t status = WriteValue(parcel, length);
    for (int32_t i = 0; status == STATUS_OK && i < length; ++i) {
        status = elementWriter(parcel, arrayData, static_cast<size_t>(i));
    }
    return status;
}

binder_status_t AParcel_readParcelableArray(const AParcel* parcel, void* arrayData,
                                            AParcel_parcelableArrayAllocator allocator,
                                            AParcel_readParcelableElement elementReader) {
    int32_t length;
    // Every element takes at least 4 bytes (a marker, a count or a header).
    binder_status_t status = ReadCount(parcel, 4, &length);
    if (status != STATUS_OK) return status;
    if (length < 0) return allocator(arrayData, -1) ? STATUS_OK : STATUS_UNEXPECTED_NULL;
    if (!allocator(arrayData, length)) return STATUS_NO_MEMORY;
    for (int32_t i = 0; status == STATUS_OK && i < length; ++i) {
        status = elementReader(parcel, arrayData, static_cast<size_t>(i));
    }
    return status;
}

binder_status_t AParcel_writeStrongBinder(AParcel* parcel, AIBinder* binder) {
    FlatBinderObject object{kTypeBinder, kFlagAcceptsFds, 0, 0};
    binder_status_t status;
    if (binder == nullptr) {
        status = WriteObject(parcel, object, nullptr);
    } else {
        object.binder_or_handle = reinterpret_cast<uintptr_t>(binder);
        object.cookie = reinterpret_cast<uintptr_t>(binder);
        AIBinder_incStrong(binder);
        ParcelObject held{0, ndk::SpAIBinder(binder), ndk::ScopedFileDescriptor()};
        status = WriteObject(parcel, object, &held);
    }
    if (status != STATUS_OK) return status;
    return WriteValue(parcel, ndk::internal::GetStability(binder));
}

binder_status_t AParcel_readStrongBinder(const AParcel* parcel, AIBinder** binder) {
    const size_t start = parcel->position;
    FlatBinderObject object;
    binder_status_t status;
    const ParcelObject* held = ReadObject(parcel, &object, &status);
    int32_t stability;
    if (status == STATUS_OK) status = ReadValue(parcel, &stability);
    if (status != STATUS_OK) {
        parcel->position = start;
        return status;
    }
    if (held != nullptr && held->binder.get() != nullptr) {
        AIBinder_incStrong(held->binder.get());
        *binder = held->binder.get();
        return STATUS_OK;
    }
    if (held == nullptr && object.type == kTypeBinder && object.binder_or_handle == 0 &&
        object.cookie == 0) {
        *binder = nullptr;
        return STATUS_OK;
    }
    return STATUS_BAD_TYPE;
}

binder_status_t AParcel_writeParcelFileDescriptor(AParcel* parcel, int fd) {
    if (fd < 0) {
        if (fd != -1) return STATUS_BAD_VALUE;
        return WriteValue<int32_t>(parcel, 0);
    }
    ndk::ScopedFileDescriptor copy(fcntl(fd, F_DUPFD_CLOEXEC, 0));
    if (copy.get() < 0) return errno == EBADF ? STATUS_BAD_VALUE : -errno;
    binder_status_t status = WriteValue<int32_t>(parcel, 1);
    if (status != STATUS_OK) return status;
    const FlatBinderObject object{kTypeFd, 0, static_cast<uint32_t>(copy.get()), 1};
    ParcelObject held{0, ndk::SpAIBinder(), std::move(copy)};
    return WriteObject(parcel, object, &held);
}

binder_status_t AParcel_readParcelFileDescriptor(const AParcel* parcel, int* fd) {
    const size_t start = parcel->position;
    int32_t present;
    binder_status_t status = ReadValue(parcel, &present);
    if (status != STATUS_OK) return status;
    if (present == 0) {
        *fd = -1;
        return STATUS_OK;
    }
    FlatBinderObject object;
    const ParcelObject* held = ReadObject(parcel, &object, &status);
    if (status != STATUS_OK || held == nullptr || held->fd.get() < 0) {
        parcel->position = start;
        return status != STATUS_OK ? status : STATUS_BAD_TYPE;
    }
    const int copy = fcntl(held->fd.get(), F_DUPFD_CLOEXEC, 0);
    if (copy < 0) return -errno;
    *fd = copy;
    return STATUS_OK;
}

}  // extern "C"
