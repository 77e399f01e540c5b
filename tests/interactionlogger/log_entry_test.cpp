#include <interactionlogger/logger.h>

#include <stdlib.h>
#include <time.h>

#include <gtest/gtest.h>

namespace vendor::zentro::tevrash::audio::hal::utils::interactionlogger {
namespace {

using std::chrono::microseconds;

// Started `micros` after 2026-03-05 14:07:09 UTC, executed for `time` (-1: still executing).
LogEntry Entry(std::string_view class_name, int64_t micros, int32_t time,
               std::vector<Argument> arguments = {}) {
    LogEntry entry(class_name, "f", std::move(arguments));
    entry.start_time = LogEntry::WallTime(microseconds(1772719629000000 + micros));
    entry.execution_time = time;
    return entry;
}

TEST(LogEntryTest, ToString_Lines) {
    setenv("TZ", "UTC", 1);
    tzset();
    // Only the class name's last part is printed; milliseconds are cut, not rounded.
    const std::string tail = ": args(0), ret: not set, ecode: 0, time: ";
    EXPECT_EQ(Entry("StreamDescriptor", 999999, -1).ToString(),
              "03-05 14:07:09.999 StreamDescriptor::f" + tail + "executing");
    EXPECT_EQ(Entry("a.b.", 1004000, 0).ToString(), "03-05 14:07:10.004 ::f" + tail + "0 us");

    std::vector<Argument> two;
    two.emplace_back("x", 1);
    two.emplace_back("y", 2.5f);
    LogEntry entry = Entry("a.b", 123000, 41, std::move(two));
    entry.ret.emplace("ret", false);
    entry.ecode = -38;
    EXPECT_EQ(entry.ToString(),
              "03-05 14:07:09.123 b::f: args(2): [x: 1, y: 2.500000], ret: false, ecode: -38, "
              "time: 41 us");
    // Folded calls show their statistics; the 32-bit total may have wrapped.
    entry.count = 3;
    entry.max_time = 300;
    entry.min_time = 200;
    entry.total_time = -2147483000;
    EXPECT_EQ(entry.ToString(),
              "03-05 14:07:09.123 b::f: args(2): [x: 1, y: 2.500000], ret: false, ecode: -38, "
              "contiguous calls: [count: 3, max: 300 us, min: 200 us, avg: -715827666 us]");
}

TEST(LogEntryTest, ToStringPrefix_StateColumns) {
    LogEntry entry("IModule", "f");
    entry.a2dp_suspended = true;
    entry.audio_mode = 12;
    EXPECT_EQ(entry.ToStringPrefix(), "| |*| |12| ");
    entry.sco_enabled = entry.le_suspended = true;
    entry.a2dp_suspended = false;
    entry.audio_mode = -2;
    EXPECT_EQ(entry.ToStringPrefix(), "|*| |*|-2| ");
}

TEST(LogEntryTest, New_TakesClocksAndCharges) {
    const auto wall_before = std::chrono::system_clock::now();
    const auto steady_before = std::chrono::steady_clock::now();
    std::vector<Argument> arguments;
    arguments.emplace_back("mute", true);
    arguments.emplace_back("x", "abc");
    LogEntry entry("IModule", "setMasterMute", std::move(arguments));
    EXPECT_GE(entry.start_time, std::chrono::time_point_cast<microseconds>(wall_before));
    EXPECT_GE(entry.steady_start_time, steady_before);
    EXPECT_EQ(entry.arguments_size, 64u + 67u);

    // The time since the steady start, in microseconds; the statistics start from it.
    entry.steady_start_time -= microseconds(1500);
    entry.count = 4;
    entry.SetExecutionTimeMs();
    EXPECT_GE(entry.execution_time, 1500);
    EXPECT_LT(entry.execution_time, 60 * 1000 * 1000);
    EXPECT_EQ(std::tuple(entry.max_time, entry.min_time, entry.total_time, entry.count),
              std::tuple(entry.execution_time, entry.execution_time, entry.execution_time, 4));
}

}  // namespace
}  // namespace vendor::zentro::tevrash::audio::hal::utils::interactionlogger
