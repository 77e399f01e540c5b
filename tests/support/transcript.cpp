#include "transcript.h"

#include <stdlib.h>
#include <sys/wait.h>

#include <vector>

#include <android-base/file.h>
#include <android-base/strings.h>
#include <gtest/gtest.h>

#include "golden.h"

namespace autl::test {
namespace {

std::string Read(const std::string& path) {
    std::string content;
    android::base::ReadFileToString(path, &content);
    return content;
}

// The command's output as a transcript shows it. The command reaches the shell through the
// environment, so that it needs no quoting.
std::string Run(const std::string& command, const std::string& dir, const std::string& tool) {
    TemporaryDir output;
    const std::string out = std::string(output.path) + "/out";
    const std::string err = std::string(output.path) + "/err";
    setenv("AUTL_COMMAND", command.c_str(), 1);
    const int status = system(
            ("cd '" + dir + "' && export PATH='" + tool.substr(0, tool.rfind('/')) +
             "':\"$PATH\" LC_ALL=C && eval \"$AUTL_COMMAND\" > '" + out + "' 2> '" + err + "'")
                    .c_str());
    std::string transcript = "$ " + command + "\n" + Read(out);
    if (!transcript.ends_with("\n")) transcript += "(no newline at the end)\n";
    for (const std::string& line : android::base::Split(Read(err), "\n")) {
        if (!line.empty()) transcript += "! " + line + "\n";
    }
    const int exit = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    if (exit != 0) transcript += "[exit " + std::to_string(exit) + "]\n";
    return transcript;
}

}  // namespace

void ExpectTranscript(const std::string& name, const std::string& dir, const std::string& tool) {
    std::vector<std::string> lines = android::base::Split(Read(DataPath(name)), "\n");
    if (!lines.empty() && lines.back().empty()) lines.pop_back();
    std::string transcript;
    for (size_t i = 0; i < lines.size(); ++i) {
        if (lines[i].starts_with("$ ")) {
            transcript += Run(lines[i].substr(2), dir, tool);
        } else if (lines[i].starts_with("#") ||
                   (lines[i].empty() && i + 1 < lines.size() && lines[i + 1].starts_with("#"))) {
            transcript += lines[i] + "\n";
        }
    }
    EXPECT_EQ(transcript, Golden(name, transcript)) << name;
}

}  // namespace autl::test
