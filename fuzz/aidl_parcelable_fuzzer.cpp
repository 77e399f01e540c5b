// Every parcelable and union of the host AIDL types reads arbitrary bytes: it fails cleanly or
// reads a value that stays inside the data, renders, and survives a round trip: written and read
// again it gives the same text, and written a second time the same bytes.
//
// Input: one byte that selects the type (modulo the number of types), then the parcel's data.

#include <aidl_parcelables.h>

#include <string>

#include "fuzz_support.h"

namespace {

using autl::fuzz::BytesOf;
using autl::fuzz::ParcelFromBytes;

template <typename T>
void ReadArbitrary(const std::vector<uint8_t>& bytes) {
    ndk::ScopedAParcel parcel = ParcelFromBytes(bytes);
    T value;
    if (value.readFromParcel(parcel.get()) != STATUS_OK) return;
    AUTL_FUZZ_CHECK(AParcel_getDataPosition(parcel.get()) <= AParcel_getDataSize(parcel.get()));
    const std::string text = value.toString();

    // A value read from bytes may still refuse to be written (a null where none is allowed).
    ndk::ScopedAParcel first(AParcel_create());
    if (value.writeToParcel(first.get()) != STATUS_OK) return;
    AUTL_FUZZ_CHECK(AParcel_setDataPosition(first.get(), 0) == STATUS_OK);
    T again;
    AUTL_FUZZ_CHECK(again.readFromParcel(first.get()) == STATUS_OK);
    AUTL_FUZZ_CHECK(AParcel_getDataPosition(first.get()) == AParcel_getDataSize(first.get()));
    AUTL_FUZZ_CHECK(again.toString() == text);

    ndk::ScopedAParcel second(AParcel_create());
    AUTL_FUZZ_CHECK(again.writeToParcel(second.get()) == STATUS_OK);
    AUTL_FUZZ_CHECK(BytesOf(second.get()) == BytesOf(first.get()));
}

using Reader = void (*)(const std::vector<uint8_t>&);

#define AUTL_READER(type) ReadArbitrary<type>,
constexpr Reader kReaders[] = {AUTL_FOR_EACH_PARCELABLE(AUTL_READER)};
#undef AUTL_READER

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    if (size == 0) return 0;
    const std::vector<uint8_t> bytes(data + 1, data + size);
    kReaders[data[0] % std::size(kReaders)](bytes);
    return 0;
}
