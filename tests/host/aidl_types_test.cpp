// The generated AIDL types. Every entry of tests/data/aidl_types.txt holds bytes and what reading
// them as the named type gives: the value's text, or the status of the refusal; a value that does
// not write back the same bytes is followed by the bytes it writes. The file is produced again
// from its own bytes and compared whole. Binders and descriptors, which never marshal, are here.

#include <aidl/android/hardware/audio/common/AudioOffloadMetadata.h>
#include <aidl/android/hardware/audio/common/SourceMetadata.h>
#include <aidl/android/hardware/audio/core/AudioPatch.h>
#include <aidl/android/hardware/audio/core/BnStreamCallback.h>
#include <aidl/android/hardware/audio/core/BnStreamIn.h>
#include <aidl/android/hardware/audio/core/IBluetooth.h>
#include <aidl/android/hardware/audio/core/IModule.h>
#include <aidl/android/hardware/audio/core/ITelephony.h>
#include <aidl/android/hardware/audio/core/ModuleDebug.h>
#include <aidl/android/hardware/audio/core/StreamDescriptor.h>
#include <aidl/android/hardware/common/Ashmem.h>
#include <aidl/android/media/audio/common/AudioDeviceType.h>
#include <aidl/android/media/audio/common/AudioMode.h>
#include <aidl/android/media/audio/common/AudioPlaybackRate.h>
#include <aidl/android/media/audio/common/AudioPort.h>
#include <aidl/android/media/audio/common/AudioPortConfig.h>
#include <android-base/stringprintf.h>
#include <android-base/strings.h>
#include <unistd.h>

#include <map>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "golden.h"

