// `autl demo`, run as a program: the session's dump holds every component's section and honours
// the dump's filters.

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
using ::testing::AllOf;
using ::testing::HasSubstr;
using ::testing::Not;

TEST(DemoCommandTest, Session_DumpsEveryComponentAndRecords) {
    test::TempDir dir;
    // A configuration tree where one of the files the demo looks up exists.
    const std::string root = dir.Join("root");
    const std::string spatializer = root + "/vendor/etc/audio/spatializer/";
    std::filesystem::create_directories(spatializer);
    std::ofstream(spatializer + "spatializer.xml") << "<spatializer/>";

    const ProgramRun run = RunProgram(
            {AUTL_TOOL, "demo", "--seconds", "1", "--out", dir.Join("captures"), "--root", root});
    ASSERT_EQ(run.status, 0) << run.err;
    EXPECT_THAT(run.out, AllOf(HasSubstr("Module calls:\n  Interaction logger("),
                               HasSubstr("   -- SCO Enabled\n"),
                               HasSubstr(" IModule::openOutputStream: args(1): [args: "
                                         "OpenOutputStreamArguments{portConfigId: 21, "),
                               HasSubstr("Stream out 0 commands:\n  Interaction logger("),
                               HasSubstr(" StreamDescriptor::Command: args(1): [command: "
                                         "Command{start: Void{}}], ret: Reply{"),
                               HasSubstr("[command: Command{burst: 960}]"),
                               HasSubstr("contiguous calls: [count: "),
                               HasSubstr("Resources:\n  #: size: 3\n"),
                               HasSubstr("  spatializer: " + spatializer + "\n"),
                               HasSubstr("APEX version: {major: -1, minor: -1}\n"),
                               HasSubstr("\nCaptures of stream out 0:\n")));
    EXPECT_THAT(run.err, AllOf(HasSubstr("autl demo: 1/1 s, "),
                               HasSubstr("GetFilePath: " + spatializer + "spatializer.xml exist")));

    // The two captures, named in the output, hold about a second of audio each; the WAV file's
    // header counts all of its data.
    int captures = 0;
    for (const auto& entry : std::filesystem::directory_iterator(dir.Join("captures"))) {
        ++captures;
        EXPECT_THAT(run.out, HasSubstr("  " + entry.path().string() + "\n"));
        EXPECT_GT(std::filesystem::file_size(entry.path()), 100u * 1000u);
        if (entry.path().extension() != ".wav") continue;
        const ProgramRun wav = RunProgram({AUTL_TOOL, "wav", "info", entry.path()});
        EXPECT_EQ(wav.status, 0) << wav.err;
        EXPECT_THAT(wav.out, HasSubstr("all counted"));
    }
    EXPECT_EQ(captures, 2);
}

TEST(DemoCommandTest, Filters_SelectSectionsLikeTheDumpRequest) {
    test::TempDir dir;
    const ProgramRun resources =
            RunProgram({AUTL_TOOL, "demo", "--seconds", "1", "--out", dir.path(), "AUtl::Res"});
    ASSERT_EQ(resources.status, 0) << resources.err;
    EXPECT_THAT(resources.out,
                AllOf(HasSubstr("Resources:\n"), HasSubstr("Captures of stream out 0:"),
                      Not(HasSubstr("Interaction")), Not(HasSubstr("Module calls:"))));

    const ProgramRun loggers = RunProgram({AUTL_TOOL, "demo", "--seconds", "1", "--out", dir.path(),
                                           "AUtl::Logger", "AUtl::Nothing"});
    ASSERT_EQ(loggers.status, 0) << loggers.err;
    EXPECT_THAT(loggers.out, AllOf(HasSubstr("Module calls:\n"), HasSubstr("Stream out 0 commands:"),
                                   Not(HasSubstr("Resources:")), Not(HasSubstr("APEX version"))));
}

}  // namespace
}  // namespace autl
