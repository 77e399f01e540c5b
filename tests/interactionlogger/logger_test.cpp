// Argument, LogEntry, Logger and StreamLogger. The text of every layout, with every kind of
// argument, is compared whole with the golden file tests/data/interactionlogger/dump.txt;
// AUTL_UPDATE_GOLDEN=1 rewrites it instead.

#include <interactionlogger/logger.h>

#include <android-base/file.h>
#include <fcntl.h>
#include <signal.h>
#include <sys/resource.h>
#include <time.h>
#include <unistd.h>

#include <cmath>
#include <limits>
#include <regex>
#include <sstream>
#include <thread>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "golden.h"
#include "log_capture.h"

namespace vendor::zentro::tevrash::audio::hal::utils::interactionlogger {
namespace {

using aidl::android::hardware::audio::core::StreamDescriptor;
using Command = StreamDescriptor::Command;
using Reply = StreamDescriptor::Reply;
using std::chrono::microseconds;

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
    entry.start_time = LogEntry::WallTime(microseconds(1772719629123000));
    entry.execution_time = entry.max_time = entry.min_time = entry.total_time = micros;
    return entry;
}

// The detailed layout through Dump, the plain one through DumpDetails.
std::string DumpText(const Logger& logger, bool with_state, uint32_t indentation = 0,
                     std::vector<std::string_view> filters = {}) {
    std::stringbuf text;
    dumpsys::DumpsysInfo info(-1, indentation, std::move(filters));
    info.stream_buffer = &text;
    logger.DumpDetails(info, with_state);
    return text.str();
}

// The text with the clock's parts as "T" and "N": start times and microseconds.
std::string Timeless(const std::string& text) {
    static const std::regex time(R"(\d\d-\d\d \d\d:\d\d:\d\d\.\d\d\d )");
    static const std::regex micros(R"(\b\d+ us\b)");
    return std::regex_replace(std::regex_replace(text, time, "T "), micros, "N us");
}

Argument Parcel(const Command& command, int32_t type = 17) {
    return Argument::FromParcelable("command", command, static_cast<ArgumentType>(type));
}

Command Burst(int32_t bytes) {
    return Command::make<Command::burst>(bytes);
}

Reply Active(int64_t frames, int32_t xruns = 0) {
    Reply reply;
    reply.fmqByteCount = 1920;
    reply.state = StreamDescriptor::State::ACTIVE;
    reply.observable = {.frames = frames, .timeNs = frames * 20833};
    reply.latencyMs = static_cast<int32_t>(frames % 7);
    reply.xrunFrames = xruns;
    return reply;
}

class LoggerTest : public ::testing::Test {
  protected:
    void SetUp() override {
        setenv("TZ", "UTC", 1);
        tzset();
    }
};

TEST_F(LoggerTest, Dump_GoldenText) {
    Logger logger(1 << 20);
    // Every kind of argument. Text is charged by its length and printed up to its first NUL; only
    // an integer is rendered as an audio mode; parcels are decoded again at every rendering.
    std::vector<Argument> all;
    all.emplace_back("mute", true);
    all.emplace_back("on", false);
    all.emplace_back("id", -7, ArgumentType::kBool);
    all.emplace_back("gain", 0.5f);
    all.emplace_back("name", std::string_view("speaker!", 7));
    all.emplace_back("nul", std::string("a\0b", 3));
    all.emplace_back("null", static_cast<const char*>(nullptr));
    for (const int32_t mode : {0, -1, 2, 7})
        all.emplace_back("mode", mode, ArgumentType::kAudioMode);
    all.emplace_back("text", "2").type = ArgumentType::kAudioMode;
    all.push_back(Parcel(Burst(960)));
    all.push_back(Parcel(Command::make<Command::start>()));
    all.push_back(Argument::FromParcelable("ret", Reply(), ArgumentType::kStreamDescriptorReply));
    // Types without a parcelable; a command read as a reply; an empty parcel.
    for (const int32_t type : {3, 23, 18}) all.push_back(Parcel(Burst(960), type));
    all.emplace_back("empty", ndk::ScopedAParcel(AParcel_create()), ArgumentType::kAudioPort);
    // A parcelable type given to an int would end the process at the next fold: a plain int.
    all.emplace_back("misused", 7, ArgumentType::kAudioPort);
    logger.Append(Call("setParameters", std::move(all), 250));
    // Three identical calls fold into the first.
    for (const int32_t micros : {100, 300, 20}) {
        logger.Append(Call("setMasterMute", Value(1), micros));
        logger.FoldContiguousDuplicatedEntry();
    }
    logger.SetAudioMode(2);
    logger.SetScoEnabled(true);
    LogEntry* call = logger.Append(Call("setAudioMode", Value(3), 40));
    call->ret.emplace("ret", false);
    call->ecode = -38;
    logger.SetAudioMode(-2);
    logger.SetScoEnabled(false);
    logger.SetA2dpSuspended(true);
    logger.SetLeSuspended(true);
    // Only the class name's last part is printed; milliseconds are cut, not rounded.
    call = logger.Append(Call("executing", {}, -1));
    call->class_name = "a.b.";
    call->start_time += microseconds(876999);
    // Folded calls show their statistics; the 32-bit total may have wrapped.
    call = logger.Append(Call("wrapped", {}, 41));
    call->class_name = "StreamDescriptor";
    call->start_time += microseconds(881000);
    std::tie(call->count, call->max_time, call->min_time, call->total_time) =
            std::tuple(3, 300, 200, -2147483000);

    std::string text = DumpText(logger, true, 2, {"AUtl::"}) + DumpText(logger, false);
    EXPECT_EQ(DumpText(logger, true, 0, {"AUtl::Res"}), "");
    {
        autl::test::LogCapture logs;
        for (const int n : {2, -1}) logger.DumpToLogcat(n);
        for (const std::string& line : logs.Lines("AUtl::Logger")) text += line + "\n";
    }
    // Reset empties the history but keeps the state.
    logger.Reset();
    text += DumpText(logger, false);
    logger.Append(Call("afterReset"));
    text += DumpText(logger, true);

    // A stream's pairs, with the clock's parts as "T" and "N". Without an open command, replies
    // and errors are ignored; replies that differ only in positions and latency fold; the last
    // error before the reply wins, one after it is ignored; a command without a reply is closed by
    // the next command.
    StreamLogger stream(1 << 20);
    stream.LogReply(Active(480));
    stream.LogInternalError(StreamLogger::Error::kTimeout);
    for (int64_t frames = 480; frames <= 480 * 5; frames += 480) {
        stream.LogCommand(Burst(1920));
        stream.LogReply(Active(frames));
    }
    stream.LogCommand(Burst(1920));
    stream.LogInternalError(StreamLogger::Error::kInvalidState);
    stream.LogInternalError(StreamLogger::Error::kHardwareFailure);
    stream.LogReply(Active(480));
    stream.LogInternalError(StreamLogger::Error::kTimeout);
    stream.LogCommand(Command::make<Command::start>());
    stream.LogCommand(Burst(1920));
    std::stringbuf dumped;
    dumpsys::DumpsysInfo info(-1, 0, {"AUtl::Log"});
    info.stream_buffer = &dumped;
    stream.Dump(info);
    EXPECT_EQ(dumped.str(), stream.ToString());
    text += Timeless(stream.ToString());

    EXPECT_EQ(text, autl::test::Golden("interactionlogger/dump.txt", text));
}

TEST_F(LoggerTest, Fold_OnlyTheSameClosedCall) {
    struct Pair {
        Logger& logger;
        LogEntry& older;
        LogEntry& newer;
    };
    const std::pair<const char*, void (*)(Pair)> differences[] = {
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
        EXPECT_EQ(logger.GetEntryCount(), what == std::end(differences)[-1].first ? 1u : 2u);
    }

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
        std::tie(prev->count, prev->total_time) = std::pair(c.count, c.total);
        folding.Append(Call("f", Value(1), c.last_total))->count = c.last_count;
        folding.FoldContiguousDuplicatedEntry();
        folding.ForEachEntry([&](const LogEntry& e) {
            EXPECT_EQ(std::pair(e.count, e.total_time), std::pair(c.folded_count, c.folded_total));
        });
    }
}

