// YamlMapping and YamlSequence built from arbitrary entries: text, numbers, booleans and nested
// nodes, in any order and depth. Checks what Put keeps, the choice between flow and block style,
// the exact flow form of a sequence, and the line structure of both block renderings: each entry
// or item starts one line, and each further line of a value adds one.
//
// Input: a series of operations, each an operation byte (modulo 8) followed by its operands: a key
// or a text as a length byte and that many bytes, a number as 8 little-endian bytes, a boolean as
// one byte. 0 puts a text, 1 and 2 an integer into the mapping; 3 puts the
// sequence into the mapping and starts a new sequence; 4 appends a text, 5 a boolean to the
// sequence; 6 appends the mapping to the sequence and starts a new mapping; 7 checks both.

#include <dumpsys/yaml.h>

#include "fuzz_support.h"

namespace {

using namespace vendor::zentro::tevrash::audio::hal::utils::dumpsys;

const auto Newlines = [](std::string_view text) { return std::ranges::count(text, '\n'); };
// The lines of a value after its first, as a line reader counts them.
const auto Further = [](std::string_view text) { return Newlines(text) - text.ends_with('\n'); };

// The nodes and the lines their block renderings should have.
struct Mapping {
    YamlMapping node;
    long entries = 0, lines = 0;
    bool nested = false;
};
struct Sequence {
    YamlSequence node;
    std::string flow;  // the items joined
    long lines = 0;
};

template <typename T>
void Put(Mapping& mapping, const std::string& key, const T& value, std::string text) {
    if (text.ends_with('\n')) text.pop_back();
    AUTL_FUZZ_CHECK(mapping.node.Put(key, value) == !text.empty());
    if (text.empty()) return;
    ++mapping.entries;
    mapping.lines += 1 + Newlines(key) + Further(text);
    mapping.nested |= text[0] == '\n';
}

template <typename T>
void Append(Sequence& sequence, const T& item, const std::string& text) {
    sequence.node.Append(item);
    sequence.flow += (sequence.lines == 0 ? "" : ", ") + text;
    sequence.lines += 1 + Further(text);
}

void Check(const Mapping& mapping, const Sequence& sequence) {
    const std::string block = mapping.node.ToString(true), flow = mapping.node.ToString(false);
    AUTL_FUZZ_CHECK(mapping.entries == 0 ? block.empty() : Newlines(block) + 1 == mapping.lines);
    AUTL_FUZZ_CHECK(mapping.nested ? flow == block
                                   : flow.starts_with('{') && flow.ends_with('}') &&
                                             Newlines(flow) + mapping.entries == mapping.lines);
    const std::string lines = sequence.node.ToString(true);
    AUTL_FUZZ_CHECK(sequence.node.ToString(false) == "[" + sequence.flow + "]");
    AUTL_FUZZ_CHECK(sequence.lines == 0
                            ? lines == "[]"
                            : lines.starts_with("- ") && Newlines(lines) + 1 == sequence.lines);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    autl::fuzz::ByteReader input(data, size);
    Mapping mapping;
    Sequence sequence;
    for (int operations = 0; !input.rest.empty() && operations < 64; ++operations) {
        const int operation = input.Read<uint8_t>() % 8;
        const std::string key = operation <= 3 ? input.Text() : std::string();
        const std::string text = operation == 0 || operation == 4 ? input.Text() : std::string();
        if (operation == 0) {
            Put(mapping, key, text, text);
        } else if (operation <= 2) {
            const int64_t value = input.Read<int64_t>();
            Put(mapping, key, value, std::to_string(value));
        } else if (operation == 4) {
            Append(sequence, text, text);
        } else if (operation == 5) {
            const bool item = input.Read<uint8_t>() != 0;
            Append(sequence, item, item ? "true" : "false");
        } else {
            Check(mapping, sequence);
            if (operation == 3) {
                // The sequence nests into the mapping and starts again.
                Put(mapping, key, sequence.node, "\n" + sequence.node.ToString(true));
                sequence = {};
            } else if (operation == 6) {
                // The mapping becomes an item of the sequence and starts again.
                Append(sequence, mapping.node, mapping.node.ToString(true));
                mapping = {};
            }
        }
    }
    Check(mapping, sequence);
    return 0;
}
