#pragma once

// Helpers for the tests of the generated AIDL types: encode a value into a parcel, decode it back,
// and check what every value of every type must satisfy.

#include <android/binder_auto_utils.h>
#include <android/binder_parcel.h>

#include <cstdint>
#include <string>
#include <vector>

#include <gtest/gtest.h>

namespace autl::test {

using Bytes = std::vector<uint8_t>;

// The parcel's data, or empty when it does not marshal.
inline Bytes Marshal(const AParcel* parcel) {
    Bytes bytes(AParcel_getDataSize(parcel));
    if (AParcel_marshal(parcel, bytes.data(), 0, bytes.size()) != STATUS_OK) return {};
    return bytes;
}

template <typename T>
ndk::ScopedAParcel Write(const T& value) {
    ndk::ScopedAParcel parcel(AParcel_create());
    EXPECT_EQ(STATUS_OK, value.writeToParcel(parcel.get()));
    return parcel;
}

template <typename T>
Bytes Encode(const T& value) {
    return Marshal(Write(value).get());
}

// Decodes bytes into *value; the status of readFromParcel.
template <typename T>
binder_status_t Decode(const Bytes& bytes, T* value) {
    ndk::ScopedAParcel parcel(AParcel_create());
    EXPECT_EQ(STATUS_OK, AParcel_unmarshal(parcel.get(), bytes.data(), bytes.size()));
    return value->readFromParcel(parcel.get());
}

// A value without binders or descriptors: its bytes are the same each time it is written, it reads
// back equal with the same text and reaches the end of the data, and every truncation of it fails
// to read.
template <typename T>
void ExpectRoundTrip(const T& value) {
    SCOPED_TRACE(value.toString());
    const Bytes bytes = Encode(value);
    ASSERT_FALSE(bytes.empty());
    EXPECT_EQ(0u, bytes.size() % 4);
    EXPECT_EQ(bytes, Encode(value));

    ndk::ScopedAParcel parcel(AParcel_create());
    ASSERT_EQ(STATUS_OK, AParcel_unmarshal(parcel.get(), bytes.data(), bytes.size()));
    T decoded;
    ASSERT_EQ(STATUS_OK, decoded.readFromParcel(parcel.get()));
    EXPECT_EQ(static_cast<int32_t>(bytes.size()), AParcel_getDataPosition(parcel.get()));
    EXPECT_EQ(value, decoded);
    EXPECT_FALSE(value != decoded);
    EXPECT_EQ(value.toString(), decoded.toString());
    EXPECT_EQ(bytes, Encode(decoded));

    for (size_t size = 0; size < bytes.size(); ++size) {
        T truncated;
        EXPECT_NE(STATUS_OK, Decode(Bytes(bytes.begin(), bytes.begin() + size), &truncated))
                << "truncated to " << size << " bytes";
    }
}

}  // namespace autl::test
