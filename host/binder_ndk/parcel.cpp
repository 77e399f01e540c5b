#include <android/binder_parcel.h>

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <memory>
#include <optional>
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

// Where a read of n bytes at the position stands. Reads never cross the end of the data; a plain
// read over the bytes of a binder or descriptor object is refused, and, as on the platform, the
// position still moves past it.
enum class Span { kOk, kShort, kObject };

// n bytes at the position, which moves past them and their padding; null when the data does not
// hold them (the position stays) or they overlap an object (the position moves), with *span saying
// which.
const uint8_t* ReadSpan(const AParcel* parcel, size_t n, Span* span = nullptr) {
    const size_t size = parcel->data.size();
    const size_t start = parcel->position;
    if (n > kMaxDataSize || start > size || Pad4(n) > size - start) {
        if (span != nullptr) *span = Span::kShort;
        return nullptr;
    }
    parcel->position += Pad4(n);
    for (const ParcelObject& object : parcel->objects) {
        if (object.offset < start + Pad4(n) && object.offset + sizeof(FlatBinderObject) > start) {
            if (span != nullptr) *span = Span::kObject;
            return nullptr;
        }
    }
    if (span != nullptr) *span = Span::kOk;
    return parcel->data.data() + start;
}

binder_status_t SpanStatus(Span span) {
    return span == Span::kObject ? STATUS_PERMISSION_DENIED : STATUS_NOT_ENOUGH_DATA;
}

// The bytes after the position.
size_t DataAvail(const AParcel* parcel) {
    const size_t size = parcel->data.size();
    return parcel->position < size ? size - parcel->position : 0;
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
    Span span;
    const uint8_t* bytes = ReadSpan(parcel, sizeof(T), &span);
    if (bytes == nullptr) return SpanStatus(span);
    std::memcpy(value, bytes, sizeof(T));
    return STATUS_OK;
}

// An int32 read that gives 0 when it fails, as the platform's readInt32() does.
int32_t ReadInt32OrZero(const AParcel* parcel) {
    int32_t value = 0;
    (void)ReadValue(parcel, &value);
    return value;
}

// Values narrower than 4 bytes travel as an int32; a failed read still stores (zero), as on the
// platform.
template <typename T>
binder_status_t ReadNarrow(const AParcel* parcel, T* value) {
    int32_t wide = 0;
    binder_status_t status = ReadValue(parcel, &wide);
    *value = static_cast<T>(wide);
    return status;
}

// The platform's status of a failed system call: the errno values that have a status name keep
// it, any other becomes STATUS_UNKNOWN_ERROR.
binder_status_t StatusFromErrno(int error) {
    switch (error) {
        case ENOMEM:
        case ENOSYS:
        case EINVAL:
        case ENOENT:
        case EPERM:
        case ENODEV:
        case EEXIST:
        case EPIPE:
        case EOVERFLOW:
        case ENODATA:
        case EWOULDBLOCK:
        case ETIMEDOUT:
        case EBADMSG:
            return -error;
        default:
            return STATUS_UNKNOWN_ERROR;
    }
}

// An array's count on write: -1 alone stands for the null array, which has no data; a count that
// disagrees with the data is refused.
binder_status_t WriteArraySize(AParcel* parcel, bool null_array, int32_t length) {
    if (length < -1 || (!null_array && length < 0) || (null_array && length > 0)) {
        return STATUS_BAD_VALUE;
    }
    return WriteValue(parcel, length);
}

// An array's count on read: -1 (null) or a count no larger than the bytes left, so that a corrupt
// count never sizes a huge destination. A larger count is STATUS_NO_MEMORY, as on the platform.
binder_status_t ReadArraySize(const AParcel* parcel, int32_t* length) {
    binder_status_t status = ReadValue(parcel, length);
    if (status != STATUS_OK) return status;
    if (*length < -1) return STATUS_BAD_VALUE;
    if (*length <= 0) return STATUS_OK;
    if (static_cast<size_t>(*length) > DataAvail(parcel)) return STATUS_NO_MEMORY;
    return STATUS_OK;
}

// The status of an allocator that refused: the refused null array is a null where a value is
// required, any other refusal a failed allocation.
binder_status_t RefusedAllocation(int32_t length) {
    return length < 0 ? STATUS_UNEXPECTED_NULL : STATUS_NO_MEMORY;
}

