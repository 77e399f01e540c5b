#pragma once

// Helpers shared by the fuzz targets: invariant checks that end the run as a crash libFuzzer
// records, a reader of the simple input formats (so that seed inputs are easy to write by hand),
// and parcels made from or turned into bytes. Includes the standard headers the targets share.

#include <android/binder_auto_utils.h>
#include <android/binder_parcel.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <optional>
#include <span>
#include <string>
#include <utility>
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

inline std::string_view AsText(std::span<const uint8_t> bytes) {
    return {reinterpret_cast<const char*>(bytes.data()), bytes.size()};
}

inline std::span<const uint8_t> AsBytes(std::string_view text) {
    return {reinterpret_cast<const uint8_t*>(text.data()), text.size()};
}

// Reads an input front to back; past its end every value is zero or empty. A copy reads on alone.
struct ByteReader {
    ByteReader(const uint8_t* data, size_t size) : rest(AsText({data, size})) {}

    // A little-endian integer (or the bits of a float) of sizeof(T) bytes.
    template <typename T>
    T Read() {
        T value{};
        Read(&value, sizeof(T));
        return value;
    }
    // Fills n bytes at to, or as many of them as the input still has.
    void Read(void* to, size_t n) {
        const std::string bytes = Bytes(n);
        std::memcpy(to, bytes.data(), bytes.size());
    }
    std::string Bytes(size_t n) {
        const std::string bytes(rest.substr(0, n));
        rest.remove_prefix(bytes.size());
        return bytes;
    }
    // A length of one byte (Text) or two bytes, little-endian (LongText), then that many bytes.
    std::string Text() { return Bytes(Read<uint8_t>()); }
    std::string LongText() { return Bytes(Read<uint16_t>()); }

    std::string_view rest;  // what is still to read
};

// A parcel holding exactly these bytes as its data, at position 0.
inline ndk::ScopedAParcel ParcelFromBytes(std::string_view bytes) {
    ndk::ScopedAParcel parcel(AParcel_create());
    AUTL_FUZZ_CHECK(AParcel_unmarshal(parcel.get(), AsBytes(bytes).data(), bytes.size()) == 0);
    return parcel;
}

// The parcel's data; empty when it holds binders or descriptors, which do not marshal. Rewinds the
// parcel first: a read that moved the position past the data (a parcelable whose size header says
// so) makes the data size count up to the position, as on the platform.
inline std::string BytesOf(const AParcel* parcel) {
    AUTL_FUZZ_CHECK(AParcel_setDataPosition(parcel, 0) == STATUS_OK);
    std::string bytes(static_cast<size_t>(AParcel_getDataSize(parcel)), '\0');
    auto* data = reinterpret_cast<uint8_t*>(bytes.data());
    return AParcel_marshal(parcel, data, 0, bytes.size()) == STATUS_OK ? bytes : std::string();
}

}  // namespace autl::fuzz
