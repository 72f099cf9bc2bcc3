#pragma once

// Small builders shared by the decision, lab and notice tests: a reading, a frame, one agent's
// evidence with sensible defaults, and a run that carries memories from tick to tick as the
// engine does.
#include <functional>
#include <ostream>
#include <string>
#include <vector>

#include "decision/DetectionSample.h"
#include "decision/HoldPolicy.h"
#include "decision/VerdictRules.h"
#include "ui/HoldHeadlineText.h"

namespace vigilmoth {

// Readable failures: the lab's codes and the headline's own text.
inline void PrintTo(const VerdictReason& reason, std::ostream* out) {
    *out << reason.code();
}
inline void PrintTo(const AgentVerdict& verdict, std::ostream* out) {
    *out << "state " << static_cast<int>(verdict.state) << ", confidence "
         << static_cast<int>(verdict.confidence) << ", " << verdict.reason.code();
}
inline void PrintTo(const HoldHeadline& headline, std::ostream* out) {
    *out << '"' << HoldHeadlineText::text(headline) << '"';
}
inline void PrintTo(const Date& date, std::ostream* out) {
    *out << std::fixed << date.secondsSince1970();
}

}  // namespace vigilmoth

namespace vigilmoth::testing {

// A reading with what tells agents apart and the verdict's state; the rest as defaulted.
inline AgentReading readingOf(std::string agentID, std::string displayName,
                              ProcessIdentity identity, ReportedState state) {
    AgentReading made;
    made.agentID = std::move(agentID);
    made.displayName = std::move(displayName);
    made.identity = identity;
    made.verdict.state = state;
    return made;
}

// A frame of the agents given at `at`, in a plain situation.
inline EvidenceFrame frameAt(Date at, std::vector<AgentEvidence> agents) {
    EvidenceFrame frame;
    frame.at = at;
    frame.agents = std::move(agents);
    return frame;
}

}  // namespace vigilmoth::testing

namespace vigilmoth::verdicttest {

using Source = StateReport::Source;
using Kind = VerdictReason::Kind;
using Confidence = AgentVerdict::Confidence;
inline constexpr auto working = ReportedState::working;
inline constexpr auto waiting = ReportedState::waitingForUser;
inline constexpr auto idle = ReportedState::idle;

inline constexpr double epoch = 1'700'000'000;

inline Date at(double secondsAfterEpoch) {
    return Date(epoch + secondsAfterEpoch);
}

// The tick the single-tick tables read at.
inline const Date now = at(1000);

inline AgentEvidence agent(std::string id = "codex", std::int32_t pid = 100,
                           AgentDefinition::Level level = AgentDefinition::Level::activity) {
    AgentEvidence evidence;
    evidence.agentID = id;
    evidence.displayName = id == "claude" ? "Claude Code" : id;
    evidence.level = level;
    evidence.pid = pid;
    // Started well before any tick of the tests.
    evidence.startTime = epoch - 3600;
    return evidence;
}

inline AgentEvidence stateAgent(std::string id = "claude", std::int32_t pid = 200) {
    return agent(std::move(id), pid, AgentDefinition::Level::state);
}

inline StateReport report(ReportedState state, StateReport::Source source, Date observedAt,
                          std::optional<Date> since = std::nullopt) {
    StateReport made;
    made.state = state;
    made.source = source;
    made.observedAt = observedAt;
    made.since = since;
    return made;
}

inline AgentEvidence with(AgentEvidence evidence,
                          const std::function<void(AgentEvidence&)>& change) {
    change(evidence);
    return evidence;
}

// The memory of a report seen at the tick it was observed.
inline void rememberReport(AgentMemory& memory, StateReport seen) {
    memory.lastReportSeenAt = seen.observedAt;
    memory.lastReport = std::move(seen);
}

inline AgentEvidence withHook(AgentEvidence evidence, ReportedState state, Date stampedAt) {
    evidence.hookState = state;
    evidence.hookStateAt = stampedAt;
    return evidence;
}

inline AgentEvidence withCPU(AgentEvidence evidence, double share, double interval = 2) {
    evidence.subtreeCPUSeconds = share * interval;
    evidence.sampleInterval = interval;
    return evidence;
}

// Ticks frames through the rules and the policy with the memories in between.
struct TickRun {
    DetectionSettings settings;
    AgentMemories memories;
    PolicyMemory policy;
    HoldSituation situation;
    HoldDecision decision;

    std::vector<AgentReading> tick(Date now, std::vector<AgentEvidence> agents) {
        auto frame = testing::frameAt(now, std::move(agents));
        frame.context = situation.context;
        auto outcome = VerdictRules::readings(frame, memories, settings);
        memories = std::move(outcome.memories);
        situation.previousHold = decision.hold;
        auto held = HoldPolicy::decide(outcome.readings, policy, settings, situation, now);
        policy = std::move(held.memory);
        decision = std::move(held.decision);
        return outcome.readings;
    }

    AgentReading tickOne(Date now, AgentEvidence evidence) {
        return tick(now, {std::move(evidence)}).front();
    }
};

}  // namespace vigilmoth::verdicttest
