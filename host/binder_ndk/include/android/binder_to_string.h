#pragma once

// The text of values in generated toString(): bool as true/false, numbers in decimal (float and
// double through std::to_string), strings as they are, enums by their toString(), parcelables and
// unions by their toString(), vectors as "[a, b]", empty optionals and null pointers as "(null)".
// Binders and interfaces show as "binder:" and their interface descriptor, file descriptors as
// "ParcelFileDescriptor": texts that do not change from one run or one copy to the next.

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <type_traits>
#include <vector>

#include <android/binder_auto_utils.h>
#include <android/binder_interface_utils.h>

namespace android::internal {

namespace details {

template <typename T>
concept HasToStringMethod = requires(const T& value) {
    { value.toString() } -> std::convertible_to<std::string>;
};
// A free toString() found by argument-dependent lookup, as generated for enums.
template <typename T>
concept HasToStringFunction = requires(const T& value) {
    { toString(value) } -> std::convertible_to<std::string>;
};

template <typename T>
struct IsVector : std::false_type {};
template <typename T>
struct IsVector<std::vector<T>> : std::true_type {};
template <typename T>
struct IsOptional : std::false_type {};
template <typename T>
struct IsOptional<std::optional<T>> : std::true_type {};
template <typename T>
struct IsSharedPtr : std::false_type {};
template <typename T>
struct IsSharedPtr<std::shared_ptr<T>> : std::true_type {};

template <typename T>
inline constexpr bool kAlwaysFalse = false;

}  // namespace details

template <typename T>
std::string ToString(const T& value) {
    if constexpr (std::is_same_v<T, bool>) {
        return value ? "true" : "false";
    } else if constexpr (std::is_same_v<T, char16_t> || std::is_same_v<T, int8_t> ||
                         std::is_same_v<T, uint8_t>) {
        return std::to_string(static_cast<int32_t>(value));
    } else if constexpr (std::is_arithmetic_v<T>) {
        return std::to_string(value);
    } else if constexpr (std::is_same_v<T, std::string>) {
        return value;
    } else if constexpr (std::is_enum_v<T>) {
        if constexpr (details::HasToStringFunction<T>) {
            return toString(value);
        } else {
            return std::to_string(static_cast<std::underlying_type_t<T>>(value));
        }
    } else if constexpr (std::is_same_v<T, ndk::ScopedFileDescriptor>) {
        return value.get() < 0 ? "(null)" : "ParcelFileDescriptor";
    } else if constexpr (std::is_same_v<T, ndk::SpAIBinder>) {
        if (value.get() == nullptr) return "(null)";
        const AIBinder_Class* clazz = AIBinder_getClass(value.get());
        return clazz == nullptr ? "binder"
                                : std::string("binder:") + AIBinder_Class_getDescriptor(clazz);
    } else if constexpr (details::IsSharedPtr<T>::value) {
        using Element = typename T::element_type;
        if (value == nullptr) return "(null)";
        if constexpr (std::is_base_of_v<ndk::ICInterface, Element>) {
            return std::string("binder:") + Element::descriptor;
        } else {
            return ToString(*value);
        }
    } else if constexpr (details::HasToStringMethod<T>) {
        return value.toString();
    } else if constexpr (details::IsOptional<T>::value) {
        return value.has_value() ? ToString(*value) : "(null)";
    } else if constexpr (details::IsVector<T>::value) {
        std::string text = "[";
        bool first = true;
        for (const auto& element : value) {
            if (!first) text += ", ";
            first = false;
            text += ToString(static_cast<const typename T::value_type&>(element));
        }
        return text + "]";
    } else {
        static_assert(details::kAlwaysFalse<T>, "no text for this type");
    }
}

}  // namespace android::internal
