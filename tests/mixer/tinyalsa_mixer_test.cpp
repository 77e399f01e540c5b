// TinyalsaMixer over the fake tinyalsa. Each operation's answer and the tinyalsa calls it made are
// written down, and the transcript is compared whole with tests/data/mixer/transcript.txt.

#include <mixer/tinyalsa_mixer.h>

#include <android-base/strings.h>

#include <cerrno>
#include <memory>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "fake_tinyalsa.h"
#include "golden.h"

namespace vendor::zentro::tevrash::audio::hal::utils::mixer {
namespace {

using ::testing::ElementsAre;

// An answer as text: none for an empty optional, a text in quotes, a list in brackets.
template <typename T>
std::string Show(const T& answer) {
    if constexpr (std::is_same_v<T, bool>) {
        return answer ? "true" : "false";
    } else if constexpr (std::is_same_v<T, std::vector<std::string_view>>) {
        return "[" + android::base::Join(answer, ", ") + "]";
    } else if constexpr (std::is_same_v<T, std::optional<std::string_view>>) {
        return answer ? "\"" + std::string(*answer) + "\"" : "none";
    } else {
        return answer ? std::to_string(*answer) : "none";
    }
}

// Runs an operation and writes it down, with its answer.
#define NOTE(operation) Note(#operation, operation)
#define DO(operation) (operation), Note(#operation)

class TinyalsaMixerTest : public ::testing::Test {
  protected:
    // One line for the operation and its answer, then one per tinyalsa call it made.
    template <typename T>
    void Note(const char* operation, const T& answer) {
        Note((std::string(operation) + " -> " + Show(answer)).c_str());
    }
    void Note(const char* operation) {
        transcript_ += std::string(operation) + "\n";
        for (const std::string& call : tinyalsa_.calls) transcript_ += "    " + call + "\n";
        tinyalsa_.calls.clear();
    }

