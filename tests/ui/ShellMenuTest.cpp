// Show that the tray's menu carries the panel: the headline, an agent's submenu with its
// sessions and rules, the pause choices, the awake mode and hooks as toggles, quitting.
#include "ui/ShellMenu.h"

#include <gtest/gtest.h>

namespace vigilmoth {
namespace {

using Toggle = ShellMenuItem::Toggle;

const ShellMenuItem* find(const std::vector<ShellMenuItem>& items, const std::string& label) {
    for (const auto& item : items) {
        if (item.label == label) return &item;
        if (const auto* inside = find(item.children, label)) return inside;
    }
    return nullptr;
}

PanelState twoSessions() {
    PanelState panel;
    panel.title = "Your computer stays awake";
    panel.subtitle = "Codex is working";
    PanelGroup codex;
    codex.header = {.id = "codex",
                    .agentID = "codex",
                    .name = "Codex",
                    .state = PanelRow::State::working,
                    .detail = "Working for 5 minutes"};
    codex.children = {{"a", "my_app", "Working for 5 minutes", "", std::nullopt},
                      {"b", "since 10:04", "Idle", "", PanelAction::goToAgent({7, 1}, "Kitty")}};
    codex.rule = AgentRule::ignore;
    panel.groups = {codex};
    panel.pauseActions = {PanelAction::pause(PauseChoice::oneHour)};
    return panel;
}

TEST(ShellMenuTest, CarriesThePanelAndTheSettingsBesideIt) {
    const auto items = ShellMenu::items({twoSessions(),
                                         AwakeMode::agentOpen,
                                         {{"claude", "Claude Code", HookStatus::installed(3)},
                                          {"gemini", "Gemini CLI", HookStatus::configMissing()}}});
    const auto* codex = find(items, "Codex — Working for 5 minutes");
    ASSERT_NE(codex, nullptr);
    const struct {
        const char* label;
        std::optional<ShellCommand> command;
        Toggle toggle;
        bool checked;
    } cases[] = {
        {"Your computer stays awake", std::nullopt, Toggle::none, false},
        {"my_app — Working for 5 minutes", std::nullopt, Toggle::none, false},
        {"since 10:04 — Idle", ShellCommand::panel(PanelAction::goToAgent({7, 1}, "Kitty")),
         Toggle::none, false},
        {"Ignore this agent",
         ShellCommand::panel(PanelAction::setAgentRule("codex", AgentRule::ignore)), Toggle::radio,
         true},
        {"Automatic", ShellCommand::panel(PanelAction::setAgentRule("codex", AgentRule::automatic)),
         Toggle::radio, false},
        {"Pause for 1 hour", ShellCommand::panel(PanelAction::pause(PauseChoice::oneHour)),
         Toggle::none, false},
        {"Stay awake while an agent is open", ShellCommand::setMode(AwakeMode::agentOpen),
         Toggle::radio, true},
        {"Claude Code", ShellCommand::setHooks("claude", false), Toggle::checkmark, true},
        {"Gemini CLI", std::nullopt, Toggle::none, false},
        {"Quit vigilmoth", ShellCommand::quit(), Toggle::none, false},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.label);
        const auto* item = find(items, c.label);
        ASSERT_NE(item, nullptr);
        EXPECT_EQ(item->command, c.command);
        EXPECT_EQ(item->toggle, c.toggle);
        EXPECT_EQ(item->checked, c.checked);
    }
    for (std::size_t i = 1; i < items.size(); ++i)
        EXPECT_FALSE(items[i].separator && items[i - 1].separator) << i;
}

}  // namespace
}  // namespace vigilmoth
