#pragma once

// Conversions between the UTF-8 of C++ strings and the UTF-16 of the parcel wire format, as lenient
// as the platform's (libutils): a byte that cannot start a sequence is taken as a character of its
// own, continuation bytes are not checked, and unpaired surrogates are dropped on the way to UTF-8.
// Only a sequence cut off by the end of the text fails, as the platform's writes do.

#include <optional>
#include <string>
#include <string_view>

namespace ndk::internal {

// nullopt when the last sequence of utf8 is cut off.
std::optional<std::u16string> Utf8ToUtf16(std::string_view utf8);
std::string Utf16ToUtf8(std::u16string_view utf16);

}  // namespace ndk::internal
