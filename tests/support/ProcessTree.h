#pragma once

#include <map>
#include <string>
#include <vector>

#include "support/TestSupport.h"

namespace vigilmoth::testing {

// One process of a tree of sleeping stand-ins for agents.
struct PlannedProcess {
    int id = 0;
    int parent = -1;                     // the id of the parent; -1: started by the test itself
    std::string executable;              // a path under the tree's folder, such as "bin/claude"
    std::vector<std::string> arguments;  // the whole argument vector, argument 0 first
    std::string workingDirectory;        // where it runs; the starter's folder when empty
    std::string openFile;                // a file it keeps open, when given
    bool burnsCPU = false;               // spins a thread instead of only sleeping
};

// Starts the planned processes as real, sleeping processes (the fake_agent test program copied
// under each planned executable path) and stops them all when it goes.
class ProcessTree {
public:
    explicit ProcessTree(const std::vector<PlannedProcess>& plan);
    ~ProcessTree();
    ProcessTree(const ProcessTree&) = delete;
    ProcessTree& operator=(const ProcessTree&) = delete;

    int pid(int id) const { return pids_.at(id); }
    // Sends SIGUSR1 (rename to "MainThread") or SIGUSR2 (overwrite the argument vector) to a
    // planned process and returns once it has acted on it.
    void signal(int id, int number);
    // The full path of a planned executable.
    std::string executable(const std::string& relative) const;
    const std::filesystem::path& folder() const { return folder_.path(); }

private:
    void awaitReady(const std::vector<PlannedProcess>& plan);
    void stop();

    TemporaryFolder folder_;
    std::map<int, int> pids_;
    std::vector<int> rootPids_;
    std::map<int, int> signalsSent_;
};

}  // namespace vigilmoth::testing
