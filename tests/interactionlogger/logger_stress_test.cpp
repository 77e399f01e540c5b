// Several producers share one Logger, as the binder threads of a HAL module do, while other
// threads dump and reset it. Run under ThreadSanitizer and AddressSanitizer, these find data races
// and uses of entries that were pushed out, folded away or reset under their producer.

#include <interactionlogger/logger.h>

#include <atomic>
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
            std::stringbuf text;
            dumpsys::DumpsysInfo info;
            info.stream_buffer = &text;
            logger.Dump(info);
            logger.DumpDetails(info, false);
            EXPECT_TRUE(text.str().starts_with("Interaction logger("));
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

}  // namespace
}  // namespace vendor::zentro::tevrash::audio::hal::utils::interactionlogger
