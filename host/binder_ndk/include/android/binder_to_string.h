#pragma once

// The text of values in generated toString(): bool as true/false, numbers in decimal (float and
// double through std::to_string, char16_t as its number), strings as they are, enums by their
// toString(), parcelables and unions by their toString(), vectors as "[a, b]", empty optionals and
// null pointers as "(null)". Binders and interfaces show as "binder:" and their interface
// descriptor, file descriptors as "ParcelFileDescriptor": unlike the platform's addresses and
// descriptor numbers, texts that do not change from one run or one copy to the next.

#include <memory>
#include <optional>
#include <sstream>
#include <string>
#include <type_traits>
#include <vector>

#include <android/binder_auto_utils.h>
#include <android/binder_interface_utils.h>

namespace android {
namespace internal {

template <typename _T>
std::string ToString(const _T& t);

namespace details {

// Truthy if _T has a toString() method.
template <typename _T>
class HasToStringMethod {
    template <typename _U>
    static auto _test(int) -> decltype(std::declval<_U>().toString(), std::true_type());
    template <typename _U>
    static std::false_type _test(...);

  public:
    enum { value = decltype(_test<_T>(0))::value };
};

template <typename T, template <typename...> typename U>
struct IsInstantiationOf : std::false_type {};

template <template <typename...> typename U, typename... Args>
struct IsInstantiationOf<U<Args...>, U> : std::true_type {};

template <typename _T>
struct TypeDependentFalse {
    enum { value = false };
};

}  // namespace details

template <typename _T>
std::string ToString(const _T& t) {
    if constexpr (std::is_same_v<bool, _T>) {
        return t ? "true" : "false";
    } else if constexpr (std::is_same_v<char16_t, _T>) {
        return std::to_string(static_cast<int32_t>(t));
    } else if constexpr (std::is_arithmetic_v<_T>) {
        return std::to_string(t);
    } else if constexpr (std::is_same_v<std::string, _T>) {
        return t;
    } else if constexpr (std::is_same_v<::ndk::SpAIBinder, _T>) {
        if (t.get() == nullptr) return "(null)";
        const AIBinder_Class* clazz = AIBinder_getClass(t.get());
        return clazz == nullptr ? "binder"
                                : std::string("binder:") + AIBinder_Class_getDescriptor(clazz);
    } else if constexpr (std::is_same_v<::ndk::ScopedFileDescriptor, _T>) {
        return t.get() < 0 ? "(null)" : "ParcelFileDescriptor";
    } else if constexpr (details::IsInstantiationOf<_T, std::shared_ptr>::value) {
        if (!t) return "(null)";
        if constexpr (std::is_base_of_v<::ndk::ICInterface, typename _T::element_type>) {
            return std::string("binder:") + _T::element_type::descriptor;
        } else {
            return ToString(*t);
        }
    } else if constexpr (details::IsInstantiationOf<_T, std::optional>::value) {
        if (!t) return "(null)";
        return ToString(*t);
    } else if constexpr (details::HasToStringMethod<_T>::value) {
        return t.toString();
    } else if constexpr (std::is_enum_v<_T>) {
        return toString(t);
    } else if constexpr (details::IsInstantiationOf<_T, std::vector>::value) {
        std::stringstream out;
        bool first = true;
        out << "[";
        for (const auto& e : t) {
            if (first) {
                first = false;
            } else {
                out << ", ";
            }
            // vector<bool> gives proxies: name the element type.
            out << ToString<typename _T::value_type>(e);
        }
        out << "]";
        return out.str();
    } else {
        static_assert(details::TypeDependentFalse<_T>::value, "no toString implemented, huh?");
    }
}

}  // namespace internal
}  // namespace android
