// An agent's host is the terminal emulator or editor whose terminal it runs on: known by name,
// or the owner of the agent's terminal, through a tmux client, and for real processes.
#include <gtest/gtest.h>

#include "platform/linux/SystemAgentHosts.h"
#include "platform/linux/SystemProcessCensus.h"
#include "support/ProcessTree.h"

namespace vigilmoth {
namespace {

class RowsCensus final : public ProcessCensusing {
public:
    std::vector<ProcessInfoRow> rows;
    int snapshots = 0;
    std::optional<std::vector<ProcessInfoRow>> snapshot() override {
        ++snapshots;
        return rows;
    }
    std::optional<ProcessInfoRow> row(int32_t pid) override {
        for (const auto& row : rows) {
            if (row.pid == pid) return row;
        }
        return std::nullopt;
    }
};

ProcessInfoRow process(int32_t pid, int32_t ppid, std::string executable, int32_t tty = -1) {
    return {.pid = pid, .ppid = ppid, .executablePath = std::move(executable), .tty = tty};
}

TEST(SystemAgentHostsTest, FindsTheApplicationThatOwnsTheAgentsTerminal) {
    struct Case {
        const char* name;
        std::vector<ProcessInfoRow> rows;  // the agent is pid 100
        std::optional<AgentHost> host;
        AgentDefinition::Kind kind = AgentDefinition::Kind::cli;
    };
    const std::vector<Case> cases = {
        {"a known terminal",
         {process(10, 2, "/usr/libexec/gnome-terminal-server"), process(11, 10, "/bin/bash", 5),
          process(100, 11, "/opt/claude/claude.exe", 5)},
         AgentHost{.appPid = 10, .name = "GNOME Terminal", .tty = 5}},
        {"an editor's terminal, under its pty host",
         {process(10, 2, "/usr/share/code/code"), process(12, 10, "/usr/share/code/code"),
          process(11, 12, "/bin/bash", 5), process(100, 11, "/usr/bin/node", 5)},
         AgentHost{.appPid = 10, .name = "Visual Studio Code", .tty = 5}},
        {"a terminal not known by name owns the agent's terminal",
         {process(10, 2, "/opt/myterm/myterm", 3), process(11, 10, "/bin/zsh", 5),
          process(100, 11, "/usr/bin/codex", 5)},
         AgentHost{.appPid = 10, .name = "myterm", .tty = 5}},
        {"a remote login is no application",
         {process(10, 2, "/usr/sbin/sshd"), process(11, 10, "/bin/bash", 5),
          process(100, 11, "/usr/bin/codex", 5)},
         std::nullopt},
        {"inside tmux, through the client's terminal",
         {process(20, 2, "/usr/bin/tmux"), process(21, 20, "/bin/bash", 7),
          process(100, 21, "/usr/bin/node", 7), process(30, 2, "/usr/bin/kitty"),
          process(31, 30, "/bin/bash", 3), process(32, 31, "/usr/bin/tmux", 3)},
         AgentHost{.appPid = 30, .name = "kitty", .tty = 7, .clientTTY = 3}},
        {"inside tmux with no client attached",
         {process(20, 2, "/usr/bin/tmux"), process(21, 20, "/bin/bash", 7),
          process(100, 21, "/usr/bin/node", 7)},
         std::nullopt},
        {"the chain ends at a parent id of 1",
         {process(10, 1, "/usr/bin/node", 4), process(100, 10, "/usr/bin/node", 4),
          process(1, 0, "/usr/bin/kitty")},
         std::nullopt},
        {"a desktop agent's host carries no terminal",
         {process(10, 2, "/usr/bin/alacritty"), process(100, 10, "/opt/agent/agent", 5)},
         AgentHost{.appPid = 10, .name = "Alacritty"},
         AgentDefinition::Kind::desktop},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        RowsCensus census;
        census.rows = c.rows;
        census.rows.push_back(process(2, 1, "/usr/lib/systemd/systemd"));
        SystemAgentHosts hosts(census);
        auto found = hosts.hosts({{100, c.kind}, {100, c.kind}});
        EXPECT_EQ(found, std::vector({c.host, c.host}));
        EXPECT_EQ(hosts.owners({100}),
                  std::vector{c.host ? std::optional(c.host->appPid) : std::nullopt});
        // The owners of the sessions just looked up come from the same look at /proc.
        EXPECT_EQ(census.snapshots, c.kind == AgentDefinition::Kind::cli ? 1 : 2);
    }
}

TEST(SystemAgentHostsTest, FindsTheHostsOfRealProcesses) {
    // Claude Code as captured (its shell, its native binary) under a terminal.
    testing::ProcessTree tree({
        {1, -1, "bin/gnome-terminal-server", {"/usr/libexec/gnome-terminal-server"}},
        {2, 1, "bin/bash", {"bash", "--noprofile", "--norc"}},
        {3, 2, "bin/claude.exe", {"claude"}},
    });
    SystemProcessCensus census;
    SystemAgentHosts hosts(census);
    auto found = hosts.hosts({{tree.pid(3), AgentDefinition::Kind::cli}});
    ASSERT_TRUE(found.size() == 1 && found[0]);
    EXPECT_EQ(std::pair(found[0]->appPid, found[0]->name),
              std::pair(tree.pid(1), std::string("GNOME Terminal")));
}

}  // namespace
}  // namespace vigilmoth