// Histories under a budget, calls still open while others fold or push them out, and stream pairs,
// compared whole with tests/data/interactionlogger/history.txt.
TEST_F(LoggerTest, Histories_GoldenText) {
    // Every entry costs 192 + 64 = 256 bytes; three fit exactly. An entry larger than the whole
    // budget empties the history and stays alone until the next append pushes it out.
    Logger logger(768);
    for (int i = 0; i < 4; ++i) logger.Append(Call("f", Value(i)));
    std::string text = DumpText(logger, false);
    std::vector<Argument> big;
    big.emplace_back("blob", std::string(2000, 'x'));
    logger.Append(Call("big", std::move(big)));
    text += std::to_string(logger.GetEntryCount()) + " of " + std::to_string(logger.GetBytes()) +
            " bytes\n";
    logger.Append(Call("f"));
    text += DumpText(logger, false);
    // Room for two: each round pushes the oldest out and folds the newest away, at every place of
    // the history's storage.
    Logger two(512);
    for (int i = 0; i < 40; ++i) {
        two.Append(Call("f", Value(i), i));
        two.Append(Call("f", Value(i), i));
        two.FoldContiguousDuplicatedEntry();
        text += DumpText(two, false);
    }

    // Calls through PendingEntry, with their clock's parts as "T" and "N". The return value is not
    // charged. Reassignment closes the handle it replaces; a moved-from handle is inert.
    Logger pending(1 << 20);
    for (int i = 0; i < 3; ++i) {
        PendingEntry call = pending.Begin(LogEntry("IModule", "f", Value(1)));
        call.SetReturn(Argument("ret", true));
        call.SetErrorCode(5);
    }
    PendingEntry first = pending.Begin(LogEntry("IModule", "g"));
    PendingEntry second = pending.Begin(LogEntry("IModule", "h"));
    first = std::move(second);
    second.Close();
    text += Timeless(DumpText(pending, false));
    first.Close();
    text += Timeless(DumpText(pending, false));
    // One producer's call stays open while another's identical calls fold behind it; closing it
    // folds them all into it.
    pending.Reset();
    PendingEntry open = pending.Begin(LogEntry("IModule", "f"));
    pending.Begin(LogEntry("IModule", "f")).Close();
    pending.Begin(LogEntry("IModule", "f")).Close();
    text += Timeless(DumpText(pending, false));
    open.Close();
    text += Timeless(DumpText(pending, false));
    // Pushed out by the budget, or reset away: nothing reaches the entry now in the history.
    Logger small(300);
    PendingEntry evicted = small.Begin(Call("f", Value(1), -1));
    small.Append(Call("g", Value(1), -1));
    PendingEntry reset = small.Begin(Call("h", Value(1), -1));
    small.Reset();
    small.Append(Call("i", Value(1), -1));
    for (PendingEntry* gone : {&evicted, &reset}) {
        gone->SetReturn(Argument("ret", 1));
        gone->SetErrorCode(3);
        gone->Close();
    }
    text += DumpText(small, false);

    // Stream pairs that differ from the one before in their command, xruns, error or state; the
    // first two are the same and fold, and the next command (8 bytes) is written where theirs (12)
    // was: only commands are charged.
    using Error = StreamLogger::Error;
    Reply paused = Active(960, 12);
    paused.state = StreamDescriptor::State::PAUSED;
    const std::vector<std::tuple<Command, Reply, Error>> pairs = {
            {Command::make<Command::start>(), Active(0), Error::kNone},
            {Command::make<Command::start>(), Active(0), Error::kNone},
            {Burst(960), Active(480), Error::kNone},
            {Burst(1920), Active(480), Error::kNone},
            {Burst(1920), Active(960, 12), Error::kNone},
            {Burst(1920), Active(960, 12), Error::kTransferFailed},
            {Burst(1920), paused, Error::kTransferFailed},
    };
    StreamLogger stream(1 << 20);
    for (const auto& [command, reply, error] : pairs) {
        stream.LogCommand(command);
        if (error != Error::kNone) stream.LogInternalError(error);
        stream.LogReply(reply);
    }
    text += Timeless(stream.ToString());
    EXPECT_EQ(text, autl::test::Golden("interactionlogger/history.txt", text));

    // The time since the steady start, in microseconds; the statistics start from it.
    LogEntry entry("IModule", "f", Value(1));
    entry.steady_start_time -= microseconds(1500);
    entry.count = 4;
    entry.SetExecutionTimeMs();
    EXPECT_EQ(std::tuple(entry.max_time, entry.min_time, entry.total_time, entry.count),
              std::tuple(entry.execution_time, entry.execution_time, entry.execution_time, 4));
    EXPECT_THAT(entry.execution_time,
                ::testing::AllOf(::testing::Ge(1500), ::testing::Lt(60000000)));
}

