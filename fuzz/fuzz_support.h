#pragma once

// Helpers shared by the fuzz targets: invariant checks that end the run as a crash libFuzzer
// records, a reader of the simple input formats (so that seed inputs are easy to write by hand),
// and parcels made from or turned into bytes.

#include <android/binder_auto_utils.h>
#include <android/binder_parcel.h>

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <type_traits>
#include <vector>

// Aborts with the failed condition named when an invariant does not hold.
#define AUTL_FUZZ_CHECK(condition)                                                                 \
    do {                                                                                           \
        if (!(condition)) {                                                                        \
            std::fprintf(stderr, "%s:%d: invariant failed: %s\n", __FILE__, __LINE__, #condition); \
            std::abort();                                                                          \
        }                                                                                          \
    } while (false)

namespace autl::fuzz {

// Reads an input front to back; past its end every value is zero or empty.
class ByteReader {
  public:
    ByteReader(const uint8_t* data, size_t size) : data_(data), size_(size) {}

    size_t remaining() const { return size_; }

    // A little-endian integer (or the bits of a float) of sizeof(T) bytes.
    template <typename T>
    T Read() {
        static_assert(std::is_trivially_copyable_v<T>);
        const std::string bytes = Bytes(sizeof(T));
        T value{};
        std::memcpy(&value, bytes.data(), bytes.size());
        return value;
    }

    // A length of one byte (Text) or two bytes, little-endian (LongText), then that many bytes.
    std::string Text() { return Bytes(Read<uint8_t>()); }
    std::string LongText() { return Bytes(Read<uint16_t>()); }
    std::string Rest() { return Bytes(size_); }

  private:
    std::string Bytes(size_t n) {
        n = std::min(n, size_);
        std::string bytes(reinterpret_cast<const char*>(data_), n);
        data_ += n;
        size_ -= n;
        return bytes;
    }

    const uint8_t* data_;
    size_t size_;
};

// A parcel holding exactly these bytes as its data, at position 0.
inline ndk::ScopedAParcel ParcelFromBytes(const std::vector<uint8_t>& bytes) {
    ndk::ScopedAParcel parcel(AParcel_create());
    AUTL_FUZZ_CHECK(AParcel_unmarshal(parcel.get(), bytes.data(), bytes.size()) == STATUS_OK);
    return parcel;
}

// The parcel's data; empty when it holds binders or descriptors, which do not marshal. Rewinds the
// parcel first: a read that moved the position past the data (a parcelable whose size header says
// so) makes the data size count up to the position, as on the platform.
inline std::vector<uint8_t> BytesOf(const AParcel* parcel) {
    AUTL_FUZZ_CHECK(AParcel_setDataPosition(parcel, 0) == STATUS_OK);
    std::vector<uint8_t> bytes(static_cast<size_t>(AParcel_getDataSize(parcel)));
    if (AParcel_marshal(parcel, bytes.data(), 0, bytes.size()) != STATUS_OK) return {};
    return bytes;
}

}  // namespace autl::fuzz