// Contiguous arrays of 1-, 4- or 8-byte numbers; bytes are packed and padded.
template <typename T>
binder_status_t WriteNumberArray(AParcel* parcel, const T* data, int32_t length) {
    binder_status_t status = WriteArraySize(parcel, data == nullptr, length);
    if (status != STATUS_OK || length <= 0) return status;
    int32_t size = 0;
    if (__builtin_mul_overflow(static_cast<int32_t>(sizeof(T)), length, &size)) {
        return STATUS_NO_MEMORY;
    }
    uint8_t* span = WriteSpan(parcel, static_cast<size_t>(size));
    if (span == nullptr) return STATUS_NO_MEMORY;
    std::memcpy(span, data, static_cast<size_t>(size));
    return STATUS_OK;
}

template <typename T>
binder_status_t ReadNumberArray(const AParcel* parcel, void* array_data,
                                bool (*allocator)(void*, int32_t, T**)) {
    int32_t length;
    binder_status_t status = ReadArraySize(parcel, &length);
    if (status != STATUS_OK) return status;
    T* array = nullptr;
    if (!allocator(array_data, length, &array)) return RefusedAllocation(length);
    if (length <= 0) return STATUS_OK;
    if (array == nullptr) return STATUS_NO_MEMORY;
    int32_t size = 0;
    if (__builtin_mul_overflow(static_cast<int32_t>(sizeof(T)), length, &size)) {
        return STATUS_NO_MEMORY;
    }
    const uint8_t* span = ReadSpan(parcel, static_cast<size_t>(size));
    if (span == nullptr) return STATUS_NO_MEMORY;
    std::memcpy(array, span, static_cast<size_t>(size));
    return STATUS_OK;
}

binder_status_t WriteUtf16(AParcel* parcel, const char* string, int32_t length) {
    if (string == nullptr) {
        if (length != -1) return STATUS_BAD_VALUE;
        return WriteValue<int32_t>(parcel, -1);
    }
    if (length < 0) return STATUS_BAD_VALUE;
    const auto utf16 = ndk::internal::Utf8ToUtf16(std::string_view(string, length));
    if (!utf16.has_value() || utf16->size() >= static_cast<size_t>(INT32_MAX)) {
        return STATUS_BAD_VALUE;
    }
    binder_status_t status = WriteValue(parcel, static_cast<int32_t>(utf16->size()));
    if (status != STATUS_OK) return status;
    const size_t bytes = (utf16->size() + 1) * sizeof(char16_t);
    uint8_t* span = WriteSpan(parcel, bytes);
    if (span == nullptr) return STATUS_NO_MEMORY;
    std::memcpy(span, utf16->c_str(), bytes);  // with the NUL
    return STATUS_OK;
}

// Reads a string as the platform does: nullopt for the null string and for any malformed one (a
// count below 0, a count past the data, a missing NUL), which its callers cannot tell apart.
std::optional<std::string> ReadUtf8(const AParcel* parcel) {
    const int32_t length = ReadInt32OrZero(parcel);
    if (length < 0 || length == INT32_MAX) return std::nullopt;
    const size_t units = static_cast<size_t>(length) + 1;
    const uint8_t* span = ReadSpan(parcel, units * sizeof(char16_t));
    if (span == nullptr) return std::nullopt;
    std::u16string utf16(units, u'\0');
    std::memcpy(utf16.data(), span, units * sizeof(char16_t));
    if (utf16.back() != u'\0') return std::nullopt;
    utf16.pop_back();
    return ndk::internal::Utf16ToUtf8(utf16);
}

