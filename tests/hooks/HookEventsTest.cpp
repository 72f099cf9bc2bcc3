// Show that each agent's events mean what the rule table says, notification types included.
#include "hooks/HookEvents.h"

#include <gtest/gtest.h>

namespace vigilmoth {
namespace {

TEST(HookEventsTest, EventsMeanTheirRulesAction) {
    const HookAction working = HookAction::set(ReportedState::working);
    const HookAction waiting = HookAction::set(ReportedState::waitingForUser);
    const HookAction idle = HookAction::set(ReportedState::idle);
    struct Case {
        std::string agent;
        std::string event;
        std::optional<std::string> type;
        HookAction expected;
    };
    const std::vector<Case> cases{
        {"claude", "UserPromptSubmit", std::nullopt, working},
        {"claude", "Stop", std::nullopt, idle},
        {"claude", "SessionEnd", std::nullopt, HookAction::end()},
        {"claude", "Notification", "permission_prompt", waiting},
        {"claude", "Notification", "elicitation_url_dialog", waiting},
        {"claude", "Notification", "idle_prompt", idle},
        {"claude", "Notification", "auth_success", HookAction::ignore()},
        {"claude", "Notification", std::nullopt, HookAction::ignore()},
        // A type only counts for an event whose rule looks at types.
        {"claude", "Stop", "permission_prompt", idle},
        {"claude", "PermissionRequest", std::nullopt, waiting},
        {"claude", "StopFailure", std::nullopt, idle},
        {"claude", "SessionStart", std::nullopt, HookAction::ignore()},
        {"codex", "PermissionRequest", std::nullopt, waiting},
        {"codex", "Interrupt", std::nullopt, idle},
        {"droid", "Notification", "elicitation_dialog", waiting},
        {"droid", "Notification", "idle_prompt", idle},
        {"opencode", "session.busy", std::nullopt, working},
        {"opencode", "permission.replied", std::nullopt, working},
        {"opencode", "session.deleted", std::nullopt, HookAction::end()},
        {"pi", "session_start", std::nullopt, idle},
        {"pi", "ui_prompt_start", std::nullopt, waiting},
        {"pi", "session_compact_failed", std::nullopt, idle},
        {"pi", "agent_end", std::nullopt, idle},
        {"pi", "session_shutdown", std::nullopt, HookAction::end()},
        {"cursor", "afterMCPExecution", std::nullopt, working},
        {"cursor", "stop", std::nullopt, idle},
        // Event names are case-sensitive: Cursor's "stop" is not Claude's "Stop".
        {"cursor", "Stop", std::nullopt, HookAction::ignore()},
        {"aider", "Stop", std::nullopt, HookAction::ignore()},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.agent + " " + c.event + " " + c.type.value_or("-"));
        EXPECT_EQ(HookEvents::meaning(c.agent, c.event, c.type), c.expected);
    }
}

// Claude's Notification group is the only one with a matcher (its text is pinned where the
// groups are written).
TEST(HookEventsTest, OnlyTheClaudeNotificationGroupCarriesAMatcher) {
    for (const auto& [id, rules] : HookEvents::rules()) {
        for (const auto& rule : rules) {
            SCOPED_TRACE(id + " " + rule.event);
            EXPECT_EQ(rule.matcher.has_value(), id == "claude" && rule.event == "Notification");
        }
    }
}

TEST(HookEventsTest, RulesKeepTheirInstallationOrder) {
    struct Case {
        std::string agent;
        size_t count;
        std::string first;
        std::string last;
    };
    const std::vector<Case> cases{
        {"claude", 8, "UserPromptSubmit", "SessionEnd"},
        {"codex", 7, "UserPromptSubmit", "SessionEnd"},
        {"droid", 6, "UserPromptSubmit", "SessionEnd"},
        {"opencode", 5, "session.busy", "session.deleted"},
        {"pi", 13, "session_start", "session_shutdown"},
        {"cursor", 10, "beforeSubmitPrompt", "sessionEnd"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.agent);
        const auto& rules = HookEvents::rules(c.agent);
        ASSERT_EQ(rules.size(), c.count);
        EXPECT_EQ(rules.front().event, c.first);
        EXPECT_EQ(rules.back().event, c.last);
    }
    EXPECT_TRUE(HookEvents::rules("aider").empty());
}

TEST(HookEventsTest, EachEntryServesTheDefinitionOfItsOwnID) {
    EXPECT_EQ(HookEvents::hookAgent("codex"), "codex");
    EXPECT_EQ(HookEvents::hookAgent("pi"), "pi");
    EXPECT_EQ(HookEvents::hookAgent("aider"), std::nullopt);
    EXPECT_EQ(HookEvents::hookAgent(""), std::nullopt);
    EXPECT_EQ(HookEvents::definitionIDs().size(), 6u);
}

}  // namespace
}  // namespace vigilmoth
