#include "utf.h"

#include <cstdint>

namespace ndk::internal {

std::optional<std::u16string> Utf8ToUtf16(std::string_view utf8) {
    std::u16string utf16;
    utf16.reserve(utf8.size());
    size_t i = 0;
    while (i < utf8.size()) {
        const auto lead = static_cast<uint8_t>(utf8[i]);
        size_t length;
        char32_t code;
        if (lead < 0x80) {
            length = 1;
            code = lead;
        } else if ((lead & 0xE0) == 0xC0) {
            length = 2;
            code = lead & 0x1F;
        } else if ((lead & 0xF0) == 0xE0) {
            length = 3;
            code = lead & 0x0F;
        } else if ((lead & 0xF8) == 0xF0) {
            length = 4;
            code = lead & 0x07;
        } else {
            return std::nullopt;
        }
        if (length > utf8.size() - i) return std::nullopt;
        for (size_t k = 1; k < length; ++k) {
            const auto next = static_cast<uint8_t>(utf8[i + k]);
            if ((next & 0xC0) != 0x80) return std::nullopt;
            code = (code << 6) | (next & 0x3F);
        }
        static constexpr char32_t kSmallest[] = {0, 0, 0x80, 0x800, 0x10000};
        if (code < kSmallest[length] || code > 0x10FFFF || (code >= 0xD800 && code <= 0xDFFF)) {
            return std::nullopt;
        }
        if (code >= 0x10000) {
            code -= 0x10000;
            utf16.push_back(static_cast<char16_t>(0xD800 + (code >> 10)));
            utf16.push_back(static_cast<char16_t>(0xDC00 + (code & 0x3FF)));
        } else {
            utf16.push_back(static_cast<char16_t>(code));
        }
        i += length;
    }
    return utf16;
}

std::optional<std::string> Utf16ToUtf8(std::u16string_view utf16) {
    std::string utf8;
    utf8.reserve(utf16.size());
    for (size_t i = 0; i < utf16.size(); ++i) {
        char32_t code = utf16[i];
        if (code >= 0xDC00 && code <= 0xDFFF) return std::nullopt;
        if (code >= 0xD800 && code <= 0xDBFF) {
            if (i + 1 == utf16.size()) return std::nullopt;
            const char32_t low = utf16[i + 1];
            if (low < 0xDC00 || low > 0xDFFF) return std::nullopt;
            code = 0x10000 + ((code - 0xD800) << 10) + (low - 0xDC00);
            ++i;
        }
        if (code < 0x80) {
            utf8.push_back(static_cast<char>(code));
        } else if (code < 0x800) {
            utf8.push_back(static_cast<char>(0xC0 | (code >> 6)));
            utf8.push_back(static_cast<char>(0x80 | (code & 0x3F)));
        } else if (code < 0x10000) {
            utf8.push_back(static_cast<char>(0xE0 | (code >> 12)));
            utf8.push_back(static_cast<char>(0x80 | ((code >> 6) & 0x3F)));
            utf8.push_back(static_cast<char>(0x80 | (code & 0x3F)));
        } else {
            utf8.push_back(static_cast<char>(0xF0 | (code >> 18)));
            utf8.push_back(static_cast<char>(0x80 | ((code >> 12) & 0x3F)));
            utf8.push_back(static_cast<char>(0x80 | ((code >> 6) & 0x3F)));
            utf8.push_back(static_cast<char>(0x80 | (code & 0x3F)));
        }
    }
    return utf8;
}

}  // namespace ndk::internal
