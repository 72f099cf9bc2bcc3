// Show that the standard catalog holds every known agent in matching order, with the names,
// levels and flags that the rest of the program keys on, and the word lists used for decoding.
#include "catalog/AgentCatalog.h"
#include "catalog/AgentDefinitions.h"

#include <gtest/gtest.h>

#include <set>

namespace vigilmoth {
namespace {

using Level = AgentDefinition::Level;
using Kind = AgentDefinition::Kind;

// Every definition as "id/Display Name", in matching order: desktop apps first.
const std::string kOrder =
    "codex-desktop/Codex antigravity-desktop/Antigravity cursor-desktop/Cursor "
    "claude-desktop/Claude t3-code/T3 Code claude/Claude Code codex/Codex aider/Aider "
    "aider-desk/AiderDesk amp/Amp antigravity/Antigravity augment/Augment cline/Cline "
    "cn/Continue codearts-agent/CodeArts Agent codebuddy/CodeBuddy codemaker/CodeMaker "
    "codestudio/CodeStudio command-code/Command Code copilot/GitHub Copilot crush/Crush "
    "cursor-agent/Cursor CLI deepagents/Deep Agents devin/Devin dexto/Dexto droid/Droid "
    "firebender/Firebender forgecode/ForgeCode gemini/Gemini CLI goose/Goose grok/Grok "
    "hermes-agent/Hermes Agent iflow-cli/iFlow CLI junie/Junie kilo/Kilo Code "
    "kiro-cli/Kiro CLI mcpjam/MCPJam mistral-vibe/Mistral Vibe neovate/Neovate "
    "opencode/opencode openclaw/OpenClaw openhands/OpenHands pi/Pi pochi/Pochi qoder/Qoder "
    "qwen-code/Qwen Code rovodev/Rovo Dev tabnine-cli/Tabnine CLI trae/Trae "
    "windsurf/Windsurf zencoder/Zencoder";

TEST(AgentCatalogTest, HoldsEveryDefinitionInMatchingOrder) {
    const std::set<std::string> stateLevel = {"codex-desktop", "cursor-desktop", "claude", "codex"};
    const std::set<std::string> verified = {"codex-desktop",  "antigravity-desktop",
                                            "cursor-desktop", "claude",
                                            "codex",          "droid",
                                            "grok",           "opencode"};
    const auto& definitions = AgentCatalog::standard().definitions;
    ASSERT_EQ(definitions.size(), 51u);
    ASSERT_EQ(AgentDefinitions::desktop().size(), 5u);
    ASSERT_EQ(AgentDefinitions::cli().size(), 46u);
    std::string order;
    for (size_t index = 0; index < definitions.size(); ++index) {
        const auto& definition = definitions[index];
        SCOPED_TRACE(definition.id);
        order += (index ? " " : "") + definition.id + "/" + definition.displayName;
        EXPECT_EQ(definition.level,
                  stateLevel.contains(definition.id) ? Level::state : Level::activity);
        EXPECT_EQ(definition.kind, index < 5 ? Kind::desktop : Kind::cli);
        EXPECT_EQ(definition.verified, verified.contains(definition.id));
        EXPECT_EQ(definition, index < 5 ? AgentDefinitions::desktop()[index]
                                        : AgentDefinitions::cli()[index - 5]);
    }
    EXPECT_EQ(order, kOrder);
}

// Names come only from name matchers, and the command-line names are those of every
// command-line definition.
TEST(AgentCatalogTest, ProcessNamesComeOnlyFromNameMatchers) {
    const auto& catalog = AgentCatalog::standard();
    const std::pair<std::string, std::vector<std::string>> cases[] = {
        {"gemini", {"gemini", "gemini-cli"}},
        // The executable matcher of Claude Code contributes no name.
        {"claude", {"claude"}},
        {"cursor-desktop", {}},
        {"claude-desktop", {}},
        {"trae", {"trae", "trae-cn"}},
        {"kilo", {"kilo", "kilocode", ".kilo"}},
        {"mistral-vibe", {"mistral-vibe"}},
        {"codex", {"codex"}}};
    for (const auto& [id, names] : cases) {
        SCOPED_TRACE(id);
        ASSERT_NE(catalog.definition(id), nullptr);
        EXPECT_EQ(catalog.definition(id)->processNames(), names);
    }
    EXPECT_EQ(catalog.definition("Codex"), nullptr) << "ids are case-sensitive";
    EXPECT_EQ(catalog.definition(""), nullptr);
    const auto names = catalog.cliNames();
    // 46 definitions, seven of which carry further names (Kilo two, Command Code two more).
    EXPECT_EQ(names.size(), 55u);
    for (const auto* name : {".kilo", "qwen", "trae-cn", "gemini-cli", "claude", "zencoder"})
        EXPECT_TRUE(names.contains(name)) << name;
    // Found only in an exclusion, and desktop definitions contribute nothing.
    EXPECT_FALSE(names.contains("codex-code-mode-host"));
    EXPECT_FALSE(names.contains("codex-desktop"));
}

}  // namespace
}  // namespace vigilmoth
