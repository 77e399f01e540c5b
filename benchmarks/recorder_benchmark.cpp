// The cost of one Record of a 1920-byte chunk (10 ms of 48 kHz stereo 16-bit audio) for each
// recorder, next to a single write of the same bytes to a descriptor that is already open: what
// opening and closing the file per call adds. Files live on tmpfs (/dev/shm), so the numbers are
// the system calls' and the library's, not a disk's.

#include <recorder/raw_recorder.h>

#include <android-base/logging.h>
#include <benchmark/benchmark.h>
#include <fcntl.h>
#include <stdlib.h>
#include <unistd.h>

#include <filesystem>
#include <memory>
#include <string>

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

// The reference: one write of the same bytes to a descriptor opened once.
void BM_WriteToOpenDescriptor(benchmark::State& state) {
    ShmFolder folder;
    const std::string path = folder.path() + "/plain.raw";
    const int fd = open(path.c_str(), O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, 0644);
    if (fd < 0) {
        state.SkipWithError("cannot open the file");
        return;
    }
    char chunk[kChunkSize] = {};
    int64_t written = 0;
    for (auto _ : state) {
        benchmark::DoNotOptimize(write(fd, chunk, kChunkSize));
        if (++written % kChunksPerFile == 0) {
            state.PauseTiming();
            if (ftruncate(fd, 0) != 0) state.SkipWithError("cannot truncate the file");
            state.ResumeTiming();
        }
    }
    state.SetBytesProcessed(written * kChunkSize);
    close(fd);
}
BENCHMARK(BM_WriteToOpenDescriptor);

}  // namespace

BENCHMARK_MAIN();
