// The interaction logger's hot paths, each next to the reference it is judged against, measured in
// the same run: a running stream's folded burst pair against the same pair formatted eagerly into
// a bounded text log; a module call into a 16 MiB history against a 64 KiB one; dumps of full
// histories against writing their lines alone, with the parcel layer's share of each dump and the
// rate of the library's own part; a pair's longest wait while another thread dumps
// against the same pairs without a dump; and the heap a full history holds for its byte budget,
// with the parcels' share of it. The ratios are printed at the end; run an optimised build:
//
//   build/default/benchmarks/logger_benchmark --benchmark_repetitions=5

#include <interactionlogger/logger.h>

#include <fcntl.h>
#include <malloc.h>
#include <time.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <deque>
#include <sstream>
#include <thread>

#include "ratio_reporter.h"

namespace vendor::zentro::tevrash::audio::hal::utils::interactionlogger {
namespace {

using aidl::android::hardware::audio::core::StreamDescriptor;

constexpr uint64_t k64KiB = 64 << 10;
constexpr uint64_t k1MiB = 1 << 20;
constexpr uint64_t k16MiB = 16 << 20;

StreamDescriptor::Reply ActiveReply(int64_t frames) {
    StreamDescriptor::Reply reply;
    reply.fmqByteCount = 1920;
    reply.state = StreamDescriptor::State::ACTIVE;
    reply.observable = {.frames = frames, .timeNs = frames * 20833};
    reply.latencyMs = 20;
    return reply;
}

StreamDescriptor::Command Burst(int32_t bytes) {
    return StreamDescriptor::Command::make<StreamDescriptor::Command::burst>(bytes);
}

// Fills a stream's history to its budget with pairs that do not fold (their burst sizes differ).
void FillStreamHistory(StreamLogger& logger, uint64_t budget) {
    const uint64_t pair = Logger::kEntrySize + Argument::kFixedSize + 8;
    for (int32_t bytes = 1; logger.GetLogger().GetBytes() + pair <= budget; ++bytes) {
        logger.LogCommand(Burst(bytes));
        logger.LogReply(ActiveReply(bytes));
    }
}

// A module call with plain arguments, every fourth with a parcelable; `i` keeps calls apart.
LogEntry ModuleCall(int32_t i) {
    std::vector<Argument> arguments;
    arguments.emplace_back("mute", i % 2 == 0);
    arguments.emplace_back("id", i);
    if (i % 4 == 0) {
        arguments.push_back(Argument::FromParcelable("reply", ActiveReply(i),
                                                     ArgumentType::kStreamDescriptorReply));
    }
    return LogEntry("IModule", "setMasterMute", std::move(arguments));
}

// Fills a history to its budget with closed calls that do not fold, with return values.
void FillModuleHistory(Logger& logger, uint64_t budget) {
    for (int32_t i = 1;; ++i) {
        LogEntry entry = ModuleCall(i);
        if (logger.GetBytes() + Logger::kEntrySize + entry.arguments_size > budget) return;
        PendingEntry call = logger.Begin(std::move(entry));
        call.SetReturn(Argument("ret", i));
    }
}

// What a running stream logs every period: a burst and its reply, folding into the newest entry of
// a full 64 KiB history.
void BM_StreamLogger_FoldedBurstPair(benchmark::State& state) {
    StreamLogger logger(k64KiB);
    FillStreamHistory(logger, k64KiB);
    const StreamDescriptor::Command burst = Burst(1920);
    int64_t frames = 0;
    for (auto _ : state) {
        logger.LogCommand(burst);
        logger.LogReply(ActiveReply(frames += 480));
    }
    state.counters["entries"] = static_cast<double>(logger.GetLogger().GetEntryCount());
}
BENCHMARK(BM_StreamLogger_FoldedBurstPair);

// The parcel layer's part of a folded pair: serialising the command and the reply into the parcels
// that the logger reuses, which the platform's parcels and generated code do on a device.
void BM_ParcelLayer_BurstPair(benchmark::State& state) {
    ndk::ScopedAParcel command(AParcel_create());
    ndk::ScopedAParcel reply(AParcel_create());
    const StreamDescriptor::Command burst = Burst(1920);
    int64_t frames = 0;
    for (auto _ : state) {
        AParcel_setDataPosition(command.get(), 0);
        benchmark::DoNotOptimize(burst.writeToParcel(command.get()));
        AParcel_setDataPosition(reply.get(), 0);
        benchmark::DoNotOptimize(ActiveReply(frames += 480).writeToParcel(reply.get()));
    }
}
BENCHMARK(BM_ParcelLayer_BurstPair);

// The same pair in a text log bounded to 64 KiB, as an eager logger would keep it: stamped and
// formatted at once, then appended (its positions change with every reply, so its text never
// repeats and nothing folds), pushing the oldest lines out.
void BM_EagerText_FoldedBurstPair(benchmark::State& state) {
    std::deque<std::string> lines;
    size_t bytes = 0;
    const StreamDescriptor::Command burst = Burst(1920);
    int64_t frames = 0;
    for (auto _ : state) {
        const auto now = std::chrono::system_clock::now();
        const time_t seconds = std::chrono::system_clock::to_time_t(now);
        struct tm local {};
        localtime_r(&seconds, &local);
        char stamp[32];
        const size_t length = strftime(stamp, sizeof(stamp), "%m-%d %T", &local);
        const auto millis =
                std::chrono::duration_cast<std::chrono::milliseconds>(now.time_since_epoch()).count() %
                1000;
        std::string line(stamp, length);
        line += "." + std::to_string(millis) +
                " StreamDescriptor::Command: args(1): [command: " + burst.toString() +
                "], ret: " + ActiveReply(frames += 480).toString() + ", ecode: 0";
        bytes += line.size();
        lines.push_back(std::move(line));
        while (bytes > k64KiB) {
            bytes -= lines.front().size();
            lines.pop_front();
        }
    }
    state.counters["entries"] = static_cast<double>(lines.size());
}
BENCHMARK(BM_EagerText_FoldedBurstPair);

// One module call through its handle, as a binder thread logs it, into a full history of the
// given budget: the same call again and again, folding into the newest entry.
void BM_Logger_Call(benchmark::State& state) {
    const auto budget = static_cast<uint64_t>(state.range(0));
    Logger logger(budget);
    FillModuleHistory(logger, budget);
    for (auto _ : state) {
        std::vector<Argument> arguments;
        arguments.emplace_back("mute", true);
        PendingEntry call = logger.Begin(LogEntry("IModule", "setMasterMute", std::move(arguments)));
        call.SetReturn(Argument("ret", true));
        call.SetErrorCode(0);
        call.Close();
    }
    state.counters["entries"] = static_cast<double>(logger.GetEntryCount());
}
BENCHMARK(BM_Logger_Call)->Arg(k64KiB)->Arg(k16MiB);

// Calls that never fold, closed as they come, into a full history: each pushes the oldest out.
void BM_Logger_AppendSteadyState(benchmark::State& state) {
    const auto budget = static_cast<uint64_t>(state.range(0));
    Logger logger(budget);
    FillModuleHistory(logger, budget);
    int32_t i = 1 << 30;
    for (auto _ : state) logger.Begin(ModuleCall(++i)).Close();
    state.counters["entries"] = static_cast<double>(logger.GetEntryCount());
}
BENCHMARK(BM_Logger_AppendSteadyState)->Arg(k64KiB)->Arg(k16MiB);

// The text of a dump, captured once.
template <typename Dumpable>
std::string DumpText(Dumpable& dumpable) {
    std::stringbuf text;
    dumpsys::DumpsysInfo info;
    info.stream_buffer = &text;
    dumpable.Dump(info);
    return text.str();
}

double CountLines(const std::string& text) {
    return static_cast<double>(std::count(text.begin(), text.end(), '\n'));
}

// The parcel layer's part of a dump: decoding and rendering every stored parcel of the history, as
// the dump does (the platform's generated readFromParcel and toString on a device).
void RenderParcels(const Logger& logger) {
    std::string text;
    auto render = [&text](const Argument& argument) {
        if (const auto* parcel = std::get_if<ndk::ScopedAParcel>(&argument.value)) {
            text.clear();
            text += argument.ToStringAidl(*parcel);
            benchmark::DoNotOptimize(text.data());
        }
    };
    logger.ForEachEntry([&](const LogEntry& entry) {
        for (const Argument& argument : entry.arguments) render(argument);
        if (entry.ret.has_value()) render(*entry.ret);
    });
}

double Seconds(std::chrono::steady_clock::duration duration) {
    return std::chrono::duration<double>(duration).count();
}

// Dumps to /dev/null, counting the lines each dump really writes; the benchmark's time is the
// dump's alone. Right after each dump the same history's parcels are rendered once more, so that
// the parcel layer's share is measured in the same conditions as the dump it belongs to:
// "parcel share" is its part of the dump's time, "own M lines/s" the rate of the library's own
// part (the dump's time less the parcel layer's), which is what carries over to a device; 0 when
// noise made the parcel layer's pass the longer.
template <typename Dumpable>
void DumpToNull(benchmark::State& state, Dumpable& dumpable, const Logger& logger) {
    const double lines = CountLines(DumpText(dumpable));
    const int fd = open("/dev/null", O_WRONLY | O_CLOEXEC);
    const dumpsys::DumpsysInfo info(fd);
    std::chrono::steady_clock::duration dumping{};
    std::chrono::steady_clock::duration rendering{};
    for (auto _ : state) {
        const auto start = std::chrono::steady_clock::now();
        dumpable.Dump(info);
        const auto dumped = std::chrono::steady_clock::now();
        RenderParcels(logger);
        const auto rendered = std::chrono::steady_clock::now();
        state.SetIterationTime(Seconds(dumped - start));
        dumping += dumped - start;
        rendering += rendered - dumped;
    }
    close(fd);
    const double iterations = static_cast<double>(state.iterations());
    state.counters["lines"] = lines;
    state.counters["lines/s"] = lines * iterations / Seconds(dumping);
    state.counters["parcel share"] = Seconds(rendering) / Seconds(dumping);
    state.counters["own M lines/s"] =
            rendering < dumping ? lines * iterations / Seconds(dumping - rendering) / 1e6 : 0;
}

// Logger::Dump (the detailed layout) of a full history of module calls.
void BM_Logger_Dump(benchmark::State& state) {
    const auto budget = static_cast<uint64_t>(state.range(0));
    Logger logger(budget);
    FillModuleHistory(logger, budget);
    DumpToNull(state, logger, logger);
}
BENCHMARK(BM_Logger_Dump)->Arg(k64KiB)->Arg(k1MiB)->UseManualTime()->Unit(benchmark::kMillisecond);

// StreamLogger::Dump (the plain layout) of a full 1 MiB history of pairs that did not fold.
void BM_StreamLogger_Dump(benchmark::State& state) {
    StreamLogger logger(k1MiB);
    FillStreamHistory(logger, k1MiB);
    DumpToNull(state, logger, logger.GetLogger());
}
BENCHMARK(BM_StreamLogger_Dump)->UseManualTime()->Unit(benchmark::kMillisecond);

// The reference of a dump: its lines alone, one write() each to /dev/null.
void BM_WriteDumpLines(benchmark::State& state) {
    std::string text;
    if (state.range(0) == 0) {
        Logger logger(k1MiB);
        FillModuleHistory(logger, k1MiB);
        text = DumpText(logger);
    } else {
        StreamLogger logger(k1MiB);
        FillStreamHistory(logger, k1MiB);
        text = DumpText(logger);
    }
    std::vector<std::string_view> lines;
    for (size_t start = 0, end; (end = text.find('\n', start)) != std::string::npos;
         start = end + 1) {
        lines.push_back(std::string_view(text).substr(start, end - start + 1));
    }
    const int fd = open("/dev/null", O_WRONLY | O_CLOEXEC);
    for (auto _ : state) {
        for (std::string_view line : lines)
            benchmark::DoNotOptimize(write(fd, line.data(), line.size()));
    }
    close(fd);
    state.counters["lines/s"] = benchmark::Counter(static_cast<double>(lines.size()),
                                                   benchmark::Counter::kIsIterationInvariantRate);
}
BENCHMARK(BM_WriteDumpLines)->Arg(0)->Arg(1)->Unit(benchmark::kMillisecond);

// The longest LogCommand + LogReply of a stream with a full 1 MiB history, while another thread
// dumps that history again and again (1) or without it (0).
void BM_StreamLogger_LongestPair(benchmark::State& state) {
    StreamLogger logger(k1MiB);
    FillStreamHistory(logger, k1MiB);
    const bool dumping = state.range(0) == 1;
    std::atomic<bool> stop = false;
    std::atomic<int> dumps = 0;
    // The dumping thread's CPU time per dump: how long a dump holds the mutex when nothing else
    // wants its core, which a loaded machine can only lengthen.
    double dump_cpu_ms = 0;
    std::thread dumper([&] {
        const int fd = open("/dev/null", O_WRONLY | O_CLOEXEC);
        const dumpsys::DumpsysInfo info(fd);
        auto cpu_ms = [] {
            timespec now{};
            clock_gettime(CLOCK_THREAD_CPUTIME_ID, &now);
            return static_cast<double>(now.tv_sec) * 1e3 + static_cast<double>(now.tv_nsec) / 1e6;
        };
        // A dump every millisecond: far more often than dump requests come, and still room for
        // the pairs between two dumps (a mutex is not fair: back-to-back dumps could starve them).
        while (dumping && !stop) {
            const double start = cpu_ms();
            logger.Dump(info);
            dump_cpu_ms = std::max(dump_cpu_ms, cpu_ms() - start);
            ++dumps;
            std::this_thread::sleep_for(std::chrono::milliseconds(1));
        }
        close(fd);
    });
    const StreamDescriptor::Command burst = Burst(1920);
    int64_t frames = 0;
    std::chrono::steady_clock::duration longest{};
    for (auto _ : state) {
        const auto start = std::chrono::steady_clock::now();
        logger.LogCommand(burst);
        logger.LogReply(ActiveReply(frames += 480));
        longest = std::max(longest, std::chrono::steady_clock::now() - start);
    }
    stop = true;
    dumper.join();
    state.counters["longest ms"] = std::chrono::duration<double, std::milli>(longest).count();
    state.counters["dumps"] = dumps.load();
    state.counters["dump cpu ms"] = dump_cpu_ms;
}
BENCHMARK(BM_StreamLogger_LongestPair)->Arg(0)->Arg(1)->MinTime(1.0);

// A parcelable argument as StreamLogger stores it: a parcel of the data's exact size.
template <typename Parcelable>
Argument ExactParcel(const char* name, const Parcelable& object, ArgumentType type) {
    const Argument written = Argument::FromParcelable(name, object, type);
    const AParcel* source = std::get<ndk::ScopedAParcel>(written.value).get();
    std::vector<uint8_t> bytes(static_cast<size_t>(AParcel_getDataSize(source)));
    AParcel_marshal(source, bytes.data(), 0, bytes.size());
    ndk::ScopedAParcel exact(AParcel_create());
    AParcel_unmarshal(exact.get(), bytes.data(), bytes.size());
    return Argument(name, std::move(exact), type);
}

size_t HeapInUse() {
    return mallinfo2().uordblks;
}

// The heap that `count` arguments made by make(i) hold, divided by a 1 MiB budget, less the vector
// that holds them here, which is not part of a history.
template <typename Make>
double HeapOfArgumentsPerBudgetByte(size_t count, Make make) {
    const size_t start = HeapInUse();
    std::vector<Argument> held;
    held.reserve(count);
    for (size_t i = 0; i < count; ++i) held.push_back(make(i));
    return (static_cast<double>(HeapInUse() - start) -
            static_cast<double>(held.capacity() * sizeof(Argument))) /
           k1MiB;
}

// The heap a full 1 MiB history holds, divided by its budget: a stream's pairs (0), module calls
// (1), and the parcels alone that those histories hold (2 and 3), which the platform's parcels
// replace on a device.
void BM_Logger_HeapPerBudgetByte(benchmark::State& state) {
    const int64_t kind = state.range(0);
    double ratio = 0;
    for (auto _ : state) {
        const size_t before = HeapInUse();
        if (kind == 0 || kind == 2) {
            auto logger = std::make_unique<StreamLogger>(k1MiB);
            FillStreamHistory(*logger, k1MiB);
            if (kind == 2) {
                // The same parcels, made as the stream logger makes them.
                const size_t pairs = logger->GetLogger().GetEntryCount();
                logger.reset();
                ratio = HeapOfArgumentsPerBudgetByte(2 * pairs, [](size_t i) {
                    return i % 2 == 0 ? ExactParcel("command", Burst(static_cast<int32_t>(i / 2)),
                                                    ArgumentType::kStreamDescriptorCommand)
                                      : ExactParcel("ret", ActiveReply(static_cast<int64_t>(i / 2)),
                                                    ArgumentType::kStreamDescriptorReply);
                });
                continue;
            }
            ratio = static_cast<double>(HeapInUse() - before) / k1MiB;
        } else {
            Logger logger(k1MiB);
            FillModuleHistory(logger, k1MiB);
            if (kind == 3) {
                size_t parcels = 0;
                logger.ForEachEntry(
                        [&](const LogEntry& entry) { parcels += entry.arguments.size() > 2; });
                ratio = HeapOfArgumentsPerBudgetByte(parcels, [](size_t i) {
                    return Argument::FromParcelable("reply", ActiveReply(static_cast<int64_t>(i)),
                                                    ArgumentType::kStreamDescriptorReply);
                });
                continue;
            }
            ratio = static_cast<double>(HeapInUse() - before) / k1MiB;
        }
    }
    state.counters["heap/budget"] = ratio;
}
BENCHMARK(BM_Logger_HeapPerBudgetByte)->DenseRange(0, 3)->Iterations(1);

}  // namespace
}  // namespace vendor::zentro::tevrash::audio::hal::utils::interactionlogger

