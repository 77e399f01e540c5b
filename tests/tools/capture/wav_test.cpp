#include "wav.h"

#include <recorder/raw_recorder.h>

#include <cstdint>
#include <functional>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "temp_dir.h"

namespace autl::capture {
namespace {

using aidl::android::media::audio::common::PcmType;
using test::ReadFile;
using test::TempDir;
using testing::ElementsAre;
using vendor::zentro::tevrash::audio::hal::utils::recorder::WaveRecorder;

std::span<const uint8_t> Span(const std::string& bytes) {
    return {reinterpret_cast<const uint8_t*>(bytes.data()), bytes.size()};
}

// The header that WaveRecorder wrote for one chunk of `size` bytes, and the file.
std::string RecordedFile(int channels, uint32_t rate, int pcm_type, int size) {
    TempDir dir;
    WaveRecorder recorder(dir.path(), "wav", channels, rate, static_cast<PcmType>(pcm_type));
    recorder.Start();
    std::string chunk(static_cast<size_t>(size), 'x');
    recorder.Record(chunk.data(), size);
    return ReadFile(recorder.GetPath());
}

TEST(WaveHeaderTest, RecordedFile_DecodesConsistentAndEncodesBackToTheSameBytes) {
    struct Case {
        int channels;
        uint32_t rate;
        int pcm_type;
        uint16_t audio_format;
        uint16_t bits;
    };
    const Case cases[] = {
            {2, 48000, 1, kWavePcm, 16}, {1, 16000, 4, kWaveIeeeFloat, 32},
            {6, 44100, 5, kWavePcm, 24}, {2, 8000, 0, kWavePcm, 8},
            {1, 96000, 3, kWavePcm, 32},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.pcm_type);
        const std::string file = RecordedFile(c.channels, c.rate, c.pcm_type, 150);
        const std::optional<WaveHeader> header = DecodeWaveHeader(Span(file));
        ASSERT_TRUE(header.has_value());
        EXPECT_EQ(*header, MakeWaveHeader(c.audio_format, static_cast<uint16_t>(c.channels), c.rate,
                                          c.bits, 150));
        EXPECT_THAT(CheckWaveHeader(*header, file.size()), ElementsAre());
        const std::array<uint8_t, kWaveHeaderSize> bytes = EncodeWaveHeader(*header);
        EXPECT_EQ(std::string(bytes.begin(), bytes.end()), file.substr(0, kWaveHeaderSize));
    }
    EXPECT_FALSE(DecodeWaveHeader(Span(std::string(43, 'x'))).has_value());
}

TEST(WaveHeaderTest, Inconsistencies_AreEachNamed) {
    // 2 channels, 48000 Hz, 16 bits, 150 data bytes in a file of 194.
    const WaveHeader good = MakeWaveHeader(kWavePcm, 2, 48000, 16, 150);
    struct Case {
        std::function<void(WaveHeader&)> change;
        uint64_t file_size;
        std::vector<std::string> problems;
    };
    const Case cases[] = {
            {[](WaveHeader&) {}, 194, {}},
            {[](WaveHeader&) {}, 2000, {}},
            {[](WaveHeader& h) {
                 h.chunk_id = {'R', 'I', 'F', 'X'};
             },
             194,
             {"chunk id is 'RIFX', not 'RIFF'"}},
            {[](WaveHeader& h) {
                 h.format = {'A', 'V', 'I', ' '};
             },
             194,
             {"format is 'AVI ', not 'WAVE'"}},
            {[](WaveHeader& h) {
                 h.fmt_id = {'f', 'm', 't', '\0'};
             },
             194,
             {"sub-chunk 1 id is 'fmt\\x00', not 'fmt '"}},
            {[](WaveHeader& h) { h.fmt_size = 18; }, 194, {"sub-chunk 1 size is 18, not 16"}},
            {[](WaveHeader& h) { h.audio_format = 2; },
             194,
             {"audio format 2 is neither 1 (PCM) nor 3 (IEEE float)"}},
            {[](WaveHeader& h) { h.channels = 0; },
             194,
             {"channel count is 0", "block align 4 is not channels x bits per sample / 8 (0)",
              "byte rate 192000 is not channels x sample rate x bits / 8 (0)"}},
            {[](WaveHeader& h) { h.bits_per_sample = 12; },
             194,
             {"bits per sample 12 is not a whole number of bytes",
              "block align 4 is not channels x bits per sample / 8 (2)",
              "byte rate 192000 is not channels x sample rate x bits / 8 (96000)"}},
            {[](WaveHeader& h) { h.audio_format = kWaveIeeeFloat; },
             194,
             {"IEEE float samples of 16 bits: only 32 or 64 exist"}},
            {[](WaveHeader& h) { h.block_align = 3; },
             194,
             {"block align 3 is not channels x bits per sample / 8 (4)"}},
            {[](WaveHeader& h) { h.byte_rate = 1000; },
             194,
             {"byte rate 1000 is not channels x sample rate x bits / 8 (192000)"}},
            {[](WaveHeader& h) {
                 h.data_id = {'L', 'I', 'S', 'T'};
             },
             194,
             {"sub-chunk 2 id is 'LIST', not 'data'"}},
            {[](WaveHeader& h) { h.chunk_size = 100; },
             194,
             {"chunk size 100 is not 36 + data size (186)"}},
            {[](WaveHeader& h) { h.chunk_size = UINT32_MAX; },
             194,
             {"chunk size 4294967295 is not 36 + data size (186)"}},
            {[](WaveHeader&) {},
             100,
             {"data size 150 counts more than the 56 bytes after the header"}},
            {[](WaveHeader&) {}, 10, {"data size 150 counts more than the 0 bytes after the header"}},
    };
    for (const Case& c : cases) {
        WaveHeader header = good;
        c.change(header);
        EXPECT_EQ(CheckWaveHeader(header, c.file_size), c.problems);
    }
}

// A PCM type outside the enumeration records zero sizes: the header says so.
TEST(WaveHeaderTest, UnknownPcmType_HasZeroBitsPerSample) {
    const std::string file = RecordedFile(2, 48000, 6, 8);
    const std::optional<WaveHeader> header = DecodeWaveHeader(Span(file));
    ASSERT_TRUE(header.has_value());
    EXPECT_THAT(CheckWaveHeader(*header, file.size()),
                ElementsAre("bits per sample 0 is not a whole number of bytes"));
}

}  // namespace
}  // namespace autl::capture
