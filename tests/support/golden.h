#pragma once

// Golden files under tests/data/, compared whole; runs of command-line tools, and their transcripts
// kept there.
// With AUTL_UPDATE_GOLDEN=1 in the environment both rewrite the file with what the test produced,
// so that `git diff` shows what changed.
//
//   EXPECT_EQ(text, Golden("calls/demo_dump.calls.txt", text));
//   EXPECT_EQ(RunTranscript("autl/capture.txt", dir.path), Golden("autl/capture.txt", ...));

#include <string>

namespace autl::test {

// The content of tests/data/<name>; empty when it cannot be read.
std::string TestData(const std::string& name);

// TestData(name), after writing `actual` there when updating.
std::string Golden(const std::string& name, const std::string& actual);

struct ProgramRun {
    int status;  // the exit status; -1 when the program did not exit
    std::string out;
    std::string err;
};

// Runs `command` with /bin/sh in the folder `dir`, with the folder of `tool` first in PATH.
ProgramRun RunCommand(const std::string& command, const std::string& dir, const std::string& tool);

// Runs each line "$ COMMAND" of the transcript tests/data/<name> as RunCommand does, and returns
// the transcript as it ran: each command followed by its standard output, its standard error with
// each line marked "! ", and "[exit N]" unless it exited with 0. Comment lines ("#...") are kept,
// and so is a blank line before one; every other line is earlier output, replaced. Compare the
// result whole with Golden(name, result).
std::string RunTranscript(const std::string& name, const std::string& dir, const std::string& tool);

}  // namespace autl::test
