// The WAV header reader of autl and the checks of `autl wav info` on arbitrary files. A header is
// read from any file of 44 bytes or more and encodes back to the same 44 bytes; the checks find
// no problem exactly when the header is one a writer of canonical files makes (the one
// MakeWaveHeader builds from its format, channels, rate, bits and data size, with a PCM or IEEE
// float format, whole bytes per sample, a frame and a byte rate that fit their fields) and the
// data it counts is in the file, which may hold more.
//
// Input: the file's bytes.

#include "fuzz_support.h"
#include "wav.h"

using namespace autl::capture;

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const std::optional<WaveHeader> header = DecodeWaveHeader({data, size});
    AUTL_FUZZ_CHECK(header.has_value() == (size >= kWaveHeaderSize));
    if (!header.has_value()) return 0;
    const auto encoded = EncodeWaveHeader(*header);
    AUTL_FUZZ_CHECK(std::equal(encoded.begin(), encoded.end(), data));

    const WaveHeader& h = *header;
    const uint64_t frame_size = h.channels * (h.bits_per_sample / 8u);
    const bool format =
            h.audio_format == kWavePcm || (h.audio_format == kWaveIeeeFloat &&
                                           (h.bits_per_sample == 32 || h.bits_per_sample == 64));
    const bool canonical = format && frame_size > 0 && h.bits_per_sample % 8 == 0 &&
                           frame_size <= UINT16_MAX && frame_size * h.sample_rate <= UINT32_MAX &&
                           h.data_size <= size - kWaveHeaderSize &&
                           h.data_size <= kMaxWaveDataSize &&
                           h == MakeWaveHeader(h.audio_format, h.channels, h.sample_rate,
                                               h.bits_per_sample, h.data_size);
    AUTL_FUZZ_CHECK(CheckWaveHeader(h, size).empty() == canonical);
    if (canonical) AUTL_FUZZ_CHECK(CheckWaveHeader(h, size + 1).empty());

    return 0;
}
