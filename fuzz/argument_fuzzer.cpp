// Argument::ToString and CompareArgument for every ArgumentType value from 0 to 30. Types above
// kAudioMode hold parcels of arbitrary bytes (any other value ends the process by design); the
// others hold any alternative. Checks that rendering is repeatable and depends on the value only,
// and that comparison is symmetric, reflexive where it must be, and byte equality for parcelables
// other than stream replies.
//
// Input: the type (modulo 31); a flags byte: bits 0-2 a's alternative, bits 4-6 b's (modulo 6, in
// the order of Argument::value; parcelable types always take the parcel), bit 3 whether b is a's
// twin (an equal value in another object); then a's value and, unless twin, b's. A value is one
// byte for bool, 4 little-endian bytes for int and float, 8 for a pointer, and a 2-byte
// little-endian length and that many bytes for a text or a parcel's data.

#include <interactionlogger/logger.h>

#include <cmath>
#include <cstring>
#include <string>

#include "fuzz_support.h"

namespace {

using aidl::android::hardware::audio::core::StreamDescriptor;
using autl::fuzz::ByteReader;
using autl::fuzz::BytesOf;
using autl::fuzz::ParcelFromBytes;
using vendor::zentro::tevrash::audio::hal::utils::interactionlogger::Argument;
using vendor::zentro::tevrash::audio::hal::utils::interactionlogger::ArgumentType;
using vendor::zentro::tevrash::audio::hal::utils::interactionlogger::CompareArgument;

constexpr int kTypes = 31;

bool HoldsParcel(const Argument& argument) {
    return std::holds_alternative<ndk::ScopedAParcel>(argument.value);
}

// An argument of the given type holding the given alternative; parcelable types always hold a
// parcel.
Argument Make(const char* name, ArgumentType type, int alternative, ByteReader& input) {
    if (static_cast<int32_t>(type) > static_cast<int32_t>(ArgumentType::kAudioMode)) {
        alternative = 5;
    }
    Argument argument(name, false);
    switch (alternative) {
        case 0:
            argument = Argument(name, input.Read<uint8_t>() != 0);
            break;
        case 1:
            argument = Argument(name, input.Read<int32_t>(), type);
            break;
        case 2:
            // Any bit pattern, NaNs and infinities included.
            argument = Argument(name, input.Read<float>());
            break;
        case 3:
            argument = Argument(name, reinterpret_cast<void*>(input.Read<uintptr_t>()));
            break;
        case 4:
            argument = Argument(name, input.LongText());
            break;
        default: {
            const std::string bytes = input.LongText();
            argument = Argument(name, ParcelFromBytes({bytes.begin(), bytes.end()}), type);
            break;
        }
    }
    argument.type = type;
    return argument;
}

// An equal value in another object: the same alternative and value, a new parcel with the same
// bytes.
Argument Twin(const char* name, const Argument& argument) {
    Argument twin(name, false);
    if (HoldsParcel(argument)) {
        const auto& parcel = std::get<ndk::ScopedAParcel>(argument.value);
        twin = Argument(name, ParcelFromBytes(BytesOf(parcel.get())), argument.type);
    } else {
        std::visit(
                [&](const auto& value) {
                    using T = std::decay_t<decltype(value)>;
                    if constexpr (!std::is_same_v<T, ndk::ScopedAParcel>) twin.value = value;
                },
                argument.value);
    }
    twin.type = argument.type;
    return twin;
}

bool IsNan(const Argument& argument) {
    const float* value = std::get_if<float>(&argument.value);
    return value != nullptr && std::isnan(*value);
}

bool ReadsAsReply(const Argument& argument) {
    const auto& parcel = std::get<ndk::ScopedAParcel>(argument.value);
    const ndk::ScopedAParcel copy = ParcelFromBytes(BytesOf(parcel.get()));
    StreamDescriptor::Reply reply;
    return reply.readFromParcel(copy.get()) == STATUS_OK;
}

// "name: value", the same at every call.
std::string ValueText(const Argument& argument, std::string_view name) {
    const std::string text = argument.ToString();
    AUTL_FUZZ_CHECK(text == argument.ToString());
    AUTL_FUZZ_CHECK(text.starts_with(std::string(name) + ": "));
    return text.substr(name.size() + 2);
}

void CheckRendering(const Argument& argument, const std::string& value_text) {
    const int32_t type = static_cast<int32_t>(argument.type);
    if (HoldsParcel(argument)) {
        const bool known = type >= static_cast<int32_t>(ArgumentType::kAudioPort) &&
                           type <= static_cast<int32_t>(ArgumentType::kSourceMetadata);
        AUTL_FUZZ_CHECK(known != (value_text == "[unknown " + std::to_string(type) + "]"));
    } else if (const auto* text = std::get_if<std::string>(&argument.value)) {
        AUTL_FUZZ_CHECK(value_text == std::string(text->c_str()));
    } else if (const auto* number = std::get_if<int32_t>(&argument.value);
               number != nullptr && argument.type != ArgumentType::kAudioMode) {
        AUTL_FUZZ_CHECK(value_text == std::to_string(*number));
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    ByteReader input(data, size);
    const auto type = static_cast<ArgumentType>(input.Read<uint8_t>() % kTypes);
    const uint8_t flags = input.Read<uint8_t>();
    const Argument a = Make("a", type, (flags & 7) % 6, input);
    const bool twins = (flags & 8) != 0;
    const Argument b = twins ? Twin("b", a) : Make("b", type, ((flags >> 4) & 7) % 6, input);

    const std::string a_text = ValueText(a, "a");
    const std::string b_text = ValueText(b, "b");
    CheckRendering(a, a_text);
    CheckRendering(b, b_text);

    const bool a_b = CompareArgument(a, b);
    AUTL_FUZZ_CHECK(a_b == CompareArgument(b, a));
    // Comparing leaves the parcels where rendering still finds their values.
    AUTL_FUZZ_CHECK(a_text == ValueText(a, "a"));

    const bool parcelable =
            static_cast<int32_t>(type) > static_cast<int32_t>(ArgumentType::kAudioMode);
    const bool reply = type == ArgumentType::kStreamDescriptorReply;
    // An argument is the same as itself, except a NaN. (A reply compared with itself reads its one
    // parcel twice, once per side, so its twin stands in for it below.)
    if (!reply) AUTL_FUZZ_CHECK(CompareArgument(a, a) == !IsNan(a));
    if (twins) {
        // Same value, same text; and the same for folding, except for a NaN, a reply that cannot
        // be read, and parcels of plain types, which are equal only to themselves.
        AUTL_FUZZ_CHECK(a_text == b_text);
        const bool expected = parcelable ? !reply || ReadsAsReply(a) : !HoldsParcel(a) && !IsNan(a);
        AUTL_FUZZ_CHECK(a_b == expected);
    } else if (parcelable && !reply) {
        const auto& parcel_a = std::get<ndk::ScopedAParcel>(a.value);
        const auto& parcel_b = std::get<ndk::ScopedAParcel>(b.value);
        AUTL_FUZZ_CHECK(a_b == (BytesOf(parcel_a.get()) == BytesOf(parcel_b.get())));
    } else if (reply && a_b) {
        AUTL_FUZZ_CHECK(ReadsAsReply(a) && ReadsAsReply(b));
    }
    return 0;
}
