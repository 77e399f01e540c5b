#include "cli.h"

#include <algorithm>
#include <charconv>
#include <iostream>

namespace autl {

const Command* FindCommand(std::string_view name) {
    for (const Command& command : Commands()) {
        if (name == command.name) return &command;
    }
    return nullptr;
}

int UsageError(const Command& command, std::string_view message) {
    std::cerr << "autl " << command.name << ": " << message << "\n"
              << "Try 'autl " << command.name << " --help'.\n";
    return kExitUsage;
}

int Failure(const Command& command, std::string_view message) {
    std::cerr << "autl " << command.name << ": " << message << "\n";
    return kExitFailure;
}

std::optional<int64_t> ParseInteger(std::string_view text, int64_t min, int64_t max) {
    int64_t value = 0;
    const char* end = text.data() + text.size();
    const auto [ptr, error] = std::from_chars(text.data(), end, value);
    if (text.empty() || error != std::errc() || ptr != end || value < min || value > max) {
        return std::nullopt;
    }
    return value;
}

std::optional<std::string_view> ParsedArgs::Option(std::string_view name) const {
    for (auto it = options.rbegin(); it != options.rend(); ++it) {
        if (it->first == name) return it->second;
    }
    return std::nullopt;
}

bool ParsedArgs::Flag(std::string_view name) const {
    return std::find(flags.begin(), flags.end(), name) != flags.end();
}

ParsedArgs ParseArgs(const Args& args, std::span<const std::string_view> with_value,
                     std::span<const std::string_view> flags) {
    ParsedArgs parsed;
    bool only_positional = false;
    for (size_t i = 0; i < args.size(); ++i) {
        const std::string_view arg = args[i];
        if (only_positional || !arg.starts_with("--")) {
            parsed.positional.push_back(arg);
        } else if (arg == "--") {
            only_positional = true;
        } else if (std::find(with_value.begin(), with_value.end(), arg) != with_value.end()) {
            if (i + 1 == args.size()) {
                parsed.error = "option " + std::string(arg) + " needs a value";
                return parsed;
            }
            parsed.options.emplace_back(arg, args[++i]);
        } else if (std::find(flags.begin(), flags.end(), arg) != flags.end()) {
            parsed.flags.push_back(arg);
        } else {
            parsed.error = "unknown option '" + std::string(arg) + "'";
            return parsed;
        }
    }
    return parsed;
}

}  // namespace autl
