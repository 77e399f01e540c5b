// `autl calls`, run as a program on saved dumps under tests/data/calls: the demo's own dump, and a
// bugreport that holds two damaged sections among other text, compared whole with the golden files
// beside them.

#include <android-base/file.h>

#include <string>

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include "golden.h"
#include "transcript.h"

namespace autl {
namespace {

TEST(CallsCommandTest, SavedDumps_ReadBackIntoCalls) {
    TemporaryDir dir;
    const std::string trace = std::string(dir.path) + "/trace.json";
    const auto damage = [](const std::string& name) {
        const std::string prefix = "autl calls: " + name + ":";
        return prefix + "6: the heading counts 6 entries, 4 read\n" + prefix +
               "23: the heading counts 3 entries, 2 read\n" + prefix +
               "23: the section ends without its closing rule\n" + prefix +
               "17: not understood: garbled by a torn write\n" + prefix +
               "18: not understood: 01-01 00:00:00.045 IModule::getMasterMute: args(0), ret: "
               "false, ecode: none, tim...\n" +
               prefix +
               "27: not understood: 01-01 00:00:00.305 StreamDescriptor::Command: args(1): "
               "[command: Command{dr\n";
    };
    const struct {
        std::string arguments;
        std::string golden;
        std::string err;
    } cases[] = {
            {"demo_dump.txt", "demo_dump.calls.txt", ""},
            {"bugreport.txt", "bugreport.calls.txt", damage("bugreport.txt")},
            {"--json bugreport.txt", "bugreport.calls.json", damage("bugreport.txt")},
            {"--trace " + trace + " - < bugreport.txt", "bugreport.calls.txt",
             damage("standard input")},
    };
    for (const auto& c : cases) {
        const test::ProgramRun run =
                test::RunCommand("autl calls " + c.arguments, AUTL_TEST_DATA "/calls", AUTL_TOOL);
        EXPECT_EQ(run.status, 0) << c.arguments;
        EXPECT_EQ(run.out, test::Golden("calls/" + c.golden, run.out)) << c.arguments;
        EXPECT_EQ(run.err, c.err) << c.arguments;
    }
    std::string written;
    ASSERT_TRUE(android::base::ReadFileToString(trace, &written));
    const nlohmann::json events = nlohmann::json::parse(written);
    EXPECT_EQ(events,
              nlohmann::json::parse(test::Golden("calls/bugreport.trace.json", events.dump(1))));
}

}  // namespace
}  // namespace autl
