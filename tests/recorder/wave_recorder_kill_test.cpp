// A process killed with SIGKILL while it records WAV chunks leaves a playable file whose header
// counts all the data on disk, or that data and the chunk that was being written (the header of a
// chunk is written before the chunk).

#include <recorder/raw_recorder.h>

#include <android-base/logging.h>
#include <fcntl.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cstdint>
#include <filesystem>
#include <optional>
#include <random>
#include <string>

#include <gtest/gtest.h>

#include "temp_dir.h"
#include "wav.h"

namespace vendor::zentro::tevrash::audio::hal::utils::recorder {
namespace {

using aidl::android::media::audio::common::PcmType;
using autl::test::ReadFile;
using autl::test::TempDir;

// The recorded stream: byte p is p % 251, so a chunk out of place shows (no chunk size used here
// is a multiple of 251).
constexpr size_t kPeriod = 251;

std::string Stream(size_t size) {
    std::string bytes(size, '\0');
    for (size_t p = 0; p < size; ++p) bytes[p] = static_cast<char>(p % kPeriod);
    return bytes;
}

// Starts a recorder and records the stream chunk by chunk until killed, writing one byte to
// `progress` after Start and after each chunk. It stops recording (and waits) after max_chunks.
// Chunks are cut from one buffer, so that the time goes into Record.
[[noreturn]] void RecordUntilKilled(const std::string& folder, size_t chunk_size,
                                    uint32_t max_chunks, int progress) {
    android::base::SetMinimumLogSeverity(android::base::WARNING);
    std::string stream = Stream(chunk_size + kPeriod);
    WaveRecorder recorder(folder, "kill", 2, 48000, PcmType::INT_16_BIT);
    recorder.Start();
    if (write(progress, "s", 1) != 1) _exit(1);
    for (uint32_t i = 0; i < max_chunks; ++i) {
        recorder.Record(&stream[i * chunk_size % kPeriod], static_cast<int>(chunk_size));
        if (write(progress, "c", 1) != 1) _exit(1);
    }
    for (;;) pause();
}

TEST(WaveRecorderKillTest, KilledWhileRecording_HeaderCountsAllDataOrTheChunkInFlightToo) {
    const unsigned seed = std::random_device{}();
    SCOPED_TRACE(testing::Message() << "seed " << seed);
    std::mt19937 random(seed);
    // Sizes within one page, across pages, and near the 1 MiB limit, where the kernel can cut a
    // write short when the signal arrives.
    const size_t kChunkSizes[] = {1920, 4097, 65541, (1 << 20) - 1};
    for (int run = 0; run < 40; ++run) {
        SCOPED_TRACE(testing::Message() << "run " << run);
        TempDir dir;
        const size_t chunk_size = kChunkSizes[run % std::size(kChunkSizes)];
        const auto max_chunks = static_cast<uint32_t>(std::max<size_t>(64, (64 << 20) / chunk_size));
        // Completed chunks to wait for (with 0 the kill may come before the first chunk), then
        // work of random length, up to about as long as a Record takes, to place the kill.
        const uint32_t wait_chunks = std::uniform_int_distribution<uint32_t>(0, 16)(random);
        const uint64_t work =
                std::uniform_int_distribution<uint64_t>(0, 4000 + chunk_size / 4)(random);

        int fds[2];
        ASSERT_EQ(pipe2(fds, O_CLOEXEC), 0);
        const pid_t pid = fork();
        ASSERT_GE(pid, 0);
        if (pid == 0) {
            close(fds[0]);
            RecordUntilKilled(dir.path(), chunk_size, max_chunks, fds[1]);
        }
        close(fds[1]);
        char note = 0;
        bool ready = read(fds[0], &note, 1) == 1;
        for (uint32_t i = 0; ready && i < wait_chunks; ++i) ready = read(fds[0], &note, 1) == 1;
        random.discard(work);
        kill(pid, SIGKILL);
        int status = 0;
        ASSERT_EQ(waitpid(pid, &status, 0), pid);
        close(fds[0]);
        ASSERT_TRUE(ready) << "the recording child ended early";
        ASSERT_TRUE(WIFSIGNALED(status) && WTERMSIG(status) == SIGKILL);

        // Start made exactly one file.
        std::string name;
        for (const auto& entry : std::filesystem::directory_iterator(dir.path())) {
            ASSERT_TRUE(name.empty());
            name = entry.path().filename();
        }
        const std::string file = ReadFile(dir.Join(name));
        if (file.empty()) {
            // Killed before the first chunk reached the file: no chunk, no header.
            EXPECT_EQ(wait_chunks, 0u);
            continue;
        }
        const std::optional<autl::capture::WaveHeader> header = autl::capture::DecodeWaveHeader(
                {reinterpret_cast<const uint8_t*>(file.data()), file.size()});
        ASSERT_TRUE(header.has_value()) << "a header cut short: " << file.size() << " bytes";
        const size_t counted = header->data_size;
        EXPECT_EQ(*header, autl::capture::MakeWaveHeader(1, 2, 48000, 16, header->data_size));

        // Whole chunks are counted, at least those the child reported; the data on disk is all of
        // them, or all but the end of the last one, which was in flight.
        ASSERT_EQ(counted % chunk_size, 0u);
        EXPECT_GE(counted / chunk_size, wait_chunks);
        const size_t on_disk = file.size() - 44;
        ASSERT_LE(on_disk, counted);
        EXPECT_LE(counted - on_disk, chunk_size);
        EXPECT_TRUE(file.compare(44, std::string::npos, Stream(on_disk)) == 0)
                << "the data differs from the stream recorded";
    }
}

}  // namespace
}  // namespace vendor::zentro::tevrash::audio::hal::utils::recorder
