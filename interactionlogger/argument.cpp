#include <interactionlogger/logger.h>

#include <android-base/stringprintf.h>

#include <aidl/android/media/audio/common/AudioMode.h>

#include <cstdlib>
#include <cstring>

namespace vendor::zentro::tevrash::audio::hal::utils::interactionlogger {

using aidl::android::hardware::audio::core::StreamDescriptor;
using android::base::StringPrintf;

namespace {

// The parcel of an argument that must hold one. Any other alternative is a programming error of
// the caller and ends the process, with or without exceptions enabled.
const ndk::ScopedAParcel& ParcelOf(const Argument& argument) {
    const auto* parcel = std::get_if<ndk::ScopedAParcel>(&argument.value);
    if (parcel == nullptr) std::abort();
    return *parcel;
}

}  // namespace

Argument::Argument(const char* name, bool value)
    : value(value), name(name), size(kFixedSize), type(ArgumentType::kBool) {}

Argument::Argument(const char* name, int32_t value, ArgumentType type)
    : value(value), name(name), size(kFixedSize), type(type) {}

Argument::Argument(const char* name, float value)
    : value(value), name(name), size(kFixedSize), type(ArgumentType::kFloat) {}

Argument::Argument(const char* name, void* value)
    : value(value), name(name), size(kFixedSize), type(ArgumentType::kPointer) {}

Argument::Argument(const char* name, std::string value)
    : value(std::move(value)),
      name(name),
      size(kFixedSize + std::get<std::string>(this->value).size()),
      type(ArgumentType::kString) {}

Argument::Argument(const char* name, const char* value)
    : Argument(name, std::string(value != nullptr ? value : "")) {}

Argument::Argument(const char* name, ndk::ScopedAParcel parcel, ArgumentType type)
    : value(std::move(parcel)), name(name), type(type) {
    const int32_t data_size = AParcel_getDataSize(std::get<ndk::ScopedAParcel>(value).get());
    size = kFixedSize + static_cast<uint64_t>(static_cast<int64_t>(data_size));
}

std::string Argument::ToString() const {
    // name is NUL-terminated by contract, so its data pointer is a C string.
    const char* label = name.data();
    switch (value.index()) {
        case 0:
            return StringPrintf("%s: %s", label, std::get<bool>(value) ? "true" : "false");
        case 1: {
            const int32_t number = std::get<int32_t>(value);
            if (type == ArgumentType::kAudioMode) {
                return StringPrintf(
                        "%s: %s", label,
                        toString(static_cast<aidl::android::media::audio::common::AudioMode>(number))
                                .c_str());
            }
            return StringPrintf("%s: %d", label, number);
        }
        case 2:
            return StringPrintf("%s: %f", label, static_cast<double>(std::get<float>(value)));
        case 3:
            // The "0x" stays even where %p prints its own.
            return StringPrintf("%s: 0x%p", label, std::get<void*>(value));
        case 4:
            return StringPrintf("%s: %s", label, std::get<std::string>(value).c_str());
        default:
            // The parcel; a valueless variant ends the process.
            return StringPrintf("%s: %s", label, ToStringAidl(ParcelOf(*this)).c_str());
    }
}

namespace {

// Equality of the plain alternatives; a parcel is equal only to itself.
bool EqualValues(const Argument& a, const Argument& b) {
    if (a.value.index() != b.value.index()) return false;
    switch (a.value.index()) {
        case 0:
            return std::get<bool>(a.value) == std::get<bool>(b.value);
        case 1:
            return std::get<int32_t>(a.value) == std::get<int32_t>(b.value);
        case 2:
            return std::get<float>(a.value) == std::get<float>(b.value);
        case 3:
            return std::get<void*>(a.value) == std::get<void*>(b.value);
        case 4:
            return std::get<std::string>(a.value) == std::get<std::string>(b.value);
        case 5:
            return std::get<ndk::ScopedAParcel>(a.value).get() ==
                   std::get<ndk::ScopedAParcel>(b.value).get();
        default:
            return true;  // both valueless
    }
}

// Replies are equal when everything but the positions and the latency is, so that the replies of
// a running stream fold.
bool EqualReplies(const AParcel* a, const AParcel* b) {
    StreamDescriptor::Reply reply_a;
    StreamDescriptor::Reply reply_b;
    if (reply_a.readFromParcel(a) != STATUS_OK) return false;
    if (reply_b.readFromParcel(b) != STATUS_OK) return false;
    return reply_a.status == reply_b.status && reply_a.fmqByteCount == reply_b.fmqByteCount &&
           reply_a.xrunFrames == reply_b.xrunFrames && reply_a.state == reply_b.state;
}

// Byte-for-byte equality of the marshalled parcels. A parcel that cannot be marshalled (one holding
// binders or descriptors) leaves its zero-filled buffer as it is.
bool EqualBytes(const AParcel* a, const AParcel* b) {
    const int32_t size = AParcel_getDataSize(a);
    if (size != AParcel_getDataSize(b)) return false;
    if (size <= 0) return true;
    const auto n = static_cast<size_t>(size);
    // Commands and other small parcels are compared on the stack: this runs on every logged call.
    constexpr size_t kStackBytes = 256;
    uint8_t stack_a[kStackBytes];
    uint8_t stack_b[kStackBytes];
    std::vector<uint8_t> heap_a;
    std::vector<uint8_t> heap_b;
    uint8_t* bytes_a = stack_a;
    uint8_t* bytes_b = stack_b;
    if (n > kStackBytes) {
        heap_a.resize(n);
        heap_b.resize(n);
        bytes_a = heap_a.data();
        bytes_b = heap_b.data();
    }
    std::memset(bytes_a, 0, n);
    std::memset(bytes_b, 0, n);
    (void)AParcel_marshal(a, bytes_a, 0, n);
    (void)AParcel_marshal(b, bytes_b, 0, n);
    return std::memcmp(bytes_a, bytes_b, n) == 0;
}

}  // namespace

bool CompareArgument(const Argument& a, const Argument& b) {
    if (a.type != b.type) return false;
    if (static_cast<int32_t>(a.type) <= static_cast<int32_t>(ArgumentType::kAudioMode)) {
        return EqualValues(a, b);
    }
    const AParcel* parcel_a = ParcelOf(a).get();
    const AParcel* parcel_b = ParcelOf(b).get();
    AParcel_setDataPosition(parcel_a, 0);
    AParcel_setDataPosition(parcel_b, 0);
    if (a.type == ArgumentType::kStreamDescriptorReply) return EqualReplies(parcel_a, parcel_b);
    return EqualBytes(parcel_a, parcel_b);
}

}  // namespace vendor::zentro::tevrash::audio::hal::utils::interactionlogger
