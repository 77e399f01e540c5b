#include <interactionlogger/logger.h>

#include <stdlib.h>
#include <time.h>

#include <latch>
#include <limits>
#include <sstream>
#include <thread>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "log_capture.h"

namespace vendor::zentro::tevrash::audio::hal::utils::interactionlogger {
namespace {

using ::testing::HasSubstr;
using ::testing::IsEmpty;
using Lines = std::vector<std::string>;

const std::string kRule(142, '=');

std::vector<Argument> Value(int32_t value) {
    std::vector<Argument> arguments;
    arguments.emplace_back("value", value);
    return arguments;
}

// A call as its producer would have made and closed it, started 2026-03-05 14:07:09.123 UTC;
// still executing if `micros` is -1.
LogEntry Call(std::string_view function, std::vector<Argument> arguments = Value(1),
              int32_t micros = 100) {
    LogEntry entry("android.hardware.audio.core.IModule", function, std::move(arguments));
    entry.start_time = LogEntry::WallTime(std::chrono::microseconds(1772719629123000));
    entry.execution_time = entry.max_time = entry.min_time = entry.total_time = micros;
    return entry;
}

// The line of such a call with one argument.
std::string Line(const char* function, const char* time = "100 us", int value = 1) {
    return std::string("03-05 14:07:09.123 IModule::") + function +
           ": args(1): [value: " + std::to_string(value) +
           "], ret: not set, ecode: 0, time: " + time;
}

// The detailed layout through Dump, the plain one through DumpDetails.
Lines DumpLines(Logger& logger, bool with_state, uint32_t indentation = 0,
                std::vector<std::string_view> filters = {}) {
    std::stringbuf text;
    dumpsys::DumpsysInfo info(-1, indentation, std::move(filters));
    info.stream_buffer = &text;
    with_state ? logger.Dump(info) : logger.DumpDetails(info, false);
    Lines lines;
    std::istringstream stream(text.str());
    for (std::string line; std::getline(stream, line);) lines.push_back(line);
    return lines;
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
    for (int32_t micros : {100, 300, 20}) {
        logger.Append(Call("setMasterMute", Value(1), micros));
        EXPECT_EQ(logger.GetBytes(), logger.GetEntryCount() * (192u + 64u));
        logger.FoldContiguousDuplicatedEntry();
    }
    EXPECT_EQ(
            DumpLines(logger, false),
            (Lines{"Interaction logger(1, 256):", kRule,
                   "03-05 14:07:09.123 IModule::setMasterMute: args(1): [value: 1], ret: not set, "
                   "ecode: 0, contiguous calls: [count: 3, max: 300 us, min: 20 us, avg: 140 us]",
                   kRule}));
    logger.ForEachEntry([](const LogEntry& entry) { EXPECT_EQ(entry.execution_time, 100); });

    // An entry that already counts several calls adds them all. The count stops at INT32_MAX, and
    // the calls beyond it stay out of the total, so the average stays that of the calls counted.
    constexpr int32_t kMax = std::numeric_limits<int32_t>::max();
    const struct {
        int32_t count, total, last_count, last_total, folded_count, folded_total;
    } kCases[] = {
            {5, 500, 3, 30, 8, 530},
            {kMax - 1, 0, 1, 100, kMax, 100},
            {kMax, 100, 1, 100, kMax, 100},
            {kMax - 2, 0, 4, 400, kMax, 200},
    };
    for (const auto& c : kCases) {
        Logger folding(1 << 20);
        LogEntry* prev = folding.Append(Call("f"));
        prev->count = c.count;
        prev->total_time = c.total;
        LogEntry last = Call("f", Value(1), c.last_total);
        last.count = c.last_count;
        folding.Append(std::move(last));
        folding.FoldContiguousDuplicatedEntry();
        folding.ForEachEntry([&](const LogEntry& e) {
            EXPECT_EQ(std::pair(e.count, e.total_time), std::pair(c.folded_count, c.folded_total));
        });
    }
}

TEST_F(LoggerTest, Fold_OnlyTheSameClosedCall) {
    struct Pair {
        Logger& logger;
        LogEntry& older;
        LogEntry& newer;
    };
    using Change = void (*)(Pair);
    const std::vector<std::pair<const char*, Change>> differences = {
            {"function", [](Pair p) { p.newer.function_name = "getMasterMute"; }},
            {"class", [](Pair p) { p.newer.class_name = "IStreamOut"; }},
            {"argument", [](Pair p) { p.newer.arguments = Value(2); }},
            {"argument type", [](Pair p) { p.newer.arguments[0].type = ArgumentType::kBool; }},
            // The older has one more argument for the same charge.
            {"argument count", [](Pair p) { p.older.arguments.emplace_back("more", 1); }},
            {"ecode", [](Pair p) { p.newer.ecode = -22; }},
            {"return value", [](Pair p) { p.newer.ret.emplace("ret", false); }},
            {"no return value", [](Pair p) { p.newer.ret.reset(); }},
            {"audio mode", [](Pair p) { p.logger.SetAudioMode(2); }},
            {"sco", [](Pair p) { p.logger.SetScoEnabled(true); }},
            {"a2dp", [](Pair p) { p.logger.SetA2dpSuspended(true); }},
            {"le", [](Pair p) { p.logger.SetLeSuspended(true); }},
            {"older executing", [](Pair p) { p.older.execution_time = -1; }},
            {"newer executing", [](Pair p) { p.newer.execution_time = -1; }},
            // The last case changes nothing, and the pair folds.
            {"none", [](Pair) {}},
    };
    for (const auto& [what, change] : differences) {
        SCOPED_TRACE(what);
        Logger logger(1 << 20);
        LogEntry* older = logger.Append(Call("setMasterMute"));
        older->ret.emplace("ret", true);
        LogEntry newer = Call("setMasterMute");
        newer.ret.emplace("ret", true);
        change({logger, *older, newer});
        logger.Append(std::move(newer));
        logger.FoldContiguousDuplicatedEntry();
        EXPECT_EQ(logger.GetEntryCount(), what == differences.back().first ? 1u : 2u);
    }

    // Only the newest two are compared.
    Logger logger(1 << 20);
    for (const char* function : {"a", "b", "a"}) {
        logger.Append(Call(function));
        logger.FoldContiguousDuplicatedEntry();
    }
    EXPECT_EQ(logger.GetEntryCount(), 3u);
}

TEST_F(LoggerTest, Balance_OldestLeaveForTheNewest) {
    // Every entry costs 192 + 64 = 256 bytes; three fit exactly.
    Logger logger(768);
    for (int i = 0; i < 4; ++i) logger.Append(Call("f", Value(i)));
    EXPECT_EQ(DumpLines(logger, false),
              (Lines{"Interaction logger(3, 768):", kRule, Line("f", "100 us", 1),
                     Line("f", "100 us", 2), Line("f", "100 us", 3), kRule}));
    // An entry larger than the whole budget empties the history and stays alone until the next
    // append pushes it out.
    std::vector<Argument> big;
    big.emplace_back("blob", std::string(2000, 'x'));
    logger.Append(Call("big", std::move(big)));
    EXPECT_EQ(DumpLines(logger, false)[0], "Interaction logger(1, 2256):");
    logger.Append(Call("f"));
    EXPECT_EQ(DumpLines(logger, false)[0], "Interaction logger(1, 256):");

    // Room for two: each round pushes the oldest out and folds the newest away, at every place of
    // the history's storage.
    Logger two(512);
    for (int i = 0; i < 40; ++i) {
        two.Append(Call("f", Value(i), i));
        two.Append(Call("f", Value(i), i));
        two.FoldContiguousDuplicatedEntry();
        const std::string us = std::to_string(i) + " us";
        ASSERT_EQ(DumpLines(two, false),
                  (Lines{"Interaction logger(1, 256):", kRule,
                         "03-05 14:07:09.123 IModule::f: args(1): [value: " + std::to_string(i) +
                                 "], ret: not set, ecode: 0, contiguous calls: [count: 2, max: " +
                                 us + ", min: " + us + ", avg: " + us + "]",
                         kRule}));
    }
}

TEST_F(LoggerTest, Dump_DetailedLayout) {
    Logger logger(1 << 20);
    std::vector<Argument> two;
    two.emplace_back("mute", true);
    two.emplace_back("id", 7);
    logger.Append(Call("setMasterMute", std::move(two), 250));
    logger.SetAudioMode(2);
    logger.SetScoEnabled(true);
    std::vector<Argument> mode;
    mode.emplace_back("mode", 2, ArgumentType::kAudioMode);
    logger.Append(Call("setAudioMode", std::move(mode), 40));
    std::vector<Argument> many;
    for (int i = 0; i < 12; ++i) many.emplace_back("argument", 1000000 + i);
    logger.Append(Call("f", std::move(many), 5));
    // Indentation and state columns start every line; long entries continue on further lines.
    EXPECT_EQ(
            DumpLines(logger, true, 2, {"AUtl::"}),
            (Lines{
                    "  Interaction logger(3, 1536):",
                    "     -- SCO Enabled",
                    "    /  -- A2DP Suspended",
                    "   |  /  -- LE Suspended",
                    "   | |  /  -- Audio Mode",
                    "   | | |  /",
                    "   | | | |",
                    "  | | | | | " + kRule,
                    "  | | | | | 03-05 14:07:09.123 IModule::setMasterMute: args(2): [mute: true, "
                    "id: 7], ret: not set, ecode: 0, time: 250 us",
                    "  |*| | |2| 03-05 14:07:09.123 IModule::setAudioMode: args(1): [mode: "
                    "IN_CALL], ret: not set, ecode: 0, time: 40 us",
                    "  |*| | |2| 03-05 14:07:09.123 IModule::f: args(12): [argument: 1000000, "
                    "argument: 1000001, argument: 1000002, argument: 1000003, argument: 1000004, ",
                    "  |*| | |2|     argument: 1000005, argument: 1000006, argument: 1000007, "
                    "argument: 1000008, argument: 1000009, argument: 1000010, argument: 1000011], "
                    "ret: not set, ",
                    "  |*| | |2|     ecode: 0, time: 5 us",
                    "  " + std::string(152, '='),
            }));
    EXPECT_THAT(DumpLines(logger, true, 0, {"AUtl::Res"}), IsEmpty());
}

TEST_F(LoggerTest, Dump_PlainLayoutAndReset) {
    Logger logger(1 << 20);
    logger.SetLeSuspended(true);
    logger.Append(Call("f", Value(1), 7));
    logger.Append(Call("g", Value(2), 8));
    EXPECT_EQ(DumpLines(logger, false, 0, {"AUtl::Log"}),
              (Lines{"Interaction logger(2, 512):", kRule, Line("f", "7 us"), Line("g", "8 us", 2),
                     kRule}));
    EXPECT_THAT(DumpLines(logger, false, 0, {"AUtl::Res"}), IsEmpty());
    // Reset empties the history but keeps the state.
    logger.Reset();
    EXPECT_EQ(DumpLines(logger, false), (Lines{"Interaction logger(0, 0):", kRule, kRule}));
    logger.Append(Call("f"));
    logger.ForEachEntry([](const LogEntry& e) { EXPECT_TRUE(e.le_suspended); });
}

TEST_F(LoggerTest, DumpToLogcat_NewestFirst) {
    Logger logger(1 << 20);
    for (const char* function : {"a", "b", "c"}) logger.Append(Call(function));
    auto head = [](int n) {
        return "=============== Last " + std::to_string(n) + " calls ================";
    };
    const std::string end(46, '=');
    autl::test::LogCapture logs;
    for (int n : {10, 2, 0, -1}) logger.DumpToLogcat(n);
    EXPECT_EQ(logs.Messages("AUtl::Logger"),
              (Lines{head(10), Line("c"), Line("b"), Line("a"), end, head(2), Line("c"), Line("b"),
                     end, head(0), end, head(-1), end}));
    for (const autl::test::LogLine& l : logs.Lines()) EXPECT_EQ(l.severity, android::base::INFO);
}

TEST_F(LoggerTest, PendingEntry_ClosesAndFolds) {
    Logger logger(1 << 20);
    for (int i = 0; i < 3; ++i) {
        PendingEntry call = logger.Begin(LogEntry("IModule", "f", Value(1)));
        call.SetReturn(Argument("ret", true));
        call.SetErrorCode(5);
    }
    // The return value is not charged.
    EXPECT_EQ(DumpLines(logger, false)[0], "Interaction logger(1, 256):");
    EXPECT_THAT(DumpLines(logger, false)[2],
                HasSubstr("[value: 1], ret: true, ecode: 5, contiguous calls: [count: 3, max: "));

    auto executing = [&] {
        std::vector<bool> open;
        logger.ForEachEntry([&](const LogEntry& e) { open.push_back(e.execution_time == -1); });
        return open;
    };
    // Reassignment closes the handle it replaces; a moved-from handle is inert.
    PendingEntry first = logger.Begin(LogEntry("IModule", "g"));
    PendingEntry second = logger.Begin(LogEntry("IModule", "h"));
    first = std::move(second);
    second.Close();
    EXPECT_EQ(executing(), (std::vector<bool>{false, false, true}));
    first.Close();
    EXPECT_EQ(executing(), (std::vector<bool>{false, false, false}));

    // One producer's call stays open while another's identical calls fold behind it; closing it
    // folds them all into it.
    logger.Reset();
    PendingEntry open = logger.Begin(LogEntry("IModule", "f"));
    logger.Begin(LogEntry("IModule", "f")).Close();
    logger.Begin(LogEntry("IModule", "f")).Close();
    EXPECT_EQ(executing(), (std::vector<bool>{true, false}));
    open.Close();
    EXPECT_EQ(DumpLines(logger, false)[0], "Interaction logger(1, 192):");
    EXPECT_THAT(DumpLines(logger, false)[2], HasSubstr("contiguous calls: [count: 3, "));
}

TEST_F(LoggerTest, PendingEntry_EntryGoneIsHarmless) {
    // Pushed out by the budget: nothing reaches the entry now in the history.
    Logger logger(300);
    PendingEntry evicted = logger.Begin(Call("f", Value(1), -1));
    logger.Append(Call("g", Value(1), -1));
    evicted.SetReturn(Argument("ret", 1));
    evicted.SetErrorCode(3);
    evicted.Close();
    EXPECT_EQ(DumpLines(logger, false),
              (Lines{"Interaction logger(1, 256):", kRule, Line("g", "executing"), kRule}));

    // Reset under an open handle.
    PendingEntry open = logger.Begin(Call("h", Value(1), -1));
    logger.Reset();
    logger.Append(Call("i", Value(1), -1));
    open.SetErrorCode(9);
    open.Close();
    EXPECT_EQ(DumpLines(logger, false),
              (Lines{"Interaction logger(1, 256):", kRule, Line("i", "executing"), kRule}));
}

// Stalls a dump in its first write, with the logger's mutex held, until released.
class StalledReader : public std::streambuf {
  public:
    std::latch dumping{1};
    std::latch release{1};

