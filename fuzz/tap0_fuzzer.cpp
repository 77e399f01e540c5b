// The "tap0" reader on arbitrary captures. Frames follow each other from offset 0 without gaps,
// each payload lies inside the capture after its 20-byte header and holds 1 to 1048575 bytes, and
// the reader either reaches the end exactly or stops for good at damage that starts where the last
// frame ended. A capture that plans as a WAV file converts into the 44-byte header and the
// payloads of its frames, and nothing more.
//
// Input: the capture's bytes.

#include <sstream>
#include <string>

#include "fuzz_support.h"
#include "tap0.h"

namespace {

using autl::capture::DescribeTap0Format;
using autl::capture::kTap0HeaderSize;
using autl::capture::kTap0MaxPayloadSize;
using autl::capture::PlanTap0Wave;
using autl::capture::SampleSize;
using autl::capture::Tap0Frame;
using autl::capture::Tap0Reader;
using autl::capture::Tap0WavePlan;
using autl::capture::WriteTap0Wave;

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const std::span<const uint8_t> capture(data, size);
    Tap0Reader reader(capture);
    std::string payloads;
    uint64_t end = 0;
    uint64_t frames = 0;
    while (const std::optional<Tap0Frame> frame = reader.Next()) {
        AUTL_FUZZ_CHECK(frame->index == frames);
        AUTL_FUZZ_CHECK(frame->offset == end);
        AUTL_FUZZ_CHECK(frame->payload.data() == data + end + kTap0HeaderSize);
        AUTL_FUZZ_CHECK(!frame->payload.empty());
        AUTL_FUZZ_CHECK(frame->payload.size() <= static_cast<size_t>(kTap0MaxPayloadSize));
        end += kTap0HeaderSize + frame->payload.size();
        AUTL_FUZZ_CHECK(end <= size);
        AUTL_FUZZ_CHECK(frame->format.well_formed);
        const int sample_size = SampleSize(frame->format);
        AUTL_FUZZ_CHECK(sample_size >= 0 && sample_size <= 4);
        AUTL_FUZZ_CHECK(!DescribeTap0Format(frame->format).empty());
        payloads.append(reinterpret_cast<const char*>(frame->payload.data()), frame->payload.size());
        ++frames;
    }
    // The end, or damage where the last frame ended; nothing is read after either.
    if (reader.error().has_value()) {
        AUTL_FUZZ_CHECK(reader.error()->offset == end && reader.error()->frame_index == frames);
        AUTL_FUZZ_CHECK(end < size);
        AUTL_FUZZ_CHECK(!reader.error()->message.empty());
    } else {
        AUTL_FUZZ_CHECK(end == size);
    }
    AUTL_FUZZ_CHECK(!reader.Next().has_value());

    std::string error;
    const std::optional<Tap0WavePlan> plan = PlanTap0Wave(capture, &error);
    if (!plan.has_value()) {
        AUTL_FUZZ_CHECK(!error.empty());
        return 0;
    }
    AUTL_FUZZ_CHECK(plan->frames == frames && plan->end == end);
    AUTL_FUZZ_CHECK(plan->data_size == payloads.size());
    AUTL_FUZZ_CHECK(plan->truncation.has_value() == reader.error().has_value());
    std::ostringstream wave;
    AUTL_FUZZ_CHECK(WriteTap0Wave(capture, *plan, wave));
    const std::string file = wave.str();
    AUTL_FUZZ_CHECK(file.size() == 44 + payloads.size());
    AUTL_FUZZ_CHECK(file.starts_with("RIFF") && file.compare(8, 8, "WAVEfmt ") == 0);
    AUTL_FUZZ_CHECK(file.compare(44, std::string::npos, payloads) == 0);
    return 0;
}
