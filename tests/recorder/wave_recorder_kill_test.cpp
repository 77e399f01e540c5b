// A process killed with SIGKILL while it records WAV chunks leaves a playable file whose header
// counts all the data on disk, or that data and the chunk that was being written (the header of a
// chunk is written before the chunk).

#include <recorder/raw_recorder.h>

#include <android-base/file.h>
#include <android-base/logging.h>
#include <fcntl.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <filesystem>
#include <optional>
#include <random>
#include <string>

#include <gtest/gtest.h>

#include "wav.h"

namespace vendor::zentro::tevrash::audio::hal::utils::recorder {
namespace {

// The recorded stream: byte p is p % 251, so a chunk out of place shows (no chunk size used here
// is a multiple of 251).
std::string Stream(size_t size) {
    std::string bytes(size, '\0');
    for (size_t p = 0; p < size; ++p) bytes[p] = static_cast<char>(p % 251);
    return bytes;
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
        TemporaryDir dir;
        const size_t chunk_size = kChunkSizes[run % 4];
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
            // Records chunks cut from one buffer, writing a byte to the pipe after Start and after
            // each chunk, until killed (or, after 64 MiB, waits for it).
            android::base::SetMinimumLogSeverity(android::base::WARNING);
            std::string stream = Stream(chunk_size + 251);
            WaveRecorder recorder(dir.path, "kill", 2, 48000,
                                  aidl::android::media::audio::common::PcmType::INT_16_BIT);
            recorder.Start();
            for (size_t i = 0; write(fds[1], "c", 1) == 1 && i * chunk_size < (64u << 20); ++i) {
                recorder.Record(&stream[i * chunk_size % 251], static_cast<int>(chunk_size));
            }
            for (;;) pause();
        }
        close(fds[1]);
        char note = 0;
        bool ready = true;
        for (uint32_t i = 0; ready && i <= wait_chunks; ++i) ready = read(fds[0], &note, 1) == 1;
        random.discard(work);
        kill(pid, SIGKILL);
        int status = 0;
        ASSERT_EQ(waitpid(pid, &status, 0), pid);
        close(fds[0]);
        ASSERT_TRUE(ready) << "the recording child ended early";
        ASSERT_TRUE(WIFSIGNALED(status) && WTERMSIG(status) == SIGKILL);

        // Start made exactly one file; without a chunk it has no header either.
        const auto entries = std::filesystem::directory_iterator(dir.path);
        std::string file;
        ASSERT_TRUE(android::base::ReadFileToString(entries->path(), &file));
        ASSERT_TRUE(std::next(std::filesystem::begin(entries)) == std::filesystem::end(entries));
        if (file.empty() && wait_chunks == 0) continue;
        const std::optional<autl::capture::WaveHeader> header = autl::capture::DecodeWaveHeader(
                {reinterpret_cast<const uint8_t*>(file.data()), file.size()});
        ASSERT_TRUE(header.has_value()) << "a header cut short: " << file.size() << " bytes";
        EXPECT_EQ(*header, autl::capture::MakeWaveHeader(1, 2, 48000, 16, header->data_size));
        // Whole chunks are counted, at least those the child reported; the data on disk is all of
        // them, or all but the end of the last one, which was in flight.
        const size_t counted = header->data_size;
        const size_t on_disk = file.size() - 44;
        ASSERT_EQ(counted % chunk_size, 0u);
        EXPECT_GE(counted / chunk_size, wait_chunks);
        ASSERT_LE(on_disk, counted);
        EXPECT_LE(counted - on_disk, chunk_size);
        EXPECT_TRUE(file.compare(44, std::string::npos, Stream(on_disk)) == 0)
                << "the data differs from the stream recorded";
    }
}

}  // namespace
}  // namespace vendor::zentro::tevrash::audio::hal::utils::recorder
