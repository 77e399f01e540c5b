// Argument::ToString and CompareArgument for every ArgumentType value from 0 to 30. Types above
// kAudioMode hold parcels of arbitrary bytes (any other value ends the process by design); the
// others hold any alternative. Rendering repeats, also after a comparison (which must leave the
// parcels where rendering finds them); comparison is symmetric, reflexive except for a NaN, and
// byte equality for parcelables other than stream replies; an equal value in another object (a
// twin) renders the same and compares equal unless it is a NaN, a parcel of a plain type or a
// reply that does not read.
//
// Input: the type (modulo 31); a flags byte: bits 0-2 a's alternative, bits 4-6 b's (modulo 6, in
// the order of Argument::value; parcelable types always take the parcel), bit 3 whether b is a's
// twin (read from a's bytes again); then a's value and, unless twin, b's. A value is one byte for
// bool, 4 little-endian bytes for int and float, 8 for a pointer, and a 2-byte little-endian
// length and that many bytes for a text or a parcel's data.

#include <interactionlogger/logger.h>

#include <cmath>

#include "fuzz_support.h"

namespace {

using aidl::android::hardware::audio::core::StreamDescriptor;
using namespace autl::fuzz;
using namespace vendor::zentro::tevrash::audio::hal::utils::interactionlogger;

Argument Make(const char* name, ArgumentType type, int alternative, ByteReader& input) {
    if (type > ArgumentType::kAudioMode) alternative = 5;
    Argument argument =
            alternative == 0   ? Argument(name, input.Read<uint8_t>() != 0)
            : alternative == 1 ? Argument(name, input.Read<int32_t>())
            : alternative == 2 ? Argument(name, input.Read<float>())  // NaNs and infinities too
            : alternative == 3 ? Argument(name, reinterpret_cast<void*>(input.Read<uintptr_t>()))
            : alternative == 4 ? Argument(name, input.LongText())
                               : Argument(name, ParcelFromBytes(input.LongText()), type);
    argument.type = type;
    return argument;
}

// The text without the name, the same at every call.
std::string Text(const Argument& argument) {
    const std::string text = argument.ToString();
    AUTL_FUZZ_CHECK(argument.ToString() == text);
    return text.substr(argument.name.size());
}

const AParcel* ParcelOf(const Argument& argument) {
    const auto* parcel = std::get_if<ndk::ScopedAParcel>(&argument.value);
    return parcel != nullptr ? parcel->get() : nullptr;
}

bool ReadsAsReply(const Argument& argument) {
    StreamDescriptor::Reply reply;
    return reply.readFromParcel(ParcelFromBytes(BytesOf(ParcelOf(argument))).get()) == STATUS_OK;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    ByteReader input(data, size);
    const auto type = static_cast<ArgumentType>(input.Read<uint8_t>() % 31);
    const uint8_t flags = input.Read<uint8_t>();
    const bool twins = (flags & 8) != 0;
    ByteReader again = input;
    const Argument a = Make("a", type, (flags & 7) % 6, input);
    const Argument b =
            Make("b", type, ((twins ? flags : flags >> 4) & 7) % 6, twins ? again : input);
    const std::string a_text = Text(a), b_text = Text(b);

    const bool a_b = CompareArgument(a, b);
    AUTL_FUZZ_CHECK(a_b == CompareArgument(b, a) && Text(a) == a_text && Text(b) == b_text);
    const bool nan = std::holds_alternative<float>(a.value) && std::isnan(std::get<float>(a.value));
    const bool parcelable = type > ArgumentType::kAudioMode;
    const bool reply = type == ArgumentType::kStreamDescriptorReply;
    // A reply compared with itself reads its one parcel twice, once per side: its twin stands in.
    if (!reply) AUTL_FUZZ_CHECK(CompareArgument(a, a) == !nan);
    if (twins) {
        AUTL_FUZZ_CHECK(a_text == b_text);
        AUTL_FUZZ_CHECK(a_b == (parcelable ? !reply || ReadsAsReply(a) : !ParcelOf(a) && !nan));
    } else if (parcelable && !reply) {
        AUTL_FUZZ_CHECK(a_b == (BytesOf(ParcelOf(a)) == BytesOf(ParcelOf(b))));
    }
    return 0;
}
