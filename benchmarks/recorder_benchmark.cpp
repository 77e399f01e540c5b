// The cost of one Record of a 1920-byte chunk (10 ms of 48 kHz stereo 16-bit audio) for each
// recorder, next to its reference: opening the file, writing the same bytes and closing it again,
// as the recorders do for every chunk. The ratios printed at the end are what the recorders add to
// those three system calls. Files live on tmpfs (/dev/shm), so the numbers are the system calls'
// and the library's, not a disk's:
//
//   build/default/benchmarks/recorder_benchmark --benchmark_repetitions=5

#include <recorder/raw_recorder.h>

#include <android-base/logging.h>
#include <fcntl.h>
#include <stdlib.h>
#include <unistd.h>

#include <filesystem>
#include <memory>
#include <string>

#include "ratio_reporter.h"

namespace {

using aidl::android::media::audio::common::PcmType;
using vendor::zentro::tevrash::audio::hal::utils::recorder::EncodedRecorder;
using vendor::zentro::tevrash::audio::hal::utils::recorder::RawRecorder;
using vendor::zentro::tevrash::audio::hal::utils::recorder::WaveRecorder;

constexpr int kChunkSize = 1920;
// Files are cut back every so many chunks, so that a long run does not fill memory.
constexpr int64_t kChunksPerFile = 4096;

// A fresh folder on tmpfs, removed with its files.
class ShmFolder {
  public:
    ShmFolder() {
        char pattern[] = "/dev/shm/autl-bench-XXXXXX";
        if (mkdtemp(pattern) != nullptr) path_ = pattern;
    }
    ~ShmFolder() {
        std::error_code error;
        if (!path_.empty()) std::filesystem::remove_all(path_, error);
    }
    const std::string& path() const { return path_; }

  private:
    std::string path_;
};

// Cuts the file back to its first `keep` bytes outside the timing.
void CutBack(benchmark::State& state, const std::string& path, off_t keep) {
    state.PauseTiming();
    if (truncate(path.c_str(), keep) != 0) state.SkipWithError("cannot truncate the file");
    state.ResumeTiming();
}

void RecordChunks(benchmark::State& state, std::unique_ptr<RawRecorder> recorder, off_t keep) {
    android::base::SetMinimumLogSeverity(android::base::WARNING);
    recorder->Start();
    char chunk[kChunkSize] = {};
    int64_t written = 0;
    for (auto _ : state) {
        benchmark::DoNotOptimize(recorder->Record(chunk, kChunkSize));
        if (++written % kChunksPerFile == 0) CutBack(state, recorder->GetPath(), keep);
    }
    state.SetBytesProcessed(written * kChunkSize);
}

void BM_RawRecorderRecord(benchmark::State& state) {
    ShmFolder folder;
    RecordChunks(state, std::make_unique<RawRecorder>(folder.path(), "raw"), 0);
}
BENCHMARK(BM_RawRecorderRecord);

void BM_WaveRecorderRecord(benchmark::State& state) {
    ShmFolder folder;
    // The header stays, so that every Record after a cut takes the usual path.
    RecordChunks(state,
                 std::make_unique<WaveRecorder>(folder.path(), "wav", 2, 48000, PcmType::INT_16_BIT),
                 WaveRecorder::kHeaderSize);
}
BENCHMARK(BM_WaveRecorderRecord);

void BM_EncodedRecorderRecord(benchmark::State& state) {
    ShmFolder folder;
    RecordChunks(
            state,
            std::make_unique<EncodedRecorder>(folder.path(), "enc", 2, 48000, PcmType::INT_16_BIT),
            0);
}
BENCHMARK(BM_EncodedRecorderRecord);

// The reference: open, one write of the same bytes, close, into a file of the same folder.
void BM_OpenWriteClose(benchmark::State& state) {
    ShmFolder folder;
    const std::string path = folder.path() + "/plain.raw";
    char chunk[kChunkSize] = {};
    int64_t written = 0;
    for (auto _ : state) {
        const int fd = open(path.c_str(), O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, 0644);
        benchmark::DoNotOptimize(write(fd, chunk, kChunkSize));
        close(fd);
        if (++written % kChunksPerFile == 0) CutBack(state, path, 0);
    }
    state.SetBytesProcessed(written * kChunkSize);
}
BENCHMARK(BM_OpenWriteClose);

}  // namespace

int main(int argc, char** argv) {
    return autl::bench::RunWithRatios(
            argc, argv,
            {
                    {"RawRecorder::Record / open+write+close", "BM_RawRecorderRecord",
                     "BM_OpenWriteClose", "", "-"},
                    {"WaveRecorder::Record / open+write+close", "BM_WaveRecorderRecord",
                     "BM_OpenWriteClose", "", "-"},
                    {"EncodedRecorder::Record / open+write+close", "BM_EncodedRecorderRecord",
                     "BM_OpenWriteClose", "", "-"},
            });
}
