#pragma once

#include <optional>
#include <string>
#include <vector>

#include "base/MachineWord.h"
#include "decision/DetectionSettings.h"
#include "ui/HeroPose.h"
#include "ui/PanelAction.h"

namespace vigilmoth {

// A group's header line: the agent, its state and for how long.
struct PanelRow {
    enum class State { working, waiting, idle };

    // Stable across rebuilds: the agent's id.
    std::string id;
    std::string agentID;
    std::string name;
    // The label of the group's only session.
    std::optional<std::string> label;
    // Tells apart two groups that would read the same.
    std::optional<std::string> distinction;
    State state = State::idle;
    // The status line ("Working for 5 minutes") and the help text (the verdict's reason).
    std::string detail;
    std::string hint;
    std::optional<PanelAction> goTo;

    bool operator==(const PanelRow&) const = default;
};

// One session, or a summary of several idle ones, under a group.
struct PanelChild {
    std::string id;
    std::string label;
    std::optional<std::string> detail;
    std::string hint;
    std::optional<PanelAction> goTo;

    bool operator==(const PanelChild&) const = default;
};

// One agent with its sessions.
struct PanelGroup {
    enum class Kind { active, idle };

    PanelRow header;
    // Empty for an agent with one session.
    std::vector<PanelChild> children;
    int working = 0;
    int waiting = 0;
    int idle = 0;
    AgentRule rule = AgentRule::automatic;

    Kind kind() const { return working + waiting > 0 ? Kind::active : Kind::idle; }

    bool operator==(const PanelGroup&) const = default;
};

// A line about a problem or an event, with what the user can do about it.
struct PanelAttention {
    enum class Kind {
        safetyStop,
        helperSwitchedOff,
        helperNotResponding,
        helperLost,
        reachableNeedsLidClosed,
        lidClosedNotSetUp,
        sleptAnyway,
    };

    Kind kind = Kind::sleptAnyway;
    std::string text;
    std::vector<PanelAction> actions;

    bool operator==(const PanelAttention&) const = default;
};

// The battery gauge and what the battery limit will do.
struct PanelBattery {
    enum class Level { normal, nearFloor, stopped, nearEmpty };

    int percent = 0;
    // The battery floor; absent when the limit is off.
    std::optional<int> floor;
    Level level = Level::normal;

    // The short text beside the gauge: "sleeps at 20%".
    std::string consequence() const;
    std::string accessibilityLabel(MachineWord machine = kMachineWord) const;

    bool operator==(const PanelBattery&) const = default;
};

// The switch line at the top: on or off, the mode, a pause or a reachable period.
struct PanelBar {
    bool enabled = true;
    AwakeMode mode = AwakeMode::agentWorking;
    std::optional<std::string> pausedLabel;
    std::optional<std::string> reachableLabel;
    // The pause choices, or Resume while paused; none while switched off.
    std::vector<PanelAction> pauseActions;
    // The stay-reachable choices, or Stop while reachable; none while off or paused.
    std::vector<PanelAction> reachableActions;
    std::optional<std::string> reachableCost;

    bool operator==(const PanelBar&) const = default;
};

// Everything the panel shows; the shells display it and decide nothing.
struct PanelState {
    HeroPose pose;
    std::string title;
    std::string subtitle;
    std::optional<PanelAttention> attention;
    std::optional<PanelAttention> sleepNote;
    std::optional<PanelBattery> battery;
    std::vector<PanelGroup> groups;
    // Idle groups folded under the row for further idle agents.
    std::vector<PanelGroup> moreIdle;
    // Shown, with its action, when there is no group.
    std::optional<std::string> emptyText;
    std::optional<PanelAction> emptyAction;
    std::optional<std::string> pausedLabel;
    std::optional<std::string> reachableLabel;
    std::vector<PanelAction> pauseActions;
    std::vector<PanelAction> reachableActions;
    std::optional<std::string> reachableCost;
    std::optional<std::string> menuBarAccessibilityLabel;

    bool operator==(const PanelState&) const = default;
};

}  // namespace vigilmoth
