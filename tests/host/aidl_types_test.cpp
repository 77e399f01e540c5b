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
#include <aidl/android/hardware/common/fmq/SynchronizedReadWrite.h>
#include <aidl/android/media/audio/common/AudioGainMode.h>
#include <aidl/android/media/audio/common/AudioInputFlags.h>
#include <aidl/android/media/audio/common/AudioMode.h>
#include <aidl/android/media/audio/common/AudioOutputFlags.h>
#include <aidl/android/media/audio/common/AudioPlaybackRate.h>
#include <aidl/android/media/audio/common/AudioPort.h>
#include <aidl/android/media/audio/common/AudioPortConfig.h>
#include <aidl/android/media/audio/common/FlushFromFrameAccuracy.h>

#include <random>
#include <set>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "aidl_test_support.h"

namespace {

using namespace aidl::android::hardware::audio::common;
using namespace aidl::android::hardware::audio::core;
using namespace aidl::android::media::audio::common;
using aidl::android::hardware::common::fmq::SynchronizedReadWrite;
using autl::test::Bytes;
using autl::test::Decode;
using autl::test::Encode;
using autl::test::ExpectRoundTrip;

AudioChannelLayout Stereo() {
    return AudioChannelLayout::make<AudioChannelLayout::layoutMask>(
            AudioChannelLayout::LAYOUT_STEREO);
}

AudioFormatDescription Pcm16() {
    return {.type = AudioFormatType::PCM, .pcm = PcmType::INT_16_BIT, .encoding = ""};
}

AudioDevice Headset() {
    return {.type = {.type = AudioDeviceType::OUT_HEADSET,
                     .connection = AudioDeviceDescription::CONNECTION_BT_A2DP},
            .address = AudioDeviceAddress::make<AudioDeviceAddress::mac>(
                    std::vector<uint8_t>{0x00, 0x1A, 0x7D, 0xDA, 0x71, 0xFF})};
}

AudioGainConfig GainConfig() {
    return {.index = 1,
            .mode = 1 << static_cast<int>(AudioGainMode::RAMP),
            .channelMask = Stereo(),
            .values = {-600, -1200},
            .rampDurationMs = 20};
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
                          .format = Pcm16(),
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
            .format = Pcm16(),
            .gain = GainConfig(),
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

StreamDescriptor::Reply Reply() {
    StreamDescriptor::Reply reply;
    reply.status = -61;
    reply.fmqByteCount = 1920;
    reply.observable.frames = 480;
    reply.hardware.timeNs = 5;
    reply.latencyMs = 20;
    reply.xrunFrames = 1;
    reply.state = StreamDescriptor::State::ACTIVE;
    reply.flushFromPosition = 64;
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
    ExpectRoundTrip(Reply());
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
    ExpectRoundTrip(SinkMetadata{.tracks = {RecordTrack()}});
    ExpectRoundTrip(SourceMetadata{.tracks = {PlaybackTrack(), PlaybackTrack()}});
    ExpectRoundTrip(IModule::SupportedPlaybackRateFactors{
            .minSpeed = 0.1f, .maxSpeed = 4.0f, .minPitch = 0.5f, .maxPitch = 2.0f});
}

TEST(AidlTypesTest, Nullables_AbsentRoundTrips) {
    ExpectRoundTrip(AudioPortConfig{.id = 1});
    ExpectRoundTrip(IBluetooth::ScoConfig{});
    ExpectRoundTrip(IBluetooth::HfpConfig{});
    ExpectRoundTrip(ITelephony::TelecomConfig{});
    // An absent parcelable is the int32 0, an absent string the count -1.
    const Bytes expected = {20,   0,    0,    0,      // size
                            0,    0,    0,    0,      // isEnabled
                            0,    0,    0,    0,      // isNrecEnabled
                            0,    0,    0,    0,      // mode, UNSPECIFIED
                            0xFF, 0xFF, 0xFF, 0xFF};  // debugName
    EXPECT_EQ(expected, Encode(IBluetooth::ScoConfig{}));
}

TEST(AidlTypesTest, Unions_EveryAlternativeRoundTrips) {
    for (const auto& layout :
         {AudioChannelLayout(), AudioChannelLayout::make<AudioChannelLayout::invalid>(0),
          AudioChannelLayout::make<AudioChannelLayout::indexMask>(AudioChannelLayout::INDEX_MASK_8),
          Stereo(),
          AudioChannelLayout::make<AudioChannelLayout::voiceMask>(
                  AudioChannelLayout::VOICE_UPLINK_MONO)}) {
        ExpectRoundTrip(layout);
    }
    for (const auto& address :
         {AudioDeviceAddress::make<AudioDeviceAddress::id>("card=1;device=0"),
          AudioDeviceAddress::make<AudioDeviceAddress::mac>(std::vector<uint8_t>{1, 2, 3, 4, 5, 6}),
          AudioDeviceAddress::make<AudioDeviceAddress::ipv4>(std::vector<uint8_t>{192, 168, 0, 1}),
          AudioDeviceAddress::make<AudioDeviceAddress::ipv6>(
                  std::vector<int32_t>{0x2001, 0xdb8, 0, 0, 0, 0, 0, 1}),
          AudioDeviceAddress::make<AudioDeviceAddress::alsa>(std::vector<int32_t>{1, 0})}) {
        ExpectRoundTrip(address);
    }
    ExpectRoundTrip(AudioIoFlags::make<AudioIoFlags::input>(5));
    ExpectRoundTrip(AudioIoFlags::make<AudioIoFlags::output>(1 << 18));
    for (const auto& ext :
         {AudioPortExt::make<AudioPortExt::unspecified>(true), AudioPortExt(DeviceExt()),
          AudioPortExt(MixExt()), AudioPortExt::make<AudioPortExt::session>(77)}) {
        ExpectRoundTrip(ext);
    }
    for (const auto& usecase :
         {AudioPortMixExtUseCase::make<AudioPortMixExtUseCase::unspecified>(true),
          AudioPortMixExtUseCase(AudioStreamType::ALARM),
          AudioPortMixExtUseCase(AudioSource::HOTWORD)}) {
        ExpectRoundTrip(usecase);
    }
}

TEST(AidlTypesTest, ToString_GeneratedText) {
    EXPECT_EQ("ModuleDebug{simulateDeviceConnections: true, streamTransientStateDelayMs: 250}",
              (ModuleDebug{true, 250}.toString()));
    EXPECT_EQ(
            "AudioPatch{id: 3, sourcePortConfigIds: [11, 12], sinkPortConfigIds: [], "
            "minimumStreamBufferSizeFrames: 0, latenciesMs: [15]}",
            (AudioPatch{.id = 3, .sourcePortConfigIds = {11, 12}, .latenciesMs = {15}}.toString()));
    EXPECT_EQ(
            "HfpConfig{isEnabled: (null), sampleRate: Int{value: 16000}, volume: Float{value: "
            "0.500000}}",
            (IBluetooth::HfpConfig{.sampleRate = Int{16000}, .volume = Float{0.5f}}.toString()));
    EXPECT_EQ(
            "ScoConfig{isEnabled: Boolean{value: true}, isNrecEnabled: (null), mode: SCO_WB, "
            "debugName: (null)}",
            (IBluetooth::ScoConfig{.isEnabled = Boolean{true},
                                   .mode = IBluetooth::ScoConfig::Mode::SCO_WB}
                     .toString()));
    EXPECT_EQ("TelecomConfig{voiceVolume: (null), ttyMode: UNSPECIFIED, isHacEnabled: (null)}",
              ITelephony::TelecomConfig().toString());
    EXPECT_EQ(
            "AudioPlaybackRate{speed: 0.000000, pitch: 0.000000, timestretchMode: DEFAULT, "
            "fallbackMode: SYS_RESERVED_DEFAULT}",
            AudioPlaybackRate().toString());
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

TEST(AidlTypesTest, Enums_ValuesNamesAndBacking) {
    static_assert(sizeof(AudioEncapsulationMode) == 1 && sizeof(AudioFormatType) == 1);
    static_assert(sizeof(IBluetooth::ScoConfig::Mode) == 1 && sizeof(SynchronizedReadWrite) == 1);
    static_assert(sizeof(AudioUsage) == 4 && sizeof(FlushFromFrameAccuracy) == 4);
    const struct {
        std::string text;
        int value;
        std::string expected_text;
        int expected_value;
    } kEnums[] = {
            {toString(AudioDeviceType::IN_BUS), static_cast<int>(AudioDeviceType::IN_BUS),
             "IN_DEVICE", 4},
            {toString(AudioDeviceType::OUT_BUS), static_cast<int>(AudioDeviceType::OUT_BUS),
             "OUT_DEVICE", 133},
            {toString(AudioDeviceType::OUT_MULTICHANNEL_GROUP),
             static_cast<int>(AudioDeviceType::OUT_MULTICHANNEL_GROUP), "OUT_MULTICHANNEL_GROUP",
             147},
            {toString(AudioFormatType::NON_PCM), static_cast<int>(AudioFormatType::NON_PCM),
             "DEFAULT", 0},
            {toString(AudioUsage::SPEAKER_CLEANUP), static_cast<int>(AudioUsage::SPEAKER_CLEANUP),
             "SPEAKER_CLEANUP", 1004},
            {toString(AudioSource::ULTRASOUND), static_cast<int>(AudioSource::ULTRASOUND),
             "ULTRASOUND", 2000},
            {toString(AudioStreamType::INVALID), static_cast<int>(AudioStreamType::INVALID),
             "INVALID", -2},
            {toString(AudioMode::CALL_SCREEN), static_cast<int>(AudioMode::CALL_SCREEN),
             "CALL_SCREEN", 4},
            {toString(AudioEncapsulationMode::INVALID),
             static_cast<int>(AudioEncapsulationMode::INVALID), "INVALID", -1},
            {toString(ITelephony::TelecomConfig::TtyMode::UNSPECIFIED),
             static_cast<int>(ITelephony::TelecomConfig::TtyMode::UNSPECIFIED), "UNSPECIFIED", -1},
            {toString(AudioOutputFlags::BIT_PERFECT),
             static_cast<int>(AudioOutputFlags::BIT_PERFECT), "BIT_PERFECT", 18},
            {toString(FlushFromFrameAccuracy::EXACT),
             static_cast<int>(FlushFromFrameAccuracy::EXACT), "EXACT", 1},
            {toString(static_cast<AudioMode>(9)), 9, "9", 9},
            {toString(AudioPortExt::Tag::session), static_cast<int>(AudioPortExt::Tag::session),
             "session", 3},
    };
    for (const auto& e : kEnums) {
        EXPECT_EQ(e.expected_text, e.text);
        EXPECT_EQ(e.expected_value, e.value) << e.text;
    }
    std::vector<AudioMode> modes;
    for (AudioMode mode : ndk::enum_range<AudioMode>()) modes.push_back(mode);
    EXPECT_EQ(9u, modes.size());
    EXPECT_EQ(AudioMode::SYS_RESERVED_INVALID, modes.front());
}

TEST(AidlTypesTest, Constants_Values) {
    EXPECT_EQ(63, AudioChannelLayout::LAYOUT_5POINT1);
    EXPECT_EQ(0x302D63F, AudioChannelLayout::LAYOUT_9POINT1POINT4);
    EXPECT_EQ(AudioChannelLayout::LAYOUT_13POINT0, AudioChannelLayout::LAYOUT_13POINT_360RA);
    EXPECT_EQ(0xFFFFFF, AudioChannelLayout::LAYOUT_22POINT2);
    EXPECT_EQ(0x60000003, AudioChannelLayout::LAYOUT_STEREO_HAPTIC_AB);
    EXPECT_EQ(0xFFFFFF, AudioChannelLayout::INDEX_MASK_24);
    EXPECT_EQ(0xC000, AudioChannelLayout::VOICE_CALL_MONO);
    EXPECT_STREQ("hdmi-earc", AudioDeviceDescription::CONNECTION_HDMI_EARC);
    EXPECT_STREQ("virtual", AudioDeviceDescription::CONNECTION_VIRTUAL);
    EXPECT_EQ(2, IModule::DEFAULT_AAUDIO_MIXER_BURST_COUNT);
    EXPECT_EQ(1000, IModule::DEFAULT_AAUDIO_HARDWARE_BURST_MIN_DURATION_US);
    EXPECT_EQ(28, StreamDescriptor::FLUSH_FROM_FRAME_POSITION_BITS);
    EXPECT_EQ(-1, StreamDescriptor::Position::UNKNOWN);
    EXPECT_EQ(1, IBluetooth::HfpConfig::VOLUME_MAX);
    EXPECT_EQ(0, MmapBufferDescriptor::FLAG_INDEX_APPLICATION_SHAREABLE);
    EXPECT_STREQ("android.hardware.audio.core.IModule.OpenInputStreamArguments",
                 IModule::OpenInputStreamArguments::descriptor);
    EXPECT_STREQ("android.media.audio.common.AudioPort", AudioPort::descriptor);
}

// A stream object that reports its destruction.
class StreamIn : public BnStreamIn {
  public:
    explicit StreamIn(bool* destroyed) : destroyed_(destroyed) {}
    ~StreamIn() override { *destroyed_ = true; }

  private:
    bool* destroyed_;
};

TEST(AidlTypesTest, Interfaces_TravelAsTheSameBinder) {
    bool destroyed = false;
    {
        std::shared_ptr<StreamIn> stream = ndk::SharedRefBase::make<StreamIn>(&destroyed);
        IModule::OpenInputStreamReturn result;
        EXPECT_EQ(nullptr, result.stream);
        ndk::ScopedAParcel refused(AParcel_create());
        EXPECT_EQ(STATUS_UNEXPECTED_NULL, result.writeToParcel(refused.get()));

        result.stream = stream;
        ndk::ScopedAParcel parcel = autl::test::Write(result);
        // Header, binder object and stability word, then the descriptor.
        EXPECT_EQ(4 + 28 + 4 + static_cast<int32_t>(Encode(StreamDescriptor()).size()),
                  AParcel_getDataSize(parcel.get()));
        EXPECT_TRUE(autl::test::Marshal(parcel.get()).empty());
        stream.reset();
        result.stream.reset();
        EXPECT_FALSE(destroyed);  // the parcel holds the binder, which holds the object

        ASSERT_EQ(STATUS_OK, AParcel_setDataPosition(parcel.get(), 0));
        IModule::OpenInputStreamReturn decoded;
        ASSERT_EQ(STATUS_OK, decoded.readFromParcel(parcel.get()));
        ASSERT_NE(nullptr, decoded.stream);
        EXPECT_FALSE(decoded.stream->isRemote());
        EXPECT_EQ(
                "OpenInputStreamReturn{stream: binder:android.hardware.audio.core.IStreamIn, "
                "desc: " +
                        StreamDescriptor().toString() + "}",
                decoded.toString());

        // The same binder cannot be read as another interface.
        ASSERT_EQ(STATUS_OK, AParcel_setDataPosition(parcel.get(), 0));
        IModule::OpenOutputStreamReturn wrong;
        EXPECT_EQ(STATUS_BAD_TYPE, wrong.readFromParcel(parcel.get()));
        parcel.reset();
        EXPECT_FALSE(destroyed);
    }
    EXPECT_TRUE(destroyed);
}

TEST(AidlTypesTest, Interfaces_NullableCallbacks) {
    class Callback : public BnStreamCallback {};
    auto callback = ndk::SharedRefBase::make<Callback>();
    IModule::OpenOutputStreamArguments arguments;
    arguments.callback = callback;
    ndk::ScopedAParcel parcel = autl::test::Write(arguments);
    EXPECT_TRUE(autl::test::Marshal(parcel.get()).empty());
    ASSERT_EQ(STATUS_OK, AParcel_setDataPosition(parcel.get(), 0));
    IModule::OpenOutputStreamArguments decoded;
    ASSERT_EQ(STATUS_OK, decoded.readFromParcel(parcel.get()));
    EXPECT_EQ(callback, decoded.callback);
    EXPECT_EQ(nullptr, decoded.eventCallback);
    EXPECT_EQ(arguments, decoded);
    EXPECT_EQ(callback->asBinder(), decoded.callback->asBinder());
}

// Decodes every type from bytes; the statuses, in a fixed order.
std::vector<binder_status_t> DecodeAll(const Bytes& bytes) {
    std::vector<binder_status_t> statuses;
    auto decode = [&](auto value) { statuses.push_back(Decode(bytes, &value)); };
    decode(AudioPort());
    decode(ModuleDebug());
    decode(AudioPortConfig());
    decode(AudioPatch());
    decode(IModule::OpenInputStreamArguments());
    decode(IModule::OpenInputStreamReturn());
    decode(IModule::OpenOutputStreamArguments());
    decode(IModule::OpenOutputStreamReturn());
    decode(ITelephony::TelecomConfig());
    decode(IBluetooth::ScoConfig());
    decode(IBluetooth::HfpConfig());
    decode(StreamDescriptor::Command());
    decode(StreamDescriptor::Reply());
    decode(AudioOffloadMetadata());
    decode(AudioPlaybackRate());
    decode(SinkMetadata());
    decode(SourceMetadata());
    return statuses;
}

TEST(AidlTypesTest, BadInput_RandomAndMutatedBytes) {
    const std::set<binder_status_t> kStatuses = {
            STATUS_OK,       STATUS_BAD_VALUE, STATUS_NOT_ENOUGH_DATA, STATUS_UNEXPECTED_NULL,
            STATUS_BAD_TYPE, STATUS_NO_MEMORY};
    std::mt19937 random(20240229);
    const std::vector<Bytes> valid = {Encode(Port()), Encode(PortConfig()), Encode(Reply()),
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
        for (binder_status_t status : DecodeAll(bytes)) {
            EXPECT_TRUE(kStatuses.count(status)) << status;
        }
    }
    // Counts that claim more elements than the data holds, and data of another type.
    const Bytes huge_count = {12, 0, 0, 0, 0xFF, 0xFF, 0xFF, 0x7F, 0, 0, 0, 0};
    SourceMetadata source;
    EXPECT_EQ(STATUS_NOT_ENOUGH_DATA, Decode(huge_count, &source));
    AudioPort port;
    EXPECT_EQ(STATUS_NOT_ENOUGH_DATA, Decode(Encode(Reply()), &port));  // name: 1920 characters
    AudioPortConfig config;
    EXPECT_EQ(STATUS_BAD_VALUE, Decode(Encode(StreamDescriptor::Reply()), &config));
    EXPECT_EQ(STATUS_NOT_ENOUGH_DATA, Decode(Encode(ModuleDebug{true, 5}), &source));
}

}  // namespace
