// autl's command line parser (getopt_long underneath) on random argument vectors and option
// tables, against the rules autl's help states: "--name value", "--name=value" and unambiguous
// prefixes of names, clusters of -h and -v, "--" before operands, "-" and negative numbers as
// operands, and with stop_at_operand (autl's own options before the command) everything from the
// first operand on an operand. Each vector is parsed twice, from two copies, so that state that
// getopt keeps between calls shows as a different answer or a use after free. Through
// ParseCommandLine, a refused line is a usage error (status 2) with the message on stderr, and
// -h the help on stdout (status 0).
//
// Input: a flags byte (bit 0 stop_at_operand, bit 1 through ParseCommandLine); an option count
// (modulo 5) and each option as a name (a length byte and bytes; empty, duplicate or with '=' or
// NUL names are left out) and a byte (bit 0: takes a value); then the arguments after argv[0],
// separated by NUL bytes.

#include <algorithm>
#include <iostream>
#include <sstream>
#include <string>
#include <vector>

#include "cli.h"
#include "fuzz_support.h"

namespace autl {

const Command kFuzzCommand = {"cmd", "", "usage: autl cmd\n", nullptr};

// What cli.cpp's FindCommand looks through.
std::span<const Command> Commands() {
    return {&kFuzzCommand, 1};
}

}  // namespace autl

namespace {

using autl::Option;
using autl::ParsedArguments;
using autl::fuzz::ByteReader;

struct Expected {
    std::vector<std::pair<std::string, std::string>> options;
    std::vector<std::string> operands;
    bool help = false;
    int verbose = 0;
    std::string error;
    bool operator==(const Expected&) const = default;
};

Expected Parse(const std::vector<std::string>& args, const std::vector<Option>& table, bool stop) {
    std::vector<Option> all = table;
    all.push_back({"help", false});
    all.push_back({"verbose", false});
    Expected expected;
    for (size_t i = 1; i < args.size() && expected.error.empty(); ++i) {
        const std::string& arg = args[i];
        const bool operand = arg == "-" || !arg.starts_with('-') ||
                             std::isdigit(static_cast<unsigned char>(arg[1]));
        if (arg == "--" || (operand && stop)) {
            expected.operands.insert(expected.operands.end(),
                                     args.begin() + static_cast<long>(i) + (arg == "--"),
                                     args.end());
            break;
        }
        if (operand) {
            expected.operands.push_back(arg);
        } else if (arg.starts_with("--")) {
            // An exact name, else the one name it is a prefix of.
            const size_t equals = arg.find('=');
            const std::string name =
                    arg.substr(2, equals == std::string::npos ? equals : equals - 2);
            const Option* found = nullptr;
            int prefixes = 0;
            for (const Option& option : all) {
                if (name == option.name) found = &option;
                prefixes += std::string_view(option.name).starts_with(name);
            }
            if (found == nullptr && prefixes == 1) {
                found = &*std::find_if(all.begin(), all.end(), [&](const Option& option) {
                    return std::string_view(option.name).starts_with(name);
                });
            }
            const std::string full = found != nullptr ? std::string("--") + found->name : "";
            const bool has_equals = equals != std::string::npos;
            std::string value = has_equals ? arg.substr(equals + 1) : "";
            if (found == nullptr) {
                expected.error = "unknown option '" + arg.substr(0, equals) + "'";
            } else if (found->has_value && !has_equals && i + 1 == args.size()) {
                expected.error = "option " + full + " needs a value";
            } else if (!found->has_value && has_equals) {
                expected.error = "option " + full + " takes no value";
            } else if (full == "--help") {
                expected.help = true;
            } else if (full == "--verbose") {
                ++expected.verbose;
            } else {
                if (found->has_value && !has_equals) value = args[++i];
                expected.options.emplace_back(found->name, value);
            }
        } else {
            for (size_t c = 1; c < arg.size() && expected.error.empty(); ++c) {
                if (arg[c] == 'h') {
                    expected.help = true;
                } else if (arg[c] == 'v') {
                    ++expected.verbose;
                } else {
                    expected.error = std::string("unknown option '-") + arg[c] + "'";
                }
            }
        }
    }
    return expected;
}

// Parses a fresh copy of args.
Expected ParseCopy(const std::vector<std::string>& args, const std::vector<Option>& table,
                   bool stop, bool command_line) {
    std::vector<std::string> copy = args;
    std::vector<char*> argv;
    for (std::string& arg : copy) argv.push_back(arg.data());
    argv.push_back(nullptr);
    const int argc = static_cast<int>(copy.size());
    std::optional<ParsedArguments> parsed;
    if (command_line) {
        std::stringbuf out, err;
        std::streambuf* cout = std::cout.rdbuf(&out);
        std::streambuf* cerr = std::cerr.rdbuf(&err);
        int status = -1;
        parsed = autl::ParseCommandLine(autl::kFuzzCommand, argc, argv.data(), table, &status);
        std::cout.rdbuf(cout);
        std::cerr.rdbuf(cerr);
        if (!parsed.has_value()) {
            const Expected expected = Parse(args, table, false);
            AUTL_FUZZ_CHECK(expected.help || !expected.error.empty());
            if (expected.help) {
                AUTL_FUZZ_CHECK(status == autl::kExitSuccess && out.str() == "usage: autl cmd\n");
            } else {
                AUTL_FUZZ_CHECK(status == autl::kExitUsage && out.str().empty());
                AUTL_FUZZ_CHECK(err.str() ==
                                "autl cmd: " + expected.error + "\nTry 'autl cmd --help'.\n");
            }
            return expected;
        }
        AUTL_FUZZ_CHECK(status == -1 && out.str().empty() && err.str().empty());
    } else {
        parsed = autl::ParseArguments(argc, argv.data(), table, stop);
    }
    Expected result{.help = parsed->help, .verbose = parsed->verbose, .error = parsed->error};
    result.options.assign(parsed->options.begin(), parsed->options.end());
    result.operands.assign(parsed->operands.begin(), parsed->operands.end());
    return result;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    ByteReader input(data, size);
    const uint8_t flags = input.Read<uint8_t>();
    const bool stop = (flags & 1) != 0;
    const bool command_line = (flags & 2) != 0;
    std::vector<std::string> names;
    std::vector<Option> table;
    for (int n = input.Read<uint8_t>() % 5; n > 0; --n) {
        const std::string name = input.Text();
        const bool has_value = (input.Read<uint8_t>() & 1) != 0;
        if (name.empty() || name.find_first_of(std::string("=\0", 2)) != std::string::npos ||
            name == "help" || name == "verbose" ||
            std::count(names.begin(), names.end(), name) > 0) {
            continue;
        }
        names.push_back(name);
        table.push_back({nullptr, has_value});
    }
    for (size_t k = 0; k < table.size(); ++k) table[k].name = names[k].c_str();
    std::vector<std::string> args = {"autl"};
    std::istringstream rest(input.Rest());
    for (std::string arg; args.size() < 32 && std::getline(rest, arg, '\0');) args.push_back(arg);

    const Expected first = ParseCopy(args, table, stop && !command_line, command_line);
    AUTL_FUZZ_CHECK(first == Parse(args, table, stop && !command_line));
    AUTL_FUZZ_CHECK(ParseCopy(args, table, stop && !command_line, command_line) == first);
    return 0;
}
