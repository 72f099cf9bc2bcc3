// Stands in for an agent's process: started under any executable name and argument vector, it
// starts the children its plan names, reports that it is ready, and sleeps until it is told to
// stop. SIGUSR1 renames it (as node renames itself "MainThread"); SIGUSR2 overwrites its
// argument vector in place. Once it has acted on one of these, it writes how many it has acted
// on so far to <ready folder>/<id>.handled, so that a test never has to guess when it is done.
// Its plan may also name a working directory, a file to keep open and a thread burning CPU.
#include <fcntl.h>
#include <signal.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>
#include <cstring>
#include <fstream>
#include <nlohmann/json.hpp>
#include <string>
#include <thread>
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

// Where the node asks to run, the file it keeps open, and a thread that uses CPU for ever.
void settle(const nlohmann::json& node) {
    std::string cwd = node.value("cwd", "");
    if (!cwd.empty() && chdir(cwd.c_str()) != 0) std::exit(3);
    std::string open = node.value("open", "");
    if (!open.empty() && ::open(open.c_str(), O_RDONLY | O_CLOEXEC) < 0) std::exit(4);
    if (node.value("burn", false)) {
        std::thread([] {
            volatile unsigned long spins = 0;
            while (true)
                spins = spins + 1;
        }).detach();
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
            if (node.at("id").dump() == self) settle(node);
            if (node.at("parent").dump() != self) continue;
            pid_t child = spawnChild(node, plan);
            if (child > 0) children.push_back(child);
        }
        std::string ready = tree.at("ready").get<std::string>() + "/" + self;
        handled = ready + ".handled";
        writeAtomically(ready, std::to_string(getpid()));
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
