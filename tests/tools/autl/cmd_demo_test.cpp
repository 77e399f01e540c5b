// `autl demo`, run as a program: the session's dump holds every component's section and honours
// the dump's filters; `autl calls --trace` turns the dump into trace events that match it.

#include <android-base/file.h>

#include <cstdio>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include "transcript.h"

namespace autl {
namespace {

using test::ProgramRun;
using ::testing::AllOf;
using ::testing::HasSubstr;
using ::testing::Not;

TEST(DemoCommandTest, Session_DumpsEveryComponentAndRecords) {
    TemporaryDir dir;
    const auto autl = [&](const std::string& arguments) {
        return test::RunCommand("autl " + arguments, dir.path, AUTL_TOOL);
    };
    // A configuration tree where one of the files the demo looks up exists.
    const std::string root = std::string(dir.path) + "/root";
    const std::string spatializer = root + "/vendor/etc/audio/spatializer/";
    std::filesystem::create_directories(spatializer);
    std::ofstream(spatializer + "spatializer.xml") << "<spatializer/>";

    const ProgramRun run = autl("demo --seconds 1 --out captures --root " + root);
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
    // Quiet: the library's WARNING lines and the progress, not its INFO lines.
    EXPECT_THAT(run.err, AllOf(HasSubstr("autl demo: 1/1 s, "),
                               HasSubstr("GetFilePath: " + root +
                                         "/vendor/etc/ulq/vexa4_tuning.bin "
                                         "not exist"),
                               Not(HasSubstr("Start: recorder started"))));

    // One track per section holding one event per entry, each naming the call and its count as
    // the entry's line in the dump does.
    ASSERT_TRUE(android::base::WriteStringToFile(run.out, std::string(dir.path) + "/dump.txt"));
    const ProgramRun calls = autl("calls --trace trace.json dump.txt");
    ASSERT_EQ(calls.status, 0) << calls.err;
    EXPECT_EQ(calls.err, "");
    std::vector<std::string> lines;
    std::istringstream text(run.out);
    for (std::string line; std::getline(text, line);) lines.push_back(line);
    std::vector<int> entries;  // per section, as its heading counts them
    for (const std::string& line : lines) {
        if (int n = 0; std::sscanf(line.c_str(), "  Interaction logger(%d,", &n) == 1) {
            entries.push_back(n);
        }
    }
    ASSERT_EQ(entries.size(), 2u);
    std::string trace_text;
    ASSERT_TRUE(android::base::ReadFileToString(std::string(dir.path) + "/trace.json", &trace_text));
    const nlohmann::json trace = nlohmann::json::parse(trace_text);
    std::vector<int> events(entries.size());
    for (const nlohmann::json& event : trace["traceEvents"]) {
        if (event["ph"] != "X") continue;
        ++events.at(event["tid"].get<size_t>() - 1);
        const std::string& line = lines.at(event["args"]["line"].get<size_t>() - 1);
        EXPECT_THAT(line, HasSubstr(" " + event["name"].get<std::string>() + ": args("));
        if (event["args"].contains("count")) {
            EXPECT_THAT(line, HasSubstr("[count: " + event["args"]["count"].dump() + ", "));
        }
    }
    EXPECT_EQ(events, entries);

    // The two captures, named in the output, hold about a second of audio each; the WAV file's
    // header counts all of its data.
    int captures = 0;
    for (const auto& entry :
         std::filesystem::directory_iterator(std::string(dir.path) + "/captures")) {
        ++captures;
        EXPECT_THAT(run.out, HasSubstr("  captures/" + entry.path().filename().string() + "\n"));
        EXPECT_GT(std::filesystem::file_size(entry.path()), 100u * 1000u);
        if (entry.path().extension() != ".wav") continue;
        const ProgramRun wav = autl("wav info " + entry.path().string());
        EXPECT_EQ(wav.status, 0) << wav.err;
        EXPECT_THAT(wav.out, HasSubstr("all counted"));
    }
    EXPECT_EQ(captures, 2);
}

TEST(DemoCommandTest, Filters_SelectSectionsLikeTheDumpRequest) {
    TemporaryDir dir;
    const ProgramRun resources =
            test::RunCommand("autl -v demo --seconds=1 --out . AUtl::Res", dir.path, AUTL_TOOL);
    ASSERT_EQ(resources.status, 0) << resources.err;
    EXPECT_THAT(resources.out,
                AllOf(HasSubstr("Resources:\n"), HasSubstr("Captures of stream out 0:"),
                      Not(HasSubstr("Interaction")), Not(HasSubstr("Module calls:"))));
    EXPECT_THAT(resources.err, HasSubstr("Start: recorder started\n"));

    const ProgramRun loggers = test::RunCommand(
            "autl demo --seconds 1 --out . AUtl::Logger AUtl::Nothing", dir.path, AUTL_TOOL);
    ASSERT_EQ(loggers.status, 0) << loggers.err;
    EXPECT_THAT(loggers.out, AllOf(HasSubstr("Module calls:\n"), HasSubstr("Stream out 0 commands:"),
                                   Not(HasSubstr("Resources:")), Not(HasSubstr("APEX version"))));
}

}  // namespace
}  // namespace autl
