#include "hook/PosixHook.h"

#include <signal.h>
#include <unistd.h>

#include <cstdlib>
#include <iostream>
#include <limits>

#include "base/Date.h"
#include "evidence/HookStateFile.h"
#include "hook/SystemHookStateStore.h"
#include "hooks/runtime/HookRunner.h"

namespace vigilmoth::PosixHook {
namespace {

// The agent waits for its hook; a hook that cannot finish in this time gives up quietly.
constexpr unsigned kDeadlineSeconds = 3;

void giveUp(int) {
    ::_exit(0);
}

std::optional<std::string> variable(const char* name) {
    const char* value = std::getenv(name);
    if (value == nullptr) return std::nullopt;
    return std::string(value);
}

HookInput readInput() {
    // Someone trying the hook by hand in a terminal gets no input rather than a wait.
    if (::isatty(STDIN_FILENO)) return {};
    std::ios::sync_with_stdio(false);
    HookInput input = HookInput::parse(std::cin);
    // Reading stops at the first error; the agent is still writing, and must not see its hook
    // close the pipe on it.
    std::cin.clear();
    std::cin.ignore(std::numeric_limits<std::streamsize>::max());
    return input;
}

}  // namespace

int main(const std::vector<std::string>& arguments, const std::function<System()>& system) {
    ::signal(SIGALRM, giveUp);
    ::signal(SIGPIPE, SIG_IGN);
    ::alarm(kDeadlineSeconds);
    // Whatever goes wrong, the agent's hook must not fail: exceptions end the run, not the agent.
    try {
        HookInput input = readInput();
        System machine = system();
        SystemHookStateStore store(
            HookStateFile::directory(machine.paths, variable("VIGILMOTH_HOOKS_DIR")));
        HookRunner::run(arguments, input, static_cast<int32_t>(::getppid()),
                        Date::now().secondsSince1970(), *machine.census, store);
    } catch (...) {
    }
    return 0;
}

}  // namespace vigilmoth::PosixHook
