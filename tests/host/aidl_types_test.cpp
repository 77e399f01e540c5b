// The generated AIDL types: every type and union alternative written and read back, the exact
// bytes and text of representative values, binders and descriptors, and malformed data.

#include <aidl/android/hardware/audio/common/AudioOffloadMetadata.h>
#include <aidl/android/hardware/audio/common/SinkMetadata.h>
#include <aidl/android/hardware/audio/common/SourceMetadata.h>
#include <aidl/android/hardware/audio/core/AudioPatch.h>
#include <aidl/android/hardware/audio/core/BnStreamCallback.h>
#include <aidl/android/hardware/audio/core/BnStreamIn.h>
#include <aidl/android/hardware/audio/core/BnStreamOut.h>
#include <aidl/android/hardware/audio/core/IBluetooth.h>
#include <aidl/android/hardware/audio/core/IModule.h>
#include <aidl/android/hardware/audio/core/ITelephony.h>
#include <aidl/android/hardware/audio/core/ModuleDebug.h>
#include <aidl/android/hardware/audio/core/StreamDescriptor.h>
#include <aidl/android/hardware/common/Ashmem.h>
#include <aidl/android/hardware/common/fmq/SynchronizedReadWrite.h>
#include <aidl/android/media/audio/common/AudioGainMode.h>
#include <aidl/android/media/audio/common/AudioInputFlags.h>
#include <aidl/android/media/audio/common/AudioMode.h>
#include <aidl/android/media/audio/common/AudioOutputFlags.h>
#include <aidl/android/media/audio/common/AudioPlaybackRate.h>
#include <aidl/android/media/audio/common/AudioPort.h>
#include <aidl/android/media/audio/common/AudioPortConfig.h>
#include <aidl/android/media/audio/common/FlushFromFrameAccuracy.h>
#include <aidl/android/media/audio/common/PcmType.h>

#include <unistd.h>

#include <cstring>
#include <random>
#include <set>
#include <string>
#include <vector>

#include <gtest/gtest.h>

