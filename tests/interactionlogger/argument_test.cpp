#include <interactionlogger/logger.h>

#include <android-base/stringprintf.h>

#include <aidl/android/hardware/audio/core/IModule.h>
#include <aidl/android/media/audio/common/AudioPort.h>

#include <cmath>
#include <limits>

#include <gtest/gtest.h>

namespace vendor::zentro::tevrash::audio::hal::utils::interactionlogger {
namespace {

using aidl::android::hardware::audio::core::IModule;
using aidl::android::hardware::audio::core::StreamDescriptor;
using aidl::android::media::audio::common::AudioPort;

Argument CommandArgument(StreamDescriptor::Command command) {
    return Argument::FromParcelable("command", command, ArgumentType::kStreamDescriptorCommand);
}

Argument ReplyArgument(const StreamDescriptor::Reply& reply) {
    return Argument::FromParcelable("ret", reply, ArgumentType::kStreamDescriptorReply);
}

StreamDescriptor::Command Burst(int32_t bytes) {
    return StreamDescriptor::Command::make<StreamDescriptor::Command::burst>(bytes);
}

TEST(ArgumentTest, ToString_PlainValues) {
    int object = 0;
    const std::vector<std::pair<Argument, std::string>> cases = [&] {
        std::vector<std::pair<Argument, std::string>> v;
        v.emplace_back(Argument("mute", true), "mute: true");
        v.emplace_back(Argument("mute", false), "mute: false");
        v.emplace_back(Argument("id", 7), "id: 7");
        v.emplace_back(Argument("id", -7, ArgumentType::kBool), "id: -7");
        v.emplace_back(Argument("gain", 0.5f), "gain: 0.500000");
        v.emplace_back(Argument("ptr", static_cast<void*>(&object)),
                       android::base::StringPrintf("ptr: 0x%p", static_cast<void*>(&object)));
        v.emplace_back(Argument("name", "speaker"), "name: speaker");
        v.emplace_back(Argument("name", std::string("a\0b", 3)), "name: a");
        v.emplace_back(Argument("name", ""), "name: ");
        v.emplace_back(Argument("name", static_cast<const char*>(nullptr)), "name: ");
        return v;
    }();
    for (const auto& [argument, text] : cases) EXPECT_EQ(argument.ToString(), text);
}

TEST(ArgumentTest, ToString_AudioModeNames) {
    const std::vector<std::pair<int32_t, std::string>> modes = {
            {0, "NORMAL"},
            {1, "RINGTONE"},
            {2, "IN_CALL"},
            {3, "IN_COMMUNICATION"},
            {4, "CALL_SCREEN"},
            {5, "SYS_RESERVED_CALL_REDIRECT"},
            {6, "SYS_RESERVED_COMMUNICATION_REDIRECT"},
            {-2, "SYS_RESERVED_INVALID"},
            {-1, "SYS_RESERVED_CURRENT"},
            {7, "7"},
            {9, "9"},
            {-3, "-3"},
    };
    for (const auto& [mode, name] : modes) {
        EXPECT_EQ(Argument("mode", mode, ArgumentType::kAudioMode).ToString(), "mode: " + name);
    }
    // Only an integer is rendered as a mode.
    Argument text("mode", "2");
    text.type = ArgumentType::kAudioMode;
    EXPECT_EQ(text.ToString(), "mode: 2");
}

TEST(ArgumentTest, Size_ChargesPayload) {
    EXPECT_EQ(Argument("a", true).size, 64u);
    EXPECT_EQ(Argument("a", 1).size, 64u);
    EXPECT_EQ(Argument("a", 1.0f).size, 64u);
    EXPECT_EQ(Argument("a", static_cast<void*>(nullptr)).size, 64u);
    EXPECT_EQ(Argument("a", "hello").size, 69u);
    // A burst command is 8 bytes on the wire, a reply 76.
    EXPECT_EQ(CommandArgument(Burst(960)).size, 72u);
    EXPECT_EQ(ReplyArgument(StreamDescriptor::Reply()).size, 140u);
}

TEST(ArgumentTest, Move_EmptiesSource) {
    Argument text("name", "speaker");
    Argument moved_text(std::move(text));
    EXPECT_EQ(moved_text.ToString(), "name: speaker");
    EXPECT_TRUE(std::get<std::string>(text.value).empty());

    Argument parcel = CommandArgument(Burst(960));
    const AParcel* raw = std::get<ndk::ScopedAParcel>(parcel.value).get();
    Argument moved_parcel = std::move(parcel);
    EXPECT_EQ(std::get<ndk::ScopedAParcel>(moved_parcel.value).get(), raw);
    EXPECT_EQ(std::get<ndk::ScopedAParcel>(parcel.value).get(), nullptr);
}

TEST(ArgumentTest, ToStringAidl_RendersGeneratedText) {
    const Argument command = CommandArgument(Burst(960));
    EXPECT_EQ(command.ToString(), "command: Command{burst: 960}");
    // Every rendering decodes the parcel again from its start.
    EXPECT_EQ(command.ToString(), "command: Command{burst: 960}");
    EXPECT_EQ(CommandArgument(StreamDescriptor::Command::make<StreamDescriptor::Command::start>())
                      .ToString(),
              "command: Command{start: Void{}}");
    EXPECT_EQ(ReplyArgument(StreamDescriptor::Reply()).ToString(),
              "ret: Reply{status: 0, fmqByteCount: 0, observable: Position{frames: -1, "
              "timeNs: -1}, hardware: Position{frames: -1, timeNs: -1}, latencyMs: 0, "
              "xrunFrames: 0, state: STANDBY, flushFromPosition: 0}");

    IModule::OpenOutputStreamArguments open;
    open.portConfigId = 12;
    open.bufferSizeFrames = 960;
    EXPECT_EQ(Argument::FromParcelable("args", open, ArgumentType::kOpenOutputStreamArguments)
                      .ToString(),
              "args: " + open.toString());
}

TEST(ArgumentTest, ToStringAidl_UnknownTypesAndBadParcels) {
    Argument command = CommandArgument(Burst(960));
    command.type = static_cast<ArgumentType>(3);
    EXPECT_EQ(command.ToString(), "command: [unknown 3]");
    command.type = static_cast<ArgumentType>(23);
    EXPECT_EQ(command.ToString(), "command: [unknown 23]");

    // A command read as a reply: its first word (tag 3) is no valid parcelable size.
    command.type = ArgumentType::kStreamDescriptorReply;
    EXPECT_EQ(command.ToString(), "command: [error status = -22]");

    // An empty parcel holds no size at all.
    Argument empty("empty", ndk::ScopedAParcel(AParcel_create()), ArgumentType::kAudioPort);
    EXPECT_EQ(empty.size, 64u);
    EXPECT_EQ(empty.ToString(), "empty: [error status = -61]");
}

TEST(ArgumentTest, Compare_PlainValues) {
    struct Case {
        Argument a;
        Argument b;
        bool equal;
    };
    std::vector<Case> cases;
    cases.push_back({Argument("x", 3), Argument("y", 3), true});
    cases.push_back({Argument("x", 3, ArgumentType::kBool), Argument("x", 3), false});
    cases.push_back({Argument("x", 3), Argument("x", 4), false});
    cases.push_back({Argument("x", true), Argument("x", true), true});
    cases.push_back({Argument("x", 0.0f), Argument("x", -0.0f), true});
    cases.push_back({Argument("x", std::nanf("")), Argument("x", std::nanf("")), false});
    cases.push_back({Argument("x", "abc"), Argument("x", "abc"), true});
    cases.push_back({Argument("x", "abc"), Argument("x", "abd"), false});
    cases.push_back({Argument("x", "ab"), Argument("x", std::string("ab\0", 3)), false});
    // Same type, different alternatives.
    Argument text("x", "1");
    text.type = ArgumentType::kInt;
    cases.push_back({Argument("x", 1), std::move(text), false});
    for (size_t i = 0; i < cases.size(); ++i) {
        EXPECT_EQ(CompareArgument(cases[i].a, cases[i].b), cases[i].equal) << "case " << i;
    }
}

TEST(ArgumentTest, Compare_ParcelOfPlainTypeIsEqualOnlyToItself) {
    Argument a = CommandArgument(Burst(960));
    Argument b = CommandArgument(Burst(960));
    a.type = b.type = ArgumentType::kString;
    EXPECT_TRUE(CompareArgument(a, a));
    EXPECT_FALSE(CompareArgument(a, b));
}

TEST(ArgumentTest, Compare_RepliesIgnorePositionsAndLatency) {
    StreamDescriptor::Reply base;
    base.status = 0;
    base.fmqByteCount = 1920;
    base.state = StreamDescriptor::State::ACTIVE;
    base.observable = {.frames = 480, .timeNs = 1000};

    auto with = [&](auto change) {
        StreamDescriptor::Reply reply = base;
        change(reply);
        return reply;
    };
    using R = StreamDescriptor::Reply;
    const std::vector<std::pair<R, bool>> cases = {
            {with([](R& r) { r.observable.frames = 960; }), true},
            {with([](R& r) { r.hardware.timeNs = 5; }), true},
            {with([](R& r) { r.latencyMs = 40; }), true},
            {with([](R& r) { r.flushFromPosition = 7; }), true},
            {with([](R& r) { r.xrunFrames = 1; }), false},
            {with([](R& r) { r.state = StreamDescriptor::State::PAUSED; }), false},
            {with([](R& r) { r.status = -22; }), false},
            {with([](R& r) { r.fmqByteCount = 960; }), false},
    };
    const Argument reference = ReplyArgument(base);
    for (size_t i = 0; i < cases.size(); ++i) {
        EXPECT_EQ(CompareArgument(reference, ReplyArgument(cases[i].first)), cases[i].second)
                << "case " << i;
    }
    // A reply that cannot be read back never compares equal.
    Argument broken = CommandArgument(Burst(960));
    broken.type = ArgumentType::kStreamDescriptorReply;
    EXPECT_FALSE(CompareArgument(broken, broken));
}

TEST(ArgumentTest, Compare_ParcelablesByBytes) {
    AudioPort port;
    port.id = 1;
    port.name = "speaker";
    AudioPort same_size = port;
    same_size.id = 2;
    AudioPort longer = port;
    longer.name = "speaker and more";
    auto argument = [](const AudioPort& p) {
        return Argument::FromParcelable("port", p, ArgumentType::kAudioPort);
    };
    EXPECT_TRUE(CompareArgument(argument(port), argument(port)));
    EXPECT_FALSE(CompareArgument(argument(port), argument(same_size)));
    EXPECT_FALSE(CompareArgument(argument(port), argument(longer)));
    EXPECT_TRUE(CompareArgument(CommandArgument(Burst(960)), CommandArgument(Burst(960))));
    EXPECT_FALSE(CompareArgument(CommandArgument(Burst(960)), CommandArgument(Burst(480))));

    // Types above the parcelable range are compared by bytes too.
    Argument a = CommandArgument(Burst(1));
    Argument b = CommandArgument(Burst(1));
    a.type = b.type = static_cast<ArgumentType>(40);
    EXPECT_TRUE(CompareArgument(a, b));
}

TEST(ArgumentDeathTest, Compare_ParcelTypeWithoutParcelEndsProcess) {
    const Argument a("x", 1, ArgumentType::kAudioPort);
    const Argument b("x", 1, ArgumentType::kAudioPort);
    EXPECT_DEATH(CompareArgument(a, b), "");
}

}  // namespace
}  // namespace vendor::zentro::tevrash::audio::hal::utils::interactionlogger
