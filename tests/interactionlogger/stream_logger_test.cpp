#include <interactionlogger/logger.h>

#include <cctype>
#include <sstream>
#include <thread>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace vendor::zentro::tevrash::audio::hal::utils::interactionlogger {
namespace {

using aidl::android::hardware::audio::core::StreamDescriptor;
using Command = StreamDescriptor::Command;
using Reply = StreamDescriptor::Reply;
using State = StreamDescriptor::State;

const std::string kRule(142, '=');

Command Burst(int32_t bytes) {
    return Command::make<Command::burst>(bytes);
}

Reply Active(int64_t frames, int32_t xruns = 0) {
    Reply reply;
    reply.fmqByteCount = 1920;
    reply.state = State::ACTIVE;
    reply.observable = {.frames = frames, .timeNs = frames * 20833};
    reply.latencyMs = static_cast<int32_t>(frames % 7);
    reply.xrunFrames = xruns;
    return reply;
}

// The dump with its clock-dependent parts replaced: "T" for a start time ("MM-DD hh:mm:ss.mmm"),
// "N" for the number of every "<number> us".
std::string Normalized(const std::string& text) {
    auto matches = [&](size_t at, std::string_view pattern) {
        if (at + pattern.size() > text.size()) return false;
        for (size_t i = 0; i < pattern.size(); ++i) {
            const char c = text[at + i];
            if (pattern[i] == 'd' ? !std::isdigit(static_cast<unsigned char>(c)) : c != pattern[i]) {
                return false;
            }
        }
        return true;
    };
    std::string out;
    for (size_t i = 0; i < text.size();) {
        if (matches(i, "dd-dd dd:dd:dd.ddd ")) {
            out += "T ";
            i += 19;
            continue;
        }
        size_t end = i + (text[i] == '-' ? 1 : 0);
        while (end < text.size() && std::isdigit(static_cast<unsigned char>(text[end]))) ++end;
        const bool digits = end > i + (text[i] == '-' ? 1 : 0);
        if (digits && (i == 0 || !std::isalnum(static_cast<unsigned char>(text[i - 1]))) &&
            text.compare(end, 3, " us") == 0) {
            out += "N";
            i = end;
            continue;
        }
        out += text[i++];
    }
    return out;
}

std::string Dump(StreamLogger& logger, std::vector<std::string_view> filters = {}) {
    std::stringbuf text;
    dumpsys::DumpsysInfo info(-1, 0, std::move(filters));
    info.stream_buffer = &text;
    logger.Dump(info);
    return text.str();
}

const std::string kReplyText =
        "ret: Reply{status: 0, fmqByteCount: 1920, observable: Position{frames: 480, timeNs: "
        "9999840}, hardware: Position{frames: -1, timeNs: -1}, latencyMs: 4, xrunFrames: 0, "
        "state: ACTIVE, flushFromPosition: 0}";

TEST(StreamLoggerTest, ToString_Empty) {
    StreamLogger logger(4096);
    EXPECT_EQ(logger.ToString(), "Interaction logger(0, 0):\n" + kRule + "\n" + kRule + "\n");
}

TEST(StreamLoggerTest, IdenticalPairsFold) {
    StreamLogger logger(1 << 20);
    // Replies that differ only in positions and latency still fold.
    for (int64_t frames = 480; frames <= 480 * 5; frames += 480) {
        logger.LogCommand(Burst(1920));
        logger.LogReply(Active(frames));
    }
    EXPECT_EQ(logger.GetLogger().GetEntryCount(), 1u);
    EXPECT_EQ(logger.GetLogger().GetBytes(), 192u + 64u + 8u);
    EXPECT_EQ(Normalized(logger.ToString()),
              "Interaction logger(1, 264):\n" + kRule + "\n" +
                      "T StreamDescriptor::Command: args(1): [command: Command{burst: 1920}], " +
                      kReplyText +
                      ", ecode: 0, contiguous calls: [count: 5, max: N us, min: N us, avg: N "
                      "us]\n" +
                      kRule + "\n");

    // A different command, reply state, xrun count or error code starts a new entry.
    logger.LogCommand(Burst(960));
    logger.LogReply(Active(480));
    logger.LogCommand(Burst(960));
    logger.LogReply(Active(960, 12));
    logger.LogCommand(Burst(960));
    logger.LogInternalError(StreamLogger::Error::kTransferFailed);
    logger.LogReply(Active(960, 12));
    EXPECT_EQ(logger.GetLogger().GetEntryCount(), 4u);
    logger.LogCommand(Burst(960));
    logger.LogInternalError(StreamLogger::Error::kTransferFailed);
    logger.LogReply(Active(1440, 12));
    EXPECT_EQ(logger.GetLogger().GetEntryCount(), 4u);
}

TEST(StreamLoggerTest, CommandWithoutReply) {
    StreamLogger logger(1 << 20);
    logger.LogReply(Active(480));
    logger.LogInternalError(StreamLogger::Error::kTimeout);
    EXPECT_EQ(logger.GetLogger().GetEntryCount(), 0u);

    logger.LogCommand(Command::make<Command::start>());
    logger.LogCommand(Burst(1920));
    EXPECT_EQ(Normalized(logger.ToString()),
              "Interaction logger(2, 532):\n" + kRule + "\n" +
                      "T StreamDescriptor::Command: args(1): [command: Command{start: Void{}}], "
                      "ret: not set, ecode: 0, time: N us\n"
                      "T StreamDescriptor::Command: args(1): [command: Command{burst: 1920}], "
                      "ret: not set, ecode: 0, time: executing\n" +
                      kRule + "\n");
}

TEST(StreamLoggerTest, InternalError_LastBeforeReplyWins) {
    StreamLogger logger(1 << 20);
    logger.LogCommand(Burst(1920));
    logger.LogInternalError(StreamLogger::Error::kInvalidState);
    logger.LogInternalError(StreamLogger::Error::kHardwareFailure);
    logger.LogReply(Active(480));
    logger.LogInternalError(StreamLogger::Error::kTimeout);
    EXPECT_THAT(Normalized(logger.ToString()),
                ::testing::HasSubstr(kReplyText + ", ecode: 4, time: N us\n"));
}

TEST(StreamLoggerTest, Dump_PlainLayoutAndFilters) {
    StreamLogger logger(1 << 20);
    logger.GetLogger().SetAudioMode(2);
    logger.LogCommand(Burst(1920));
    logger.LogReply(Active(480));
    EXPECT_EQ(Dump(logger), logger.ToString());
    EXPECT_EQ(Dump(logger, {"AUtl::Log"}), logger.ToString());
    EXPECT_EQ(Dump(logger, {"AUtl::Res"}), "");
    logger.GetLogger().ForEachEntry([](const LogEntry& e) { EXPECT_EQ(e.audio_mode, 2); });
}

TEST(StreamLoggerTest, Budget_ChargesCommandsOnly) {
    // Room for three entries of 264 bytes.
    StreamLogger logger(800);
    for (int32_t bytes = 1; bytes <= 5; ++bytes) {
        logger.LogCommand(Burst(bytes));
        logger.LogReply(Active(bytes));
    }
    EXPECT_EQ(logger.GetLogger().GetEntryCount(), 3u);
    EXPECT_EQ(logger.GetLogger().GetBytes(), 3u * 264u);
}

TEST(StreamLoggerTest, Concurrency_WorkerLogsWhileDumping) {
    StreamLogger logger(16 * 1024);
    std::atomic<bool> done = false;
    constexpr int kPairs = 3000;
    std::thread worker([&] {
        for (int i = 0; i < kPairs; ++i) {
            logger.LogCommand(Burst(i % 3 == 0 ? 960 : 1920));
            if (i % 50 == 0) logger.LogInternalError(StreamLogger::Error::kTransferFailed);
            logger.LogReply(Active(i));
        }
        done = true;
    });
    int dumps = 0;
    while (!done || dumps == 0) {
        const std::string text = logger.ToString();
        EXPECT_TRUE(text.starts_with("Interaction logger(")) << text;
        ++dumps;
    }
    worker.join();
    uint64_t bytes = 0;
    logger.GetLogger().ForEachEntry([&](const LogEntry& e) {
        bytes += Logger::kEntrySize + e.arguments_size;
        EXPECT_GE(e.execution_time, 0);
    });
    EXPECT_EQ(bytes, logger.GetLogger().GetBytes());
    EXPECT_LE(bytes, 16u * 1024u);
}

}  // namespace
}  // namespace vendor::zentro::tevrash::audio::hal::utils::interactionlogger
