// `autl tap0`, run as a program on captures that EncodedRecorder wrote.

#include <recorder/raw_recorder.h>
#include <unistd.h>

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
using test::ProgramRun;
using test::ReadFile;
using vendor::zentro::tevrash::audio::hal::utils::recorder::EncodedRecorder;
using vendor::zentro::tevrash::audio::hal::utils::recorder::WaveRecorder;

const std::string kHelp = "Try 'autl tap0 --help'.\n";
constexpr char kColumns[] = "offset      length   channels  rate    format        word\n";

ProgramRun Tap0(std::vector<std::string> args) {
    args.insert(args.begin(), {AUTL_TOOL, "tap0"});
    return test::RunProgram(std::move(args));
}

void Append(const std::string& path, const std::string& bytes) {
    std::ofstream(path, std::ios::binary | std::ios::app) << bytes;
}

class Tap0CommandTest : public testing::Test {
  protected:
    // Records the chunks, each as one frame, into a new capture; returns its path.
    std::string Record(const std::vector<std::string>& chunks, int channels = 2, int rate = 48000,
                       PcmType pcm_type = PcmType::INT_16_BIT) {
        EncodedRecorder recorder(dir_.path(), "enc" + std::to_string(++captures_), channels, rate,
                                 pcm_type);
        recorder.Start();
        for (std::string chunk : chunks) {
            recorder.Record(chunk.data(), static_cast<int>(chunk.size()));
        }
        return recorder.GetPath();
    }

    test::TempDir dir_;
    int captures_ = 0;
};

TEST_F(Tap0CommandTest, Info_ListsEveryFrameAndASummary) {
    const std::string capture =
            Record({std::string(1920, 'a'), std::string(10, 'b'), std::string(1920, 'c')});
    const ProgramRun run = Tap0({"info", capture});
    EXPECT_EQ(run.status, 0);
    EXPECT_EQ(run.out, std::string(kColumns) +
                               "0           1920     2         48000   INT_16_BIT    0x01355007\n"
                               "1940        10       2         48000   INT_16_BIT    0x01355007\n"
                               "1970        1920     2         48000   INT_16_BIT    0x01355007\n"
                               "3 frames, 3850 payload bytes, 0.020 s of audio\n");
    EXPECT_EQ(run.err, "");

    const ProgramRun empty = Tap0({"info", Record({})});
    EXPECT_EQ(empty.status, 0);
    EXPECT_EQ(empty.out, std::string(kColumns) + "0 frames, 0 payload bytes\n");
}

// Frames up to the damage are listed; the damage goes to stderr with its offset.
TEST_F(Tap0CommandTest, Info_DamagedCapture_ReportsWhereAndFails) {
    const std::string capture = Record({"0123456789"}, 1, 16000, PcmType::FLOAT_32_BIT);
    Append(capture, "tap1 and the rest");
    const ProgramRun run = Tap0({"info", capture});
    EXPECT_EQ(run.status, 1);
    EXPECT_EQ(run.out, std::string(kColumns) +
                               "0           10       1         16000   FLOAT_32_BIT  0x00613007\n"
                               "1 frame, 10 payload bytes, 0.000 s of audio\n");
    EXPECT_EQ(run.err,
              "autl tap0: " + capture + ": frame 1 at offset 30: bad marker 'tap1', not 'tap0'\n");
}

TEST_F(Tap0CommandTest, Info_FormatChanges_AreCounted) {
    const std::string capture = Record({"ab"});
    Append(capture, ReadFile(Record({"cd"}, 1, 8000, PcmType::DEFAULT)));
    Append(capture, ReadFile(Record({"ef"})));
    const ProgramRun run = Tap0({"info", capture});
    EXPECT_EQ(run.status, 0);
    EXPECT_EQ(run.out, std::string(kColumns) +
                               "0           2        2         48000   INT_16_BIT    0x01355007\n"
                               "22          2        1         8000    DEFAULT       0x01103007\n"
                               "44          2        2         48000   INT_16_BIT    0x01355007\n"
                               "3 frames, 6 payload bytes, 2 format changes\n");
}

