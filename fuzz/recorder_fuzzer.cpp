// EncodedRecorder and WaveRecorder record random chunks into a temporary folder (with restarts,
// which continue the same file within one second), and autl's readers read the files back. The
// "tap0" reader finds exactly one whole frame per accepted chunk, with its bytes, and the format
// word tells the recorder's channels (modulo 8), rate (48000 for one without a code) and sample
// format; the WAV conversion, when the channels allow one, counts every payload. A WAV file is its
// header and every byte recorded into it; the header counts the chunks since the last Start, is
// the header autl writes for the same stream, and passes `autl wav info`'s checks when the stream
// fits a WAV header. Refused chunks return 0 and write nothing.
//
// Input: channels (a byte modulo 12), rate (a byte modulo 10 selecting a rate; 9 takes the next 4
// bytes), the PCM type (a byte modulo 7), then operations: a byte modulo 8 (0 Start, 1 Stop, 2
// and up Record) and, for Record, a size byte (below 0xf0 the size; 0xf0 -1, 0xf1 1 MiB, 0xf2
// 1 MiB - 1, above a 4-byte size; an odd operation byte passes no data) and a fill byte.

#include <android-base/file.h>
#include <recorder/raw_recorder.h>
#include <stdlib.h>
#include <unistd.h>

#include <algorithm>
#include <map>
#include <string>
#include <utility>
#include <vector>

#include "fuzz_support.h"
#include "tap0.h"
#include "wav.h"

namespace {

using aidl::android::media::audio::common::PcmType;
using autl::fuzz::ByteReader;
using namespace autl::capture;
using namespace vendor::zentro::tevrash::audio::hal::utils::recorder;

constexpr uint32_t kRates[] = {8000, 16000, 24000, 32000, 44100, 48000, 96000, 192000, 22050};
// What is written per input at most, so that a run stays fast.
constexpr size_t kMaxBytes = 4 << 20;

// Made at the first input and removed at exit; each input removes the files it made.
const char* Folder() {
    static char folder[] = "/tmp/recorder_fuzzer.XXXXXX";
    static const bool made = [] {
        AUTL_FUZZ_CHECK(mkdtemp(folder) != nullptr);
        std::atexit([] { rmdir(folder); });
        return true;
    }();
    (void)made;
    return folder;
}

std::string ReadFile(const std::string& path) {
    std::string bytes;
    AUTL_FUZZ_CHECK(android::base::ReadFileToString(path, &bytes));
    return bytes;
}

int ReadSize(ByteReader& input) {
    const uint8_t size = input.Read<uint8_t>();
    if (size < 0xf0) return size;
    if (size == 0xf0) return -1;
    if (size == 0xf1) return 0x100000;
    if (size == 0xf2) return 0xfffff;
    return input.Read<int32_t>();
}

bool HasRateCode(uint32_t rate) {
    return std::find(std::begin(kRates), std::end(kRates) - 1, rate) != std::end(kRates) - 1;
}

// The sample format a frame's word tells: FIXED_Q_8_24 shares INT_32_BIT's code, and a value
// outside the enumeration gets INT_16_BIT's.
PcmType TapType(PcmType pcm_type) {
    switch (pcm_type) {
        case PcmType::DEFAULT:
        case PcmType::INT_16_BIT:
        case PcmType::INT_24_BIT:
        case PcmType::INT_32_BIT:
        case PcmType::FLOAT_32_BIT:
            return pcm_type;
        case PcmType::FIXED_Q_8_24:
            return PcmType::INT_32_BIT;
    }
    return PcmType::INT_16_BIT;
}

// A file's chunks, all of them in order, and what its header counts: the chunks since the Start
// before the last Record.
struct Recording {
    std::vector<std::string> chunks;
    uint64_t counted = 0;
    bool restarted = false;

