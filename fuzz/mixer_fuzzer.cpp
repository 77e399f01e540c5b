// TinyalsaMixer over the fake tinyalsa, on a card of controls of every type with any names, value
// counts, item texts, garbage item counts (an integer control's minimum) and failing reads, driven
// by a random series of operations with names of controls, names cut by a NUL and unknown names.
// Every caller's buffer is a heap block of exactly the count given, so a copy past it is an ASan
// report. Each answer is the one the mixer promises: nothing reaches tinyalsa while closed; bytes
// move only to and from byte controls and longs never to an IEC958 control; a read gives the array
// value, else the single value unless tinyalsa refuses it with -22; enumeration texts are the
// card's own strings, in order, null items left out, none for other types; a write changes the
// values it names and zeroes the rest.
//
// Input: the card's name (a length byte and bytes; empty for none), the number of controls (modulo
// 6), each control (a name; a byte: type modulo 7, bits 3-4 a scripted array read, bits 5-6 a
// scripted single read; a byte: value count modulo 9 and the values as signed bytes; for an
// enumerated control an item count modulo 5 and one byte per item; a 4-byte minimum); then
// operations: a byte modulo 15, a name byte (a control's index, else a text) and operands.

#include <mixer/tinyalsa_mixer.h>

#include <cerrno>
#include <cstring>
#include <deque>
#include <memory>
#include <string>
#include <vector>

#include "fake_tinyalsa.h"
#include "fuzz_support.h"

