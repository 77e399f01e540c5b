// The autl program, run on files that the recorders wrote, some of them damaged afterwards: the
// transcripts tests/data/autl/*.txt hold each command and what it printed, compared whole.

#include <android-base/file.h>
#include <recorder/raw_recorder.h>
#include <stdlib.h>

#include <filesystem>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "golden.h"

namespace autl {
namespace {

using aidl::android::media::audio::common::PcmType;
using vendor::zentro::tevrash::audio::hal::utils::recorder::EncodedRecorder;
using vendor::zentro::tevrash::audio::hal::utils::recorder::RawRecorder;
using vendor::zentro::tevrash::audio::hal::utils::recorder::WaveRecorder;

class AutlTest : public testing::Test {
  protected:
    void SetUp() override {
        std::filesystem::create_directory(Path("recording"));
        const std::vector<std::string> chunks = {std::string(1920, 'a'), std::string(6, 'b')};
        Record("empty.audio_enc", Encoded(2, 48000, PcmType::INT_16_BIT), {});
        const std::string capture =
                Record("capture.audio_enc", Encoded(1, 44100, PcmType::INT_24_BIT), chunks);
        Record("runs.audio_enc", Encoded(2, 48000, PcmType::INT_16_BIT), {"ab", "cd", "efg"});
        // Data after a frame that is not one.
        Write("damaged.audio_enc", Record("damaged", Encoded(1, 16000, PcmType::FLOAT_32_BIT),
                                          {std::string(1920, 'a'), "0123456789"}) +
                                           "tap1 and the rest");
        // Three recordings in one file, the second in another format.
        Write("changing.audio_enc",
              Record("1", Encoded(2, 48000, PcmType::INT_16_BIT), {"ab"}) +
                      Record("2", Encoded(1, 8000, PcmType::DEFAULT), {"cd"}) +
                      Record("3", Encoded(2, 48000, PcmType::INT_16_BIT), {"ef"}));
        // Cut 30 bytes into a third frame, as a killed recorder leaves it.
        Write("cut.audio_enc", capture + capture.substr(0, 30));
        // The disk filled 120 bytes into the second frame; the third one was written later.
        const std::string frames = Record("torn", Encoded(1, 44100, PcmType::INT_24_BIT),
                                          {chunks[0], std::string(1920, 'x'), chunks[1]});
        Write("torn.audio_enc", frames.substr(0, 1940 + 120) + frames.substr(2 * 1940));
        Record("capture.raw", RawRecorder(Path("recording"), "r"), chunks);
        // What converting capture.audio_enc and capture.raw must write.
        Record("expected.wav", Wave(1, 44100, PcmType::INT_24_BIT), chunks);
        const std::string wav = Record("stereo.wav", Wave(2, 48000, PcmType::INT_16_BIT),
                                       {std::string(100, 'a'), std::string(50, 'a')});
        // Data after what the header counts, as a second recording in the same second leaves it.
        Write("extra.wav", wav + std::string(10, 'b'));
        // Byte rate 1000 and data size 200.
        Write("bad.wav", std::string(wav).replace(28, 4, "\xe8\x03\0\0", 4).replace(40, 1, "\xc8"));
        Write("short.wav", "RIFF");
        setenv("AUTL_VERSION", AUTL_VERSION, 1);
    }

    EncodedRecorder Encoded(int channels, int rate, PcmType type) {
        return EncodedRecorder(Path("recording"), "r", channels, rate, type);
    }
    WaveRecorder Wave(int channels, int rate, PcmType type) {
        return WaveRecorder(Path("recording"), "r", channels, rate, type);
    }
    // Records the chunks, and moves the file to `name` in the test's folder; its content.
    std::string Record(const std::string& name, RawRecorder&& recorder,
                       const std::vector<std::string>& chunks) {
        recorder.Start();
        for (std::string chunk : chunks) recorder.Record(chunk.data(), std::ssize(chunk));
        std::filesystem::rename(recorder.GetPath(), Path(name));
        std::string content;
        EXPECT_TRUE(android::base::ReadFileToString(Path(name), &content)) << name;
        return content;
    }
    void Write(const std::string& name, const std::string& content) {
        ASSERT_TRUE(android::base::WriteStringToFile(content, Path(name)));
    }
    std::string Path(const std::string& name) { return std::string(dir_.path) + "/" + name; }

    void ExpectTranscript(const std::string& name) {
        const std::string transcript = test::RunTranscript(name, dir_.path, AUTL_TOOL);
        EXPECT_EQ(transcript, test::Golden(name, transcript));
    }

    TemporaryDir dir_;
};

TEST_F(AutlTest, CommandLine) {
    ExpectTranscript("autl/command_line.txt");
}

TEST_F(AutlTest, CaptureCommands) {
    ExpectTranscript("autl/capture.txt");
}

}  // namespace
}  // namespace autl
