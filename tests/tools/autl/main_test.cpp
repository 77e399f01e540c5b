// The autl program's command line: the overview, help of a command, and the exit status and message
// of every command's usage errors (2) and bad inputs (1).

#include <unistd.h>

#include <fstream>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "little_endian.h"
#include "run_program.h"
#include "temp_dir.h"

namespace autl {
namespace {

using test::Le32;
using test::ProgramRun;
using test::ReadFile;
using test::RunProgram;
using ::testing::HasSubstr;
using ::testing::StartsWith;

ProgramRun Autl(std::vector<std::string> args) {
    args.insert(args.begin(), AUTL_TOOL);
    return RunProgram(std::move(args));
}

std::string Frame(uint32_t word, const std::string& payload) {
    return "tap0" + Le32(word) + std::string(8, '\0') +
           Le32(static_cast<uint32_t>(payload.size())) + payload;
}

// Usage errors exit with 2 and a hint at the help, bad inputs with 1.
TEST(AutlTest, HelpAndUsageErrors) {
    const ProgramRun run = Autl({"help"});
    EXPECT_EQ(run.status, 0);
    EXPECT_THAT(run.out, StartsWith("usage: autl [-v] <command> [arguments]\n"));
    for (const char* command : {"help", "demo", "calls", "mixer", "raw", "tap0", "wav"}) {
        EXPECT_THAT(run.out, HasSubstr(std::string("\n  ") + command + " ")) << command;
    }
    EXPECT_EQ(Autl({"--help"}).out, run.out);
    EXPECT_EQ(Autl({"-v", "-h"}).out, run.out);
    EXPECT_EQ(Autl({"--version"}).out,
              "autl " AUTL_VERSION " (vendor.zentro.tevrash.audio.hal.utils)\n");
    const ProgramRun demo = Autl({"help", "demo"});
    EXPECT_EQ(demo.status, 0);
    EXPECT_THAT(demo.out, StartsWith("usage: autl demo [--seconds N] [--out DIR] [--root DIR] "
                                     "[FILTER...]\n"));
    EXPECT_EQ(demo.out, Autl({"demo", "--help"}).out);

    const struct {
        std::vector<std::string> args;
        std::string err;
    } cases[] = {
            {{}, run.out},
            {{"play", "x"}, "autl: unknown command 'play'\nTry 'autl help'.\n"},
            {{"help", "play"}, "autl help: unknown command 'play'\n"},
            {{"--verbosity", "demo"}, "autl: unknown option '--verbosity'\nTry 'autl --help'.\n"},
    };
    for (const auto& c : cases) {
        const ProgramRun error = Autl(c.args);
        EXPECT_EQ(error.status, 2);
        EXPECT_EQ(error.out, "");
        EXPECT_EQ(error.err, c.err);
    }
}

// Each message follows "autl COMMAND: "; a usage error (2) ends with a hint at the help.
TEST(AutlTest, CommandErrors_ExitWithTheirStatusAndSayWhy) {
    test::TempDir dir;
    const std::string missing = dir.Join("missing");
    const std::string out = dir.Join("out.wav");
    const std::string capture = dir.Join("capture.audio_enc");
    std::ofstream(capture) << Frame(0x01355007, "abcd");
    const std::string changing = dir.Join("changing.audio_enc");
    std::ofstream(changing) << Frame(0x01355007, "abcd") << Frame(0x01345007, "efgh");
    const std::string short_wav = dir.Join("short.wav");
    std::ofstream(short_wav) << "RIFF";
    const std::string seconds = "': expected a whole number from 1 to 3600";
    struct Case {
        std::vector<std::string> args;
        int status;
        std::string err;
    };
    const Case cases[] = {
            {{"demo", "--seconds=0"}, 2, "invalid --seconds '0" + seconds},
            {{"demo", "--sec", "2x"}, 2, "invalid --seconds '2x" + seconds},
            {{"demo", "--seconds"}, 2, "option --seconds needs a value"},
            {{"demo", "--speed=2"}, 2, "unknown option '--speed'"},
            {{"demo", "-x"}, 2, "unknown option '-x'"},
            {{"demo", "--root", missing}, 1, "--root '" + missing + "' is not a folder"},
            {{"demo", "--out", capture + "/captures"},
             1,
             "cannot create folder '" + capture + "/captures': Not a directory"},
            {{"tap0"}, 2, "missing action: info or wav"},
            {{"tap0", "list", capture}, 2, "unknown action 'list'"},
            {{"tap0", "info"}, 2, "wrong number of arguments for info"},
            {{"tap0", "info", "--summary=1", capture}, 2, "option --summary takes no value"},
            {{"tap0", "info", "--rate", "8000", capture}, 2, "--rate does not apply to info"},
            {{"tap0", "wav", "--channels", "0", capture, out},
             2,
             "invalid --channels '0': expected 1 to 256"},
            {{"tap0", "info", missing}, 1, "cannot open " + missing + ": No such file or directory"},
            {{"tap0", "info", dir.path()}, 1, "cannot read " + dir.path() + ": not a regular file"},
            {{"tap0", "wav", changing, out},
             1,
             changing + ": frame 1 at offset 24 changes the format from 0x01355007: 2 channels, "
                        "48000 Hz, INT_16_BIT to 0x01345007: 2 channels, 44100 Hz, INT_16_BIT"},
            {{"tap0", "wav", capture, capture}, 1, capture + " is the input itself"},
            {{"tap0", "wav", capture, missing + "/out.wav"},
             1,
             "cannot write " + missing + "/out.wav: No such file or directory"},
            {{"wav"}, 2, "missing action: info"},
            {{"wav", "show", capture}, 2, "unknown action 'show'"},
            {{"wav", "info"}, 2, "wrong number of arguments for info"},
            {{"wav", "info", missing}, 1, "cannot open " + missing + ": No such file or directory"},
            {{"wav", "info", short_wav}, 1, short_wav + ": 4 bytes, fewer than a 44-byte WAV header"},
            {{"raw", "wav", "--rate", "8000", "--format", "INT_16_BIT", capture, out},
             2,
             "missing --channels: a raw capture does not say it"},
            {{"raw", "wav", "--rate", "8000", "--channels", "1", "--format", "S16", capture, out},
             2,
             "invalid --format 'S16': expected UINT_8_BIT, INT_16_BIT, INT_24_BIT, INT_32_BIT, "
             "FIXED_Q_8_24 or FLOAT_32_BIT"},
            {{"calls"}, 2, "missing FILE"},
            {{"calls", capture}, 1, capture + ": no interaction logger section"},
    };
    for (const Case& c : cases) {
        const ProgramRun run = Autl(c.args);
        EXPECT_EQ(run.status, c.status) << c.err;
        EXPECT_EQ(run.out, "") << c.err;
        EXPECT_EQ(run.err, "autl " + c.args[0] + ": " + c.err + "\n" +
                                   (c.status == 2 ? "Try 'autl " + c.args[0] + " --help'.\n" : ""));
    }
    EXPECT_NE(access(out.c_str(), F_OK), 0);
    EXPECT_EQ(ReadFile(capture), Frame(0x01355007, "abcd"));
}

}  // namespace
}  // namespace autl
