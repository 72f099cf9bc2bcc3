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
        rows_[pid] = {.pid = pid,
                      .ppid = ppid,
                      .startTime = 1000.0 + pid,
                      .executablePath = std::move(executable),
                      .arguments = std::move(arguments)};
    }
    std::optional<std::vector<ProcessInfoRow>> snapshot() override { return std::nullopt; }
    std::optional<ProcessInfoRow> row(int32_t pid) override {
        ++lookups;
        return rows_.contains(pid) ? std::optional(rows_.at(pid)) : std::nullopt;
    }
    int lookups = 0;

private:
    std::map<int32_t, ProcessInfoRow> rows_;
};

class FakeStore final : public HookStateStoring {
public:
    bool lock() override { return lockable; }
    void unlock() override { ++unlocks; }
    std::optional<std::string> read(const std::string& name) override {
        return files.contains(name) ? std::optional(files.at(name)) : std::nullopt;
    }
    bool replace(const std::string& name, const std::string& text) override {
        files[name] = text;
        return true;
    }
    bool lockable = true;
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
    const std::tuple<std::string, int32_t, std::string, std::optional<int32_t>> cases[] = {
        {"the agent itself", 100, "claude", 100},
        {"through one shell", 101, "claude", 100},
        {"through two shells", 102, "claude", 100},
        {"login shells around the agent; the nearest wins", 105, "claude", 104},
        {"codex's managed daemon runs its hooks", 201, "codex", 200},
        {"pi under node", 300, "pi", 300},
        {"a tool process of the agent is walked past", 400, "claude", 100},
        {"another agent is not this one", 201, "claude", std::nullopt},
        {"no agent up to init", 103, "claude", std::nullopt},
        {"a gone parent", 999, "claude", std::nullopt},
        {"no parent", 0, "claude", std::nullopt},
        {"a loop of parents ends", 500, "claude", std::nullopt}};
    for (const auto& [name, parent, agent, expected] : cases) {
        SCOPED_TRACE(name);
        FakeCensus processes = census();
        auto found = HookRunner::agentProcess(parent, agent, processes, AgentCatalog::standard());
        ASSERT_EQ(found.has_value(), expected.has_value());
        if (found) {
            EXPECT_EQ(std::pair(found->pid, found->startTime),
                      std::pair(*expected, 1000.0 + *expected));
        }
        EXPECT_LE(processes.lookups, 32);
    }
}

TEST(HookRunnerTest, ShellsAreKnownByProgramOrArgumentZero) {
    const std::tuple<std::string, std::vector<std::string>, bool> cases[] = {
        {"/usr/bin/dash", {"/bin/sh", "-c", "x"}, true},
        {"/bin/bash", {}, true},
        {"/usr/bin/fish", {"fish"}, true},
        {"/bin/busybox", {"-ash"}, true},
        {"/usr/bin/zsh", {"-zsh"}, true},
        {kClaudeBinary, {"claude"}, false},
        {"/usr/bin/node", {"node", "/usr/bin/bash-language-server"}, false},
        {"/usr/bin/shellcheck", {"shellcheck"}, false}};
    for (const auto& [executable, arguments, shell] : cases) {
        SCOPED_TRACE(executable);
        EXPECT_EQ(HookRunner::isShell({.executablePath = executable, .arguments = arguments}),
                  shell);
    }
}

TEST(HookRunnerTest, ARunWritesOnlyWhatAnEventSaysForAFoundAgent) {
    // name, arguments, parent, lockable, written, walked
    const std::tuple<std::string, std::vector<std::string>, int32_t, bool, bool, bool> cases[] = {
        {"a stop under claude", {"claude", "Stop", "v=1"}, 102, true, true, true},
        {"an event that means nothing", {"claude", "SessionStart", "v=1"}, 102, true, false, false},
        {"an unknown agent", {"aider", "Stop", "v=1"}, 102, true, false, false},
        {"no agent above", {"claude", "Stop", "v=1"}, 201, true, false, true},
        {"a folder that cannot be locked", {"claude", "Stop", "v=1"}, 102, false, false, true}};
    for (const auto& [name, arguments, parent, lockable, written, walked] : cases) {
        SCOPED_TRACE(name);
        FakeCensus processes = census();
        FakeStore store;
        store.lockable = lockable;
        HookRunner::run(arguments, HookInput{"s1", {}, {}, {}, {}}, parent, 5000, processes, store);
        EXPECT_EQ(store.files.size(), written ? 1u : 0u);
        EXPECT_EQ(processes.lookups > 0, walked);
        EXPECT_EQ(store.unlocks, written ? 1 : 0);
        if (!written) continue;
        auto file = HookStateFile::decode(store.files.at("claude-100.json"));
        ASSERT_TRUE(file);
        EXPECT_EQ(file->start, 1100);
        EXPECT_EQ(file->sessions.at(HookStateFile::sessionKey("s1")).at, 5000);
    }
}

}  // namespace
}  // namespace vigilmoth
