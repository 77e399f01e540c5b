#include <interactionlogger/logger.h>

#include <stdlib.h>
#include <time.h>

#include <gtest/gtest.h>

namespace vendor::zentro::tevrash::audio::hal::utils::interactionlogger {
namespace {

using std::chrono::microseconds;

// 2026-03-05 14:07:09 UTC.
constexpr int64_t kStartSeconds = 1772719629;

class LogEntryTest : public ::testing::Test {
  protected:
    void SetUp() override {
        setenv("TZ", "UTC", 1);
        tzset();
    }

    static LogEntry Entry(std::string_view class_name, std::string_view function,
                          std::vector<Argument> arguments = {}, int64_t micros = 123000) {
        LogEntry entry(class_name, function, std::move(arguments));
        entry.start_time = LogEntry::WallTime(microseconds(kStartSeconds * 1000000 + micros));
        return entry;
    }

    template <typename... T>
    static std::vector<Argument> Args(T&&... arguments) {
        std::vector<Argument> v;
        (v.push_back(std::forward<T>(arguments)), ...);
        return v;
    }
};

TEST_F(LogEntryTest, New_InitialValues) {
    const auto wall_before = std::chrono::system_clock::now();
    const auto steady_before = std::chrono::steady_clock::now();
    LogEntry entry("IModule", "setMasterMute", Args(Argument("mute", true), Argument("x", "abc")));
    EXPECT_GE(entry.start_time, std::chrono::time_point_cast<microseconds>(wall_before));
    EXPECT_GE(entry.steady_start_time, steady_before);
    EXPECT_EQ(entry.execution_time, -1);
    EXPECT_EQ(entry.arguments_size, 64u + 67u);
    EXPECT_FALSE(entry.ret.has_value());
    EXPECT_EQ(entry.ecode, 0);
    EXPECT_EQ(entry.count, 1);
    EXPECT_EQ(entry.max_time, -1);
    EXPECT_EQ(entry.min_time, -1);
    EXPECT_EQ(entry.total_time, -1);
}

TEST_F(LogEntryTest, ToString_Lines) {
    LogEntry running = Entry("android.hardware.audio.core.IModule", "setMasterMute",
                             Args(Argument("mute", true)));
    EXPECT_EQ(running.ToString(),
              "03-05 14:07:09.123 IModule::setMasterMute: args(1): [mute: true], ret: not set, "
              "ecode: 0, time: executing");

    running.execution_time = 250;
    EXPECT_EQ(running.ToString(),
              "03-05 14:07:09.123 IModule::setMasterMute: args(1): [mute: true], ret: not set, "
              "ecode: 0, time: 250 us");
    running.execution_time = 0;
    EXPECT_EQ(running.ToString(),
              "03-05 14:07:09.123 IModule::setMasterMute: args(1): [mute: true], ret: not set, "
              "ecode: 0, time: 0 us");

    LogEntry getter = Entry("IModule", "getMasterMute", {}, 1004000);
    getter.ret.emplace("ret", false);
    getter.ecode = -38;
    getter.execution_time = 41;
    EXPECT_EQ(getter.ToString(),
              "03-05 14:07:10.004 IModule::getMasterMute: args(0), ret: false, ecode: -38, "
              "time: 41 us");

    LogEntry two = Entry("a.b", "f", Args(Argument("x", 1), Argument("y", 2.5f)));
    EXPECT_EQ(two.ToString(),
              "03-05 14:07:09.123 b::f: args(2): [x: 1, y: 2.500000], ret: not set, ecode: 0, "
              "time: executing");
}

TEST_F(LogEntryTest, ToString_ClassNameAndMilliseconds) {
    const std::vector<std::tuple<std::string_view, int64_t, std::string>> cases = {
            {"StreamDescriptor", 999999, "03-05 14:07:09.999 StreamDescriptor::f"},
            {"a.b.", 999, "03-05 14:07:09.000 ::f"},
            {"x.IModule", 0, "03-05 14:07:09.000 IModule::f"},
            {"", 1000, "03-05 14:07:09.001 ::f"},
    };
    for (const auto& [class_name, micros, head] : cases) {
        EXPECT_EQ(Entry(class_name, "f", {}, micros).ToString(),
                  head + ": args(0), ret: not set, ecode: 0, time: executing");
    }
}

TEST_F(LogEntryTest, ToString_FoldedStatistics) {
    LogEntry entry = Entry("IModule", "f");
    entry.count = 2;
    entry.max_time = 300;
    entry.min_time = 300;
    entry.total_time = 600;
    EXPECT_EQ(entry.ToString(),
              "03-05 14:07:09.123 IModule::f: args(0), ret: not set, ecode: 0, contiguous calls: "
              "[count: 2, max: 300 us, min: 300 us, avg: 300 us]");
    // A total that wrapped past the 32-bit range averages negative.
    entry.count = 3;
    entry.total_time = -2147483000;
    EXPECT_EQ(entry.ToString(),
              "03-05 14:07:09.123 IModule::f: args(0), ret: not set, ecode: 0, contiguous calls: "
              "[count: 3, max: 300 us, min: 300 us, avg: -715827666 us]");
}

TEST_F(LogEntryTest, SetExecutionTimeMs_MicrosecondsSinceStart) {
    LogEntry entry = Entry("IModule", "f");
    entry.steady_start_time = std::chrono::steady_clock::now() - microseconds(1500);
    entry.count = 4;
    entry.SetExecutionTimeMs();
    EXPECT_GE(entry.execution_time, 1500);
    EXPECT_LT(entry.execution_time, 1500 + 60 * 1000 * 1000);
    EXPECT_EQ(entry.max_time, entry.execution_time);
    EXPECT_EQ(entry.min_time, entry.execution_time);
    EXPECT_EQ(entry.total_time, entry.execution_time);
    EXPECT_EQ(entry.count, 4);
}

TEST_F(LogEntryTest, ToStringPrefix_StateColumns) {
    LogEntry entry = Entry("IModule", "f");
    EXPECT_EQ(entry.ToStringPrefix(), "| | | | | ");
    entry.sco_enabled = true;
    entry.audio_mode = 2;
    EXPECT_EQ(entry.ToStringPrefix(), "|*| | |2| ");
    entry.a2dp_suspended = true;
    entry.le_suspended = true;
    entry.audio_mode = -2;
    EXPECT_EQ(entry.ToStringPrefix(), "|*|*|*|-2| ");
    entry.sco_enabled = false;
    entry.audio_mode = 12;
    EXPECT_EQ(entry.ToStringPrefix(), "| |*|*|12| ");
}

}  // namespace
}  // namespace vendor::zentro::tevrash::audio::hal::utils::interactionlogger
