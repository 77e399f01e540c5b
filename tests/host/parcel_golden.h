#pragma once

// Golden parcels: a file under tests/data/ of entries that each hold bytes and what reading them
// as a type gives, produced again from its own bytes and compared whole.
//
//   int32_t: a number
//     c0030000
//   = 960
//
// An entry is the type's name, with after ": " what the bytes are; the bytes in 4-byte groups, as
// they lie in the parcel; "= " and the value's text, or the status that refused them; "ends at N"
// when the read ended elsewhere than at the end of the data; "writes" and the bytes the value
// writes back, when they differ. A value that writes back the same bytes must also read back equal
// and fail to read from every shorter prefix, except where the platform reads a string cut off at
// the end of the data as a null one. AUTL_UPDATE_GOLDEN=1 rewrites the results.

#include <android-base/stringprintf.h>
#include <android-base/strings.h>
#include <android/binder_parcel_utils.h>
#include <android/binder_to_string.h>

#include <map>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "golden.h"

namespace autl::test {

using Bytes = std::vector<uint8_t>;

// The parcel's data; empty when it holds objects.
inline Bytes Marshal(const AParcel* parcel) {
    Bytes bytes(AParcel_getDataSize(parcel));
    if (AParcel_marshal(parcel, bytes.data(), 0, bytes.size()) != STATUS_OK) return {};
    return bytes;
}

inline ndk::ScopedAParcel Unmarshal(const Bytes& bytes) {
    ndk::ScopedAParcel parcel(AParcel_create());
    EXPECT_EQ(STATUS_OK, AParcel_unmarshal(parcel.get(), bytes.data(), bytes.size()));
    return parcel;
}

// Parcelables as a whole, any other type as a field that may be null.
template <typename T>
binder_status_t ReadValue(const AParcel* parcel, T* value) {
    if constexpr (requires { value->readFromParcel(parcel); }) {
        return value->readFromParcel(parcel);
    } else {
        return ndk::AParcel_readNullableData(parcel, value);
    }
}
template <typename T>
Bytes Encode(const T& value) {
    ndk::ScopedAParcel parcel(AParcel_create());
    if constexpr (requires { value.writeToParcel(parcel.get()); }) {
        EXPECT_EQ(STATUS_OK, value.writeToParcel(parcel.get()));
    } else {
        EXPECT_EQ(STATUS_OK, ndk::AParcel_writeNullableData(parcel.get(), value));
    }
    return Marshal(parcel.get());
}

inline std::string Hex(const Bytes& bytes) {
    std::string text;
    for (size_t i = 0; i < bytes.size(); ++i) {
        text += android::base::StringPrintf(i % 32 == 0  ? "  %02x"
                                            : i % 4 == 0 ? " %02x"
                                                         : "%02x",
                                            bytes[i]);
        if (i % 32 == 31 || i + 1 == bytes.size()) text += "\n";
    }
    return text;
}

inline std::string StatusName(binder_status_t status) {
    static const std::map<binder_status_t, std::string> kNames = {
            {STATUS_BAD_VALUE, "STATUS_BAD_VALUE"},
            {STATUS_NOT_ENOUGH_DATA, "STATUS_NOT_ENOUGH_DATA"},
            {STATUS_UNEXPECTED_NULL, "STATUS_UNEXPECTED_NULL"},
            {STATUS_BAD_TYPE, "STATUS_BAD_TYPE"},
            {STATUS_NO_MEMORY, "STATUS_NO_MEMORY"}};
    return kNames.contains(status) ? kNames.at(status) : std::to_string(status);
}

// What reading bytes as a T gives, as the golden file spells it.
template <typename T>
std::string Read(const Bytes& bytes) {
    ndk::ScopedAParcel parcel = Unmarshal(bytes);
    T value{};
    const binder_status_t status = ReadValue(parcel.get(), &value);
    if (status != STATUS_OK) return "= " + StatusName(status) + "\n";
    std::string text = "= " + android::internal::ToString(value) + "\n";
    if (const int32_t end = AParcel_getDataPosition(parcel.get()); end != std::ssize(bytes)) {
        text += "ends at " + std::to_string(end) + "\n";
    }
    const Bytes written = Encode(value);
    if (written != bytes) return text + "writes\n" + Hex(written);
    T again{};
    EXPECT_EQ(STATUS_OK, ReadValue(Unmarshal(written).get(), &again));
    EXPECT_EQ(value, again);
    for (size_t size = 0; size < bytes.size(); ++size) {
        T truncated{};
        if (ReadValue(Unmarshal(Bytes(bytes.begin(), bytes.begin() + size)).get(), &truncated) ==
            STATUS_OK) {
            EXPECT_NE(std::string::npos, android::internal::ToString(truncated).find("(null)"))
                    << size << text;
        }
    }
    return text;
}

using Reader = std::string (*)(const Bytes&);

// The readers of the types, by the names that AUTL_READERS spells out: AUTL_READERS(int32_t, Reply).
template <typename... T>
std::map<std::string, Reader> ReadersOf(const std::string& names) {
    const std::vector<std::string> split = android::base::Split(names, ",");
    std::map<std::string, Reader> readers;
    size_t i = 0;
    ((readers[android::base::Trim(split.at(i++))] = Read<T>), ...);
    return readers;
}
#define AUTL_READERS(...) autl::test::ReadersOf<__VA_ARGS__>(#__VA_ARGS__)

// Compares the golden file tests/data/<name> whole with what its entries read as, by type name.
inline void ExpectGoldenParcels(const std::string& name,
                                const std::map<std::string, Reader>& readers) {
    enum { kBetween, kBytes, kResult } state = kBetween;
    std::string actual, type;
    Bytes bytes;
    const auto flush = [&] {
        if (state != kBetween) actual += Hex(bytes) + readers.at(type)(bytes);
        state = kBetween;
    };
    std::string golden;
    ASSERT_TRUE(android::base::ReadFileToString(AUTL_TEST_DATA "/" + name, &golden)) << name;
    for (const std::string& line : android::base::Split(golden, "\n")) {
        if (state == kBytes && line.starts_with("  ")) {
            for (const std::string& word : android::base::Split(line.substr(2), " ")) {
                for (size_t i = 0; i + 1 < word.size(); i += 2) {
                    bytes.push_back(static_cast<uint8_t>(std::stoi(word.substr(i, 2), nullptr, 16)));
                }
            }
        } else if (state != kBetween && (line.starts_with("  ") || line.starts_with("= ") ||
                                         line.starts_with("ends at ") || line == "writes")) {
            state = kResult;
        } else if (line.empty() || line.starts_with("#")) {
            flush();
            actual += line + "\n";
        } else {
            flush();
            type = line.substr(0, line.find(": "));
            ASSERT_TRUE(readers.contains(type)) << line;
            actual += line + "\n";
            bytes.clear();
            state = kBytes;
        }
    }
    actual.pop_back();
    EXPECT_EQ(actual, Golden(name, actual));
}

}  // namespace autl::test
