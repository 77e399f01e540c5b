// The "tap0" reader on arbitrary captures, stopping at damage and reading past it. Frames and
// damaged stretches follow each other from offset 0 without gaps, one index each; each payload
// lies inside the capture after its 20-byte header and holds 1 to 1048575 bytes; reading ends
// exactly at the end or at damage where the last frame or skipped stretch ended. Reading past
// damage resumes at a frame header, so the damage met there can only be a torn or truncated
// frame; up to its first damage it reads what the stopping reader reads, and that damage is the
// one the stopping reader stops at. A capture that plans as a WAV file, in either mode, converts
// into the 44-byte header and the payloads of the frames read, and nothing more.
//
// Input: the capture's bytes.

#include <sstream>
#include <string>
#include <vector>

#include "fuzz_support.h"
#include "tap0.h"

namespace {

using autl::capture::DescribeTap0Format;
using autl::capture::kTap0HeaderSize;
using autl::capture::kTap0MaxPayloadSize;
using autl::capture::PlanTap0Wave;
using autl::capture::SampleSize;
using autl::capture::Tap0Damage;
using autl::capture::Tap0Error;
using autl::capture::Tap0Frame;
using autl::capture::Tap0Reader;
using autl::capture::Tap0WavePlan;
using autl::capture::WriteTap0Wave;

struct Reading {
    std::vector<Tap0Frame> frames;
    std::string payloads;
    // The damage met first, read past or not.
    std::optional<Tap0Error> first_damage;
};

Reading Read(std::span<const uint8_t> capture, bool skip_damage) {
    Reading reading;
    Tap0Reader reader(capture, skip_damage);
    uint64_t end = 0;
    uint64_t index = 0;
    size_t skipped = 0;
    // Reading past damage resumes at a frame header, where only a torn or truncated frame is
    // damaged.
    bool resumed = false;
    const auto damaged = [&](const Tap0Error& damage) {
        AUTL_FUZZ_CHECK(damage.offset == end && damage.frame_index == index);
        AUTL_FUZZ_CHECK(!damage.message.empty());
        AUTL_FUZZ_CHECK(!resumed || damage.damage == Tap0Damage::kTornFrame ||
                        damage.damage == Tap0Damage::kTruncatedPayload);
        if (!reading.first_damage.has_value()) reading.first_damage = damage;
    };
    // The stretches read past before the next frame, or before the end.
    const auto skip = [&] {
        for (; skipped < reader.skipped().size(); ++skipped) {
            const Tap0Error& damage = reader.skipped()[skipped];
            AUTL_FUZZ_CHECK(skip_damage && damage.skipped > 0);
            damaged(damage);
            end += damage.skipped;
            ++index;
            resumed = true;
        }
    };
    while (const std::optional<Tap0Frame> frame = reader.Next()) {
        skip();
        AUTL_FUZZ_CHECK(frame->index == index && frame->offset == end);
        AUTL_FUZZ_CHECK(frame->payload.data() == capture.data() + end + kTap0HeaderSize);
        AUTL_FUZZ_CHECK(!frame->payload.empty());
        AUTL_FUZZ_CHECK(frame->payload.size() <= static_cast<size_t>(kTap0MaxPayloadSize));
        end += kTap0HeaderSize + frame->payload.size();
        AUTL_FUZZ_CHECK(end <= capture.size());
        AUTL_FUZZ_CHECK(frame->format.well_formed);
        AUTL_FUZZ_CHECK(SampleSize(frame->format) >= 0 && SampleSize(frame->format) <= 4);
        AUTL_FUZZ_CHECK(!DescribeTap0Format(frame->format).empty());
        reading.payloads.append(reinterpret_cast<const char*>(frame->payload.data()),
                                frame->payload.size());
        reading.frames.push_back(*frame);
        ++index;
        resumed = false;
    }
    skip();
    // The end, or damage where the last frame or stretch ended; nothing is read after either.
    if (const std::optional<Tap0Error>& error = reader.error()) {
        AUTL_FUZZ_CHECK(end < capture.size() && error->skipped == 0);
        damaged(*error);
    } else {
        AUTL_FUZZ_CHECK(end == capture.size());
    }
    AUTL_FUZZ_CHECK(!reader.Next().has_value());
    return reading;
}

void CheckWave(std::span<const uint8_t> capture, const Reading& reading, bool skip_damage) {
    std::string error;
    const std::optional<Tap0WavePlan> plan =
            PlanTap0Wave(capture, &error, {.skip_damage = skip_damage});
    if (!plan.has_value()) {
        AUTL_FUZZ_CHECK(!error.empty());
        return;
    }
    AUTL_FUZZ_CHECK(plan->frames == reading.frames.size());
    AUTL_FUZZ_CHECK(plan->data_size == reading.payloads.size());
    std::ostringstream wave;
    AUTL_FUZZ_CHECK(WriteTap0Wave(capture, *plan, wave));
    const std::string file = wave.str();
    AUTL_FUZZ_CHECK(file.size() == 44 + reading.payloads.size());
    AUTL_FUZZ_CHECK(file.starts_with("RIFF") && file.compare(8, 8, "WAVEfmt ") == 0);
    AUTL_FUZZ_CHECK(file.compare(44, std::string::npos, reading.payloads) == 0);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const std::span<const uint8_t> capture(data, size);
    const Reading stopping = Read(capture, false);
    const Reading skipping = Read(capture, true);
    AUTL_FUZZ_CHECK(skipping.frames.size() >= stopping.frames.size());
    for (size_t k = 0; k < stopping.frames.size(); ++k) {
        AUTL_FUZZ_CHECK(skipping.frames[k].offset == stopping.frames[k].offset);
        AUTL_FUZZ_CHECK(skipping.frames[k].payload.size() == stopping.frames[k].payload.size());
    }
    AUTL_FUZZ_CHECK(skipping.first_damage.has_value() == stopping.first_damage.has_value());
    if (stopping.first_damage.has_value()) {
        const Tap0Error& stop = *stopping.first_damage;
        const Tap0Error& skip = *skipping.first_damage;
        AUTL_FUZZ_CHECK(skip.damage == stop.damage && skip.offset == stop.offset);
        AUTL_FUZZ_CHECK(skip.frame_index == stopping.frames.size());
        AUTL_FUZZ_CHECK(skip.message.starts_with(stop.message));
    }
    CheckWave(capture, stopping, false);
    CheckWave(capture, skipping, true);
    return 0;
}
