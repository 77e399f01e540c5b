#pragma once

// Runs a program to completion and captures what it printed, for tests of command-line tools.
//
//   const ProgramRun run = RunProgram({AUTL_TOOL, "wav", "info", path});
//   EXPECT_EQ(run.status, 1);
//   EXPECT_EQ(run.err, "autl wav: ...\n");

#include <string>
#include <vector>

namespace autl::test {

struct ProgramRun {
    // The exit status; -1 when the program could not be started or did not exit.
    int status;
    std::string out;
    std::string err;
};

// argv[0] is the program's path. The program gets the test's environment.
ProgramRun RunProgram(std::vector<std::string> argv);

}  // namespace autl::test
