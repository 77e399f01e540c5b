#pragma once

// The canonical 44-byte RIFF/WAVE header that WaveRecorder writes: its fields, their encoding, and
// a check of a header against the file that holds it.
//
//   std::optional<WaveHeader> header = DecodeWaveHeader(file.bytes());
//   for (const std::string& problem : CheckWaveHeader(*header, file.bytes().size())) ...
//
// Every function works on bytes in memory, reads nothing outside them and never fails on any input.

#include <aidl/android/media/audio/common/PcmType.h>

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <vector>

namespace autl::capture {

inline constexpr size_t kWaveHeaderSize = 44;
inline constexpr uint16_t kWavePcm = 1;
inline constexpr uint16_t kWaveIeeeFloat = 3;

// The header's fields as stored, little-endian in the file.
struct WaveHeader {
    std::array<char, 4> chunk_id;  // "RIFF"
    uint32_t chunk_size;           // 36 + data_size
    std::array<char, 4> format;    // "WAVE"
    std::array<char, 4> fmt_id;    // "fmt "
    uint32_t fmt_size;             // 16
    uint16_t audio_format;         // kWavePcm or kWaveIeeeFloat
    uint16_t channels;
    uint32_t sample_rate;
    uint32_t byte_rate;    // block_align × sample_rate
    uint16_t block_align;  // channels × bits_per_sample / 8
    uint16_t bits_per_sample;
    std::array<char, 4> data_id;  // "data"
    uint32_t data_size;

    bool operator==(const WaveHeader&) const = default;
};

// A consistent header for data_size bytes of audio.
WaveHeader MakeWaveHeader(uint16_t audio_format, uint16_t channels, uint32_t sample_rate,
                          uint16_t bits_per_sample, uint32_t data_size);

// The header WaveRecorder writes for pcm_type: IEEE float for FLOAT_32_BIT, 8-bit PCM for DEFAULT,
// 32-bit PCM for FIXED_Q_8_24; empty for a value outside the enumeration.
std::optional<WaveHeader> MakePcmWaveHeader(aidl::android::media::audio::common::PcmType pcm_type,
                                            uint16_t channels, uint32_t sample_rate,
                                            uint32_t data_size);
// The largest data size a header counts.
inline constexpr uint64_t kMaxWaveDataSize = UINT32_MAX - (kWaveHeaderSize - 8);

std::array<uint8_t, kWaveHeaderSize> EncodeWaveHeader(const WaveHeader& header);
// The header at the start of bytes; empty when bytes holds fewer than 44.
std::optional<WaveHeader> DecodeWaveHeader(std::span<const uint8_t> bytes);

// Every inconsistency of a header at the start of a file of file_size bytes, one sentence each, in
// the order of the fields: ids, sizes, format, byte rate and block align against channels and bits,
// and the sizes against the file. Empty when the header is consistent. Data after the counted
// bytes is no inconsistency: a recorder killed while writing a chunk leaves that chunk uncounted.
std::vector<std::string> CheckWaveHeader(const WaveHeader& header, uint64_t file_size);

// An id as text for messages: printable characters as they are, others as \xNN.
std::string IdText(const std::array<char, 4>& id);

}  // namespace autl::capture
