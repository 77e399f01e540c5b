// `autl tap0`, `autl raw` and `autl wav`, run as a program on files that the recorders wrote.

#include <android-base/stringprintf.h>
#include <recorder/raw_recorder.h>
#include <unistd.h>

#include <fstream>
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

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

// `tap0 info` lists the frames (or runs of equal frames) and reports damage on stderr with its
// offset, going on after a torn frame. `tap0 wav` and `raw wav` write the file WaveRecorder would
// have, leaving out a frame cut short as a killed recorder leaves it and a frame torn by a full
// disk. `wav info` prints the header's fields and what it counts of the data on disk; every
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
    const std::string raw = Record(RawRecorder(dir_.path(), "raw"), {chunks[0], chunks[1]});
    const std::string cut = dir_.Join("cut.audio_enc");
    std::ofstream(cut) << ReadFile(capture) << ReadFile(capture).substr(0, 30);
    // The disk filled 100 bytes into the second frame, the third one was written later.
    const std::string torn = dir_.Join("torn.audio_enc");
    const std::string frames = ReadFile(
            Capture({chunks[0], std::string(1920, 'x'), chunks[1]}, 1, 44100, PcmType::INT_24_BIT));
    std::ofstream(torn) << frames.substr(0, 1940 + 120) << frames.substr(2 * 1940);
    const std::string out = dir_.Join("out.wav");
    const std::string cut_out = dir_.Join("cut.wav");
    const std::string torn_out = dir_.Join("torn.wav");
    const std::string raw_out = dir_.Join("raw.wav");
    const std::string torn_damage =
            "autl tap0: " + torn +
            ": frame 1 at offset 1940: torn frame: a frame header at offset "
            "2060 inside its payload of 1920 bytes; 120 bytes skipped\n";
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
            {{"tap0", "info", "--summary", Capture({"ab", "cd", "efg"})},
             0,
             "first       frames   length   channels  rate    format        word\n"
             "0           2        2        2         48000   INT_16_BIT    0x01355007\n"
             "44          1        3        2         48000   INT_16_BIT    0x01355007\n"
             "3 frames, 7 payload bytes, 0.000 s of audio\n",
             ""},
            {{"tap0", "info", torn},
             1,
             columns + "0           1920     1         44100   INT_24_BIT    0x01543007\n"
                       "2060        6        1         44100   INT_24_BIT    0x01543007\n"
                       "2 frames, 1926 payload bytes, 0.015 s of audio, 120 bytes skipped\n",
             torn_damage},
            {{"tap0", "wav", torn, torn_out}, 0, torn_out + converted, torn_damage},
            {{"raw", "wav", raw, raw_out, "--rate=44100", "--channels=1", "--format=int_24_bit"},
             0,
             raw_out + ": 1926 data bytes, 1 channel, 44100 Hz, INT_24_BIT, 0.015 s of audio\n",
             ""},
            {{"tap0", "wav", "--rate", "22050", "--channels", "9", capture, out},
             0,
             out + ": 2 frames, 1926 data bytes, 0x01543007 taken as 9 channels, 22050 Hz, "
                   "INT_24_BIT\n",
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
    for (const std::string& converted_file : {out, cut_out, torn_out, raw_out}) {
        EXPECT_EQ(ReadFile(converted_file), ReadFile(wave)) << converted_file;
    }

    // Standard input, and JSON.
    const ProgramRun json = test::RunProgram(
            {"/bin/sh", "-c", std::string(AUTL_TOOL) + " tap0 info --summary --json - < " + torn});
    EXPECT_EQ(json.status, 1);
    EXPECT_EQ(nlohmann::json::parse(json.out), nlohmann::json::parse(R"({
        "file": "standard input",
        "runs": [{"offset": 0, "frames": 1, "length": 1920, "channels": 1, "sample_rate": 44100,
                  "format": "INT_24_BIT", "word": 22294535},
                 {"offset": 2060, "frames": 1, "length": 6, "channels": 1, "sample_rate": 44100,
                  "format": "INT_24_BIT", "word": 22294535}],
        "damage": [{"frame": 1, "offset": 1940, "skipped": 120, "message": "frame 1 at offset 1940: torn frame: a frame header at offset 2060 inside its payload of 1920 bytes; 120 bytes skipped"}],
        "summary": {"frames": 2, "payload_bytes": 1926, "format_changes": 0,
                    "seconds": 0.0145578231292517, "skipped_bytes": 120}})"));
}

// A full disk fails the command (exit 1) and leaves no file that seems whole; a device stays.
TEST_F(CaptureCommandTest, FullOutput_Fails) {
    if (access("/dev/full", W_OK) != 0) GTEST_SKIP() << "no /dev/full";
    const std::string capture = Capture({"abcd"});
    const ProgramRun to_file = Autl({"tap0", "wav", capture, "/dev/full"});
    EXPECT_EQ(to_file.status, 1);
    EXPECT_EQ(to_file.err, "autl tap0: cannot write /dev/full: No space left on device\n");
    EXPECT_EQ(access("/dev/full", W_OK), 0);
    const ProgramRun to_stdout = test::RunProgram(
            {"/bin/sh", "-c", std::string(AUTL_TOOL) + " tap0 info " + capture + " > /dev/full"});
    EXPECT_EQ(to_stdout.status, 1);
    EXPECT_EQ(to_stdout.err, "autl tap0: cannot write standard output: No space left on device\n");
}

}  // namespace
}  // namespace autl
