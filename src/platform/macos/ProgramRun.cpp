#include "platform/macos/ProgramRun.h"

#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include "platform/posix/FileDescriptor.h"
#include "platform/posix/FileIO.h"

extern char** environ;

namespace vigilmoth {

ProgramRun ProgramRun::run(std::vector<std::string> arguments) {
    ProgramRun finished;
    int pipeEnds[2];
    if (arguments.empty() || ::pipe(pipeEnds) != 0) return finished;
    FileDescriptor readEnd(pipeEnds[0]), writeEnd(pipeEnds[1]);
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_addopen(&actions, STDOUT_FILENO, "/dev/null", O_WRONLY, 0);
    posix_spawn_file_actions_adddup2(&actions, writeEnd.get(), STDERR_FILENO);
    posix_spawn_file_actions_addclose(&actions, readEnd.get());
    std::vector<char*> argv;
    for (auto& word : arguments)
        argv.push_back(word.data());
    argv.push_back(nullptr);
    pid_t pid = 0;
    const int spawned = posix_spawn(&pid, argv[0], &actions, nullptr, argv.data(), environ);
    posix_spawn_file_actions_destroy(&actions);
    writeEnd.reset();
    if (spawned != 0) return finished;
    finished.errorOutput = readAll(readEnd.get(), 64 * 1024).value_or(std::string());
    int status = 0;
    if (waitpid(pid, &status, 0) == pid && WIFEXITED(status)) finished.status = WEXITSTATUS(status);
    return finished;
}

}  // namespace vigilmoth
