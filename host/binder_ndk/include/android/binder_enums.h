#pragma once

// Iteration over the declared enumerators of a generated AIDL enum, in declaration order:
//
//   for (PcmType type : ndk::enum_range<PcmType>()) { ... }

#include <array>
#include <iterator>

namespace ndk {

namespace internal {

// Specialised by every generated enum with the array of its enumerators.
template <typename EnumType>
extern std::array<EnumType, 0> enum_values;

}  // namespace internal

template <typename EnumType>
struct enum_range {
    constexpr auto begin() const { return std::begin(internal::enum_values<EnumType>); }
    constexpr auto end() const { return std::end(internal::enum_values<EnumType>); }
};

}  // namespace ndk
