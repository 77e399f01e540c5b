// Several producers share one Logger, as the binder threads of a HAL module do, while other
// threads dump and reset it; a stream's worker logs into its StreamLogger while others dump it. Run
// under ThreadSanitizer and AddressSanitizer, these find data races and uses of entries that were
// pushed out, folded away or reset under their producer.

#include <interactionlogger/logger.h>

#include <atomic>
#include <functional>
#include <latch>
#include <sstream>
#include <thread>

#include <gtest/gtest.h>

namespace vendor::zentro::tevrash::audio::hal::utils::interactionlogger {
namespace {

using aidl::android::hardware::audio::core::StreamDescriptor;

// Checks that the charge is the sum of the entries' charges, that every entry is closed and that
// every module call's return value and error code are its own (both repeat its "id" argument);
// returns the calls the entries hold.
int64_t CheckedCalls(const Logger& logger, bool module) {
    uint64_t bytes = 0;
    int64_t calls = 0;
    logger.ForEachEntry([&](const LogEntry& e) {
        bytes += Logger::kEntrySize + e.arguments_size;
        calls += e.count;
        EXPECT_GE(e.count, 1);
        EXPECT_GE(e.execution_time, 0);
        if (!module) return;
        const int32_t id = std::get<int32_t>(e.arguments.at(0).value);
        ASSERT_TRUE(e.ret.has_value());
        EXPECT_EQ(std::get<int32_t>(e.ret->value), id);
        EXPECT_EQ(e.ecode, -id);
    });
    EXPECT_EQ(logger.GetBytes(), bytes);
    return calls;
}

// Four producers and a stream worker log while two threads dump, one of them also resetting and
// changing the audio state, with budgets that push entries out all the time. Then again with
// budgets that push nothing out and without resets: every call is counted once, equal pairs fold.
TEST(LoggerStressTest, ProducersDumpsAndResets_StayConsistent) {
    for (const bool evicting : {true, false}) {
        SCOPED_TRACE(evicting ? "evicting" : "not evicting");
        const uint64_t budget = evicting ? 4 * 1024 : 64 * 1024 * 1024;
        Logger logger(budget);
        StreamLogger stream(budget / 2);
        std::atomic<int> running = 5;
        std::latch start(7);
        std::vector<std::thread> threads;
        auto run = [&](std::function<void()> task) {
            threads.emplace_back([&start, task] {
                start.arrive_and_wait();
                task();
            });
        };
        for (int t = 0; t < 4; ++t) {
            run([&, t] {
                // A few kinds of call, so that some runs fold and others do not.
                for (int i = 0; i < 2000; ++i) {
                    const int32_t id = (t + i / 8) % 3;
                    std::vector<Argument> arguments;
                    arguments.emplace_back("id", id);
                    if (i % 3 == 0) arguments.emplace_back("name", t % 2 ? "earpiece" : "speaker");
                    PendingEntry call = logger.Begin(
                            LogEntry("IModule", i % 5 == 0 ? "setMode" : "setMasterMute",
                                     std::move(arguments)));
                    call.SetReturn(Argument("ret", id));
                    call.SetErrorCode(-id);
                }
                --running;
            });
        }
        // Runs of 50 equal commands, and internal errors if evicting.
        run([&] {
            for (int i = 0; i < 3000; ++i) {
                stream.LogCommand(StreamDescriptor::Command::make<StreamDescriptor::Command::burst>(
                        i % 100 < 50 ? 960 : 1920));
                if (evicting && i % 13 == 0) {
                    stream.LogInternalError(StreamLogger::Error::kTransferFailed);
                }
                StreamDescriptor::Reply reply;
                reply.observable.frames = i;
                stream.LogReply(reply);
            }
            --running;
        });
        for (const bool resetting : {false, evicting}) {
            run([&, resetting] {
                for (int i = 0; running > 0; ++i) {
                    std::stringbuf text;
                    dumpsys::DumpsysInfo info;
                    info.stream_buffer = &text;
                    // Dumps of a history that grows without bound would make the run quadratic.
                    if (evicting) logger.Dump(info);
                    stream.Dump(info);
                    EXPECT_TRUE(text.str().starts_with("Interaction logger("));
                    if (!resetting) continue;
                    if (i % 64 == 0) logger.Reset();
                    if (i % 96 == 0) stream.GetLogger().Reset();
                    logger.SetAudioMode(i % 3);
                    logger.SetScoEnabled(i % 2 == 0);
                    stream.GetLogger().SetLeSuspended(i % 2 == 0);
                }
            });
        }
        for (std::thread& thread : threads) thread.join();

        const int64_t module_calls = CheckedCalls(logger, true);
        const int64_t stream_calls = CheckedCalls(stream.GetLogger(), false);
        EXPECT_LE(logger.GetBytes(), budget);
        EXPECT_LE(stream.GetLogger().GetBytes(), budget / 2);
        if (!evicting) {
            EXPECT_EQ(module_calls, 4 * 2000);
            EXPECT_EQ(stream_calls, 3000);
            EXPECT_EQ(stream.GetLogger().GetEntryCount(), 3000u / 50);
        }
    }
}

}  // namespace
}  // namespace vendor::zentro::tevrash::audio::hal::utils::interactionlogger
