// The WAV header reader of autl and the checks of `autl wav info` on arbitrary files. A header is
// read from any file of 44 bytes or more and encodes back to the same 44 bytes; the checks find
// no problem exactly when the header is one a writer of canonical files makes (the one
// MakeWaveHeader builds from its format, channels, rate, bits and data size, with a PCM or IEEE
// float format, whole bytes per sample, a frame and a byte rate that fit their fields) and the
// data it counts is in the file. Every problem is a sentence of its own, and checking again gives
// the same answer. And what autl's converters write for a PCM type passes these checks whenever
// the channels and rate fit the header's fields.
//
// Input: the file's bytes.

#include <span>
#include <string>
#include <vector>

#include "fuzz_support.h"
#include "wav.h"

namespace {

using aidl::android::media::audio::common::PcmType;
using autl::capture::CheckWaveHeader;
using autl::capture::DecodeWaveHeader;
using autl::capture::EncodeWaveHeader;
using autl::capture::kMaxWaveDataSize;
using autl::capture::kWaveHeaderSize;
using autl::capture::kWaveIeeeFloat;
using autl::capture::kWavePcm;
using autl::capture::MakePcmWaveHeader;
using autl::capture::MakeWaveHeader;
using autl::capture::WaveHeader;

bool IsCanonical(const WaveHeader& header, uint64_t file_size) {
    const uint64_t sample_size = header.bits_per_sample / 8u;
    const uint64_t frame_size = header.channels * sample_size;
    const bool format = header.audio_format == kWavePcm ||
                        (header.audio_format == kWaveIeeeFloat &&
                         (header.bits_per_sample == 32 || header.bits_per_sample == 64));
    return format && header.channels > 0 && header.bits_per_sample % 8 == 0 && sample_size > 0 &&
           frame_size <= UINT16_MAX && frame_size * header.sample_rate <= UINT32_MAX &&
           header.data_size <= kMaxWaveDataSize &&
           header.data_size <= file_size - kWaveHeaderSize &&
           header == MakeWaveHeader(header.audio_format, header.channels, header.sample_rate,
                                    header.bits_per_sample, header.data_size);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const std::span<const uint8_t> file(data, size);
    const std::optional<WaveHeader> header = DecodeWaveHeader(file);
    AUTL_FUZZ_CHECK(header.has_value() == (size >= kWaveHeaderSize));
    if (!header.has_value()) return 0;
    const auto encoded = EncodeWaveHeader(*header);
    AUTL_FUZZ_CHECK(std::equal(encoded.begin(), encoded.end(), data));

    const std::vector<std::string> problems = CheckWaveHeader(*header, size);
    AUTL_FUZZ_CHECK(problems.empty() == IsCanonical(*header, size));
    for (const std::string& problem : problems) {
        AUTL_FUZZ_CHECK(!problem.empty() && problem.find('\n') == std::string::npos);
    }
    AUTL_FUZZ_CHECK(CheckWaveHeader(*header, size) == problems);
    // Data after the counted bytes is no problem: a recorder killed inside a chunk leaves it.
    if (problems.empty()) AUTL_FUZZ_CHECK(CheckWaveHeader(*header, size + 1).empty());

    // The header's fields as a converter's parameters; a PCM type from the audio format's value
    // (6 is outside the enumeration).
    const auto pcm_type = static_cast<PcmType>(header->audio_format % 7);
    const std::optional<WaveHeader> made =
            MakePcmWaveHeader(pcm_type, header->channels, header->sample_rate, header->data_size);
    AUTL_FUZZ_CHECK(made.has_value() == (header->audio_format % 7 < 6));
    if (made.has_value() && header->channels > 0 &&
        header->channels * (made->bits_per_sample / 8u) <= UINT16_MAX &&
        uint64_t{made->block_align} * header->sample_rate <= UINT32_MAX &&
        header->data_size <= kMaxWaveDataSize) {
        AUTL_FUZZ_CHECK(CheckWaveHeader(*made, kWaveHeaderSize + header->data_size).empty());
    }
    return 0;
}
