// The autl program's own command line: the overview, help of a command, unknown commands.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "run_program.h"

namespace autl {
namespace {

using test::RunProgram;
using ::testing::HasSubstr;
using ::testing::StartsWith;

TEST(AutlTest, Help_ListsEveryCommand) {
    const test::ProgramRun run = RunProgram({AUTL_TOOL, "help"});
    EXPECT_EQ(run.status, 0);
    EXPECT_THAT(run.out, StartsWith("usage: autl <command> [arguments]\n"));
    for (const char* command : {"help", "demo", "mixer", "tap0", "wav"}) {
        EXPECT_THAT(run.out, HasSubstr(std::string("\n  ") + command + " ")) << command;
    }
    EXPECT_EQ(RunProgram({AUTL_TOOL, "--help"}).out, run.out);
    const test::ProgramRun demo = RunProgram({AUTL_TOOL, "help", "demo"});
    EXPECT_EQ(demo.status, 0);
    EXPECT_EQ(demo.out, RunProgram({AUTL_TOOL, "demo", "--help"}).out);
}

TEST(AutlTest, UsageErrors_ExitTwo) {
    const test::ProgramRun none = RunProgram({AUTL_TOOL});
    EXPECT_EQ(none.status, 2);
    EXPECT_THAT(none.err, StartsWith("usage: autl <command> [arguments]\n"));
    EXPECT_EQ(none.out, "");

    const test::ProgramRun unknown = RunProgram({AUTL_TOOL, "play", "x"});
    EXPECT_EQ(unknown.status, 2);
    EXPECT_EQ(unknown.err, "autl: unknown command 'play'\nTry 'autl help'.\n");

    const test::ProgramRun help = RunProgram({AUTL_TOOL, "help", "play"});
    EXPECT_EQ(help.status, 2);
    EXPECT_EQ(help.err, "autl help: unknown command 'play'\n");
}

}  // namespace
}  // namespace autl
