#include <interactionlogger/logger.h>

#include <stdlib.h>
#include <time.h>

#include <sstream>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "log_capture.h"

namespace vendor::zentro::tevrash::audio::hal::utils::interactionlogger {
namespace {

using autl::test::LogCapture;
using autl::test::LogLine;
using dumpsys::DumpsysInfo;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

constexpr int64_t kStartMicros = 1772719629LL * 1000000 + 123000;  // 2026-03-05 14:07:09.123 UTC

std::vector<Argument> Args(int32_t value) {
    std::vector<Argument> arguments;
    arguments.emplace_back("value", value);
    return arguments;
}

// A call as its producer would have made and closed it, with a fixed start and execution time.
LogEntry Call(std::string_view function, std::vector<Argument> arguments = Args(1),
              int32_t micros = 100) {
    LogEntry entry("android.hardware.audio.core.IModule", function, std::move(arguments));
    entry.start_time = LogEntry::WallTime(std::chrono::microseconds(kStartMicros));
    entry.execution_time = entry.max_time = entry.min_time = entry.total_time = micros;
    return entry;
}

std::vector<std::string> Lines(const std::string& text) {
    std::vector<std::string> lines;
    std::istringstream stream(text);
    for (std::string line; std::getline(stream, line);) lines.push_back(line);
    return lines;
}

std::vector<std::string> DumpLines(const Logger& logger, bool with_state, uint32_t indentation = 0,
                                   std::vector<std::string_view> filters = {}) {
    std::stringbuf text;
    DumpsysInfo info(-1, indentation, std::move(filters));
    info.stream_buffer = &text;
    logger.DumpDetails(info, with_state);
    return Lines(text.str());
}

class LoggerTest : public ::testing::Test {
  protected:
    void SetUp() override {
        setenv("TZ", "UTC", 1);
        tzset();
    }
};

TEST_F(LoggerTest, Fold_IdenticalCallsAccumulateInTheFirst) {
    Logger logger(1 << 20);
    logger.FoldContiguousDuplicatedEntry();
    logger.Append(Call("setMasterMute", Args(1), 100));
    logger.FoldContiguousDuplicatedEntry();
    EXPECT_EQ(logger.GetEntryCount(), 1u);

    logger.Append(Call("setMasterMute", Args(1), 300));
    EXPECT_EQ(logger.GetBytes(), 2 * (192u + 64u));
    logger.FoldContiguousDuplicatedEntry();
    logger.Append(Call("setMasterMute", Args(1), 20));
    logger.FoldContiguousDuplicatedEntry();

    EXPECT_EQ(logger.GetEntryCount(), 1u);
    EXPECT_EQ(logger.GetBytes(), 192u + 64u);
    logger.ForEachEntry([](const LogEntry& entry) {
        EXPECT_EQ(entry.count, 3);
        EXPECT_EQ(entry.max_time, 300);
        EXPECT_EQ(entry.min_time, 20);
        EXPECT_EQ(entry.total_time, 420);
        EXPECT_EQ(entry.execution_time, 100);
        EXPECT_EQ(entry.ToString(),
                  "03-05 14:07:09.123 IModule::setMasterMute: args(1): [value: 1], ret: not set, "
                  "ecode: 0, contiguous calls: [count: 3, max: 300 us, min: 20 us, avg: 140 us]");
    });
}

TEST_F(LoggerTest, Fold_OnlyTheSameCall) {
    struct Case {
        const char* what;
        std::function<void(Logger&, LogEntry&)> change;
    };
    const std::vector<Case> cases = {
            {"function", [](Logger&, LogEntry& e) { e.function_name = "getMasterMute"; }},
            {"class", [](Logger&, LogEntry& e) { e.class_name = "IStreamOut"; }},
            {"argument", [](Logger&, LogEntry& e) { e.arguments = Args(2); }},
            {"argument type",
             [](Logger&, LogEntry& e) { e.arguments[0].type = ArgumentType::kBool; }},
            {"argument count",
             [](Logger&, LogEntry& e) {
                 e.arguments.emplace_back("more", 1);
                 e.arguments_size += 64;
             }},
            {"ecode", [](Logger&, LogEntry& e) { e.ecode = -22; }},
            {"return value set", [](Logger&, LogEntry& e) { e.ret.emplace("ret", true); }},
            {"audio mode", [](Logger& l, LogEntry&) { l.SetAudioMode(2); }},
            {"sco", [](Logger& l, LogEntry&) { l.SetScoEnabled(true); }},
            {"a2dp", [](Logger& l, LogEntry&) { l.SetA2dpSuspended(true); }},
            {"le", [](Logger& l, LogEntry&) { l.SetLeSuspended(true); }},
    };
    for (const Case& c : cases) {
        Logger logger(1 << 20);
        logger.Append(Call("setMasterMute"));
        LogEntry second = Call("setMasterMute");
        c.change(logger, second);
        logger.Append(std::move(second));
        logger.FoldContiguousDuplicatedEntry();
        EXPECT_EQ(logger.GetEntryCount(), 2u) << c.what;
    }

    // Equal return values fold; different ones do not.
    Logger logger(1 << 20);
    for (bool value : {true, true, false}) {
        LogEntry entry = Call("getMasterMute");
        entry.ret.emplace("ret", value);
        logger.Append(std::move(entry));
        logger.FoldContiguousDuplicatedEntry();
    }
    EXPECT_EQ(logger.GetEntryCount(), 2u);
}

TEST_F(LoggerTest, Fold_OnlyContiguousCalls) {
    Logger logger(1 << 20);
    for (const char* function : {"a", "b", "a"}) {
        logger.Append(Call(function));
        logger.FoldContiguousDuplicatedEntry();
    }
    EXPECT_EQ(logger.GetEntryCount(), 3u);
}

TEST_F(LoggerTest, Fold_NeverMergesAnExecutingEntry) {
    Logger logger(1 << 20);
    LogEntry open = Call("f");
    open.execution_time = -1;
    logger.Append(std::move(open));
    logger.Append(Call("f"));
    logger.FoldContiguousDuplicatedEntry();
    EXPECT_EQ(logger.GetEntryCount(), 2u);

    LogEntry newest_open = Call("f");
    newest_open.execution_time = -1;
    logger.Append(std::move(newest_open));
    logger.FoldContiguousDuplicatedEntry();
    EXPECT_EQ(logger.GetEntryCount(), 3u);
}

TEST_F(LoggerTest, Balance_OldestLeaveForTheNewest) {
    // Every entry costs 192 + 64 = 256 bytes.
    Logger logger(1000);
    for (int i = 0; i < 3; ++i) logger.Append(Call("f", Args(i)));
    EXPECT_EQ(logger.GetEntryCount(), 3u);
    EXPECT_EQ(logger.GetBytes(), 768u);
    logger.Append(Call("f", Args(3)));
    EXPECT_EQ(logger.GetEntryCount(), 3u);
    EXPECT_EQ(logger.GetBytes(), 768u);
    std::vector<int32_t> values;
    logger.ForEachEntry(
            [&](const LogEntry& e) { values.push_back(std::get<int32_t>(e.arguments[0].value)); });
    EXPECT_EQ(values, (std::vector<int32_t>{1, 2, 3}));

    // An entry larger than the whole budget empties the history and stays alone until the next
    // append pushes it out.
    std::vector<Argument> big;
    big.emplace_back("blob", std::string(2000, 'x'));
    logger.Append(Call("big", std::move(big)));
    EXPECT_EQ(logger.GetEntryCount(), 1u);
    EXPECT_EQ(logger.GetBytes(), 192u + 64u + 2000u);
    logger.Append(Call("f"));
    EXPECT_EQ(logger.GetEntryCount(), 1u);
    EXPECT_EQ(logger.GetBytes(), 256u);
}

TEST_F(LoggerTest, Reset_EmptiesHistoryKeepsState) {
    Logger logger(1 << 20);
    logger.SetAudioMode(3);
    logger.Append(Call("f"));
    logger.Reset();
    EXPECT_EQ(logger.GetEntryCount(), 0u);
    EXPECT_EQ(logger.GetBytes(), 0u);
    EXPECT_THAT(
            DumpLines(logger, false),
            ElementsAre("Interaction logger(0, 0):", std::string(142, '='), std::string(142, '=')));
    logger.Append(Call("f"));
    logger.ForEachEntry([](const LogEntry& e) { EXPECT_EQ(e.audio_mode, 3); });
}

TEST_F(LoggerTest, Dump_DetailedLayout) {
    Logger logger(1 << 20);
    std::vector<Argument> two;
    two.emplace_back("mute", true);
    two.emplace_back("id", 7);
    logger.Append(Call("setMasterMute", std::move(two), 250));
    logger.SetAudioMode(2);
    logger.SetScoEnabled(true);
    std::vector<Argument> also_two;
    also_two.emplace_back("mode", 2, ArgumentType::kAudioMode);
    also_two.emplace_back("id", 7);
    logger.Append(Call("setAudioMode", std::move(also_two), 40));

    const std::vector<std::string> expected = {
            "Interaction logger(2, 640):",
            "   -- SCO Enabled",
            "  /  -- A2DP Suspended",
            " |  /  -- LE Suspended",
            " | |  /  -- Audio Mode",
            " | | |  /",
            " | | | |",
            "| | | | | " + std::string(142, '='),
            "| | | | | 03-05 14:07:09.123 IModule::setMasterMute: args(2): [mute: true, id: 7], "
            "ret: not set, ecode: 0, time: 250 us",
            "|*| | |2| 03-05 14:07:09.123 IModule::setAudioMode: args(2): [mode: IN_CALL, id: 7], "
            "ret: not set, ecode: 0, time: 40 us",
            std::string(152, '='),
    };
    EXPECT_EQ(DumpLines(logger, true), expected);
    EXPECT_EQ(DumpLines(logger, true, 0, {"AUtl::"}), expected);
    EXPECT_THAT(DumpLines(logger, true, 0, {"AUtl::Res"}), IsEmpty());

    // Indentation applies to every line, the entries' lines included.
    const std::vector<std::string> indented = DumpLines(logger, true, 3);
    ASSERT_EQ(indented.size(), expected.size());
    for (size_t i = 0; i < expected.size(); ++i) EXPECT_EQ(indented[i], "   " + expected[i]);

    std::stringbuf text;
    DumpsysInfo info;
    info.stream_buffer = &text;
    logger.Dump(info);
    EXPECT_EQ(Lines(text.str()), expected);
}

TEST_F(LoggerTest, Dump_DetailedLayoutSplitsLongEntries) {
    Logger logger(1 << 20);
    std::vector<Argument> arguments;
    for (int i = 0; i < 12; ++i) arguments.emplace_back("argument", 1000000 + i);
    logger.Append(Call("f", std::move(arguments), 5));
    const std::vector<std::string> lines = DumpLines(logger, true);
    ASSERT_EQ(lines.size(), 12u);
    EXPECT_EQ(lines[8],
              "| | | | | 03-05 14:07:09.123 IModule::f: args(12): [argument: 1000000, argument: "
              "1000001, argument: 1000002, argument: 1000003, argument: 1000004, ");
    EXPECT_EQ(lines[9],
              "| | | | |     argument: 1000005, argument: 1000006, argument: 1000007, argument: "
              "1000008, argument: 1000009, argument: 1000010, argument: 1000011], ret: not set, ");
    EXPECT_EQ(lines[10], "| | | | |     ecode: 0, time: 5 us");
    EXPECT_EQ(lines[11], std::string(152, '='));
}

TEST_F(LoggerTest, Dump_PlainLayout) {
    Logger logger(1 << 20);
    logger.SetLeSuspended(true);
    logger.Append(Call("f", Args(1), 7));
    logger.Append(Call("g", Args(2), 8));
    const std::vector<std::string> expected = {
            "Interaction logger(2, 512):",
            std::string(142, '='),
            "03-05 14:07:09.123 IModule::f: args(1): [value: 1], ret: not set, ecode: 0, time: 7 "
            "us",
            "03-05 14:07:09.123 IModule::g: args(1): [value: 2], ret: not set, ecode: 0, time: 8 "
            "us",
            std::string(142, '='),
    };
    EXPECT_EQ(DumpLines(logger, false), expected);
    EXPECT_THAT(DumpLines(logger, false, 0, {"AUtl::Res"}), IsEmpty());
}

TEST_F(LoggerTest, DumpToLogcat_NewestFirst) {
    Logger logger(1 << 20);
    for (const char* function : {"a", "b", "c"}) logger.Append(Call(function));
    const std::string first = "=============== Last 10 calls ================";
    const std::string last(46, '=');
    auto line = [](const char* function) {
        return std::string("03-05 14:07:09.123 IModule::") + function +
               ": args(1): [value: 1], ret: not set, ecode: 0, time: 100 us";
    };
    {
        LogCapture logs;
        logger.DumpToLogcat(10);
        logger.DumpToLogcat(2);
        logger.DumpToLogcat(0);
        logger.DumpToLogcat(-1);
        EXPECT_EQ(logs.Messages("AUtl::Logger"),
                  (std::vector<std::string>{
                          first, line("c"), line("b"), line("a"), last,
                          "=============== Last 2 calls ================", line("c"), line("b"),
                          last, "=============== Last 0 calls ================", last,
                          "=============== Last -1 calls ================", last}));
        for (const LogLine& l : logs.Lines("AUtl::Logger"))
            EXPECT_EQ(l.severity, android::base::INFO);
    }
    {
        LogCapture logs;
        android::base::ScopedLogSeverity warning(android::base::WARNING);
        logger.DumpToLogcat(10);
        EXPECT_THAT(logs.Lines(), IsEmpty());
    }
}

TEST_F(LoggerTest, PendingEntry_ClosesAndFolds) {
    Logger logger(1 << 20);
    for (int i = 0; i < 3; ++i) {
        PendingEntry call(logger, logger.Append(LogEntry("IModule", "f", Args(1))));
        EXPECT_EQ(call.get()->execution_time, -1);
        call.SetReturn(Argument("ret", true));
        call.SetErrorCode(5);
    }
    ASSERT_EQ(logger.GetEntryCount(), 1u);
    logger.ForEachEntry([](const LogEntry& e) {
        EXPECT_EQ(e.count, 3);
        EXPECT_GE(e.execution_time, 0);
        EXPECT_EQ(e.ecode, 5);
        ASSERT_TRUE(e.ret.has_value());
        EXPECT_EQ(e.ret->ToString(), "ret: true");
    });
    // The return value is not charged.
    EXPECT_EQ(logger.GetBytes(), 256u);

    // Reassignment closes the handle it replaces; a moved-from handle is inert.
    PendingEntry first = logger.Begin(LogEntry("IModule", "g"));
    PendingEntry second = logger.Begin(LogEntry("IModule", "h"));
    first = std::move(second);
    second.Close();
    std::vector<int32_t> times;
    logger.ForEachEntry([&](const LogEntry& e) { times.push_back(e.execution_time); });
    ASSERT_EQ(times.size(), 3u);
    EXPECT_GE(times[1], 0);
    EXPECT_EQ(times[2], -1);
    first.Close();
    first.Close();
    logger.ForEachEntry([&](const LogEntry& e) { EXPECT_GE(e.execution_time, 0); });
}

TEST_F(LoggerTest, PendingEntry_InterleavedProducersKeepEveryCall) {
    Logger logger(1 << 20);
    // One producer's call stays open while another's identical calls fold behind it.
    PendingEntry open = logger.Begin(LogEntry("IModule", "f"));
    logger.Begin(LogEntry("IModule", "f")).Close();
    logger.Begin(LogEntry("IModule", "f")).Close();
    EXPECT_EQ(logger.GetEntryCount(), 2u);
    open.Close();
    ASSERT_EQ(logger.GetEntryCount(), 1u);
    logger.ForEachEntry([](const LogEntry& e) {
        EXPECT_EQ(e.count, 3);
        EXPECT_LE(e.min_time, e.max_time);
    });
    EXPECT_EQ(logger.GetBytes(), 192u);
}

TEST_F(LoggerTest, PendingEntry_EntryGoneIsHarmless) {
    // Pushed out by the budget.
    Logger small(300);
    PendingEntry evicted = small.Begin(LogEntry("IModule", "f", Args(1)));
    LogEntry* raw = evicted.get();
    small.Append(LogEntry("IModule", "g", Args(2)));
    small.SetReturn(raw, Argument("ret", 1));
    evicted.SetReturn(Argument("ret", 1));
    evicted.SetErrorCode(3);
    evicted.Close();
    small.ForEachEntry([](const LogEntry& e) {
        EXPECT_EQ(e.function_name, "g");
        EXPECT_FALSE(e.ret.has_value());
        EXPECT_EQ(e.ecode, 0);
        EXPECT_EQ(e.execution_time, -1);
    });

    // Reset under an open handle.
    Logger logger(1 << 20);
    PendingEntry open = logger.Begin(LogEntry("IModule", "f"));
    logger.Reset();
    logger.Append(LogEntry("IModule", "other"));
    open.SetErrorCode(9);
    open.Close();
    logger.ForEachEntry([](const LogEntry& e) {
        EXPECT_EQ(e.ecode, 0);
        EXPECT_EQ(e.execution_time, -1);
    });
}

}  // namespace
}  // namespace vendor::zentro::tevrash::audio::hal::utils::interactionlogger
