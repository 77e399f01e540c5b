#pragma once

// "tap0" captures as EncodedRecorder writes them: frames one after another, with no file header.
// A frame is the marker "tap0", a 32-bit format word, 8 zero bytes, the payload length (signed
// 32-bit, 1 to 1048575) and the payload, all little-endian. The format word holds 7 in bits 0-2, 1
// in bit 12, the channel count's low three bits in bits 13-15, a sample-rate code in bits 16-18 and
// a sample-format code in bits 20-25; its other bits are zero.
//
//   Tap0Reader reader(bytes);
//   while (std::optional<Tap0Frame> frame = reader.Next()) Use(frame->format, frame->payload);
//   if (reader.error().has_value()) Report(reader.error()->message);
//
// Everything here works on bytes in memory: it reads nothing outside them, allocates nothing in
// proportion to what a frame claims, and fails on no input, however damaged.

#include <aidl/android/media/audio/common/PcmType.h>

#include <cstddef>
#include <cstdint>
#include <optional>
#include <ostream>
#include <span>
#include <string>

namespace autl::capture {

inline constexpr size_t kTap0HeaderSize = 20;
// The recorder refuses chunks of 1 MiB and more.
inline constexpr int32_t kTap0MaxPayloadSize = 0xfffff;

// A format word, field by field.
struct Tap0Format {
    uint32_t word = 0;
    // The channel count modulo 8: 8 channels are stored as 0.
    int channels = 0;
    int rate_code = 0;
    // The rate of the code. Code 5 reads as 48000, but every rate without a code of its own shares
    // it.
    uint32_t sample_rate = 0;
    int format_code = 0;
    // DEFAULT (8-bit), INT_16_BIT, INT_24_BIT, INT_32_BIT (which FIXED_Q_8_24 shares) or
    // FLOAT_32_BIT; empty for a code that is none of them, which is no PCM.
    std::optional<aidl::android::media::audio::common::PcmType> pcm_type;
    // The constant bits hold 7 and 1 and the bits between the fields are zero.
    bool well_formed = false;
};

Tap0Format DecodeTap0Format(uint32_t word);
// "INT_16_BIT" and so on, or the code itself ("code 0x2a") when it is no PCM.
std::string SampleFormatName(const Tap0Format& format);
// "0x01355007: 2 channels, 48000 Hz, INT_16_BIT".
std::string DescribeTap0Format(const Tap0Format& format);
// Bytes per sample: 1, 2, 3 or 4; 0 when the code is no PCM.
int SampleSize(const Tap0Format& format);

struct Tap0Frame {
    uint64_t index;
    // Of the marker, from the start of the capture.
    uint64_t offset;
    Tap0Format format;
    // Views the bytes given to the reader.
    std::span<const uint8_t> payload;
};

enum class Tap0Damage {
    kBadMarker,
    // Fewer than 20 bytes after the last frame.
    kTruncatedHeader,
    // The capture ends inside the payload.
    kTruncatedPayload,
    // Negative, 0, or 1 MiB and more.
    kBadLength,
    kBadFormatWord,
    kReservedNotZero,
};

struct Tap0Error {
    Tap0Damage damage;
    uint64_t frame_index;
    // Where the damaged frame starts.
    uint64_t offset;
    // For example "frame 3 at offset 5820: truncated payload: 100 of 1920 bytes".
    std::string message;

    // A capture cut short inside its last frame, as a process killed while writing leaves it.
    bool IsTruncation() const {
        return damage == Tap0Damage::kTruncatedHeader || damage == Tap0Damage::kTruncatedPayload;
    }
};

// Walks the frames of a capture in memory, stopping at the first damage.
class Tap0Reader {
  public:
    explicit Tap0Reader(std::span<const uint8_t> capture) : capture_(capture) {}

    // The next frame; empty at the end of the capture and at damage, which error() then describes.
    std::optional<Tap0Frame> Next();
    const std::optional<Tap0Error>& error() const { return error_; }

  private:
    std::optional<Tap0Frame> Fail(Tap0Damage damage, std::string what);

    std::span<const uint8_t> capture_;
    uint64_t offset_ = 0;
    uint64_t index_ = 0;
    std::optional<Tap0Error> error_;
};

// What a PCM capture converts into: its frames, which share one format word.
struct Tap0WavePlan {
    Tap0Format format;
    uint64_t frames = 0;
    uint32_t data_size = 0;
    // The bytes of the capture that the frames take.
    uint64_t end = 0;
    // A truncated last frame, which is left out.
    std::optional<Tap0Error> truncation;
};

// The plan for converting capture into a WAV file. Empty, with the reason in *error, when the
// capture has no frame, damage other than a truncated last frame, frames of more than one format
// word, a format that is no PCM, a channel count of 0, or more data than a WAV file counts.
std::optional<Tap0WavePlan> PlanTap0Wave(std::span<const uint8_t> capture, std::string* error);
// Writes the 44-byte header of WaveRecorder's layout and the payloads of the plan's frames. False
// when out fails.
bool WriteTap0Wave(std::span<const uint8_t> capture, const Tap0WavePlan& plan, std::ostream& out);

}  // namespace autl::capture
