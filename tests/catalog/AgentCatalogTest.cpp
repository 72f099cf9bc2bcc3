// Show that the standard catalog holds every known agent in matching order, with the names,
// levels and flags that the rest of the program keys on, and the word lists used for decoding.
#include "catalog/AgentCatalog.h"
#include "catalog/AgentDefinitions.h"
#include "catalog/CommandDecoding.h"

#include <gtest/gtest.h>

namespace vigilmoth {
namespace {

using Level = AgentDefinition::Level;
using Kind = AgentDefinition::Kind;

struct Expected {
    const char* id;
    const char* displayName;
    Level level;
    Kind kind;
    bool verified;
};

constexpr Level S = Level::state;
constexpr Level A = Level::activity;
constexpr Kind D = Kind::desktop;
constexpr Kind C = Kind::cli;

const std::vector<Expected> kExpected = {
    {"codex-desktop", "Codex", S, D, true},
    {"antigravity-desktop", "Antigravity", A, D, true},
    {"cursor-desktop", "Cursor", S, D, true},
    {"claude-desktop", "Claude", A, D, false},
    {"t3-code", "T3 Code", A, D, false},
    {"claude", "Claude Code", S, C, true},
    {"codex", "Codex", S, C, true},
    {"aider", "Aider", A, C, false},
    {"aider-desk", "AiderDesk", A, C, false},
    {"amp", "Amp", A, C, false},
    {"antigravity", "Antigravity", A, C, false},
    {"augment", "Augment", A, C, false},
    {"cline", "Cline", A, C, false},
    {"cn", "Continue", A, C, false},
    {"codearts-agent", "CodeArts Agent", A, C, false},
    {"codebuddy", "CodeBuddy", A, C, false},
    {"codemaker", "CodeMaker", A, C, false},
    {"codestudio", "CodeStudio", A, C, false},
    {"command-code", "Command Code", A, C, false},
    {"copilot", "GitHub Copilot", A, C, false},
    {"crush", "Crush", A, C, false},
    {"cursor-agent", "Cursor CLI", A, C, false},
    {"deepagents", "Deep Agents", A, C, false},
    {"devin", "Devin", A, C, false},
    {"dexto", "Dexto", A, C, false},
    {"droid", "Droid", A, C, true},
    {"firebender", "Firebender", A, C, false},
    {"forgecode", "ForgeCode", A, C, false},
    {"gemini", "Gemini CLI", A, C, false},
    {"goose", "Goose", A, C, false},
    {"grok", "Grok", A, C, true},
    {"hermes-agent", "Hermes Agent", A, C, false},
    {"iflow-cli", "iFlow CLI", A, C, false},
    {"junie", "Junie", A, C, false},
    {"kilo", "Kilo Code", A, C, false},
    {"kiro-cli", "Kiro CLI", A, C, false},
    {"mcpjam", "MCPJam", A, C, false},
    {"mistral-vibe", "Mistral Vibe", A, C, false},
    {"neovate", "Neovate", A, C, false},
    {"opencode", "opencode", A, C, true},
    {"openclaw", "OpenClaw", A, C, false},
    {"openhands", "OpenHands", A, C, false},
    {"pi", "Pi", A, C, false},
    {"pochi", "Pochi", A, C, false},
    {"qoder", "Qoder", A, C, false},
    {"qwen-code", "Qwen Code", A, C, false},
    {"rovodev", "Rovo Dev", A, C, false},
    {"tabnine-cli", "Tabnine CLI", A, C, false},
    {"trae", "Trae", A, C, false},
    {"windsurf", "Windsurf", A, C, false},
    {"zencoder", "Zencoder", A, C, false},
};

TEST(AgentCatalogTest, HoldsEveryDefinitionInMatchingOrder) {
    const auto& definitions = AgentCatalog::standard().definitions;
    ASSERT_EQ(definitions.size(), 51u);
    ASSERT_EQ(kExpected.size(), 51u);
    for (size_t index = 0; index < definitions.size(); ++index) {
        const auto& definition = definitions[index];
        const auto& expected = kExpected[index];
        SCOPED_TRACE(expected.id);
        EXPECT_EQ(definition.id, expected.id);
        EXPECT_EQ(definition.displayName, expected.displayName);
        EXPECT_EQ(definition.level, expected.level);
        EXPECT_EQ(definition.kind, expected.kind);
        EXPECT_EQ(definition.verified, expected.verified);
    }
}

TEST(AgentCatalogTest, DesktopDefinitionsComeFirstAndBothListsMakeTheCatalog) {
    EXPECT_EQ(AgentDefinitions::desktop().size(), 5u);
    EXPECT_EQ(AgentDefinitions::cli().size(), 46u);
    const auto& standard = AgentCatalog::standard();
    EXPECT_EQ(&standard, &AgentCatalog::standard()) << "built once and shared";
    EXPECT_EQ(standard.definitions[4], AgentDefinitions::desktop()[4]);
    EXPECT_EQ(standard.definitions[5], AgentDefinitions::cli()[0]);
}

TEST(AgentCatalogTest, ProcessNamesComeOnlyFromNameMatchers) {
    const struct {
        const char* id;
        std::vector<std::string> names;
    } cases[] = {
        {"gemini", {"gemini", "gemini-cli"}},
        // The executable matcher of Claude Code contributes no name.
        {"claude", {"claude"}},
        {"cursor-desktop", {}},
        {"claude-desktop", {}},
        {"trae", {"trae", "trae-cn"}},
        {"kilo", {"kilo", "kilocode", ".kilo"}},
        {"mistral-vibe", {"mistral-vibe"}},
        {"codex", {"codex"}},
    };
    for (const auto& testCase : cases) {
        SCOPED_TRACE(testCase.id);
        const auto* definition = AgentCatalog::standard().definition(testCase.id);
        ASSERT_NE(definition, nullptr);
        EXPECT_EQ(definition->processNames(), testCase.names);
    }
}

TEST(AgentCatalogTest, ProcessNamesAreLowerCased) {
    AgentDefinition definition;
    definition.id = "user:MyBot";
    definition.matchers.push_back({ProcessMatcher::name("MyBot"), ArgumentPattern::any(), {}});
    EXPECT_EQ(definition.processNames(), std::vector<std::string>{"mybot"});
}

TEST(AgentCatalogTest, CliNamesAreTheNamesOfEveryCommandLineDefinition) {
    const auto names = AgentCatalog::standard().cliNames();
    // 46 definitions, seven of which carry further names (Kilo two, Command Code two more).
    EXPECT_EQ(names.size(), 55u);
    EXPECT_TRUE(names.contains(".kilo"));
    EXPECT_TRUE(names.contains("qwen"));
    EXPECT_TRUE(names.contains("trae-cn"));
    EXPECT_TRUE(names.contains("gemini-cli"));
    EXPECT_TRUE(names.contains("claude"));
    EXPECT_TRUE(names.contains("zencoder"));
    // Found only in an exclusion, and desktop definitions contribute nothing.
    EXPECT_FALSE(names.contains("codex-code-mode-host"));
    EXPECT_FALSE(names.contains("codex-desktop"));
}

TEST(AgentCatalogTest, LooksUpDefinitionsById) {
    const auto& catalog = AgentCatalog::standard();
    ASSERT_NE(catalog.definition("opencode"), nullptr);
    EXPECT_EQ(catalog.definition("opencode")->displayName, "opencode");
    EXPECT_EQ(catalog.definition("codex-desktop")->kind, Kind::desktop);
    EXPECT_EQ(catalog.definition("Codex"), nullptr) << "ids are case-sensitive";
    EXPECT_EQ(catalog.definition(""), nullptr);
}

TEST(AgentCatalogTest, ExclusionsKeepTheirOrder) {
    const auto* codex = AgentCatalog::standard().definition("codex");
    ASSERT_EQ(codex->exclusions.size(), 5u);
    // The managed engine must be recognised before the plain app-server helper.
    EXPECT_EQ(codex->exclusions[2].arguments,
              ArgumentPattern::contains({"app-server", "--managed-daemon"}));
    EXPECT_EQ(codex->exclusions[2].role, AgentRole::engine);
    EXPECT_EQ(codex->exclusions[3].role, AgentRole::helper);

    const auto* claude = AgentCatalog::standard().definition("claude");
    ASSERT_EQ(claude->matchers.size(), 3u);
    EXPECT_EQ(claude->matchers[1].process,
              ProcessMatcher::executable("/claude/versions/", "claude"));
    ASSERT_EQ(claude->exclusions.size(), 6u);
    EXPECT_EQ(claude->exclusions[5].role, AgentRole::helperMaybeSession);
    EXPECT_FALSE(claude->exclusions[5].process.has_value());

    const auto* codexDesktop = AgentCatalog::standard().definition("codex-desktop");
    ASSERT_EQ(codexDesktop->matchers.size(), 1u);
    EXPECT_EQ(codexDesktop->matchers[0].arguments, ArgumentPattern::contains({"app-server"}));
}

TEST(AgentCatalogTest, UnlessListsGuardNamesSharedWithOtherTools) {
    const auto& catalog = AgentCatalog::standard();
    const auto& goose = catalog.definition("goose")->matchers.at(0).unless;
    ASSERT_EQ(goose.size(), 2u);
    EXPECT_EQ(std::get<ArgumentPattern::FirstIsOne>(goose[0].value).of.size(), 22u);
    EXPECT_EQ(goose[1], ArgumentPattern::contains({"-dir"}));
    const auto& kilo = catalog.definition("kilo")->matchers.at(2).unless;
    ASSERT_EQ(kilo.size(), 1u);
    EXPECT_EQ(kilo[0], ArgumentPattern::oneFile(AgentDefinitions::textFileExtensions()));
    const auto& copilot = catalog.definition("copilot")->matchers.at(0).unless;
    ASSERT_EQ(copilot.size(), 1u);
    EXPECT_EQ(std::get<ArgumentPattern::FirstIsOne>(copilot[0].value).of.size(), 8u);
    EXPECT_TRUE(catalog.definition("aider")->matchers.at(0).unless.empty());
}

TEST(AgentCatalogTest, WordListsHaveTheirSizesAndSpecialCases) {
    EXPECT_EQ(AgentDefinitions::cursorShells().size(), 10u);
    EXPECT_EQ(AgentDefinitions::textFileExtensions().size(), 29u);
    EXPECT_EQ(CommandDecoding::launchers().size(), 11u);
    EXPECT_EQ(CommandDecoding::launcherValuedFlags().size(), 68u);
    EXPECT_EQ(CommandDecoding::launchers().at("uv"),
              (std::vector<std::vector<std::string>>{{"tool", "run"}, {"run"}}));
    EXPECT_EQ(CommandDecoding::launchers().at("npx"), (std::vector<std::vector<std::string>>{{}}));
    EXPECT_EQ(CommandDecoding::launcherSwitches().at("pnpm"), WordSet{"-w"});
    EXPECT_EQ(CommandDecoding::launcherSwitches().at("deno"), WordSet{"--env-file"});
    EXPECT_TRUE(CommandDecoding::launcherValuedFlags().contains("-C"));
    EXPECT_FALSE(CommandDecoding::launcherValuedFlags().contains("-y"));
}

}  // namespace
}  // namespace vigilmoth
