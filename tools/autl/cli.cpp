#include "cli.h"

#include <android-base/file.h>
#include <android-base/logging.h>
#include <android-base/parseint.h>
#include <errno.h>
#include <fcntl.h>
#include <getopt.h>
#include <string.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cctype>
#include <iostream>
#include <nlohmann/json.hpp>

#include "input_file.h"

namespace autl {

namespace {

// getopt_long's value for the command's option i; below it, the letters of -h and -v.
constexpr int kFirstOptionId = 256;

// "-", a word, or a negative number: not an option.
bool IsOperand(std::string_view arg) {
    return arg == "-" || !arg.starts_with('-') ||
           (arg.size() > 1 && std::isdigit(static_cast<unsigned char>(arg[1])));
}

// getopt keeps its place inside a cluster of letters between calls: after "-vxy" is refused at x
// it would go on at y, in an argv that may be gone, when the next parse starts. A scan of a vector
// without options, with optind 0, makes it start afresh.
void ForgetEarlierParse() {
    static char name[] = "autl";
    char* argv[] = {name, nullptr};
    optind = 0;
    getopt(1, argv, "+");
}

}  // namespace

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
    Warn(command, message);
    return kExitFailure;
}

void Warn(const Command& command, std::string_view message) {
    std::cerr << "autl " << command.name << ": " << message << "\n";
}

bool ParsedArguments::Has(std::string_view name) const {
    return std::any_of(options.begin(), options.end(),
                       [name](const auto& option) { return option.first == name; });
}

std::optional<std::string_view> ParsedArguments::Value(std::string_view name) const {
    for (auto it = options.rbegin(); it != options.rend(); ++it) {
        if (it->first == name) return it->second;
    }
    return std::nullopt;
}

ParsedArguments ParseArguments(int argc, char** argv, std::span<const Option> options,
                               bool stop_at_operand) {
    std::vector<option> long_options;
    for (size_t i = 0; i < options.size(); ++i) {
        long_options.push_back({options[i].name, options[i].has_value ? required_argument : 0,
                                nullptr, kFirstOptionId + static_cast<int>(i)});
    }
    long_options.push_back({"help", no_argument, nullptr, 'h'});
    long_options.push_back({"verbose", no_argument, nullptr, 'v'});
    long_options.push_back({});
    const auto name_of = [&](int id) -> std::string {
        if (id == 'h') return "--help";
        if (id == 'v') return "--verbose";
        return std::string("--") + options[static_cast<size_t>(id - kFirstOptionId)].name;
    };

    ParsedArguments parsed;
    // The tool reports errors in its own words.
    opterr = 0;
    ForgetEarlierParse();
    int next = 1;
    while (next < argc) {
        const std::string_view arg = argv[next];
        if (arg == "--") {
            parsed.operands.insert(parsed.operands.end(), argv + next + 1, argv + argc);
            break;
        }
        if (IsOperand(arg)) {
            if (stop_at_operand) {
                parsed.operands.insert(parsed.operands.end(), argv + next, argv + argc);
                break;
            }
            parsed.operands.push_back(arg);
            ++next;
            continue;
        }
        // "+": getopt_long reads this option (or cluster of letters) and stops at the next
        // operand, which the loop takes, so that "-10" is never read as options -1 and -0.
        optind = next;
        const int id = getopt_long(argc, argv, "+:hv", long_options.data(), nullptr);
        if (id == -1) break;
        if (id == ':') {
            parsed.error = "option " + name_of(optopt) + " needs a value";
            return parsed;
        }
        if (id == '?') {
            if (optopt >= kFirstOptionId || optopt == 'h' || optopt == 'v') {
                if (std::string_view(argv[optind - 1]).starts_with("--")) {
                    parsed.error = "option " + name_of(optopt) + " takes no value";
                    return parsed;
                }
            }
            // A letter of a cluster as it is ("-=" too), a long option without its value.
            const std::string_view refused = argv[optind - 1];
            const std::string given = optopt != 0 && optopt < kFirstOptionId
                                              ? std::string("-") + static_cast<char>(optopt)
                                              : std::string(refused.substr(0, refused.find('=')));
            parsed.error = "unknown option '" + given + "'";
            return parsed;
        }
        if (id == 'h') {
            parsed.help = true;
        } else if (id == 'v') {
            ++parsed.verbose;
        } else {
            parsed.options.emplace_back(options[static_cast<size_t>(id - kFirstOptionId)].name,
                                        optarg != nullptr ? optarg : "");
        }
        next = optind;
    }
    return parsed;
}

std::optional<ParsedArguments> ParseCommandLine(const Command& command, int argc, char** argv,
                                                std::span<const Option> options, int* status) {
    ParsedArguments parsed = ParseArguments(argc, argv, options);
    if (parsed.help) {
        std::cout << command.help;
        *status = kExitSuccess;
        return std::nullopt;
    }
    if (!parsed.error.empty()) {
        *status = UsageError(command, parsed.error);
        return std::nullopt;
    }
    if (parsed.verbose > 0) SetVerbosity(parsed.verbose);
    return parsed;
}

void SetVerbosity(int verbose) {
    android::base::SetMinimumLogSeverity(verbose == 0   ? android::base::WARNING
                                         : verbose == 1 ? android::base::INFO
                                                        : android::base::VERBOSE);
}

std::optional<int64_t> ParseNumber(std::string_view text, int64_t min, int64_t max) {
    int64_t value = 0;
    // ParseInt skips leading white space, which a number given as an argument never has.
    if (text.empty() || std::isspace(static_cast<unsigned char>(text[0])) ||
        !android::base::ParseInt(std::string(text), &value, min, max)) {
        return std::nullopt;
    }
    return value;
}

std::optional<OutputFile> OutputFile::Create(const std::string& path,
                                             const capture::InputFile* input, std::string* error) {
    // Not truncated before it is known not to be the input.
    android::base::unique_fd fd(open(path.c_str(), O_WRONLY | O_CREAT | O_CLOEXEC, 0644));
    if (fd.get() < 0) {
        *error = "cannot write " + path + ": " + strerror(errno);
        return std::nullopt;
    }
    if (input != nullptr && input->IsSameFile(fd.get())) {
        *error = path + " is the input itself";
        return std::nullopt;
    }
    struct stat status = {};
    const bool regular = fstat(fd.get(), &status) == 0 && S_ISREG(status.st_mode);
    if (regular && ftruncate(fd.get(), 0) != 0) {
        *error = "cannot write " + path + ": " + strerror(errno);
        return std::nullopt;
    }
    return OutputFile(path, std::move(fd), regular);
}

bool OutputFile::Write(std::span<const uint8_t> bytes) {
    return android::base::WriteFully(fd_, bytes.data(), bytes.size());
}

bool OutputFile::Write(std::string_view text) {
    return android::base::WriteFully(fd_, text.data(), text.size());
}

bool OutputFile::Close() {
    return close(fd_.release()) == 0;
}

void OutputFile::Discard() {
    fd_.reset();
    if (regular_) unlink(path_.c_str());
}

std::string OutputFile::WriteError() const {
    return "cannot write " + path_ + ": " + strerror(errno);
}

void PrintJson(const nlohmann::ordered_json& json) {
    std::cout << json.dump(2, ' ', false, nlohmann::ordered_json::error_handler_t::replace) << "\n";
}

}  // namespace autl
