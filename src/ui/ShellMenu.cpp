#include "ui/ShellMenu.h"

#include "ui/PanelText.h"

namespace vigilmoth::ShellMenu {
namespace {

using Item = ShellMenuItem;

Item text(std::string key, std::string label) {
    Item item;
    item.key = std::move(key);
    item.label = std::move(label);
    return item;
}

Item choice(std::string key, const ShellCommand& command, std::string label,
            Item::Toggle toggle = Item::Toggle::none, bool checked = false) {
    Item item = text(std::move(key), std::move(label));
    item.command = command;
    item.toggle = toggle;
    item.checked = checked;
    return item;
}

Item action(std::string key, const PanelAction& panelAction) {
    return choice(std::move(key), ShellCommand::panel(panelAction), PanelText::title(panelAction));
}

// A separator only between two parts, never first, last or twice.
void separate(std::vector<Item>& items) {
    if (items.empty() || items.back().separator) return;
    Item separator;
    separator.key = "separator" + std::to_string(items.size());
    separator.separator = true;
    items.push_back(std::move(separator));
}

void addActions(std::vector<Item>& items, const std::string& key,
                const std::vector<PanelAction>& actions) {
    for (std::size_t i = 0; i < actions.size(); ++i) {
        items.push_back(action(key + "." + std::to_string(i), actions[i]));
    }
}

void addAttention(std::vector<Item>& items, const std::string& key,
                  const std::optional<PanelAttention>& attention) {
    if (!attention) return;
    items.push_back(text(key, attention->text));
    addActions(items, key, attention->actions);
}

Item group(const PanelGroup& group) {
    Item item = text("agent." + group.header.id, rowTitle(group.header));
    auto& lines = item.children;
    for (const auto& child : group.children) {
        std::string label = child.label;
        if (child.detail) label += " — " + *child.detail;
        lines.push_back(child.goTo
                            ? choice("session." + child.id, ShellCommand::panel(*child.goTo), label)
                            : text("session." + child.id, label));
    }
    if (group.header.goTo) lines.push_back(action("goTo", *group.header.goTo));
    separate(lines);
    for (auto rule : {AgentRule::automatic, AgentRule::alwaysWorkingWhileOpen, AgentRule::ignore}) {
        const auto setRule = PanelAction::setAgentRule(group.header.agentID, rule);
        lines.push_back(choice("rule." + std::to_string(static_cast<int>(rule)),
                               ShellCommand::panel(setRule), PanelText::title(setRule),
                               Item::Toggle::radio, group.rule == rule));
    }
    return item;
}

void addPanel(std::vector<Item>& items, const PanelState& panel) {
    items.push_back(text("title", panel.title));
    if (!panel.subtitle.empty()) items.push_back(text("subtitle", panel.subtitle));
    addAttention(items, "attention", panel.attention);
    addAttention(items, "sleepNote", panel.sleepNote);
    if (panel.battery) items.push_back(text("battery", panel.battery->accessibilityLabel()));
    separate(items);
    for (const auto& each : panel.groups)
        items.push_back(group(each));
    if (!panel.moreIdle.empty()) {
        Item more = text("moreIdle", PanelText::moreIdle(panel.moreIdle.size()));
        for (const auto& each : panel.moreIdle)
            more.children.push_back(group(each));
        items.push_back(std::move(more));
    }
    if (panel.groups.empty() && panel.emptyText) {
        items.push_back(text("empty", *panel.emptyText));
        if (panel.emptyAction) items.push_back(action("empty.action", *panel.emptyAction));
    }
    separate(items);
    if (panel.pausedLabel) items.push_back(text("paused", *panel.pausedLabel));
    addActions(items, "pause", panel.pauseActions);
    if (panel.reachableLabel) items.push_back(text("reachable", *panel.reachableLabel));
    addActions(items, "reachable", panel.reachableActions);
    if (panel.reachableCost && !panel.reachableActions.empty()) {
        items.push_back(text("reachableCost", *panel.reachableCost));
    }
}

bool hooksInstalled(const HookStatus& status) {
    return status.kind == HookStatus::Kind::installed || status.kind == HookStatus::Kind::outdated;
}

}  // namespace

std::string rowTitle(const PanelRow& row) {
    std::string title = row.name;
    if (row.distinction)
        title += " · " + *row.distinction;
    else if (row.label)
        title += " · " + *row.label;
    return title + " — " + row.detail;
}

std::string modeTitle(AwakeMode mode) {
    switch (mode) {
        case AwakeMode::always:
            return "Stay awake always";
        case AwakeMode::agentOpen:
            return "Stay awake while an agent is open";
        case AwakeMode::agentWorking:
            break;
    }
    return "Stay awake while an agent is working";
}

std::vector<ShellMenuItem> items(const ShellMenuInput& input) {
    std::vector<Item> items;
    addPanel(items, input.panel);
    separate(items);
    for (auto mode : {AwakeMode::always, AwakeMode::agentOpen, AwakeMode::agentWorking}) {
        items.push_back(choice("mode." + std::to_string(static_cast<int>(mode)),
                               ShellCommand::setMode(mode), modeTitle(mode), Item::Toggle::radio,
                               input.mode == mode));
    }
    if (!input.hooks.empty()) {
        Item hooks = text("hooks", "Hooks");
        for (const auto& hook : input.hooks) {
            const bool installed = hooksInstalled(hook.status);
            const bool usable = hook.status.kind != HookStatus::Kind::configMissing &&
                                hook.status.kind != HookStatus::Kind::unreadable;
            Item line = usable ? choice(hook.entry, ShellCommand::setHooks(hook.entry, !installed),
                                        hook.name, Item::Toggle::checkmark, installed)
                               : text(hook.entry, hook.name);
            hooks.children.push_back(std::move(line));
        }
        separate(items);
        items.push_back(std::move(hooks));
    }
    separate(items);
    if (input.openAtLogin) {
        items.push_back(choice("login", ShellCommand::setOpenAtLogin(!*input.openAtLogin),
                               "Open at login", Item::Toggle::checkmark, *input.openAtLogin));
    }
    items.push_back(choice("quit", ShellCommand::quit(), "Quit vigilmoth"));
    return items;
}

}  // namespace vigilmoth::ShellMenu
