// autl: exercises the audio HAL utility library on a workstation.
//
// Exit status: 0 on success, 1 on failure, 2 on a usage error.

#include <iomanip>
#include <iostream>

#include "cli.h"

namespace autl {
namespace {

void PrintOverview(std::ostream& out) {
    out << "usage: autl <command> [arguments]\n"
           "\n"
           "Commands:\n";
    for (const Command& command : Commands()) {
        out << "  " << std::left << std::setw(10) << command.name << command.summary << "\n";
    }
    out << "\nRun 'autl <command> --help' for the arguments of a command.\n";
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

int Main(int argc, char** argv) {
    if (argc < 2) {
        PrintOverview(std::cerr);
        return kExitUsage;
    }
    const std::string_view name = argv[1];
    const Args args(argv + 2, argv + argc);
    if (name == "help" || name == "--help" || name == "-h") return Help(args);
    const Command* command = FindCommand(name);
    if (command == nullptr) {
        std::cerr << "autl: unknown command '" << name << "'\nTry 'autl help'.\n";
        return kExitUsage;
    }
    for (std::string_view arg : args) {
        if (arg == "--") break;
        if (arg == "--help" || arg == "-h") {
            std::cout << command->help;
            return kExitSuccess;
        }
    }
    return command->run(args);
}

}  // namespace
}  // namespace autl

int main(int argc, char** argv) {
    return autl::Main(argc, argv);
}
