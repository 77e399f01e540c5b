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
// operations: a byte modulo 7 (open, close, add a control and update, reads, enumeration texts,
// writes, select an item), a name byte (twice a control's index, plus one for a tail after a NUL;
// past the controls a text follows), a count (a signed byte modulo 10) and operands.

#include <mixer/tinyalsa_mixer.h>

#include <algorithm>
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
        const int operation = input.Read<uint8_t>() % 7;
        // A control's name, the same with a tail after a NUL, or any text.
        const uint8_t which = input.Read<uint8_t>();
        std::string name =
                which / 2u < card.controls.size() ? card.controls[which / 2].name : input.Text();
        if (which % 2 == 1) name += std::string(1, '\0') + "tail";
        mixer_ctl* ctl = nullptr;
        for (size_t i = 0; i < card.known_controls && open && ctl == nullptr; ++i) {
            if (card.controls[i].name == name.c_str()) ctl = &card.controls[i];
        }
        const auto type = ctl ? ctl->type : MIXER_CTL_TYPE_MAX;
        const size_t values = ctl ? ctl->values.size() : 0;
        const int count = input.Read<int8_t>() % 10;
        // Blocks of exactly the count (at least one element), as a caller sizes them.
        const size_t elements = static_cast<size_t>(std::max(count, 1));
        const auto chars = std::make_unique<char[]>(elements);
        const auto longs = std::make_unique<long[]>(elements);
        const size_t calls = fake.calls.size();
        const bool was_open = open;
        switch (operation) {
            case 0: {
                // Only card 0 exists; a number is tried once.
                const int number = input.Read<uint8_t>() % 3 - 1;
                const bool refused = open || number == last_card;
                if (!refused) last_card = number;
                open = mixer.Open(number) || open;
                AUTL_FUZZ_CHECK(open == (was_open || (!refused && number == 0)));
                break;
            }
            case 1:
                mixer.Close();
                open = false;
                break;
            case 2:
                card.controls.push_back(ReadControl(input));
                AUTL_FUZZ_CHECK(mixer.UpdateControls() == open);
                break;
            case 3: {
                AUTL_FUZZ_CHECK(mixer.GetIntegerValue(name) ==
                                (ctl ? FirstValue(*ctl) : std::nullopt));
                AUTL_FUZZ_CHECK(mixer.GetNumberOfValues(name) ==
                                (ctl ? std::optional(static_cast<unsigned>(values)) : std::nullopt));
                const std::optional<std::string_view> card_name = mixer.GetName();
                AUTL_FUZZ_CHECK(card_name.has_value() == (open && card.name != nullptr));
                if (card_name) AUTL_FUZZ_CHECK(card_name->data() == card.name);
                const bool read = mixer.GetByteValues(name, chars.get(), count);
                AUTL_FUZZ_CHECK(read ==
                                (type == MIXER_CTL_TYPE_BYTE && count >= 1 &&
                                 static_cast<size_t>(count) <= values && !ctl->get_array_result));
                for (int i = 0; read && i < count; ++i)
                    AUTL_FUZZ_CHECK(chars[i] == static_cast<char>(ctl->values[i]));
                break;
            }
            case 4: {
                // The selected item's text and all texts, the card's own strings.
                const std::optional<long> index = ctl ? FirstValue(*ctl) : std::nullopt;
                const auto item = static_cast<uint32_t>(index.value_or(-1));
                const bool listed = type == MIXER_CTL_TYPE_ENUM;
                const char* selected =
                        listed && index && item < ctl->items.size() ? ctl->items[item] : nullptr;
                const std::optional<std::string_view> text = mixer.GetEnum(name);
                AUTL_FUZZ_CHECK(text ? text->data() == selected : selected == nullptr);
                std::vector<const char*> expected;
                for (const char* item_text : listed ? ctl->items : std::vector<const char*>()) {
                    if (item_text != nullptr) expected.push_back(item_text);
                }
                const std::vector<std::string_view> texts = mixer.GetEnums(name);
                AUTL_FUZZ_CHECK(texts.size() == expected.size());
                for (size_t i = 0; i < texts.size(); ++i)
                    AUTL_FUZZ_CHECK(texts[i].data() == expected[i]);
                break;
            }
            case 5: {
                // Longs (one for SetIntegerValue) or bytes; a byte control takes the first bytes
                // of longs, as tinyalsa copies them.
                const int form = input.Read<uint8_t>() % 3;
                const bool bytes = form == 2;
                const int given = form == 0 ? 1 : count;
                auto* raw = reinterpret_cast<unsigned char*>(
                        bytes ? chars.get() : static_cast<void*>(longs.get()));
                for (size_t i = 0; i < elements * (bytes ? 1 : sizeof(long)); ++i)
                    raw[i] = input.Read<uint8_t>();
                const std::vector<long> before = ctl ? ctl->values : std::vector<long>();
                const bool written = form == 0 ? mixer.SetIntegerValue(name, longs[0])
                                     : bytes   ? mixer.SetByteValues(name, chars.get(), count)
                                               : mixer.SetIntegerValues(name, longs.get(), count);
                const bool accepted = bytes ? type == MIXER_CTL_TYPE_BYTE
                                            : type != MIXER_CTL_TYPE_IEC958 &&
                                                      type != MIXER_CTL_TYPE_ENUM &&
                                                      type != MIXER_CTL_TYPE_INT64 && ctl;
                AUTL_FUZZ_CHECK(written ==
                                (accepted && given >= 1 && static_cast<size_t>(given) <= values));
                for (size_t i = 0; i < values; ++i) {
                    const long value = !written                          ? before[i]
                                       : i >= static_cast<size_t>(given) ? 0
                                       : type == MIXER_CTL_TYPE_BYTE     ? raw[i]
                                                                         : longs[i];
                    AUTL_FUZZ_CHECK(ctl->values[i] == value);
                }
                break;
            }
            default: {
                const char* value = kItems[input.Read<uint8_t>() % std::size(kItems)];
                const std::string text = value ? value : "Loud";
                const std::vector<const char*> items =
                        type == MIXER_CTL_TYPE_ENUM ? ctl->items : std::vector<const char*>();
                const auto match = std::find_if(items.begin(), items.end(), [&](const char* item) {
                    return item && text == item;
                });
                AUTL_FUZZ_CHECK(mixer.SetEnum(name, text) == (match != items.end()));
                if (match != items.end())
                    AUTL_FUZZ_CHECK(ctl->values == std::vector<long>{match - items.begin()});
                break;
            }
        }
        if (!was_open && operation != 0) AUTL_FUZZ_CHECK(fake.calls.size() == calls);
    }
    return 0;
}