namespace {

using namespace aidl::android::hardware::audio::common;
using namespace aidl::android::hardware::audio::core;
using namespace aidl::android::media::audio::common;
using aidl::android::hardware::common::Ashmem;
using aidl::android::hardware::common::fmq::GrantorDescriptor;
using Bytes = std::vector<uint8_t>;
using Command = StreamDescriptor::Command;
using Reply = StreamDescriptor::Reply;

// The parcel's data, or empty when it holds objects.
Bytes Marshal(const AParcel* parcel) {
    Bytes bytes(AParcel_getDataSize(parcel));
    if (AParcel_marshal(parcel, bytes.data(), 0, bytes.size()) != STATUS_OK) return {};
    return bytes;
}

template <typename T>
ndk::ScopedAParcel Write(const T& value) {
    ndk::ScopedAParcel parcel(AParcel_create());
    EXPECT_EQ(STATUS_OK, value.writeToParcel(parcel.get()));
    return parcel;
}

ndk::ScopedAParcel Unmarshal(const Bytes& bytes) {
    ndk::ScopedAParcel parcel(AParcel_create());
    EXPECT_EQ(STATUS_OK, AParcel_unmarshal(parcel.get(), bytes.data(), bytes.size()));
    return parcel;
}

// Bytes as the golden file spells them: lines of eight 4-byte groups.
std::string Hex(const Bytes& bytes) {
    std::string text;
    for (size_t i = 0; i < bytes.size(); ++i) {
        text += android::base::StringPrintf(i % 32 == 0  ? "  %02x"
                                            : i % 4 == 0 ? " %02x"
                                                         : "%02x",
                                            bytes[i]);
        if (i % 32 == 31 || i + 1 == bytes.size()) text += "\n";
    }
    return text;
}

std::string StatusName(binder_status_t status) {
    static const std::map<binder_status_t, std::string> kNames = {
            {STATUS_BAD_VALUE, "STATUS_BAD_VALUE"},
            {STATUS_NOT_ENOUGH_DATA, "STATUS_NOT_ENOUGH_DATA"},
            {STATUS_UNEXPECTED_NULL, "STATUS_UNEXPECTED_NULL"},
            {STATUS_BAD_TYPE, "STATUS_BAD_TYPE"},
            {STATUS_NO_MEMORY, "STATUS_NO_MEMORY"}};
    return kNames.contains(status) ? kNames.at(status) : std::to_string(status);
}

// What reading bytes as a T gives, as the golden file spells it (with where the read ends, unless
// at the end of the data). A value that writes back the same bytes reads back equal and fails to
// read from any shorter prefix, except where the platform reads a string cut off at the end of the
// data as a null one.
template <typename T>
std::string Read(const Bytes& bytes) {
    ndk::ScopedAParcel parcel = Unmarshal(bytes);
    T value;
    const binder_status_t status = value.readFromParcel(parcel.get());
    if (status != STATUS_OK) return "= " + StatusName(status) + "\n";
    std::string text = "= " + value.toString() + "\n";
    if (const int32_t end = AParcel_getDataPosition(parcel.get()); end != std::ssize(bytes)) {
        text += "ends at " + std::to_string(end) + "\n";
    }
    const Bytes written = Marshal(Write(value).get());
    if (written != bytes) return text + "writes\n" + Hex(written);
    T again;
    EXPECT_EQ(STATUS_OK, again.readFromParcel(Unmarshal(written).get()));
    EXPECT_EQ(value, again);
    for (size_t size = 0; size < bytes.size(); ++size) {
        T truncated;
        if (truncated.readFromParcel(Unmarshal(Bytes(bytes.begin(), bytes.begin() + size)).get()) ==
            STATUS_OK) {
            EXPECT_NE(std::string::npos, truncated.toString().find("(null)")) << size << text;
        }
    }
    return text;
}

const std::string kGolden = "aidl_types.txt";

#define AUTL_TYPE(T) {#T, Read<T>},
const std::map<std::string, std::string (*)(const Bytes&)> kReaders = {
        AUTL_TYPE(AudioPort) AUTL_TYPE(AudioPortConfig) AUTL_TYPE(ModuleDebug) AUTL_TYPE(
                AudioPatch) AUTL_TYPE(IModule::OpenInputStreamArguments)
                AUTL_TYPE(IModule::OpenOutputStreamArguments) AUTL_TYPE(SourceMetadata) AUTL_TYPE(
                        ITelephony::TelecomConfig) AUTL_TYPE(IBluetooth::ScoConfig)
                        AUTL_TYPE(IBluetooth::HfpConfig) AUTL_TYPE(Reply) AUTL_TYPE(
                                Command) AUTL_TYPE(StreamDescriptor) AUTL_TYPE(AudioOffloadMetadata)
                                AUTL_TYPE(AudioPlaybackRate)
                                        AUTL_TYPE(IModule::SupportedPlaybackRateFactors) AUTL_TYPE(
                                                AudioChannelLayout) AUTL_TYPE(AudioDeviceAddress)
                                                AUTL_TYPE(AudioPortExt)
                                                        AUTL_TYPE(AudioPortMixExtUseCase)};
#undef AUTL_TYPE

// An entry: "Type" or "Type: what", its bytes, then what reading them gives, up to a blank line.
TEST(AidlTypesTest, GoldenBytesAndText) {
    enum { kBetween, kBytes, kResult } state = kBetween;
    std::string actual, type;
    Bytes bytes;
    for (const std::string& line : android::base::Split(autl::test::TestData(kGolden), "\n")) {
        if (line.empty() || line.starts_with("#")) {
            if (state != kBetween) actual += Hex(bytes) + kReaders.at(type)(bytes);
            state = kBetween;
            actual += line + "\n";
        } else if (state == kBetween) {
            type = line.substr(0, line.find(": "));
            ASSERT_TRUE(kReaders.contains(type)) << line;
            actual += line + "\n";
            bytes.clear();
            state = kBytes;
        } else if (state == kBytes && line.starts_with("  ")) {
            for (const std::string& word : android::base::Split(line.substr(2), " ")) {
                for (size_t i = 0; i + 1 < word.size(); i += 2) {
                    bytes.push_back(static_cast<uint8_t>(std::stoi(word.substr(i, 2), nullptr, 16)));
                }
            }
        } else {
            state = kResult;
        }
    }
    actual.pop_back();
    EXPECT_EQ(actual, autl::test::Golden(kGolden, actual));
}

TEST(AidlTypesTest, Enums_FirstNameOrNumber) {
    EXPECT_EQ("IN_DEVICE", toString(AudioDeviceType::IN_BUS));
    EXPECT_EQ("9", toString(static_cast<AudioMode>(9)));
    EXPECT_EQ("flushFromFrame", toString(Command::Tag::flushFromFrame));
    // Alternatives with the same payload type still differ by tag.
    EXPECT_NE(Command::make<Command::getStatus>(), Command::make<Command::start>());
}

TEST(AidlTypesTest, Interfaces_TravelAsTheSameBinder) {
    class StreamIn : public BnStreamIn {};
    // As on the platform, an interface that is not @nullable may still be null: a null binder.
    IModule::OpenInputStreamReturn result;
    EXPECT_FALSE(Marshal(Write(result).get()).empty());

    result.stream = ndk::SharedRefBase::make<StreamIn>();
    const std::weak_ptr<IStreamIn> stream = result.stream;
    ndk::ScopedAParcel parcel = Write(result);
    EXPECT_TRUE(Marshal(parcel.get()).empty());
    result.stream.reset();
    EXPECT_FALSE(stream.expired());  // the parcel holds the binder, which holds the object
    ASSERT_EQ(STATUS_OK, AParcel_setDataPosition(parcel.get(), 0));
    IModule::OpenInputStreamReturn decoded;
    ASSERT_EQ(STATUS_OK, decoded.readFromParcel(parcel.get()));
    EXPECT_EQ(stream.lock(), decoded.stream);
    EXPECT_EQ("OpenInputStreamReturn{stream: binder:android.hardware.audio.core.IStreamIn, desc: " +
                      StreamDescriptor().toString() + "}",
              decoded.toString());
    // The same binder read as another interface is null.
    ASSERT_EQ(STATUS_OK, AParcel_setDataPosition(parcel.get(), 0));
    IModule::OpenOutputStreamReturn wrong;
    EXPECT_EQ(STATUS_OK, wrong.readFromParcel(parcel.get()));
    EXPECT_EQ(nullptr, wrong.stream);
    decoded.stream.reset();
    parcel.set(nullptr);
    EXPECT_TRUE(stream.expired());

    // A nullable callback comes back as the same object; an absent one as null.
    class Callback : public BnStreamCallback {};
    IModule::OpenOutputStreamArguments arguments;
    arguments.callback = ndk::SharedRefBase::make<Callback>();
    parcel = Write(arguments);
    ASSERT_EQ(STATUS_OK, AParcel_setDataPosition(parcel.get(), 0));
    IModule::OpenOutputStreamArguments arguments_read;
    ASSERT_EQ(STATUS_OK, arguments_read.readFromParcel(parcel.get()));
    EXPECT_EQ(arguments.callback, arguments_read.callback);
    EXPECT_EQ(nullptr, arguments_read.eventCallback);
}

TEST(AidlTypesTest, Descriptors_DuplicatedAndNeverMarshalled) {
    int pipe_fds[2];
    ASSERT_EQ(0, pipe(pipe_fds));
    StreamDescriptor descriptor;
    descriptor.command.grantors = {GrantorDescriptor{.fdIndex = 0, .offset = 0, .extent = 64}};
    descriptor.command.handle.fds.emplace_back(pipe_fds[0]);
    descriptor.command.handle.ints = {3, 4};
    descriptor.command.quantum = 8;
    descriptor.reply.handle.fds.emplace_back(pipe_fds[1]);

    ndk::ScopedAParcel parcel = Write(descriptor);
    EXPECT_TRUE(Marshal(parcel.get()).empty());
    // A descriptor takes 32 bytes, as on the device: the not-null marker, the word of a
    // ParcelFileDescriptor, the object.
    EXPECT_EQ(4 + 32 + 8,
              AParcel_getDataSize(
                      Write(Ashmem{.fd = ndk::ScopedFileDescriptor(dup(pipe_fds[0])), .size = 64})
                              .get()));
    ASSERT_EQ(STATUS_OK, AParcel_setDataPosition(parcel.get(), 0));
    StreamDescriptor decoded;
    ASSERT_EQ(STATUS_OK, decoded.readFromParcel(parcel.get()));
    ASSERT_EQ(1u, decoded.command.handle.fds.size());
    EXPECT_NE(pipe_fds[0], decoded.command.handle.fds[0].get());
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

}  // namespace
