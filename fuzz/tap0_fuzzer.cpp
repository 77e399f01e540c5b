// The "tap0" reader on arbitrary captures, stopping at damage and reading past it. Frames and
// damaged stretches follow each other from offset 0 without gaps, one index each; each payload
// lies inside the capture after its 20-byte header and holds 1 to 1048575 bytes; reading ends
// exactly at the end or at damage where the last frame or skipped stretch ended. Reading past
// damage resumes at a frame header, so the damage met there can only be a torn or truncated
// frame; up to its first damage it reads what the stopping reader reads, and that damage is the
// one the stopping reader stops at. A capture that plans as a WAV file, in either mode, converts
// into the plan's 44-byte header and the payloads of the frames read, and nothing more.
//
// Input: the capture's bytes.

#include <sstream>
#include <tuple>

#include "fuzz_support.h"
#include "tap0.h"

namespace {

using namespace autl::capture;
using autl::fuzz::AsText;

struct Reading {
    size_t frames = 0;
    std::string payloads;
    std::optional<std::tuple<Tap0Damage, uint64_t, uint64_t>> first_damage;  // offset, index
};

Reading Read(std::span<const uint8_t> capture, bool skip_damage) {
    Reading reading;
    Tap0Reader reader(capture, skip_damage);
    uint64_t end = 0, index = 0;
    size_t skipped = 0;
    bool resumed = false;  // at a frame header after damage
    const auto damaged = [&](const Tap0Error& damage) {
        AUTL_FUZZ_CHECK(damage.offset == end && damage.frame_index == index);
        AUTL_FUZZ_CHECK(!resumed || damage.damage == Tap0Damage::kTornFrame ||
                        damage.damage == Tap0Damage::kTruncatedPayload);
        if (!reading.first_damage) reading.first_damage = {damage.damage, end, index};
    };
    // The stretches read past before the next frame, or before the end.
    const auto skip = [&] {
        for (; skipped < reader.skipped().size(); ++skipped, ++index, resumed = true) {
            const Tap0Error& damage = reader.skipped()[skipped];
            AUTL_FUZZ_CHECK(skip_damage && damage.skipped > 0);
            damaged(damage);
            end += damage.skipped;
        }
    };
    while (const std::optional<Tap0Frame> frame = reader.Next()) {
        skip();
        const std::span<const uint8_t> payload = frame->payload;
        AUTL_FUZZ_CHECK(frame->index == index++ && frame->offset == end && !payload.empty() &&
                        payload.size() <= kTap0MaxPayloadSize &&
                        payload.data() == capture.data() + end + kTap0HeaderSize &&
                        (end += kTap0HeaderSize + payload.size()) <= capture.size());
        reading.payloads += AsText(payload);
        ++reading.frames;
        resumed = false;
    }
    skip();
    // The end, or damage where the last frame or stretch ended; nothing is read after either.
    if (reader.error()) damaged(*reader.error());
    AUTL_FUZZ_CHECK(reader.error() ? end < capture.size() && reader.error()->skipped == 0
                                   : end == capture.size());
    AUTL_FUZZ_CHECK(!reader.Next().has_value());
    // A capture that plans as a WAV file converts into the plan's header and the payloads read.
    std::string error;
    if (const auto plan = PlanTap0Wave(capture, &error, {.skip_damage = skip_damage})) {
        std::ostringstream wave;
        AUTL_FUZZ_CHECK(plan->frames == reading.frames && WriteTap0Wave(capture, *plan, wave) &&
                        plan->header.data_size == reading.payloads.size() &&
                        wave.str() == std::string(AsText(EncodeWaveHeader(plan->header))) +
                                              reading.payloads);
    }
    return reading;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const std::span<const uint8_t> capture(data, size);
    const Reading stopping = Read(capture, false), skipping = Read(capture, true);
    // Up to its first damage, reading past damage reads what stopping at it reads.
    AUTL_FUZZ_CHECK(skipping.first_damage == stopping.first_damage &&
                    skipping.frames >= stopping.frames &&
                    skipping.payloads.starts_with(stopping.payloads));
    return 0;
}