namespace {

using autl::fuzz::ByteReader;
using autl::test::FakeTinyalsa;
using vendor::zentro::tevrash::audio::hal::utils::mixer::TinyalsaMixer;

constexpr const char* kItems[] = {"Off", "On", nullptr, "Headset", ""};
constexpr int kScripts[] = {0, -EINVAL, -EIO, -1};

mixer_ctl ReadControl(ByteReader& input) {
    mixer_ctl ctl{.name = input.Text(), .type = MIXER_CTL_TYPE_BOOL, .values = {}};
    const uint8_t kind = input.Read<uint8_t>();
    ctl.type = static_cast<mixer_ctl_type>(kind % 7);
    // A scripted read fails; 0 means none.
    if (const int array = kScripts[(kind >> 3) & 3]; array != 0) ctl.get_array_result = array;
    if (const int value = kScripts[(kind >> 5) & 3]; value != 0) ctl.get_value_result = value;
    for (int n = input.Read<uint8_t>() % 9; n > 0; --n) ctl.values.push_back(input.Read<int8_t>());
    if (ctl.type == MIXER_CTL_TYPE_ENUM) {
        for (int n = input.Read<uint8_t>() % 5; n > 0; --n) {
            ctl.items.push_back(kItems[input.Read<uint8_t>() % std::size(kItems)]);
        }
    }
    ctl.min = input.Read<int32_t>();
    return ctl;
}

// What the mixer reads as the first value: the array read, else the single value.
std::optional<long> FirstValue(const mixer_ctl& ctl) {
    const bool array = !ctl.get_array_result && !ctl.values.empty() &&
                       ctl.type != MIXER_CTL_TYPE_ENUM && ctl.type != MIXER_CTL_TYPE_INT64;
    if (array && ctl.type == MIXER_CTL_TYPE_BYTE) return static_cast<unsigned char>(ctl.values[0]);
    if (array && ctl.type == MIXER_CTL_TYPE_IEC958) {
        return static_cast<long>(0x0101010101010101ul * static_cast<unsigned char>(ctl.values[0]));
    }
    if (array) return ctl.values[0];
    const int single =
            ctl.get_value_result.value_or(ctl.values.empty() || ctl.type == MIXER_CTL_TYPE_INT64 ||
                                                          ctl.type == MIXER_CTL_TYPE_IEC958
                                                  ? -EINVAL
                                                  : static_cast<int>(ctl.values[0]));
    if (single == -EINVAL) return std::nullopt;
    return single;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    ByteReader input(data, size);
    FakeTinyalsa fake;
    const std::string card_name = input.Text();
    mixer& card = fake.AddCard(0, card_name.empty() ? nullptr : card_name.c_str());
    for (int n = input.Read<uint8_t>() % 6; n > 0; --n) card.controls.push_back(ReadControl(input));

    TinyalsaMixer mixer;
    bool open = false;
    int last_card = -1;
    for (int steps = 0; input.remaining() > 0 && steps < 64; ++steps) {
        const int operation = input.Read<uint8_t>() % 15;
        // A control's name, the same with a tail after a NUL, or any text.
        const uint8_t which = input.Read<uint8_t>();
        std::string name =
                which / 2u < card.controls.size() ? card.controls[which / 2].name : input.Text();
        if (which % 2 == 1) name += std::string(1, '\0') + "tail";
        mixer_ctl* ctl = nullptr;
        for (size_t i = 0; i < card.known_controls && open && ctl == nullptr; ++i) {
            if (card.controls[i].name == name.c_str()) ctl = &card.controls[i];
        }
        const bool is_byte = ctl != nullptr && ctl->type == MIXER_CTL_TYPE_BYTE;
        const int count = input.Read<int8_t>() % 10;
        const size_t elements = static_cast<size_t>(std::max(count, 1));
        const size_t calls = fake.calls.size();
        const bool was_open = open;
        switch (operation) {
            case 0: {
                // Only card 0 exists; a number is tried once.
                const int number = input.Read<uint8_t>() % 3 - 1;
                const bool refused = open || number == last_card;
                if (!refused) last_card = number;
                const bool opened = mixer.Open(number);
                AUTL_FUZZ_CHECK(opened == (!refused && number == 0));
                open = open || opened;
                break;
            }
            case 1:
                mixer.Close();
                open = false;
                break;
            case 2:
                AUTL_FUZZ_CHECK(mixer.UpdateControls() == open);
                break;
            case 3:
                card.controls.push_back(ReadControl(input));
                break;
            case 4:
                AUTL_FUZZ_CHECK(mixer.GetIntegerValue(name) ==
                                (ctl ? FirstValue(*ctl) : std::nullopt));
                break;
            case 5: {
                const auto bytes = std::make_unique<char[]>(elements);
                const bool ok = mixer.GetByteValues(name, bytes.get(), count);
                AUTL_FUZZ_CHECK(ok == (is_byte && count >= 1 &&
                                       static_cast<size_t>(count) <= ctl->values.size() &&
                                       !ctl->get_array_result));
                for (int i = 0; ok && i < count; ++i) {
                    AUTL_FUZZ_CHECK(bytes[i] == static_cast<char>(ctl->values[i]));
                }
                break;
            }
            case 6:
                AUTL_FUZZ_CHECK(mixer.GetNumberOfValues(name) ==
                                (ctl ? std::optional(static_cast<unsigned>(ctl->values.size()))
                                     : std::nullopt));
                break;
            case 7: {
                const std::optional<std::string_view> text = mixer.GetEnum(name);
                const std::optional<long> index = ctl ? FirstValue(*ctl) : std::nullopt;
                const auto item = static_cast<uint32_t>(index.value_or(-1));
                const bool has_text = ctl && index && ctl->type == MIXER_CTL_TYPE_ENUM &&
                                      item < ctl->items.size() && ctl->items[item] != nullptr;
                AUTL_FUZZ_CHECK(text.has_value() == has_text);
                if (has_text) AUTL_FUZZ_CHECK(text->data() == ctl->items[item]);
                break;
            }
            case 8: {
                const std::vector<std::string_view> texts = mixer.GetEnums(name);
                std::vector<const char*> expected;
                if (ctl && ctl->type == MIXER_CTL_TYPE_ENUM) {
                    for (const char* item : ctl->items)
                        if (item) expected.push_back(item);
                }
                AUTL_FUZZ_CHECK(texts.size() == expected.size());
                for (size_t i = 0; i < texts.size(); ++i)
                    AUTL_FUZZ_CHECK(texts[i].data() == expected[i]);
                break;
            }
            case 9: {
                const std::optional<std::string_view> got = mixer.GetName();
                AUTL_FUZZ_CHECK(got.has_value() == (open && card.name != nullptr));
                if (got) AUTL_FUZZ_CHECK(got->data() == card.name);
                break;
            }
            case 10:
            case 11:
            case 12: {
                // Longs (one for SetIntegerValue) or bytes, in a block of exactly the count.
                const bool bytes = operation == 12;
                const int given = operation == 10 ? 1 : count;
                const size_t values = operation == 10 ? 1 : elements;
                const auto longs = std::make_unique<long[]>(values);
                const auto chars = std::make_unique<char[]>(values);
                auto* raw = reinterpret_cast<unsigned char*>(
                        bytes ? chars.get() : static_cast<void*>(longs.get()));
                for (size_t i = 0; i < values * (bytes ? 1 : sizeof(long)); ++i)
                    raw[i] = input.Read<uint8_t>();
                const std::vector<long> before = ctl ? ctl->values : std::vector<long>();
                const bool ok = operation == 10 ? mixer.SetIntegerValue(name, longs[0])
                                : bytes         ? mixer.SetByteValues(name, chars.get(), count)
                                                : mixer.SetIntegerValues(name, longs.get(), count);
                // A byte control takes the first bytes of longs, as tinyalsa copies them.
                const bool type = bytes ? is_byte
                                        : ctl && ctl->type != MIXER_CTL_TYPE_IEC958 &&
                                                  ctl->type != MIXER_CTL_TYPE_ENUM &&
                                                  ctl->type != MIXER_CTL_TYPE_INT64;
                AUTL_FUZZ_CHECK(
                        ok == (type && given >= 1 && static_cast<size_t>(given) <= before.size()));
                for (size_t i = 0; ok && i < before.size(); ++i) {
                    const long value = i >= static_cast<size_t>(given) ? 0
                                       : is_byte                       ? raw[i]
                                                                       : longs[i];
                    AUTL_FUZZ_CHECK(ctl->values[i] == value);
                }
                if (!ok && ctl) AUTL_FUZZ_CHECK(ctl->values == before);
                break;
            }
            default: {
                const char* value = kItems[input.Read<uint8_t>() % std::size(kItems)];
                const std::string text = value ? value : "Loud";
                const bool ok = mixer.SetEnum(name, text);
                bool expected = false;
                for (size_t i = 0;
                     ctl && ctl->type == MIXER_CTL_TYPE_ENUM && i < ctl->items.size() && !expected;
                     ++i) {
                    expected = ctl->items[i] && text == ctl->items[i];
                    if (expected)
                        AUTL_FUZZ_CHECK(ctl->values == std::vector<long>{static_cast<long>(i)});
                }
                AUTL_FUZZ_CHECK(ok == expected);
                break;
            }
        }
        if (!was_open && operation != 0) AUTL_FUZZ_CHECK(fake.calls.size() == calls);
    }
    return 0;
}
