// EncodedRecorder and WaveRecorder record random chunks into a temporary folder (with restarts,
// which continue the same file within one second), and autl's readers read the files back. The
// "tap0" reader finds exactly one whole frame per accepted chunk, with its bytes, under one
// well-formed format word, and nothing more. A WAV file is its header and every byte recorded into
// it; the header counts the chunks since the last Start and is the header autl writes for the same
// stream. Refused chunks return 0 and write nothing.
//
// Input: channels (a byte modulo 12), rate (a byte modulo 10 selecting a rate; 9 takes the next 4
// bytes), the PCM type (a byte modulo 7), then operations: a byte modulo 8 (0 Start, 1 Stop, 2
// and up Record) and, for Record, a size byte (below 0xf0 the size; 0xf0 -1, 0xf1 1 MiB, 0xf2
// 1 MiB - 1, above a 4-byte size; an odd operation byte passes no data) and a fill byte.

#include <android-base/file.h>
#include <recorder/raw_recorder.h>
#include <stdlib.h>
#include <unistd.h>

#include <map>

#include "fuzz_support.h"
#include "tap0.h"
#include "wav.h"

namespace {

using aidl::android::media::audio::common::PcmType;
using namespace autl::fuzz;
using namespace autl::capture;
using namespace vendor::zentro::tevrash::audio::hal::utils::recorder;

constexpr uint32_t kRates[] = {8000, 16000, 24000, 32000, 44100, 48000, 96000, 192000, 22050};

// A file's chunks, all of them in order, and what a WAV header counts: the bytes since the Start
// before the last Record.
struct Recording {
    std::vector<std::string> chunks;
    uint64_t counted = 0;
    bool restarted = false;
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    ByteReader input(data, size);
    char folder[] = "/tmp/recorder_fuzzer.XXXXXX";  // removed with the files at the end
    AUTL_FUZZ_CHECK(mkdtemp(folder) != nullptr);
    const int channels = input.Read<uint8_t>() % 12;
    const uint8_t rate_index = input.Read<uint8_t>() % 10;
    const uint32_t rate =
            rate_index < std::size(kRates) ? kRates[rate_index] : input.Read<uint32_t>();
    const auto pcm_type = static_cast<PcmType>(input.Read<uint8_t>() % 7);
    EncodedRecorder encoded(folder, "e", channels, static_cast<int>(rate), pcm_type);
    WaveRecorder wave(folder, "w", channels, rate, pcm_type);
    RawRecorder* const recorders[] = {&encoded, &wave};
    std::map<std::string, Recording> files;
    size_t written = 0;  // at most 4 MiB per input, so that a run stays fast
    for (int steps = 0; !input.rest.empty() && steps < 64; ++steps) {
        const uint8_t operation = input.Read<uint8_t>();
        if (operation % 8 <= 1) {
            const bool start = operation % 8 == 0, restart = start && !wave.IsStarted();
            for (RawRecorder* recorder : recorders) start ? recorder->Start() : recorder->Stop();
            if (start) files[encoded.GetPath()];
            if (restart) files[wave.GetPath()].restarted = true;
            continue;
        }
        const uint8_t size_byte = input.Read<uint8_t>();
        constexpr int kSizes[] = {-1, 0x100000, 0xfffff};
        const int chunk_size = size_byte < 0xf0    ? size_byte
                               : size_byte <= 0xf2 ? kSizes[size_byte - 0xf0]
                                                   : input.Read<int32_t>();
        const uint8_t fill = input.Read<uint8_t>();
        const bool accepted = chunk_size > 0 && chunk_size < 0x100000 && operation % 2 == 0 &&
                              encoded.IsStarted();
        if (accepted && written + static_cast<size_t>(chunk_size) > (4u << 20)) continue;
        std::string chunk(accepted ? static_cast<size_t>(chunk_size) : 1, '\0');
        for (size_t i = 0; i < chunk.size(); ++i) chunk[i] = static_cast<char>(fill + i * 7);
        void* pointer = operation % 2 == 0 ? chunk.data() : nullptr;
        AUTL_FUZZ_CHECK(encoded.Record(pointer, chunk_size) == (accepted ? chunk_size + 20 : 0));
        AUTL_FUZZ_CHECK(wave.Record(pointer, chunk_size) == (accepted ? chunk_size : 0));
        if (!accepted) continue;
        written += chunk.size();
        files[encoded.GetPath()].chunks.push_back(chunk);
        Recording& recording = files[wave.GetPath()];
        if (std::exchange(recording.restarted, false)) recording.counted = 0;
        recording.chunks.push_back(chunk);
        recording.counted += chunk.size();
    }
    for (const auto& [path, recording] : files) {
        std::string file, recorded;
        AUTL_FUZZ_CHECK(android::base::ReadFileToString(path, &file) && unlink(path.c_str()) == 0);
        for (const std::string& chunk : recording.chunks) recorded += chunk;
        if (path.ends_with(".wav")) {
            const std::optional<WaveHeader> header = DecodeWaveHeader(AsBytes(file));
            const std::optional<WaveHeader> made =
                    MakePcmWaveHeader(pcm_type, static_cast<uint16_t>(channels), rate,
                                      static_cast<uint32_t>(recording.counted));
            AUTL_FUZZ_CHECK(recorded.empty()
                                    ? file.empty()
                                    : file.size() == kWaveHeaderSize + recorded.size() &&
                                              file.ends_with(recorded) &&
                                              header->data_size == recording.counted &&
                                              header->chunk_size == 36 + recording.counted &&
                                              (!made || *header == *made));
            continue;
        }
        // One format word for the whole recording.
        Tap0Reader reader(AsBytes(file));
        std::optional<uint32_t> word;
        for (const std::string& chunk : recording.chunks) {
            const std::optional<Tap0Frame> frame = reader.Next();
            AUTL_FUZZ_CHECK(frame.has_value() && AsText(frame->payload) == chunk &&
                            frame->format.well_formed &&
                            frame->format.word == word.value_or(frame->format.word));
            word = frame->format.word;
        }
        AUTL_FUZZ_CHECK(!reader.Next().has_value() && !reader.error().has_value());
    }
    AUTL_FUZZ_CHECK(rmdir(folder) == 0);
    return 0;
}
