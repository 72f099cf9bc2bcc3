// Stands in for an agent's process: started under any executable name and argument vector, it
// starts the children its plan names, reports that it is ready, keeps a core busy for as long
// as its plan says, and then sleeps until it is told to stop. SIGUSR1 renames it (as node renames
// itself "MainThread"); SIGUSR2 overwrites its argument vector in place. Once it has acted on one
// of these, it writes how many it has acted on so far to <ready folder>/<id>.handled, so that a
// test never has to guess when it is done.
#include <signal.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "support/Spawn.h"

namespace {

std::string variable(const char* name) {
    const char* value = std::getenv(name);
    return value ? value : "";
}

void writeAtomically(const std::string& path, const std::string& text) {
    std::string temporary = path + ".partial";
    std::ofstream(temporary) << text;
    std::rename(temporary.c_str(), path.c_str());
}

pid_t spawnChild(const nlohmann::json& node, const std::string& plan) {
    return vigilmoth::testing::spawnProcess(
        node.at("exe").get<std::string>(), node.at("argv").get<std::vector<std::string>>(),
        {"VIGILMOTH_FAKE_PLAN=" + plan, "VIGILMOTH_FAKE_NODE=" + node.at("id").dump(),
         "VIGILMOTH_FAKE_STARTER=" + std::to_string(getpid())});
}

// Keeps a core busy for `seconds`, as a compiler or test run does, unless told to stop.
void burn(double seconds) {
    auto end = std::chrono::steady_clock::now() + std::chrono::duration<double>(seconds);
    volatile unsigned long spin = 0;
    while (std::chrono::steady_clock::now() < end) {
        for (int i = 0; i < 100000; ++i)
            spin = spin + 1;
        sigset_t pending;
        sigpending(&pending);
        if (sigismember(&pending, SIGTERM)) return;
    }
}

}  // namespace

int main(int argc, char** argv) {
    sigset_t waited;
    sigemptyset(&waited);
    sigaddset(&waited, SIGTERM);
    sigaddset(&waited, SIGUSR1);
    sigaddset(&waited, SIGUSR2);
    sigprocmask(SIG_BLOCK, &waited, nullptr);
    // The tree goes when its starter goes, even when nobody stops it.
    prctl(PR_SET_PDEATHSIG, SIGTERM);
    // A starter that went before the line above sends nothing: this one has been handed on.
    std::string starter = variable("VIGILMOTH_FAKE_STARTER");
    if (!starter.empty() && starter != std::to_string(getppid())) return 0;

    std::vector<pid_t> children;
    std::string handled;
    std::string plan = variable("VIGILMOTH_FAKE_PLAN");
    std::string self = variable("VIGILMOTH_FAKE_NODE");
    if (!plan.empty() && !self.empty()) {
        nlohmann::json tree = nlohmann::json::parse(std::ifstream(plan));
        for (const auto& node : tree.at("nodes")) {
            if (node.at("parent").dump() != self) continue;
            pid_t child = spawnChild(node, plan);
            if (child > 0) children.push_back(child);
        }
        std::string ready = tree.at("ready").get<std::string>() + "/" + self;
        handled = ready + ".handled";
        writeAtomically(ready, std::to_string(getpid()));
        for (const auto& node : tree.at("nodes")) {
            if (node.at("id").dump() == self) burn(node.value("burn", 0.0));
        }
    }
    int actedOn = 0;
    while (true) {
        int number = 0;
        if (sigwait(&waited, &number) != 0) continue;
        if (number == SIGUSR1) {
            prctl(PR_SET_NAME, "MainThread");
        } else if (number == SIGUSR2) {
            for (int index = 0; index < argc; ++index)
                std::memset(argv[index], 'x', std::strlen(argv[index]));
        } else {
            break;
        }
        if (!handled.empty()) writeAtomically(handled, std::to_string(++actedOn));
    }
    for (pid_t child : children)
        kill(child, SIGTERM);
    for (pid_t child : children)
        waitpid(child, nullptr, 0);
    return 0;
}
