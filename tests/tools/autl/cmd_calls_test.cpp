// `autl calls`, run as a program on saved dumps under tests/data/calls: the demo's own dump, and a
// bugreport that holds two damaged sections among other text. What it prints is compared whole
// with the golden files beside them; AUTL_UPDATE_GOLDEN=1 rewrites those instead.

#include <android-base/file.h>

#include <cstdlib>
#include <string>

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include "run_program.h"
#include "temp_dir.h"

namespace autl {
namespace {

using test::ProgramRun;

const std::string kData = AUTL_TEST_DATA "/calls/";

std::string Golden(const std::string& name, const std::string& actual) {
    if (std::getenv("AUTL_UPDATE_GOLDEN") != nullptr) {
        android::base::WriteStringToFile(actual, kData + name);
    }
    std::string golden;
    EXPECT_TRUE(android::base::ReadFileToString(kData + name, &golden)) << name;
    return golden;
}

TEST(CallsCommandTest, SavedDumps_ReadBackIntoCalls) {
    test::TempDir dir;
    const std::string trace = dir.Join("trace.json");
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
        const ProgramRun run = test::RunProgram(
                {"/bin/sh", "-c", "cd " + kData + " && " AUTL_TOOL " calls " + c.arguments});
        EXPECT_EQ(run.status, 0) << c.arguments;
        EXPECT_EQ(run.out, Golden(c.golden, run.out)) << c.arguments;
        EXPECT_EQ(run.err, c.err) << c.arguments;
    }
    std::string written;
    ASSERT_TRUE(android::base::ReadFileToString(trace, &written));
    const nlohmann::json events = nlohmann::json::parse(written);
    EXPECT_EQ(events, nlohmann::json::parse(Golden("bugreport.trace.json", events.dump(1))));
}

}  // namespace
}  // namespace autl