    void Add(const std::string& chunk) {
        if (std::exchange(restarted, false)) counted = 0;
        chunks.push_back(chunk);
        counted += chunk.size();
    }
};

void CheckEncoded(const std::string& file, const Recording& recording, int channels, uint32_t rate,
                  PcmType pcm_type) {
    const std::span<const uint8_t> bytes(reinterpret_cast<const uint8_t*>(file.data()), file.size());
    Tap0Reader reader(bytes);
    uint64_t data_size = 0;
    for (const std::string& chunk : recording.chunks) {
        const std::optional<Tap0Frame> frame = reader.Next();
        AUTL_FUZZ_CHECK(frame.has_value());
        AUTL_FUZZ_CHECK(std::string_view(reinterpret_cast<const char*>(frame->payload.data()),
                                         frame->payload.size()) == chunk);
        AUTL_FUZZ_CHECK(frame->format.channels == (channels & 7));
        AUTL_FUZZ_CHECK(frame->format.sample_rate == (HasRateCode(rate) ? rate : 48000));
        AUTL_FUZZ_CHECK(frame->format.pcm_type == TapType(pcm_type));
        data_size += chunk.size();
    }
    AUTL_FUZZ_CHECK(!reader.Next().has_value() && !reader.error().has_value());
    std::string error;
    const std::optional<Tap0WavePlan> plan = PlanTap0Wave(bytes, &error);
    AUTL_FUZZ_CHECK(plan.has_value() == ((channels & 7) != 0 && data_size > 0));
    if (plan.has_value())
        AUTL_FUZZ_CHECK(plan->data_size == data_size && plan->frames == recording.chunks.size());
}

void CheckWave(const std::string& file, const Recording& recording, int channels, uint32_t rate,
               PcmType pcm_type) {
    std::string data;
    for (const std::string& chunk : recording.chunks) data += chunk;
    if (data.empty()) {
        AUTL_FUZZ_CHECK(file.empty());
        return;
    }
    AUTL_FUZZ_CHECK(file.size() == kWaveHeaderSize + data.size());
    AUTL_FUZZ_CHECK(file.compare(kWaveHeaderSize, std::string::npos, data) == 0);
    const std::span<const uint8_t> bytes(reinterpret_cast<const uint8_t*>(file.data()), file.size());
    const WaveHeader header = *DecodeWaveHeader(bytes);
    AUTL_FUZZ_CHECK(header.data_size == recording.counted);
    AUTL_FUZZ_CHECK(header.chunk_size == 36 + recording.counted);
    const std::optional<WaveHeader> expected =
            MakePcmWaveHeader(pcm_type, static_cast<uint16_t>(channels), rate,
                              static_cast<uint32_t>(recording.counted));
    if (!expected.has_value()) return;
    AUTL_FUZZ_CHECK(header == *expected);
    if (channels > 0 && uint64_t{header.block_align} * rate <= UINT32_MAX) {
        AUTL_FUZZ_CHECK(CheckWaveHeader(header, file.size()).empty());
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    ByteReader input(data, size);
    const int channels = input.Read<uint8_t>() % 12;
    const uint8_t rate_index = input.Read<uint8_t>() % 10;
    const uint32_t rate =
            rate_index < std::size(kRates) ? kRates[rate_index] : input.Read<uint32_t>();
    const auto pcm_type = static_cast<PcmType>(input.Read<uint8_t>() % 7);
    EncodedRecorder encoded(Folder(), "e", channels, static_cast<int>(rate), pcm_type);
    WaveRecorder wave(Folder(), "w", channels, rate, pcm_type);
    std::map<std::string, Recording> encoded_files;
    std::map<std::string, Recording> wave_files;
    size_t written = 0;
    for (int steps = 0; input.remaining() > 0 && steps < 64; ++steps) {
        const uint8_t operation = input.Read<uint8_t>();
        if (operation % 8 == 0) {
            const bool restart = !wave.IsStarted();
            encoded.Start();
            wave.Start();
            encoded_files[encoded.GetPath()];
            if (restart) wave_files[wave.GetPath()].restarted = true;
            continue;
        }
        if (operation % 8 == 1) {
            encoded.Stop();
            wave.Stop();
            continue;
        }
        const int chunk_size = ReadSize(input);
        const uint8_t fill = input.Read<uint8_t>();
        const bool accepted = chunk_size > 0 && chunk_size < 0x100000 && operation % 2 == 0 &&
                              encoded.IsStarted();
        if (accepted && written + static_cast<size_t>(chunk_size) > kMaxBytes) continue;
        std::string chunk(accepted ? static_cast<size_t>(chunk_size) : 1, '\0');
        for (size_t i = 0; i < chunk.size(); ++i) chunk[i] = static_cast<char>(fill + i * 7);
        void* pointer = operation % 2 == 0 ? chunk.data() : nullptr;
        AUTL_FUZZ_CHECK(encoded.Record(pointer, chunk_size) == (accepted ? chunk_size + 20 : 0));
        AUTL_FUZZ_CHECK(wave.Record(pointer, chunk_size) == (accepted ? chunk_size : 0));
        if (!accepted) continue;
        written += chunk.size();
        encoded_files[encoded.GetPath()].Add(chunk);
        wave_files[wave.GetPath()].Add(chunk);
    }
    for (const auto& [path, recording] : encoded_files) {
        CheckEncoded(ReadFile(path), recording, channels, rate, pcm_type);
        unlink(path.c_str());
    }
    for (const auto& [path, recording] : wave_files) {
        CheckWave(ReadFile(path), recording, channels, rate, pcm_type);
        unlink(path.c_str());
    }
    return 0;
}
