#include "demo_hal.h"

#include <aidl/android/hardware/audio/core/AudioPatch.h>
#include <aidl/android/hardware/audio/core/BnStreamOut.h>
#include <aidl/android/hardware/audio/core/IBluetooth.h>
#include <aidl/android/hardware/audio/core/IModule.h>
#include <aidl/android/media/audio/common/AudioMode.h>

#include <cmath>
#include <numbers>

namespace autl::demo {

using aidl::android::hardware::audio::common::PlaybackTrackMetadata;
using aidl::android::hardware::audio::core::AudioPatch;
using aidl::android::hardware::audio::core::BnStreamOut;
using aidl::android::hardware::audio::core::IBluetooth;
using aidl::android::hardware::audio::core::IModule;
using aidl::android::hardware::audio::core::StreamDescriptor;
using aidl::android::media::audio::common::AudioChannelLayout;
using aidl::android::media::audio::common::AudioContentType;
using aidl::android::media::audio::common::AudioMode;
using aidl::android::media::audio::common::AudioUsage;
using aidl::android::media::audio::common::PcmType;
using utils::interactionlogger::Argument;
using utils::interactionlogger::ArgumentType;
using utils::interactionlogger::LogEntry;
using utils::interactionlogger::PendingEntry;
using utils::interactionlogger::StreamLogger;
using Command = StreamDescriptor::Command;
using State = StreamDescriptor::State;

namespace {

constexpr uint64_t kStreamLogBytes = 64 * 1024;
constexpr uint64_t kModuleLogBytes = 256 * 1024;

// The script of one stream cycle of 400 periods (two seconds): what the client sends when.
Command ScriptedCommand(int64_t index, int32_t burst_bytes) {
    const int64_t at = index % 400;
    if (at == 0 || at == 320) return Command::make<Command::start>();
    if (at == 300) return Command::make<Command::pause>();
    if (at > 300 && at < 320) return Command::make<Command::getStatus>();
    if (at == 390) return Command::make<Command::drain>(StreamDescriptor::DrainMode::DRAIN_ALL);
    if (at > 390 && at < 399) return Command::make<Command::getStatus>();
    if (at == 399) return Command::make<Command::standby>();
    return Command::make<Command::burst>(burst_bytes);
}

}  // namespace

DemoStreamOut::DemoStreamOut(const std::string& folder)
    : Worker("autl_demo_stream_out_0", 0),
      logger_(kStreamLogBytes),
      wave_(folder, "stream_out_0", kChannels, kSampleRate, PcmType::INT_16_BIT),
      encoded_(folder, "stream_out_0", kChannels, kSampleRate, PcmType::INT_16_BIT),
      burst_(kFramesPerBurst * kChannels) {
    reply_.observable = {.frames = 0, .timeNs = 0};
}

DemoStreamOut::~DemoStreamOut() {
    Close();
}

bool DemoStreamOut::Open() {
    if (open_) return true;
    open_ = true;
    wave_.Start();
    encoded_.Start();
    next_period_ = std::chrono::steady_clock::now();
    return Start();
}

void DemoStreamOut::Close() {
    if (!open_) return;
    open_ = false;
    Stop();
    wave_.Stop();
    encoded_.Stop();
}

std::vector<std::string> DemoStreamOut::CapturePaths() const {
    return {wave_.GetPath(), encoded_.GetPath()};
}

void DemoStreamOut::WakeUp() {
    std::lock_guard lock(wake_mutex_);
    woken_ = true;
    wake_.notify_all();
}

void DemoStreamOut::DoWork() {
    {
        std::unique_lock lock(wake_mutex_);
        next_period_ += kPeriod;
        if (wake_.wait_until(lock, next_period_, [this] { return woken_; })) {
            woken_ = false;
            return;
        }
    }
    HandleCommand(commands_++);
}

void DemoStreamOut::HandleCommand(int64_t index) {
    const Command command = ScriptedCommand(index, kBurstBytes);
    logger_.LogCommand(command);
    reply_.status = 0;
    reply_.fmqByteCount = 0;
    reply_.latencyMs = 20;
    switch (command.getTag()) {
        case Command::start:
            reply_.state = State::ACTIVE;
            break;
        case Command::burst:
            Play();
            reply_.fmqByteCount = kBurstBytes;
            reply_.observable.frames += kFramesPerBurst;
            reply_.observable.timeNs = std::chrono::duration_cast<std::chrono::nanoseconds>(
                                               std::chrono::steady_clock::now().time_since_epoch())
                                               .count();
            // Now and then the data does not reach the device in time.
            if (index % 97 == 96) {
                logger_.LogInternalError(StreamLogger::Error::kTransferFailed);
                reply_.xrunFrames += kFramesPerBurst;
            }
            break;
        case Command::pause:
            reply_.state = State::PAUSED;
            break;
        case Command::drain:
            reply_.state = State::DRAINING;
            break;
        case Command::standby:
            reply_.state = State::STANDBY;
            break;
        default:
            if (reply_.state == State::DRAINING) reply_.state = State::IDLE;
            break;
    }
    logger_.LogReply(reply_);
}

void DemoStreamOut::Play() {
    constexpr double kStep = 2 * std::numbers::pi * 440.0 / kSampleRate;
    for (int32_t frame = 0; frame < kFramesPerBurst; ++frame) {
        const auto sample = static_cast<int16_t>(std::lround(8000 * std::sin(phase_)));
        phase_ = std::fmod(phase_ + kStep, 2 * std::numbers::pi);
        burst_[2 * frame] = sample;
        burst_[2 * frame + 1] = sample;
    }
    wave_.Record(burst_.data(), kBurstBytes);
    encoded_.Record(burst_.data(), kBurstBytes);
}

namespace {

// The HAL's output stream object, as returned by openOutputStream.
class DemoStreamOutBinder : public BnStreamOut {};

std::vector<Argument> One(Argument argument) {
    std::vector<Argument> arguments;
    arguments.push_back(std::move(argument));
    return arguments;
}

IModule::OpenOutputStreamArguments OutputStreamArguments(int32_t port_config_id) {
    PlaybackTrackMetadata track;
    track.usage = AudioUsage::MEDIA;
    track.contentType = AudioContentType::MUSIC;
    track.gain = 1.0f;
    track.channelMask = AudioChannelLayout::make<AudioChannelLayout::layoutMask>(
            AudioChannelLayout::LAYOUT_STEREO);
    track.tags = {"autl_demo"};
    IModule::OpenOutputStreamArguments arguments;
    arguments.portConfigId = port_config_id;
    arguments.sourceMetadata.tracks.push_back(std::move(track));
    arguments.bufferSizeFrames = 4 * DemoStreamOut::kFramesPerBurst;
    return arguments;
}

}  // namespace

DemoModule::DemoModule() : logger_(kModuleLogBytes) {}

DemoModule::~DemoModule() {
    Stop();
}

void DemoModule::Start() {
    threads_.emplace_back(&DemoModule::Loop, this, &DemoModule::PolicyCalls,
                          std::chrono::milliseconds(40));
    threads_.emplace_back(&DemoModule::Loop, this, &DemoModule::StreamCalls,
                          std::chrono::milliseconds(150));
}

void DemoModule::Stop() {
    {
        std::lock_guard lock(stop_mutex_);
        stopping_ = true;
    }
    stop_.notify_all();
    for (std::thread& thread : threads_) thread.join();
    threads_.clear();
}

void DemoModule::Loop(void (DemoModule::*calls)(int), std::chrono::milliseconds interval) {
    for (int round = 0;; ++round) {
        (this->*calls)(round);
        std::unique_lock lock(stop_mutex_);
        if (stop_.wait_for(lock, interval, [this] { return stopping_; })) return;
    }
}

void DemoModule::Call(const char* interface, const char* function, std::vector<Argument> arguments,
                      std::chrono::microseconds work, Argument ret, int32_t ecode) {
    PendingEntry call = logger_.Begin(LogEntry(interface, function, std::move(arguments)));
    std::this_thread::sleep_for(work);
    call.SetReturn(std::move(ret));
    call.SetErrorCode(ecode);
    ++calls_;
}

void DemoModule::PolicyCalls(int round) {
    using namespace std::chrono_literals;
    // The mute state is polled often; identical polls fold into one entry.
    Call("android.hardware.audio.core.IModule", "getMasterMute", {}, 30us, Argument("ret", false));
    if (round % 10 == 3) {
        Call("android.hardware.audio.core.IModule", "setMasterMute", One(Argument("mute", true)),
             120us, Argument("ret", true));
        Call("android.hardware.audio.core.IModule", "setMasterMute", One(Argument("mute", false)),
             110us, Argument("ret", true));
    }
    if (round % 25 == 10) {
        // A call starts: communication mode, then a SCO link to a headset.
        const auto mode = static_cast<int32_t>(round % 50 == 10 ? AudioMode::IN_COMMUNICATION
                                                                : AudioMode::NORMAL);
        Call("android.hardware.audio.core.ITelephony", "setAudioMode",
             One(Argument("mode", mode, ArgumentType::kAudioMode)), 400us, Argument("ret", true));
        logger_.SetAudioMode(mode);

        IBluetooth::ScoConfig sco;
        sco.isEnabled = aidl::android::media::audio::common::Boolean{.value = mode != 0};
        sco.mode = IBluetooth::ScoConfig::Mode::SCO_WB;
        sco.debugName = "headset";
        Call("android.hardware.audio.core.IBluetooth", "setScoConfig",
             One(Argument::FromParcelable("config", sco, ArgumentType::kScoConfig)), 250us,
             Argument::FromParcelable("ret", sco, ArgumentType::kScoConfig));
        logger_.SetScoEnabled(mode != 0);
    }
}

void DemoModule::StreamCalls(int round) {
    using namespace std::chrono_literals;
    if (round % 8 != 0) {
        AudioPatch patch;
        patch.id = 10;
        patch.sourcePortConfigIds = {21};
        patch.sinkPortConfigIds = {round % 16 < 8 ? 30 : 31};
        patch.minimumStreamBufferSizeFrames = 960;
        patch.latenciesMs = {20};
        // An invalid patch now and then: the HAL answers with an error code.
        const int32_t ecode = round % 13 == 12 ? -22 : 0;
        Call("android.hardware.audio.core.IModule", "setAudioPatch",
             One(Argument::FromParcelable("requested", patch, ArgumentType::kAudioPatch)), 300us,
             Argument::FromParcelable("ret", patch, ArgumentType::kAudioPatch), ecode);
        return;
    }
    IModule::OpenOutputStreamReturn opened;
    opened.stream = ndk::SharedRefBase::make<DemoStreamOutBinder>();
    opened.desc.frameSizeBytes = DemoStreamOut::kChannels * 2;
    opened.desc.bufferSizeFrames = 4 * DemoStreamOut::kFramesPerBurst;
    Call("android.hardware.audio.core.IModule", "openOutputStream",
         One(Argument::FromParcelable("args", OutputStreamArguments(21),
                                      ArgumentType::kOpenOutputStreamArguments)),
         900us, Argument::FromParcelable("ret", opened, ArgumentType::kOpenOutputStreamReturn));
}

}  // namespace autl::demo
