#include "wav.h"

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include <gtest/gtest.h>

namespace autl::capture {
namespace {

// Every inconsistency that CheckWaveHeader names, one field changed at a time.
TEST(WaveHeaderTest, Inconsistencies_AreEachNamed) {
    // 2 channels, 48000 Hz, 16 bits, 150 data bytes in a file of 194.
    const WaveHeader good = MakeWaveHeader(kWavePcm, 2, 48000, 16, 150);
    struct Case {
        std::function<void(WaveHeader&)> change;
        std::vector<std::string> problems;
        uint64_t file_size = 194;
    };
    const auto same = [](WaveHeader&) {};
    const Case cases[] = {
            {same, {}, 2000},
            {[](WaveHeader& h) { h.chunk_id[3] = 'X'; }, {"chunk id is 'RIFX', not 'RIFF'"}},
            {[](WaveHeader& h) { h.format[0] = 'D'; }, {"format is 'DAVE', not 'WAVE'"}},
            {[](WaveHeader& h) { h.fmt_id[3] = '\0'; },
             {"sub-chunk 1 id is 'fmt\\x00', not 'fmt '"}},
            {[](WaveHeader& h) { h.fmt_size = 18; }, {"sub-chunk 1 size is 18, not 16"}},
            {[](WaveHeader& h) { h.audio_format = 2; },
             {"audio format 2 is neither 1 (PCM) nor 3 (IEEE float)"}},
            {[](WaveHeader& h) { h.channels = 0; },
             {"channel count is 0", "block align 4 is not channels x bits per sample / 8 (0)",
              "byte rate 192000 is not channels x sample rate x bits / 8 (0)"}},
            {[](WaveHeader& h) { h.bits_per_sample = 12; },
             {"bits per sample 12 is not a whole number of bytes",
              "block align 4 is not channels x bits per sample / 8 (2)",
              "byte rate 192000 is not channels x sample rate x bits / 8 (96000)"}},
            {[](WaveHeader& h) { h.audio_format = kWaveIeeeFloat; },
             {"IEEE float samples of 16 bits: only 32 or 64 exist"}},
            {[](WaveHeader& h) { h.block_align = 3; },
             {"block align 3 is not channels x bits per sample / 8 (4)"}},
            {[](WaveHeader& h) { h.byte_rate = 1000; },
             {"byte rate 1000 is not channels x sample rate x bits / 8 (192000)"}},
            {[](WaveHeader& h) { h.data_id[0] = 'L'; }, {"sub-chunk 2 id is 'Lata', not 'data'"}},
            {[](WaveHeader& h) { h.chunk_size = UINT32_MAX; },
             {"chunk size 4294967295 is not 36 + data size (186)"}},
            {same, {"data size 150 counts more than the 56 bytes after the header"}, 100},
            {same, {"data size 150 counts more than the 0 bytes after the header"}, 10},
            // As WaveRecorder writes it for a PCM type outside the enumeration.
            {[](WaveHeader& h) { h.byte_rate = h.block_align = h.bits_per_sample = 0; },
             {"bits per sample 0 is not a whole number of bytes"}},
    };
    for (const Case& c : cases) {
        WaveHeader header = good;
        c.change(header);
        EXPECT_EQ(CheckWaveHeader(header, c.file_size), c.problems);
    }
    EXPECT_FALSE(DecodeWaveHeader(std::vector<uint8_t>(43, 'x')).has_value());
}

}  // namespace
}  // namespace autl::capture
