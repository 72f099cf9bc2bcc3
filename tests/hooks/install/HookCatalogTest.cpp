// Show that the hook catalog lists its agents in order with their texts, and that handler
// commands survive any application path the shell could be handed.
#include "hooks/install/HookCatalog.h"

#include <gtest/gtest.h>

#include "hooks/HookEvents.h"
#include "support/TestSupport.h"

namespace vigilmoth {
namespace {

TEST(HookCatalogTest, EntriesComeInOrderWithRulesForEach) {
    std::vector<std::string> ids;
    for (const auto& entry : HookCatalog::entries()) {
        ids.push_back(entry.id);
        SCOPED_TRACE(entry.id);
        EXPECT_FALSE(HookEvents::rules(entry.id).empty());
        EXPECT_EQ(HookCatalog::entry(entry.id), &entry);
    }
    EXPECT_EQ(ids,
              (std::vector<std::string>{"claude", "codex", "droid", "opencode", "pi", "cursor"}));
    EXPECT_EQ(HookCatalog::entry("aider"), nullptr);
}

TEST(HookCatalogTest, FormatsMatchTheFilesTheAgentsRead) {
    using Kind = HookCatalogEntry::Format::Kind;
    struct Case {
        std::string id;
        std::string configPath;
        Kind kind;
    };
    const std::vector<Case> cases{
        {"claude", ".claude/settings.json", Kind::jsonHookGroups},
        {"codex", ".codex/hooks.json", Kind::jsonHookGroups},
        {"droid", ".factory/settings.json", Kind::jsonHookGroups},
        {"opencode", ".config/opencode/plugins/vigilmoth.js", Kind::pluginFile},
        {"pi", ".pi/agent/extensions/vigilmoth.js", Kind::pluginFile},
        {"cursor", ".cursor/hooks.json", Kind::jsonFlatHooks},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.id);
        const auto* entry = HookCatalog::entry(c.id);
        ASSERT_NE(entry, nullptr);
        EXPECT_EQ(entry->configPath, c.configPath);
        EXPECT_EQ(entry->format.kind, c.kind);
        if (c.kind != Kind::pluginFile) {
            EXPECT_EQ(entry->format.keyPath, std::vector<std::string>{"hooks"});
        }
    }
}

TEST(HookCatalogTest, TwoBenefitsKeepTheirMissingFullStop) {
    for (const auto& entry : HookCatalog::entries()) {
        SCOPED_TRACE(entry.id);
        bool bare = entry.id == "pi" || entry.id == "cursor";
        EXPECT_EQ(entry.benefit.ends_with("."), !bare);
        EXPECT_TRUE(entry.benefit.starts_with(bare ? "Lets vigilmoth" : "Tells vigilmoth"));
    }
    EXPECT_EQ(HookCatalog::entry("codex")->afterInstall,
              "One more step for Codex: type /hooks in Codex and approve vigilmoth.");
    EXPECT_EQ(HookCatalog::entry("claude")->afterInstall, std::nullopt);
    EXPECT_TRUE(HookCatalog::entry("cursor")->adds.empty());
}

TEST(HookCatalogTest, CommandsQuoteTheApplicationAsOneShellWord) {
    const std::string hook(HookCatalog::kHookExecutableSuffix);
    EXPECT_EQ(HookCatalog::command("claude", "Stop", "/Applications/vigilmoth.app"),
              "[ -x '/Applications/vigilmoth.app" + hook + "' ] && '/Applications/vigilmoth.app" +
                  hook + "' claude Stop v=1 || true");
    EXPECT_EQ(HookCatalog::command("codex", "Stop", "/Applications/My App's.app"),
              "[ -x '/Applications/My App'\\''s.app" + hook +
                  "' ] && '/Applications/My App'\\''s.app" + hook + "' codex Stop v=1 || true");
}

// The shell itself is the judge of the quoting: whatever the path, the hook receives exactly
// the three words, and a missing hook leaves the status 0.
TEST(HookCatalogTest, TheShellRunsCommandsForAwkwardPaths) {
    testing::TemporaryFolder folder;
    const std::vector<std::string> names{
        "plain", "My App's", "a'b''c", "$(false) `x` \"q\"", "back\\slash", "star * and ; semi"};
    for (const auto& name : names) {
        SCOPED_TRACE(name);
        std::string app = folder / name;
        std::string hook = HookCatalog::hookExecutable(app);
        std::filesystem::create_directories(std::filesystem::path(hook).parent_path());
        testing::writeFile(hook, "#!/bin/sh\nprintf '%s|' \"$@\"\nexit 3\n");
        std::filesystem::permissions(hook, std::filesystem::perms::owner_all);
        auto ran = testing::runProcess("/bin/sh", {"-c", HookCatalog::command("pi", "a b", app)});
        EXPECT_EQ(ran.status, 0);
        EXPECT_EQ(ran.out, "pi|a|b|v=1|");
        std::filesystem::remove(hook);
        auto missing = testing::runProcess("/bin/sh", {"-c", HookCatalog::command("pi", "x", app)});
        EXPECT_EQ(missing.status, 0);
        EXPECT_EQ(missing.out, "");
    }
}

}  // namespace
}  // namespace vigilmoth
