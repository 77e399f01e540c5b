// The one place that knows which platform parcelable each ArgumentType names.

#include <interactionlogger/logger.h>

#include <android-base/stringprintf.h>

#include <aidl/android/hardware/audio/common/AudioOffloadMetadata.h>
#include <aidl/android/hardware/audio/common/SinkMetadata.h>
#include <aidl/android/hardware/audio/common/SourceMetadata.h>
#include <aidl/android/hardware/audio/core/AudioPatch.h>
#include <aidl/android/hardware/audio/core/IBluetooth.h>
#include <aidl/android/hardware/audio/core/IModule.h>
#include <aidl/android/hardware/audio/core/ITelephony.h>
#include <aidl/android/hardware/audio/core/ModuleDebug.h>
#include <aidl/android/hardware/audio/core/StreamDescriptor.h>
#include <aidl/android/media/audio/common/AudioPlaybackRate.h>
#include <aidl/android/media/audio/common/AudioPort.h>
#include <aidl/android/media/audio/common/AudioPortConfig.h>

namespace vendor::zentro::tevrash::audio::hal::utils::interactionlogger {

namespace {

namespace common = aidl::android::hardware::audio::common;
namespace core = aidl::android::hardware::audio::core;
namespace media = aidl::android::media::audio::common;

// Decodes a T from the start of the parcel and renders it with its generated toString().
template <typename T>
std::string Render(const AParcel* parcel) {
    T object;
    const binder_status_t status = object.readFromParcel(parcel);
    if (status != STATUS_OK) return android::base::StringPrintf("[error status = %d]", status);
    return object.toString();
}

}  // namespace

std::string Argument::ToStringAidl(const ndk::ScopedAParcel& parcel) const {
    using RenderFunction = std::string (*)(const AParcel*);
    // Indexed by type - kAudioPort.
    static constexpr RenderFunction kRenderers[] = {
            Render<media::AudioPort>,                          // kAudioPort
            Render<core::ModuleDebug>,                         // kModuleDebug
            Render<media::AudioPortConfig>,                    // kAudioPortConfig
            Render<core::AudioPatch>,                          // kAudioPatch
            Render<core::IModule::OpenInputStreamArguments>,   // kOpenInputStreamArguments
            Render<core::IModule::OpenInputStreamReturn>,      // kOpenInputStreamReturn
            Render<core::IModule::OpenOutputStreamArguments>,  // kOpenOutputStreamArguments
            Render<core::IModule::OpenOutputStreamReturn>,     // kOpenOutputStreamReturn
            Render<core::ITelephony::TelecomConfig>,           // kTelecomConfig
            Render<core::IBluetooth::ScoConfig>,               // kScoConfig
            Render<core::IBluetooth::HfpConfig>,               // kHfpConfig
            Render<core::StreamDescriptor::Command>,           // kStreamDescriptorCommand
            Render<core::StreamDescriptor::Reply>,             // kStreamDescriptorReply
            Render<common::AudioOffloadMetadata>,              // kAudioOffloadMetadata
            Render<media::AudioPlaybackRate>,                  // kAudioPlaybackRate
            Render<common::SinkMetadata>,                      // kSinkMetadata
            Render<common::SourceMetadata>,                    // kSourceMetadata
    };
    const int32_t index =
            static_cast<int32_t>(type) - static_cast<int32_t>(ArgumentType::kAudioPort);
    if (index < 0 || index >= static_cast<int32_t>(std::size(kRenderers))) {
        return android::base::StringPrintf("[unknown %d]", static_cast<int32_t>(type));
    }
    // Rewinding first lets one stored parcel be decoded again at every dump.
    AParcel_setDataPosition(parcel.get(), 0);
    return kRenderers[index](parcel.get());
}

}  // namespace vendor::zentro::tevrash::audio::hal::utils::interactionlogger
