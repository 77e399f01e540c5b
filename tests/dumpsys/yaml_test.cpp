#include <dumpsys/yaml.h>

#include <gtest/gtest.h>

namespace vendor::zentro::tevrash::audio::hal::utils::dumpsys {
namespace {

TEST(YamlMappingTest, ToString_FlowAndBlock) {
    YamlMapping empty;
    EXPECT_EQ(empty.ToString(false), "{}");
    EXPECT_EQ(empty.ToString(true), "");

    YamlMapping config;
    config.Put("rate", "48000");
    config.Put("format", "PCM");
    EXPECT_EQ(config.ToString(false), "{rate: 48000, format: PCM}");
    EXPECT_EQ(config.ToString(true), "rate: 48000\nformat: PCM");
}

TEST(YamlMappingTest, ToString_NestedValues) {
    YamlMapping nested;
    nested.Put("name", "x");
    nested.Put("config", "\nchannels: 2\nbits: 16");
    EXPECT_EQ(nested.ToString(false), "name: x\nconfig:\n  channels: 2\n  bits: 16");

    YamlMapping list;
    list.Put("list", "\n- a\n- b");
    EXPECT_EQ(list.ToString(false), "list:\n- a\n- b");

    // A newline inside a value does not force block style; its further lines are indented.
    YamlMapping note;
    note.Put("note", "one\ntwo");
    EXPECT_EQ(note.ToString(false), "{note: one\n  two}");

    YamlMapping no_key;
    no_key.Put("", "x");
    EXPECT_EQ(no_key.ToString(false), "{ x}");
    EXPECT_EQ(no_key.ToString(true), " x");
}

TEST(YamlMappingTest, Put_TrailingNewlinesAndEmptyValues) {
    YamlMapping mapping;
    EXPECT_TRUE(mapping.Put("a", "abc\n"));
    EXPECT_TRUE(mapping.Put("b", "abc\n\n"));
    EXPECT_FALSE(mapping.Put("c", ""));
    EXPECT_FALSE(mapping.Put("d", "\n"));
    EXPECT_TRUE(mapping.Put("a", std::string("again")));
    EXPECT_EQ(mapping.ToString(false), "{a: abc, b: abc, a: again}");
}

TEST(YamlMappingTest, Put_NonTextValues) {
    YamlSequence items;
    items.Append("a");
    items.Append(2);
    YamlMapping inner;
    inner.Put("on", true);
    inner.Put("gain", -3);
    inner.Put("frames", uint64_t{18446744073709551615u});
    inner.Put("ratio", 0.5);
    YamlMapping outer;
    outer.Put("inner", inner);
    outer.Put("items", items);
    outer.Put("off", false);
    EXPECT_EQ(outer.ToString(false),
              "inner:\n"
              "  on: true\n"
              "  gain: -3\n"
              "  frames: 18446744073709551615\n"
              "  ratio: 0.5\n"
              "items:\n"
              "- a\n"
              "- 2\n"
              "off: false");
}

TEST(YamlSequenceTest, ToString_FlowAndBlock) {
    YamlSequence empty;
    EXPECT_EQ(empty.ToString(false), "[]");
    EXPECT_EQ(empty.ToString(true), "[]");

    YamlSequence sequence;
    sequence.Append("a");
    sequence.Append(std::string("b"));
    EXPECT_EQ(sequence.ToString(false), "[a, b]");
    EXPECT_EQ(sequence.ToString(true), "- a\n- b");

    YamlSequence multi;
    multi.Append("x\ny");
    multi.Append("");
    multi.Append(true);
    EXPECT_EQ(multi.ToString(true), "- x\n  y\n- \n- true");
    EXPECT_EQ(multi.ToString(false), "[x\ny, , true]");
}

TEST(YamlSequenceTest, Append_NestedNodes) {
    YamlMapping stream;
    stream.Put("id", 3);
    stream.Put("state", "ACTIVE");
    YamlSequence streams;
    streams.Append(stream);
    streams.Append(YamlSequence());
    EXPECT_EQ(streams.ToString(true), "- id: 3\n  state: ACTIVE\n- []");
}

}  // namespace
}  // namespace vendor::zentro::tevrash::audio::hal::utils::dumpsys
