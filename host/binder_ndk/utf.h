#pragma once

// Conversions between the UTF-8 of C++ strings and the UTF-16 of the parcel wire format. Both are
// strict: an invalid sequence (a bad UTF-8 byte sequence, an overlong form, an encoded surrogate,
// an unpaired UTF-16 surrogate) makes the conversion fail.

#include <optional>
#include <string>
#include <string_view>

namespace ndk::internal {

std::optional<std::u16string> Utf8ToUtf16(std::string_view utf8);
std::optional<std::string> Utf16ToUtf8(std::u16string_view utf16);

}  // namespace ndk::internal
