// Show when Claude Code's remote control counts as remote access, that real settings files
// give their remote-control keys, that an SSH login's terminal is recognised, and that session
// names are cleaned for display.
#include "evidence/RemoteAccessDetector.h"

#include <gtest/gtest.h>

#include "evidence/EvidenceSample.h"
#include "support/TestSupport.h"

namespace vigilmoth {
namespace {

using RemoteAccessDetector::ClaudeSession;
using RemoteAccessDetector::ClaudeSettings;

TEST(RemoteAccessDetectorTest, RemoteControlOfClaudeCode) {
    struct Case {
        std::vector<std::string> arguments;
        bool terminal;
        ClaudeSettings settings;
        bool remote;
    };
    const ClaudeSettings none, atStartup{true, false}, disabled{true, true};
    const std::vector<Case> cases{
        {{"--rc"}, true, none, true},
        {{"--remote-control"}, true, none, true},
        {{"-p", "--rc"}, true, none, false},
        {{"--rc", "--input-format=stream-json"}, true, none, false},
        {{"--rc"}, false, none, false},
        {{"remote-control"}, false, none, true},
        {{}, true, atStartup, true},
        {{"mcp", "serve"}, true, atStartup, false},
        {{"--print", "hi"}, true, atStartup, false},
        {{"remote-control"}, true, disabled, false},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(::testing::PrintToString(c.arguments));
        EXPECT_EQ(
            RemoteAccessDetector::claudeRemoteControl({{c.arguments, c.terminal}}, c.settings),
            c.remote);
    }
    EXPECT_FALSE(RemoteAccessDetector::claudeRemoteControl({}, atStartup));
}

TEST(RemoteAccessDetectorTest, RealSettingsFilesGiveTheirKeys) {
    int read = 0;
    for (const auto& entry :
         std::filesystem::directory_iterator(testing::fixture("settings/claude"))) {
        std::string text = testing::readFile(entry.path());
        auto settings = ClaudeSettings::fromJSON(text);
        SCOPED_TRACE(entry.path().filename().string());
        EXPECT_EQ(settings.has_value(), nlohmann::json::accept(text));
        read += settings.has_value();
        bool atStartup = entry.path().filename().string().starts_with("43-");
        EXPECT_EQ(settings && settings->atStartup, atStartup);
    }
    EXPECT_EQ(read, 46);
    // Claude Code also keeps the setting in the user's ~/.claude.json, among much else.
    auto userState = ClaudeSettings::fromJSON(
        R"({"projects":{"/a":{"remoteControlAtStartup":false}},"remoteControlAtStartup":true})");
    EXPECT_EQ(userState, (ClaudeSettings{true, false}));
    EXPECT_EQ(ClaudeSettings::merged(ClaudeSettings{false, false}, userState), userState);
    EXPECT_EQ(ClaudeSettings::merged(std::nullopt, std::nullopt), ClaudeSettings{});
    EXPECT_FALSE(ClaudeSettings::fromJSON("[true]"));
}

TEST(RemoteAccessDetectorTest, ATerminalUnderSshdIsARemoteLogin) {
    auto row = [](int pid, int ppid, int tty, std::string path = "/bin/bash") {
        return ProcessInfoRow{.pid = pid, .ppid = ppid, .executablePath = path, .tty = tty};
    };
    auto names = [](std::int32_t pid) -> std::optional<std::string> {
        if (pid == 50) return "sshd";
        if (pid == 60) return "sshd-session";
        if (pid == 70) return "tmux: server";
        return std::nullopt;
    };
    struct Case {
        std::vector<ProcessInfoRow> rows;
        bool remote;
    };
    const std::vector<Case> cases{
        {{row(100, 50, 34816)}, true},
        {{row(100, 60, 34816)}, true},
        {{row(100, 50, ProcessInfoRow::kNoTerminal)}, false},
        {{row(100, 70, 34816)}, false},
        {{row(100, 99, 34816), row(99, 1, -1, "/usr/sbin/sshd")}, true},
        {{row(100, 80, 34816)}, false},
    };
    for (const auto& c : cases)
        EXPECT_EQ(RemoteAccessDetector::sshTerminal(c.rows, names), c.remote);
}

TEST(RemoteAccessDetectorTest, SessionNamesAreCleaned) {
    EXPECT_EQ(SessionHint::cleaned("fix   the\tbuild\n"), "fix the build");
    EXPECT_EQ(SessionHint::cleaned("a\xc2\xa0\xe2\x80\x83"
                                   "b\xe3\x80\x80"),
              "a b");
    EXPECT_FALSE(SessionHint::cleaned("  \n "));
    EXPECT_FALSE(SessionHint::cleaned(std::nullopt));
}

}  // namespace
}  // namespace vigilmoth
