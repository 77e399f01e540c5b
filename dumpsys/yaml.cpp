#include <dumpsys/yaml.h>

#include <algorithm>
#include <sstream>

namespace vendor::zentro::tevrash::audio::hal::utils::dumpsys {

namespace {

// Splits text the way a line reader does: '\n' separates lines, a final line without '\n' still
// counts, and a trailing '\n' does not start a further, empty line.
std::vector<std::string_view> SplitLines(std::string_view text) {
    std::vector<std::string_view> lines;
    while (!text.empty()) {
        const size_t end = text.find('\n');
        lines.push_back(text.substr(0, end));
        if (end == std::string_view::npos) break;
        text.remove_prefix(end + 1);
    }
    return lines;
}

}  // namespace

namespace internal {

std::string ToYamlText(bool value) {
    return value ? "true" : "false";
}

std::string ToYamlText(long long value) {
    return std::to_string(value);
}

std::string ToYamlText(unsigned long long value) {
    return std::to_string(value);
}

std::string ToYamlText(long double value) {
    std::ostringstream stream;
    stream << value;
    return stream.str();
}

}  // namespace internal

bool YamlMapping::PutText(const std::string& key, std::string_view value) {
    if (value.ends_with('\n')) value.remove_suffix(1);
    if (value.empty()) return false;
    entries_.emplace_back(key, value);
    return true;
}

std::string YamlMapping::ToString(bool multi_line) const {
    // A value that begins with a newline is a nested block, which cannot stand inside braces.
    multi_line = multi_line || std::any_of(entries_.begin(), entries_.end(), [](const auto& entry) {
                     return entry.second.starts_with('\n');
                 });
    std::string out;
    if (!multi_line) out += '{';
    bool first_entry = true;
    for (const auto& [key, value] : entries_) {
        if (!first_entry) out += multi_line ? "\n" : ", ";
        first_entry = false;
        const std::vector<std::string_view> lines = SplitLines(value);
        if (!key.empty()) {
            out += key;
            out += ':';
        }
        if (!lines.empty() && !lines.front().empty()) {
            out += ' ';
            out += lines.front();
        }
        // Items of a nested block sequence stay at the key's column, as block YAML allows.
        const std::string_view indent = value.starts_with("\n-") ? "" : "  ";
        for (size_t i = 1; i < lines.size(); ++i) {
            out += '\n';
            out += indent;
            out += lines[i];
        }
    }
    if (!multi_line) out += '}';
    return out;
}

std::string YamlSequence::ToString(bool multi_line) const {
    if (items_.empty()) return "[]";
    std::string out;
    if (multi_line) {
        for (size_t i = 0; i < items_.size(); ++i) {
            if (i > 0) out += '\n';
            const std::vector<std::string_view> lines = SplitLines(items_[i]);
            out += "- ";
            if (!lines.empty()) out += lines.front();
            for (size_t j = 1; j < lines.size(); ++j) {
                out += "\n  ";
                out += lines[j];
            }
        }
        return out;
    }
    out += '[';
    for (size_t i = 0; i < items_.size(); ++i) {
        if (i > 0) out += ", ";
        out += items_[i];
    }
    out += ']';
    return out;
}

}  // namespace vendor::zentro::tevrash::audio::hal::utils::dumpsys
