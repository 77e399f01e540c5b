// `autl mixer`, run as a program against the test control plugin's cards.

#include <string>
#include <utility>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <tinyalsa/asoundlib.h>
#include <nlohmann/json.hpp>

#include "fake_alsa_card.h"
#include "run_program.h"

namespace autl {
namespace {

using test::ProgramRun;
using ::testing::ElementsAre;

ProgramRun Mixer(std::vector<std::string> args) {
    args.insert(args.begin(), {AUTL_TOOL, "mixer"});
    return test::RunProgram(std::move(args));
}

class MixerCommandTest : public ::testing::Test {
  protected:
    test::FakeAlsaCards cards_;
};

TEST_F(MixerCommandTest, List_PrintsEveryControlOnceWithItsValue) {
    const ProgramRun run = Mixer({"list", "2"});
    EXPECT_EQ(run.status, 0);
    EXPECT_EQ(run.out,
              "card 2: Test Card 2\n"
              "name            type     count  value\n"
              "Speaker Volume  integer  2      50 (first of 2)\n"
              "Codec Blob      bytes    8      1 2 3 4 127 128 254 255\n"
              "Route Select    enum     1      Speaker [Off, Speaker, Headset]\n"
              "Mute Switch     bool     1      0\n"
              "Big Counter     int64    1      -\n"
              "Dup Gain        integer  1      3\n"
              "Faulty Level    integer  1      -\n");
    EXPECT_EQ(run.err, "");
    const ProgramRun json = Mixer({"list", "--json", "2"});
    EXPECT_EQ(json.status, 0);
    EXPECT_EQ(nlohmann::json::parse(json.out), nlohmann::json::parse(R"({
        "card": 2, "name": "Test Card 2", "controls": [
        {"name": "Speaker Volume", "type": "integer", "count": 2, "value": 50},
        {"name": "Codec Blob", "type": "bytes", "count": 8, "value": [1, 2, 3, 4, 127, 128, 254, 255]},
        {"name": "Route Select", "type": "enum", "count": 1, "value": "Speaker",
         "items": ["Off", "Speaker", "Headset"]},
        {"name": "Mute Switch", "type": "bool", "count": 1, "value": 0},
        {"name": "Big Counter", "type": "int64", "count": 1, "value": null},
        {"name": "Dup Gain", "type": "integer", "count": 1, "value": 3},
        {"name": "Faulty Level", "type": "integer", "count": 1, "value": null}]})"));
}

// One value is written to every value of the control.
TEST_F(MixerCommandTest, SetThenGet_RoundTripsEachKindOfControl) {
    struct Case {
        std::vector<std::string> set;
        std::string name;
        std::string value;
    };
    const Case cases[] = {
            {{"7", "100"}, "Speaker Volume", "7\n"},
            {{"-10"}, "Speaker Volume", "-10\n"},
            {{"1"}, "Mute Switch", "1\n"},
            {{"255", "0", "1", "2", "3", "4", "5", "128"}, "Codec Blob", "255 0 1 2 3 4 5 128\n"},
            {{"9"}, "Codec Blob", "9 9 9 9 9 9 9 9\n"},
            {{"Headset"}, "Route Select", "Headset\n"},
    };
    for (const Case& c : cases) {
        std::vector<std::string> set = {"set", "0", c.name};
        set.insert(set.end(), c.set.begin(), c.set.end());
        const ProgramRun written = Mixer(set);
        EXPECT_EQ(written.status, 0) << c.name << ": " << written.err;
        EXPECT_EQ(written.out + written.err, "");
        const ProgramRun read = Mixer({"get", "0", c.name});
        EXPECT_EQ(read.status, 0);
        EXPECT_EQ(read.out, c.value);
    }
    mixer* card = mixer_open(0);
    ASSERT_NE(card, nullptr);
    long values[2] = {};
    EXPECT_EQ(mixer_ctl_get_array(mixer_get_ctl_by_name(card, "Speaker Volume"), values, 2), 0);
    mixer_close(card);
    EXPECT_THAT(values, ElementsAre(-10, -10));
}

// Each message follows "autl mixer: "; a usage error (2) ends with a hint at the help.
TEST_F(MixerCommandTest, Errors_NameTheCardControlOrValue) {
    struct Case {
        std::vector<std::string> args;
        int status;
        std::string err;
    };
    const Case cases[] = {
            {{"list", "8"}, 1, "cannot open sound card 8: No such device"},
            {{"get", "0", "Volume"}, 1, "card 0 has no control 'Volume'"},
            {{"get", "0", "Big Counter"}, 1, "cannot read 'Big Counter' of card 0"},
            {{"get", "0", "Faulty Level"},
             1,
             "cannot read 'Faulty Level' of card 0: Input/output error"},
            {{"set", "0", "Speaker Volume", "101"}, 1, "card 0 refused '101' for 'Speaker Volume'"},
            {{"set", "0", "Faulty Level", "1"}, 1, "card 0 refused '1' for 'Faulty Level'"},
            {{"set", "0", "Route Select", "Loud"},
             1,
             "'Loud' is not an item of 'Route Select' (Off, Speaker, Headset)"},
            {{"set", "0", "Big Counter", "1"},
             1,
             "'Big Counter' is an int64 control, which tinyalsa cannot write"},
            {{"set", "0", "Speaker Volume", "1", "2", "3"},
             2,
             "'Speaker Volume' has 2 values: give 1 or 2"},
            {{"set", "0", "Codec Blob", "256"},
             2,
             "invalid value '256' for bytes control 'Codec Blob'"},
            {{"set", "0", "Mute Switch", "on"},
             2,
             "invalid value 'on' for bool control 'Mute Switch'"},
            {{"list", "-1"}, 2, "invalid card number '-1'"},
            {{"get", "0"}, 2, "wrong number of arguments for get"},
            {{"get", "--json", "0", "Dup Gain"}, 2, "--json does not apply to get"},
            {{"mute", "0"}, 2, "unknown action 'mute'"},
            {{}, 2, "missing action: list, get or set"},
    };
    for (const Case& c : cases) {
        const ProgramRun run = Mixer(c.args);
        EXPECT_EQ(run.status, c.status) << c.err;
        EXPECT_EQ(run.out, "");
        EXPECT_EQ(run.err, "autl mixer: " + c.err + "\n" +
                                   (c.status == 2 ? "Try 'autl mixer --help'.\n" : ""));
    }
    EXPECT_EQ(Mixer({"get", "0", "Speaker Volume"}).out, "50\n");
}

}  // namespace
}  // namespace autl
