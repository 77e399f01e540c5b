#include <dumpsys/yaml.h>

#include <gtest/gtest.h>

namespace vendor::zentro::tevrash::audio::hal::utils::dumpsys {
namespace {

YamlMapping Mapping(std::initializer_list<std::pair<const char*, const char*>> entries) {
    YamlMapping mapping;
    for (const auto& [key, value] : entries) mapping.Put(key, value);
    return mapping;
}

TEST(YamlTest, MappingFlowAndBlock) {
    const std::vector<std::tuple<YamlMapping, std::string, std::string>> cases = {
            {Mapping({}), "{}", ""},
            {Mapping({{"rate", "48000"}, {"format", "PCM"}}), "{rate: 48000, format: PCM}",
             "rate: 48000\nformat: PCM"},
            // A value that begins with a newline is a nested block and forces block style; a
            // nested sequence's items stay at the key's column.
            {Mapping({{"name", "x"}, {"config", "\nchannels: 2\nbits: 16"}, {"list", "\n- a\n- b"}}),
             "name: x\nconfig:\n  channels: 2\n  bits: 16\nlist:\n- a\n- b",
             "name: x\nconfig:\n  channels: 2\n  bits: 16\nlist:\n- a\n- b"},
            // Other newlines do not; further lines of a value are indented.
            {Mapping({{"note", "one\ntwo"}}), "{note: one\n  two}", "note: one\n  two"},
            {Mapping({{"", "x"}}), "{ x}", " x"},
            // One trailing newline goes; an empty value adds nothing.
            {Mapping({{"a", "abc\n"}, {"b", "abc\n\n"}, {"c", ""}, {"d", "\n"}, {"a", "again"}}),
             "{a: abc, b: abc, a: again}", "a: abc\nb: abc\na: again"},
    };
    for (const auto& [mapping, flow, block] : cases) {
        EXPECT_EQ(mapping.ToString(false), flow);
        EXPECT_EQ(mapping.ToString(true), block);
    }
    YamlMapping mapping;
    EXPECT_TRUE(mapping.Put("a", std::string("abc\n")));
    EXPECT_FALSE(mapping.Put("d", "\n"));
}

TEST(YamlTest, SequenceAndNonTextValues) {
    YamlSequence empty;
    EXPECT_EQ(empty.ToString(false), "[]");
    EXPECT_EQ(empty.ToString(true), "[]");
    YamlSequence items;
    items.Append("x\ny");
    items.Append(std::string());
    items.Append(true);
    items.Append(2);
    EXPECT_EQ(items.ToString(false), "[x\ny, , true, 2]");
    EXPECT_EQ(items.ToString(true), "- x\n  y\n- \n- true\n- 2");

    // Nested nodes are rendered in block style; numbers in decimal.
    YamlMapping inner;
    inner.Put("on", true);
    inner.Put("gain", -3);
    inner.Put("frames", uint64_t{18446744073709551615u});
    inner.Put("ratio", 0.5);
    YamlSequence streams;
    streams.Append(inner);
    streams.Append(YamlSequence());
    YamlMapping outer;
    outer.Put("inner", inner);
    outer.Put("items", items);
    outer.Put("streams", streams);
    outer.Put("off", false);
    EXPECT_EQ(outer.ToString(false),
              "inner:\n  on: true\n  gain: -3\n  frames: 18446744073709551615\n  ratio: 0.5\n"
              "items:\n- x\n  y\n- \n- true\n- 2\n"
              "streams:\n- on: true\n  gain: -3\n  frames: 18446744073709551615\n  ratio: 0.5\n"
              "- []\n"
              "off: false");
}

}  // namespace
}  // namespace vendor::zentro::tevrash::audio::hal::utils::dumpsys
