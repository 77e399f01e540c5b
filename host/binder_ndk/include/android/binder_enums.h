#pragma once

// Iteration over the declared enumerators of a generated AIDL enum, in declaration order:
//
//   for (PcmType type : ndk::enum_range<PcmType>()) { ... }

#include <iterator>
#include <type_traits>

namespace ndk {

namespace internal {

// Every generated enum specialises enum_values with the array of its enumerators; using it for
// another enum does not compile.
template <typename T>
struct invalid_type;

template <typename EnumType, typename = std::enable_if_t<std::is_enum<EnumType>::value>>
constexpr invalid_type<EnumType> enum_values;

}  // namespace internal

template <typename EnumType, typename = std::enable_if_t<std::is_enum<EnumType>::value>>
struct enum_range {
    constexpr auto begin() const { return std::begin(internal::enum_values<EnumType>); }
    constexpr auto end() const { return std::end(internal::enum_values<EnumType>); }
};

}  // namespace ndk
