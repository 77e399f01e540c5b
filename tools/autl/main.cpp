// autl: exercises the audio HAL utility library on a workstation and reads what it leaves behind
// (captures, dumps).
//
// Exit status: 0 on success, 1 on failure, 2 on a usage error.

#include <android-base/file.h>
#include <errno.h>
#include <string.h>
#include <unistd.h>

#include <iomanip>
#include <iostream>
#include <streambuf>

#include "cli.h"

namespace autl {
namespace {

constexpr char kOverviewOptions[] =
        "\n"
        "Options:\n"
        "  -h, --help     this overview\n"
        "  --version      the version of autl and of the library\n"
        "  -v, --verbose  show the library's INFO log lines too (twice: VERBOSE); by default\n"
        "                 only WARNING and above reach standard error\n";

void PrintOverview(std::ostream& out) {
    out << "usage: autl [-v] <command> [arguments]\n"
           "       autl --help | --version\n"
           "\n"
           "Commands:\n";
    for (const Command& command : Commands()) {
        out << "  " << std::left << std::setw(10) << command.name << command.summary << "\n";
    }
    out << kOverviewOptions << "\nRun 'autl <command> --help' for the arguments of a command.\n";
}

int Help(const Args& args) {
    if (args.empty()) {
        PrintOverview(std::cout);
        return kExitSuccess;
    }
    const Command* command = FindCommand(args[0]);
    if (command == nullptr || args.size() > 1) {
        std::cerr << "autl help: unknown command '" << args[0] << "'\n";
        return kExitUsage;
    }
    std::cout << command->help;
    return kExitSuccess;
}

// std::cout's buffer: whole writes to descriptor 1 that keep the reason of the first failure,
// which stdio forgets once it has dropped the bytes it could not write.
class StandardOutputBuffer : public std::streambuf {
  public:
    StandardOutputBuffer() { setp(buffer_, buffer_ + sizeof(buffer_)); }
    // 0, or the errno of the first write that failed.
    int error() const { return error_; }

  protected:
    int_type overflow(int_type c) override {
        if (sync() != 0) return traits_type::eof();
        if (traits_type::eq_int_type(c, traits_type::eof())) return traits_type::not_eof(c);
        *pptr() = traits_type::to_char_type(c);
        pbump(1);
        return c;
    }
    int sync() override {
        const auto size = static_cast<size_t>(pptr() - pbase());
        setp(buffer_, buffer_ + sizeof(buffer_));
        if (error_ == 0 && !android::base::WriteFully(STDOUT_FILENO, buffer_, size)) error_ = errno;
        return error_ == 0 ? 0 : -1;
    }

  private:
    char buffer_[64 * 1024];
    int error_ = 0;
};

// Everything written to standard output must have reached it: a full disk or a closed pipe
// reader turns success into failure.
int FlushStandardOutput(const StandardOutputBuffer& output, std::string_view command, int status) {
    std::cout.flush();
    if (output.error() == 0) return status;
    std::cerr << "autl " << command
              << ": cannot write standard output: " << strerror(output.error()) << "\n";
    return status == kExitSuccess ? kExitFailure : status;
}

int Run(const StandardOutputBuffer& output, int argc, char** argv) {
    // The library's INFO lines would bury the tool's own output; -v brings them back.
    SetVerbosity(0);
    static constexpr Option kOptions[] = {{"version", false}};
    const ParsedArguments parsed = ParseArguments(argc, argv, kOptions, /*stop_at_operand=*/true);
    if (!parsed.error.empty()) {
        std::cerr << "autl: " << parsed.error << "\nTry 'autl --help'.\n";
        return kExitUsage;
    }
    if (parsed.help) {
        PrintOverview(std::cout);
        return FlushStandardOutput(output, "--help", kExitSuccess);
    }
    if (parsed.Has("version")) {
        std::cout << "autl " << AUTL_VERSION << " (" << AUTL_LIBRARY_NAME << ")\n";
        return FlushStandardOutput(output, "--version", kExitSuccess);
    }
    if (parsed.verbose > 0) SetVerbosity(parsed.verbose);
    if (parsed.operands.empty()) {
        PrintOverview(std::cerr);
        return kExitUsage;
    }
    // The operands are the tail of argv, from the command's name on.
    const int first = argc - static_cast<int>(parsed.operands.size());
    const std::string_view name = parsed.operands[0];
    if (name == "help") {
        return FlushStandardOutput(output, name,
                                   Help(Args(parsed.operands.begin() + 1, parsed.operands.end())));
    }
    const Command* command = FindCommand(name);
    if (command == nullptr) {
        std::cerr << "autl: unknown command '" << name << "'\nTry 'autl help'.\n";
        return kExitUsage;
    }
    return FlushStandardOutput(output, name, command->run(argc - first, argv + first));
}

}  // namespace
}  // namespace autl

int main(int argc, char** argv) {
    autl::StandardOutputBuffer output;
    std::cout.rdbuf(&output);
    const int status = autl::Run(output, argc, argv);
    // Flushed already; std::cout must not reach the buffer after it is gone.
    std::cout.rdbuf(nullptr);
    return status;
}