// Values that an int32_t, a float or a bool would silently change do not compile.
static_assert(!std::is_constructible_v<Argument, const char*, int64_t>);
static_assert(!std::is_constructible_v<Argument, const char*, uint32_t>);
static_assert(!std::is_constructible_v<Argument, const char*, size_t>);
static_assert(!std::is_constructible_v<Argument, const char*, double>);

TEST(ArgumentTest, Compare) {
    auto check = [](const char* what, const Argument& a, const Argument& b, bool equal) {
        EXPECT_EQ(CompareArgument(a, b), equal) << what;
        EXPECT_EQ(CompareArgument(b, a), equal) << what;
    };
    check("names ignored", Argument("x", 3), Argument("y", 3), true);
    check("types", Argument("x", 3, ArgumentType::kBool), Argument("x", 3), false);
    check("ints", Argument("x", 3), Argument("x", 4), false);
    check("bools", Argument("x", true), Argument("x", true), true);
    check("other bools", Argument("x", true), Argument("x", false), false);
    check("signed zeros", Argument("x", 0.0f), Argument("x", -0.0f), true);
    check("NaNs", Argument("x", std::nanf("")), Argument("x", std::nanf("")), false);
    check("pointers", Argument("x", &check), Argument("x", &check), true);
    check("other pointers", Argument("x", &check), Argument("x", nullptr), false);
    check("texts", Argument("x", "abc"), Argument("x", "abc"), true);
    check("other texts", Argument("x", "abc"), Argument("x", "abd"), false);
    check("NUL", Argument("x", "ab"), Argument("x", std::string("ab\0", 3)), false);
    Argument text("x", "1");
    check("alternatives", Argument("x", 1), (text.type = ArgumentType::kInt, text), false);
    // A parcel of a plain type is equal only to itself.
    const Argument parcel = Parcel(Burst(960), 4);
    EXPECT_TRUE(CompareArgument(parcel, parcel));
    check("parcels of plain type", parcel, Parcel(Burst(960), 4), false);

    // Parcelables, and types above their range, are compared by their bytes.
    check("commands", Parcel(Burst(960)), Parcel(Burst(960)), true);
    check("other commands", Parcel(Burst(960)), Parcel(Burst(480)), false);
    // A parcel of `count` words, all 0 but the last.
    auto words = [](ArgumentType type, std::vector<int32_t> words, size_t count = 0) {
        words.insert(words.begin(), count > words.size() ? count - words.size() : 0, 0);
        ndk::ScopedAParcel parcel(AParcel_create());
        for (const int32_t word : words) AParcel_writeInt32(parcel.get(), word);
        return Argument("p", std::move(parcel), type);
    };
    const auto kPort = ArgumentType::kAudioPort, kReply = ArgumentType::kStreamDescriptorReply;
    check("prefix", words(kPort, {0}), words(kPort, {0}, 2), false);
    check("large", words(kPort, {1}, 100), words(kPort, {1}, 100), true);
    check("other large", words(kPort, {1}, 100), words(kPort, {2}, 100), false);
    check("type 40", Parcel(Burst(1), 40), Parcel(Burst(1), 40), true);
    check("empty", words(kPort, {}), words(kPort, {}), true);

    // Stream replies are equal when all but their positions and latency are.
    using R = StreamDescriptor::Reply;
    auto reply = [&](void (*change)(R&)) {
        R r;
        r.fmqByteCount = 1920;
        r.state = StreamDescriptor::State::ACTIVE;
        r.observable = {.frames = 480, .timeNs = 1000};
        change(r);
        return Argument::FromParcelable("ret", r, kReply);
    };
    const Argument base = reply([](R&) {});
    check("frames", base, reply([](R& r) { r.observable.frames = 960; }), true);
    check("hardware", base, reply([](R& r) { r.hardware.timeNs = 5; }), true);
    check("latency", base, reply([](R& r) { r.latencyMs = 40; }), true);
    check("flush", base, reply([](R& r) { r.flushFromPosition = 7; }), true);
    check("xruns", base, reply([](R& r) { r.xrunFrames = 1; }), false);
    check("state", base, reply([](R& r) { r.state = StreamDescriptor::State::PAUSED; }), false);
    check("status", base, reply([](R& r) { r.status = -22; }), false);
    check("fmq", base, reply([](R& r) { r.fmqByteCount = 960; }), false);
    // Replies of older writers, read in full: one without flushFromPosition, one whose positions
    // lack timeNs.
    const int32_t active = static_cast<int32_t>(StreamDescriptor::State::ACTIVE);
    const int32_t paused = static_cast<int32_t>(StreamDescriptor::State::PAUSED);
    check("older", base,
          words(kReply, {72, 0, 1920, 1, 20, 480, 0, 1000, 0, 1, 20, -1, -1, -1, -1, 0, 0, active}),
          true);
    check("older, paused", base,
          words(kReply, {72, 0, 1920, 1, 20, 480, 0, 1000, 0, 1, 20, -1, -1, -1, -1, 0, 0, paused}),
          false);
    check("older positions", base,
          words(kReply, {64, 0, 1920, 1, 12, 480, 0, 1, 12, -1, -1, 0, 0, active, 0, 0}), true);
    // A reply that cannot be read back never compares equal.
    const Argument broken = Parcel(Burst(960), 18);
    EXPECT_FALSE(CompareArgument(broken, broken));
}

