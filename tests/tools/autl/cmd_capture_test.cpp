// `autl tap0` and `autl wav`, run as a program on files that EncodedRecorder and WaveRecorder
// wrote.

#include <android-base/stringprintf.h>
#include <recorder/raw_recorder.h>

#include <fstream>
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "run_program.h"
#include "temp_dir.h"

namespace autl {
namespace {

using aidl::android::media::audio::common::PcmType;
using android::base::StringPrintf;
using test::ProgramRun;
using test::ReadFile;
using vendor::zentro::tevrash::audio::hal::utils::recorder::EncodedRecorder;
using vendor::zentro::tevrash::audio::hal::utils::recorder::RawRecorder;
using vendor::zentro::tevrash::audio::hal::utils::recorder::WaveRecorder;

ProgramRun Autl(std::vector<std::string> args) {
    args.insert(args.begin(), AUTL_TOOL);
    return test::RunProgram(std::move(args));
}

void Append(const std::string& path, const std::string& bytes) {
    std::ofstream(path, std::ios::binary | std::ios::app) << bytes;
}

class CaptureCommandTest : public testing::Test {
  protected:
    // Records the chunks into a new file; returns its path.
    std::string Record(RawRecorder&& recorder, const std::vector<std::string>& chunks) {
        recorder.Start();
        for (std::string chunk : chunks)
            recorder.Record(chunk.data(), static_cast<int>(chunk.size()));
        return recorder.GetPath();
    }
    std::string Capture(const std::vector<std::string>& chunks, int channels = 2, int rate = 48000,
                        PcmType pcm_type = PcmType::INT_16_BIT) {
        const std::string prefix = "enc" + std::to_string(++files_);
        return Record(EncodedRecorder(dir_.path(), prefix, channels, rate, pcm_type), chunks);
    }

    test::TempDir dir_;
    int files_ = 0;
};

// The fields of a header for 2 channels at 48000 Hz, 16 bits.
constexpr char kFields[] =
        "chunk id          'RIFF'\n"
        "chunk size        186\n"
        "format            'WAVE'\n"
        "sub-chunk 1 id    'fmt '\n"
        "sub-chunk 1 size  16\n"
        "audio format      1 (PCM)\n"
        "channels          2\n"
        "sample rate       48000\n"
        "byte rate         %d\n"
        "block align       4\n"
        "bits per sample   16\n"
        "sub-chunk 2 id    'data'\n"
        "data size         %d\n"
        "file size         %d\n"
        "data on disk      %s\n";

// `tap0 info` lists the frames up to any damage, which goes to stderr with its offset. `tap0 wav`
// writes the file WaveRecorder would have, leaving out a frame cut short as a killed recorder
// leaves it. `wav info` prints the header's fields and what it counts of the data on disk; every
// inconsistency goes to stderr.
TEST_F(CaptureCommandTest, Commands_OnRecordedFiles) {
    const std::string damaged =
            Capture({std::string(1920, 'a'), "0123456789"}, 1, 16000, PcmType::FLOAT_32_BIT);
    Append(damaged, "tap1 and the rest");
    const std::string changing = Capture({"ab"});
    Append(changing, ReadFile(Capture({"cd"}, 1, 8000, PcmType::DEFAULT)));
    Append(changing, ReadFile(Capture({"ef"})));
    const std::string columns = "offset      length   channels  rate    format        word\n";
    const std::string wav = Record(WaveRecorder(dir_.path(), "wav", 2, 48000, PcmType::INT_16_BIT),
                                   {std::string(100, 'a'), std::string(50, 'a')});
    // Data after what the header counts, as a second recording in the same second leaves it.
    const std::string extra = dir_.Join("extra.wav");
    std::ofstream(extra) << ReadFile(wav) << std::string(10, 'b');
    // Byte rate 1000 and data size 200.
    const std::string bad = dir_.Join("bad.wav");
    std::ofstream(bad) << ReadFile(wav).replace(28, 4, "\xe8\x03\0\0", 4).replace(40, 1, "\xc8");
    const std::vector<std::string> chunks = {std::string(1920, 'a'), std::string(6, 'b')};
    const std::string wave =
            Record(WaveRecorder(dir_.path(), "wav24", 1, 44100, PcmType::INT_24_BIT), chunks);
    const std::string capture = Capture(chunks, 1, 44100, PcmType::INT_24_BIT);
    const std::string cut = dir_.Join("cut.audio_enc");
    std::ofstream(cut) << ReadFile(capture) << ReadFile(capture).substr(0, 30);
    const std::string out = dir_.Join("out.wav");
    const std::string cut_out = dir_.Join("cut.wav");
    const std::string converted =
            ": 2 frames, 1926 data bytes, 0x01543007: 1 channel, 44100 Hz, INT_24_BIT\n";
    const struct {
        std::vector<std::string> args;
        int status;
        std::string out;
        std::string err;
    } cases[] = {
            {{"tap0", "info", Capture({})}, 0, columns + "0 frames, 0 payload bytes\n", ""},
            {{"tap0", "info", damaged},
             1,
             columns + "0           1920     1         16000   FLOAT_32_BIT  0x00613007\n"
                       "1940        10       1         16000   FLOAT_32_BIT  0x00613007\n"
                       "2 frames, 1930 payload bytes, 0.030 s of audio\n",
             "autl tap0: " + damaged + ": frame 2 at offset 1970: bad marker 'tap1', not 'tap0'\n"},
            {{"tap0", "info", changing},
             0,
             columns + "0           2        2         48000   INT_16_BIT    0x01355007\n"
                       "22          2        1         8000    DEFAULT       0x01103007\n"
                       "44          2        2         48000   INT_16_BIT    0x01355007\n"
                       "3 frames, 6 payload bytes, 2 format changes\n",
             ""},
            {{"tap0", "wav", capture, out}, 0, out + converted, ""},
            {{"tap0", "wav", cut, cut_out},
             0,
             cut_out + converted,
             "autl tap0: " + cut +
                     ": frame 2 at offset 1966: truncated payload: 10 of 1920 bytes; the frame is "
                     "left out\n"},
            {{"wav", "info", wav},
             0,
             StringPrintf(kFields, 192000, 150, 194, "150 bytes, all counted"),
             ""},
            {{"wav", "info", extra},
             0,
             StringPrintf(kFields, 192000, 150, 204, "160 bytes, 10 not counted"),
             ""},
            {{"wav", "info", bad},
             1,
             StringPrintf(kFields, 1000, 200, 194, "150 bytes, 50 fewer than counted"),
             "autl wav: " + bad +
                     ": byte rate 1000 is not channels x sample rate x bits / 8 (192000)\n"
                     "autl wav: " +
                     bad + ": chunk size 186 is not 36 + data size (236)\nautl wav: " + bad +
                     ": data size 200 counts more than the 150 bytes after the header\n"},
    };
    for (const auto& c : cases) {
        const ProgramRun run = Autl(c.args);
        EXPECT_EQ(run.status, c.status) << c.args.back();
        EXPECT_EQ(run.out, c.out);
        EXPECT_EQ(run.err, c.err);
    }
    EXPECT_EQ(ReadFile(out), ReadFile(wave));
    EXPECT_EQ(ReadFile(cut_out), ReadFile(wave));
}

}  // namespace
}  // namespace autl
