#include "support/ProcessTree.h"

#include <signal.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <nlohmann/json.hpp>
#include <set>
#include <stdexcept>
#include <thread>

namespace vigilmoth::testing {
namespace {

int spawnRoot(const std::string& executable, std::vector<std::string> arguments,
              std::vector<std::string> environment) {
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
    int failed =
        posix_spawn(&pid, executable.c_str(), nullptr, &attributes, argv.data(), envp.data());
    posix_spawnattr_destroy(&attributes);
    if (failed != 0) throw std::runtime_error("could not start " + executable);
    return pid;
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
                         {"argv", process.arguments}});
    }
    std::string planPath = folder_ / "plan.json";
    writeFile(planPath, nlohmann::json{{"nodes", nodes}, {"ready", folder_ / "ready"}}.dump());
    for (const auto& process : plan) {
        if (process.parent != -1) continue;
        rootPids_.push_back(spawnRoot(executable(process.executable), process.arguments,
                                      {"VIGILMOTH_FAKE_PLAN=" + planPath,
                                       "VIGILMOTH_FAKE_NODE=" + std::to_string(process.id)}));
    }
    try {
        awaitReady(plan);
    } catch (...) {
        stop();
        throw;
    }
}

void ProcessTree::awaitReady(const std::vector<PlannedProcess>& plan) {
    auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(20);
    for (const auto& process : plan) {
        auto ready = folder_.path() / "ready" / std::to_string(process.id);
        while (!std::filesystem::exists(ready)) {
            if (std::chrono::steady_clock::now() > deadline)
                throw std::runtime_error("a planned process did not start");
            std::this_thread::sleep_for(std::chrono::milliseconds(5));
        }
        pids_[process.id] = std::stoi(readFile(ready));
    }
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
