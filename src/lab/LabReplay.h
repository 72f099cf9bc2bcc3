#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "decision/AgentReading.h"
#include "decision/DetectionSettings.h"
#include "decision/HoldPolicy.h"
#include "lab/LabFormat.h"

namespace vigilmoth {

// One replayed tick.
struct LabStep {
    Date at;
    std::vector<AgentReading> readings;
    HoldDecision decision;

    bool operator==(const LabStep&) const = default;
};

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
    std::string report() const;

    bool operator==(const LabScore&) const = default;
};

// Runs recorded frames through today's verdict rules and hold policy, exactly as the live
// engine would, and scores the result against the marks. Pure and deterministic.
namespace LabReplay {

// A step and when it ends: at the next step, or at once for the last one.
struct Span {
    const LabStep* step = nullptr;
    Date end;
};

// Settings and mode default to the recording's own (its header), then to the defaults.
LabScore score(const LabRecording& recording, const std::optional<DetectionSettings>& settings,
               std::optional<AwakeMode> mode);
std::vector<LabStep> steps(const LabRecording& recording,
                           const std::optional<DetectionSettings>& settings,
                           std::optional<AwakeMode> mode);

std::vector<Span> spans(const std::vector<LabStep>& steps);
// "*" matches every reading, "claude:4711" one process of an agent, anything else an agent id.
bool matches(const AgentReading& reading, std::string_view target);
LabTruth state(const LabStep& step, std::string_view target);
// Until when holding on after the mark is no fault, since the policy releases with a delay.
Date allowedHold(const LabMark& after, std::string_view target, const std::vector<LabStep>& steps,
                 const DetectionSettings& settings);
LabScore::Agent score(std::string_view target, std::vector<LabMark> marks,
                      const std::vector<LabStep>& steps, const DetectionSettings& settings);
std::vector<LabScore::Seen> seen(const std::vector<LabStep>& steps);
std::string title(const LabRecording& recording);

DetectionSettings settings(const LabRecording& recording,
                           const std::optional<DetectionSettings>& settings);
AwakeMode mode(const LabRecording& recording, std::optional<AwakeMode> mode);

}  // namespace LabReplay
}  // namespace vigilmoth
