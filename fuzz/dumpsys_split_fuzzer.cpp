// Dumpsys::SplitInternal with arbitrary text, prefix, indentation and first flag. Every line
// reaches the output in one write and starts with the indentation, the prefix and, on continuation
// lines, four spaces; the rest of the lines joined give back the text; no line exceeds its limit
// (150 characters, 146 on continuation lines, plus a trailing ", " that ends it); a hard cut
// happens only where no ", " fits, and a cut at ", " takes the last one that fits. Filters change
// nothing: split lines carry no title.
//
// Input: the indentation (one byte; 255 means the 4-byte little-endian number that follows), the
// first flag (one byte, odd for true), the prefix (a length byte and that many bytes), then the
// text.

#include <dumpsys/dumpsys.h>

#include <algorithm>
#include <string>
#include <vector>

#include "fuzz_support.h"

namespace {

using autl::fuzz::ByteReader;
using vendor::zentro::tevrash::audio::hal::utils::dumpsys::Dumpsys;
using vendor::zentro::tevrash::audio::hal::utils::dumpsys::DumpsysInfo;

// Records every write it is given as one entry.
class WriteRecorder : public std::streambuf {
  public:
    std::vector<std::string> writes;

  protected:
    std::streamsize xsputn(const char* s, std::streamsize n) override {
        writes.emplace_back(s, static_cast<size_t>(n));
        return n;
    }
    int_type overflow(int_type c) override {
        if (!traits_type::eq_int_type(c, traits_type::eof())) {
            writes.emplace_back(1, traits_type::to_char_type(c));
        }
        return c;
    }
};

std::vector<std::string> Split(uint32_t indentation, std::vector<std::string_view> filters,
                               std::string_view text, bool first, std::string_view prefix) {
    WriteRecorder recorder;
    DumpsysInfo info(-1, indentation, std::move(filters));
    info.stream_buffer = &recorder;
    Dumpsys::SplitInternal(info, text, first, prefix);
    return recorder.writes;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    ByteReader input(data, size);
    uint32_t indentation = input.Read<uint8_t>();
    if (indentation == 255) indentation = input.Read<uint32_t>();
    const bool first = (input.Read<uint8_t>() & 1) != 0;
    const std::string prefix = input.Text();
    const std::string text = input.Rest();

    const std::vector<std::string> lines = Split(indentation, {}, text, first, prefix);
    AUTL_FUZZ_CHECK(!lines.empty());
    AUTL_FUZZ_CHECK(lines == Split(indentation, {"AUtl::Nothing"}, text, first, prefix));

    const std::string indent(std::min(indentation, Dumpsys::kMaxIndentation), ' ');
    std::string_view rest = text;
    for (size_t k = 0; k < lines.size(); ++k) {
        const bool continuation = k > 0 || !first;
        const std::string head = indent + prefix + (continuation ? "    " : "");
        const size_t limit = continuation ? 146 : 150;
        const std::string_view line = lines[k];
        AUTL_FUZZ_CHECK(line.ends_with('\n'));
        AUTL_FUZZ_CHECK(line.starts_with(head));
        const std::string_view chunk = line.substr(head.size(), line.size() - head.size() - 1);
        AUTL_FUZZ_CHECK(rest.starts_with(chunk));
        if (k + 1 == lines.size()) {
            AUTL_FUZZ_CHECK(chunk.size() == rest.size());
            AUTL_FUZZ_CHECK(chunk.size() <= limit);
            break;
        }
        // Only a text over the limit is split.
        AUTL_FUZZ_CHECK(rest.size() > limit);
        const std::string_view range = rest.substr(0, limit + 2);
        // The last ", " whose space still lies in the range, or none.
        const size_t separator =
                range.size() < 2 ? std::string_view::npos : range.rfind(", ", range.size() - 2);
        if (separator == std::string_view::npos) {
            AUTL_FUZZ_CHECK(chunk.size() == limit);
        } else {
            AUTL_FUZZ_CHECK(chunk.size() == separator + 2);
            AUTL_FUZZ_CHECK(chunk.ends_with(", "));
        }
        rest.remove_prefix(chunk.size());
    }
    return 0;
}
