#include "support/ProcessTree.h"

#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <functional>
#include <nlohmann/json.hpp>
#include <set>
#include <stdexcept>
#include <thread>

#include "support/Spawn.h"

namespace vigilmoth::testing {
namespace {

// How long a stand-in may take to show progress: generous, as the machine may be busy and the
// stand-ins built with sanitizers.
constexpr auto kPatience = std::chrono::seconds(30);

// Waits until `file` exists and holds what `done` asks; throws when it shows no such progress.
std::string awaitFile(const std::filesystem::path& file,
                      const std::function<bool(const std::string&)>& done) {
    auto deadline = std::chrono::steady_clock::now() + kPatience;
    while (true) {
        if (std::filesystem::exists(file)) {
            std::string text = readFile(file);
            if (done(text)) return text;
        }
        if (std::chrono::steady_clock::now() > deadline)
            throw std::runtime_error("a planned process did not answer: " + file.string());
        std::this_thread::sleep_for(std::chrono::milliseconds(5));
    }
}

}  // namespace

ProcessTree::ProcessTree(const std::vector<PlannedProcess>& plan) {
    std::filesystem::create_directories(folder_.path() / "ready");
    std::set<std::string> copied;
    nlohmann::json nodes = nlohmann::json::array();
    for (const auto& process : plan) {
        std::string path = executable(process.executable);
        if (copied.insert(path).second) {
            std::filesystem::create_directories(std::filesystem::path(path).parent_path());
            std::filesystem::copy_file(testProgram("fake_agent"), path);
        }
        nodes.push_back({{"id", process.id},
                         {"parent", process.parent},
                         {"exe", path},
                         {"argv", process.arguments},
                         {"cwd", process.workingDirectory},
                         {"open", process.openFile},
                         {"burn", process.burnsCPU}});
    }
    std::string planPath = folder_ / "plan.json";
    writeFile(planPath, nlohmann::json{{"nodes", nodes}, {"ready", folder_ / "ready"}}.dump());
    for (const auto& process : plan) {
        if (process.parent != -1) continue;
        int pid = spawnProcess(
            executable(process.executable), process.arguments,
            {"VIGILMOTH_FAKE_PLAN=" + planPath, "VIGILMOTH_FAKE_NODE=" + std::to_string(process.id),
             "VIGILMOTH_FAKE_STARTER=" + std::to_string(::getpid())});
        if (pid < 0) {
            stop();
            throw std::runtime_error("could not start " + executable(process.executable));
        }
        rootPids_.push_back(pid);
    }
    try {
        awaitReady(plan);
    } catch (...) {
        stop();
        throw;
    }
}

// Each process has the full patience, so that a large tree on a busy machine is not cut short.
void ProcessTree::awaitReady(const std::vector<PlannedProcess>& plan) {
    for (const auto& process : plan) {
        auto ready = folder_.path() / "ready" / std::to_string(process.id);
        pids_[process.id] = std::stoi(awaitFile(ready, [](const std::string&) { return true; }));
    }
}

void ProcessTree::signal(int id, int number) {
    int expected = ++signalsSent_[id];
    ::kill(pid(id), number);
    auto handled = folder_.path() / "ready" / (std::to_string(id) + ".handled");
    awaitFile(handled, [&](const std::string& text) { return text == std::to_string(expected); });
}

ProcessTree::~ProcessTree() {
    stop();
}

void ProcessTree::stop() {
    for (int pid : rootPids_)
        ::kill(pid, SIGTERM);
    for (int pid : rootPids_)
        ::waitpid(pid, nullptr, 0);
    rootPids_.clear();
}

std::string ProcessTree::executable(const std::string& relative) const {
    return (folder_.path() / relative).string();
}

}  // namespace vigilmoth::testing
