// Several producers share one Logger, as the binder threads of a HAL module do, while other
// threads dump and reset it; a stream's worker logs into its StreamLogger while others dump it. Run
// under ThreadSanitizer and AddressSanitizer, these find data races and uses of entries that were
// pushed out, folded away or reset under their producer.

#include <interactionlogger/logger.h>

#include <atomic>
#include <chrono>
#include <latch>
#include <sstream>
#include <thread>

#include <gtest/gtest.h>

namespace vendor::zentro::tevrash::audio::hal::utils::interactionlogger {
namespace {

using aidl::android::hardware::audio::core::StreamDescriptor;

// One module call of a few kinds, so that some runs fold and others do not.
void LogModuleCall(Logger& logger, int thread, int i) {
    std::vector<Argument> arguments;
    arguments.emplace_back("mute", i % 4 == 0);
    if (i % 3 == 0) arguments.emplace_back("name", thread % 2 == 0 ? "speaker" : "earpiece");
    PendingEntry call = logger.Begin(
            LogEntry("IModule", i % 5 == 0 ? "setMode" : "setMasterMute", std::move(arguments)));
    call.SetReturn(Argument("ret", i % 7 != 0));
    if (i % 11 == 0) call.SetErrorCode(-22);
}

// A stream command and its reply, logged as the stream worker's own calls.
void LogStreamCall(Logger& logger, int i) {
    std::vector<Argument> arguments;
    arguments.push_back(Argument::FromParcelable(
            "command",
            StreamDescriptor::Command::make<StreamDescriptor::Command::burst>(i % 10 == 0 ? 960
                                                                                          : 1920),
            ArgumentType::kStreamDescriptorCommand));
    PendingEntry call = logger.Begin(LogEntry("StreamDescriptor", "Command", std::move(arguments)));
    StreamDescriptor::Reply reply;
    reply.observable.frames = i;
    call.SetReturn(Argument::FromParcelable("ret", reply, ArgumentType::kStreamDescriptorReply));
}

// What `dump` writes into a DumpsysInfo that collects text in memory.
template <typename Dump>
std::string DumpText(Dump dump) {
    std::stringbuf text;
    dumpsys::DumpsysInfo info;
    info.stream_buffer = &text;
    dump(info);
    return text.str();
}

uint64_t ChargedBytes(const Logger& logger) {
    uint64_t bytes = 0;
    logger.ForEachEntry([&](const LogEntry& e) { bytes += Logger::kEntrySize + e.arguments_size; });
    return bytes;
}

TEST(LoggerStressTest, ProducersDumpsAndResets_StayConsistent) {
    constexpr int kProducers = 4;
    constexpr int kCalls = 1500;
    Logger logger(4 * 1024);
    std::latch start(kProducers + 3);
    std::atomic<int> running = kProducers + 1;
    std::vector<std::thread> threads;
    for (int t = 0; t < kProducers; ++t) {
        threads.emplace_back([&, t] {
            start.arrive_and_wait();
            for (int i = 0; i < kCalls; ++i) LogModuleCall(logger, t, i);
            --running;
        });
    }
    threads.emplace_back([&] {
        start.arrive_and_wait();
        for (int i = 0; i < kCalls; ++i) LogStreamCall(logger, i);
        --running;
    });
    threads.emplace_back([&] {
        start.arrive_and_wait();
        while (running > 0) {
            EXPECT_TRUE(DumpText([&](const dumpsys::DumpsysInfo& info) {
                            logger.Dump(info);
                            logger.DumpDetails(info, false);
                        }).starts_with("Interaction logger("));
        }
    });
    threads.emplace_back([&] {
        start.arrive_and_wait();
        for (int i = 0; running > 0; ++i) {
            if (i % 64 == 0) logger.Reset();
            logger.SetAudioMode(i % 3);
            logger.SetScoEnabled(i % 2 == 0);
            std::this_thread::yield();
        }
    });
    for (std::thread& thread : threads) thread.join();

    EXPECT_EQ(logger.GetBytes(), ChargedBytes(logger));
    EXPECT_LE(logger.GetBytes(), 4u * 1024u);
    logger.ForEachEntry([](const LogEntry& e) {
        EXPECT_GE(e.execution_time, 0);
        EXPECT_GE(e.count, 1);
    });
}

TEST(LoggerStressTest, ProducersWithoutEviction_CountEveryCall) {
    constexpr int kProducers = 4;
    constexpr int kCalls = 2000;
    Logger logger(64 * 1024 * 1024);
    std::latch start(kProducers);
    std::vector<std::thread> threads;
    for (int t = 0; t < kProducers; ++t) {
        threads.emplace_back([&, t] {
            start.arrive_and_wait();
            for (int i = 0; i < kCalls; ++i) LogModuleCall(logger, t, i);
        });
    }
    for (std::thread& thread : threads) thread.join();

    int64_t calls = 0;
    logger.ForEachEntry([&](const LogEntry& e) { calls += e.count; });
    EXPECT_EQ(calls, kProducers * kCalls);
    EXPECT_EQ(logger.GetBytes(), ChargedBytes(logger));
}

// Runs until the deadline has passed and at least `minimum` rounds were done, so that a slow
// (sanitized) build still does real work and a fast one stops in bounded time.
template <typename Round>
void RunFor(std::chrono::steady_clock::time_point deadline, int minimum, Round round) {
    for (int i = 0; i < minimum || std::chrono::steady_clock::now() < deadline; ++i) round(i);
}

// Module calls logged in both ways (Begin, and Append with Logger::SetReturn and a PendingEntry
// made afterwards), a real StreamLogger whose worker logs commands, errors and replies, dumps of
// both, and resets and state changes of both, all at once for a bounded time.
TEST(LoggerStressTest, ModuleAndStreamLoggingForABoundedTime_StayConsistent) {
    constexpr int kProducers = 3;
    constexpr int kMinimumRounds = 300;
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(1);
    Logger logger(4 * 1024);
    StreamLogger stream(2 * 1024);
    std::latch start(kProducers + 4);
    std::atomic<int> running = kProducers + 2;
    std::vector<std::thread> threads;
    for (int t = 0; t < kProducers; ++t) {
        threads.emplace_back([&, t] {
            start.arrive_and_wait();
            RunFor(deadline, kMinimumRounds, [&](int i) { LogModuleCall(logger, t, i); });
            --running;
        });
    }
    threads.emplace_back([&] {
        start.arrive_and_wait();
        RunFor(deadline, kMinimumRounds, [&](int i) {
            std::vector<Argument> arguments;
            arguments.emplace_back("volume", i % 3);
            LogEntry* entry = logger.Append(LogEntry("IModule", "setVolume", std::move(arguments)));
            logger.SetReturn(entry, Argument("ret", i % 2 == 0));
            PendingEntry call(logger, entry);
        });
        --running;
    });
    threads.emplace_back([&] {
        start.arrive_and_wait();
        RunFor(deadline, kMinimumRounds, [&](int i) {
            stream.LogCommand(StreamDescriptor::Command::make<StreamDescriptor::Command::burst>(
                    i % 8 == 0 ? 960 : 1920));
            if (i % 13 == 0) stream.LogInternalError(StreamLogger::Error::kTransferFailed);
            StreamDescriptor::Reply reply;
            reply.observable.frames = i;
            reply.state = StreamDescriptor::State::ACTIVE;
            if (i % 5 != 0) stream.LogReply(reply);
        });
        --running;
    });
    threads.emplace_back([&] {
        start.arrive_and_wait();
        while (running > 0) {
            EXPECT_TRUE(DumpText([&](const dumpsys::DumpsysInfo& info) {
                            logger.Dump(info);
                            stream.Dump(info);
                        }).starts_with("Interaction logger("));
            EXPECT_TRUE(stream.ToString().starts_with("Interaction logger("));
        }
    });
    threads.emplace_back([&] {
        start.arrive_and_wait();
        for (int i = 0; running > 0; ++i) {
            if (i % 64 == 0) logger.Reset();
            if (i % 96 == 0) stream.GetLogger().Reset();
            logger.SetLeSuspended(i % 2 == 0);
            stream.GetLogger().SetAudioMode(i % 4);
            std::this_thread::yield();
        }
    });
    for (std::thread& thread : threads) thread.join();

    for (const Logger* history : {&logger, &stream.GetLogger()}) {
        EXPECT_EQ(history->GetBytes(), ChargedBytes(*history));
        history->ForEachEntry([](const LogEntry& e) { EXPECT_GE(e.count, 1); });
    }
    EXPECT_LE(logger.GetBytes(), 4u * 1024u);
    EXPECT_LE(stream.GetLogger().GetBytes(), 2u * 1024u);
}

// With a budget that evicts nothing, every command of a stream is counted once, however often
// other threads dump it meanwhile.
TEST(LoggerStressTest, StreamCommandsWhileDumping_CountEveryCommand) {
    constexpr int kCommands = 3000;
    StreamLogger stream(64 * 1024 * 1024);
    std::latch start(3);
    std::atomic<bool> logging = true;
    std::vector<std::thread> threads;
    threads.emplace_back([&] {
        start.arrive_and_wait();
        for (int i = 0; i < kCommands; ++i) {
            stream.LogCommand(StreamDescriptor::Command::make<StreamDescriptor::Command::burst>(
                    i % 100 < 50 ? 960 : 1920));
            StreamDescriptor::Reply reply;
            reply.observable.frames = i;
            stream.LogReply(reply);
        }
        logging = false;
    });
    for (int t = 0; t < 2; ++t) {
        threads.emplace_back([&] {
            start.arrive_and_wait();
            while (logging) EXPECT_FALSE(stream.ToString().empty());
        });
    }
    for (std::thread& thread : threads) thread.join();

    int64_t commands = 0;
    stream.GetLogger().ForEachEntry([&](const LogEntry& e) { commands += e.count; });
    EXPECT_EQ(commands, kCommands);
    // Runs of 50 equal commands fold into one entry each.
    EXPECT_EQ(stream.GetLogger().GetEntryCount(), static_cast<size_t>(kCommands / 50));
    EXPECT_EQ(stream.GetLogger().GetBytes(), ChargedBytes(stream.GetLogger()));
}

}  // namespace
}  // namespace vendor::zentro::tevrash::audio::hal::utils::interactionlogger
