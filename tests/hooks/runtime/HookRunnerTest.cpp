// Show that a hook run finds the agent process above it past any shells, and writes its state
// file only when there is something to say and someone to say it for.
#include "hooks/runtime/HookRunner.h"

#include <gtest/gtest.h>

#include <map>

namespace vigilmoth {
namespace {

class FakeCensus final : public ProcessCensusing {
public:
    void add(int32_t pid, int32_t ppid, std::string executable,
             std::vector<std::string> arguments) {
        ProcessInfoRow row;
        row.pid = pid;
        row.ppid = ppid;
        row.startTime = 1000 + pid;
        row.executablePath = std::move(executable);
        row.arguments = std::move(arguments);
        rows_[pid] = row;
    }
    std::optional<std::vector<ProcessInfoRow>> snapshot() override { return std::nullopt; }
    std::optional<ProcessInfoRow> row(int32_t pid) override {
        ++lookups;
        auto found = rows_.find(pid);
        if (found == rows_.end()) return std::nullopt;
        return found->second;
    }
    int lookups = 0;

private:
    std::map<int32_t, ProcessInfoRow> rows_;
};

class FakeStore final : public HookStateStoring {
public:
    bool lock() override {
        ++locks;
        return lockable;
    }
    void unlock() override { ++unlocks; }
    std::optional<std::string> read(const std::string& name) override {
        auto found = files.find(name);
        if (found == files.end()) return std::nullopt;
        return found->second;
    }
    bool replace(const std::string& name, const std::string& text) override {
        files[name] = text;
        return true;
    }
    bool lockable = true;
    int locks = 0;
    int unlocks = 0;
    std::map<std::string, std::string> files;
};

const std::string kClaudeBinary = "/home/u/.local/share/claude/versions/2.1.197";

// pid 1 is init; agents and shells hang below it.
FakeCensus census() {
    FakeCensus census;
    census.add(1, 1, "/sbin/init", {"/sbin/init"});
    census.add(100, 1, kClaudeBinary, {"claude"});
    census.add(101, 100, "/usr/bin/dash", {"/bin/sh", "-c", "hook"});
    census.add(102, 101, "/usr/bin/bash", {"bash", "-c", "hook"});
    census.add(103, 1, "/usr/bin/zsh", {"-zsh"});
    census.add(104, 103, kClaudeBinary, {"claude", "--resume"});
    census.add(105, 104, "/usr/bin/zsh", {"-zsh"});
    census.add(
        200, 1, "/opt/agents/codex/bin/codex",
        {"/opt/agents/codex/bin/codex", "app-server", "--listen", "unix://", "--managed-daemon"});
    census.add(201, 200, "/usr/bin/dash", {"/bin/sh", "-c", "hook"});
    census.add(300, 1, "/usr/bin/node", {"node", "/home/u/.npm-global/bin/pi"});
    census.add(400, 100, "/usr/bin/python3", {"python3", "tool.py"});
    census.add(500, 501, "/usr/bin/dash", {"/bin/sh"});
    census.add(501, 500, "/usr/bin/dash", {"/bin/sh"});
    return census;
}

TEST(HookRunnerTest, TheWalkFindsTheAgentAboveItsShells) {
    struct Case {
        std::string name;
        int32_t parent;
        std::string agent;
        std::optional<int32_t> found;
    };
    const std::vector<Case> cases{
        {"the agent itself", 100, "claude", 100},
        {"through one shell", 101, "claude", 100},
        {"through two shells", 102, "claude", 100},
        {"login shells around the agent", 105, "claude", 104},
        {"the nearest agent wins, not the outer one", 105, "claude", 104},
        {"codex's managed daemon runs its hooks", 201, "codex", 200},
        {"pi under node", 300, "pi", 300},
        {"a tool process of the agent is walked past", 400, "claude", 100},
        {"another agent is not this one", 201, "claude", std::nullopt},
        {"no agent up to init", 103, "claude", std::nullopt},
        {"a gone parent", 999, "claude", std::nullopt},
        {"no parent", 0, "claude", std::nullopt},
        {"a loop of parents ends", 500, "claude", std::nullopt},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        FakeCensus processes = census();
        auto found =
            HookRunner::agentProcess(c.parent, c.agent, processes, AgentCatalog::standard());
        ASSERT_EQ(found.has_value(), c.found.has_value());
        if (found) {
            EXPECT_EQ(found->pid, *c.found);
            EXPECT_EQ(found->startTime, 1000 + *c.found);
        }
        EXPECT_LE(processes.lookups, 32);
    }
}

TEST(HookRunnerTest, ShellsAreKnownByProgramOrArgumentZero) {
    struct Case {
        std::string executable;
        std::vector<std::string> arguments;
        bool shell;
    };
    const std::vector<Case> cases{
        {"/usr/bin/dash", {"/bin/sh", "-c", "x"}, true},
        {"/bin/bash", {}, true},
        {"/usr/bin/fish", {"fish"}, true},
        {"/bin/busybox", {"-ash"}, true},
        {"/usr/bin/zsh", {"-zsh"}, true},
        {kClaudeBinary, {"claude"}, false},
        {"/usr/bin/node", {"node", "/usr/bin/bash-language-server"}, false},
        {"/usr/bin/shellcheck", {"shellcheck"}, false},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.executable);
        ProcessInfoRow row;
        row.executablePath = c.executable;
        row.arguments = c.arguments;
        EXPECT_EQ(HookRunner::isShell(row), c.shell);
    }
}

TEST(HookRunnerTest, ARunWritesOnlyWhatAnEventSaysForAFoundAgent) {
    HookInput input{"s1", std::nullopt, std::nullopt, std::nullopt, std::nullopt};
    struct Case {
        std::string name;
        std::vector<std::string> arguments;
        int32_t parent;
        bool lockable;
        bool written;
        bool walked;
    };
    const std::vector<Case> cases{
        {"a stop under claude", {"claude", "Stop", "v=1"}, 102, true, true, true},
        {"an event that means nothing", {"claude", "SessionStart", "v=1"}, 102, true, false, false},
        {"an unknown agent", {"aider", "Stop", "v=1"}, 102, true, false, false},
        {"no agent above", {"claude", "Stop", "v=1"}, 201, true, false, true},
        {"a folder that cannot be locked", {"claude", "Stop", "v=1"}, 102, false, false, true},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        FakeCensus processes = census();
        FakeStore store;
        store.lockable = c.lockable;
        HookRunner::run(c.arguments, input, c.parent, 5000, processes, store);
        EXPECT_EQ(store.files.size(), c.written ? 1u : 0u);
        EXPECT_EQ(processes.lookups > 0, c.walked);
        EXPECT_EQ(store.unlocks, c.written ? 1 : 0);
        if (c.written) {
            auto file = HookStateFile::decode(store.files.at("claude-100.json"));
            ASSERT_TRUE(file);
            EXPECT_EQ(file->start, 1100);
            EXPECT_EQ(file->sessions.at(HookStateFile::sessionKey("s1")).at, 5000);
        }
    }
}

}  // namespace
}  // namespace vigilmoth
