#include "tap0.h"

#include <recorder/raw_recorder.h>

#include <cstdint>
#include <optional>
#include <span>
#include <sstream>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "little_endian.h"
#include "temp_dir.h"

namespace autl::capture {
namespace {

using aidl::android::media::audio::common::PcmType;
using test::Le32;
using test::ReadFile;
using test::TempDir;
using vendor::zentro::tevrash::audio::hal::utils::recorder::EncodedRecorder;
using vendor::zentro::tevrash::audio::hal::utils::recorder::WaveRecorder;

std::span<const uint8_t> Span(const std::string& bytes) {
    return {reinterpret_cast<const uint8_t*>(bytes.data()), bytes.size()};
}

std::string Payload(size_t size, int seed) {
    std::string payload(size, '\0');
    for (size_t i = 0; i < size; ++i) payload[i] = static_cast<char>(seed + i * 7);
    return payload;
}

std::string Frame(uint32_t word, const std::string& payload) {
    return "tap0" + Le32(word) + std::string(8, '\0') +
           Le32(static_cast<uint32_t>(payload.size())) + payload;
}

constexpr uint32_t kStereo48kInt16 = 0x01355007;
constexpr uint32_t kMono16kFloat = 0x00613007;

// The format word keeps the channel count's low three bits, the rates that have a code of their
// own and five sample formats. A capture reads back frame by frame with what the word tells, and
// converts into the file that WaveRecorder writes for that format.
TEST(Tap0Test, RecordedCapture_ReadsBackAndConvertsToWhatWaveRecorderWrites) {
    struct Case {
        int channels;
        int rate;
        int pcm_type;
        int decoded_channels;
        int decoded_rate;
        int decoded_type;
    };
    const Case cases[] = {
            {2, 48000, 1, 2, 48000, 1}, {1, 16000, 4, 1, 16000, 4}, {6, 44100, 5, 6, 44100, 5},
            {2, 8000, 3, 2, 8000, 2},   {4, 96000, 2, 4, 96000, 2}, {7, 192000, 0, 7, 192000, 0},
            {3, 24000, 1, 3, 24000, 1}, {5, 32000, 1, 5, 32000, 1}, {9, 48000, 1, 1, 48000, 1},
            {6, 22050, 2, 6, 48000, 2}, {4, 96000, 6, 4, 96000, 1},
    };
    const std::vector<std::string> payloads = {Payload(1, 1), Payload(1920, 2), Payload(4097, 3),
                                               Payload((1 << 20) - 1, 4)};
    for (const Case& c : cases) {
        SCOPED_TRACE(testing::Message()
                     << c.channels << " channels, " << c.rate << " Hz, type " << c.pcm_type);
        TempDir dir;
        EncodedRecorder encoded(dir.path(), "enc", c.channels, c.rate,
                                static_cast<PcmType>(c.pcm_type));
        WaveRecorder wave(dir.path(), "wav", c.decoded_channels,
                          static_cast<uint32_t>(c.decoded_rate),
                          static_cast<PcmType>(c.decoded_type));
        encoded.Start();
        wave.Start();
        for (std::string payload : payloads) {
            encoded.Record(payload.data(), static_cast<int>(payload.size()));
            wave.Record(payload.data(), static_cast<int>(payload.size()));
        }
        const std::string capture = ReadFile(encoded.GetPath());

        Tap0Reader reader(Span(capture));
        uint64_t offset = 0;
        for (size_t i = 0; i < payloads.size(); ++i) {
            const std::optional<Tap0Frame> frame = reader.Next();
            ASSERT_TRUE(frame.has_value()) << i;
            EXPECT_EQ(frame->index, i);
            EXPECT_EQ(frame->offset, offset);
            EXPECT_EQ(std::string(frame->payload.begin(), frame->payload.end()), payloads[i]);
            EXPECT_EQ(frame->format.channels, c.decoded_channels);
            EXPECT_EQ(frame->format.sample_rate, static_cast<uint32_t>(c.decoded_rate));
            EXPECT_EQ(frame->format.pcm_type, static_cast<PcmType>(c.decoded_type));
            EXPECT_TRUE(frame->format.well_formed);
            offset += 20 + payloads[i].size();
        }
        EXPECT_FALSE(reader.Next().has_value());
        EXPECT_FALSE(reader.error().has_value());

        std::string error;
        const std::optional<Tap0WavePlan> plan = PlanTap0Wave(Span(capture), &error);
        ASSERT_TRUE(plan.has_value()) << error;
        EXPECT_EQ(plan->frames, payloads.size());
        EXPECT_EQ(plan->end, capture.size());
        EXPECT_FALSE(plan->truncation.has_value());
        std::ostringstream out;
        EXPECT_TRUE(WriteTap0Wave(Span(capture), *plan, out));
        EXPECT_EQ(out.str(), ReadFile(wave.GetPath()));
    }
}

TEST(Tap0Test, Damage_StopsWithTheFrameOffsetAndWhatIsWrong) {
    const std::string first = Frame(kStereo48kInt16, "0123456789");
    const std::string second = Frame(kStereo48kInt16, "abcdefghij");
    const auto with = [&](size_t at, const std::string& bytes) {
        std::string damaged = second;
        damaged.replace(at, bytes.size(), bytes);
        return first + damaged;
    };
    const std::string format_rule =
            ": bits 0-2 must hold 7, bit 12 must hold 1, bits 3-11, 19 and 26-31 must be 0";
    struct Case {
        std::string capture;
        Tap0Damage damage;
        std::string message;  // after "frame 1 at offset 30: "
    };
    const Case cases[] = {
            {with(0, "tap1"), Tap0Damage::kBadMarker, "bad marker 'tap1', not 'tap0'"},
            {with(0, std::string("\0\1ap", 4)), Tap0Damage::kBadMarker,
             "bad marker '\\x00\\x01ap', not 'tap0'"},
            {first + "tX", Tap0Damage::kBadMarker, "bad marker 'tX', not 'tap0'"},
            {first + "ta", Tap0Damage::kTruncatedHeader, "truncated header: 2 of 20 bytes"},
            {first + second.substr(0, 19), Tap0Damage::kTruncatedHeader,
             "truncated header: 19 of 20 bytes"},
            {first + second.substr(0, 20), Tap0Damage::kTruncatedPayload,
             "truncated payload: 0 of 10 bytes"},
            {first + second.substr(0, 27), Tap0Damage::kTruncatedPayload,
             "truncated payload: 7 of 10 bytes"},
            {with(16, Le32(static_cast<uint32_t>(-5))), Tap0Damage::kBadLength,
             "negative payload length -5"},
            {with(16, Le32(0)), Tap0Damage::kBadLength, "payload length 0 outside 1 to 1048575"},
            {with(16, Le32(1 << 20)), Tap0Damage::kBadLength,
             "payload length 1048576 outside 1 to 1048575"},
            {with(4, Le32(kStereo48kInt16 - 1)), Tap0Damage::kBadFormatWord,
             "bad format word 0x01355006" + format_rule},
            {with(4, Le32(kStereo48kInt16 | 1u << 19)), Tap0Damage::kBadFormatWord,
             "bad format word 0x013d5007" + format_rule},
            {with(15, "\x01"), Tap0Damage::kReservedNotZero, "reserved bytes 8 to 15 are not 0"},
            // Cut after 3 payload bytes by a full disk; the next frame was written after them.
            {first + second.substr(0, 23) + first, Tap0Damage::kTornFrame,
             "torn frame: a frame header at offset 53 inside its payload of 10 bytes"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.message);
        Tap0Reader reader(Span(c.capture));
        const std::optional<Tap0Frame> frame = reader.Next();
        ASSERT_TRUE(frame.has_value());
        EXPECT_EQ(std::string(frame->payload.begin(), frame->payload.end()), "0123456789");
        EXPECT_FALSE(reader.Next().has_value());
        ASSERT_TRUE(reader.error().has_value());
        EXPECT_EQ(reader.error()->damage, c.damage);
        EXPECT_EQ(reader.error()->frame_index, 1u);
        EXPECT_EQ(reader.error()->offset, 30u);
        EXPECT_EQ(reader.error()->message, "frame 1 at offset 30: " + c.message);
        // Nothing is read after damage.
        EXPECT_FALSE(reader.Next().has_value());
    }
}

TEST(Tap0Test, WaveRefusals_SayWhy) {
    const std::string pcm = Frame(kStereo48kInt16, "abcd");
    struct Case {
        std::string capture;
        std::string error;
    };
    const Case cases[] = {
            {"", "no frame"},
            {pcm.substr(0, 10), "frame 0 at offset 0: truncated header: 10 of 20 bytes"},
            {pcm + "tap1", "frame 1 at offset 24: bad marker 'tap1', not 'tap0'"},
            {pcm + pcm + Frame(kMono16kFloat, "xy"),
             "frame 2 at offset 48 changes the format from 0x01355007: 2 channels, 48000 Hz, "
             "INT_16_BIT to 0x00613007: 1 channel, 16000 Hz, FLOAT_32_BIT"},
            {Frame(0x02a53007, "ab"),
             "the format is no PCM: 0x02a53007: 1 channel, 48000 Hz, code 0x2a"},
            {Frame(0x01351007, "ab"),
             "the format word counts 0 channels (8 channels are stored as 0): 0x01351007: 0 "
             "channels, 48000 Hz, INT_16_BIT"},
    };
    for (const Case& c : cases) {
        std::string error;
        EXPECT_FALSE(PlanTap0Wave(Span(c.capture), &error).has_value()) << c.error;
        EXPECT_EQ(error, c.error);
    }
}

}  // namespace
}  // namespace autl::capture
