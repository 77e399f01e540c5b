#pragma once

// Byte-level helpers of the capture formats: little-endian fields, whatever the host's byte order,
// and raw bytes shown in messages.

#include <android-base/stringprintf.h>

#include <cstdint>
#include <string>
#include <string_view>

namespace autl::capture {

inline uint16_t GetLittleEndian16(const uint8_t* at) {
    return static_cast<uint16_t>(at[0] | (at[1] << 8));
}

inline uint32_t GetLittleEndian32(const uint8_t* at) {
    return GetLittleEndian16(at) | (uint32_t{GetLittleEndian16(at + 2)} << 16);
}

// Each returns the position after the field.
inline uint8_t* PutLittleEndian16(uint8_t* at, uint16_t value) {
    at[0] = static_cast<uint8_t>(value);
    at[1] = static_cast<uint8_t>(value >> 8);
    return at + 2;
}

inline uint8_t* PutLittleEndian32(uint8_t* at, uint32_t value) {
    return PutLittleEndian16(PutLittleEndian16(at, static_cast<uint16_t>(value)),
                             static_cast<uint16_t>(value >> 16));
}

// Printable ASCII as it is, any other byte as \xNN.
inline std::string PrintableText(std::string_view bytes) {
    std::string text;
    for (const char c : bytes) {
        if (c >= 0x20 && c < 0x7f) {
            text += c;
        } else {
            text += android::base::StringPrintf("\\x%02x", static_cast<unsigned char>(c));
        }
    }
    return text;
}

}  // namespace autl::capture
