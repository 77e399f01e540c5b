// The host's tinyalsa against alsa-lib and the test control plugin: tinyalsa's return conventions
// (-EINVAL for its own checks, -1 with errno for the driver's failures) and value handling.

#include <tinyalsa/asoundlib.h>

#include <cerrno>
#include <memory>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "fake_alsa_card.h"

namespace {

using ::testing::ElementsAre;

class HostTinyalsaTest : public ::testing::Test {
  protected:
    mixer_ctl* Control(const char* name) {
        mixer_ctl* ctl = mixer_get_ctl_by_name(mixer_.get(), name);
        EXPECT_NE(ctl, nullptr) << name;
        return ctl;
    }

    autl::test::FakeAlsaCards cards_;
    std::unique_ptr<mixer, void (*)(mixer*)> mixer_{mixer_open(0), mixer_close};
};

TEST_F(HostTinyalsaTest, OwnChecks_AnswerEinvalWithoutAborting) {
    ASSERT_NE(mixer_, nullptr);
    EXPECT_STREQ(mixer_get_name(mixer_.get()), "Test Card 0");
    EXPECT_EQ(mixer_get_name(nullptr), nullptr);
    EXPECT_EQ(mixer_add_new_ctls(nullptr), 0);
    mixer_close(nullptr);
    mixer_ctl* volume = Control("Speaker Volume");
    mixer_ctl* route = Control("Route Select");
    mixer_ctl* counter = Control("Big Counter");
    long values[3] = {};
    EXPECT_EQ(mixer_get_ctl_by_name(mixer_.get(), "No Such Control"), nullptr);
    EXPECT_EQ(mixer_get_ctl_by_name(mixer_.get(), nullptr), nullptr);
    EXPECT_EQ(mixer_get_ctl_by_name(nullptr, "Speaker Volume"), nullptr);

    const int results[] = {
            mixer_ctl_get_array(nullptr, values, 1),
            mixer_ctl_get_array(volume, nullptr, 1),
            mixer_ctl_get_array(volume, values, 0),
            mixer_ctl_get_array(volume, values, 3),
            mixer_ctl_get_array(route, values, 1),
            mixer_ctl_get_array(counter, values, 1),
            mixer_ctl_set_array(volume, values, 3),
            mixer_ctl_set_array(route, values, 1),
            mixer_ctl_get_value(volume, 2),
            mixer_ctl_get_value(counter, 0),
            mixer_ctl_get_value(nullptr, 0),
            mixer_ctl_set_enum_by_string(route, "Loud"),
            mixer_ctl_set_enum_by_string(route, nullptr),
            mixer_ctl_set_enum_by_string(volume, "Off"),
    };
    for (const int result : results) EXPECT_EQ(result, -EINVAL);
    EXPECT_EQ(mixer_ctl_get_enum_string(volume, 0), nullptr);
    EXPECT_EQ(mixer_ctl_get_enum_string(route, 3), nullptr);
    EXPECT_EQ(mixer_ctl_get_num_values(nullptr), 0U);
}

// The item count is read whatever the type, as tinyalsa reads it from the control's information:
// for an integer control, the low 32 bits of its minimum (-10 here).
TEST_F(HostTinyalsaTest, TypeAndItemCount_AsTinyalsaReportsThem) {
    const struct {
        const char* name;
        mixer_ctl_type type;
        unsigned int items;
    } kCases[] = {
            {"Speaker Volume", MIXER_CTL_TYPE_INT, 4294967286U},
            {"Codec Blob", MIXER_CTL_TYPE_BYTE, 0},
            {"Route Select", MIXER_CTL_TYPE_ENUM, 3},
            {"Mute Switch", MIXER_CTL_TYPE_BOOL, 0},
            {"Big Counter", MIXER_CTL_TYPE_INT64, 0},
    };
    for (const auto& c : kCases) {
        SCOPED_TRACE(c.name);
        EXPECT_EQ(mixer_ctl_get_type(Control(c.name)), c.type);
        EXPECT_EQ(mixer_ctl_get_num_enums(Control(c.name)), c.items);
    }
    EXPECT_EQ(mixer_ctl_get_type(nullptr), MIXER_CTL_TYPE_UNKNOWN);
}

TEST_F(HostTinyalsaTest, DriverFailures_AnswerMinusOneWithErrno) {
    errno = 0;
    EXPECT_EQ(mixer_open(8), nullptr);
    EXPECT_EQ(errno, ENODEV);
    mixer_ctl* faulty = Control("Faulty Level");
    long value = 5;
    errno = 0;
    EXPECT_EQ(mixer_ctl_get_array(faulty, &value, 1), -1);
    EXPECT_EQ(errno, EIO);
    EXPECT_EQ(mixer_ctl_get_value(faulty, 0), -1);
    EXPECT_EQ(mixer_ctl_set_array(faulty, &value, 1), -1);
    // A value the driver refuses is the driver's failure too, not tinyalsa's -EINVAL.
    value = 101;
    errno = 0;
    EXPECT_EQ(mixer_ctl_set_array(Control("Speaker Volume"), &value, 1), -1);
    EXPECT_EQ(errno, EINVAL);
}

TEST_F(HostTinyalsaTest, Values_ReadAndWrittenByType) {
    mixer_ctl* volume = Control("Speaker Volume");
    long values[2] = {};
    ASSERT_EQ(mixer_ctl_get_array(volume, values, 2), 0);
    EXPECT_THAT(values, ElementsAre(50, 60));
    // Written twice: alsa-lib tells a change (1) from none (0); tinyalsa answers 0 for both. The
    // values past the count are written as 0.
    values[0] = -10;
    EXPECT_EQ(mixer_ctl_set_array(volume, values, 1), 0);
    EXPECT_EQ(mixer_ctl_set_array(volume, values, 1), 0);
    ASSERT_EQ(mixer_ctl_get_array(volume, values, 2), 0);
    EXPECT_THAT(values, ElementsAre(-10, 0));
    EXPECT_EQ(mixer_ctl_get_num_values(volume), 2U);

    mixer_ctl* blob = Control("Codec Blob");
    EXPECT_EQ(mixer_ctl_get_value(blob, 7), 255);
    const unsigned char bytes[2] = {0x80, 0x7f};
    EXPECT_EQ(mixer_ctl_set_array(blob, bytes, 2), 0);
    unsigned char read[8] = {};
    ASSERT_EQ(mixer_ctl_get_array(blob, read, 8), 0);
    EXPECT_THAT(read, ElementsAre(0x80, 0x7f, 0, 0, 0, 0, 0, 0));

    mixer_ctl* route = Control("Route Select");
    EXPECT_EQ(mixer_ctl_get_num_enums(route), 3U);
    EXPECT_STREQ(mixer_ctl_get_enum_string(route, 2), "Headset");
    EXPECT_EQ(mixer_ctl_set_enum_by_string(route, "Off"), 0);
    EXPECT_EQ(mixer_ctl_get_value(route, 0), 0);

    const long on = 1;
    EXPECT_EQ(mixer_ctl_set_array(Control("Mute Switch"), &on, 1), 0);
    EXPECT_EQ(mixer_ctl_get_value(Control("Mute Switch"), 0), 1);
    // The first of two controls with one name.
    EXPECT_EQ(mixer_ctl_get_value(Control("Dup Gain"), 0), 3);
}

TEST_F(HostTinyalsaTest, AddNewCtls_ListsControlsAddedAfterOpen) {
    mixer_ctl* volume = Control("Speaker Volume");
    EXPECT_EQ(mixer_add_new_ctls(mixer_.get()), 0);
    EXPECT_EQ(mixer_get_ctl_by_name(mixer_.get(), "Late Switch"), nullptr);
    cards_.AddLateControl(0);
    EXPECT_EQ(mixer_add_new_ctls(mixer_.get()), 0);
    EXPECT_EQ(mixer_ctl_get_value(Control("Late Switch"), 0), 0);
    EXPECT_EQ(mixer_ctl_get_value(volume, 1), 60);
}

// Under the system's ALSA configuration, alsa-lib prints lines of its own ("ALSA lib ...") for a
// card that does not exist; tinyalsa prints nothing.
TEST(HostTinyalsaQuietTest, MissingCard_NothingOnStandardError) {
    testing::internal::CaptureStderr();
    errno = 0;
    EXPECT_EQ(mixer_open(31), nullptr);
    const int error = errno;
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
    EXPECT_NE(error, 0);
}

}  // namespace