// Dumps into descriptors that fail: a closed one (checked to stay closed, so every write met
// EBADF), a pipe whose reader is gone with SIGPIPE's default action (which would end the process),
// and a file at its size limit, as on a full disk (it keeps exactly what fitted). Each dump
// returns, and the loggers stay usable.
TEST_F(LoggerTest, Dump_IntoFailingDescriptorsReturns) {
    constexpr rlim_t kLimit = 4096;
    const sighandler_t sigpipe = signal(SIGPIPE, SIG_DFL), sigxfsz = signal(SIGXFSZ, SIG_IGN);
    TemporaryDir dir;
    const std::string path = std::string(dir.path) + "/dump.txt";
    int fds[2];
    ASSERT_EQ(0, pipe2(fds, O_CLOEXEC));
    close(fds[0]);
    // Far above the lowest free number, so that no descriptor opened meanwhile takes it.
    const int closed = fcntl(fds[1], F_DUPFD_CLOEXEC, 512);
    close(closed);
    const int file = open(path.c_str(), O_WRONLY | O_CREAT | O_CLOEXEC, 0644);
    rlimit unlimited, limit;
    ASSERT_EQ(0, getrlimit(RLIMIT_FSIZE, &unlimited));
    limit = {kLimit, unlimited.rlim_max};
    for (const int fd : {closed, fds[1], file}) {
        Logger logger(1 << 16);
        for (int i = 0; i < 60; ++i) logger.Append(Call("setVendorParameters", Value(i)));
        StreamLogger stream(4096);
        stream.LogCommand(Burst(960));
        stream.LogReply(Active(960));
        const std::string expected = DumpText(logger, true);
        ASSERT_EQ(0, setrlimit(RLIMIT_FSIZE, &limit));
        logger.DumpDetails(dumpsys::DumpsysInfo(fd), true);
        stream.Dump(dumpsys::DumpsysInfo(fd));
        ASSERT_EQ(0, setrlimit(RLIMIT_FSIZE, &unlimited));
        errno = 0;
        EXPECT_TRUE(fd != closed || (fcntl(closed, F_GETFD) == -1 && errno == EBADF));
        std::string kept;
        EXPECT_TRUE(fd != file || (android::base::ReadFileToString(path, &kept) &&
                                   kept == expected.substr(0, kLimit) && expected.size() > kLimit));
        logger.Append(Call("getMasterMute"));
        EXPECT_EQ(61u, logger.GetEntryCount());
        EXPECT_TRUE(stream.ToString().starts_with("Interaction logger(1, "));
    }
    close(fds[1]);
    close(file);
    signal(SIGPIPE, sigpipe);
    signal(SIGXFSZ, sigxfsz);
}

