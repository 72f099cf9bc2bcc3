// Show that each agent's events mean what the rule table says, notification types included,
// that the catalog lists its agents in order with their files and texts, and that the hook
// executable is found by each platform's rule and run by commands any shell reads alike.
#include "hooks/HookEvents.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <sstream>

#include "hooks/HookLocation.h"
#include "hooks/install/HookCatalog.h"
#include "support/TestSupport.h"

namespace vigilmoth {
namespace {

// Events written "agent event [notification type]", under the action they mean.
TEST(HookEventsTest, EventsMeanTheirRulesAction) {
    const std::pair<HookAction, std::vector<std::string>> cases[] = {
        {HookAction::set(ReportedState::working),
         {"claude UserPromptSubmit", "opencode session.busy", "opencode permission.replied",
          "cursor afterMCPExecution"}},
        {HookAction::set(ReportedState::waitingForUser),
         {"claude Notification permission_prompt", "claude Notification elicitation_url_dialog",
          "claude PermissionRequest", "codex PermissionRequest",
          "droid Notification elicitation_dialog", "pi ui_prompt_start"}},
        // A type only counts for an event whose rule looks at types.
        {HookAction::set(ReportedState::idle),
         {"claude Stop", "claude Notification idle_prompt", "claude Stop permission_prompt",
          "claude StopFailure", "codex Interrupt", "droid Notification idle_prompt",
          "pi session_start", "pi session_compact_failed", "pi agent_end", "cursor stop"}},
        {HookAction::end(),
         {"claude SessionEnd", "opencode session.deleted", "pi session_shutdown"}},
        // Event names are case-sensitive: Cursor's "stop" is not Claude's "Stop".
        {HookAction::ignore(),
         {"claude Notification auth_success", "claude Notification", "claude SessionStart",
          "cursor Stop", "aider Stop"}},
    };
    for (const auto& [expected, events] : cases) {
        for (const auto& words : events) {
            SCOPED_TRACE(words);
            std::istringstream stream(words);
            std::string agent, event, type;
            stream >> agent >> event >> type;
            EXPECT_EQ(HookEvents::meaning(agent, event,
                                          type.empty() ? std::nullopt : std::optional(type)),
                      expected);
        }
    }
}

// In installation order; Claude's Notification group is the only one with a matcher (its text
// is pinned where the groups are written).
TEST(HookEventsTest, RulesKeepTheirInstallationOrder) {
    const std::tuple<std::string, size_t, std::string, std::string> cases[] = {
        {"claude", 8, "UserPromptSubmit", "SessionEnd"},
        {"codex", 7, "UserPromptSubmit", "SessionEnd"},
        {"droid", 6, "UserPromptSubmit", "SessionEnd"},
        {"opencode", 5, "session.busy", "session.deleted"},
        {"pi", 13, "session_start", "session_shutdown"},
        {"cursor", 10, "beforeSubmitPrompt", "sessionEnd"}};
    for (const auto& [agent, count, first, last] : cases) {
        SCOPED_TRACE(agent);
        const auto& rules = HookEvents::rules(agent);
        ASSERT_EQ(rules.size(), count);
        EXPECT_EQ(rules.front().event, first);
        EXPECT_EQ(rules.back().event, last);
        for (const auto& rule : rules)
            EXPECT_EQ(rule.matcher.has_value(), agent == "claude" && rule.event == "Notification");
        EXPECT_EQ(HookEvents::hookAgent(agent), agent);
    }
    EXPECT_TRUE(HookEvents::rules("aider").empty());
    EXPECT_EQ(HookEvents::hookAgent("aider"), std::nullopt);
    EXPECT_EQ(HookEvents::hookAgent(""), std::nullopt);
    EXPECT_EQ(HookEvents::definitionIDs().size(), 6u);
}

TEST(HookCatalogTest, EntriesComeInOrderWithTheirFilesAndTexts) {
    using Kind = HookCatalogEntry::Format::Kind;
    const std::tuple<std::string, std::string, Kind> cases[] = {
        {"claude", ".claude/settings.json", Kind::jsonHookGroups},
        {"codex", ".codex/hooks.json", Kind::jsonHookGroups},
        {"droid", ".factory/settings.json", Kind::jsonHookGroups},
        {"opencode", ".config/opencode/plugins/vigilmoth.js", Kind::pluginFile},
        {"pi", ".pi/agent/extensions/vigilmoth.js", Kind::pluginFile},
        {"cursor", ".cursor/hooks.json", Kind::jsonFlatHooks}};
    const auto& entries = HookCatalog::entries();
    ASSERT_EQ(entries.size(), std::size(cases));
    for (std::size_t index = 0; index < entries.size(); ++index) {
        const auto& [id, configPath, kind] = cases[index];
        SCOPED_TRACE(id);
        EXPECT_EQ(entries[index].id, id);
        EXPECT_EQ(HookCatalog::entry(id), &entries[index]);
        EXPECT_EQ(entries[index].configPath, configPath);
        EXPECT_EQ(entries[index].format.kind, kind);
        if (kind != Kind::pluginFile) {
            EXPECT_EQ(entries[index].format.keyPath, std::vector<std::string>{"hooks"});
        }
        // Two benefits keep their missing full stop.
        bool bare = id == "pi" || id == "cursor";
        EXPECT_EQ(entries[index].benefit.ends_with("."), !bare);
        EXPECT_TRUE(
            entries[index].benefit.starts_with(bare ? "Lets vigilmoth" : "Tells vigilmoth"));
    }
    EXPECT_EQ(HookCatalog::entry("aider"), nullptr);
    EXPECT_EQ(HookCatalog::entry("codex")->afterInstall,
              "One more step for Codex: type /hooks in Codex and approve vigilmoth.");
    EXPECT_EQ(HookCatalog::entry("claude")->afterInstall, std::nullopt);
    EXPECT_TRUE(HookCatalog::entry("cursor")->adds.empty());
}

TEST(HookLocationTest, TheHookIsFoundByEachPlatformsRule) {
    EXPECT_EQ(HookLocation::executableSuffix(HostPlatform::macos), "/Contents/MacOS/VigilmothHook");
    EXPECT_EQ(HookLocation::executableSuffix(HostPlatform::linux),
              "/libexec/vigilmoth/VigilmothHook");
    EXPECT_EQ(HookCatalog::hookExecutable("/usr/local"),
              "/usr/local" + std::string(HookLocation::executableSuffix()));
    const std::tuple<std::string, HostPlatform, std::string> cases[] = {
        {"/usr/bin/vigilmoth", HostPlatform::linux, "/usr"},
        {"/home/me/.local/bin/vigilmoth", HostPlatform::linux, "/home/me/.local"},
        {"/work/build/dev/bin/vigilmoth", HostPlatform::linux, "/work/build/dev"},
        {"/bin/vigilmoth", HostPlatform::linux, "/"},
        {"vigilmoth", HostPlatform::linux, "."},
        {"/Applications/vigilmoth.app/Contents/MacOS/vigilmoth", HostPlatform::macos,
         "/Applications/vigilmoth.app"},
        {"/Users/me/My Apps/vigilmoth.app/Contents/MacOS/vigilmoth", HostPlatform::macos,
         "/Users/me/My Apps/vigilmoth.app"}};
    for (const auto& [executable, platform, appPath] : cases) {
        SCOPED_TRACE(executable);
        EXPECT_EQ(HookLocation::appPath(executable, platform), appPath);
    }
}

// The shell itself is the judge of the quoting: whatever the path, the hook receives exactly
// the three words, and a missing hook leaves the status 0.
TEST(HookCatalogTest, CommandsQuoteTheApplicationAsOneShellWord) {
    const std::string hook(HookCatalog::kHookExecutableSuffix);
    EXPECT_EQ(HookCatalog::command("claude", "Stop", "/Applications/vigilmoth.app"),
              "[ -x '/Applications/vigilmoth.app" + hook + "' ] && '/Applications/vigilmoth.app" +
                  hook + "' claude Stop v=1 || true");
    testing::TemporaryFolder folder;
    for (std::string name : {"plain", "My App's", "a'b''c", "$(false) `x` \"q\"", "back\\slash",
                             "star * and ; semi"}) {
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
