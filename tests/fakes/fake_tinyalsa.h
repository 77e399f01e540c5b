#pragma once

// A scriptable fake of tinyalsa's mixer calls. Linked into a program, its definitions take the
// place of libtinyalsa's, the library's calls included. Cards and controls are plain records that a
// test fills in and inspects; every call is recorded. The calls refuse bad buffers, counts and
// control types with -EINVAL and copy values as tinyalsa 2.x does (a long per boolean or integer
// value, a byte per byte value, a whole IEC958 block per IEC958 value), unless a control scripts
// another answer.
//
//   FakeTinyalsa tinyalsa;
//   mixer& card = tinyalsa.AddCard(0, "Test Card");
//   card.controls.push_back({"Speaker Volume", MIXER_CTL_TYPE_INT, {30, 30}});
//   ... drive the code under test ...
//   EXPECT_THAT(tinyalsa.calls, ElementsAre("mixer_open(0)", ...));

#include <tinyalsa/asoundlib.h>

#include <deque>
#include <map>
#include <optional>
#include <string>
#include <vector>

struct mixer_ctl {
    std::string name;
    mixer_ctl_type type;
    // One entry per value; of an enumerated control, the selected item; of an IEC958 control, one
    // per block, every byte of which reads as the entry's low byte.
    std::vector<long> values;
    // The item texts of an enumerated control; a null entry is an item without text.
    std::vector<const char*> items = {};
    // When set, mixer_ctl_get_array or mixer_ctl_get_value answer this without reading.
    std::optional<int> get_array_result = {};
    std::optional<int> get_value_result = {};
    // The minimum of an integer control, whose low 32 bits tinyalsa reports as its item count.
    long min = 0;
};

struct mixer {
    unsigned int card = 0;
    const char* name = nullptr;
    // A deque, so that handles stay valid as a test adds controls to an open card.
    std::deque<mixer_ctl> controls = {};
    // How many of `controls` the open mixer knows: set by mixer_open and mixer_add_new_ctls.
    size_t known_controls = 0;
    // When set, mixer_add_new_ctls answers this and learns nothing.
    std::optional<int> add_new_ctls_result = {};
};

namespace autl::test {

// The calls use the fake that lives (at most one at a time).
struct FakeTinyalsa {
    FakeTinyalsa() { current = this; }
    ~FakeTinyalsa() { current = nullptr; }

    // A card that mixer_open(number) opens. The reference stays valid while the fake lives.
    mixer& AddCard(unsigned int number, const char* name) {
        return cards[number] = {.card = number, .name = name};
    }

    static inline FakeTinyalsa* current = nullptr;
    std::map<unsigned int, mixer> cards;
    // One line per call, written like the call: "mixer_ctl_get_array(Volume, 1)".
    std::vector<std::string> calls;
};

}  // namespace autl::test
