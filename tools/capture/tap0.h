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
// A torn frame (a disk that filled mid-write, then the next frame written after it) can be read
// past with Tap0Reader(bytes, /*skip_damage=*/true).
//
// Everything here works on bytes in memory: it reads nothing outside them, allocates nothing in
// proportion to what a frame claims, and fails on no input, however damaged.

#include <aidl/android/media/audio/common/PcmType.h>

#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>
#include <ostream>
#include <span>
#include <string>
#include <vector>

#include "wav.h"

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
    // A frame header inside the payload: the frame was cut short (a disk that filled mid-write)
    // and the next one written after it.
    kTornFrame,
};

struct Tap0Error {
    Tap0Damage damage;
    uint64_t frame_index;
    // Where the damaged frame starts.
    uint64_t offset;
    // The bytes from offset to the next frame header, which reading went on from; 0 when reading
    // ended at the damage.
    uint64_t skipped = 0;
    // For example "frame 3 at offset 5820: truncated payload: 100 of 1920 bytes", or "frame 2 at
    // offset 1940: torn frame: a frame header at offset 2000 inside its payload of 1920 bytes; 60
    // bytes skipped".
    std::string message;

    // A capture cut short inside its last frame, as a process killed while writing leaves it.
    bool IsTruncation() const {
        return damage == Tap0Damage::kTruncatedHeader || damage == Tap0Damage::kTruncatedPayload;
    }
};

// Walks the frames of a capture in memory. A frame counts as whole when the capture ends or a
// frame marker follows right after its payload; one that is followed by neither but holds a
// frame header inside its payload is torn. By default reading stops at the first damage. With
// skip_damage it goes on at the next frame header after the damage, so that one torn frame does
// not hide the frames after it; a damaged stretch takes one frame index.
class Tap0Reader {
  public:
    explicit Tap0Reader(std::span<const uint8_t> capture, bool skip_damage = false)
        : capture_(capture), skip_damage_(skip_damage) {}

    // The next frame; empty at the end of the capture and at damage that ends reading, which
    // error() then describes.
    std::optional<Tap0Frame> Next();
    const std::optional<Tap0Error>& error() const { return error_; }
    // With skip_damage: the damage read past so far, in order.
    const std::vector<Tap0Error>& skipped() const { return skipped_; }

  private:
    // Records damage at the current frame and moves on past it: to the next frame header with
    // skip_damage, else (or when there is none) to the end.
    void Damage(Tap0Damage damage, std::string what, uint64_t resume = 0);
    // The offset of the first frame header after `from`, before `end`; 0 when there is none.
    uint64_t FindFrameHeader(uint64_t from, uint64_t end) const;

    std::span<const uint8_t> capture_;
    bool skip_damage_;
    uint64_t offset_ = 0;
    uint64_t index_ = 0;
    std::optional<Tap0Error> error_;
    std::vector<Tap0Error> skipped_;
};

// What a PCM capture converts into and how.
struct Tap0WaveOptions {
    // Convert past damage (Tap0Reader's skip_damage); the damage left out is in the plan.
    bool skip_damage = false;
    // What the WAV header says instead of what the format word tells: the word keeps the channel
    // count modulo 8, has one rate code for 48000 Hz and every rate without a code of its own, and
    // one format code for INT_32_BIT and FIXED_Q_8_24.
    std::optional<uint16_t> channels;
    std::optional<uint32_t> sample_rate;
    std::optional<aidl::android::media::audio::common::PcmType> pcm_type;
};

// The frames of a capture, which share one format word, and the WAV header they go behind.
struct Tap0WavePlan {
    Tap0Format format;
    WaveHeader header;
    bool skip_damage = false;
    uint64_t frames = 0;
    uint32_t data_size = 0;
    // Where the last frame ends.
    uint64_t end = 0;
    // A truncated last frame, which is left out.
    std::optional<Tap0Error> truncation;
    // With skip_damage: the damage left out, in order.
    std::vector<Tap0Error> skipped;
};

// The plan for converting capture into a WAV file. Empty, with the reason in *error, when the
// capture has no frame, damage other than a truncated last frame (without skip_damage), frames
// of more than one format word, a format that is no PCM or a channel count of 0 (unless options
// say otherwise), or more data than a WAV file counts.
std::optional<Tap0WavePlan> PlanTap0Wave(std::span<const uint8_t> capture, std::string* error,
                                         const Tap0WaveOptions& options = {});
// Writes the plan's header and the payloads of its frames (read again from capture, which must be
// the bytes planned) through `write`, which returns false when it fails; false then.
bool WriteTap0Wave(std::span<const uint8_t> capture, const Tap0WavePlan& plan,
                   const std::function<bool(std::span<const uint8_t>)>& write);
// As above, into out. False when out fails.
bool WriteTap0Wave(std::span<const uint8_t> capture, const Tap0WavePlan& plan, std::ostream& out);

}  // namespace autl::capture
