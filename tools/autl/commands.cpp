#include "cli.h"

namespace autl {

// Each command defines its entry in its own cmd_<name>.cpp.
extern const Command kCallsCommand;
extern const Command kDemoCommand;
extern const Command kMixerCommand;
extern const Command kRawCommand;
extern const Command kTap0Command;
extern const Command kWavCommand;

std::span<const Command> Commands() {
    static const Command kCommands[] = {
            {"help", "list the commands, or show the help of one", "usage: autl help [COMMAND]\n",
             nullptr},
            kDemoCommand,
            kCallsCommand,
            kMixerCommand,
            kRawCommand,
            kTap0Command,
            kWavCommand,
    };
    return kCommands;
}

}  // namespace autl
