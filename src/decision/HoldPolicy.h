#pragma once

#include <optional>
#include <unordered_map>
#include <vector>

#include "base/Date.h"
#include "catalog/ProcessCensus.h"
#include "decision/AgentReading.h"
#include "decision/DetectionSettings.h"
#include "decision/HoldHeadline.h"
#include "evidence/EvidenceFrame.h"
#include "power/SafetyStop.h"

namespace vigilmoth {

// What the hold policy remembers per agent process between decisions.
struct PolicyMemory {
    struct Instance {
        std::optional<Date> lastWorkingAt;
        std::optional<Date> waitingSince;

        bool operator==(const Instance&) const = default;
    };

    std::unordered_map<ProcessIdentity, Instance> instances;

    bool operator==(const PolicyMemory&) const = default;
};

// Why one agent holds the Mac, in the order a headline prefers them.
enum class HoldCause { working, waitingForUser, finishedRecently, open };

struct AgentHold {
    AgentReading reading;
    // Absent when this agent does not hold the Mac.
    std::optional<HoldCause> cause;

    bool operator==(const AgentHold&) const = default;
};

struct HoldDecision {
    bool hold = false;
    // Also awake with the lid closed.
    bool lidClosedFlag = false;
    HoldHeadline headline = HoldHeadline::noAgents();
    // Every reading of the tick, in reading order.
    std::vector<AgentHold> perAgent;
    // When the hold ends, if a wait for the user is all that holds the Mac.
    std::optional<Date> waitingEnds;

    bool operator==(const HoldDecision&) const = default;
};

// What the engine's wake gate says at this tick: a hold that was on survives, but a new one
// must not start in the middle of a sleep or right after a wake.
struct WakePermission {
    // The Mac slept since the announced sleep and has not settled yet.
    bool settling = false;
    bool sleepAnnounced = false;
    bool wakePending = false;

    bool allowsHold(bool previousHold) const {
        return !settling && (previousHold || (!sleepAnnounced && !wakePending));
    }

    bool operator==(const WakePermission&) const = default;
};

// Everything a decision depends on besides the readings and the memory.
struct HoldSituation {
    AwakeMode mode = AwakeMode::agentWorking;
    bool enabled = true;
    std::optional<Date> pausedUntil;
    std::optional<Date> reachableUntil;
    std::optional<SafetyStop> safetyStop;
    FrameContext context;
    bool previousHold = false;
    WakePermission wake;

    bool operator==(const HoldSituation&) const = default;
};

struct HoldOutcome {
    HoldDecision decision;
    PolicyMemory memory;

    bool operator==(const HoldOutcome&) const = default;
};

// Turns one tick's readings into the one decision the rest of the system acts on. Pure.
namespace HoldPolicy {

HoldOutcome decide(const std::vector<AgentReading>& readings, const PolicyMemory& memory,
                   const DetectionSettings& settings, const HoldSituation& situation, Date now);

PolicyMemory remember(const std::vector<AgentReading>& readings, const PolicyMemory& memory,
                      const DetectionSettings& settings, Date now);
std::optional<HoldCause> cause(const AgentReading& reading, const PolicyMemory& memory,
                               AwakeMode mode, const DetectionSettings& settings, Date now);
std::optional<HoldSubject> subject(const std::vector<AgentHold>& holds, HoldCause cause);
// The headline when vigilmoth is on and not paused.
HoldHeadline headline(const std::vector<AgentHold>& holds, AwakeMode mode,
                      std::optional<Date> reachableUntil, const DetectionSettings& settings,
                      const FrameContext& context);
// The headline when nothing keeps the Mac awake.
HoldHeadline restHeadline(const std::vector<AgentHold>& holds, const DetectionSettings& settings);
std::optional<Date> waitingEnds(const std::vector<AgentHold>& holds, const PolicyMemory& memory,
                                const DetectionSettings& settings);

}  // namespace HoldPolicy
}  // namespace vigilmoth
