#pragma once

// Transcripts of command-line tools under tests/data/: each line "$ COMMAND" is run, and the
// transcript as it ran is compared whole with the file.
//
//   ExpectTranscript("autl/capture.txt", dir.path, AUTL_TOOL);

#include <string>

namespace autl::test {

// Runs each "$ COMMAND" of the transcript tests/data/<name> with sh in the folder `dir`, with the
// folder of `tool` first in PATH and the C locale (globs sort alike everywhere), and expects the
// transcript as it ran: each command followed by its standard output, its standard error with each
// line marked "! ", and "[exit N]" unless it exited with 0. Comment lines ("#...") are kept, and
// so is a blank line before one; every other line is earlier output, replaced.
void ExpectTranscript(const std::string& name, const std::string& dir, const std::string& tool);

}  // namespace autl::test