  protected:
    std::streamsize xsputn(const char*, std::streamsize n) override {
        if (!stalled_) {
            stalled_ = true;
            dumping.count_down();
            release.wait();
        }
        return n;
    }
    int_type overflow(int_type c) override { return c; }

  private:
    bool stalled_ = false;
};

TEST_F(LoggerTest, PendingEntry_TimeIsTheCallsOwnWhileADumpHoldsTheMutex) {
    using namespace std::chrono_literals;
    Logger logger(1 << 20);
    PendingEntry call = logger.Begin(LogEntry("IModule", "f"));
    StalledReader reader;
    dumpsys::DumpsysInfo info;
    info.stream_buffer = &reader;
    std::thread dumper([&] { logger.Dump(info); });
    reader.dumping.wait();
    std::this_thread::sleep_for(2ms);  // the call's own work
    std::latch closing(1);
    std::thread producer([&] {
        closing.count_down();
        call.Close();
    });
    closing.wait();
    // A reader this slow would add its 100 ms to a time taken under the mutex.
    std::this_thread::sleep_for(100ms);
    reader.release.count_down();
    dumper.join();
    producer.join();
    logger.ForEachEntry([](const LogEntry& e) {
        EXPECT_GE(e.execution_time, 2000);
        EXPECT_LT(e.execution_time, 100000);
    });
}

}  // namespace
}  // namespace vendor::zentro::tevrash::audio::hal::utils::interactionlogger
