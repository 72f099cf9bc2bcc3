// Real processes shaped like agents are recognised by the real `vigilmoth --lab-agents`: one line
// per agent, parents and children grouped, a namesake left out.
#include "lab/LabAgents.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <sstream>

#include "decision/DetectionSettingsStore.h"
#include "platform/linux/FileKeyValueStore.h"
#include "support/ProcessTree.h"

namespace vigilmoth {
namespace {

using testing::PlannedProcess;
using testing::ProcessTree;

// Agents as a user starts them, with a few children each.
const std::vector<PlannedProcess> kAgents = {
    {1, -1, "bin/claude", {"claude"}},
    {2, 1, "bin/rg", {"rg", "--files"}},
    {3, -1, "node_modules/node", {"node", "/work/node_modules/.bin/gemini"}},
    {4,
     3,
     "node_modules/node",
     {"/usr/bin/node", "--max-old-space-size=100", "/work/node_modules/.bin/gemini"}},
    {5, -1, "launchers/node", {"npx", "-y", "@openai/codex@latest"}},
    {6, -1, "launchers/uv", {"uv", "tool", "run", "aider"}},
    {7, -1, "codex/codex", {"codex"}},
    {8, 7, "codex/codex", {"codex", "app-server", "--managed-daemon"}},
    {9, 8, "bin/sh", {"sh", "-c", "git status"}},
    {10, -1, "migrations/goose", {"goose", "up"}},
    {11, -1, "bin/claude", {"claude", "--bg-spare"}},
};

// The lines expected for the planned agents, in census order: /proc lists processes by pid.
std::vector<std::string> expectedLines(const ProcessTree& tree) {
    std::vector<std::pair<int, std::string>> lines;
    auto add = [&](const char* text, int id, int count) {
        lines.emplace_back(tree.pid(id),
                           std::string(text) + ", pid " + std::to_string(tree.pid(id)) + ", " +
                               std::to_string(count) + (count == 1 ? " process" : " processes"));
    };
    add("Claude Code [claude] session", 1, 2);
    add("Gemini CLI [gemini] session", 3, 2);
    add("Codex [codex] session", 5, 1);
    add("Aider [aider] session", 6, 1);
    add("Codex [codex] session", 7, 3);
    add("Claude Code [claude] maybeSession", 11, 1);
    std::sort(lines.begin(), lines.end());
    std::vector<std::string> result;
    for (auto& [pid, text] : lines)
        result.push_back(std::move(text));
    return result;
}

// Only lines about the planned processes: other agents may run on this machine.
std::vector<std::string> linesAbout(const std::string& output, const ProcessTree& tree) {
    std::vector<std::string> result;
    std::istringstream lines(output);
    for (std::string text; std::getline(lines, text);) {
        for (int id = 1; id <= 11; ++id) {
            if (text.find(", pid " + std::to_string(tree.pid(id)) + ",") != std::string::npos)
                result.push_back(text);
        }
    }
    return result;
}

// goose up runs database migrations, and Claude Code's ripgrep is one of its processes: neither
// has a line of its own.
TEST(LabAgentsLiveTest, TheRealExecutableFindsAgentsStartedForReal) {
    ProcessTree tree(kAgents);
    auto result = testing::runVigilmoth({"--lab-agents"});
    EXPECT_EQ(std::pair(result.status, result.err), std::pair(0, std::string()));
    EXPECT_EQ(linesAbout(result.out, tree), expectedLines(tree));
}

TEST(LabAgentsLiveTest, FindsTheAgentsTheUserNamedInTheSettings) {
    testing::TemporaryFolder config;
    FileKeyValueStore store(config / "com.vigilmoth.app/defaults.json");
    DetectionSettings settings;
    settings.userAgentNames = {"MyBot"};
    DetectionSettingsStore::save(settings, store);
    ProcessTree tree({{1, -1, "bin/mybot", {"mybot", "--serve"}}});

    testing::ProcessOptions options;
    options.environment["XDG_CONFIG_HOME"] = config.path().string();
    auto named = testing::runVigilmoth({"--lab-agents"}, options);
    EXPECT_EQ(named.status, 0);
    EXPECT_NE(named.out.find("MyBot [user:MyBot] session, pid " + std::to_string(tree.pid(1)) +
                             ", 1 process\n"),
              std::string::npos)
        << named.out;

    options.environment["XDG_CONFIG_HOME"] = (config / "nothing-here");
    auto unnamed = testing::runVigilmoth({"--lab-agents"}, options);
    EXPECT_EQ(unnamed.out.find("pid " + std::to_string(tree.pid(1)) + ","), std::string::npos)
        << "without the setting the process is nobody's";
}

}  // namespace
}  // namespace vigilmoth
