#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "base/Date.h"
#include "base/MachineWord.h"
#include "lab/LabMark.h"

namespace vigilmoth {

// How a recording's replay compares with the user's marks.
struct LabScore {
    struct Reaction {
        Date at;
        LabTruth truth = LabTruth::working;
        // Seconds until the replay agreed with the mark; absent when it never did.
        std::optional<double> delay;

        bool operator==(const Reaction&) const = default;
    };
    // The score of one mark target.
    struct Agent {
        std::string agent;
        double wronglyHeld = 0;
        double wronglyReleased = 0;
        std::vector<Reaction> reactions;

        bool operator==(const Agent&) const = default;
    };
    // What one agent instance did in the replay, in seconds.
    struct Seen {
        std::string agentID;
        std::string displayName;
        std::int32_t pid = 0;
        double working = 0;
        double waiting = 0;
        double idle = 0;
        double held = 0;

        bool operator==(const Seen&) const = default;
    };

    std::string title;
    std::int64_t samples = 0;
    double duration = 0;
    std::int64_t marks = 0;
    std::vector<Agent> agents;
    std::vector<Seen> seen;
    double heldSeconds = 0;
    std::int64_t liveMismatches = 0;

    // The plain-text report for a terminal, without a final line feed.
    std::string report(MachineWord machine = kMachineWord) const;

    bool operator==(const LabScore&) const = default;
};

}  // namespace vigilmoth