// Hands a string to a caller's allocator: length counts the NUL. A null string is offered as the
// length -1 with a null buffer pointer, as on the platform.
template <typename Allocate>
binder_status_t DeliverString(const std::optional<std::string>& utf8, Allocate allocate) {
    if (!utf8.has_value()) return allocate(-1, nullptr) ? STATUS_OK : STATUS_UNEXPECTED_NULL;
    if (utf8->size() >= static_cast<size_t>(INT32_MAX)) return STATUS_BAD_VALUE;
    char* buffer = nullptr;
    const int32_t length = static_cast<int32_t>(utf8->size() + 1);
    if (!allocate(length, &buffer) || buffer == nullptr) return STATUS_NO_MEMORY;
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

// Reads the object bytes at the position, moving past them when the data holds them. *held is the
// object the parcel holds there, or null: bytes written as data or copied in carry no object.
bool ReadObject(const AParcel* parcel, FlatBinderObject* object, const ParcelObject** held) {
    const size_t offset = parcel->position;
    const size_t size = parcel->data.size();
    if (offset > size || sizeof(*object) > size - offset) return false;
    std::memcpy(object, parcel->data.data() + offset, sizeof(*object));
    parcel->position += sizeof(*object);
    *held = nullptr;
    for (const ParcelObject& candidate : parcel->objects) {
        if (candidate.offset == offset) *held = &candidate;
    }
    return true;
}

// The descriptor of the object at the position, or -1: the platform's readFileDescriptor().
int ReadFileDescriptor(const AParcel* parcel) {
    FlatBinderObject object;
    const ParcelObject* held = nullptr;
    if (!ReadObject(parcel, &object, &held) || held == nullptr || object.type != kTypeFd) {
        return -1;
    }
    return held->fd.get();
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
    int32_t wide = 0;
    binder_status_t status = ReadValue(parcel, &wide);
    *value = wide != 0;
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
    return DeliverString(ReadUtf8(parcel), [&](int32_t length, char** buffer) {
        return allocator(stringData, length, buffer);
    });
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
    binder_status_t status = WriteArraySize(parcel, arrayData == nullptr, length);
    for (int32_t i = 0; status == STATUS_OK && i < length; ++i) {
        status = AParcel_writeChar(parcel, arrayData[i]);
    }
    return status;
}

binder_status_t AParcel_writeByteArray(AParcel* parcel, const int8_t* arrayData, int32_t length) {
    return WriteNumberArray(parcel, arrayData, length);
}

binder_status_t AParcel_writeBoolArray(AParcel* parcel, const void* arrayData, int32_t length,
                                       AParcel_boolArrayGetter getter) {
    binder_status_t status = WriteArraySize(parcel, length < 0, length);
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
    binder_status_t status = ReadArraySize(parcel, &length);
    if (status != STATUS_OK) return status;
    char16_t* array = nullptr;
    if (!allocator(arrayData, length, &array)) return RefusedAllocation(length);
    if (length <= 0) return STATUS_OK;
    if (array == nullptr) return STATUS_NO_MEMORY;
    for (int32_t i = 0; status == STATUS_OK && i < length; ++i) {
        status = AParcel_readChar(parcel, &array[i]);
    }
    return status;
}

binder_status_t AParcel_readByteArray(const AParcel* parcel, void* arrayData,
                                      AParcel_byteArrayAllocator allocator) {
    return ReadNumberArray(parcel, arrayData, allocator);
}

binder_status_t AParcel_readBoolArray(const AParcel* parcel, void* arrayData,
                                      AParcel_boolArrayAllocator allocator,
                                      AParcel_boolArraySetter setter) {
    int32_t length;
    binder_status_t status = ReadArraySize(parcel, &length);
    if (status != STATUS_OK) return status;
    if (!allocator(arrayData, length)) return RefusedAllocation(length);
    for (int32_t i = 0; status == STATUS_OK && i < length; ++i) {
        bool value;
        status = AParcel_readBool(parcel, &value);
        if (status == STATUS_OK) setter(arrayData, static_cast<size_t>(i), value);
    }
    return status;
}

binder_status_t AParcel_writeStringArray(AParcel* parcel, const void* arrayData, int32_t length,
                                         AParcel_stringArrayElementGetter getter) {
    binder_status_t status = WriteArraySize(parcel, length < 0, length);
    for (int32_t i = 0; status == STATUS_OK && i < length; ++i) {
        int32_t element_length = 0;
        const char* element = getter(arrayData, static_cast<size_t>(i), &element_length);
        if (element == nullptr && element_length != -1) return STATUS_BAD_VALUE;
        status = WriteUtf16(parcel, element, element_length);
    }
    return status;
}

// A refused allocation is STATUS_NO_MEMORY here even for the null array, as on the platform.
binder_status_t AParcel_readStringArray(const AParcel* parcel, void* arrayData,
                                        AParcel_stringArrayAllocator allocator,
                                        AParcel_stringArrayElementAllocator elementAllocator) {
    int32_t length;
    binder_status_t status = ReadArraySize(parcel, &length);
    if (status != STATUS_OK) return status;
    if (!allocator(arrayData, length)) return STATUS_NO_MEMORY;
    for (int32_t i = 0; status == STATUS_OK && i < length; ++i) {
        status = DeliverString(ReadUtf8(parcel), [&](int32_t string_length, char** buffer) {
            return elementAllocator(arrayData, static_cast<size_t>(i), string_length, buffer);
        });
    }
    return status;
}

binder_status_t AParcel_writeParcelableArray(AParcel* parcel, const void* arrayData, int32_t length,
                                             AParcel_writeParcelableElement elementWriter) {
    binder_status_t status = WriteArraySize(parcel, length < 0, length);
    for (int32_t i = 0; status == STATUS_OK && i < length; ++i) {
        status = elementWriter(parcel, arrayData, static_cast<size_t>(i));
    }
    return status;
}

// A refused allocation is STATUS_NO_MEMORY here even for the null array, as on the platform.
binder_status_t AParcel_readParcelableArray(const AParcel* parcel, void* arrayData,
                                            AParcel_parcelableArrayAllocator allocator,
                                            AParcel_readParcelableElement elementReader) {
    int32_t length;
    binder_status_t status = ReadArraySize(parcel, &length);
    if (status != STATUS_OK) return status;
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
    FlatBinderObject object;
    const ParcelObject* held = nullptr;
    if (!ReadObject(parcel, &object, &held)) return STATUS_BAD_TYPE;
    AIBinder* found = nullptr;
    if (held != nullptr && held->binder.get() != nullptr && object.type == kTypeBinder) {
        found = held->binder.get();
    } else if (held != nullptr || object.type != kTypeBinder || object.binder_or_handle != 0 ||
               object.cookie != 0) {
        // Not a binder this parcel holds: bytes copied in, or another kind of object.
        return STATUS_BAD_TYPE;
    }
    int32_t stability;
    binder_status_t status = ReadValue(parcel, &stability);
    if (status != STATUS_OK) return status;
    // A null binder is always written as undeclared.
    if (found == nullptr && stability != ndk::internal::GetStability(nullptr)) {
        return STATUS_BAD_TYPE;
    }
    if (found != nullptr) AIBinder_incStrong(found);
    *binder = found;
    return STATUS_OK;
}

// A descriptor travels as a ParcelFileDescriptor: the int32 1 (not null), the int32 0 (it has no
// communication channel), then its object. The parcel holds a duplicate.
binder_status_t AParcel_writeParcelFileDescriptor(AParcel* parcel, int fd) {
    if (fd < 0) {
        if (fd != -1) return STATUS_UNKNOWN_ERROR;
        return WriteValue<int32_t>(parcel, 0);
    }
    binder_status_t status = WriteValue<int32_t>(parcel, 1);
    if (status != STATUS_OK) return status;
    ndk::ScopedFileDescriptor copy(fcntl(fd, F_DUPFD_CLOEXEC, 0));
    if (copy.get() < 0) return StatusFromErrno(errno);
    status = WriteValue<int32_t>(parcel, 0);
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
    parcel->position = start;
    // The platform reads the marker once more, as a ParcelFileDescriptor's own: only 1 is valid.
    if (ReadInt32OrZero(parcel) != 1) return STATUS_UNEXPECTED_NULL;
    const int32_t has_comm = ReadInt32OrZero(parcel);
    const int held = ReadFileDescriptor(parcel);
    if (has_comm != 0) {
        // A descriptor with a communication channel is detached by telling the sender so.
        const int comm = ReadFileDescriptor(parcel);
        const uint32_t detached = __builtin_bswap32(2);
        if (comm < 0 || TEMP_FAILURE_RETRY(write(comm, &detached, sizeof(detached))) !=
                                static_cast<ssize_t>(sizeof(detached))) {
            return STATUS_BAD_TYPE;
        }
    }
    if (held < 0) return STATUS_BAD_TYPE;
    const int copy = fcntl(held, F_DUPFD_CLOEXEC, 0);
    if (copy < 0) return STATUS_BAD_VALUE;
    *fd = copy;
    return STATUS_OK;
}

}  // extern "C"
