#include <mixer/tinyalsa_mixer.h>

#include <cerrno>
#include <memory>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "fake_tinyalsa.h"

namespace vendor::zentro::tevrash::audio::hal::utils::mixer {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::Optional;

// The call that looks a control up on card 0.
std::string Find(const std::string& name) {
    return "mixer_get_ctl_by_name(0, \"" + name + "\")";
}

class TinyalsaMixerTest : public ::testing::Test {
  protected:
    // Opens card 0 and forgets the calls made so far.
    void Open() {
        ASSERT_TRUE(mixer_.Open(0));
        tinyalsa_.calls.clear();
    }

    // Runs every operation that names a control; each must fail.
    void ExpectEveryOperationFails(const char* name) {
        char bytes[4] = {};
        const long values[1] = {1};
        EXPECT_EQ(mixer_.GetIntegerValue(name), std::nullopt);
        EXPECT_FALSE(mixer_.GetByteValues(name, bytes, 4));
        EXPECT_EQ(mixer_.GetNumberOfValues(name), std::nullopt);
        EXPECT_EQ(mixer_.GetEnum(name), std::nullopt);
        EXPECT_THAT(mixer_.GetEnums(name), IsEmpty());
        EXPECT_FALSE(mixer_.SetIntegerValue(name, 1));
        EXPECT_FALSE(mixer_.SetIntegerValues(name, values, 1));
        EXPECT_FALSE(mixer_.SetByteValues(name, bytes, 4));
        EXPECT_FALSE(mixer_.SetEnum(name, "Off"));
    }

