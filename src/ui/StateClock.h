#pragma once

#include <optional>
#include <unordered_map>
#include <vector>

#include "base/Date.h"
#include "catalog/ProcessCensus.h"
#include "decision/AgentReading.h"

namespace vigilmoth {

// When each agent session entered the state it is in, so that the panel can say for how long.
struct StateClock {
    struct Entry {
        ReportedState state = ReportedState::idle;
        Date since;
        // The state before this one; absent for a session first seen in it.
        std::optional<ReportedState> before;

        bool operator==(const Entry&) const = default;
    };

    std::unordered_map<ProcessIdentity, Entry> entries;

    // The clock after the readings of one tick at `now`: a session that keeps its state keeps
    // its entry, one that changed starts again at `now`, and sessions no longer read are gone.
    StateClock updated(const std::vector<AgentReading>& readings, Date now) const;

    const Entry* entry(const ProcessIdentity& identity) const {
        auto found = entries.find(identity);
        return found == entries.end() ? nullptr : &found->second;
    }

    bool operator==(const StateClock&) const = default;
};

}  // namespace vigilmoth
