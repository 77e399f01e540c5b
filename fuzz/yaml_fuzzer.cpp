// YamlMapping and YamlSequence built from arbitrary entries: text, numbers, booleans and nested
// nodes, in any order and depth. Checks what Put keeps, the choice between flow and block style,
// the exact flow form of a sequence, and the line structure of both block renderings: each entry
// or item starts one line, and each further line of a value adds one.
//
// Input: a series of operations, each an operation byte (modulo 8) followed by its operands: a key
// or a text as a length byte and that many bytes, a number as 8 little-endian bytes, a boolean as
// one byte. 0 puts a text, 1 an integer, 2 a floating-point number into the mapping; 3 puts the
// sequence into the mapping and starts a new sequence; 4 appends a text, 5 a boolean to the
// sequence; 6 appends the mapping to the sequence and starts a new mapping; 7 checks both.

#include <dumpsys/yaml.h>

#include <algorithm>
#include <string>
#include <vector>

#include "fuzz_support.h"

namespace {

using autl::fuzz::ByteReader;
using vendor::zentro::tevrash::audio::hal::utils::dumpsys::YamlMapping;
using vendor::zentro::tevrash::audio::hal::utils::dumpsys::YamlSequence;

size_t Newlines(std::string_view text) {
    return static_cast<size_t>(std::count(text.begin(), text.end(), '\n'));
}

// The lines a value has after its first, as a line reader counts them: a trailing '\n' starts no
// further line.
size_t FurtherLines(std::string_view text) {
    return text.empty() ? 0 : Newlines(text) - (text.ends_with('\n') ? 1 : 0);
}

// The mapping and what it should hold: the stored texts, in order.
struct Mapping {
    YamlMapping node;
    std::vector<std::pair<std::string, std::string>> entries;

    template <typename T>
    void Put(const std::string& key, const T& value, std::string text) {
        const bool appended = node.Put(key, value);
        if (text.ends_with('\n')) text.pop_back();
        AUTL_FUZZ_CHECK(appended == !text.empty());
        if (appended) entries.emplace_back(key, std::move(text));
    }
};

// The sequence and the texts of its items.
struct Sequence {
    YamlSequence node;
    std::vector<std::string> items;

    template <typename T>
    void Append(const T& item, std::string text) {
        node.Append(item);
        items.push_back(std::move(text));
    }
};

void CheckMapping(const Mapping& mapping) {
    const std::string block = mapping.node.ToString(true);
    const std::string flow = mapping.node.ToString(false);
    const bool nested =
            std::any_of(mapping.entries.begin(), mapping.entries.end(),
                        [](const auto& entry) { return entry.second.starts_with('\n'); });
    AUTL_FUZZ_CHECK(nested ? flow == block : flow.starts_with('{') && flow.ends_with('}'));
    if (mapping.entries.empty()) {
        AUTL_FUZZ_CHECK(block.empty());
        return;
    }
    // Entries are separated by a newline in block style and by ", " in flow style.
    size_t newlines = 0;
    for (const auto& [key, value] : mapping.entries)
        newlines += Newlines(key) + FurtherLines(value);
    AUTL_FUZZ_CHECK(Newlines(block) == newlines + mapping.entries.size() - 1);
    if (!nested) AUTL_FUZZ_CHECK(Newlines(flow) == newlines);
}

void CheckSequence(const Sequence& sequence) {
    const std::string block = sequence.node.ToString(true);
    const std::string flow = sequence.node.ToString(false);
    if (sequence.items.empty()) {
        AUTL_FUZZ_CHECK(block == "[]" && flow == "[]");
        return;
    }
    std::string joined;
    size_t newlines = sequence.items.size() - 1;
    for (const std::string& item : sequence.items) {
        joined += (joined.empty() ? "[" : ", ") + item;
        newlines += FurtherLines(item);
    }
    AUTL_FUZZ_CHECK(flow == joined + "]");
    AUTL_FUZZ_CHECK(block.starts_with("- "));
    AUTL_FUZZ_CHECK(Newlines(block) == newlines);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    ByteReader input(data, size);
    Mapping mapping;
    Sequence sequence;
    for (int operations = 0; input.remaining() > 0 && operations < 64; ++operations) {
        const int operation = input.Read<uint8_t>() % 8;
        const std::string key = operation <= 3 ? input.Text() : std::string();
        switch (operation) {
            case 0: {
                const std::string value = input.Text();
                mapping.Put(key, value, value);
                break;
            }
            case 1: {
                const int64_t value = input.Read<int64_t>();
                mapping.Put(key, value, std::to_string(value));
                break;
            }
            case 2:
                // Only the line structure of a value is checked, and a number is one line.
                mapping.Put(key, input.Read<double>(), "number");
                break;
            case 3:
                // The sequence so far nests into the mapping, which it then leaves empty.
                CheckSequence(sequence);
                mapping.Put(key, sequence.node, "\n" + sequence.node.ToString(true));
                sequence = Sequence();
                break;
            case 4: {
                const std::string item = input.Text();
                sequence.Append(item, item);
                break;
            }
            case 5: {
                const bool item = input.Read<uint8_t>() != 0;
                sequence.Append(item, item ? "true" : "false");
                break;
            }
            case 6:
                // The mapping so far becomes an item of the sequence.
                CheckMapping(mapping);
                sequence.Append(mapping.node, mapping.node.ToString(true));
                mapping = Mapping();
                break;
            default:
                CheckMapping(mapping);
                CheckSequence(sequence);
                break;
        }
    }
    CheckMapping(mapping);
    CheckSequence(sequence);
    return 0;
}
