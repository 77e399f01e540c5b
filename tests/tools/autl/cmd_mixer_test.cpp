// `autl mixer`, run as a program against the test control plugin's cards: the transcript
// tests/data/autl/mixer.txt holds each command and what it printed, compared whole.

#include <android-base/file.h>
#include <tinyalsa/asoundlib.h>

#include <string>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "fake_alsa_card.h"
#include "transcript.h"

namespace autl {
namespace {

TEST(MixerCommandTest, ListGetSetAndErrors) {
    test::FakeAlsaCards cards;
    TemporaryDir dir;
    test::ExpectTranscript("autl/mixer.txt", dir.path, AUTL_TOOL);
    // The last value set reached both values of the control.
    mixer* card = mixer_open(0);
    ASSERT_NE(card, nullptr);
    long values[2] = {};
    EXPECT_EQ(mixer_ctl_get_array(mixer_get_ctl_by_name(card, "Speaker Volume"), values, 2), 0);
    mixer_close(card);
    EXPECT_THAT(values, testing::ElementsAre(-10, -10));
}

}  // namespace
}  // namespace autl
