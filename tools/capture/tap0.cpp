#include "tap0.h"

#include <android-base/stringprintf.h>

#include <algorithm>
#include <utility>

#include "bytes.h"
#include "wav.h"

namespace autl::capture {

using aidl::android::media::audio::common::PcmType;
using android::base::StringPrintf;

namespace {

constexpr uint8_t kMarker[] = {'t', 'a', 'p', '0'};

// Bits 0-2 and 12 hold constants; bits 3-11, 19 and 26-31 are zero.
constexpr uint32_t kConstantMask = 0xfc081fff;
constexpr uint32_t kConstantBits = 0x00001007;

constexpr uint32_t kSampleRates[] = {8000, 16000, 24000, 32000, 44100, 48000, 96000, 192000};

struct SampleFormat {
    int code;
    PcmType pcm_type;
    int sample_size;
};
constexpr SampleFormat kSampleFormats[] = {
        {0x11, PcmType::DEFAULT, 1},      {0x13, PcmType::INT_16_BIT, 2},
        {0x15, PcmType::INT_24_BIT, 3},   {0x17, PcmType::INT_32_BIT, 4},
        {0x06, PcmType::FLOAT_32_BIT, 4},
};

const SampleFormat* FindSampleFormat(int code) {
    for (const SampleFormat& format : kSampleFormats) {
        if (format.code == code) return &format;
    }
    return nullptr;
}

std::string Text(const uint8_t* at, size_t size) {
    return PrintableText(std::string_view(reinterpret_cast<const char*>(at), size));
}

}  // namespace

Tap0Format DecodeTap0Format(uint32_t word) {
    Tap0Format format;
    format.word = word;
    format.channels = static_cast<int>((word >> 13) & 7);
    format.rate_code = static_cast<int>((word >> 16) & 7);
    format.sample_rate = kSampleRates[format.rate_code];
    format.format_code = static_cast<int>((word >> 20) & 0x3f);
    if (const SampleFormat* sample = FindSampleFormat(format.format_code)) {
        format.pcm_type = sample->pcm_type;
    }
    format.well_formed = (word & kConstantMask) == kConstantBits;
    return format;
}

std::string SampleFormatName(const Tap0Format& format) {
    if (!format.pcm_type.has_value()) return StringPrintf("code 0x%02x", format.format_code);
    return toString(*format.pcm_type);
}

std::string DescribeTap0Format(const Tap0Format& format) {
    return StringPrintf("0x%08x: %d channel%s, %u Hz, %s", format.word, format.channels,
                        format.channels == 1 ? "" : "s", format.sample_rate,
                        SampleFormatName(format).c_str());
}

int SampleSize(const Tap0Format& format) {
    const SampleFormat* sample = FindSampleFormat(format.format_code);
    return sample == nullptr ? 0 : sample->sample_size;
}

void Tap0Reader::Damage(Tap0Damage damage, std::string what, uint64_t resume) {
    if (skip_damage_ && resume == 0) resume = FindFrameHeader(offset_, capture_.size());
    if (!skip_damage_) resume = 0;
    Tap0Error error{
            damage, index_, offset_, resume == 0 ? 0 : resume - offset_,
            StringPrintf("frame %llu at offset %llu: ", static_cast<unsigned long long>(index_),
                         static_cast<unsigned long long>(offset_)) +
                    what};
    if (resume == 0) {
        // Nothing after damage is read when no frame header follows it.
        error_ = std::move(error);
        offset_ = capture_.size();
        return;
    }
    error.message +=
            StringPrintf("; %llu bytes skipped", static_cast<unsigned long long>(error.skipped));
    skipped_.push_back(std::move(error));
    offset_ = resume;
    ++index_;
}

uint64_t Tap0Reader::FindFrameHeader(uint64_t from, uint64_t end) const {
    for (uint64_t at = from + 1; at < end && at + kTap0HeaderSize <= capture_.size(); ++at) {
        const uint8_t* bytes = capture_.data() + at;
        if (!std::equal(kMarker, kMarker + sizeof(kMarker), bytes)) continue;
        const auto length = static_cast<int32_t>(GetLittleEndian32(bytes + 16));
        if (DecodeTap0Format(GetLittleEndian32(bytes + 4)).well_formed &&
            std::all_of(bytes + 8, bytes + 16, [](uint8_t byte) { return byte == 0; }) &&
            length > 0 && length <= kTap0MaxPayloadSize) {
            return at;
        }
    }
    return 0;
}

std::optional<Tap0Frame> Tap0Reader::Next() {
    while (offset_ < capture_.size()) {
        const uint64_t left = capture_.size() - offset_;
        const uint8_t* at = capture_.data() + offset_;
        // A marker cut short is checked as far as it goes: wrong bytes are damage of their own.
        const size_t marker_size = static_cast<size_t>(std::min<uint64_t>(left, sizeof(kMarker)));
        if (!std::equal(at, at + marker_size, kMarker)) {
            Damage(Tap0Damage::kBadMarker, "bad marker '" + Text(at, marker_size) + "', not 'tap0'");
            continue;
        }
        if (left < kTap0HeaderSize) {
            Damage(Tap0Damage::kTruncatedHeader,
                   StringPrintf("truncated header: %llu of 20 bytes",
                                static_cast<unsigned long long>(left)));
            continue;
        }
        const Tap0Format format = DecodeTap0Format(GetLittleEndian32(at + 4));
        if (!format.well_formed) {
            Damage(Tap0Damage::kBadFormatWord,
                   StringPrintf("bad format word 0x%08x: bits 0-2 must hold 7, bit 12 must hold "
                                "1, bits 3-11, 19 and 26-31 must be 0",
                                format.word));
            continue;
        }
        if (std::any_of(at + 8, at + 16, [](uint8_t byte) { return byte != 0; })) {
            Damage(Tap0Damage::kReservedNotZero, "reserved bytes 8 to 15 are not 0");
            continue;
        }
        const auto length = static_cast<int32_t>(GetLittleEndian32(at + 16));
        if (length < 0) {
            Damage(Tap0Damage::kBadLength, StringPrintf("negative payload length %d", length));
            continue;
        }
        if (length == 0 || length > kTap0MaxPayloadSize) {
            Damage(Tap0Damage::kBadLength,
                   StringPrintf("payload length %d outside 1 to %d", length, kTap0MaxPayloadSize));
            continue;
        }
        const uint64_t end = offset_ + kTap0HeaderSize + static_cast<uint64_t>(length);
        // Whole: the capture ends after the payload, or a marker (as far as the capture goes)
        // follows it. Otherwise a frame header inside the payload shows where the next frame
        // really starts.
        const bool whole = end == capture_.size() ||
                           (end < capture_.size() &&
                            std::equal(capture_.data() + end,
                                       capture_.data() + std::min<uint64_t>(end + sizeof(kMarker),
                                                                            capture_.size()),
                                       kMarker));
        if (!whole) {
            if (const uint64_t next = FindFrameHeader(offset_ + kTap0HeaderSize - 1, end)) {
                Damage(Tap0Damage::kTornFrame,
                       StringPrintf("torn frame: a frame header at offset %llu inside its "
                                    "payload of %d bytes",
                                    static_cast<unsigned long long>(next), length),
                       next);
                continue;
            }
        }
        if (end > capture_.size()) {
            Damage(Tap0Damage::kTruncatedPayload,
                   StringPrintf("truncated payload: %llu of %d bytes",
                                static_cast<unsigned long long>(left - kTap0HeaderSize), length));
            continue;
        }
        Tap0Frame frame{index_, offset_, format,
                        capture_.subspan(offset_ + kTap0HeaderSize, static_cast<size_t>(length))};
        offset_ = end;
        ++index_;
        return frame;
    }
    return std::nullopt;
}

std::optional<Tap0WavePlan> PlanTap0Wave(std::span<const uint8_t> capture, std::string* error,
                                         const Tap0WaveOptions& options) {
    Tap0WavePlan plan;
    plan.skip_damage = options.skip_damage;
    uint64_t data_size = 0;
    Tap0Reader reader(capture, options.skip_damage);
    while (const std::optional<Tap0Frame> frame = reader.Next()) {
        if (plan.frames == 0) {
            plan.format = frame->format;
        } else if (frame->format.word != plan.format.word) {
            *error = StringPrintf("frame %llu at offset %llu changes the format from ",
                                  static_cast<unsigned long long>(frame->index),
                                  static_cast<unsigned long long>(frame->offset)) +
                     DescribeTap0Format(plan.format) + " to " + DescribeTap0Format(frame->format);
            return std::nullopt;
        }
        data_size += frame->payload.size();
        plan.end = frame->offset + kTap0HeaderSize + frame->payload.size();
        ++plan.frames;
    }
    plan.skipped = reader.skipped();
    if (reader.error().has_value()) {
        if (!reader.error()->IsTruncation()) {
            *error = reader.error()->message;
            return std::nullopt;
        }
        plan.truncation = reader.error();
    }
    if (plan.frames == 0) {
        *error = plan.truncation.has_value() ? plan.truncation->message : "no frame";
        return std::nullopt;
    }
    const std::optional<PcmType> pcm_type =
            options.pcm_type.has_value() ? options.pcm_type : plan.format.pcm_type;
    if (!pcm_type.has_value()) {
        *error = "the format is no PCM: " + DescribeTap0Format(plan.format);
        return std::nullopt;
    }
    const uint16_t channels = options.channels.value_or(static_cast<uint16_t>(plan.format.channels));
    if (channels == 0) {
        *error = "the format word counts 0 channels (8 channels are stored as 0): " +
                 DescribeTap0Format(plan.format);
        return std::nullopt;
    }
    if (data_size > kMaxWaveDataSize) {
        *error = StringPrintf("%llu bytes of audio, more than a WAV file counts (%llu)",
                              static_cast<unsigned long long>(data_size),
                              static_cast<unsigned long long>(kMaxWaveDataSize));
        return std::nullopt;
    }
    plan.data_size = static_cast<uint32_t>(data_size);
    const std::optional<WaveHeader> header = MakePcmWaveHeader(
            *pcm_type, channels, options.sample_rate.value_or(plan.format.sample_rate),
            plan.data_size);
    if (!header.has_value()) {
        *error = "the sample format is no PCM type";
        return std::nullopt;
    }
    plan.header = *header;
    return plan;
}

bool WriteTap0Wave(std::span<const uint8_t> capture, const Tap0WavePlan& plan,
                   const std::function<bool(std::span<const uint8_t>)>& write) {
    const std::array<uint8_t, kWaveHeaderSize> header = EncodeWaveHeader(plan.header);
    if (!write(header)) return false;
    // The same reading as the plan's, over the same bytes, finds the same frames.
    Tap0Reader reader(capture, plan.skip_damage);
    uint64_t written = 0;
    for (uint64_t i = 0; i < plan.frames; ++i) {
        const std::optional<Tap0Frame> frame = reader.Next();
        if (!frame.has_value() || !write(frame->payload)) return false;
        written += frame->payload.size();
    }
    // A capture changed since planning would leave a header that miscounts the data.
    return written == plan.data_size;
}

bool WriteTap0Wave(std::span<const uint8_t> capture, const Tap0WavePlan& plan, std::ostream& out) {
    const bool written = WriteTap0Wave(capture, plan, [&out](std::span<const uint8_t> bytes) {
        out.write(reinterpret_cast<const char*>(bytes.data()),
                  static_cast<std::streamsize>(bytes.size()));
        return out.good();
    });
    out.flush();
    return written && out.good();
}

}  // namespace autl::capture
