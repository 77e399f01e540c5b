// Dumpsys::SplitInternal with arbitrary text, prefix, indentation and first flag. Every line
// reaches the output in one write and starts with the indentation, the prefix and, on continuation
// lines, four spaces; the rest of the lines joined give back the text; only a text over its limit
// (150 characters, 146 on continuation lines) is cut, at the last ", " whose space fits within the
// limit plus two, else hard at the limit.
//
// Input: the indentation (one byte; 255 means the 4-byte little-endian number that follows), the
// first flag (one byte, odd for true), the prefix (a length byte and that many bytes), then the
// text.

#include <dumpsys/dumpsys.h>

#include "fuzz_support.h"

namespace {

using namespace vendor::zentro::tevrash::audio::hal::utils::dumpsys;

// Keeps every write it is given as one entry; a write of a single character is lost.
struct WriteRecorder : std::streambuf {
    std::vector<std::string> writes;
    std::streamsize xsputn(const char* s, std::streamsize n) override {
        writes.emplace_back(s, static_cast<size_t>(n));
        return n;
    }
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    autl::fuzz::ByteReader input(data, size);
    uint32_t indentation = input.Read<uint8_t>();
    if (indentation == 255) indentation = input.Read<uint32_t>();
    const bool first = (input.Read<uint8_t>() & 1) != 0;
    const std::string prefix = input.Text();
    const std::string_view text = input.rest;

    WriteRecorder recorder;
    DumpsysInfo info(-1, indentation);
    info.stream_buffer = &recorder;
    Dumpsys::SplitInternal(info, text, first, prefix);
    const std::vector<std::string>& lines = recorder.writes;
    AUTL_FUZZ_CHECK(!lines.empty());
    const std::string indent(std::min(indentation, Dumpsys::kMaxIndentation), ' ');
    std::string_view rest = text;
    for (size_t k = 0; k < lines.size(); ++k) {
        const bool continuation = k > 0 || !first;
        const std::string head = indent + prefix + (continuation ? "    " : "");
        const size_t limit = continuation ? 146 : 150;
        std::string_view chunk = lines[k];
        AUTL_FUZZ_CHECK(chunk.starts_with(head) && chunk.ends_with('\n'));
        chunk = chunk.substr(head.size(), chunk.size() - head.size() - 1);
        // Only a text over the limit is cut: at the last ", " whose space lies within limit + 2
        // characters, else at the limit.
        const bool last = k + 1 == lines.size();
        const size_t separator = rest.rfind(", ", limit);
        AUTL_FUZZ_CHECK(rest.starts_with(chunk) && (rest.size() > limit) != last &&
                        chunk.size() == (last                             ? rest.size()
                                         : separator == std::string::npos ? limit
                                                                          : separator + 2));
        rest.remove_prefix(chunk.size());
    }
    return 0;
}
