#pragma once

// Shared pieces of the autl commands: the command table entry, exit statuses and argument parsing.

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace autl {

enum ExitStatus : int {
    kExitSuccess = 0,
    kExitFailure = 1,
    kExitUsage = 2,
};

using Args = std::vector<std::string_view>;

struct Command {
    const char* name;
    // One line for `autl help`.
    const char* summary;
    // The whole text of `autl <name> --help`, starting with the usage line.
    const char* help;
    // Runs the command on the arguments after its name; returns an ExitStatus.
    int (*run)(const Args& args);
};

// Every command, in the order `autl help` lists them.
std::span<const Command> Commands();
const Command* FindCommand(std::string_view name);

// Prints "autl <command>: <message>" and a pointer to the help on stderr; returns kExitUsage.
int UsageError(const Command& command, std::string_view message);
// Prints "autl <command>: <message>" on stderr; returns kExitFailure.
int Failure(const Command& command, std::string_view message);

// A decimal integer within [min, max], the whole text and nothing else.
std::optional<int64_t> ParseInteger(std::string_view text, int64_t min, int64_t max);

// Splits args into options ("--name value" pairs, named in `with_value`, and bare "--flags" named
// in `flags`) and positional arguments. Returns an error message for an unknown option or a
// missing value.
struct ParsedArgs {
    std::vector<std::pair<std::string_view, std::string_view>> options;
    std::vector<std::string_view> flags;
    Args positional;
    std::string error;

    std::optional<std::string_view> Option(std::string_view name) const;
    bool Flag(std::string_view name) const;
};
ParsedArgs ParseArgs(const Args& args, std::span<const std::string_view> with_value,
                     std::span<const std::string_view> flags = {});

}  // namespace autl
