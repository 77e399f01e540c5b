#include <mixer/tinyalsa_mixer.h>

#include <cerrno>
#include <thread>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "fake_tinyalsa.h"

namespace vendor::zentro::tevrash::audio::hal::utils::mixer {
namespace {

using autl::test::ByteControl;
using autl::test::EnumControl;
using autl::test::FakeTinyalsa;
using autl::test::IntControl;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::Optional;

class TinyalsaMixerTest : public ::testing::Test {
  protected:
    void SetUp() override {
        card_.controls = {
                IntControl("Volume", {30, 40}),
                ByteControl("Blob", {1, 2, 3, 200}),
                EnumControl("Route", 1, {"Off", "Speaker", "Headset"}),
                EnumControl("Gappy", 2, {"A", nullptr, "C"}),
        };
    }

    // Opens card 0 and forgets the calls made so far.
    void Open() {
        ASSERT_TRUE(mixer_.Open(0));
        tinyalsa_.ClearCalls();
    }

    mixer_ctl& Control(size_t index) { return card_.controls[index]; }

    FakeTinyalsa tinyalsa_;
    ::mixer& card_ = tinyalsa_.AddCard(0, "Test Card");
    ::mixer& second_card_ = tinyalsa_.AddCard(1, "Second Card");
    TinyalsaMixer mixer_;
};

TEST_F(TinyalsaMixerTest, Open_RefusesTheSameCardNumberEvenAfterClose) {
    EXPECT_TRUE(mixer_.Open(0));
    mixer_.Close();
    EXPECT_FALSE(mixer_.Open(0));
    EXPECT_EQ(mixer_.GetName(), std::nullopt);
    EXPECT_TRUE(mixer_.Open(1));
    EXPECT_THAT(mixer_.GetName(), Optional(std::string_view("Second Card")));
    EXPECT_THAT(tinyalsa_.Calls(), ElementsAre("mixer_open(0)", "mixer_close(0)", "mixer_open(1)",
                                               "mixer_get_name(1)"));
}

TEST_F(TinyalsaMixerTest, Open_RefusesAnotherCardWhileOpenAndNeverRetriesAFailedCard) {
    EXPECT_FALSE(mixer_.Open(5));
    EXPECT_FALSE(mixer_.Open(5));
    EXPECT_TRUE(mixer_.Open(0));
    EXPECT_FALSE(mixer_.Open(1));
    EXPECT_THAT(mixer_.GetName(), Optional(std::string_view("Test Card")));
    EXPECT_THAT(tinyalsa_.Calls(),
                ElementsAre("mixer_open(5)", "mixer_open(0)", "mixer_get_name(0)"));
}

TEST_F(TinyalsaMixerTest, Operations_WhenClosed_FailWithoutReachingTinyalsa) {
    char bytes[4] = {};
    const long values[1] = {1};
    for (const bool opened_before : {false, true}) {
        SCOPED_TRACE(opened_before);
        if (opened_before) {
            ASSERT_TRUE(mixer_.Open(0));
            mixer_.Close();
            tinyalsa_.ClearCalls();
        }
        EXPECT_FALSE(mixer_.UpdateControls());
        EXPECT_EQ(mixer_.GetIntegerValue("Volume"), std::nullopt);
        EXPECT_FALSE(mixer_.GetByteValues("Blob", bytes, 4));
        EXPECT_EQ(mixer_.GetNumberOfValues("Volume"), std::nullopt);
        EXPECT_EQ(mixer_.GetEnum("Route"), std::nullopt);
        EXPECT_THAT(mixer_.GetEnums("Route"), IsEmpty());
        EXPECT_EQ(mixer_.GetName(), std::nullopt);
        EXPECT_FALSE(mixer_.SetIntegerValue("Volume", 1));
        EXPECT_FALSE(mixer_.SetIntegerValues("Volume", values, 1));
        EXPECT_FALSE(mixer_.SetByteValues("Blob", bytes, 4));
        EXPECT_FALSE(mixer_.SetEnum("Route", "Off"));
        EXPECT_THAT(tinyalsa_.Calls(), IsEmpty());
    }
}

TEST_F(TinyalsaMixerTest, GetIntegerValue_ReadsTheFirstValueOrFallsBackToASingleRead) {
    struct Case {
        std::optional<int> array_result;
        std::optional<int> value_result;
        std::optional<long> expected;
    };
    const Case cases[] = {
            {std::nullopt, std::nullopt, 30},  // the array read
            {-1, 7, 7},                        // the single read
            {-1, -5, -5},                      // a negative answer is a value
            {-1, -EINVAL, std::nullopt},       // except tinyalsa's refusal
    };
    Open();
    for (const Case& c : cases) {
        Control(0).get_array_result = c.array_result;
        Control(0).get_value_result = c.value_result;
        EXPECT_EQ(mixer_.GetIntegerValue("Volume"), c.expected) << c.value_result.value_or(0);
    }
    EXPECT_THAT(mixer_.GetIntegerValue("Route"), Optional(1L));
    EXPECT_EQ(mixer_.GetIntegerValue("Missing"), std::nullopt);
    tinyalsa_.ClearCalls();
    EXPECT_EQ(mixer_.GetIntegerValue("Volume"), std::nullopt);
    EXPECT_THAT(tinyalsa_.Calls(),
                ElementsAre("mixer_get_ctl_by_name(0, \"Volume\")",
                            "mixer_ctl_get_array(Volume, 1)", "mixer_ctl_get_value(Volume, 0)"));
}

TEST_F(TinyalsaMixerTest, GetByteValues_RefusesCountsBelowOne) {
    Open();
    char bytes[5] = {};
    EXPECT_FALSE(mixer_.GetByteValues("Blob", bytes, 0));
    EXPECT_FALSE(mixer_.GetByteValues("Blob", bytes, -1));
    EXPECT_FALSE(mixer_.GetByteValues("Blob", nullptr, 4));
    EXPECT_THAT(tinyalsa_.Calls(), IsEmpty());

    EXPECT_TRUE(mixer_.GetByteValues("Blob", bytes, 4));
    EXPECT_THAT(bytes, ElementsAre(1, 2, 3, static_cast<char>(200), 0));
    EXPECT_FALSE(mixer_.GetByteValues("Blob", bytes, 5));
    EXPECT_FALSE(mixer_.GetByteValues("Missing", bytes, 1));
    EXPECT_THAT(tinyalsa_.Calls(),
                ElementsAre("mixer_get_ctl_by_name(0, \"Blob\")", "mixer_ctl_get_array(Blob, 4)",
                            "mixer_get_ctl_by_name(0, \"Blob\")", "mixer_ctl_get_array(Blob, 5)",
                            "mixer_get_ctl_by_name(0, \"Missing\")"));
}

TEST_F(TinyalsaMixerTest, SetValues_RefuseOnlyACountOfZero) {
    Open();
    const char bytes[2] = {9, static_cast<char>(250)};
    const long values[2] = {-3, 4};
    EXPECT_FALSE(mixer_.SetByteValues("Blob", bytes, 0));
    EXPECT_FALSE(mixer_.SetByteValues("Blob", nullptr, 2));
    EXPECT_FALSE(mixer_.SetIntegerValues("Volume", values, 0));
    EXPECT_FALSE(mixer_.SetIntegerValues("Volume", nullptr, 2));
    EXPECT_THAT(tinyalsa_.Calls(), IsEmpty());

    EXPECT_FALSE(mixer_.SetByteValues("Blob", bytes, -1));
    EXPECT_FALSE(mixer_.SetIntegerValues("Volume", values, -1));
    EXPECT_THAT(tinyalsa_.Calls(),
                ElementsAre("mixer_get_ctl_by_name(0, \"Blob\")",
                            "mixer_ctl_set_array(Blob, 18446744073709551615)",
                            "mixer_get_ctl_by_name(0, \"Volume\")",
                            "mixer_ctl_set_array(Volume, 18446744073709551615)"));

    EXPECT_TRUE(mixer_.SetByteValues("Blob", bytes, 2));
    EXPECT_THAT(Control(1).values, ElementsAre(9, 250, 0, 0));
    EXPECT_TRUE(mixer_.SetIntegerValues("Volume", values, 2));
    EXPECT_THAT(Control(0).values, ElementsAre(-3, 4));
    EXPECT_TRUE(mixer_.SetIntegerValue("Volume", 8));
    EXPECT_THAT(Control(0).values, ElementsAre(8, 0));
    EXPECT_FALSE(mixer_.SetIntegerValue("Missing", 8));
}

TEST_F(TinyalsaMixerTest, SetIntegerValue_GoesThroughTheVirtualSetIntegerValues) {
    struct RecordingMixer : TinyalsaMixer {
        bool SetIntegerValues(std::string_view name, const long* values, int count) override {
            recorded.emplace_back(std::string(name) + " " + std::to_string(values[0]) + " x" +
                                  std::to_string(count));
            return TinyalsaMixer::SetIntegerValues(name, values, count);
        }
        std::vector<std::string> recorded;
    } mixer;
    ASSERT_TRUE(mixer.Open(0));
    EXPECT_TRUE(mixer.SetIntegerValue("Volume", 12));
    EXPECT_THAT(mixer.recorded, ElementsAre("Volume 12 x1"));
    EXPECT_THAT(Control(0).values, ElementsAre(12, 0));
}

TEST_F(TinyalsaMixerTest, GetEnum_ReadsTheSelectedItemsText) {
    Open();
    const char* speaker = Control(2).items[1];
    const std::optional<std::string_view> text = mixer_.GetEnum("Route");
    ASSERT_THAT(text, Optional(std::string_view("Speaker")));
    EXPECT_EQ(text->data(), speaker);  // a view of tinyalsa's storage
    EXPECT_THAT(tinyalsa_.Calls(),
                ElementsAre("mixer_get_ctl_by_name(0, \"Route\")",
                            "mixer_get_ctl_by_name(0, \"Route\")", "mixer_ctl_get_array(Route, 1)",
                            "mixer_ctl_get_value(Route, 0)", "mixer_ctl_get_enum_string(Route, 1)"));

    EXPECT_EQ(mixer_.GetEnum("Gappy"), "C");
    Control(3).values = {1};  // an item without text
    EXPECT_EQ(mixer_.GetEnum("Gappy"), std::nullopt);
    Control(2).get_value_result = -EINVAL;
    EXPECT_EQ(mixer_.GetEnum("Route"), std::nullopt);
    EXPECT_EQ(mixer_.GetEnum("Missing"), std::nullopt);
}

TEST_F(TinyalsaMixerTest, GetEnums_SkipsItemsWithoutText) {
    Open();
    EXPECT_THAT(mixer_.GetEnums("Route"), ElementsAre("Off", "Speaker", "Headset"));
    EXPECT_THAT(mixer_.GetEnums("Gappy"), ElementsAre("A", "C"));
    EXPECT_THAT(mixer_.GetEnums("Volume"), IsEmpty());
    EXPECT_THAT(mixer_.GetEnums("Missing"), IsEmpty());
}

TEST_F(TinyalsaMixerTest, SetEnum_SelectsTheItemByText) {
    Open();
    EXPECT_TRUE(mixer_.SetEnum("Route", "Headset"));
    EXPECT_EQ(mixer_.GetEnum("Route"), "Headset");
    EXPECT_FALSE(mixer_.SetEnum("Route", "Loud"));
    EXPECT_FALSE(mixer_.SetEnum("Volume", "Off"));
    EXPECT_FALSE(mixer_.SetEnum("Missing", "Off"));
    EXPECT_THAT(Control(2).values, ElementsAre(2));
}

TEST_F(TinyalsaMixerTest, GetNameAndNumberOfValues) {
    Open();
    EXPECT_THAT(mixer_.GetNumberOfValues("Blob"), Optional(4U));
    EXPECT_EQ(mixer_.GetNumberOfValues("Missing"), std::nullopt);
    EXPECT_EQ(mixer_.GetName()->data(), card_.name);
    card_.name = nullptr;
    EXPECT_EQ(mixer_.GetName(), std::nullopt);
}

TEST_F(TinyalsaMixerTest, UpdateControls_MakesControlsAddedAfterOpenVisible) {
    Open();
    card_.controls.push_back(IntControl("Late", {9}));
    EXPECT_EQ(mixer_.GetIntegerValue("Late"), std::nullopt);
    card_.add_new_ctls_result = -1;
    EXPECT_FALSE(mixer_.UpdateControls());
    EXPECT_EQ(mixer_.GetIntegerValue("Late"), std::nullopt);
    card_.add_new_ctls_result.reset();
    EXPECT_TRUE(mixer_.UpdateControls());
    EXPECT_THAT(mixer_.GetIntegerValue("Late"), Optional(9L));
}

TEST_F(TinyalsaMixerTest, Destructor_ClosesTheMixer) {
    {
        TinyalsaMixer mixer;
        ASSERT_TRUE(mixer.Open(1));
        EXPECT_TRUE(second_card_.open);
    }
    EXPECT_FALSE(second_card_.open);
    EXPECT_EQ(tinyalsa_.Calls().back(), "mixer_close(1)");
}

TEST_F(TinyalsaMixerTest, Operations_FromSeveralThreads_ReachTinyalsaOneAtATime) {
    Open();
    std::vector<std::thread> threads;
    for (int t = 0; t < 4; ++t) {
        threads.emplace_back([this, t] {
            char bytes[4];
            for (int i = 0; i < 200; ++i) {
                mixer_.SetIntegerValue("Volume", t);
                mixer_.GetIntegerValue("Volume");
                mixer_.GetByteValues("Blob", bytes, 4);
                mixer_.GetEnum("Route");
            }
        });
    }
    for (std::thread& thread : threads) thread.join();
    EXPECT_EQ(tinyalsa_.MaxConcurrentCalls(), 1);
}

}  // namespace
}  // namespace vendor::zentro::tevrash::audio::hal::utils::mixer
