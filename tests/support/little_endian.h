#pragma once

// Little-endian fields as bytes in a string, to spell out expected file contents.
//
//   EXPECT_EQ(ReadFile(path), "tap0" + Le32(0x01355007) + std::string(8, '\0') + Le32(10) + payload);

#include <cstdint>
#include <string>

namespace autl::test {

inline std::string Le16(uint16_t value) {
    return {static_cast<char>(value & 0xff), static_cast<char>(value >> 8)};
}

inline std::string Le32(uint32_t value) {
    return Le16(static_cast<uint16_t>(value)) + Le16(static_cast<uint16_t>(value >> 16));
}

}  // namespace autl::test
