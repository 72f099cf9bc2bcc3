#pragma once

#include <optional>
#include <string>
#include <unordered_map>
#include <vector>

#include "base/Date.h"
#include "base/MachineWord.h"
#include "catalog/ProcessCensus.h"
#include "decision/AgentReading.h"
#include "ui/PanelInput.h"
#include "ui/PanelState.h"
#include "ui/StateClock.h"

// The agent groups of the panel: one per agent, its sessions as children, ranked so that the
// agent waiting longest comes first. Part of `MenuModel`, whose other lines are in MenuModel.h.
namespace vigilmoth::MenuModel {

// One group while the groups are built and ordered.
struct Built {
    // Lower sorts first.
    enum class Rank { waiting, working, idle, ignored };

    PanelGroup group;
    // The session that represents the group: the first in its order.
    std::optional<ProcessIdentity> identity;
    Rank rank = Rank::idle;
    // What the group is ordered by within its rank.
    std::optional<Date> since;

    bool operator==(const Built&) const = default;
};

struct Groups {
    // Every group, in display order.
    std::vector<PanelGroup> all;
    // The groups shown directly, and the idle ones folded under the row for further idle agents.
    std::vector<PanelGroup> inView;
    std::vector<PanelGroup> moreIdle;
};

Groups groups(const PanelInput& input, Date now, MachineWord machine = kMachineWord);

// The group of one agent's readings, shown under `name`.
Built built(const std::vector<AgentReading>& readings, const std::string& name,
            const PanelInput& input, Date now, MachineWord machine = kMachineWord);

// The session longest in its state first, sessions the clock does not know last.
std::vector<AgentReading> longestFirst(std::vector<AgentReading> readings, const StateClock& clock);

// By agent id: the display name, with " app" for a desktop agent whose command-line namesake
// runs too ("Codex" and "Codex app").
std::unordered_map<std::string, std::string> groupNames(const std::vector<AgentReading>& readings);

// The groups with a distinction for each name that more than one of them reads.
std::vector<PanelGroup> distinguished(std::vector<PanelGroup> groups,
                                      const std::vector<Built>& built, const PanelInput& input);

// One label per session: its own name, else the time it entered its state, its terminal, or
// its place in the list.
std::vector<std::string> childLabels(const std::vector<AgentReading>& readings,
                                     const PanelInput& input);
PanelChild child(const AgentReading& reading, std::string label, const PanelInput& input,
                 std::optional<std::string> detail, MachineWord machine = kMachineWord);

}  // namespace vigilmoth::MenuModel
