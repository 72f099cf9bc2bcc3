#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <string>
#include <vector>

#include "base/DefaultsKeys.h"
#include "platform/macos/SleepFlagHelperClient.h"
#include "platform/posix/FileDescriptor.h"
#include "platform/posix/FileIO.h"

extern char** environ;

namespace vigilmoth {
namespace {

struct Finished {
    int status = -1;
    std::string error;
};

// Runs a program to its end with its output discarded and its error output kept.
Finished run(std::vector<std::string> arguments) {
    int pipeEnds[2];
    if (::pipe(pipeEnds) != 0) return {};
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
    Finished finished;
    if (spawned != 0) return finished;
    finished.error = readAll(readEnd.get(), 64 * 1024).value_or(std::string());
    int status = 0;
    if (waitpid(pid, &status, 0) == pid && WIFEXITED(status)) finished.status = WEXITSTATUS(status);
    return finished;
}

std::string trimmed(const std::string& text) {
    const auto first = text.find_first_not_of(" \t\r\n");
    if (first == std::string::npos) return {};
    return text.substr(first, text.find_last_not_of(" \t\r\n") - first + 1);
}

}  // namespace

bool SudoersEntry::present() const {
    return ::access(kPath, F_OK) == 0;
}

void SudoersEntry::remove() {
    const std::string script =
        std::string("do shell script \"rm -f ") + kPath + "\" with administrator privileges";
    auto finished = run({"/usr/bin/osascript", "-e", script});
    if (finished.status == 0) return;
    auto message = trimmed(finished.error);
    throw SudoersCleanupError(message.empty() ? "The removal was cancelled or failed." : message);
}

void LegacyBatteryOverride::clearLeftover(KeyValueStore& defaults) {
    if (!defaults.boolValue(defaults_keys::batteryOverrideSetByApp).value_or(false)) return;
    if (SudoersEntry().present()) {
        run({"/usr/bin/sudo", "-n", "/usr/bin/pmset", "-b", "disablesleep", "0"});
    }
    defaults.remove(defaults_keys::batteryOverrideSetByApp);
}

}  // namespace vigilmoth
