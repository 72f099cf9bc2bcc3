// Show that the hook catalog lists its agents in order with their texts, and that handler
// commands survive any application path the shell could be handed.
#include "hooks/install/HookCatalog.h"

#include <gtest/gtest.h>

#include "hooks/HookEvents.h"
#include "support/TestSupport.h"

namespace vigilmoth {
namespace {

// In catalog order, with the files the agents read.
TEST(HookCatalogTest, EntriesComeInOrderWithTheirFormats) {
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
    const auto& entries = HookCatalog::entries();
    ASSERT_EQ(entries.size(), cases.size());
    for (std::size_t index = 0; index < cases.size(); ++index) {
        const auto& c = cases[index];
        SCOPED_TRACE(c.id);
        EXPECT_EQ(entries[index].id, c.id);
        EXPECT_EQ(HookCatalog::entry(c.id), &entries[index]);
        EXPECT_FALSE(HookEvents::rules(c.id).empty());
        EXPECT_EQ(entries[index].configPath, c.configPath);
        EXPECT_EQ(entries[index].format.kind, c.kind);
        if (c.kind != Kind::pluginFile) {
            EXPECT_EQ(entries[index].format.keyPath, std::vector<std::string>{"hooks"});
        }
    }
    EXPECT_EQ(HookCatalog::entry("aider"), nullptr);
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
