#pragma once

// A scriptable fake of tinyalsa's mixer calls. Linked into a test program, its definitions of the
// calls take the place of libtinyalsa's for the whole process, the library's calls included.
// Cards and controls are plain records that a test fills in and inspects; every call is recorded.
//
//   FakeTinyalsa tinyalsa;
//   mixer& card = tinyalsa.AddCard(0, "Test Card");
//   card.controls.push_back(IntControl("Speaker Volume", {30, 30}));
//   ... drive the code under test ...
//   EXPECT_THAT(tinyalsa.Calls(), ElementsAre("mixer_open(0)", ...));
//
// The calls behave as tinyalsa's do (the same argument checks and -EINVAL refusals) unless a
// control scripts another answer.

#include <tinyalsa/asoundlib.h>

#include <atomic>
#include <deque>
#include <map>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

struct mixer_ctl {
    std::string name;
    mixer_ctl_type type = MIXER_CTL_TYPE_INT;
    // Bool and int controls: the values. Byte controls: one byte per entry. Enumerated controls:
    // the selected item of each value.
    std::vector<long> values;
    // The item texts of an enumerated control; a null entry is an item without text.
    std::vector<const char*> items;
    // When set, mixer_ctl_get_array or mixer_ctl_get_value answer this without reading.
    std::optional<int> get_array_result;
    std::optional<int> get_value_result;
};

struct mixer {
    unsigned int card = 0;
    // Null: mixer_get_name answers null.
    const char* name = nullptr;
    // A deque, so that handles stay valid as a test adds controls to an open card.
    std::deque<mixer_ctl> controls;
    // How many of `controls` the open mixer knows: set by mixer_open and mixer_add_new_ctls.
    size_t known_controls = 0;
    bool open = false;
    // When set, mixer_add_new_ctls answers this and learns nothing.
    std::optional<int> add_new_ctls_result;
};

namespace autl::test {

mixer_ctl IntControl(std::string name, std::vector<long> values);
mixer_ctl ByteControl(std::string name, std::vector<long> values);
// One value, with the item `selected`.
mixer_ctl EnumControl(std::string name, long selected, std::vector<const char*> items);

class FakeTinyalsa {
  public:
    // The calls use this object while it lives; at most one may exist at a time. Without one,
    // mixer_open finds no card.
    FakeTinyalsa();
    ~FakeTinyalsa();
    FakeTinyalsa(const FakeTinyalsa&) = delete;
    FakeTinyalsa& operator=(const FakeTinyalsa&) = delete;

    // A card that mixer_open(number) opens. The reference stays valid while the fake lives.
    mixer& AddCard(unsigned int number, const char* name);

    // One line per call, in order, written like the call: "mixer_ctl_get_array(Volume, 1)" (a
    // control by name, a mixer by card number, text in quotes, null as "null").
    std::vector<std::string> Calls() const;
    void ClearCalls();
    // The largest number of calls that were running at the same time.
    int MaxConcurrentCalls() const { return max_concurrent_calls_.load(); }

  private:
    friend class FakeCall;

    std::map<unsigned int, mixer> cards_;
    mutable std::mutex calls_mutex_;
    std::vector<std::string> calls_;
    std::atomic<int> concurrent_calls_{0};
    std::atomic<int> max_concurrent_calls_{0};
};

}  // namespace autl::test
