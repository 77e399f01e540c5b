// Every parcelable and union of the host AIDL types reads arbitrary bytes: it fails cleanly or
// reads a value that stays inside the data and survives a round trip: written and read again it
// gives the same text, and written a second time the same bytes.
//
// Input: one byte that selects the type (modulo the number of types), then the parcel's data.

#include <aidl_parcelables.h>

#include "fuzz_support.h"

namespace {

using autl::fuzz::BytesOf;

template <typename T>
void ReadArbitrary(std::string_view bytes) {
    const ndk::ScopedAParcel parcel = autl::fuzz::ParcelFromBytes(bytes);
    T value, again;
    if (value.readFromParcel(parcel.get()) != STATUS_OK) return;
    AUTL_FUZZ_CHECK(AParcel_getDataPosition(parcel.get()) <= AParcel_getDataSize(parcel.get()));
    // A value read from bytes may still refuse to be written (a null where none is allowed).
    const ndk::ScopedAParcel first(AParcel_create()), second(AParcel_create());
    if (value.writeToParcel(first.get()) != STATUS_OK) return;
    AUTL_FUZZ_CHECK(AParcel_setDataPosition(first.get(), 0) == STATUS_OK);
    AUTL_FUZZ_CHECK(again.readFromParcel(first.get()) == STATUS_OK);
    AUTL_FUZZ_CHECK(AParcel_getDataPosition(first.get()) == AParcel_getDataSize(first.get()));
    AUTL_FUZZ_CHECK(again.toString() == value.toString());
    AUTL_FUZZ_CHECK(again.writeToParcel(second.get()) == STATUS_OK);
    AUTL_FUZZ_CHECK(BytesOf(second.get()) == BytesOf(first.get()));
}

#define AUTL_READER(type) ReadArbitrary<type>,
constexpr void (*kReaders[])(std::string_view) = {AUTL_FOR_EACH_PARCELABLE(AUTL_READER)};
#undef AUTL_READER

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    if (size > 0) kReaders[data[0] % std::size(kReaders)](autl::fuzz::AsText({data + 1, size - 1}));
    return 0;
}