    // Every operation that names a control.
    void EveryOperation(const char* name) {
        char bytes[4] = {};
        const long values[1] = {1};
        transcript_ += std::string("Every operation on ") + name + ":\n";
        NOTE(mixer_.GetIntegerValue(name));
        NOTE(mixer_.GetByteValues(name, bytes, 4));
        NOTE(mixer_.GetNumberOfValues(name));
        NOTE(mixer_.GetEnum(name));
        NOTE(mixer_.GetEnums(name));
        NOTE(mixer_.SetIntegerValue(name, 1));
        NOTE(mixer_.SetIntegerValues(name, values, 1));
        NOTE(mixer_.SetByteValues(name, bytes, 4));
        NOTE(mixer_.SetEnum(name, "Off"));
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
    std::string transcript_;
};

TEST_F(TinyalsaMixerTest, Transcript_GoldenText) {
    // Each card number is tried once; -1, the number before any Open, not at all. Names are views
    // of tinyalsa's text.
    auto mixer = std::make_unique<TinyalsaMixer>();
    NOTE(mixer->Open(-1));
    NOTE(mixer->Open(5));
    NOTE(mixer->Open(5));
    NOTE(mixer->Open(0));
    NOTE(mixer->Open(1));
    NOTE(mixer->GetName()->data() == card_.name);
    DO(mixer->Close());
    NOTE(mixer->Open(0));
    NOTE(mixer->Open(1));
    second_card_.name = nullptr;
    NOTE(mixer->GetName());
    DO(mixer.reset());
    NOTE(mixer_.Open(0));
    EveryOperation("Missing");

    // The first value by an array read, else by a single read, where a negative answer is a value
    // unless it is tinyalsa's refusal; of an IEC958 control, tinyalsa copies a whole 176-byte block.
    using Result = std::optional<int>;  // unset: the fake reads the control
    for (const auto& [array_result, value_result] : std::vector<std::pair<Result, Result>>{
                 {std::nullopt, 7}, {-1, std::nullopt}, {-1, -5}, {-1, -EINVAL}}) {
        volume_.get_array_result = array_result;
        volume_.get_value_result = value_result;
        NOTE(mixer_.GetIntegerValue("Volume"));
    }
    volume_.get_array_result = volume_.get_value_result = std::nullopt;
    NOTE(mixer_.GetIntegerValue("Spdif"));

    // Counts and buffers. A negative count to set reaches tinyalsa, as a size_t that it refuses.
    // Bytes go to and from byte controls only, longs not to IEC958 controls: tinyalsa would copy a
    // long or a 176-byte block per value, past the end of the buffer.
    char bytes[5] = {};
    const long values[2] = {-3, 4};
    const auto two = std::make_unique<char[]>(2);
    NOTE(mixer_.GetByteValues("Blob", bytes, 0));
    NOTE(mixer_.GetByteValues("Blob", bytes, -1));
    NOTE(mixer_.GetByteValues("Blob", nullptr, 4));
    NOTE(mixer_.SetByteValues("Blob", bytes, 0));
    NOTE(mixer_.SetIntegerValues("Volume", nullptr, 2));
    NOTE(mixer_.SetByteValues("Blob", bytes, -1));
    NOTE(mixer_.GetByteValues("Blob", bytes, 5));
    NOTE(mixer_.GetByteValues("Volume", two.get(), 2));
    NOTE(mixer_.SetByteValues("Volume", two.get(), 2));
    NOTE(mixer_.SetIntegerValues("Spdif", values, 1));
    NOTE(mixer_.GetByteValues("Blob", bytes, 4));
    EXPECT_THAT(bytes, ElementsAre(1, 2, 3, static_cast<char>(200), 0));
    bytes[1] = static_cast<char>(250);
    NOTE(mixer_.SetByteValues("Blob", bytes, 2));
    EXPECT_THAT(blob_.values, ElementsAre(1, 250, 0, 0));
    NOTE(mixer_.GetNumberOfValues("Blob"));
    NOTE(mixer_.SetIntegerValues("Volume", values, 2));
    EXPECT_THAT(volume_.values, ElementsAre(-3, 4));

    // Enumerated controls by their item texts, items without text left out; at once, whatever item
    // count tinyalsa reports, for a control of another type.
    NOTE(mixer_.GetEnum("Route"));
    NOTE(mixer_.GetEnum("Route")->data() == route_.items[1]);  // a view of tinyalsa's storage
    NOTE(mixer_.GetEnum("Gappy"));
    gappy_.values = {1};
    NOTE(mixer_.GetEnum("Gappy"));
    NOTE(mixer_.GetEnums("Gappy"));
    NOTE(mixer_.GetEnums("Volume"));
    NOTE(mixer_.SetEnum("Route", "Headset"));
    NOTE(mixer_.SetEnum("Route", "Loud"));
    EXPECT_THAT(route_.values, ElementsAre(2));
    route_.get_value_result = -EINVAL;
    NOTE(mixer_.GetEnum("Route"));

    // Controls added after Open are found once UpdateControls succeeds.
    card_.controls.push_back({"Late", MIXER_CTL_TYPE_INT, {9}});
    card_.add_new_ctls_result = -1;
    NOTE(mixer_.UpdateControls());
    NOTE(mixer_.GetIntegerValue("Late"));
    card_.add_new_ctls_result.reset();
    NOTE(mixer_.UpdateControls());
    NOTE(mixer_.GetIntegerValue("Late"));

    // Nothing reaches tinyalsa while closed.
    mixer_.Close();
    tinyalsa_.calls.clear();
    NOTE(mixer_.UpdateControls());
    NOTE(mixer_.GetName());
    EveryOperation("Volume");
    EXPECT_EQ(transcript_, autl::test::Golden("mixer/transcript.txt", transcript_));
}

// SetIntegerValue goes through the virtual SetIntegerValues, and answers as it does.
TEST(TinyalsaMixerOverrideTest, SetIntegerValue_GoesThroughSetIntegerValues) {
    struct RecordingMixer : TinyalsaMixer {
        bool SetIntegerValues(std::string_view name, const long* values, int count) override {
            recorded += std::string(name) + " " + std::to_string(*values) + " x" +
                        std::to_string(count);
            return true;
        }
        std::string recorded;
    } recording;
    EXPECT_TRUE(recording.SetIntegerValue("Volume", 12));
    EXPECT_EQ(recording.recorded, "Volume 12 x1");
}

}  // namespace
}  // namespace vendor::zentro::tevrash::audio::hal::utils::mixer
