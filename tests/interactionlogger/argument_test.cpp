// Arguments' renderings are in the logger's golden dump; here are those that vary by run, the
// misuse of a parcelable type, and the comparison that folding relies on.

#include <interactionlogger/logger.h>

#include <android-base/stringprintf.h>

#include <cmath>
#include <type_traits>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "log_capture.h"

namespace vendor::zentro::tevrash::audio::hal::utils::interactionlogger {
namespace {

using aidl::android::hardware::audio::core::StreamDescriptor;

Argument Command(int32_t burst, int32_t type = 17) {
    return Argument::FromParcelable(
            "command", StreamDescriptor::Command::make<StreamDescriptor::Command::burst>(burst),
            static_cast<ArgumentType>(type));
}

// Values that an int32_t, a float or a bool would silently change do not compile.
static_assert(!std::is_constructible_v<Argument, const char*, int64_t>);
static_assert(!std::is_constructible_v<Argument, const char*, uint32_t>);
static_assert(!std::is_constructible_v<Argument, const char*, size_t>);
static_assert(!std::is_constructible_v<Argument, const char*, double>);

TEST(ArgumentTest, ToString_PointersAndMisusedTypes) {
    // Any object pointer is an address, never a bool; so is nullptr.
    const uint8_t object[4] = {};
    EXPECT_EQ(Argument("ptr", object).ToString(), android::base::StringPrintf("ptr: 0x%p", object));
    EXPECT_EQ(Argument("ptr", nullptr).ToString(),
              android::base::StringPrintf("ptr: 0x%p", nullptr));
    // A parcelable type given to an int would end the process at the next fold: it is a plain int,
    // with an ERROR line.
    autl::test::LogCapture logs;
    const Argument misused("id", 7, ArgumentType::kAudioPort);
    EXPECT_EQ(std::tuple(misused.ToString(), misused.type, misused.size),
              std::tuple("id: 7", ArgumentType::kInt, 64u));
    EXPECT_THAT(logs.Lines("AUtl::Argument"),
                testing::ElementsAre("E Argument: id: type 6 names a parcelable, not an int; "
                                     "logged as a plain int"));
}

TEST(ArgumentTest, Compare) {
    auto check = [](const char* what, const Argument& a, const Argument& b, bool equal) {
        EXPECT_EQ(CompareArgument(a, b), equal) << what;
        EXPECT_EQ(CompareArgument(b, a), equal) << what;
    };
    check("names ignored", Argument("x", 3), Argument("y", 3), true);
    check("types", Argument("x", 3, ArgumentType::kBool), Argument("x", 3), false);
    check("ints", Argument("x", 3), Argument("x", 4), false);
    check("bools", Argument("x", true), Argument("x", true), true);
    check("other bools", Argument("x", true), Argument("x", false), false);
    check("signed zeros", Argument("x", 0.0f), Argument("x", -0.0f), true);
    check("NaNs", Argument("x", std::nanf("")), Argument("x", std::nanf("")), false);
    check("pointers", Argument("x", &check), Argument("x", &check), true);
    check("other pointers", Argument("x", &check), Argument("x", nullptr), false);
    check("texts", Argument("x", "abc"), Argument("x", "abc"), true);
    check("other texts", Argument("x", "abc"), Argument("x", "abd"), false);
    check("NUL", Argument("x", "ab"), Argument("x", std::string("ab\0", 3)), false);
    Argument text("x", "1");
    text.type = ArgumentType::kInt;
    check("alternatives", Argument("x", 1), text, false);
    // A parcel of a plain type is equal only to itself.
    const Argument parcel = Command(960, 4);
    EXPECT_TRUE(CompareArgument(parcel, parcel));
    check("parcels of plain type", parcel, Command(960, 4), false);

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
    check("type 40", Command(1, 40), Command(1, 40), true);
    check("empty", Argument("p", ndk::ScopedAParcel(AParcel_create()), ArgumentType::kAudioPort),
          Argument("p", ndk::ScopedAParcel(AParcel_create()), ArgumentType::kAudioPort), true);

    // Stream replies are equal when all but their positions and latency are.
    using R = StreamDescriptor::Reply;
    auto reply = [](void (*change)(R&)) {
        R r;
        r.fmqByteCount = 1920;
        r.state = StreamDescriptor::State::ACTIVE;
        r.observable = {.frames = 480, .timeNs = 1000};
        change(r);
        return Argument::FromParcelable("ret", r, ArgumentType::kStreamDescriptorReply);
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
    // A reply of an older writer, without flushFromPosition, is read in full.
    auto older = [](StreamDescriptor::State state) {
        ndk::ScopedAParcel parcel(AParcel_create());
        for (const int32_t word : {72, 0, 1920, 1, 20, 480, 0, 1000, 0, 1, 20, -1, -1, -1, -1, 0, 0,
                                   static_cast<int32_t>(state)}) {
            AParcel_writeInt32(parcel.get(), word);
        }
        return Argument("ret", std::move(parcel), ArgumentType::kStreamDescriptorReply);
    };
    check("older writer", base, older(StreamDescriptor::State::ACTIVE), true);
    check("older writer's state", base, older(StreamDescriptor::State::PAUSED), false);
    // A reply that cannot be read back never compares equal.
    const Argument broken = Command(960, 18);
    EXPECT_FALSE(CompareArgument(broken, broken));
}

TEST(ArgumentDeathTest, Compare_ParcelTypeWithoutParcelEndsProcess) {
    Argument a("x", 1);
    a.type = ArgumentType::kAudioPort;
    EXPECT_DEATH(CompareArgument(a, a), "");
}

}  // namespace
}  // namespace vendor::zentro::tevrash::audio::hal::utils::interactionlogger
