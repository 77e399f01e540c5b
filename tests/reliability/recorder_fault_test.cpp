// Recorders whose file, or whole folder, disappears in the middle of a recording, as when the
// capture folder is wiped while a stream runs: every call keeps the result each recorder promises,
// nothing crashes, and a recording started once the folder is back works as usual. And a process
// killed in the middle of a WAV chunk.

#include <recorder/raw_recorder.h>

#include <android-base/file.h>
#include <signal.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>
#include <memory>
#include <string>

#include <gtest/gtest.h>

namespace vendor::zentro::tevrash::audio::hal::utils::recorder {
namespace {

using aidl::android::media::audio::common::PcmType;

std::string Read(const std::string& path) {
    std::string content;
    android::base::ReadFileToString(path, &content);
    return content;
}

TEST(RecorderFaultTest, FileOrFolderDisappearsMidRecording_ResultsStayAsPromised) {
    constexpr int kSize = 100;
    TemporaryDir dir;
    const std::string folder = std::string(dir.path) + "/captures";
    const struct {
        std::unique_ptr<RawRecorder> recorder;
        int recorded;     // a chunk while the file can be opened
        int file_gone;    // a chunk while the file is missing
        int folder_gone;  // a chunk while the folder is missing
        size_t header;
    } kCases[] = {
            // The raw recorder creates the file again, with the mode Start gave it.
            {std::make_unique<RawRecorder>(folder, "raw"), kSize, kSize, 0, 0},
            // The WAV recorder does not report file errors: it counts the chunk all the same.
            {std::make_unique<WaveRecorder>(folder, "wav", 2, 48000, PcmType::INT_16_BIT), kSize,
             kSize, kSize, WaveRecorder::kHeaderSize},
            {std::make_unique<EncodedRecorder>(folder, "enc", 2, 48000, PcmType::INT_16_BIT),
             kSize + EncodedRecorder::kFrameHeaderSize, -1, -1, EncodedRecorder::kFrameHeaderSize},
    };
    std::string chunk(kSize, '\0');
    for (int i = 0; i < kSize; ++i) chunk[i] = static_cast<char>(i);
    const mode_t umask_before = umask(077);

    for (const auto& c : kCases) {
        RawRecorder& recorder = *c.recorder;
        ASSERT_TRUE(std::filesystem::create_directory(folder));
        recorder.Start();
        const std::string path = recorder.GetPath();
        SCOPED_TRACE(path);
        ASSERT_EQ(unlink(path.c_str()), 0);
        EXPECT_EQ(recorder.Record(chunk.data(), kSize), c.file_gone);
        struct stat status = {};
        EXPECT_EQ(stat(path.c_str(), &status) == 0 ? status.st_mode : 0,
                  c.header == 0 ? S_IFREG | 0644u : 0u);

        std::filesystem::remove_all(folder);
        EXPECT_EQ(recorder.Record(chunk.data(), kSize), c.folder_gone);
        EXPECT_EQ(recorder.Record(chunk.data(), 0), 0);
        EXPECT_EQ(recorder.Record(nullptr, kSize), 0);
        EXPECT_TRUE(recorder.IsStarted());
        EXPECT_FALSE(std::filesystem::exists(folder));

        // Once the folder is back, the next recording starts a fresh file; the WAV header counts
        // the chunks since that Start.
        recorder.Stop();
        ASSERT_TRUE(std::filesystem::create_directory(folder));
        recorder.Start();
        EXPECT_EQ(recorder.Record(chunk.data(), kSize), c.recorded);
        const std::string file = Read(recorder.GetPath());
        EXPECT_EQ(file.size(), c.header + kSize);
        EXPECT_EQ(file.substr(c.header), chunk);
        EXPECT_TRUE(c.header != WaveRecorder::kHeaderSize || file[40] == kSize);
        recorder.Stop();
        std::filesystem::remove_all(folder);
    }
    umask(umask_before);
}

// Killed in the middle of a chunk, here by the file size limit, a WAV recording leaves a header
// that counts all the data on disk and the chunk in flight: the header goes first.
TEST(RecorderFaultTest, KilledMidChunk_TheHeaderCountsTheChunkInFlight) {
    TemporaryDir dir;
    WaveRecorder recorder(dir.path, "wav", 2, 48000, PcmType::INT_16_BIT);
    recorder.Start();
    std::string chunk(100, 'x');
    EXPECT_EQ(recorder.Record(chunk.data(), 100), 100);
    EXPECT_EXIT(
            {
                signal(SIGXFSZ, SIG_DFL);
                rlimit limit = {};
                getrlimit(RLIMIT_FSIZE, &limit);
                limit.rlim_cur = 44 + 150;
                setrlimit(RLIMIT_FSIZE, &limit);
                recorder.Record(chunk.data(), 100);
                _exit(0);
            },
            testing::KilledBySignal(SIGXFSZ), "");
    const std::string file = Read(recorder.GetPath());
    EXPECT_EQ(file.size(), 44u + 150u);
    EXPECT_EQ(file.substr(40, 4), std::string("\xc8\0\0\0", 4));  // 200 bytes of data
}

}  // namespace
}  // namespace vendor::zentro::tevrash::audio::hal::utils::recorder
