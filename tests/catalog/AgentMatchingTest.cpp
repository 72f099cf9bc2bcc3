// Show that a process is matched to the right agent and role: desktop definitions first, the
// bundle guard, every matcher and argument pattern, the unless lists, exclusions in order, and
// the user's own agent names.
#include <gtest/gtest.h>

#include <map>

#include "catalog/AgentCatalog.h"

namespace vigilmoth {
namespace {

using Words = std::vector<std::string>;

// Processes written "executable|argument 0|argument 1|...", listed under the match they must
// give, "agent role", or "" for none.
using Expected = std::map<std::string, Words>;

void expectMatches(const Expected& expected, const Words& userNames = {}) {
    for (const auto& [outcome, processes] : expected) {
        for (const auto& process : processes) {
            SCOPED_TRACE(process);
            Words parts;
            std::size_t from = 0;
            for (auto bar = process.find('|'); bar != std::string::npos;
                 bar = process.find('|', from)) {
                parts.push_back(process.substr(from, bar - from));
                from = bar + 1;
            }
            parts.push_back(process.substr(from));
            auto match = AgentCatalog::standard().match(
                {.executablePath = parts[0], .arguments = Words(parts.begin() + 1, parts.end())},
                userNames);
            EXPECT_EQ(match ? match->definition.id + " " + std::string(roleWord(match->role)) : "",
                      outcome);
        }
    }
}

const std::string kClaudeNpm = "/n/@anthropic-ai/claude-code/bin/claude.exe";
const std::string kCodexApp =
    "/Applications/Codex.app/Contents/Resources/codex-cli/CodexCLI.app/Contents/MacOS/codex";

TEST(AgentMatchingTest, CommandLineAgentsThroughTheirNames) {
    expectMatches({
        {"claude session", {"/usr/local/bin/claude|claude"}},
        {"gemini session",
         {"/usr/bin/node|npx|-y|gemini-cli", "/usr/bin/node|npx|-y|@google/gemini-cli@latest",
          "/usr/bin/node|node|/opt/x/node_modules/.bin/gemini"}},
        {"aider session", {"/usr/bin/uv|uv|tool|run|aider", "/usr/bin/uvx|uvx|aider"}},
        {"trae session", {"/usr/bin/pnpm|pnpm|-w|dlx|trae-cn"}},
        // Scripts in node_modules by file and package; npm's title; near misses.
        {"qwen-code session",
         {"/bin/node|node|/o/node_modules/@qwen-code/qwen-code/cli.js",
          "/bin/node|node|/o/node_modules/pnpm/bin/pnpm.cjs|dlx|qwen"}},
        {"codex session",
         {"/bin/node|node|/o/node_modules/@openai/codex/bin/codex.js",
          "/bin/node|npm exec @openai/codex||", "/opt/My App/codex|/opt/My App/codex"}},
        // Matching is on decoded names, whatever the case of argument 0.
        {"droid session", {"/opt/Droid|Droid"}},
        {"",
         {"/bin/node|npm view @scope/codex||", "/bin/node|node|cli.js", "/bin/node|npx||",
          "/usr/bin/sleep|sleep|100", ""}},
    });
}

TEST(AgentMatchingTest, UnlessListsTellOtherToolsOfTheSameName) {
    expectMatches({
        {"",
         {"/usr/bin/goose|goose|up", "/usr/bin/goose|goose|-dir|x",
          "/usr/bin/goose|goose|postgres|dsn|status", "/usr/bin/kilo|kilo|notes.md",
          "/usr/bin/kilo|kilo|src/main.cpp", "/usr/bin/kilocode|kilocode|notes.md",
          "/usr/bin/copilot|copilot|deploy"}},
        {"goose session", {"/usr/bin/goose|goose|session", "/usr/bin/goose|goose"}},
        // Not one text file: two words, an option, a hidden file, an unknown extension.
        {"kilo session",
         {"/usr/bin/kilo|kilo", "/usr/bin/kilo|kilo|a.md|b.md", "/usr/bin/kilo|kilo|-x.md",
          "/usr/bin/kilo|kilo|.md", "/usr/bin/kilo|kilo|archive.zip",
          "/usr/bin/kilo|kilo|NOTES.MD"}},
        {"copilot session", {"/usr/bin/copilot|copilot|--resume"}},
    });
}

TEST(AgentMatchingTest, ExclusionsGiveHelperAndEngineRolesInOrder) {
    const std::string claude = "/usr/local/bin/claude|claude|", npm = kClaudeNpm + "|",
                      self = npm + kClaudeNpm + "|";
    expectMatches({
        // Leading words only: the same word later is an ordinary argument. Claude Code from
        // npm starts itself and runs as its bundled ripgrep.
        {"claude session",
         {claude + "daemon", claude + "-p|--bg-spare", self + "--session-id|0b8f4c6e|fix it"}},
        {"claude helper",
         {claude + "daemon|run", claude + "bg-pty-host|x", claude + "--bg-pty-host",
          self + "daemon|run", self + "--bg-pty-host", npm + "rg|--files"}},
        {"claude maybeSession", {claude + "bg-spare", claude + "--bg-spare", self + "--bg-spare"}},
        {"codex engine",
         {"/usr/bin/codex|codex|app-server|--managed-daemon",
          "/usr/bin/codex|codex|--managed-daemon|x|app-server"}},
        // codex-code-mode-host is a helper only when it is also known as codex.
        {"codex helper",
         {"/usr/bin/codex|codex|app-server|--listen|unix://", "/usr/bin/codex|codex|exec-server",
          "/opt/codex/codex-code-mode-host|codex"}},
        {"codex session", {"/usr/bin/codex|codex|exec|hi"}},
        {"cline helper", {"/bin/node|cline|--cline-hub-daemon"}},
        {"", {"/usr/bin/rg|rg|--files", "/opt/codex/codex-code-mode-host|codex-code-mode-host"}},
    });
}

TEST(AgentMatchingTest, ExecutableMatcherNeedsThePathAndAFittingTitle) {
    const std::string versioned = "/home/u/.local/share/claude/versions/2.1.3";
    expectMatches({
        {"claude session",
         {versioned + "|claude", versioned + "|claude-helper", versioned + "|" + versioned + "|-c",
          versioned}},
        {"", {versioned + "|rg|--files", "/home/u/claude/other/2.1.3|node"}},
    });
}

TEST(AgentMatchingTest, DesktopAgentsComeFirstAndGuardTheirBundles) {
    const std::string cursor = "/Applications/Cursor.app/Contents/MacOS/Cursor";
    const std::string mine = "/Users/u/Apps/Cursor.app/Contents/MacOS/Cursor";
    const std::string some = "/Applications/Some.app/Contents/";
    expectMatches({
        {"codex-desktop engine", {kCodexApp + "|codex|app-server"}},
        {"codex-desktop helper", {kCodexApp + "|codex|app-server|exec-server"}},
        {"cursor-desktop engine", {cursor + "|Cursor", mine + "|" + mine}},
        {"cursor-desktop helper",
         {cursor + "|Cursor|/Applications/Cursor.app/Contents/Resources/app/out/cli.js"}},
        {"antigravity-desktop engine",
         {"/Applications/Antigravity.app/Contents/Resources/bin/language_server|ls"}},
        // The bundle must be named Cursor.app exactly. A command-line name inside a bundle is
        // the bundle's, unless an interpreter runs it.
        {"",
         {kCodexApp + "|codex|exec-server",
          "/Applications/Codex.app/Contents/Resources/codex-cli/bin/codex-code-mode-host|"
          "codex-code-mode-host",
          "/Applications/NotCursor.app/Contents/MacOS/Cursor|Cursor",
          some + "MacOS/claude|claude"}},
        {"claude session", {some + "Resources/node|node|/x/node_modules/.bin/claude"}},
        {"aider session", {some + "Resources/python3|python3|-m|aider"}},
    });
}

TEST(AgentMatchingTest, UserNamedAgentsComeLastAndKeepTheirSpelling) {
    const Words names = {"MyBot", "claude"};
    expectMatches(
        {{"user:MyBot session", {"/usr/local/bin/mybot|mybot|--go", "/usr/bin/node|npx|MYBOT"}},
         {"claude session", {"/usr/local/bin/claude|claude"}},
         // The bundle guard keeps catalog agents out, not the user's own names.
         {"user:claude session", {"/Applications/Some.app/Contents/MacOS/claude|claude"}},
         {"", {"/usr/bin/sleep|sleep"}}},
        names);
    auto match = AgentCatalog::standard().match(
        {.executablePath = "/usr/local/bin/mybot", .arguments = {"mybot"}}, names);
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
            auto match =
                catalog.match({.executablePath = "/usr/local/bin/" + name, .arguments = {name}});
            ASSERT_TRUE(match);
            EXPECT_EQ(match->definition.id, definition.id);
        }
    }
}

}  // namespace
}  // namespace vigilmoth
