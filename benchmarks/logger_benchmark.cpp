// The interaction logger's hot paths: logging a stream's command/reply pairs and module calls,
// dumping a full history, and the heap a full history holds for its byte budget.

#include <interactionlogger/logger.h>

#include <fcntl.h>
#include <malloc.h>
#include <unistd.h>

#include <benchmark/benchmark.h>

namespace vendor::zentro::tevrash::audio::hal::utils::interactionlogger {
namespace {

using aidl::android::hardware::audio::core::StreamDescriptor;

StreamDescriptor::Reply ActiveReply(int64_t frames) {
    StreamDescriptor::Reply reply;
    reply.fmqByteCount = 1920;
    reply.state = StreamDescriptor::State::ACTIVE;
    reply.observable = {.frames = frames, .timeNs = frames * 20833};
    reply.latencyMs = 20;
    return reply;
}

const StreamDescriptor::Command kBurst =
        StreamDescriptor::Command::make<StreamDescriptor::Command::burst>(1920);

// What a running stream logs every period: a burst and its reply, folding into one entry.
void BM_StreamLogger_FoldedBurstPair(benchmark::State& state) {
    StreamLogger logger(64 * 1024);
    int64_t frames = 0;
    for (auto _ : state) {
        logger.LogCommand(kBurst);
        logger.LogReply(ActiveReply(frames += 480));
    }
    state.counters["entries"] = static_cast<double>(logger.GetLogger().GetEntryCount());
}
BENCHMARK(BM_StreamLogger_FoldedBurstPair)->Repetitions(5)->ReportAggregatesOnly(true);

// The same pair handled eagerly: formatted as text at once and compared with the previous pair's
// text, as a text log that folds repeats would have to.
void BM_EagerText_FoldedBurstPair(benchmark::State& state) {
    std::string previous_command;
    std::string previous_reply;
    int64_t frames = 0;
    int64_t folded = 0;
    for (auto _ : state) {
        std::string command = kBurst.toString();
        StreamDescriptor::Reply reply = ActiveReply(frames += 480);
        std::string reply_text = reply.toString();
        if (command == previous_command && reply_text == previous_reply) ++folded;
        previous_command = std::move(command);
        previous_reply = std::move(reply_text);
        benchmark::DoNotOptimize(folded);
    }
}
BENCHMARK(BM_EagerText_FoldedBurstPair)->Repetitions(5)->ReportAggregatesOnly(true);

LogEntry ModuleCall(int32_t i) {
    std::vector<Argument> arguments;
    arguments.emplace_back("id", i);
    return LogEntry("IModule", "setMasterMute", std::move(arguments));
}

// Appends of entries that never fold, into a full history: each pushes the oldest out.
void BM_Logger_AppendSteadyState(benchmark::State& state) {
    const auto budget = static_cast<uint64_t>(state.range(0));
    Logger logger(budget);
    int32_t i = 0;
    while (logger.GetBytes() + Logger::kEntrySize + Argument::kFixedSize <= budget) {
        logger.Append(ModuleCall(i++));
    }
    for (auto _ : state) logger.Append(ModuleCall(i++));
    state.counters["entries"] = static_cast<double>(logger.GetEntryCount());
}
BENCHMARK(BM_Logger_AppendSteadyState)->Arg(64 << 10)->Arg(16 << 20);

// Fills a logger with a realistic mix: module calls with plain and parcelable arguments, closed,
// with return values.
void FillModuleHistory(Logger& logger, uint64_t budget) {
    for (int32_t i = 0; logger.GetBytes() + 1024 < budget; ++i) {
        std::vector<Argument> arguments;
        arguments.emplace_back("mute", i % 2 == 0);
        arguments.emplace_back("id", i);
        if (i % 4 == 0) {
            StreamDescriptor::Reply reply = ActiveReply(i);
            arguments.push_back(
                    Argument::FromParcelable("reply", reply, ArgumentType::kStreamDescriptorReply));
        }
        PendingEntry call = logger.Begin(LogEntry("IModule", "setMasterMute", std::move(arguments)));
        call.SetReturn(Argument("ret", i));
    }
}

void BM_Logger_DetailedDumpOfFullHistory(benchmark::State& state) {
    constexpr uint64_t kBudget = 1 << 20;
    Logger logger(kBudget);
    FillModuleHistory(logger, kBudget);
    const int fd = open("/dev/null", O_WRONLY | O_CLOEXEC);
    dumpsys::DumpsysInfo info(fd);
    for (auto _ : state) logger.Dump(info);
    close(fd);
    // Eight lines of header and rules, at least one per entry.
    const double lines = 8.0 + static_cast<double>(logger.GetEntryCount());
    state.counters["entries"] = static_cast<double>(logger.GetEntryCount());
    state.counters["lines/s"] =
            benchmark::Counter(lines, benchmark::Counter::kIsIterationInvariantRate);
}
BENCHMARK(BM_Logger_DetailedDumpOfFullHistory)->Unit(benchmark::kMillisecond);

size_t HeapInUse() {
    return mallinfo2().uordblks;
}

// The heap a full history holds, divided by its byte budget.
void BM_Logger_HeapPerBudgetByte(benchmark::State& state) {
    constexpr uint64_t kBudget = 1 << 20;
    const bool stream = state.range(0) == 1;
    double ratio = 0;
    for (auto _ : state) {
        const size_t before = HeapInUse();
        {
            if (stream) {
                StreamLogger logger(kBudget);
                for (int64_t frames = 0; logger.GetLogger().GetBytes() + 512 < kBudget;
                     frames += 480) {
                    // Different burst sizes keep pairs from folding.
                    logger.LogCommand(
                            StreamDescriptor::Command::make<StreamDescriptor::Command::burst>(
                                    static_cast<int32_t>(frames)));
                    logger.LogReply(ActiveReply(frames));
                }
                ratio = static_cast<double>(HeapInUse() - before) / kBudget;
            } else {
                Logger logger(kBudget);
                FillModuleHistory(logger, kBudget);
                ratio = static_cast<double>(HeapInUse() - before) / kBudget;
            }
        }
    }
    state.counters["heap/budget"] = ratio;
    state.SetLabel(stream ? "stream pairs" : "module calls");
}
BENCHMARK(BM_Logger_HeapPerBudgetByte)->Arg(0)->Arg(1)->Iterations(1);

}  // namespace
}  // namespace vendor::zentro::tevrash::audio::hal::utils::interactionlogger

BENCHMARK_MAIN();
