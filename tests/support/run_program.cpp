#include "run_program.h"

#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>

#include "temp_dir.h"

extern char** environ;

namespace autl::test {

ProgramRun RunProgram(std::vector<std::string> argv) {
    TempDir dir;
    std::vector<char*> pointers;
    for (std::string& arg : argv) pointers.push_back(arg.data());
    pointers.push_back(nullptr);
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_addopen(&actions, 1, dir.Join("out").c_str(),
                                     O_WRONLY | O_CREAT | O_TRUNC, 0644);
    posix_spawn_file_actions_addopen(&actions, 2, dir.Join("err").c_str(),
                                     O_WRONLY | O_CREAT | O_TRUNC, 0644);
    pid_t pid = 0;
    int status = 0;
    const bool ran =
            posix_spawn(&pid, pointers[0], &actions, nullptr, pointers.data(), environ) == 0 &&
            waitpid(pid, &status, 0) == pid && WIFEXITED(status);
    posix_spawn_file_actions_destroy(&actions);
    return {ran ? WEXITSTATUS(status) : -1, ReadFile(dir.Join("out")), ReadFile(dir.Join("err"))};
}

}  // namespace autl::test
