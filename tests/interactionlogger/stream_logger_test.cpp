#include <interactionlogger/logger.h>

#include <regex>
#include <sstream>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace vendor::zentro::tevrash::audio::hal::utils::interactionlogger {
namespace {

using aidl::android::hardware::audio::core::StreamDescriptor;
using Command = StreamDescriptor::Command;
using Reply = StreamDescriptor::Reply;

const std::string kRule(142, '=');
const std::string kHead = "T StreamDescriptor::Command: args(1): [command: Command{";

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

// The dump with its clock-dependent parts replaced: "T" for a start time, "N" for the number of
// every "<number> us".
std::string Normalized(const std::string& text) {
    static const std::regex time(R"(\d\d-\d\d \d\d:\d\d:\d\d\.\d\d\d )");
    static const std::regex micros(R"(\b\d+ us\b)");
    return std::regex_replace(std::regex_replace(text, time, "T "), micros, "N us");
}

TEST(StreamLoggerTest, PairsFoldAndCommandsWithoutReply) {
    StreamLogger logger(1 << 20);
    EXPECT_EQ(logger.ToString(), "Interaction logger(0, 0):\n" + kRule + "\n" + kRule + "\n");
    // Without an open command, replies and errors are ignored.
    logger.LogReply(Active(480));
    logger.LogInternalError(StreamLogger::Error::kTimeout);
    // Replies that differ only in positions and latency fold.
    for (int64_t frames = 480; frames <= 480 * 5; frames += 480) {
        logger.LogCommand(Burst(1920));
        logger.LogReply(Active(frames));
    }
    // The last error before the reply wins; one after it is ignored.
    logger.LogCommand(Burst(1920));
    logger.LogInternalError(StreamLogger::Error::kInvalidState);
    logger.LogInternalError(StreamLogger::Error::kHardwareFailure);
    logger.LogReply(Active(480));
    logger.LogInternalError(StreamLogger::Error::kTimeout);
    // A command without a reply is closed by the next command.
    logger.LogCommand(Command::make<Command::start>());
    logger.LogCommand(Burst(1920));
    const std::string reply =
            "ret: Reply{status: 0, fmqByteCount: 1920, observable: Position{frames: 480, timeNs: "
            "9999840}, hardware: Position{frames: -1, timeNs: -1}, latencyMs: 4, xrunFrames: 0, "
            "state: ACTIVE, flushFromPosition: 0}";
    EXPECT_EQ(
            Normalized(logger.ToString()),
            "Interaction logger(4, 1060):\n" + kRule + "\n" + kHead + "burst: 1920}], " + reply +
                    ", ecode: 0, contiguous calls: [count: 5, max: N us, min: N us, avg: N us]\n" +
                    kHead + "burst: 1920}], " + reply + ", ecode: 4, time: N us\n" + kHead +
                    "start: Void{}}], ret: not set, ecode: 0, time: N us\n" + kHead +
                    "burst: 1920}], ret: not set, ecode: 0, time: executing\n" + kRule + "\n");
}

TEST(StreamLoggerTest, DifferentPairsDoNotFold) {
    using Error = StreamLogger::Error;
    Reply paused = Active(960, 12);
    paused.state = StreamDescriptor::State::PAUSED;
    // Each pair differs from the one before in its command, xruns, error or state; the first two
    // are the same and fold, and the next command (8 bytes) is written where theirs (12) was.
    const std::vector<std::tuple<Command, Reply, Error>> pairs = {
            {Command::make<Command::start>(), Active(0), Error::kNone},
            {Command::make<Command::start>(), Active(0), Error::kNone},
            {Burst(960), Active(480), Error::kNone},
            {Burst(1920), Active(480), Error::kNone},
            {Burst(1920), Active(960, 12), Error::kNone},
            {Burst(1920), Active(960, 12), Error::kTransferFailed},
            {Burst(1920), paused, Error::kTransferFailed},
    };
    StreamLogger logger(1 << 20);
    for (const auto& [command, reply, error] : pairs) {
        logger.LogCommand(command);
        if (error != Error::kNone) logger.LogInternalError(error);
        logger.LogReply(reply);
    }
    EXPECT_EQ(logger.GetLogger().GetEntryCount(), pairs.size() - 1);
    EXPECT_EQ(logger.GetLogger().GetBytes(), 268u + 5u * 264u);
}

TEST(StreamLoggerTest, Dump_PlainLayoutFiltersAndBudget) {
    // Room for three entries of 192 + 64 + 8 bytes: the replies are not charged.
    StreamLogger logger(800);
    logger.GetLogger().SetAudioMode(2);
    for (int32_t bytes = 1; bytes <= 5; ++bytes) {
        logger.LogCommand(Burst(bytes));
        logger.LogReply(Active(bytes));
    }
    EXPECT_EQ(logger.GetLogger().GetEntryCount(), 3u);
    EXPECT_EQ(logger.GetLogger().GetBytes(), 3u * 264u);
    logger.GetLogger().ForEachEntry([](const LogEntry& e) { EXPECT_EQ(e.audio_mode, 2); });

    for (std::string_view filter : {"AUtl::Log", "AUtl::Res", ""}) {
        std::stringbuf text;
        dumpsys::DumpsysInfo info(-1, 0, {filter});
        info.stream_buffer = &text;
        logger.Dump(info);
        EXPECT_EQ(text.str(), filter == "AUtl::Res" ? "" : logger.ToString()) << filter;
    }
    EXPECT_THAT(Normalized(logger.ToString()),
                ::testing::StartsWith("Interaction logger(3, 792):\n" + kRule + "\n" + kHead));
}

}  // namespace
}  // namespace vendor::zentro::tevrash::audio::hal::utils::interactionlogger
