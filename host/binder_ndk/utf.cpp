#include "utf.h"

#include <cstdint>

namespace ndk::internal {

std::optional<std::u16string> Utf8ToUtf16(std::string_view utf8) {
    std::u16string utf16;
    utf16.reserve(utf8.size());
    size_t i = 0;
    while (i < utf8.size()) {
        const auto lead = static_cast<uint8_t>(utf8[i]);
        // 0x80..0xBF cannot lead a sequence; the platform keeps such a byte as it is.
        const size_t length = lead < 0xC0 ? 1 : lead < 0xE0 ? 2 : lead < 0xF0 ? 3 : 4;
        if (length > utf8.size() - i) return std::nullopt;
        auto next = [&](size_t k) { return static_cast<char32_t>(utf8[i + k] & 0x3F); };
        char32_t code = lead;
        if (length == 2) code = ((lead & 0x1F) << 6) | next(1);
        if (length == 3) code = ((lead & 0x0F) << 12) | (next(1) << 6) | next(2);
        if (length == 4) code = ((lead & 0x07) << 18) | (next(1) << 12) | (next(2) << 6) | next(3);
        if (code < 0x10000) {
            utf16.push_back(static_cast<char16_t>(code));
        } else {
            utf16.push_back(static_cast<char16_t>(((code - 0x10000) >> 10) + 0xD800));
            utf16.push_back(static_cast<char16_t>(((code - 0x10000) & 0x3FF) + 0xDC00));
        }
        i += length;
    }
    return utf16;
}

std::string Utf16ToUtf8(std::u16string_view utf16) {
    std::string utf8;
    utf8.reserve(utf16.size());
    for (size_t i = 0; i < utf16.size(); ++i) {
        char32_t code = utf16[i];
        if ((code & 0xF800) == 0xD800) {
            const bool pair = (code & 0xFC00) == 0xD800 && i + 1 < utf16.size() &&
                              (utf16[i + 1] & 0xFC00) == 0xDC00;
            if (!pair) continue;
            code = 0x10000 + ((code - 0xD800) << 10) + (utf16[++i] - 0xDC00);
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
