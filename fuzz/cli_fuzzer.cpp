// autl's command line parser (getopt_long underneath) on random argument vectors and option
// tables, against the rules autl's help states: "--name value", "--name=value" and unambiguous
// prefixes of names, clusters of -h and -v, "--" before operands, "-" and negative numbers as
// operands, and with stop_at_operand (autl's own options before the command) everything from the
// first operand on an operand. Each vector is parsed twice, from two copies, so that state that
// getopt keeps between calls shows as a different answer or a use after free.
//
// Input: a flags byte (bit 0 stop_at_operand; the others unused); an option count
// (modulo 5) and each option as a name (a length byte and bytes; empty, duplicate or with '=' or
// NUL names are left out) and a byte (bit 0: takes a value); then the arguments after argv[0],
// separated by NUL bytes.

#include <deque>
#include <sstream>

#include "cli.h"
#include "fuzz_support.h"

// What cli.cpp's FindCommand looks through, which the parser does not use.
std::span<const autl::Command> autl::Commands() {
    return {};
}

namespace {

using namespace autl;

// What the rules give for args, viewing args and the option names.
ParsedArguments Parse(const std::vector<std::string>& args, std::vector<Option> all, bool stop) {
    all.insert(all.end(), {{"help", false}, {"verbose", false}});
    ParsedArguments result;
    for (size_t i = 1; i < args.size() && result.error.empty(); ++i) {
        const std::string& arg = args[i];
        const bool operand = arg == "-" || !arg.starts_with('-') ||
                             std::isdigit(static_cast<unsigned char>(arg[1]));
        if (arg == "--" || (operand && stop)) {
            result.operands.insert(result.operands.end(), args.begin() + i + (arg == "--"),
                                   args.end());
            break;
        }
        if (operand) result.operands.push_back(arg);
        // A cluster of letters.
        for (size_t c = 1; !operand && !arg.starts_with("--") && c < arg.size(); ++c) {
            result.help |= arg[c] == 'h';
            result.verbose += arg[c] == 'v';
            if (arg[c] != 'h' && arg[c] != 'v') {
                result.error = "unknown option '-" + arg.substr(c, 1) + "'";
                break;
            }
        }
        if (operand || !arg.starts_with("--")) continue;
        // A long option: an exact name, else the one name it is a prefix of.
        const size_t equals = arg.find('=');
        const std::string name = arg.substr(2, equals - 2);
        const auto prefixed = [&](Option o) { return std::string_view(o.name).starts_with(name); };
        auto found = std::ranges::find(all, name, &Option::name);
        if (found == all.end() && std::ranges::count_if(all, prefixed) == 1)
            found = std::ranges::find_if(all, prefixed);
        const bool has_equals = equals != std::string::npos;
        const std::string full = found != all.end() ? std::string("--") + found->name : "";
        result.error = found == all.end() ? "unknown option '" + arg.substr(0, equals) + "'"
                       : found->has_value && !has_equals && i + 1 == args.size()
                               ? "option " + full + " needs a value"
                       : !found->has_value && has_equals ? "option " + full + " takes no value"
                                                         : "";
        result.help |= result.error.empty() && full == "--help";
        result.verbose += result.error.empty() && full == "--verbose";
        if (!result.error.empty() || found >= all.end() - 2) continue;
        result.options.emplace_back(found->name, has_equals
                                                         ? std::string_view(arg).substr(equals + 1)
                                                 : found->has_value ? std::string_view(args[++i])
                                                                    : "");
    }
    return result;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    autl::fuzz::ByteReader input(data, size);
    const bool stop = (input.Read<uint8_t>() & 1) != 0;
    // Names are neither empty nor repeated, and hold no '=' or NUL; autl adds help and verbose.
    std::deque<std::string> names = {"help", "verbose"};
    std::vector<Option> table;
    for (int n = input.Read<uint8_t>() % 5; n > 0; --n) {
        const std::string name = input.Text();
        const bool has_value = (input.Read<uint8_t>() & 1) != 0;
        if (!name.empty() && name.find_first_of(std::string("=\0", 2)) == std::string::npos &&
            std::count(names.begin(), names.end(), name) == 0) {
            table.push_back({names.emplace_back(name).c_str(), has_value});
        }
    }
    std::vector<std::string> args = {"autl"};
    std::istringstream rest(std::string(input.rest));
    for (std::string arg; args.size() < 32 && std::getline(rest, arg, '\0');) args.push_back(arg);
    const ParsedArguments expected = Parse(args, table, stop);
    // Twice, each from its own copy, so that state getopt keeps between calls shows.
    for (int round = 0; round < 2; ++round) {
        std::vector<std::string> copy = args;
        std::vector<char*> argv;
        for (std::string& arg : copy) argv.push_back(arg.data());
        argv.push_back(nullptr);
        const ParsedArguments parsed =
                ParseArguments(static_cast<int>(copy.size()), argv.data(), table, stop);
        AUTL_FUZZ_CHECK(parsed.options == expected.options &&
                        parsed.operands == expected.operands && parsed.help == expected.help &&
                        parsed.verbose == expected.verbose && parsed.error == expected.error);
    }
    return 0;
}
