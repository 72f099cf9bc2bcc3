// Show that matched processes group into one instance per agent session, with the processes
// below each root, and that parent cycles cannot hang the grouping.
#include <gtest/gtest.h>

#include <sstream>

#include "catalog/AgentCatalog.h"
#include "catalog/AgentInstances.h"

namespace vigilmoth {
namespace {

// Processes written "pid ppid [agent role] [: argument 0|argument 1|...]"; each instance as
// "agent role root: pids in order".
std::vector<std::string> grouped(const std::vector<std::string>& processes) {
    std::vector<ProcessInfoRow> rows;
    std::unordered_map<int32_t, AgentMatch> matches;
    for (const auto& process : processes) {
        auto colon = process.find(" : ");
        std::istringstream head(process.substr(0, colon));
        ProcessInfoRow row;
        std::string id, role;
        head >> row.pid >> row.ppid >> id >> role;
        row.startTime = 1000.0 + row.pid;
        for (auto from = colon; from != std::string::npos;) {
            from += from == colon ? 3 : 1;
            auto bar = process.find('|', from);
            row.arguments.push_back(process.substr(from, bar - from));
            from = bar;
        }
        rows.push_back(row);
        if (!id.empty())
            matches[row.pid] = {AgentDefinition{.id = id}, *namedCase<AgentRole>(role)};
    }
    std::vector<std::string> result;
    for (const auto& instance : AgentInstances::of(rows, matches)) {
        std::string text = instance.definition.id + " " + std::string(roleWord(instance.role)) +
                           " " + std::to_string(instance.rootPID) + ":";
        for (const auto& row : instance.rows)
            text += " " + std::to_string(row.pid);
        EXPECT_EQ(instance.rootStartTime, 1000 + instance.rootPID);
        result.push_back(text);
    }
    return result;
}

using Texts = std::vector<std::string>;

TEST(AgentInstancesTest, GroupsProcessesUnderTheirRoots) {
    const struct {
        const char* name;
        Texts processes, instances;
    } cases[] = {
        {"a session and its plain children",
         {"1 0", "10 1 claude session", "11 10", "12 11"},
         {"claude session 10: 10 11 12"}},
        {"a session under a session of the same agent belongs to it",
         {"10 1 codex session", "11 10 codex session", "12 11 codex helper"},
         {"codex session 10: 10 11 12"}},
        {"a session under another agent is its own root",
         {"10 1 codex session", "11 10 claude session", "12 10"},
         {"codex session 10: 10 12", "claude session 11: 11"}},
        {"a session under a helper or engine of its agent is a root",
         {"10 1 claude helper", "11 10 claude session", "20 1 codex engine", "21 20 codex session"},
         {"claude session 11: 11", "codex engine 20: 20", "codex session 21: 21"}},
        {"a session under a maybe-session of its agent belongs to it",
         {"10 1 claude maybeSession", "11 10 claude session"},
         {"claude maybeSession 10: 10 11"}},
        {"a maybe-session is always a root",
         {"10 1 claude session", "11 10 claude maybeSession"},
         {"claude session 10: 10", "claude maybeSession 11: 11"}},
        {"a helper alone is never an instance", {"10 1 codex helper"}, {}},
        {"an engine below an engine of its agent, however deep, belongs to it",
         {"10 1 codex engine", "11 10", "12 11 codex engine"},
         {"codex engine 10: 10 11 12"}},
        {"an engine below another agent's engine is a root",
         {"10 1 codex-desktop engine", "11 10 codex engine"},
         {"codex-desktop engine 10: 10", "codex engine 11: 11"}},
        {"a process that is its own parent is a root and ends the walk",
         {"10 10 claude session", "11 10"},
         {"claude session 10: 10 11"}},
        {"a parent cycle of sessions has no root and does not hang",
         {"10 11 claude session", "11 10 claude session"},
         {}},
        {"a parent cycle of engines does not hang",
         {"10 11 codex engine", "11 10 codex engine"},
         {}},
        {"an engine cycle with a foreign process ends at the revisited id",
         {"10 12 codex engine", "11 10", "12 11"},
         {"codex engine 10: 10 11 12"}},
        {"roots come in row order",
         {"30 1 pi session", "20 1 amp session"},
         {"pi session 30: 30", "amp session 20: 20"}},
        {"nothing matched", {"10 1"}, {}},
        {"a launcher, the shell it inserts, a node wrapper and the binary are one instance",
         {"10 1 : npm exec @anthropic-ai/claude-code|", "11 10 : sh|-c|claude --resume",
          "12 11 claude session : node|/n/.bin/claude", "13 12 claude session : claude"},
         {"claude session 10: 10 11 12 13"}},
        {"the first agent takes a launcher; other agents, other shells and shells without a "
         "launcher stay out",
         {"10 1 : bunx|x", "11 10 codex session : codex", "12 10 claude session : claude",
          "13 11 : sh|-c|pi", "14 13 pi session : pi", "15 10 : sh|-c|make",
          "16 15 amp session : amp"},
         {"codex session 10: 10 15 11 13", "claude session 12: 12", "pi session 14: 14",
          "amp session 16: 16"}},
    };
    for (const auto& testCase : cases) {
        SCOPED_TRACE(testCase.name);
        EXPECT_EQ(grouped(testCase.processes), testCase.instances);
    }
}

TEST(AgentInstancesTest, InstanceRowsAreTheCensusRows) {
    ProcessInfoRow root{.pid = 5, .ppid = 1, .startTime = 77.25, .arguments = {"claude"}};
    ProcessInfoRow child{.pid = 6, .ppid = 5, .startTime = 77.25, .arguments = {"rg"}};
    AgentDefinition definition = *AgentCatalog::standard().definition("claude");
    auto instances =
        AgentInstances::of({root, child}, {{5, AgentMatch{definition, AgentRole::session}}});
    ASSERT_EQ(instances.size(), 1u);
    EXPECT_EQ(instances[0].definition, definition);
    EXPECT_EQ(instances[0].rootPID, 5);
    EXPECT_EQ(instances[0].rootStartTime, 77.25);
    EXPECT_EQ(instances[0].rows, (std::vector<ProcessInfoRow>{root, child}));
}

}  // namespace
}  // namespace vigilmoth
