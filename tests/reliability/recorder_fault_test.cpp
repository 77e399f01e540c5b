// A recorder whose folder disappears in the middle of a recording, as when the capture folder is
// wiped while a stream runs, and comes back later: every call keeps the result each recorder
// promises, nothing crashes, and a recording started once the folder is back works as usual.

#include <recorder/raw_recorder.h>

#include <filesystem>
#include <memory>
#include <string>

#include <gtest/gtest.h>

#include "temp_dir.h"

namespace vendor::zentro::tevrash::audio::hal::utils::recorder {
namespace {

using aidl::android::media::audio::common::PcmType;
using autl::test::ReadFile;
using autl::test::TempDir;

TEST(RecorderFaultTest, FolderDisappearsMidRecording_ResultsStayAsPromised) {
    constexpr int kSize = 100;
    TempDir dir;
    const std::string folder = dir.Join("captures");
    struct Case {
        std::unique_ptr<RawRecorder> recorder;
        int recorded;  // a chunk while the file can be opened
        int gone;      // a chunk while the folder is missing
        size_t header;
    };
    const Case kCases[] = {
            {std::make_unique<RawRecorder>(folder, "raw"), kSize, 0, 0},
            // The WAV recorder does not report file errors: it counts the chunk all the same.
            {std::make_unique<WaveRecorder>(folder, "wav", 2, 48000, PcmType::INT_16_BIT), kSize,
             kSize, WaveRecorder::kHeaderSize},
            {std::make_unique<EncodedRecorder>(folder, "enc", 2, 48000, PcmType::INT_16_BIT),
             kSize + EncodedRecorder::kFrameHeaderSize, -1, EncodedRecorder::kFrameHeaderSize},
    };
    std::string chunk(kSize, '\0');
    for (int i = 0; i < kSize; ++i) chunk[i] = static_cast<char>(i);

    for (const Case& c : kCases) {
        RawRecorder& recorder = *c.recorder;
        ASSERT_TRUE(std::filesystem::create_directory(folder));
        recorder.Start();
        SCOPED_TRACE(recorder.GetFileName());
        EXPECT_EQ(recorder.Record(chunk.data(), kSize), c.recorded);

        std::filesystem::remove_all(folder);
        EXPECT_EQ(recorder.Record(chunk.data(), kSize), c.gone);
        EXPECT_EQ(recorder.Record(chunk.data(), kSize), c.gone);
        EXPECT_EQ(recorder.Record(chunk.data(), 0), 0);
        EXPECT_EQ(recorder.Record(nullptr, kSize), 0);
        EXPECT_TRUE(recorder.IsStarted());
        EXPECT_FALSE(std::filesystem::exists(folder));

        // Once the folder is back, the next recording starts a fresh file.
        recorder.Stop();
        ASSERT_TRUE(std::filesystem::create_directory(folder));
        recorder.Start();
        EXPECT_EQ(recorder.Record(chunk.data(), kSize), c.recorded);
        const std::string file = ReadFile(recorder.GetPath());
        EXPECT_EQ(file.size(), c.header + kSize);
        EXPECT_EQ(file.substr(c.header), chunk);
        recorder.Stop();
        std::filesystem::remove_all(folder);
    }
}

}  // namespace
}  // namespace vendor::zentro::tevrash::audio::hal::utils::recorder
