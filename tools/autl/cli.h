#pragma once

// Shared pieces of the autl commands: the command table, exit statuses, the command line as
// getopt_long reads it, numbers, output files and JSON.

#include <nlohmann/json_fwd.hpp>

#include <android-base/unique_fd.h>

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace autl {

namespace capture {
class InputFile;
}

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
    // Runs the command on argv[0] (its name) and its arguments; returns an ExitStatus.
    int (*run)(int argc, char** argv);
};

// Every command, in the order `autl help` lists them.
std::span<const Command> Commands();
const Command* FindCommand(std::string_view name);

// Prints "autl <command>: <message>" and a pointer to the help on stderr; returns kExitUsage.
int UsageError(const Command& command, std::string_view message);
// Prints "autl <command>: <message>" on stderr; returns kExitFailure.
int Failure(const Command& command, std::string_view message);
// Prints "autl <command>: <message>" on stderr, for what does not end the command.
void Warn(const Command& command, std::string_view message);

// An option of a command, by its long name (without "--").
struct Option {
    const char* name;
    bool has_value;
};

// Arguments as getopt_long reads them: "--name value", "--name=value" or an unambiguous prefix of
// the name, and -h/--help and -v/--verbose, which every command takes. Operands may come before,
// between and after options; "--" ends the options, and "-" and negative numbers ("-10") are
// operands.
struct ParsedArguments {
    // The options given, in order, with their values (empty for those without).
    std::vector<std::pair<std::string_view, std::string_view>> options;
    Args operands;
    bool help = false;
    // How often -v was given.
    int verbose = 0;
    // Why the arguments are refused; empty when they are not.
    std::string error;

    bool Has(std::string_view name) const;
    // The value of the option's last occurrence.
    std::optional<std::string_view> Value(std::string_view name) const;
};
// argv[0] names the program or command. With stop_at_operand the first operand ends the options
// (everything after it is an operand), as for the command name after autl's own options.
ParsedArguments ParseArguments(int argc, char** argv, std::span<const Option> options,
                               bool stop_at_operand = false);

// A command's arguments: prints the help (*status 0) or the usage error (*status 2) and returns
// empty, or applies -v and returns them.
std::optional<ParsedArguments> ParseCommandLine(const Command& command, int argc, char** argv,
                                                std::span<const Option> options, int* status);

// The library's log lines shown: WARNING and above at 0, INFO at 1, VERBOSE from 2 on.
void SetVerbosity(int verbose);

// A whole number within [min, max], decimal or 0x-prefixed hexadecimal.
std::optional<int64_t> ParseNumber(std::string_view text, int64_t min, int64_t max);

// A file written through its descriptor, so that a full disk or a failing device is seen at the
// write that fails.
class OutputFile {
  public:
    // Creates path or empties it (a new file gets mode 0644). Empty, with the reason in *error,
    // when it cannot be opened or is the file `input` reads, which writing would change.
    static std::optional<OutputFile> Create(const std::string& path,
                                            const capture::InputFile* input, std::string* error);

    // False with errno when not every byte was written.
    bool Write(std::span<const uint8_t> bytes);
    bool Write(std::string_view text);
    // False with errno when the descriptor's close reports a failure.
    bool Close();
    // Closes and removes what was written, when it is a regular file; a device stays.
    void Discard();
    // "cannot write <path>: <strerror(errno)>".
    std::string WriteError() const;

  private:
    OutputFile(std::string path, android::base::unique_fd fd, bool regular)
        : path_(std::move(path)), fd_(std::move(fd)), regular_(regular) {}

    std::string path_;
    android::base::unique_fd fd_;
    bool regular_;
};

// Writes json to standard output, indented, with a final newline. Text that is no UTF-8 is written
// with replacement characters.
void PrintJson(const nlohmann::ordered_json& json);

}  // namespace autl