namespace {

using namespace aidl::android::hardware::audio::common;
using namespace aidl::android::hardware::audio::core;
using namespace aidl::android::media::audio::common;
using aidl::android::hardware::common::Ashmem;
using aidl::android::hardware::common::fmq::GrantorDescriptor;
using aidl::android::hardware::common::fmq::SynchronizedReadWrite;
using Bytes = std::vector<uint8_t>;
using Command = StreamDescriptor::Command;
using Reply = StreamDescriptor::Reply;

template <typename T>
ndk::ScopedAParcel Write(const T& value) {
    ndk::ScopedAParcel parcel(AParcel_create());
    EXPECT_EQ(STATUS_OK, value.writeToParcel(parcel.get()));
    return parcel;
}

// The parcel's data, or empty when it does not marshal.
Bytes Marshal(const AParcel* parcel) {
    Bytes bytes(AParcel_getDataSize(parcel));
    if (AParcel_marshal(parcel, bytes.data(), 0, bytes.size()) != STATUS_OK) return {};
    return bytes;
}

template <typename T>
Bytes Encode(const T& value) {
    return Marshal(Write(value).get());
}

// Decodes bytes into *value; the status of readFromParcel.
template <typename T>
binder_status_t Decode(const Bytes& bytes, T* value) {
    ndk::ScopedAParcel parcel(AParcel_create());
    EXPECT_EQ(STATUS_OK, AParcel_unmarshal(parcel.get(), bytes.data(), bytes.size()));
    return value->readFromParcel(parcel.get());
}

// A value without binders or descriptors reads back equal, with the same text and bytes, up to the
// end of the data.
template <typename T>
void ExpectRoundTrip(const T& value) {
    SCOPED_TRACE(value.toString());
    const Bytes bytes = Encode(value);
    ASSERT_FALSE(bytes.empty());
    EXPECT_EQ(0u, bytes.size() % 4);
    ndk::ScopedAParcel parcel(AParcel_create());
    ASSERT_EQ(STATUS_OK, AParcel_unmarshal(parcel.get(), bytes.data(), bytes.size()));
    T decoded;
    ASSERT_EQ(STATUS_OK, decoded.readFromParcel(parcel.get()));
    EXPECT_EQ(static_cast<int32_t>(bytes.size()), AParcel_getDataPosition(parcel.get()));
    EXPECT_EQ(value, decoded);
    EXPECT_FALSE(value != decoded);
    EXPECT_EQ(value.toString(), decoded.toString());
    EXPECT_EQ(bytes, Encode(decoded));
    // Every truncation fails, except where the platform reads a string cut off at the end of the
    // data as a null one.
    for (size_t size = 0; size < bytes.size(); ++size) {
        T truncated;
        if (Decode(Bytes(bytes.begin(), bytes.begin() + size), &truncated) == STATUS_OK) {
            EXPECT_NE(std::string::npos, truncated.toString().find("(null)"))
                    << "truncated to " << size << " bytes";
        }
    }
}

template <typename... T>
void ExpectRoundTrips(const T&... values) {
    (ExpectRoundTrip(values), ...);
}

AudioChannelLayout Stereo() {
    return AudioChannelLayout::make<AudioChannelLayout::layoutMask>(
            AudioChannelLayout::LAYOUT_STEREO);
}

AudioDevice Headset() {
    return {.type = {.type = AudioDeviceType::OUT_HEADSET,
                     .connection = AudioDeviceDescription::CONNECTION_BT_A2DP},
            .address = AudioDeviceAddress::make<AudioDeviceAddress::mac>(
                    std::vector<uint8_t>{0x00, 0x1A, 0x7D, 0xDA, 0x71, 0xFF})};
}

AudioPortDeviceExt DeviceExt() {
    return {.device = Headset(),
            .flags = 1 << AudioPortDeviceExt::FLAG_INDEX_DEFAULT_DEVICE,
            .encodedFormats = {{.type = AudioFormatType::NON_PCM, .encoding = "audio/mpeg"}},
            .encapsulationModes = 1 << static_cast<int>(AudioEncapsulationMode::HANDLE),
            .encapsulationMetadataTypes = 2,
            .speakerLayout = AudioChannelLayout::make<AudioChannelLayout::layoutMask>(
                    AudioChannelLayout::LAYOUT_7POINT1POINT4)};
}

AudioPortMixExt MixExt() {
    return {.handle = 13,
            .usecase = AudioPortMixExtUseCase::make<AudioPortMixExtUseCase::source>(
                    AudioSource::VOICE_RECOGNITION),
            .maxOpenStreamCount = 2,
            .maxActiveStreamCount = 1,
            .recommendedMuteDurationMs = 30};
}

AudioPort Port() {
    return {.id = 5,
            .name = "speaker",
            .profiles = {{.name = "pcm",
                          .format = {.type = AudioFormatType::PCM, .pcm = PcmType::INT_16_BIT},
                          .channelMasks = {Stereo(),
                                           AudioChannelLayout::make<AudioChannelLayout::indexMask>(
                                                   AudioChannelLayout::INDEX_MASK_4)},
                          .sampleRates = {44100, 48000},
                          .encapsulationType = AudioEncapsulationType::IEC61937}},
            .flags = AudioIoFlags::make<AudioIoFlags::output>(
                    1 << static_cast<int>(AudioOutputFlags::PRIMARY)),
            .extraAudioDescriptors = {{.standard = AudioStandard::EDID,
                                       .audioDescriptor = {0x09, 0x7F, 0x07},
                                       .encapsulationType = AudioEncapsulationType::PCM}},
            .gains = {{.mode = 1,
                       .channelMask = Stereo(),
                       .minValue = -8400,
                       .maxValue = 4000,
                       .defaultValue = -600,
                       .stepValue = 100,
                       .minRampMs = 10,
                       .maxRampMs = 100,
                       .useForVolume = true}},
            .ext = DeviceExt()};
}

AudioPortConfig PortConfig() {
    return {.id = 11,
            .portId = 5,
            .sampleRate = Int{48000},
            .channelMask = Stereo(),
            .format = AudioFormatDescription{.type = AudioFormatType::PCM,
                                             .pcm = PcmType::INT_16_BIT},
            .gain = AudioGainConfig{.index = 1,
                                    .mode = 1 << static_cast<int>(AudioGainMode::RAMP),
                                    .channelMask = Stereo(),
                                    .values = {-600, -1200},
                                    .rampDurationMs = 20},
            .flags = AudioIoFlags::make<AudioIoFlags::input>(
                    1 << static_cast<int>(AudioInputFlags::FAST)),
            .ext = MixExt()};
}

PlaybackTrackMetadata PlaybackTrack() {
    return {.usage = AudioUsage::GAME,
            .contentType = AudioContentType::MUSIC,
            .gain = 0.5f,
            .channelMask = Stereo(),
            .sourceDevice = Headset(),
            .tags = {"VX_ZENTRO_ONE", "low-latency"},
            .codecProvenance = "sbc"};
}

RecordTrackMetadata RecordTrack() {
    return {.source = AudioSource::CAMCORDER,
            .gain = 1.0f,
            .destinationDevice = Headset(),
            .channelMask = AudioChannelLayout::make<AudioChannelLayout::voiceMask>(
                    AudioChannelLayout::VOICE_CALL_MONO),
            .tags = {"x"}};
}

Reply FullReply() {
    Reply reply;
    reply.status = -22;
    reply.fmqByteCount = 3840;
    reply.observable = {.frames = 48000, .timeNs = 1'000'000'007};
    reply.hardware = {.frames = 47520, .timeNs = INT64_MAX};
    reply.latencyMs = StreamDescriptor::LATENCY_UNKNOWN;
    reply.xrunFrames = 7;
    reply.state = StreamDescriptor::State::DRAIN_PAUSED;
    reply.flushFromPosition = 0x0FFFFFFF;
    return reply;
}

TEST(AidlTypesTest, Parcelables_EveryFieldRoundTrips) {
    ExpectRoundTrip(Port());
    ExpectRoundTrip(
            ModuleDebug{.simulateDeviceConnections = true, .streamTransientStateDelayMs = 250});
    ExpectRoundTrip(PortConfig());
    ExpectRoundTrip(AudioPatch{.id = 3,
                               .sourcePortConfigIds = {11, 12},
                               .sinkPortConfigIds = {21},
                               .minimumStreamBufferSizeFrames = 256,
                               .latenciesMs = {15}});
    ExpectRoundTrip(IModule::OpenInputStreamArguments{
            .portConfigId = 11,
            .sinkMetadata = {.tracks = {RecordTrack(), RecordTrackMetadata{}}},
            .bufferSizeFrames = 1920});
    IModule::OpenOutputStreamArguments output;
    output.portConfigId = 12;
    output.sourceMetadata.tracks = {PlaybackTrack(), PlaybackTrackMetadata{}};
    output.offloadInfo = AudioOffloadInfo{
            .base = {.sampleRate = 44100,
                     .channelMask = Stereo(),
                     .format = {.type = AudioFormatType::NON_PCM, .encoding = "audio/mp4a-latm"}},
            .streamType = AudioStreamType::MUSIC,
            .bitRatePerSecond = 128000,
            .durationUs = 1'000'000'000'000,
            .hasVideo = true,
            .isStreaming = true,
            .bitWidth = 24,
            .offloadBufferSize = 32768,
            .usage = AudioUsage::MEDIA,
            .encapsulationMode = AudioEncapsulationMode::ELEMENTARY_STREAM,
            .contentId = 7,
            .syncId = 8};
    output.bufferSizeFrames = 4096;
    // Null callbacks are null binders: no objects, so the parcel still marshals.
    ExpectRoundTrip(output);
    ExpectRoundTrip(ITelephony::TelecomConfig{.voiceVolume = Float{0.25f},
                                              .ttyMode = ITelephony::TelecomConfig::TtyMode::HCO,
                                              .isHacEnabled = Boolean{true}});
    ExpectRoundTrip(IBluetooth::ScoConfig{.isEnabled = Boolean{true},
                                          .isNrecEnabled = Boolean{false},
                                          .mode = IBluetooth::ScoConfig::Mode::SCO_SWB,
                                          .debugName = "car kit"});
    ExpectRoundTrip(IBluetooth::HfpConfig{
            .isEnabled = Boolean{false}, .sampleRate = Int{16000}, .volume = Float{1.0f}});
    ExpectRoundTrip(FullReply());
    ExpectRoundTrip(AudioOffloadMetadata{.sampleRate = 48000,
                                         .channelMask = Stereo(),
                                         .averageBitRatePerSecond = 320000,
                                         .delayFrames = 576,
                                         .paddingFrames = 1152});
    ExpectRoundTrip(AudioPlaybackRate{
            .speed = 1.5f,
            .pitch = 0.75f,
            .timestretchMode = AudioPlaybackRate::TimestretchMode::VOICE,
            .fallbackMode = AudioPlaybackRate::TimestretchFallbackMode::SYS_RESERVED_CUT_REPEAT});
    ExpectRoundTrip(IModule::SupportedPlaybackRateFactors{
            .minSpeed = 0.1f, .maxSpeed = 4.0f, .minPitch = 0.5f, .maxPitch = 2.0f});
    // Absent nullables.
    ExpectRoundTrip(AudioPortConfig{.id = 1});
    ExpectRoundTrip(IBluetooth::ScoConfig{});
    ExpectRoundTrip(IBluetooth::HfpConfig{});
    ExpectRoundTrip(ITelephony::TelecomConfig{});
    ExpectRoundTrip(StreamDescriptor());
}

TEST(AidlTypesTest, Unions_EveryAlternativeRoundTrips) {
    ExpectRoundTrips(AudioChannelLayout(), AudioChannelLayout::make<AudioChannelLayout::invalid>(0),
                     AudioChannelLayout::make<AudioChannelLayout::indexMask>(
                             AudioChannelLayout::INDEX_MASK_8),
                     Stereo(),
                     AudioChannelLayout::make<AudioChannelLayout::voiceMask>(
                             AudioChannelLayout::VOICE_UPLINK_MONO));
    ExpectRoundTrips(
            AudioDeviceAddress::make<AudioDeviceAddress::id>("card=1;device=0"),
            AudioDeviceAddress::make<AudioDeviceAddress::mac>(
                    std::vector<uint8_t>{1, 2, 3, 4, 5, 6}),
            AudioDeviceAddress::make<AudioDeviceAddress::ipv4>(std::vector<uint8_t>{192, 168, 0, 1}),
            AudioDeviceAddress::make<AudioDeviceAddress::ipv6>(
                    std::vector<int32_t>{0x2001, 0xdb8, 0, 0, 0, 0, 0, 1}),
            AudioDeviceAddress::make<AudioDeviceAddress::alsa>(std::vector<int32_t>{1, 0}));
    ExpectRoundTrips(AudioIoFlags::make<AudioIoFlags::input>(5),
                     AudioIoFlags::make<AudioIoFlags::output>(1 << 18));
    ExpectRoundTrips(AudioPortExt::make<AudioPortExt::unspecified>(true), AudioPortExt(DeviceExt()),
                     AudioPortExt(MixExt()), AudioPortExt::make<AudioPortExt::session>(77));
    ExpectRoundTrips(AudioPortMixExtUseCase::make<AudioPortMixExtUseCase::unspecified>(true),
                     AudioPortMixExtUseCase(AudioStreamType::ALARM),
                     AudioPortMixExtUseCase(AudioSource::HOTWORD));
    ExpectRoundTrips(Command::make<Command::halReservedExit>(-5),
                     Command::make<Command::getStatus>(), Command::make<Command::start>(),
                     Command::make<Command::burst>(INT32_MAX),
                     Command::make<Command::drain>(StreamDescriptor::DrainMode::DRAIN_ALL),
                     Command::make<Command::standby>(), Command::make<Command::pause>(),
                     Command::make<Command::flush>(),
                     Command::make<Command::flushFromFrame>((1 << 28) | 480));
    // Alternatives with the same payload type still differ by tag.
    EXPECT_NE(Command::make<Command::getStatus>(), Command::make<Command::start>());
}

TEST(AidlTypesTest, WireBytes) {
    EXPECT_EQ((Bytes{3, 0, 0, 0, 0xC0, 0x03, 0, 0}), Encode(Command::make<Command::burst>(960)));
    // Void alternatives: tag, non-null marker, the empty parcelable's size header.
    EXPECT_EQ((Bytes{2, 0, 0, 0, 1, 0, 0, 0, 4, 0, 0, 0}), Encode(Command::make<Command::start>()));
    // A size header, two int32, two Positions (marker, size header, two int64) and four int32, of
    // which the last two are the state, STANDBY (1), and flushFromPosition.
    const Bytes reply = Encode(Reply());
    ASSERT_EQ(76u, reply.size());
    EXPECT_EQ((Bytes{76, 0, 0, 0}), Bytes(reply.begin(), reply.begin() + 4));
    EXPECT_EQ((Bytes{1, 0, 0, 0, 0, 0, 0, 0}), Bytes(reply.end() - 8, reply.end()));
    // An absent parcelable is the int32 0, an absent string the count -1.
    EXPECT_EQ((Bytes{20, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0xFF, 0xFF, 0xFF, 0xFF}),
              Encode(IBluetooth::ScoConfig{}));
}

TEST(AidlTypesTest, ToString_ExactText) {
    EXPECT_EQ("Command{burst: 960}", Command::make<Command::burst>(960).toString());
    EXPECT_EQ("Command{start: Void{}}", Command::make<Command::start>().toString());
    EXPECT_EQ(
            "Reply{status: 0, fmqByteCount: 0, observable: Position{frames: -1, timeNs: -1}, "
            "hardware: Position{frames: -1, timeNs: -1}, latencyMs: 0, xrunFrames: 0, "
            "state: STANDBY, flushFromPosition: 0}",
            Reply().toString());
    EXPECT_EQ(
            "HfpConfig{isEnabled: Boolean{value: true}, sampleRate: (null), volume: Float{value: "
            "0.500000}}",
            (IBluetooth::HfpConfig{.isEnabled = Boolean{true}, .volume = Float{0.5f}}.toString()));
    EXPECT_EQ(
            "AudioPortConfig{id: 11, portId: 5, sampleRate: Int{value: 48000}, channelMask: "
            "AudioChannelLayout{layoutMask: 3}, format: AudioFormatDescription{type: PCM, pcm: "
            "INT_16_BIT, encoding: }, gain: AudioGainConfig{index: 1, mode: 4, channelMask: "
            "AudioChannelLayout{layoutMask: 3}, values: [-600, -1200], rampDurationMs: 20}, "
            "flags: AudioIoFlags{input: 1}, ext: AudioPortExt{mix: AudioPortMixExt{handle: 13, "
            "usecase: AudioPortMixExtUseCase{source: VOICE_RECOGNITION}, maxOpenStreamCount: 2, "
            "maxActiveStreamCount: 1, recommendedMuteDurationMs: 30}}}",
            PortConfig().toString());
    EXPECT_EQ(
            "AudioDevice{type: AudioDeviceDescription{type: OUT_HEADSET, connection: bt-a2dp}, "
            "address: AudioDeviceAddress{mac: [0, 26, 125, 218, 113, 255]}}",
            Headset().toString());
    EXPECT_EQ(
            "SourceMetadata{tracks: [PlaybackTrackMetadata{usage: INVALID, contentType: UNKNOWN, "
            "gain: 0.000000, channelMask: AudioChannelLayout{none: 0}, sourceDevice: (null), "
            "tags: [], codecProvenance: (null)}]}",
            SourceMetadata{.tracks = {PlaybackTrackMetadata{}}}.toString());
}

template <typename E>
void ExpectEnum(E value, const std::string& name, int number) {
    EXPECT_EQ(name, toString(value));
    EXPECT_EQ(number, static_cast<int>(value)) << name;
}

TEST(AidlTypesTest, Enums_ValuesNamesAndBacking) {
    static_assert(sizeof(AudioEncapsulationMode) == 1 && sizeof(PcmType) == 1);
    static_assert(sizeof(IBluetooth::ScoConfig::Mode) == 1 && sizeof(SynchronizedReadWrite) == 1);
    static_assert(sizeof(AudioUsage) == 4 && sizeof(FlushFromFrameAccuracy) == 4);
    // Of values with several names the first is printed; unknown values print as numbers.
    ExpectEnum(AudioDeviceType::IN_BUS, "IN_DEVICE", 4);
    ExpectEnum(PcmType::UINT_8_BIT, "DEFAULT", 0);
    ExpectEnum(AudioEncapsulationMode::INVALID, "INVALID", -1);
    ExpectEnum(ITelephony::TelecomConfig::TtyMode::UNSPECIFIED, "UNSPECIFIED", -1);
    ExpectEnum(static_cast<AudioMode>(9), "9", 9);
    ExpectEnum(AudioPortExt::Tag::session, "session", 3);
    ExpectEnum(Command::Tag::flushFromFrame, "flushFromFrame", 8);
    std::vector<PcmType> all(ndk::enum_range<PcmType>().begin(), ndk::enum_range<PcmType>().end());
    EXPECT_EQ((std::vector<PcmType>{PcmType::DEFAULT, PcmType::UINT_8_BIT, PcmType::INT_16_BIT,
                                    PcmType::INT_32_BIT, PcmType::FIXED_Q_8_24,
                                    PcmType::FLOAT_32_BIT, PcmType::INT_24_BIT}),
              all);
}

TEST(AidlTypesTest, Constants_Values) {
    EXPECT_EQ(63, AudioChannelLayout::LAYOUT_5POINT1);
    EXPECT_EQ(AudioChannelLayout::LAYOUT_13POINT0, AudioChannelLayout::LAYOUT_13POINT_360RA);
    EXPECT_EQ(0x60000003, AudioChannelLayout::LAYOUT_STEREO_HAPTIC_AB);
    EXPECT_EQ(0xFFFFFF, AudioChannelLayout::INDEX_MASK_24);
    EXPECT_STREQ("hdmi-earc", AudioDeviceDescription::CONNECTION_HDMI_EARC);
    EXPECT_EQ(2, IModule::DEFAULT_AAUDIO_MIXER_BURST_COUNT);
    EXPECT_EQ(-1, StreamDescriptor::Position::UNKNOWN);
    EXPECT_STREQ("android.hardware.audio.core.IModule.OpenInputStreamArguments",
                 IModule::OpenInputStreamArguments::descriptor);
}

TEST(AidlTypesTest, Interfaces_TravelAsTheSameBinder) {
    class StreamIn : public BnStreamIn {};
    class StreamOut : public BnStreamOut {};
    // As on the platform, an interface that is not @nullable may still be null: a null binder.
    IModule::OpenInputStreamReturn result;
    EXPECT_FALSE(Encode(result).empty());

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
    wrong.stream = ndk::SharedRefBase::make<StreamOut>();
    EXPECT_EQ(STATUS_OK, wrong.readFromParcel(parcel.get()));
    EXPECT_EQ(nullptr, wrong.stream);
    decoded.stream.reset();
    EXPECT_FALSE(stream.expired());
    parcel.set(nullptr);
    EXPECT_TRUE(stream.expired());

    // A nullable callback comes back as the same object; an absent one as null.
    class Callback : public BnStreamCallback {};
    IModule::OpenOutputStreamArguments arguments;
    arguments.callback = ndk::SharedRefBase::make<Callback>();
    parcel = Write(arguments);
    EXPECT_TRUE(Marshal(parcel.get()).empty());
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

TEST(AidlTypesTest, Reply_OlderAndNewerWriters) {
    const Bytes bytes = Encode(FullReply());
    // A writer without the last field: a 72-byte parcelable; the field keeps its default.
    Bytes older(bytes.begin(), bytes.end() - 4);
    older[0] = 72;
    Reply decoded;
    decoded.flushFromPosition = 123;
    ASSERT_EQ(STATUS_OK, Decode(older, &decoded));
    EXPECT_EQ(7, decoded.xrunFrames);
    EXPECT_EQ(123, decoded.flushFromPosition);

    // A writer with one more field: the reader skips it and ends after the declared size.
    Bytes newer = bytes;
    newer.insert(newer.end(), {0xAA, 0xBB, 0xCC, 0xDD, 0x11, 0, 0, 0});
    newer[0] = 80;
    ndk::ScopedAParcel parcel(AParcel_create());
    ASSERT_EQ(STATUS_OK, AParcel_unmarshal(parcel.get(), newer.data(), newer.size()));
    ASSERT_EQ(STATUS_OK, decoded.readFromParcel(parcel.get()));
    EXPECT_EQ(FullReply(), decoded);
    EXPECT_EQ(80, AParcel_getDataPosition(parcel.get()));
}

template <typename T>
binder_status_t ReadAs(const Bytes& bytes) {
    T value;
    return Decode(bytes, &value);
}

// A command that fails to read keeps its value.
template <>
binder_status_t ReadAs<Command>(const Bytes& bytes) {
    Command value = Command::make<Command::burst>(1);
    const binder_status_t status = Decode(bytes, &value);
    if (status != STATUS_OK) {
        EXPECT_EQ(Command::make<Command::burst>(1), value);
    }
    return status;
}

// Bytes as each type: only the statuses the platform gives, and no reads past the data.
template <typename... T>
void ExpectReadAsEveryType(const Bytes& bytes) {
    static const std::set<binder_status_t> kStatuses = {
            STATUS_OK,       STATUS_BAD_VALUE, STATUS_NOT_ENOUGH_DATA, STATUS_UNEXPECTED_NULL,
            STATUS_BAD_TYPE, STATUS_NO_MEMORY};
    auto check = [&](binder_status_t status) { EXPECT_TRUE(kStatuses.count(status)) << status; };
    (check(ReadAs<T>(bytes)), ...);
}

TEST(AidlTypesTest, BadInput_RandomAndMutatedBytes) {
    std::mt19937 random(20240229);
    const std::vector<Bytes> valid = {Encode(Port()), Encode(PortConfig()), Encode(FullReply()),
                                      Encode(SourceMetadata{.tracks = {PlaybackTrack()}})};
    for (int round = 0; round < 400; ++round) {
        Bytes bytes;
        if (round % 2 == 0) {
            bytes.resize(random() % 160);
            for (uint8_t& byte : bytes) byte = static_cast<uint8_t>(random());
        } else {
            bytes = valid[random() % valid.size()];
            for (int flips = 0; flips < 3; ++flips) {
                bytes[random() % bytes.size()] = static_cast<uint8_t>(random());
            }
        }
        ExpectReadAsEveryType<AudioPort, ModuleDebug, AudioPortConfig, AudioPatch,
                              IModule::OpenInputStreamArguments, IModule::OpenInputStreamReturn,
                              IModule::OpenOutputStreamArguments, IModule::OpenOutputStreamReturn,
                              ITelephony::TelecomConfig, IBluetooth::ScoConfig,
                              IBluetooth::HfpConfig, Command, Reply, AudioOffloadMetadata,
                              AudioPlaybackRate, SinkMetadata, SourceMetadata>(bytes);
    }
}

TEST(AidlTypesTest, BadInput_PlatformStatuses) {
    const Bytes reply = Encode(Reply());
    auto with_header = [&](int32_t size) {
        Bytes bytes = reply;
        std::memcpy(bytes.data(), &size, 4);
        return bytes;
    };
    Bytes null_position = reply;
    null_position[12] = 0;  // the marker of observable
    const struct {
        const char* what;
        binder_status_t (*read)(const Bytes&);
        Bytes bytes;
        binder_status_t status;
    } kCases[] = {
            {"empty reply", ReadAs<Reply>, {}, STATUS_NOT_ENOUGH_DATA},
            {"size header below 4", ReadAs<Reply>, with_header(3), STATUS_BAD_VALUE},
            {"negative size header", ReadAs<Reply>, with_header(-76), STATUS_BAD_VALUE},
            // The platform reads the fields that the data holds and moves past the declared end.
            {"size header past the end", ReadAs<Reply>, with_header(80), STATUS_OK},
            {"null position", ReadAs<Reply>, null_position, STATUS_UNEXPECTED_NULL},
            {"a command as a reply", ReadAs<Reply>, Encode(Command::make<Command::burst>(960)),
             STATUS_BAD_VALUE},
            {"unknown tag", ReadAs<Command>, {9, 0, 0, 0, 0, 0, 0, 0}, STATUS_BAD_VALUE},
            {"negative tag", ReadAs<Command>, {0xFF, 0xFF, 0xFF, 0xFF, 0, 0, 0, 0}, STATUS_BAD_VALUE},
            {"tag only", ReadAs<Command>, {3, 0, 0, 0}, STATUS_NOT_ENOUGH_DATA},
            {"null Void", ReadAs<Command>, {1, 0, 0, 0, 0, 0, 0, 0}, STATUS_UNEXPECTED_NULL},
            {"count past the data",
             ReadAs<SourceMetadata>,
             {12, 0, 0, 0, 0xFF, 0xFF, 0xFF, 0x7F, 0, 0, 0, 0},
             STATUS_NO_MEMORY},
            // The name's count is fmqByteCount, 3840: a malformed string, which reads as null.
            {"a reply as a port", ReadAs<AudioPort>, Encode(FullReply()), STATUS_UNEXPECTED_NULL},
            {"a reply as a port config", ReadAs<AudioPortConfig>, reply, STATUS_BAD_VALUE},
    };
    for (const auto& c : kCases) EXPECT_EQ(c.status, c.read(c.bytes)) << c.what;
}

}  // namespace
