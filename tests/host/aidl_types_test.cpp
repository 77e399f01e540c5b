// The generated AIDL types: the bytes and text of representative values and of malformed data
// (golden entries in tests/data/aidl_types.txt), enumerators' names, and the binders and file
// descriptors, which never marshal.

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
#include <unistd.h>

#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "parcel_golden.h"

namespace {

using namespace aidl::android::hardware::audio::common;
using namespace aidl::android::hardware::audio::core;
using namespace aidl::android::media::audio::common;
using aidl::android::hardware::common::Ashmem;
using aidl::android::hardware::common::fmq::GrantorDescriptor;
using namespace autl::test;
using Command = StreamDescriptor::Command;
using Reply = StreamDescriptor::Reply;

template <typename T>
ndk::ScopedAParcel Write(const T& value) {
    ndk::ScopedAParcel parcel(AParcel_create());
    EXPECT_EQ(STATUS_OK, value.writeToParcel(parcel.get()));
    return parcel;
}

TEST(AidlTypesTest, GoldenBytesAndText) {
    ExpectGoldenParcels(
            "aidl_types.txt",
            AUTL_READERS(AudioPort, AudioPortConfig, ModuleDebug, AudioPatch,
                         IModule::OpenInputStreamArguments, IModule::OpenOutputStreamArguments,
                         SourceMetadata, ITelephony::TelecomConfig, IBluetooth::ScoConfig,
                         IBluetooth::HfpConfig, Reply, Command, StreamDescriptor,
                         AudioOffloadMetadata, AudioPlaybackRate,
                         IModule::SupportedPlaybackRateFactors, AudioChannelLayout,
                         AudioDeviceAddress, AudioPortExt, AudioPortMixExtUseCase));
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
