#pragma once

// YAML-like documents for dump text that has structure. Values and items are stored as
// already-rendered text, so nesting is done by rendering the inner node first; there is no parser,
// quoting or escaping.
//
//   YamlMapping config;
//   config.Put("channels", 2);
//   config.Put("format", "PCM");
//   YamlMapping stream;
//   stream.Put("name", "out0");
//   stream.Put("config", config);           // stored as "\n" + config.ToString(true)
//   Dumpsys(info, "AUtl::Stream") << stream.ToString(false);
//   // name: out0
//   // config:
//   //   channels: 2
//   //   format: PCM

#include <concepts>
#include <string>
#include <string_view>
#include <type_traits>
#include <utility>
#include <vector>

namespace vendor::zentro::tevrash::audio::hal::utils::dumpsys {

class YamlMapping;
class YamlSequence;

namespace internal {

template <typename T>
concept YamlNode = std::same_as<T, YamlMapping> || std::same_as<T, YamlSequence>;

// Text of a non-text value: bool as "true"/"false", other arithmetic values in decimal.
std::string ToYamlText(bool value);
std::string ToYamlText(long long value);
std::string ToYamlText(unsigned long long value);
std::string ToYamlText(long double value);

template <typename T>
std::string ToYamlScalar(const T& value) {
    if constexpr (std::same_as<T, bool>) {
        return ToYamlText(value);
    } else if constexpr (std::same_as<T, char>) {
        return std::string(1, value);
    } else if constexpr (std::is_floating_point_v<T>) {
        return ToYamlText(static_cast<long double>(value));
    } else if constexpr (std::is_signed_v<T>) {
        return ToYamlText(static_cast<long long>(value));
    } else {
        return ToYamlText(static_cast<unsigned long long>(value));
    }
}

}  // namespace internal

// Key/value pairs in insertion order; the same key may occur more than once.
class YamlMapping {
  public:
    // Appends an entry. A text value loses one trailing '\n'; an empty value adds nothing. Other
    // values are first turned into text: bool as "true"/"false", arithmetic values in decimal, a
    // YamlMapping or YamlSequence as "\n" + ToString(true). Returns whether an entry was appended.
    template <typename T>
    bool Put(const std::string& key, const T& value) {
        if constexpr (internal::YamlNode<T>) {
            return PutText(key, "\n" + value.ToString(true));
        } else if constexpr (std::is_arithmetic_v<T>) {
            return PutText(key, internal::ToYamlScalar(value));
        } else {
            return PutText(key, std::string_view(value));
        }
    }

    // Block style ("key: value" lines) when multi_line is on or any value begins with '\n';
    // otherwise flow style ("{key: value, ...}").
    std::string ToString(bool multi_line) const;

  private:
    bool PutText(const std::string& key, std::string_view value);

    std::vector<std::pair<std::string, std::string>> entries_;
};

// Items in insertion order.
class YamlSequence {
  public:
    // Appends an item: text as it stands; bool and numbers as for YamlMapping::Put; a nested
    // YamlMapping or YamlSequence as its ToString(true).
    template <typename T>
    void Append(const T& item) {
        if constexpr (internal::YamlNode<T>) {
            items_.push_back(item.ToString(true));
        } else if constexpr (std::is_arithmetic_v<T>) {
            items_.push_back(internal::ToYamlScalar(item));
        } else {
            items_.emplace_back(std::string_view(item));
        }
    }

    // Block style ("- item" lines) or flow style ("[a, b]"); an empty sequence is "[]" either way.
    std::string ToString(bool multi_line) const;

  private:
    std::vector<std::string> items_;
};

}  // namespace vendor::zentro::tevrash::audio::hal::utils::dumpsys
