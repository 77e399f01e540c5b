// `autl wav`, run as a program on files that WaveRecorder wrote.

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
using test::ProgramRun;
using vendor::zentro::tevrash::audio::hal::utils::recorder::WaveRecorder;

ProgramRun Wav(std::vector<std::string> args) {
    args.insert(args.begin(), {AUTL_TOOL, "wav"});
    return test::RunProgram(std::move(args));
}

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
        "byte rate         %s\n"
        "block align       4\n"
        "bits per sample   16\n"
        "sub-chunk 2 id    'data'\n"
        "data size         %s\n"
        "file size         %s\n"
        "data on disk      %s\n";

std::string Fields(const std::string& byte_rate, const std::string& data_size,
                   const std::string& file_size, const std::string& on_disk) {
    std::string text = kFields;
    for (const std::string& value : {byte_rate, data_size, file_size, on_disk}) {
        text.replace(text.find("%s"), 2, value);
    }
    return text;
}

class WavCommandTest : public testing::Test {
  protected:
    void SetUp() override {
        WaveRecorder recorder(dir_.path(), "wav", 2, 48000, PcmType::INT_16_BIT);
        recorder.Start();
        std::string chunk(100, 'a');
        recorder.Record(chunk.data(), 100);
        recorder.Record(chunk.data(), 50);
        path_ = recorder.GetPath();
    }

    void Write(size_t at, const std::string& bytes) {
        std::fstream file(path_, std::ios::in | std::ios::out | std::ios::binary);
        file.seekp(static_cast<std::streamoff>(at));
        file << bytes;
    }

    test::TempDir dir_;
    std::string path_;
};

TEST_F(WavCommandTest, Info_PrintsTheHeaderAndWhatItCounts) {
    const ProgramRun run = Wav({"info", path_});
    EXPECT_EQ(run.status, 0);
    EXPECT_EQ(run.out, Fields("192000", "150", "194", "150 bytes, all counted"));
    EXPECT_EQ(run.err, "");

    // Data after what the header counts, as a second recording in the same second leaves it.
    std::ofstream(path_, std::ios::binary | std::ios::app) << std::string(10, 'b');
    const ProgramRun extra = Wav({"info", path_});
    EXPECT_EQ(extra.status, 0);
    EXPECT_EQ(extra.out, Fields("192000", "150", "204", "160 bytes, 10 not counted"));
    EXPECT_EQ(extra.err, "");
}

TEST_F(WavCommandTest, Info_InconsistentHeader_ListsEveryProblemAndFails) {
    Write(28, std::string("\xe8\x03\0\0", 4));  // byte rate 1000
    Write(40, std::string("\xc8\0\0\0", 4));    // data size 200
    const ProgramRun run = Wav({"info", path_});
    EXPECT_EQ(run.status, 1);
    EXPECT_EQ(run.out, Fields("1000", "200", "194", "150 bytes, 50 fewer than counted"));
    EXPECT_EQ(run.err,
              "autl wav: " + path_ +
                      ": byte rate 1000 is not channels x sample rate x bits / 8 (192000)\n"
                      "autl wav: " +
                      path_ +
                      ": chunk size 186 is not 36 + data size (236)\n"
                      "autl wav: " +
                      path_ + ": data size 200 counts more than the 150 bytes after the header\n");
}

TEST_F(WavCommandTest, Errors_NameTheFileAndTheReason) {
    const std::string help = "Try 'autl wav --help'.\n";
    const std::string short_file = dir_.Join("short.wav");
    std::ofstream(short_file) << "RIFF";
    const std::string missing = dir_.Join("missing.wav");
    struct Case {
        std::vector<std::string> args;
        int status;
        std::string err;
    };
    const Case cases[] = {
            {{}, 2, "autl wav: missing action: info\n" + help},
            {{"show", path_}, 2, "autl wav: unknown action 'show'\n" + help},
            {{"info"}, 2, "autl wav: wrong number of arguments for info\n" + help},
            {{"info", path_, path_}, 2, "autl wav: wrong number of arguments for info\n" + help},
            {{"info", missing},
             1,
             "autl wav: cannot open " + missing + ": No such file or directory\n"},
            {{"info", short_file},
             1,
             "autl wav: " + short_file + ": 4 bytes, fewer than a 44-byte WAV header\n"},
    };
    for (const Case& c : cases) {
        const ProgramRun run = Wav(c.args);
        EXPECT_EQ(run.status, c.status) << c.err;
        EXPECT_EQ(run.out, "");
        EXPECT_EQ(run.err, c.err);
    }
}

}  // namespace
}  // namespace autl
