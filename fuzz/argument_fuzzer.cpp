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

bool IsParcelable(ArgumentType type) {
    return static_cast<int32_t>(type) > static_cast<int32_t>(ArgumentType::kAudioMode);
}

// An argument of the given type holding the given alternative; parcelable types always hold a
// parcel.
Argument Make(const char* name, ArgumentType type, int alternative, ByteReader& input) {
    Argument argument = [&] {
        switch (IsParcelable(type) ? 5 : alternative) {
            case 0:
                return Argument(name, input.Read<uint8_t>() != 0);
            case 1:
                return Argument(name, input.Read<int32_t>(), type);
            case 2:
                // Any bit pattern, NaNs and infinities included.
                return Argument(name, input.Read<float>());
            case 3:
                return Argument(name, reinterpret_cast<void*>(input.Read<uintptr_t>()));
            case 4:
                return Argument(name, input.LongText());
        }
        const std::string bytes = input.LongText();
        return Argument(name, ParcelFromBytes({bytes.begin(), bytes.end()}), type);
    }();
    argument.type = type;
    return argument;
}

// An equal value in another object: the same alternative and value, a new parcel with the same
// bytes.
Argument Twin(const char* name, const Argument& argument) {
    Argument twin(name, false);
    std::visit(
            [&](const auto& value) {
                if constexpr (std::is_same_v<std::decay_t<decltype(value)>, ndk::ScopedAParcel>) {
                    twin = Argument(name, ParcelFromBytes(BytesOf(value.get())), argument.type);
                } else {
                    twin.value = value;
                }
            },
            argument.value);
    twin.type = argument.type;
    return twin;
}

bool IsNan(const Argument& argument) {
    const float* value = std::get_if<float>(&argument.value);
    return value != nullptr && std::isnan(*value);
}

std::vector<uint8_t> ParcelBytes(const Argument& argument) {
    return BytesOf(std::get<ndk::ScopedAParcel>(argument.value).get());
}

bool ReadsAsReply(const Argument& argument) {
    StreamDescriptor::Reply reply;
    return reply.readFromParcel(ParcelFromBytes(ParcelBytes(argument)).get()) == STATUS_OK;
}

// The value's text from "name: value", which is the same at every call and, for a number, a
// text or a parcel of a type that names no parcelable, what the value says.
std::string ValueText(const Argument& argument, std::string_view name) {
    const std::string text = argument.ToString();
    AUTL_FUZZ_CHECK(text == argument.ToString());
    AUTL_FUZZ_CHECK(text.starts_with(std::string(name) + ": "));
    const std::string value_text = text.substr(name.size() + 2);
    const int32_t type = static_cast<int32_t>(argument.type);
    if (HoldsParcel(argument)) {
        const bool known = type >= static_cast<int32_t>(ArgumentType::kAudioPort) &&
                           type <= static_cast<int32_t>(ArgumentType::kSourceMetadata);
        AUTL_FUZZ_CHECK(known != (value_text == "[unknown " + std::to_string(type) + "]"));
    } else if (const auto* string = std::get_if<std::string>(&argument.value)) {
        AUTL_FUZZ_CHECK(value_text == std::string(string->c_str()));
    } else if (const auto* number = std::get_if<int32_t>(&argument.value);
               number != nullptr && argument.type != ArgumentType::kAudioMode) {
        AUTL_FUZZ_CHECK(value_text == std::to_string(*number));
    }
    return value_text;
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

    const bool a_b = CompareArgument(a, b);
    AUTL_FUZZ_CHECK(a_b == CompareArgument(b, a));
    // Comparing leaves the parcels where rendering still finds their values.
    AUTL_FUZZ_CHECK(a_text == ValueText(a, "a"));

    const bool reply = type == ArgumentType::kStreamDescriptorReply;
    // An argument is the same as itself, except a NaN. (A reply compared with itself reads its one
    // parcel twice, once per side, so its twin stands in for it below.)
    if (!reply) AUTL_FUZZ_CHECK(CompareArgument(a, a) == !IsNan(a));
    if (twins) {
        // Same value, same text; and the same for folding, except for a NaN, a reply that cannot
        // be read, and parcels of plain types, which are equal only to themselves.
        AUTL_FUZZ_CHECK(a_text == b_text);
        const bool expected =
                IsParcelable(type) ? !reply || ReadsAsReply(a) : !HoldsParcel(a) && !IsNan(a);
        AUTL_FUZZ_CHECK(a_b == expected);
    } else if (IsParcelable(type) && !reply) {
        AUTL_FUZZ_CHECK(a_b == (ParcelBytes(a) == ParcelBytes(b)));
    } else if (reply && a_b) {
        AUTL_FUZZ_CHECK(ReadsAsReply(a) && ReadsAsReply(b));
    }
    return 0;
}
