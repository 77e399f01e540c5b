#include <aidl/android/hardware/audio/core/StreamDescriptor.h>
#include <aidl/android/media/audio/common/PcmType.h>
#include <aidl/android/media/audio/common/Void.h>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstring>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "aidl_test_support.h"

namespace {

using aidl::android::hardware::audio::core::StreamDescriptor;
using aidl::android::hardware::common::fmq::GrantorDescriptor;
using aidl::android::media::audio::common::PcmType;
using autl::test::Bytes;
using autl::test::Decode;
using autl::test::Encode;
using autl::test::ExpectRoundTrip;
using Command = StreamDescriptor::Command;
using Reply = StreamDescriptor::Reply;

TEST(StreamDescriptorTest, Command_BurstBytesAndText) {
    const Command burst = Command::make<Command::burst>(960);
    EXPECT_EQ((Bytes{0x03, 0x00, 0x00, 0x00, 0xC0, 0x03, 0x00, 0x00}), Encode(burst));
    EXPECT_EQ("Command{burst: 960}", burst.toString());

    // Void alternatives: tag, non-null marker, the empty parcelable's size header.
    const Command start = Command::make<Command::start>();
    EXPECT_EQ((Bytes{2, 0, 0, 0, 1, 0, 0, 0, 4, 0, 0, 0}), Encode(start));
    EXPECT_EQ("Command{start: Void{}}", start.toString());
    EXPECT_EQ("Command{drain: DRAIN_EARLY_NOTIFY}",
              Command::make<Command::drain>(StreamDescriptor::DrainMode::DRAIN_EARLY_NOTIFY)
                      .toString());
    EXPECT_EQ("Command{halReservedExit: 0}", Command().toString());
}

TEST(StreamDescriptorTest, Command_EveryAlternativeRoundTrips) {
    const std::vector<Command> commands = {
            Command::make<Command::halReservedExit>(-5),
            Command::make<Command::getStatus>(),
            Command::make<Command::start>(),
            Command::make<Command::burst>(INT32_MAX),
            Command::make<Command::drain>(StreamDescriptor::DrainMode::DRAIN_ALL),
            Command::make<Command::standby>(),
            Command::make<Command::pause>(),
            Command::make<Command::flush>(),
            Command::make<Command::flushFromFrame>((1 << 28) | 480),
    };
    for (size_t i = 0; i < commands.size(); ++i) {
        EXPECT_EQ(static_cast<Command::Tag>(i), commands[i].getTag());
        ExpectRoundTrip(commands[i]);
    }
    // Alternatives with the same payload type still differ by tag.
    EXPECT_NE(commands[1], commands[2]);
    EXPECT_LT(commands[1], commands[2]);
}

TEST(StreamDescriptorTest, Command_Accessors) {
    Command command;
    EXPECT_EQ(Command::halReservedExit, command.getTag());
    command.set<Command::burst>(48);
    ASSERT_EQ(Command::burst, command.getTag());
    EXPECT_EQ(48, command.get<Command::burst>());
    command.get<Command::burst>() = 96;
    EXPECT_EQ(Command::make<Command::burst>(96), command);
    // A payload type held by one alternative only converts to it.
    command = StreamDescriptor::DrainMode::DRAIN_ALL;
    EXPECT_EQ(Command::drain, command.getTag());
    EXPECT_EQ("burst", toString(Command::Tag::burst));
    std::vector<Command::Tag> tags;
    for (Command::Tag tag : ndk::enum_range<Command::Tag>()) tags.push_back(tag);
    EXPECT_EQ(9u, tags.size());
    EXPECT_EQ(Command::Tag::flushFromFrame, tags.back());
}

TEST(StreamDescriptorTest, Reply_DefaultSizeAndText) {
    const Reply reply;
    const Bytes bytes = Encode(reply);
    ASSERT_EQ(76u, bytes.size());
    EXPECT_EQ((Bytes{76, 0, 0, 0}), Bytes(bytes.begin(), bytes.begin() + 4));
    // The state, STANDBY (1), is the third int32 from the end.
    EXPECT_EQ((Bytes{1, 0, 0, 0, 0, 0, 0, 0}), Bytes(bytes.end() - 8, bytes.end()));
    EXPECT_EQ(
            "Reply{status: 0, fmqByteCount: 0, observable: Position{frames: -1, timeNs: -1}, "
            "hardware: Position{frames: -1, timeNs: -1}, latencyMs: 0, xrunFrames: 0, "
            "state: STANDBY, flushFromPosition: 0}",
            reply.toString());
}

TEST(StreamDescriptorTest, Reply_EveryFieldRoundTrips) {
    Reply reply;
    reply.status = -22;
    reply.fmqByteCount = 3840;
    reply.observable = {.frames = 48000, .timeNs = 1'000'000'007};
    reply.hardware = {.frames = 47520, .timeNs = INT64_MAX};
    reply.latencyMs = StreamDescriptor::LATENCY_UNKNOWN;
    reply.xrunFrames = 7;
    reply.state = StreamDescriptor::State::DRAIN_PAUSED;
    reply.flushFromPosition = 0x0FFFFFFF;
    ExpectRoundTrip(reply);
    EXPECT_EQ(
            "Reply{status: -22, fmqByteCount: 3840, observable: Position{frames: 48000, "
            "timeNs: 1000000007}, hardware: Position{frames: 47520, timeNs: 9223372036854775807}, "
            "latencyMs: -1, xrunFrames: 7, state: DRAIN_PAUSED, flushFromPosition: 268435455}",
            reply.toString());
    reply.state = static_cast<StreamDescriptor::State>(42);
    EXPECT_NE(std::string::npos, reply.toString().find("state: 42,"));
}

TEST(StreamDescriptorTest, Reply_OlderAndNewerWriters) {
    Reply reply;
    reply.flushFromPosition = 5;
    reply.xrunFrames = 9;
    Bytes bytes = Encode(reply);

    // A writer without the last field: a 72-byte parcelable; the field keeps its default.
    Bytes older(bytes.begin(), bytes.end() - 4);
    older[0] = 72;
    Reply decoded;
    decoded.flushFromPosition = 123;
    ASSERT_EQ(STATUS_OK, Decode(older, &decoded));
    EXPECT_EQ(9, decoded.xrunFrames);
    EXPECT_EQ(123, decoded.flushFromPosition);

    // A writer with one more field: the reader skips it and ends after the declared size.
    Bytes newer = bytes;
    newer.insert(newer.end(), {0xAA, 0xBB, 0xCC, 0xDD, 0x11, 0, 0, 0});
    newer[0] = 80;
    ndk::ScopedAParcel parcel(AParcel_create());
    ASSERT_EQ(STATUS_OK, AParcel_unmarshal(parcel.get(), newer.data(), newer.size()));
    ASSERT_EQ(STATUS_OK, decoded.readFromParcel(parcel.get()));
    EXPECT_EQ(reply, decoded);
    EXPECT_EQ(80, AParcel_getDataPosition(parcel.get()));
}

TEST(StreamDescriptorTest, BadInput_PlatformStatuses) {
    const Bytes reply = Encode(Reply());
    auto with_header = [&](int32_t size) {
        Bytes bytes = reply;
        std::memcpy(bytes.data(), &size, 4);
        return bytes;
    };
    const struct {
        const char* what;
        Bytes bytes;
        binder_status_t status;
    } kReplies[] = {
            {"empty", {}, STATUS_NOT_ENOUGH_DATA},
            {"size header below 4", with_header(3), STATUS_BAD_VALUE},
            {"negative size header", with_header(-76), STATUS_BAD_VALUE},
            {"size header past the end", with_header(80), STATUS_BAD_VALUE},
            {"null position",
             [&] {
                 Bytes bytes = reply;
                 bytes[12] = 0;  // the marker of observable
                 return bytes;
             }(),
             STATUS_UNEXPECTED_NULL},
            {"a command's bytes", Encode(Command::make<Command::burst>(960)), STATUS_BAD_VALUE},
    };
    for (const auto& c : kReplies) {
        Reply decoded;
        EXPECT_EQ(c.status, Decode(c.bytes, &decoded)) << c.what;
    }

    const struct {
        const char* what;
        Bytes bytes;
        binder_status_t status;
    } kCommands[] = {
            {"unknown tag", {9, 0, 0, 0, 0, 0, 0, 0}, STATUS_BAD_VALUE},
            {"negative tag", {0xFF, 0xFF, 0xFF, 0xFF, 0, 0, 0, 0}, STATUS_BAD_VALUE},
            {"tag only", {3, 0, 0, 0}, STATUS_NOT_ENOUGH_DATA},
            {"null Void", {1, 0, 0, 0, 0, 0, 0, 0}, STATUS_UNEXPECTED_NULL},
    };
    for (const auto& c : kCommands) {
        Command decoded = Command::make<Command::burst>(1);
        EXPECT_EQ(c.status, Decode(c.bytes, &decoded)) << c.what;
        EXPECT_EQ(Command::make<Command::burst>(1), decoded) << c.what << " changed the value";
    }
}

TEST(StreamDescriptorTest, Descriptor_QueuesWithDescriptorsDoNotMarshal) {
    int pipe_fds[2];
    ASSERT_EQ(0, pipe(pipe_fds));
    StreamDescriptor descriptor;
    descriptor.command.grantors = {GrantorDescriptor{.fdIndex = 0, .offset = 0, .extent = 64}};
    descriptor.command.handle.fds.emplace_back(pipe_fds[0]);
    descriptor.command.handle.ints = {3, 4};
    descriptor.command.quantum = 8;
    descriptor.reply.handle.fds.emplace_back(pipe_fds[1]);
    descriptor.frameSizeBytes = 4;
    descriptor.bufferSizeFrames = 960;

    ndk::ScopedAParcel parcel = autl::test::Write(descriptor);
    EXPECT_TRUE(autl::test::Marshal(parcel.get()).empty());
    ASSERT_EQ(STATUS_OK, AParcel_setDataPosition(parcel.get(), 0));
    StreamDescriptor decoded;
    ASSERT_EQ(STATUS_OK, decoded.readFromParcel(parcel.get()));
    ASSERT_EQ(1u, decoded.command.handle.fds.size());
    struct stat original, copy;
    ASSERT_EQ(0, fstat(pipe_fds[0], &original));
    ASSERT_EQ(0, fstat(decoded.command.handle.fds[0].get(), &copy));
    EXPECT_EQ(original.st_ino, copy.st_ino);
    EXPECT_NE(pipe_fds[0], decoded.command.handle.fds[0].get());
    EXPECT_EQ(descriptor.command.grantors, decoded.command.grantors);
    EXPECT_EQ(descriptor.command.handle.ints, decoded.command.handle.ints);
    EXPECT_EQ(960, decoded.bufferSizeFrames);
    EXPECT_EQ(
            "MQDescriptor{grantors: [GrantorDescriptor{fdIndex: 0, offset: 0, extent: 64}], "
            "handle: NativeHandle{fds: [ParcelFileDescriptor], ints: [3, 4]}, quantum: 8, "
            "flags: 0}",
            decoded.command.toString());

    // An MMAP buffer needs a valid descriptor, as on the device.
    descriptor.audio.set<StreamDescriptor::AudioBuffer::mmap>();
    ndk::ScopedAParcel refused(AParcel_create());
    EXPECT_EQ(STATUS_UNEXPECTED_NULL, descriptor.writeToParcel(refused.get()));
}

TEST(StreamDescriptorTest, Descriptor_DefaultRoundTrips) {
    ExpectRoundTrip(StreamDescriptor());
    EXPECT_EQ(
            "StreamDescriptor{command: MQDescriptor{grantors: [], handle: NativeHandle{fds: [], "
            "ints: []}, quantum: 0, flags: 0}, reply: MQDescriptor{grantors: [], "
            "handle: NativeHandle{fds: [], ints: []}, quantum: 0, flags: 0}, frameSizeBytes: 0, "
            "bufferSizeFrames: 0, audio: AudioBuffer{fmq: MQDescriptor{grantors: [], "
            "handle: NativeHandle{fds: [], ints: []}, quantum: 0, flags: 0}}}",
            StreamDescriptor().toString());
}

TEST(PcmTypeTest, NamesAndValues) {
    EXPECT_EQ(sizeof(int8_t), sizeof(PcmType));
    const struct {
        PcmType type;
        int value;
        const char* name;
    } kTypes[] = {
            {PcmType::DEFAULT, 0, "DEFAULT"},           {PcmType::UINT_8_BIT, 0, "DEFAULT"},
            {PcmType::INT_16_BIT, 1, "INT_16_BIT"},     {PcmType::INT_32_BIT, 2, "INT_32_BIT"},
            {PcmType::FIXED_Q_8_24, 3, "FIXED_Q_8_24"}, {PcmType::FLOAT_32_BIT, 4, "FLOAT_32_BIT"},
            {PcmType::INT_24_BIT, 5, "INT_24_BIT"},     {static_cast<PcmType>(9), 9, "9"},
    };
    for (const auto& t : kTypes) {
        EXPECT_EQ(t.value, static_cast<int>(t.type));
        EXPECT_EQ(t.name, toString(t.type));
    }
    std::vector<PcmType> all(ndk::enum_range<PcmType>().begin(), ndk::enum_range<PcmType>().end());
    EXPECT_EQ((std::vector<PcmType>{PcmType::DEFAULT, PcmType::UINT_8_BIT, PcmType::INT_16_BIT,
                                    PcmType::INT_32_BIT, PcmType::FIXED_Q_8_24,
                                    PcmType::FLOAT_32_BIT, PcmType::INT_24_BIT}),
              all);
}

}  // namespace
