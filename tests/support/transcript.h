#pragma once

// Runs of command-line tools, and transcripts of them kept under tests/data/: each line
// "$ COMMAND" is run, and the transcript as it ran is compared whole with the file.
//
//   ExpectTranscript("autl/capture.txt", dir.path, AUTL_TOOL);

#include <string>

namespace autl::test {

struct ProgramRun {
    int status;  // the exit status; -1 when the program did not exit
    std::string out;
    std::string err;
};

// Runs `command` with /bin/sh in the folder `dir`, with the folder of `tool` first in PATH and the
// C locale, so that globs sort alike everywhere.
ProgramRun RunCommand(const std::string& command, const std::string& dir, const std::string& tool);

// Runs each "$ COMMAND" of the transcript tests/data/<name> as RunCommand does, and expects the
// transcript as it ran: each command followed by its standard output, its standard error with each
// line marked "! ", and "[exit N]" unless it exited with 0. Comment lines ("#...") are kept, and
// so is a blank line before one; every other line is earlier output, replaced.
void ExpectTranscript(const std::string& name, const std::string& dir, const std::string& tool);

}  // namespace autl::test
