// The mixer on a host, end to end: TinyalsaMixer, the host's tinyalsa, alsa-lib and the test
// control plugin, with controls read and written by name.

#include <mixer/tinyalsa_mixer.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "fake_alsa_card.h"

namespace vendor::zentro::tevrash::audio::hal::utils::mixer {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::Optional;

class TinyalsaMixerAlsaTest : public ::testing::Test {
  protected:
    void SetUp() override { ASSERT_TRUE(mixer_.Open(3)); }

    autl::test::FakeAlsaCards cards_;
    TinyalsaMixer mixer_;
};

TEST_F(TinyalsaMixerAlsaTest, IntegerControls_ByCardNumberAndName) {
    EXPECT_THAT(mixer_.GetName(), Optional(std::string_view("Test Card 3")));
    EXPECT_FALSE(TinyalsaMixer().Open(8));
    EXPECT_THAT(mixer_.GetIntegerValue("Speaker Volume"), Optional(50L));
    EXPECT_THAT(mixer_.GetNumberOfValues("Speaker Volume"), Optional(2U));
    const long values[2] = {-10, 100};
    EXPECT_TRUE(mixer_.SetIntegerValues("Speaker Volume", values, 2));
    EXPECT_FALSE(mixer_.SetIntegerValue("Speaker Volume", 101));  // out of range
    EXPECT_THAT(mixer_.GetIntegerValue("Speaker Volume"), Optional(-10L));
    EXPECT_TRUE(mixer_.SetIntegerValue("Mute Switch", 1));
    EXPECT_THAT(mixer_.GetIntegerValue("Mute Switch"), Optional(1L));
    // The driver's failure is -1, which the single-value read hands back as the value; tinyalsa
    // refuses 64-bit controls with -EINVAL.
    EXPECT_THAT(mixer_.GetIntegerValue("Faulty Level"), Optional(-1L));
    EXPECT_FALSE(mixer_.SetIntegerValue("Faulty Level", 5));
    EXPECT_EQ(mixer_.GetIntegerValue("Big Counter"), std::nullopt);
    EXPECT_EQ(mixer_.GetIntegerValue("Late Switch"), std::nullopt);
    cards_.AddLateControl(3);
    EXPECT_TRUE(mixer_.UpdateControls());
    EXPECT_THAT(mixer_.GetIntegerValue("Late Switch"), Optional(0L));
}

TEST_F(TinyalsaMixerAlsaTest, ByteAndEnumeratedControls_ByName) {
    char bytes[8] = {};
    ASSERT_TRUE(mixer_.GetByteValues("Codec Blob", bytes, 8));
    EXPECT_THAT(bytes, ElementsAre(1, 2, 3, 4, 127, static_cast<char>(128), static_cast<char>(254),
                                   static_cast<char>(255)));
    const char written[3] = {9, 8, 7};
    EXPECT_TRUE(mixer_.SetByteValues("Codec Blob", written, 3));
    ASSERT_TRUE(mixer_.GetByteValues("Codec Blob", bytes, 8));
    EXPECT_THAT(bytes, ElementsAre(9, 8, 7, 0, 0, 0, 0, 0));
    EXPECT_FALSE(mixer_.GetByteValues("Codec Blob", bytes, 9));
    EXPECT_FALSE(mixer_.GetByteValues("Speaker Volume", bytes, 2));  // 16 bytes from tinyalsa

    EXPECT_THAT(mixer_.GetEnum("Route Select"), Optional(std::string_view("Speaker")));
    EXPECT_THAT(mixer_.GetEnums("Route Select"), ElementsAre("Off", "Speaker", "Headset"));
    EXPECT_TRUE(mixer_.SetEnum("Route Select", "Headset"));
    EXPECT_FALSE(mixer_.SetEnum("Route Select", "Loud"));
    EXPECT_THAT(mixer_.GetEnum("Route Select"), Optional(std::string_view("Headset")));
    EXPECT_THAT(mixer_.GetIntegerValue("Route Select"), Optional(2L));
    EXPECT_THAT(mixer_.GetEnums("Speaker Volume"), IsEmpty());
}

}  // namespace
}  // namespace vendor::zentro::tevrash::audio::hal::utils::mixer