int main(int argc, char** argv) {
    return autl::bench::RunWithRatios(
            argc, argv,
            {
                    {"folded burst pair, ours / eager text log", "BM_StreamLogger_FoldedBurstPair",
                     "BM_EagerText_FoldedBurstPair", "", "<= 0.25"},
                    {"  parcel layer's part of the pair", "BM_ParcelLayer_BurstPair",
                     "BM_StreamLogger_FoldedBurstPair", "", "-"},
                    {"module call, 16 MiB / 64 KiB history", "BM_Logger_Call/16777216",
                     "BM_Logger_Call/65536", "", "<= 1.1"},
                    {"(info) steady-state append, 16 MiB / 64 KiB",
                     "BM_Logger_AppendSteadyState/16777216", "BM_Logger_AppendSteadyState/65536",
                     "", "-"},
                    {"Logger::Dump 1 MiB, lines/s / write() alone", "BM_Logger_Dump/1048576",
                     "BM_WriteDumpLines/0", "lines/s", "-"},
                    {"Logger::Dump lines/s, 1 MiB / 64 KiB (linear)", "BM_Logger_Dump/1048576",
                     "BM_Logger_Dump/65536", "lines/s", "~1"},
                    {"  parcel layer's share of its time", "BM_Logger_Dump/1048576", "",
                     "parcel share", "-"},
                    {"  library's own part, M lines/s", "BM_Logger_Dump/1048576", "",
                     "own M lines/s", ">= 1.4"},
                    {"StreamLogger::Dump 1 MiB, lines/s / write() alone", "BM_StreamLogger_Dump",
                     "BM_WriteDumpLines/1", "lines/s", "-"},
                    {"  parcel layer's share of its time", "BM_StreamLogger_Dump", "",
                     "parcel share", "-"},
                    {"  library's own part, M lines/s", "BM_StreamLogger_Dump", "", "own M lines/s",
                     ">= 0.8"},
                    {"longest pair (ms), dumping / not dumping", "BM_StreamLogger_LongestPair/1",
                     "BM_StreamLogger_LongestPair/0", "longest ms", "-"},
                    {"heap / budget, stream history", "BM_Logger_HeapPerBudgetByte/0", "",
                     "heap/budget", "<= 1.6"},
                    {"  of which parcels", "BM_Logger_HeapPerBudgetByte/2", "", "heap/budget", "-"},
                    {"heap / budget, module history", "BM_Logger_HeapPerBudgetByte/1", "",
                     "heap/budget", "-"},
                    {"  of which parcels", "BM_Logger_HeapPerBudgetByte/3", "", "heap/budget", "-"},
            });
}
