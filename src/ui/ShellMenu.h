#pragma once

#include <optional>
#include <string>
#include <vector>

#include "decision/DetectionSettings.h"
#include "hooks/install/HookConfigEditor.h"
#include "ui/PanelAction.h"
#include "ui/PanelState.h"

namespace vigilmoth {

// What a click in a shell's menu asks of the application: one of the panel's actions, or what
// the menu offers beside the panel (the awake mode, an agent's hooks, opening at login,
// quitting). The application hands it to the state aggregator.
struct ShellCommand {
    enum class Kind { panel, setMode, setHooks, setOpenAtLogin, quit };

    Kind kind = Kind::quit;
    // For panel.
    PanelAction action;
    // For setMode.
    AwakeMode mode = AwakeMode::agentWorking;
    // For setHooks: the hook catalog entry and whether its hooks are to be installed; for
    // setOpenAtLogin whether vigilmoth is to open at login.
    std::string hookEntry;
    bool on = false;

    static ShellCommand panel(PanelAction action) {
        ShellCommand command{Kind::panel};
        command.action = std::move(action);
        return command;
    }
    static ShellCommand setMode(AwakeMode mode) {
        ShellCommand command{Kind::setMode};
        command.mode = mode;
        return command;
    }
    static ShellCommand setHooks(std::string entry, bool on) {
        ShellCommand command{Kind::setHooks};
        command.hookEntry = std::move(entry);
        command.on = on;
        return command;
    }
    static ShellCommand setOpenAtLogin(bool on) {
        ShellCommand command{Kind::setOpenAtLogin};
        command.on = on;
        return command;
    }
    static ShellCommand quit() { return ShellCommand{Kind::quit}; }

    bool operator==(const ShellCommand&) const = default;
};

// One hook catalog entry as the menu offers it.
struct HookChoice {
    std::string entry;
    std::string name;
    HookStatus status;

    bool operator==(const HookChoice&) const = default;
};

// What the menu shows: the panel, and the settings it offers beside it.
struct ShellMenuInput {
    PanelState panel;
    AwakeMode mode = AwakeMode::agentWorking;
    std::vector<HookChoice> hooks;
    // Whether vigilmoth opens at login; none where it cannot be registered.
    std::optional<bool> openAtLogin;

    bool operator==(const ShellMenuInput&) const = default;
};

// One line of a menu: a text, a separator, a submenu, or a choice with its command.
struct ShellMenuItem {
    enum class Toggle { none, checkmark, radio };

    // Names the item among its siblings, the same across rebuilds, so that a shell can give it
    // the same id while it stays.
    std::string key;
    std::string label;
    bool separator = false;
    // A line with neither a command nor children is shown greyed: it only tells.
    std::optional<ShellCommand> command;
    Toggle toggle = Toggle::none;
    bool checked = false;
    std::vector<ShellMenuItem> children;

    bool operator==(const ShellMenuItem&) const = default;
};

// The menu of a shell that shows the panel as a plain menu (the Linux tray): the headline,
// the problems, one submenu per agent with its sessions and rules, the pause and reachable
// choices, the awake mode as radio items, the hooks, opening at login, and quitting. It decides
// nothing: every line comes from the panel's state.
namespace ShellMenu {

std::vector<ShellMenuItem> items(const ShellMenuInput& input);

// An agent's line: its name, what tells it apart, and its status ("Codex — Idle for 2 hours").
std::string rowTitle(const PanelRow& row);

// The awake mode's choice in a menu.
std::string modeTitle(AwakeMode mode);

}  // namespace ShellMenu
}  // namespace vigilmoth
