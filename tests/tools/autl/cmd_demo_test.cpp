// `autl demo`, run as a program: the session's dump holds every component's section, honours the
// dump's filters, and bad arguments are refused with the right status and message.

#include <sys/stat.h>

#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "run_program.h"
#include "temp_dir.h"

namespace autl {
namespace {

using test::ProgramRun;
using test::RunProgram;
using test::TempDir;
using ::testing::AllOf;
using ::testing::HasSubstr;
using ::testing::Not;

ProgramRun Demo(std::vector<std::string> args) {
    args.insert(args.begin(), {AUTL_TOOL, "demo"});
    return RunProgram(std::move(args));
}

TEST(DemoCommandTest, Session_DumpsEveryComponentAndRecords) {
    TempDir dir;
    // A configuration tree where one of the files the demo looks up exists.
    const std::string root = dir.Join("root");
    std::filesystem::create_directories(root + "/vendor/etc/audio/spatializer");
    std::ofstream(root + "/vendor/etc/audio/spatializer/spatializer.xml") << "<spatializer/>";

    const ProgramRun run = Demo({"--seconds", "1", "--out", dir.Join("captures"), "--root", root});
    ASSERT_EQ(run.status, 0) << run.err;
    EXPECT_THAT(
            run.out,
            AllOf(HasSubstr("Module calls:\n  Interaction logger("),
                  HasSubstr("   -- SCO Enabled\n"),
                  HasSubstr(" IModule::openOutputStream: args(1): [args: "
                            "OpenOutputStreamArguments{portConfigId: 21, "),
                  HasSubstr("Stream out 0 commands:\n  Interaction logger("),
                  HasSubstr(" StreamDescriptor::Command: args(1): [command: "
                            "Command{start: Void{}}], ret: Reply{"),
                  HasSubstr("[command: Command{burst: 960}]"),
                  HasSubstr("contiguous calls: [count: "), HasSubstr("Resources:\n  #: size: 3\n"),
                  HasSubstr("  spatializer: " + root + "/vendor/etc/audio/spatializer/\n"),
                  HasSubstr("APEX version: {major: -1, minor: -1}\n"),
                  HasSubstr("\nCaptures of stream out 0:\n")));
    EXPECT_THAT(run.err, AllOf(HasSubstr("autl demo: 1/1 s, "),
                               HasSubstr("GetFilePath: " + root +
                                         "/vendor/etc/audio/spatializer/spatializer.xml exist")));

    // The two captures, named in the output, hold about a second of audio each.
    std::vector<std::string> captures;
    for (const auto& entry : std::filesystem::directory_iterator(dir.Join("captures"))) {
        captures.push_back(entry.path().filename());
        EXPECT_THAT(run.out, HasSubstr("  " + entry.path().string() + "\n"));
        EXPECT_GT(std::filesystem::file_size(entry.path()), 100u * 1000u);
    }
    ASSERT_EQ(captures.size(), 2u);
    const ProgramRun wav = RunProgram(
            {AUTL_TOOL, "wav", "info",
             dir.Join("captures/") + (captures[0].ends_with(".wav") ? captures[0] : captures[1])});
    EXPECT_EQ(wav.status, 0) << wav.err;
    EXPECT_THAT(wav.out, HasSubstr("all counted"));
}

TEST(DemoCommandTest, Filters_SelectSectionsLikeTheDumpRequest) {
    TempDir dir;
    const ProgramRun resources = Demo({"--seconds", "1", "--out", dir.path(), "AUtl::Res"});
    ASSERT_EQ(resources.status, 0) << resources.err;
    EXPECT_THAT(resources.out, AllOf(HasSubstr("Resources:\n"), Not(HasSubstr("Interaction")),
                                     Not(HasSubstr("Module calls:"))));
    EXPECT_THAT(resources.out, HasSubstr("Captures of stream out 0:"));

    const ProgramRun loggers =
            Demo({"--seconds", "1", "--out", dir.path(), "AUtl::Logger", "AUtl::Nothing"});
    ASSERT_EQ(loggers.status, 0) << loggers.err;
    EXPECT_THAT(loggers.out, AllOf(HasSubstr("Module calls:\n"), HasSubstr("Stream out 0 commands:"),
                                   Not(HasSubstr("Resources:")), Not(HasSubstr("APEX version"))));
}

TEST(DemoCommandTest, BadArguments_Refused) {
    TempDir dir;
    std::ofstream(dir.Join("file")) << "x";
    struct Case {
        std::vector<std::string> args;
        int status;
        std::string err;
    };
    const std::string hint = "Try 'autl demo --help'.\n";
    const Case cases[] = {
            {{"--seconds", "0"},
             2,
             "autl demo: invalid --seconds '0': expected a whole number from 1 to 3600\n" + hint},
            {{"--seconds", "2x"},
             2,
             "autl demo: invalid --seconds '2x': expected a whole number from 1 to 3600\n" + hint},
            {{"--seconds"}, 2, "autl demo: option --seconds needs a value\n" + hint},
            {{"--speed", "2"}, 2, "autl demo: unknown option '--speed'\n" + hint},
            {{"--root", dir.Join("missing")},
             1,
             "autl demo: --root '" + dir.Join("missing") + "' is not a folder\n"},
            {{"--out", dir.Join("file/captures")},
             1,
             "autl demo: cannot create folder '" + dir.Join("file/captures") +
                     "': Not a directory\n"},
    };
    for (const Case& c : cases) {
        const ProgramRun run = Demo(c.args);
        EXPECT_EQ(run.status, c.status) << c.args[0];
        EXPECT_EQ(run.err, c.err);
        EXPECT_EQ(run.out, "");
    }
    const ProgramRun help = Demo({"--help"});
    EXPECT_EQ(help.status, 0);
    EXPECT_THAT(help.out, HasSubstr("usage: autl demo [--seconds N] [--out DIR] [--root DIR] "
                                    "[FILTER...]\n"));
}

}  // namespace
}  // namespace autl
