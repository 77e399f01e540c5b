// TinyalsaMixer over the fake tinyalsa, on a card of controls of every type with any names, value
// counts, item texts, garbage item counts (an integer control's minimum) and failing reads, driven
// by a random series of operations with names of controls, names cut by a NUL and unknown names.
// Every caller's buffer is a heap block of exactly the count given, so a copy past it is an ASan
// report. Each answer is the one the mixer promises: nothing reaches tinyalsa while closed; bytes
// move only to and from byte controls and longs never to an IEC958 control, a count of at least
// one, into and out of the control's values; a value or an item's text comes only from a control
// the mixer knows; enumeration texts are the card's own strings, in order, null items left out,
// none for other types.
//
// Input: the card's name (a length byte and bytes; empty for none), the number of controls (modulo
// 6), each control (a name; a byte: type modulo 7, bits 3-4 a scripted array read, bits 5-6 a
// scripted single read; a byte: value count modulo 9 and the values as signed bytes; for an
// enumerated control an item count modulo 5 and one byte per item; a 4-byte minimum); then
// operations: a byte modulo 7 (0 open, 1 close, 2 add a control and update, 5 write, the others
// read), a name byte (twice a control's index, plus one for a tail after a NUL; past the controls
// a text follows), a count (a signed byte modulo 10) and operands: for open a card number (a byte
// modulo 3, minus 1), for a write its form (a byte modulo 3: one long, longs, bytes) and the bytes
// of the buffer.

#include <mixer/tinyalsa_mixer.h>

#include <cerrno>
#include <memory>

#include "fake_tinyalsa.h"
#include "fuzz_support.h"

namespace {

using autl::fuzz::ByteReader;

constexpr const char* kItems[] = {"Off", "On", nullptr, "Headset", ""};
constexpr int kScripts[] = {0, -EINVAL, -EIO, -1};  // a scripted read's answer; 0 for none

mixer_ctl ReadControl(ByteReader& input) {
    mixer_ctl ctl{.name = input.Text(), .type = MIXER_CTL_TYPE_BOOL, .values = {}};
    const uint8_t kind = input.Read<uint8_t>();
    ctl.type = static_cast<mixer_ctl_type>(kind % 7);
    if (const int array = kScripts[(kind >> 3) & 3]; array != 0) ctl.get_array_result = array;
    if (const int value = kScripts[(kind >> 5) & 3]; value != 0) ctl.get_value_result = value;
    for (int n = input.Read<uint8_t>() % 9; n > 0; --n) ctl.values.push_back(input.Read<int8_t>());
    for (int n = ctl.type == MIXER_CTL_TYPE_ENUM ? input.Read<uint8_t>() % 5 : 0; n > 0; --n) {
        ctl.items.push_back(kItems[input.Read<uint8_t>() % std::size(kItems)]);
    }
    ctl.min = input.Read<int32_t>();
    return ctl;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    ByteReader input(data, size);
    autl::test::FakeTinyalsa fake;
    const std::string card_name = input.Text();
    mixer& card = fake.AddCard(0, card_name.empty() ? nullptr : card_name.c_str());
    for (int n = input.Read<uint8_t>() % 6; n > 0; --n) card.controls.push_back(ReadControl(input));

    vendor::zentro::tevrash::audio::hal::utils::mixer::TinyalsaMixer mixer;
    bool open = false;
    for (int steps = 0; !input.rest.empty() && steps < 64; ++steps) {
        const int operation = input.Read<uint8_t>() % 7;
        const uint8_t which = input.Read<uint8_t>();
        std::string name =
                which / 2u < card.controls.size() ? card.controls[which / 2].name : input.Text();
        if (which % 2 == 1) name += std::string("\0tail", 5);
        const auto known = card.controls.begin() + (open ? card.known_controls : 0);
        const auto found = std::find_if(card.controls.begin(), known,
                                        [&](const mixer_ctl& c) { return c.name == name.c_str(); });
        mixer_ctl* ctl = found != known ? &*found : nullptr;
        const auto type = ctl != nullptr ? ctl->type : MIXER_CTL_TYPE_MAX;
        std::vector<const char*> items =
                type == MIXER_CTL_TYPE_ENUM ? ctl->items : std::vector<const char*>();
        const int count = input.Read<int8_t>() % 10;
        // Blocks of exactly the count (at least one element), as a caller sizes them.
        const size_t elements = static_cast<size_t>(std::max(count, 1));
        const auto chars = std::make_unique<char[]>(elements);
        const auto longs = std::make_unique<long[]>(elements);
        const size_t calls = fake.calls.size();
        const bool was_open = open;
        if (operation == 0) {
            // Only card 0 exists.
            open = mixer.Open(input.Read<uint8_t>() % 3 - 1) || open;
        } else if (operation == 1) {
            mixer.Close();
            open = false;
        } else if (operation == 2) {
            card.controls.push_back(ReadControl(input));
            AUTL_FUZZ_CHECK(mixer.UpdateControls() == open);
        } else if (operation != 5) {
            // A value only from a control the mixer knows, the card's name only while open; the
            // selected item's text and all texts the card's own strings, in order, null items left
            // out, none for other types.
            const std::optional<long> value = mixer.GetIntegerValue(name);
            const std::optional<std::string_view> text = mixer.GetEnum(name);
            AUTL_FUZZ_CHECK(mixer.GetNumberOfValues(name).has_value() == (ctl != nullptr) &&
                            (ctl || !value) && (open || !mixer.GetName()) &&
                            (!text || std::count(items.begin(), items.end(), text->data())));
            std::vector<const char*> texts;
            for (std::string_view item : mixer.GetEnums(name)) texts.push_back(item.data());
            std::erase(items, nullptr);
            AUTL_FUZZ_CHECK(texts == items);
            const bool read = mixer.GetByteValues(name, chars.get(), count);
            AUTL_FUZZ_CHECK(!read || type == MIXER_CTL_TYPE_BYTE);
            for (int i = 0; read && i < count; ++i)
                AUTL_FUZZ_CHECK(chars[i] == static_cast<char>(ctl->values[i]));
        } else {
            // Longs (one for SetIntegerValue) or bytes; a byte control takes the first bytes
            // of longs, as tinyalsa copies them.
            const int form = input.Read<uint8_t>() % 3;
            auto* raw = reinterpret_cast<unsigned char*>(
                    form == 2 ? chars.get() : static_cast<void*>(longs.get()));
            input.Read(raw, elements * (form == 2 ? 1 : sizeof(long)));
            const bool written = form == 0   ? mixer.SetIntegerValue(name, longs[0])
                                 : form == 1 ? mixer.SetIntegerValues(name, longs.get(), count)
                                             : mixer.SetByteValues(name, chars.get(), count);
            const int given = form == 0 ? 1 : count;
            AUTL_FUZZ_CHECK(!written || (given >= 1 && (form == 2 ? type == MIXER_CTL_TYPE_BYTE
                                                                  : type != MIXER_CTL_TYPE_IEC958)));
            for (int i = 0; written && i < given; ++i)
                AUTL_FUZZ_CHECK(ctl->values[i] == (type == MIXER_CTL_TYPE_BYTE ? raw[i] : longs[i]));
        }
        if (!was_open && operation != 0) AUTL_FUZZ_CHECK(fake.calls.size() == calls);
    }
    return 0;
}