TEST_F(Tap0CommandTest, Wav_WritesWhatWaveRecorderWouldHave) {
    const std::vector<std::string> chunks = {std::string(1920, 'a'), std::string(6, 'b')};
    WaveRecorder wave(dir_.path(), "wav", 1, 44100, PcmType::INT_24_BIT);
    wave.Start();
    for (std::string chunk : chunks) wave.Record(chunk.data(), static_cast<int>(chunk.size()));
    const std::string capture = Record(chunks, 1, 44100, PcmType::INT_24_BIT);
    const std::string out = dir_.Join("out.wav");

    const ProgramRun run = Tap0({"wav", capture, out});
    EXPECT_EQ(run.status, 0);
    EXPECT_EQ(run.out, out + ": 2 frames, 1926 data bytes, 0x01543007: 1 channel, 44100 Hz, "
                             "INT_24_BIT\n");
    EXPECT_EQ(run.err, "");
    EXPECT_EQ(ReadFile(out), ReadFile(wave.GetPath()));

    // A frame cut short, as a killed recorder leaves it, is left out with a note.
    Append(capture, ReadFile(capture).substr(0, 30));
    const ProgramRun cut = Tap0({"wav", capture, out});
    EXPECT_EQ(cut.status, 0);
    EXPECT_EQ(cut.err, "autl tap0: " + capture +
                               ": frame 2 at offset 1966: truncated payload: 10 of 1920 bytes; "
                               "the frame is left out\n");
    EXPECT_EQ(ReadFile(out), ReadFile(wave.GetPath()));
}

TEST_F(Tap0CommandTest, Errors_NameTheFileAndTheReason) {
    const std::string capture = Record({"abcd"});
    const std::string changing = Record({"abcd"});
    Append(changing, ReadFile(Record({"efgh"}, 2, 44100)));
    const std::string no_pcm = dir_.Join("no_pcm.audio_enc");
    Append(no_pcm, ReadFile(capture).replace(4, 4, std::string("\x07\x30\xa5\x02", 4)));
    const std::string missing = dir_.Join("missing");
    const std::string out = dir_.Join("out.wav");
    struct Case {
        std::vector<std::string> args;
        int status;
        std::string err;
    };
    const Case cases[] = {
            {{}, 2, "autl tap0: missing action: info or wav\n" + kHelp},
            {{"list", capture}, 2, "autl tap0: unknown action 'list'\n" + kHelp},
            {{"info"}, 2, "autl tap0: wrong number of arguments for info\n" + kHelp},
            {{"wav", capture}, 2, "autl tap0: wrong number of arguments for wav\n" + kHelp},
            {{"info", "--all", capture}, 2, "autl tap0: unknown option '--all'\n" + kHelp},
            {{"info", missing},
             1,
             "autl tap0: cannot open " + missing + ": No such file or directory\n"},
            {{"info", dir_.path()},
             1,
             "autl tap0: cannot read " + dir_.path() + ": not a regular file\n"},
            {{"wav", changing, out},
             1,
             "autl tap0: " + changing +
                     ": frame 1 at offset 24 changes the format from 0x01355007: 2 channels, 48000 "
                     "Hz, INT_16_BIT to 0x01345007: 2 channels, 44100 Hz, INT_16_BIT\n"},
            {{"wav", no_pcm, out},
             1,
             "autl tap0: " + no_pcm +
                     ": the format is no PCM: 0x02a53007: 1 channel, 48000 Hz, code 0x2a\n"},
            {{"wav", capture, capture}, 1, "autl tap0: " + capture + " is the capture itself\n"},
            {{"wav", capture, missing + "/out.wav"},
             1,
             "autl tap0: cannot write " + missing + "/out.wav: No such file or directory\n"},
    };
    for (const Case& c : cases) {
        const ProgramRun run = Tap0(c.args);
        EXPECT_EQ(run.status, c.status) << c.err;
        EXPECT_EQ(run.out, "");
        EXPECT_EQ(run.err, c.err);
    }
    EXPECT_NE(access(out.c_str(), F_OK), 0);
    EXPECT_EQ(ReadFile(capture).size(), 24u);
}

}  // namespace
}  // namespace autl
