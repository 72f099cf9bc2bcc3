// Show that a hook run finds the agent process above it past any shells, and writes its state
// file only when there is something to say and someone to say it for.
#include "hooks/runtime/HookRunner.h"

#include <gtest/gtest.h>

#include <iterator>
#include <map>
#include <sstream>

#include "base/Golden.h"

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

std::vector<std::string> words(const std::string& text) {
    std::istringstream stream(text);
    return {std::istream_iterator<std::string>(stream), std::istream_iterator<std::string>()};
}

FakeCensus census() {
    FakeCensus census;
    for (const auto& row : testing::tableRows("hooks/agent-walks.txt")) {
        auto head = words(row.cells.at(0));
        census.add(std::stoi(head.at(0)), std::stoi(head.at(1)), head.at(2),
                   words(row.cells.at(1)));
    }
    return census;
}

TEST(HookRunnerTest, TheWalkFindsTheAgentAboveItsShells) {
    testing::expectEachLineReads("hooks/agent-walk-results.txt", [](const std::string& line) {
        auto parentAndAgent = words(line);
        FakeCensus processes = census();
        auto found = HookRunner::agentProcess(std::stoi(parentAndAgent.at(0)), parentAndAgent.at(1),
                                              processes, AgentCatalog::standard());
        EXPECT_LE(processes.lookups, 32) << line;
        EXPECT_TRUE(!found || found->startTime == 1000.0 + found->pid);
        return found ? std::to_string(found->pid) : "-";
    });
}

TEST(HookRunnerTest, ShellsAreKnownByProgramOrArgumentZero) {
    testing::expectEachLineReads("hooks/shells.txt", [](const std::string& line) {
        auto parts = words(line);
        return HookRunner::isShell(
                   {.executablePath = parts.at(0), .arguments = {parts.begin() + 1, parts.end()}})
                   ? "shell"
                   : "-";
    });
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
