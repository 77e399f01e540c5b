#include "transcript.h"

#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>

#include <vector>

#include <android-base/file.h>
#include <android-base/strings.h>
#include <gtest/gtest.h>

#include "golden.h"

extern char** environ;

namespace autl::test {
namespace {

std::string Read(const std::string& path) {
    std::string content;
    android::base::ReadFileToString(path, &content);
    return content;
}

// A command's output as a transcript shows it.
std::string Transcript(const std::string& command, const ProgramRun& run) {
    std::string transcript = "$ " + command + "\n" + run.out;
    if (!transcript.ends_with("\n")) transcript += "(no newline at the end)\n";
    std::vector<std::string> errors = android::base::Split(run.err, "\n");
    if (errors.back().empty()) errors.pop_back();
    for (const std::string& line : errors) transcript += "! " + line + "\n";
    if (run.status != 0) transcript += "[exit " + std::to_string(run.status) + "]\n";
    return transcript;
}

}  // namespace

ProgramRun RunCommand(const std::string& command, const std::string& dir, const std::string& tool) {
    TemporaryDir output;
    const std::string out = std::string(output.path) + "/out";
    const std::string err = std::string(output.path) + "/err";
    const std::string tool_dir = tool.substr(0, tool.rfind('/'));
    std::vector<std::string> argv = {
            "/bin/sh", "-c", "cd \"$1\" && export PATH=\"$2:$PATH\" LC_ALL=C && eval \"$3\"",
            "sh",      dir,  tool_dir,
            command};
    std::vector<char*> pointers;
    for (std::string& arg : argv) pointers.push_back(arg.data());
    pointers.push_back(nullptr);
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_addopen(&actions, 1, out.c_str(), O_WRONLY | O_CREAT, 0644);
    posix_spawn_file_actions_addopen(&actions, 2, err.c_str(), O_WRONLY | O_CREAT, 0644);
    pid_t pid = 0;
    int status = 0;
    const bool ran =
            posix_spawn(&pid, pointers[0], &actions, nullptr, pointers.data(), environ) == 0 &&
            waitpid(pid, &status, 0) == pid && WIFEXITED(status);
    posix_spawn_file_actions_destroy(&actions);

    return {ran ? WEXITSTATUS(status) : -1, Read(out), Read(err)};
}

void ExpectTranscript(const std::string& name, const std::string& dir, const std::string& tool) {
    std::vector<std::string> lines = android::base::Split(Read(AUTL_TEST_DATA "/" + name), "\n");
    if (!lines.empty() && lines.back().empty()) lines.pop_back();
    std::string transcript;
    for (size_t i = 0; i < lines.size(); ++i) {
        if (lines[i].starts_with("$ ")) {
            const std::string command = lines[i].substr(2);
            transcript += Transcript(command, RunCommand(command, dir, tool));
        } else if (lines[i].starts_with("#") ||
                   (lines[i].empty() && i + 1 < lines.size() && lines[i + 1].starts_with("#"))) {
            transcript += lines[i] + "\n";
        }
    }
    EXPECT_EQ(transcript, Golden(name, transcript)) << name;
}

}  // namespace autl::test
