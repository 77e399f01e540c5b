#include <interactionlogger/logger.h>

#include <android-base/stringprintf.h>

#include <cmath>
#include <type_traits>

#include <gtest/gtest.h>

#include "log_capture.h"

namespace vendor::zentro::tevrash::audio::hal::utils::interactionlogger {
namespace {

using aidl::android::hardware::audio::core::StreamDescriptor;

Argument Command(int32_t burst) {
    return Argument::FromParcelable(
            "command", StreamDescriptor::Command::make<StreamDescriptor::Command::burst>(burst),
            ArgumentType::kStreamDescriptorCommand);
}

Argument Start() {
    return Argument::FromParcelable(
            "command", StreamDescriptor::Command::make<StreamDescriptor::Command::start>(),
            ArgumentType::kStreamDescriptorCommand);
}

Argument Reply(const StreamDescriptor::Reply& reply) {
    return Argument::FromParcelable("ret", reply, ArgumentType::kStreamDescriptorReply);
}

Argument Retyped(Argument argument, int32_t type) {
    argument.type = static_cast<ArgumentType>(type);
    return argument;
}

TEST(ArgumentTest, ToStringAndSize) {
    auto check = [](const Argument& argument, const std::string& text, uint64_t size) {
        SCOPED_TRACE(text);
        // Every rendering decodes a parcel again from its start.
        EXPECT_EQ(argument.ToString(), text);
        EXPECT_EQ(argument.ToString(), text);
        EXPECT_EQ(argument.size, size);
    };
    const uint8_t object[4] = {};
    check(Argument("mute", true), "mute: true", 64);
    check(Argument("mute", false), "mute: false", 64);
    check(Argument("id", -7, ArgumentType::kBool), "id: -7", 64);
    check(Argument("gain", 0.5f), "gain: 0.500000", 64);
    // Any object pointer is an address, never a bool; so is nullptr.
    check(Argument("ptr", object), android::base::StringPrintf("ptr: 0x%p", object), 64);
    check(Argument("ptr", nullptr), android::base::StringPrintf("ptr: 0x%p", nullptr), 64);
    // Text is charged by its length and printed up to its first NUL.
    check(Argument("name", "speaker"), "name: speaker", 71);
    check(Argument("name", std::string_view("speaker!", 7)), "name: speaker", 71);
    check(Argument("name", std::string("a\0b", 3)), "name: a", 67);
    check(Argument("name", static_cast<const char*>(nullptr)), "name: ", 64);
    // Audio modes by name, unknown ones as numbers; only an integer is rendered as a mode.
    check(Argument("mode", 0, ArgumentType::kAudioMode), "mode: NORMAL", 64);
    check(Argument("mode", -1, ArgumentType::kAudioMode), "mode: SYS_RESERVED_CURRENT", 64);
    check(Argument("mode", 7, ArgumentType::kAudioMode), "mode: 7", 64);
    Argument text("mode", "2");
    text.type = ArgumentType::kAudioMode;
    check(text, "mode: 2", 65);

    // A parcelable type given to an int would end the process at the next fold: it is a plain int,
    // with an ERROR line.
    autl::test::LogCapture logs;
    const Argument misused("id", 7, ArgumentType::kAudioPort);
    check(misused, "id: 7", 64);
    EXPECT_EQ(misused.type, ArgumentType::kInt);
    EXPECT_EQ(logs.Lines("AUtl::Argument"),
              (std::vector<autl::test::LogLine>{
                      {android::base::ERROR, "AUtl::Argument",
                       "Argument: id: type 6 names a parcelable, not an int; logged as a plain "
                       "int"}}));

    // Parcels: a burst command is 8 bytes on the wire, a reply 76.
    check(Command(960), "command: Command{burst: 960}", 72);
    check(Start(), "command: Command{start: Void{}}", 76);
    check(Reply(StreamDescriptor::Reply()),
          "ret: Reply{status: 0, fmqByteCount: 0, observable: Position{frames: -1, timeNs: -1}, "
          "hardware: Position{frames: -1, timeNs: -1}, latencyMs: 0, xrunFrames: 0, state: "
          "STANDBY, flushFromPosition: 0}",
          140);
    check(Retyped(Command(960), 3), "command: [unknown 3]", 72);
    check(Retyped(Command(960), 23), "command: [unknown 23]", 72);
    // A command read as a reply: its first word (tag 3) is no valid parcelable size. An empty
    // parcel holds no size at all.
    check(Retyped(Command(960), 18), "command: [error status = -22]", 72);
    check(Argument("empty", ndk::ScopedAParcel(AParcel_create()), ArgumentType::kAudioPort),
          "empty: [error status = -61]", 64);
}

// Values that an int32_t, a float or a bool would silently change do not compile.
static_assert(!std::is_constructible_v<Argument, const char*, int64_t>);
static_assert(!std::is_constructible_v<Argument, const char*, uint32_t>);
static_assert(!std::is_constructible_v<Argument, const char*, size_t>);
static_assert(!std::is_constructible_v<Argument, const char*, double>);

TEST(ArgumentTest, Compare) {
    auto check = [](const char* what, const Argument& a, const Argument& b, bool equal) {
        EXPECT_EQ(CompareArgument(a, b), equal) << what;
        EXPECT_EQ(CompareArgument(b, a), equal) << what;
    };
    check("names ignored", Argument("x", 3), Argument("y", 3), true);
    check("types", Argument("x", 3, ArgumentType::kBool), Argument("x", 3), false);
    check("ints", Argument("x", 3), Argument("x", 4), false);
    check("bools", Argument("x", true), Argument("x", true), true);
    check("signed zeros", Argument("x", 0.0f), Argument("x", -0.0f), true);
    check("NaNs", Argument("x", std::nanf("")), Argument("x", std::nanf("")), false);
    check("texts", Argument("x", "abc"), Argument("x", "abc"), true);
    check("other texts", Argument("x", "abc"), Argument("x", "abd"), false);
    check("NUL", Argument("x", "ab"), Argument("x", std::string("ab\0", 3)), false);
    Argument text("x", "1");
    text.type = ArgumentType::kInt;
    check("alternatives", Argument("x", 1), text, false);
    // A parcel of a plain type is equal only to itself.
    const Argument parcel = Retyped(Command(960), 4);
    EXPECT_TRUE(CompareArgument(parcel, parcel));
    check("parcels of plain type", parcel, Retyped(Command(960), 4), false);

    // Parcelables, and types above their range, are compared by their bytes.
    check("commands", Command(960), Command(960), true);
    check("other commands", Command(960), Command(480), false);
    auto ints = [](int32_t count, int32_t last) {
        ndk::ScopedAParcel parcel(AParcel_create());
        for (int32_t i = 1; i < count; ++i) AParcel_writeInt32(parcel.get(), 0);
        AParcel_writeInt32(parcel.get(), last);
        return Argument("p", std::move(parcel), ArgumentType::kAudioPort);
    };
    check("prefix", ints(1, 0), ints(2, 0), false);
    check("large", ints(100, 1), ints(100, 1), true);
    check("other large", ints(100, 1), ints(100, 2), false);
    check("type 40", Retyped(Command(1), 40), Retyped(Command(1), 40), true);

    // Stream replies are equal when all but their positions and latency are.
    using R = StreamDescriptor::Reply;
    auto reply = [](void (*change)(R&)) {
        R r;
        r.fmqByteCount = 1920;
        r.state = StreamDescriptor::State::ACTIVE;
        r.observable = {.frames = 480, .timeNs = 1000};
        change(r);
        return Reply(r);
    };
    const Argument base = reply([](R&) {});
    check("frames", base, reply([](R& r) { r.observable.frames = 960; }), true);
    check("hardware", base, reply([](R& r) { r.hardware.timeNs = 5; }), true);
    check("latency", base, reply([](R& r) { r.latencyMs = 40; }), true);
    check("flush", base, reply([](R& r) { r.flushFromPosition = 7; }), true);
    check("xruns", base, reply([](R& r) { r.xrunFrames = 1; }), false);
    check("state", base, reply([](R& r) { r.state = StreamDescriptor::State::PAUSED; }), false);
    check("status", base, reply([](R& r) { r.status = -22; }), false);
    check("fmq", base, reply([](R& r) { r.fmqByteCount = 960; }), false);
    // A reply that cannot be read back never compares equal.
    const Argument broken = Retyped(Command(960), 18);
    EXPECT_FALSE(CompareArgument(broken, broken));
}

TEST(ArgumentDeathTest, Compare_ParcelTypeWithoutParcelEndsProcess) {
    Argument a("x", 1);
    a.type = ArgumentType::kAudioPort;
    EXPECT_DEATH(CompareArgument(a, a), "");
}

}  // namespace
}  // namespace vendor::zentro::tevrash::audio::hal::utils::interactionlogger