    autl::test::FakeTinyalsa tinyalsa_;
    ::mixer& card_ = tinyalsa_.AddCard(0, "Test Card");
    ::mixer& second_card_ = tinyalsa_.AddCard(1, "Second Card");
    // tinyalsa reports 4294967286 items for this control, the low half of its minimum.
    mixer_ctl& volume_ = card_.controls.emplace_back(mixer_ctl{
            .name = "Volume", .type = MIXER_CTL_TYPE_INT, .values = {30, 40}, .min = -10});
    mixer_ctl& blob_ =
            card_.controls.emplace_back(mixer_ctl{"Blob", MIXER_CTL_TYPE_BYTE, {1, 2, 3, 200}});
    mixer_ctl& route_ = card_.controls.emplace_back(
            mixer_ctl{"Route", MIXER_CTL_TYPE_ENUM, {1}, {"Off", "Speaker", "Headset"}});
    mixer_ctl& gappy_ = card_.controls.emplace_back(
            mixer_ctl{"Gappy", MIXER_CTL_TYPE_ENUM, {2}, {"A", nullptr, "C"}});
    mixer_ctl& spdif_ =
            card_.controls.emplace_back(mixer_ctl{"Spdif", MIXER_CTL_TYPE_IEC958, {0x5a}});
    TinyalsaMixer mixer_;
};

TEST_F(TinyalsaMixerTest, OpenAndClose_EachCardNumberOnceAndNothingWhileClosed) {
    EXPECT_FALSE(TinyalsaMixer().Open(-1));  // no call: "no card yet"
    EXPECT_TRUE(TinyalsaMixer().Open(1));
    {
        TinyalsaMixer mixer;
        EXPECT_FALSE(mixer.Open(5));  // no such card
        EXPECT_FALSE(mixer.Open(5));  // not tried again
        EXPECT_TRUE(mixer.Open(0));
        EXPECT_FALSE(mixer.Open(1));
        EXPECT_EQ(mixer.GetName()->data(), card_.name);  // a view of tinyalsa's text
        mixer.Close();
        EXPECT_FALSE(mixer.Open(0));
        EXPECT_TRUE(mixer.Open(1));
        second_card_.name = nullptr;
        EXPECT_EQ(mixer.GetName(), std::nullopt);
    }  // the destructor closes
    EXPECT_THAT(tinyalsa_.calls,
                ElementsAre("mixer_open(1)", "mixer_close(1)", "mixer_open(5)", "mixer_open(0)",
                            "mixer_get_name(0)", "mixer_close(0)", "mixer_open(1)",
                            "mixer_get_name(1)", "mixer_close(1)"));

    Open();
    ExpectEveryOperationFails("Missing");
    EXPECT_EQ(tinyalsa_.calls, std::vector<std::string>(9, Find("Missing")));
    mixer_.Close();
    tinyalsa_.calls.clear();
    EXPECT_FALSE(mixer_.UpdateControls());
    EXPECT_EQ(mixer_.GetName(), std::nullopt);
    ExpectEveryOperationFails("Volume");
    EXPECT_THAT(tinyalsa_.calls, IsEmpty());
}

TEST_F(TinyalsaMixerTest, GetIntegerValue_FirstValueOrASingleRead) {
    const struct {
        std::optional<int> array_result;  // unset: the fake reads the control
        std::optional<int> value_result;
        std::optional<long> expected;
    } cases[] = {
            {std::nullopt, 7, 30},        // the array read
            {-1, std::nullopt, 30},       // the single read, of the first value
            {-1, -5, -5},                 // a negative answer is a value
            {-1, -EINVAL, std::nullopt},  // except tinyalsa's refusal
    };
    Open();
    for (const auto& c : cases) {
        volume_.get_array_result = c.array_result;
        volume_.get_value_result = c.value_result;
        EXPECT_EQ(mixer_.GetIntegerValue("Volume"), c.expected) << c.value_result.value_or(0);
    }
    // tinyalsa copies a whole 176-byte block.
    EXPECT_THAT(mixer_.GetIntegerValue("Spdif"), Optional(0x5a5a5a5a5a5a5a5aL));
}

TEST_F(TinyalsaMixerTest, ArrayValues_ReadAndWrittenAndCountsChecked) {
    Open();
    char bytes[5] = {};
    const long values[2] = {-3, 4};
    EXPECT_FALSE(mixer_.GetByteValues("Blob", bytes, 0));
    EXPECT_FALSE(mixer_.GetByteValues("Blob", bytes, -1));
    EXPECT_FALSE(mixer_.GetByteValues("Blob", nullptr, 4));
    EXPECT_FALSE(mixer_.SetByteValues("Blob", bytes, 0));
    EXPECT_FALSE(mixer_.SetIntegerValues("Volume", nullptr, 2));
    EXPECT_THAT(tinyalsa_.calls, IsEmpty());
    // A negative count to set reaches tinyalsa, as a size_t that it refuses. Bytes go to and from
    // byte controls only, longs not to IEC958 controls: tinyalsa would copy a long or a 176-byte
    // block per value, past the end of the buffer.
    EXPECT_FALSE(mixer_.SetByteValues("Blob", bytes, -1));
    EXPECT_FALSE(mixer_.GetByteValues("Blob", bytes, 5));
    const auto two = std::make_unique<char[]>(2);
    EXPECT_FALSE(mixer_.GetByteValues("Volume", two.get(), 2));
    EXPECT_FALSE(mixer_.SetByteValues("Volume", two.get(), 2));
    EXPECT_FALSE(mixer_.SetIntegerValues("Spdif", values, 1));
    EXPECT_THAT(
            tinyalsa_.calls,
            ElementsAre(Find("Blob"), "mixer_ctl_get_type(Blob)",
                        "mixer_ctl_set_array(Blob, 18446744073709551615)", Find("Blob"),
                        "mixer_ctl_get_type(Blob)", "mixer_ctl_get_array(Blob, 5)", Find("Volume"),
                        "mixer_ctl_get_type(Volume)", Find("Volume"), "mixer_ctl_get_type(Volume)",
                        Find("Spdif"), "mixer_ctl_get_type(Spdif)"));

    EXPECT_TRUE(mixer_.GetByteValues("Blob", bytes, 4));
    EXPECT_THAT(bytes, ElementsAre(1, 2, 3, static_cast<char>(200), 0));
    bytes[1] = static_cast<char>(250);
    EXPECT_TRUE(mixer_.SetByteValues("Blob", bytes, 2));
    EXPECT_THAT(blob_.values, ElementsAre(1, 250, 0, 0));
    EXPECT_THAT(mixer_.GetNumberOfValues("Blob"), Optional(4U));
    EXPECT_TRUE(mixer_.SetIntegerValues("Volume", values, 2));
    EXPECT_THAT(volume_.values, ElementsAre(-3, 4));

    // SetIntegerValue goes through the virtual SetIntegerValues.
    struct RecordingMixer : TinyalsaMixer {
        bool SetIntegerValues(std::string_view name, const long* values, int count) override {
            recorded = std::string(name) + " " + std::to_string(*values) + " x" +
                       std::to_string(count);
            return TinyalsaMixer::SetIntegerValues(name, values, count);
        }
        std::string recorded;
    } recording;
    ASSERT_TRUE(recording.Open(0));
    EXPECT_TRUE(recording.SetIntegerValue("Volume", 12));
    EXPECT_EQ(recording.recorded, "Volume 12 x1");
    EXPECT_THAT(volume_.values, ElementsAre(12, 0));
}

TEST_F(TinyalsaMixerTest, EnumsAndUpdates_ByTextItemsWithoutTextLeftOut) {
    Open();
    const std::optional<std::string_view> text = mixer_.GetEnum("Route");
    ASSERT_THAT(text, Optional(std::string_view("Speaker")));
    EXPECT_EQ(text->data(), route_.items[1]);  // a view of tinyalsa's storage
    EXPECT_THAT(tinyalsa_.calls,
                ElementsAre(Find("Route"), Find("Route"), "mixer_ctl_get_array(Route, 1)",
                            "mixer_ctl_get_value(Route, 0)", "mixer_ctl_get_enum_string(Route, 1)"));
    EXPECT_EQ(mixer_.GetEnum("Gappy"), "C");
    gappy_.values = {1};  // an item without text
    EXPECT_EQ(mixer_.GetEnum("Gappy"), std::nullopt);
    EXPECT_THAT(mixer_.GetEnums("Gappy"), ElementsAre("A", "C"));
    // At once, whatever item count tinyalsa reports for a control of another type.
    tinyalsa_.calls.clear();
    EXPECT_THAT(mixer_.GetEnums("Volume"), IsEmpty());
    EXPECT_THAT(tinyalsa_.calls, ElementsAre(Find("Volume"), "mixer_ctl_get_type(Volume)"));

    EXPECT_TRUE(mixer_.SetEnum("Route", "Headset"));
    EXPECT_FALSE(mixer_.SetEnum("Route", "Loud"));
    EXPECT_THAT(route_.values, ElementsAre(2));
    route_.get_value_result = -EINVAL;
    EXPECT_EQ(mixer_.GetEnum("Route"), std::nullopt);

    // Controls added after Open are found once UpdateControls succeeds.
    card_.controls.push_back({"Late", MIXER_CTL_TYPE_INT, {9}});
    card_.add_new_ctls_result = -1;
    EXPECT_FALSE(mixer_.UpdateControls());
    EXPECT_EQ(mixer_.GetIntegerValue("Late"), std::nullopt);
    card_.add_new_ctls_result.reset();
    EXPECT_TRUE(mixer_.UpdateControls());
    EXPECT_THAT(mixer_.GetIntegerValue("Late"), Optional(9L));
}

}  // namespace
}  // namespace vendor::zentro::tevrash::audio::hal::utils::mixer
