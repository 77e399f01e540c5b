// The host's tinyalsa against alsa-lib and the test control plugin: tinyalsa's return conventions
// (-EINVAL for its own checks, -1 with errno for the driver's failures) and value handling.

#include <tinyalsa/asoundlib.h>

#include <cerrno>
#include <memory>
#include <utility>

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

// Driver failures, and values the driver refuses, are -1 with errno.
TEST_F(HostTinyalsaTest, DriverFailures_AnswerMinusOneWithErrno) {
    const auto failure = [](auto call) {
        errno = 0;
        const int result = call();
        return std::pair(result, errno);
    };
    EXPECT_EQ(failure([] { return mixer_open(8) == nullptr ? -1 : 0; }), std::pair(-1, ENODEV));
    mixer_ctl* faulty = Control("Faulty Level");
    long value = 101;
    EXPECT_EQ(failure([&] { return mixer_ctl_get_array(faulty, &value, 1); }), std::pair(-1, EIO));
    EXPECT_EQ(failure([&] { return mixer_ctl_get_value(faulty, 0); }), std::pair(-1, EIO));
    EXPECT_EQ(failure([&] { return mixer_ctl_set_array(faulty, &value, 1); }), std::pair(-1, EIO));
    EXPECT_EQ(failure([&] { return mixer_ctl_set_array(Control("Speaker Volume"), &value, 1); }),
              std::pair(-1, EINVAL));
}

// Values past the count are written as 0; tinyalsa answers 0 whether the values changed or not.
// An integer control's item count is the low 32 bits of its minimum (-10), as tinyalsa reads it.
// Names, types and the values of each type are in the `autl mixer` transcript.
TEST_F(HostTinyalsaTest, Values_PastTheCountWrittenAsZero) {
    mixer_ctl* volume = Control("Speaker Volume");
    EXPECT_EQ(mixer_ctl_get_num_enums(volume), 4294967286U);
    long values[2] = {-10, 5};
    EXPECT_EQ(mixer_ctl_set_array(volume, values, 1), 0);
    EXPECT_EQ(mixer_ctl_set_array(volume, values, 1), 0);
    ASSERT_EQ(mixer_ctl_get_array(volume, values, 2), 0);
    EXPECT_THAT(values, ElementsAre(-10, 0));
    mixer_ctl* blob = Control("Codec Blob");
    const unsigned char bytes[2] = {0x80, 0x7f};
    EXPECT_EQ(mixer_ctl_set_array(blob, bytes, 2), 0);
    unsigned char read[8] = {};
    ASSERT_EQ(mixer_ctl_get_array(blob, read, 8), 0);
    EXPECT_THAT(read, ElementsAre(0x80, 0x7f, 0, 0, 0, 0, 0, 0));
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
