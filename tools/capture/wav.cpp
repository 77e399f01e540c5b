#include "wav.h"

#include <android-base/stringprintf.h>

#include <algorithm>

#include "bytes.h"

namespace autl::capture {

using android::base::StringPrintf;

namespace {

// The header's bytes after the chunk size field: what chunk_size counts besides the data.
constexpr uint32_t kHeaderAfterChunkSize = 36;

constexpr std::array<char, 4> Id(const char (&text)[5]) {
    return {text[0], text[1], text[2], text[3]};
}

std::array<char, 4> ReadId(const uint8_t* at) {
    std::array<char, 4> id;
    std::copy(at, at + 4, id.begin());
    return id;
}

void CheckId(const char* name, const std::array<char, 4>& id, const char (&expected)[5],
             std::vector<std::string>* problems) {
    if (id != Id(expected)) {
        problems->push_back(
                StringPrintf("%s is '%s', not '%s'", name, IdText(id).c_str(), expected));
    }
}

}  // namespace

WaveHeader MakeWaveHeader(uint16_t audio_format, uint16_t channels, uint32_t sample_rate,
                          uint16_t bits_per_sample, uint32_t data_size) {
    const auto block_align = static_cast<uint16_t>(channels * (bits_per_sample / 8));
    return {Id("RIFF"),
            kHeaderAfterChunkSize + data_size,
            Id("WAVE"),
            Id("fmt "),
            16,
            audio_format,
            channels,
            sample_rate,
            block_align * sample_rate,
            block_align,
            bits_per_sample,
            Id("data"),
            data_size};
}

std::optional<WaveHeader> MakePcmWaveHeader(aidl::android::media::audio::common::PcmType pcm_type,
                                            uint16_t channels, uint32_t sample_rate,
                                            uint32_t data_size) {
    using aidl::android::media::audio::common::PcmType;
    switch (pcm_type) {
        case PcmType::DEFAULT:
            return MakeWaveHeader(kWavePcm, channels, sample_rate, 8, data_size);
        case PcmType::INT_16_BIT:
            return MakeWaveHeader(kWavePcm, channels, sample_rate, 16, data_size);
        case PcmType::INT_24_BIT:
            return MakeWaveHeader(kWavePcm, channels, sample_rate, 24, data_size);
        case PcmType::INT_32_BIT:
        case PcmType::FIXED_Q_8_24:
            return MakeWaveHeader(kWavePcm, channels, sample_rate, 32, data_size);
        case PcmType::FLOAT_32_BIT:
            return MakeWaveHeader(kWaveIeeeFloat, channels, sample_rate, 32, data_size);
    }
    return std::nullopt;
}

std::array<uint8_t, kWaveHeaderSize> EncodeWaveHeader(const WaveHeader& header) {
    std::array<uint8_t, kWaveHeaderSize> bytes;
    uint8_t* at = bytes.data();
    const auto put_id = [&at](const std::array<char, 4>& id) {
        at = std::copy(id.begin(), id.end(), at);
    };
    put_id(header.chunk_id);
    at = PutLittleEndian32(at, header.chunk_size);
    put_id(header.format);
    put_id(header.fmt_id);
    at = PutLittleEndian32(at, header.fmt_size);
    at = PutLittleEndian16(at, header.audio_format);
    at = PutLittleEndian16(at, header.channels);
    at = PutLittleEndian32(at, header.sample_rate);
    at = PutLittleEndian32(at, header.byte_rate);
    at = PutLittleEndian16(at, header.block_align);
    at = PutLittleEndian16(at, header.bits_per_sample);
    put_id(header.data_id);
    PutLittleEndian32(at, header.data_size);
    return bytes;
}

std::optional<WaveHeader> DecodeWaveHeader(std::span<const uint8_t> bytes) {
    if (bytes.size() < kWaveHeaderSize) return std::nullopt;
    const uint8_t* at = bytes.data();
    return WaveHeader{ReadId(at),
                      GetLittleEndian32(at + 4),
                      ReadId(at + 8),
                      ReadId(at + 12),
                      GetLittleEndian32(at + 16),
                      GetLittleEndian16(at + 20),
                      GetLittleEndian16(at + 22),
                      GetLittleEndian32(at + 24),
                      GetLittleEndian32(at + 28),
                      GetLittleEndian16(at + 32),
                      GetLittleEndian16(at + 34),
                      ReadId(at + 36),
                      GetLittleEndian32(at + 40)};
}

std::vector<std::string> CheckWaveHeader(const WaveHeader& header, uint64_t file_size) {
    std::vector<std::string> problems;
    CheckId("chunk id", header.chunk_id, "RIFF", &problems);
    CheckId("format", header.format, "WAVE", &problems);
    CheckId("sub-chunk 1 id", header.fmt_id, "fmt ", &problems);
    if (header.fmt_size != 16) {
        problems.push_back(StringPrintf("sub-chunk 1 size is %u, not 16", header.fmt_size));
    }
    if (header.audio_format != kWavePcm && header.audio_format != kWaveIeeeFloat) {
        problems.push_back(StringPrintf("audio format %u is neither 1 (PCM) nor 3 (IEEE float)",
                                        header.audio_format));
    }
    if (header.channels == 0) problems.push_back("channel count is 0");
    if (header.bits_per_sample == 0 || header.bits_per_sample % 8 != 0) {
        problems.push_back(StringPrintf("bits per sample %u is not a whole number of bytes",
                                        header.bits_per_sample));
    } else if (header.audio_format == kWaveIeeeFloat && header.bits_per_sample != 32 &&
               header.bits_per_sample != 64) {
        problems.push_back(StringPrintf("IEEE float samples of %u bits: only 32 or 64 exist",
                                        header.bits_per_sample));
    }
    const uint64_t frame_size = uint64_t{header.channels} * (header.bits_per_sample / 8);
    if (header.block_align != frame_size) {
        problems.push_back(
                StringPrintf("block align %u is not channels x bits per sample / 8 (%llu)",
                             header.block_align, static_cast<unsigned long long>(frame_size)));
    }
    const uint64_t byte_rate = frame_size * header.sample_rate;
    if (header.byte_rate != byte_rate) {
        problems.push_back(
                StringPrintf("byte rate %u is not channels x sample rate x bits / 8 (%llu)",
                             header.byte_rate, static_cast<unsigned long long>(byte_rate)));
    }
    CheckId("sub-chunk 2 id", header.data_id, "data", &problems);
    const uint64_t chunk_size = uint64_t{kHeaderAfterChunkSize} + header.data_size;
    if (header.chunk_size != chunk_size) {
        problems.push_back(StringPrintf("chunk size %u is not 36 + data size (%llu)",
                                        header.chunk_size,
                                        static_cast<unsigned long long>(chunk_size)));
    }
    const uint64_t on_disk = file_size - std::min<uint64_t>(file_size, kWaveHeaderSize);
    if (header.data_size > on_disk) {
        problems.push_back(
                StringPrintf("data size %u counts more than the %llu bytes after the header",
                             header.data_size, static_cast<unsigned long long>(on_disk)));
    }
    return problems;
}

std::string IdText(const std::array<char, 4>& id) {
    return PrintableText(std::string_view(id.data(), id.size()));
}

}  // namespace autl::capture
