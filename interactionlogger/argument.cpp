#define LOG_TAG "AUtl::Argument"

#include <interactionlogger/logger.h>

#include <android-base/logging.h>
#include <android-base/stringprintf.h>

#include <aidl/android/media/audio/common/AudioMode.h>

#include <algorithm>
#include <charconv>
#include <cstdlib>
#include <cstring>

namespace vendor::zentro::tevrash::audio::hal::utils::interactionlogger {

using aidl::android::hardware::audio::core::StreamDescriptor;
using android::base::StringAppendF;

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
    : value(value), name(name), size(kFixedSize), type(type) {
    if (static_cast<int32_t>(type) <= static_cast<int32_t>(ArgumentType::kAudioMode)) return;
    // Folding would later end the process on an int where a parcel must be.
    LOG(ERROR) << "Argument: " << (name != nullptr ? name : "") << ": type "
               << static_cast<int32_t>(type)
               << " names a parcelable, not an int; logged as a plain int";
    this->type = ArgumentType::kInt;
}

Argument::Argument(const char* name, float value)
    : value(value), name(name), size(kFixedSize), type(ArgumentType::kFloat) {}

Argument::Argument(const char* name, const void* value)
    : value(const_cast<void*>(value)), name(name), size(kFixedSize), type(ArgumentType::kPointer) {}

Argument::Argument(const char* name, std::nullptr_t)
    : Argument(name, static_cast<const void*>(nullptr)) {}

Argument::Argument(const char* name, std::string value)
    : value(std::move(value)),
      name(name),
      size(kFixedSize + std::get<std::string>(this->value).size()),
      type(ArgumentType::kString) {}

Argument::Argument(const char* name, std::string_view value) : Argument(name, std::string(value)) {}

Argument::Argument(const char* name, const char* value)
    : Argument(name, std::string(value != nullptr ? value : "")) {}

Argument::Argument(const char* name, ndk::ScopedAParcel parcel, ArgumentType type)
    : value(std::move(parcel)), name(name), type(type) {
    const int32_t data_size = AParcel_getDataSize(std::get<ndk::ScopedAParcel>(value).get());
    size = kFixedSize + static_cast<uint64_t>(static_cast<int64_t>(data_size));
}

std::string Argument::ToString() const {
    std::string text;
    AppendText(&text);
    return text;
}

void Argument::AppendText(std::string* text) const {
    // name is NUL-terminated by contract; like "%s", print it up to its NUL.
    const char* label = name.data();
    switch (value.index()) {
        case 0:
            *text += label;
            *text += std::get<bool>(value) ? ": true" : ": false";
            return;
        case 1: {
            const int32_t number = std::get<int32_t>(value);
            *text += label;
            *text += ": ";
            if (type == ArgumentType::kAudioMode) {
                *text += toString(
                        static_cast<aidl::android::media::audio::common::AudioMode>(number));
                return;
            }
            char digits[16];
            const auto end = std::to_chars(digits, digits + sizeof(digits), number).ptr;
            text->append(digits, static_cast<size_t>(end - digits));
            return;
        }
        case 2:
            StringAppendF(text, "%s: %f", label, static_cast<double>(std::get<float>(value)));
            return;
        case 3:
            // The "0x" stays even where %p prints its own.
            StringAppendF(text, "%s: 0x%p", label, std::get<void*>(value));
            return;
        case 4:
            *text += label;
            *text += ": ";
            // Up to the first NUL, as "%s" prints it.
            *text += std::get<std::string>(value).c_str();
            return;
        default:
            // The parcel; a valueless variant ends the process.
            *text += label;
            *text += ": ";
            *text += ToStringAidl(ParcelOf(*this));
            return;
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

// The four fields of a stream reply that folding compares.
struct ReplyKey {
    int32_t status = 0;
    int32_t fmq_byte_count = 0;
    int32_t xrun_frames = 0;
    int32_t state = 0;

    bool operator==(const ReplyKey&) const = default;
};

// Parcels of this size or less are copied to the stack to be compared; larger ones are rare.
constexpr size_t kStackBytes = 256;

int32_t Int32At(const uint8_t* bytes, size_t offset) {
    int32_t value;
    std::memcpy(&value, bytes + offset, sizeof(value));
    return value;
}

// Reads the key out of the marshalled bytes of a reply as the AIDL wire format lays it out, when
// the reply is complete and well-formed: its size header covers every field of
// StreamDescriptor::Reply and lies within the data, and both positions are present and complete.
// Then readFromParcel would succeed and find the same four values, so nothing else is decoded.
// Anything else (a truncated, older or damaged reply, one that cannot be marshalled) is left to
// readFromParcel.
bool ReadReplyKeyFast(const AParcel* parcel, ReplyKey* key) {
    const int32_t data_size = AParcel_getDataSize(parcel);
    if (data_size <= 0 || static_cast<size_t>(data_size) > kStackBytes) return false;
    const auto size = static_cast<size_t>(data_size);
    uint8_t bytes[kStackBytes];
    if (AParcel_marshal(parcel, bytes, 0, size) != STATUS_OK) return false;
    // A nested position: the non-null marker, then a parcelable of at least its two int64 fields.
    constexpr int64_t kPositionFields = 4 + 8 + 8;
    auto skip_position = [&](size_t* offset) {
        if (*offset + 8 > size || Int32At(bytes, *offset) == 0) return false;
        const int64_t position_size = Int32At(bytes, *offset + 4);
        if (position_size < kPositionFields ||
            position_size > static_cast<int64_t>(size - *offset - 4)) {
            return false;
        }
        *offset += 4 + static_cast<size_t>(position_size);
        return true;
    };
    // The size header, status and fmqByteCount.
    if (size < 12) return false;
    const int64_t reply_size = Int32At(bytes, 0);
    size_t offset = 12;
    if (!skip_position(&offset) || !skip_position(&offset)) return false;
    // latencyMs, xrunFrames, state and flushFromPosition must all lie inside the reply.
    if (reply_size > data_size ||
        offset + 16 > static_cast<size_t>(std::max<int64_t>(reply_size, 0))) {
        return false;
    }
    key->status = Int32At(bytes, 4);
    key->fmq_byte_count = Int32At(bytes, 8);
    key->xrun_frames = Int32At(bytes, offset + 4);
    key->state = Int32At(bytes, offset + 8);
    // Where a read of the whole reply would leave the parcel.
    AParcel_setDataPosition(parcel, static_cast<int32_t>(reply_size));
    return true;
}

bool ReadReplyKey(const AParcel* parcel, ReplyKey* key) {
    StreamDescriptor::Reply reply;
    if (reply.readFromParcel(parcel) != STATUS_OK) return false;
    *key = {reply.status, reply.fmqByteCount, reply.xrunFrames, static_cast<int32_t>(reply.state)};
    return true;
}

// Replies are equal when everything but the positions and the latency is, so that the replies of
// a running stream fold. A reply that cannot be read is equal to nothing.
bool EqualReplies(const AParcel* a, const AParcel* b) {
    ReplyKey key_a;
    ReplyKey key_b;
    if (!ReadReplyKeyFast(a, &key_a) || !ReadReplyKeyFast(b, &key_b)) {
        AParcel_setDataPosition(a, 0);
        AParcel_setDataPosition(b, 0);
        if (!ReadReplyKey(a, &key_a) || !ReadReplyKey(b, &key_b)) return false;
    }
    return key_a == key_b;
}

// Byte-for-byte equality of the marshalled parcels. A parcel that cannot be marshalled (one holding
// binders or descriptors) counts as zero bytes of its size.
bool EqualBytes(const AParcel* a, const AParcel* b) {
    const int32_t size = AParcel_getDataSize(a);
    if (size != AParcel_getDataSize(b)) return false;
    if (size <= 0) return true;
    const auto n = static_cast<size_t>(size);
    // Commands and other small parcels are compared on the stack: this runs on every logged call.
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
    if (AParcel_marshal(a, bytes_a, 0, n) != STATUS_OK) std::memset(bytes_a, 0, n);
    if (AParcel_marshal(b, bytes_b, 0, n) != STATUS_OK) std::memset(bytes_b, 0, n);
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