// A call closed while a dump holds the mutex, stalled on a full pipe whose reader is slow: the
// call's time is its own work, not its wait for the mutex.
TEST_F(LoggerTest, Close_TimeIsTheCallsOwnWhileADumpHoldsTheMutex) {
    Logger logger(1 << 20);
    for (int i = 0; i < 200; ++i) logger.Append(Call("setVendorParameters", Value(i)));
    int fds[2];
    ASSERT_EQ(0, pipe2(fds, O_CLOEXEC));
    ASSERT_GT(fcntl(fds[1], F_SETPIPE_SZ, 4096), 0);
    PendingEntry call = logger.Begin(LogEntry("IModule", "f"));
    std::thread dumper([&] { logger.Dump(dumpsys::DumpsysInfo(fds[1])), close(fds[1]); });
    std::this_thread::sleep_for(std::chrono::milliseconds(20));  // the call's own work
    std::thread producer([&] { call.Close(); });
    std::this_thread::sleep_for(std::chrono::milliseconds(500));  // the slow reader
    for (char chunk[4096]; read(fds[0], chunk, sizeof(chunk)) > 0;) {
    }
    dumper.join(), producer.join(), close(fds[0]);
    int64_t time = 0;
    logger.ForEachEntry([&](const LogEntry& e) { time = e.execution_time; });
    EXPECT_TRUE(time >= 20000 && time < 500000) << time;
}

}  // namespace
}  // namespace vendor::zentro::tevrash::audio::hal::utils::interactionlogger
