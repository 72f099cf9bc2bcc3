// Show that a process is matched to the right agent and role: desktop definitions first, the
// bundle guard, every matcher and argument pattern, the unless lists, exclusions in order, and
// the user's own agent names.
#include <gtest/gtest.h>

#include "catalog/AgentCatalog.h"

namespace vigilmoth {
namespace {

using Words = std::vector<std::string>;

struct Case {
    std::string executable;
    Words arguments;
    std::string id;  // empty: no match
    AgentRole role = AgentRole::session;
};

constexpr auto session = AgentRole::session;
constexpr auto engine = AgentRole::engine;
constexpr auto helper = AgentRole::helper;
constexpr auto maybeSession = AgentRole::helperMaybeSession;

const char* const kClaudeNpm = "/n/@anthropic-ai/claude-code/bin/claude.exe";
const char* const kCodexApp =
    "/Applications/Codex.app/Contents/Resources/codex-cli/CodexCLI.app/Contents/MacOS/codex";

void expectMatches(const std::vector<Case>& cases, const Words& userNames = {}) {
    for (const auto& testCase : cases) {
        std::string trace = testCase.executable;
        for (const auto& word : testCase.arguments)
            trace += " [" + word + "]";
        SCOPED_TRACE(trace);
        ProcessInfoRow row;
        row.executablePath = testCase.executable;
        row.arguments = testCase.arguments;
        auto match = AgentCatalog::standard().match(row, userNames);
        if (testCase.id.empty()) {
            EXPECT_FALSE(match.has_value()) << "matched " << match->definition.id;
            continue;
        }
        ASSERT_TRUE(match.has_value());
        EXPECT_EQ(match->definition.id, testCase.id);
        EXPECT_EQ(match->role, testCase.role);
    }
}

TEST(AgentMatchingTest, CommandLineAgentsThroughTheirNames) {
    expectMatches({
        {"/usr/local/bin/claude", {"claude"}, "claude", session},
        {"/usr/bin/node", {"npx", "-y", "gemini-cli"}, "gemini", session},
        {"/usr/bin/node", {"npx", "-y", "@google/gemini-cli@latest"}, "gemini", session},
        {"/usr/bin/uv", {"uv", "tool", "run", "aider"}, "aider", session},
        {"/usr/bin/uvx", {"uvx", "aider"}, "aider", session},
        {"/usr/bin/pnpm", {"pnpm", "-w", "dlx", "trae-cn"}, "trae", session},
        {"/usr/bin/node", {"node", "/opt/x/node_modules/.bin/gemini"}, "gemini", session},
        // Scripts in node_modules by file and package; npm's title; near misses.
        {"/bin/node", {"node", "/o/node_modules/@qwen-code/qwen-code/cli.js"}, "qwen-code"},
        {"/bin/node", {"node", "/o/node_modules/@openai/codex/bin/codex.js"}, "codex"},
        {"/bin/node", {"node", "/o/node_modules/pnpm/bin/pnpm.cjs", "dlx", "qwen"}, "qwen-code"},
        {"/bin/node", {"npm exec @openai/codex", "", ""}, "codex"},
        {"/bin/node", {"npm view @scope/codex", "", ""}, ""},
        {"/bin/node", {"node", "cli.js"}, ""},
        {"/bin/node", {"npx", "", ""}, ""},
        {"/opt/My App/codex", {"/opt/My App/codex"}, "codex"},
        // Matching is on decoded names, whatever the case of argument 0.
        {"/opt/Droid", {"Droid"}, "droid", session},
        {"/usr/bin/sleep", {"sleep", "100"}, ""},
        {"", {}, ""},
    });
}

TEST(AgentMatchingTest, UnlessListsTellOtherToolsOfTheSameName) {
    expectMatches({
        {"/usr/bin/goose", {"goose", "up"}, ""},
        {"/usr/bin/goose", {"goose", "-dir", "x"}, ""},
        {"/usr/bin/goose", {"goose", "postgres", "dsn", "status"}, ""},
        {"/usr/bin/goose", {"goose", "session"}, "goose", session},
        {"/usr/bin/goose", {"goose"}, "goose", session},
        {"/usr/bin/kilo", {"kilo", "notes.md"}, ""},
        {"/usr/bin/kilo", {"kilo", "src/main.cpp"}, ""},
        {"/usr/bin/kilo", {"kilo"}, "kilo", session},
        {"/usr/bin/kilocode", {"kilocode", "notes.md"}, ""},
        // Not one text file: two words, an option, a hidden file, an unknown extension.
        {"/usr/bin/kilo", {"kilo", "a.md", "b.md"}, "kilo", session},
        {"/usr/bin/kilo", {"kilo", "-x.md"}, "kilo", session},
        {"/usr/bin/kilo", {"kilo", ".md"}, "kilo", session},
        {"/usr/bin/kilo", {"kilo", "archive.zip"}, "kilo", session},
        {"/usr/bin/kilo", {"kilo", "NOTES.MD"}, "kilo", session},
        {"/usr/bin/copilot", {"copilot", "deploy"}, ""},
        {"/usr/bin/copilot", {"copilot", "--resume"}, "copilot", session},
    });
}

TEST(AgentMatchingTest, ExclusionsGiveHelperAndEngineRolesInOrder) {
    expectMatches({
        {"/usr/local/bin/claude", {"claude", "daemon", "run"}, "claude", helper},
        {"/usr/local/bin/claude", {"claude", "daemon"}, "claude", session},
        {"/usr/local/bin/claude", {"claude", "bg-pty-host", "x"}, "claude", helper},
        {"/usr/local/bin/claude", {"claude", "--bg-pty-host"}, "claude", helper},
        {"/usr/local/bin/claude", {"claude", "bg-spare"}, "claude", maybeSession},
        {"/usr/local/bin/claude", {"claude", "--bg-spare"}, "claude", maybeSession},
        // Leading words only: the same word later is an ordinary argument.
        {"/usr/local/bin/claude", {"claude", "-p", "--bg-spare"}, "claude", session},
        {"/usr/bin/codex", {"codex", "app-server", "--managed-daemon"}, "codex", engine},
        {"/usr/bin/codex", {"codex", "--managed-daemon", "x", "app-server"}, "codex", engine},
        {"/usr/bin/codex", {"codex", "app-server", "--listen", "unix://"}, "codex", helper},
        {"/usr/bin/codex", {"codex", "exec-server"}, "codex", helper},
        {"/usr/bin/codex", {"codex", "exec", "hi"}, "codex", session},
        {"/bin/node", {"cline", "--cline-hub-daemon"}, "cline", helper},
        // Claude Code from npm starting itself, and as its bundled ripgrep.
        {kClaudeNpm, {kClaudeNpm, "daemon", "run"}, "claude", helper},
        {kClaudeNpm, {kClaudeNpm, "--bg-pty-host"}, "claude", helper},
        {kClaudeNpm, {kClaudeNpm, "--bg-spare"}, "claude", maybeSession},
        {kClaudeNpm, {kClaudeNpm, "--session-id", "0b8f4c6e", "fix it"}, "claude", session},
        {kClaudeNpm, {"rg", "--files"}, "claude", helper},
        {"/usr/bin/rg", {"rg", "--files"}, ""},
        // codex-code-mode-host is a helper only when it is also known as codex.
        {"/opt/codex/codex-code-mode-host", {"codex"}, "codex", helper},
        {"/opt/codex/codex-code-mode-host", {"codex-code-mode-host"}, ""},
    });
}

TEST(AgentMatchingTest, ExecutableMatcherNeedsThePathAndAFittingTitle) {
    const std::string versioned = "/home/u/.local/share/claude/versions/2.1.3";
    expectMatches({
        {versioned, {"claude"}, "claude", session},
        {versioned, {"claude-helper"}, "claude", session},
        {versioned, {"/home/u/.local/share/claude/versions/2.1.3", "-c"}, "claude", session},
        {versioned, {}, "claude", session},
        {versioned, {"rg", "--files"}, ""},
        {"/home/u/claude/other/2.1.3", {"node"}, ""},
    });
}

TEST(AgentMatchingTest, DesktopAgentsComeFirstAndGuardTheirBundles) {
    expectMatches({
        {kCodexApp, {"codex", "app-server"}, "codex-desktop", engine},
        {kCodexApp, {"codex", "exec-server"}, ""},
        {kCodexApp, {"codex", "app-server", "exec-server"}, "codex-desktop", helper},
        {"/Applications/Codex.app/Contents/Resources/codex-cli/bin/codex-code-mode-host",
         {"codex-code-mode-host"},
         ""},
        {"/Applications/Cursor.app/Contents/MacOS/Cursor", {"Cursor"}, "cursor-desktop", engine},
        {"/Users/u/Apps/Cursor.app/Contents/MacOS/Cursor",
         {"/Users/u/Apps/Cursor.app/Contents/MacOS/Cursor"},
         "cursor-desktop",
         engine},
        // The bundle must be named Cursor.app exactly.
        {"/Applications/NotCursor.app/Contents/MacOS/Cursor", {"Cursor"}, ""},
        {"/Applications/Cursor.app/Contents/MacOS/Cursor",
         {"Cursor", "/Applications/Cursor.app/Contents/Resources/app/out/cli.js"},
         "cursor-desktop",
         helper},
        {"/Applications/Antigravity.app/Contents/Resources/bin/language_server",
         {"ls"},
         "antigravity-desktop",
         engine},
        // A command-line name inside a bundle is the bundle's, unless an interpreter runs it.
        {"/Applications/Some.app/Contents/MacOS/claude", {"claude"}, ""},
        {"/Applications/Some.app/Contents/Resources/node",
         {"node", "/x/node_modules/.bin/claude"},
         "claude",
         session},
        {"/Applications/Some.app/Contents/Resources/python3",
         {"python3", "-m", "aider"},
         "aider",
         session},
    });
}

TEST(AgentMatchingTest, UserNamedAgentsComeLastAndKeepTheirSpelling) {
    const Words names = {"MyBot", "claude"};
    expectMatches(
        {{"/usr/local/bin/mybot", {"mybot", "--go"}, "user:MyBot", session},
         {"/usr/bin/node", {"npx", "MYBOT"}, "user:MyBot", session},
         {"/usr/local/bin/claude", {"claude"}, "claude", session},
         // The bundle guard keeps catalog agents out, not the user's own names.
         {"/Applications/Some.app/Contents/MacOS/claude", {"claude"}, "user:claude", session},
         {"/usr/bin/sleep", {"sleep"}, ""}},
        names);
    ProcessInfoRow row;
    row.executablePath = "/usr/local/bin/mybot";
    row.arguments = {"mybot"};
    auto match = AgentCatalog::standard().match(row, names);
    ASSERT_TRUE(match);
    EXPECT_EQ(match->definition.displayName, "MyBot");
    EXPECT_EQ(match->definition.level, AgentDefinition::Level::generic);
    EXPECT_EQ(match->definition.kind, AgentDefinition::Kind::cli);
    EXPECT_FALSE(match->definition.verified);
    EXPECT_EQ(match->definition.processNames(), Words{"mybot"});
}

TEST(AgentMatchingTest, EveryCommandLineDefinitionMatchesItsOwnNames) {
    const auto& catalog = AgentCatalog::standard();
    for (const auto& definition : catalog.definitions) {
        for (const auto& name : definition.processNames()) {
            SCOPED_TRACE(name);
            ProcessInfoRow row;
            row.executablePath = "/usr/local/bin/" + name;
            row.arguments = {name};
            auto match = catalog.match(row);
            ASSERT_TRUE(match);
            EXPECT_EQ(match->definition.id, definition.id);
        }
    }
}

}  // namespace
}  // namespace vigilmoth
