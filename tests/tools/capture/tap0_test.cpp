#include "tap0.h"

#include <recorder/raw_recorder.h>

#include <cstdint>
#include <optional>
#include <random>
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

std::string Text(std::span<const uint8_t> bytes) {
    return {reinterpret_cast<const char*>(bytes.data()), bytes.size()};
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

// Records each payload as one frame and returns the capture's bytes.
std::string Capture(int channels, int rate, PcmType pcm_type,
                    const std::vector<std::string>& payloads) {
    TempDir dir;
    EncodedRecorder recorder(dir.path(), "enc", channels, rate, pcm_type);
    recorder.Start();
    for (std::string payload : payloads) {
        recorder.Record(payload.data(), static_cast<int>(payload.size()));
    }
    return ReadFile(recorder.GetPath());
}

TEST(Tap0ReaderTest, RecordedCapture_ReadsBackEveryFrameAndItsFormat) {
    struct Case {
        int channels;
        int rate;
        int pcm_type;
        // What the format word tells.
        int decoded_channels;
        uint32_t decoded_rate;
        PcmType decoded_type;
    };
    const Case cases[] = {
            {2, 48000, 1, 2, 48000, PcmType::INT_16_BIT},
            {1, 16000, 4, 1, 16000, PcmType::FLOAT_32_BIT},
            {9, 44100, 5, 1, 44100, PcmType::INT_24_BIT},
            {6, 22050, 2, 6, 48000, PcmType::INT_32_BIT},
            {2, 8000, 3, 2, 8000, PcmType::INT_32_BIT},
            {7, 192000, 0, 7, 192000, PcmType::DEFAULT},
            {4, 96000, 6, 4, 96000, PcmType::INT_16_BIT},
            {3, 24000, 1, 3, 24000, PcmType::INT_16_BIT},
            {5, 32000, 1, 5, 32000, PcmType::INT_16_BIT},
    };
    const std::vector<std::string> payloads = {Payload(1, 1), Payload(1920, 2), Payload(4097, 3),
                                               Payload((1 << 20) - 1, 4)};
    for (const Case& c : cases) {
        SCOPED_TRACE(testing::Message()
                     << c.channels << " channels, " << c.rate << " Hz, type " << c.pcm_type);
        const std::string capture =
                Capture(c.channels, c.rate, static_cast<PcmType>(c.pcm_type), payloads);
        Tap0Reader reader(Span(capture));
        uint64_t offset = 0;
        for (size_t i = 0; i < payloads.size(); ++i) {
            const std::optional<Tap0Frame> frame = reader.Next();
            ASSERT_TRUE(frame.has_value()) << i;
            EXPECT_EQ(frame->index, i);
            EXPECT_EQ(frame->offset, offset);
            EXPECT_EQ(Text(frame->payload), payloads[i]);
            EXPECT_EQ(frame->format.channels, c.decoded_channels);
            EXPECT_EQ(frame->format.sample_rate, c.decoded_rate);
            EXPECT_EQ(frame->format.pcm_type, c.decoded_type);
            EXPECT_TRUE(frame->format.well_formed);
            offset += 20 + payloads[i].size();
        }
        EXPECT_FALSE(reader.Next().has_value());
        EXPECT_FALSE(reader.error().has_value());
        EXPECT_EQ(offset, capture.size());
    }
}

TEST(Tap0ReaderTest, Damage_StopsWithTheFrameOffsetAndWhatIsWrong) {
    const std::string first = Frame(kStereo48kInt16, "0123456789");
    const std::string second = Frame(kStereo48kInt16, "abcdefghij");
    const auto with = [&](size_t at, const std::string& bytes) {
        std::string damaged = second;
        damaged.replace(at, bytes.size(), bytes);
        return first + damaged;
    };
    struct Case {
        std::string capture;
        Tap0Damage damage;
        std::string message;
    };
    const Case cases[] = {
            {with(0, "tap1"), Tap0Damage::kBadMarker,
             "frame 1 at offset 30: bad marker 'tap1', not 'tap0'"},
            {with(0, std::string("\0\x01"
                                 "ap",
                                 4)),
             Tap0Damage::kBadMarker, "frame 1 at offset 30: bad marker '\\x00\\x01ap', not 'tap0'"},
            {first + "tX", Tap0Damage::kBadMarker,
             "frame 1 at offset 30: bad marker 'tX', not 'tap0'"},
            {first + "ta", Tap0Damage::kTruncatedHeader,
             "frame 1 at offset 30: truncated header: 2 of 20 bytes"},
            {first + second.substr(0, 19), Tap0Damage::kTruncatedHeader,
             "frame 1 at offset 30: truncated header: 19 of 20 bytes"},
            {first + second.substr(0, 27), Tap0Damage::kTruncatedPayload,
             "frame 1 at offset 30: truncated payload: 7 of 10 bytes"},
            {with(16, Le32(static_cast<uint32_t>(-5))), Tap0Damage::kBadLength,
             "frame 1 at offset 30: negative payload length -5"},
            {with(16, Le32(0)), Tap0Damage::kBadLength,
             "frame 1 at offset 30: payload length 0 outside 1 to 1048575"},
            {with(16, Le32(1 << 20)), Tap0Damage::kBadLength,
             "frame 1 at offset 30: payload length 1048576 outside 1 to 1048575"},
            {with(4, Le32(kStereo48kInt16 - 1)), Tap0Damage::kBadFormatWord,
             "frame 1 at offset 30: bad format word 0x01355006: bits 0-2 must hold 7, bit 12 must "
             "hold 1, bits 3-11, 19 and 26-31 must be 0"},
            {with(4, Le32(kStereo48kInt16 | 1u << 19)), Tap0Damage::kBadFormatWord,
             "frame 1 at offset 30: bad format word 0x013d5007: bits 0-2 must hold 7, bit 12 must "
             "hold 1, bits 3-11, 19 and 26-31 must be 0"},
            {with(15, "\x01"), Tap0Damage::kReservedNotZero,
             "frame 1 at offset 30: reserved bytes 8 to 15 are not 0"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.message);
        Tap0Reader reader(Span(c.capture));
        const std::optional<Tap0Frame> frame = reader.Next();
        ASSERT_TRUE(frame.has_value());
        EXPECT_EQ(Text(frame->payload), "0123456789");
        EXPECT_FALSE(reader.Next().has_value());
        ASSERT_TRUE(reader.error().has_value());
        EXPECT_EQ(reader.error()->damage, c.damage);
        EXPECT_EQ(reader.error()->frame_index, 1u);
        EXPECT_EQ(reader.error()->offset, 30u);
        EXPECT_EQ(reader.error()->message, c.message);
        // Nothing is read after damage.
        EXPECT_FALSE(reader.Next().has_value());
    }
}

// Cut anywhere, a capture gives its whole frames and a truncation at the start of the next one.
TEST(Tap0ReaderTest, EveryPrefix_GivesTheWholeFramesAndTheCut) {
    const std::string capture = Frame(kStereo48kInt16, Payload(25, 0)) +
                                Frame(kMono16kFloat, Payload(3, 9)) +
                                Frame(kStereo48kInt16, Payload(30, 5));
    const size_t ends[] = {45, 68, 118};
    for (size_t size = 0; size <= capture.size(); ++size) {
        SCOPED_TRACE(size);
        const std::string prefix = capture.substr(0, size);
        Tap0Reader reader(Span(prefix));
        size_t frames = 0;
        while (reader.Next().has_value()) ++frames;
        size_t whole = 0;
        while (whole < 3 && ends[whole] <= size) ++whole;
        EXPECT_EQ(frames, whole);
        const size_t start = whole == 0 ? 0 : ends[whole - 1];
        if (size == start) {
            EXPECT_FALSE(reader.error().has_value());
            continue;
        }
        ASSERT_TRUE(reader.error().has_value());
        EXPECT_TRUE(reader.error()->IsTruncation());
        EXPECT_EQ(reader.error()->offset, start);
        EXPECT_EQ(reader.error()->damage,
                  size - start < 20 ? Tap0Damage::kTruncatedHeader : Tap0Damage::kTruncatedPayload);
    }
}

// Random damage anywhere: frames stay inside the bytes and follow each other exactly, and the
// reader always comes to an end.
TEST(Tap0ReaderTest, RandomDamage_FramesStayInsideTheBytes) {
    const std::string capture = Frame(kStereo48kInt16, Payload(40, 0)) +
                                Frame(kMono16kFloat, Payload(1, 1)) +
                                Frame(kStereo48kInt16, Payload(300, 2));
    std::mt19937 random(7);
    for (int round = 0; round < 3000; ++round) {
        std::string damaged = capture;
        const int flips = std::uniform_int_distribution<int>(1, 4)(random);
        for (int i = 0; i < flips; ++i) {
            const size_t at = std::uniform_int_distribution<size_t>(0, damaged.size() - 1)(random);
            damaged[at] = static_cast<char>(std::uniform_int_distribution<int>(0, 255)(random));
        }
        damaged.resize(std::uniform_int_distribution<size_t>(0, damaged.size())(random));
        // A copy of exactly the damaged size, so that ASan sees any read past it.
        const std::vector<uint8_t> bytes(damaged.begin(), damaged.end());
        Tap0Reader reader(bytes);
        uint64_t next = 0;
        while (const std::optional<Tap0Frame> frame = reader.Next()) {
            ASSERT_EQ(frame->offset, next);
            ASSERT_EQ(frame->payload.data(), bytes.data() + next + 20);
            next += 20 + frame->payload.size();
            ASSERT_LE(next, bytes.size());
        }
        EXPECT_EQ(reader.error().has_value(), next != bytes.size()) << round;
    }
}

// The conversion gives the file that WaveRecorder writes for the same chunks.
TEST(Tap0WaveTest, RecordedCapture_ConvertsToTheFileWaveRecorderWrites) {
    struct Case {
        int channels;
        int rate;
        PcmType pcm_type;
    };
    const Case cases[] = {
            {2, 48000, PcmType::INT_16_BIT}, {1, 16000, PcmType::FLOAT_32_BIT},
            {6, 44100, PcmType::INT_24_BIT}, {2, 8000, PcmType::DEFAULT},
            {4, 96000, PcmType::INT_32_BIT}, {2, 192000, PcmType::FIXED_Q_8_24},
    };
    const std::vector<std::string> chunks = {Payload(1920, 0), Payload(7, 1), Payload(4096, 2)};
    for (const Case& c : cases) {
        SCOPED_TRACE(toString(c.pcm_type));
        TempDir dir;
        WaveRecorder wave(dir.path(), "wav", c.channels, static_cast<uint32_t>(c.rate), c.pcm_type);
        wave.Start();
        for (std::string chunk : chunks) wave.Record(chunk.data(), static_cast<int>(chunk.size()));
        const std::string capture = Capture(c.channels, c.rate, c.pcm_type, chunks);

        std::string error;
        const std::optional<Tap0WavePlan> plan = PlanTap0Wave(Span(capture), &error);
        ASSERT_TRUE(plan.has_value()) << error;
        EXPECT_EQ(plan->frames, 3u);
        EXPECT_EQ(plan->data_size, 1920u + 7 + 4096);
        EXPECT_EQ(plan->end, capture.size());
        EXPECT_FALSE(plan->truncation.has_value());
        std::ostringstream out;
        EXPECT_TRUE(WriteTap0Wave(Span(capture), *plan, out));
        EXPECT_EQ(out.str(), ReadFile(wave.GetPath()));
    }
}

// What a killed recorder leaves: the whole frames convert, the cut one is left out.
TEST(Tap0WaveTest, TruncatedLastFrame_IsLeftOut) {
    const std::string capture =
            Frame(kStereo48kInt16, "abcd") + Frame(kStereo48kInt16, "efgh").substr(0, 22);
    std::string error;
    const std::optional<Tap0WavePlan> plan = PlanTap0Wave(Span(capture), &error);
    ASSERT_TRUE(plan.has_value()) << error;
    EXPECT_EQ(plan->frames, 1u);
    EXPECT_EQ(plan->end, 24u);
    ASSERT_TRUE(plan->truncation.has_value());
    EXPECT_EQ(plan->truncation->message, "frame 1 at offset 24: truncated payload: 2 of 4 bytes");
    std::ostringstream out;
    EXPECT_TRUE(WriteTap0Wave(Span(capture), *plan, out));
    EXPECT_EQ(out.str(), "RIFF" + Le32(40) + "WAVEfmt " + Le32(16) + std::string("\1\0\2\0", 4) +
                                 Le32(48000) + Le32(192000) + std::string("\4\0\x10\0", 4) +
                                 "data" + Le32(4) + "abcd");
}

TEST(Tap0WaveTest, Refusals_SayWhy) {
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
