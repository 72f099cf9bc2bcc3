#pragma once

#include <signal.h>
#include <spawn.h>
#include <sys/types.h>

#include <string>
#include <vector>

namespace vigilmoth::testing {

// Starts `executable` with exactly the given argument vector and environment, and with no
// signal blocked whatever the starter blocks. Returns the pid, or -1 when it could not start.
// Shared by the tests and by the stand-in agents, which start their own children.
inline pid_t spawnProcess(const std::string& executable, std::vector<std::string> arguments,
                          std::vector<std::string> environment,
                          const posix_spawn_file_actions_t* actions = nullptr) {
    std::vector<char*> argv, envp;
    for (auto& word : arguments)
        argv.push_back(word.data());
    argv.push_back(nullptr);
    for (auto& entry : environment)
        envp.push_back(entry.data());
    envp.push_back(nullptr);
    posix_spawnattr_t attributes;
    posix_spawnattr_init(&attributes);
    sigset_t empty;
    sigemptyset(&empty);
    posix_spawnattr_setsigmask(&attributes, &empty);
    posix_spawnattr_setflags(&attributes, POSIX_SPAWN_SETSIGMASK);
    pid_t pid = -1;
    if (posix_spawn(&pid, executable.c_str(), actions, &attributes, argv.data(), envp.data()) != 0)
        pid = -1;
    posix_spawnattr_destroy(&attributes);
    return pid;
}

}  // namespace vigilmoth::testing
