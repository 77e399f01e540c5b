// Several producers share one Logger, as the binder threads of a HAL module do, while other
// threads dump and reset it; a stream's worker logs into its StreamLogger while others dump it. Run
// under ThreadSanitizer and AddressSanitizer, these find data races and uses of entries that were
// pushed out, folded away or reset under their producer.

#include <interactionlogger/logger.h>

#include <atomic>
#include <latch>
#include <sstream>
#include <thread>

#include <gtest/gtest.h>

namespace vendor::zentro::tevrash::audio::hal::utils::interactionlogger {
namespace {

using aidl::android::hardware::audio::core::StreamDescriptor;

// Four producers and a stream worker log while two threads dump, one of them also resetting and
// changing the audio state, with budgets that push entries out all the time. Then again with
// budgets that push nothing out and without resets: every call is counted once, equal pairs fold.
// Every entry is closed, every module call keeps its own return value and error code (both repeat
// its "id" argument), and the charge is the sum of the entries' charges.
TEST(LoggerStressTest, ProducersDumpsAndResets_StayConsistent) {
    for (const bool evicting : {true, false}) {
        SCOPED_TRACE(evicting ? "evicting" : "not evicting");
        const uint64_t budget = evicting ? 4 * 1024 : 64 * 1024 * 1024;
        Logger logger(budget);
        StreamLogger stream(budget / 2);
        std::atomic<int> running = 5;
        std::latch start(7);
        std::vector<std::thread> threads;
        for (int t = 0; t < 7; ++t) {
            threads.emplace_back([&, t] {
                start.arrive_and_wait();
                // A few kinds of call, so that some runs fold and others do not.
                for (int i = 0; t < 4 && i < 2000; ++i) {
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
                // Runs of 50 equal commands, and internal errors if evicting.
                for (int i = 0; t == 4 && i < 3000; ++i) {
                    stream.LogCommand(
                            StreamDescriptor::Command::make<StreamDescriptor::Command::burst>(
                                    i % 100 < 50 ? 960 : 1920));
                    if (evicting && i % 13 == 0) {
                        stream.LogInternalError(StreamLogger::Error::kTransferFailed);
                    }
                    StreamDescriptor::Reply reply;
                    reply.observable.frames = i;
                    stream.LogReply(reply);
                }
                if (t < 5) --running;
                for (int i = 0; t > 4 && running > 0; ++i) {
                    std::stringbuf text;
                    dumpsys::DumpsysInfo info;
                    info.stream_buffer = &text;
                    // Dumps of a history that grows without bound would make the run quadratic.
                    if (evicting) logger.Dump(info);
                    stream.Dump(info);
                    EXPECT_TRUE(text.str().starts_with("Interaction logger("));
                    if (t == 5 || !evicting) continue;
                    if (i % 64 == 0) logger.Reset();
                    if (i % 96 == 0) stream.GetLogger().Reset();
                    logger.SetAudioMode(i % 3);
                    logger.SetScoEnabled(i % 2 == 0);
                    stream.GetLogger().SetLeSuspended(i % 2 == 0);
                }
            });
        }
        for (std::thread& thread : threads) thread.join();

        int64_t calls[2] = {};
        for (const Logger* history : {&logger, &stream.GetLogger()}) {
            uint64_t bytes = 0;
            history->ForEachEntry([&](const LogEntry& e) {
                bytes += Logger::kEntrySize + e.arguments_size;
                calls[history == &logger ? 0 : 1] += e.count;
                EXPECT_GE(e.execution_time, 0);
                if (history != &logger) return;
                const int32_t id = std::get<int32_t>(e.arguments.at(0).value);
                EXPECT_EQ(std::pair(std::get<int32_t>(e.ret.value().value), e.ecode),
                          std::pair(id, -id));
            });
            EXPECT_EQ(history->GetBytes(), bytes);
            EXPECT_LE(bytes, history == &logger ? budget : budget / 2);
        }
        if (!evicting) {
            EXPECT_EQ(std::pair(calls[0], calls[1]), std::pair(int64_t{4 * 2000}, int64_t{3000}));
            EXPECT_EQ(stream.GetLogger().GetEntryCount(), 3000u / 50);
        }
    }
}

}  // namespace
}  // namespace vendor::zentro::tevrash::audio::hal::utils::interactionlogger
