#pragma once

#include <optional>
#include <string>

#include "base/Date.h"
#include "catalog/AgentDefinition.h"
#include "catalog/ProcessCensus.h"
#include "decision/VerdictReason.h"
#include "evidence/StateReport.h"

namespace vigilmoth {

struct AgentVerdict {
    enum class Confidence { reported, inferredStrong, inferredWeak };

    ReportedState state = ReportedState::idle;
    Confidence confidence = Confidence::inferredWeak;
    VerdictReason reason;

    bool operator==(const AgentVerdict&) const = default;
};

// Where the agent stands in its conversation with the user.
struct AgentTurn {
    ReportedState state = ReportedState::idle;
    std::optional<Date> since;
    bool failed = false;

    bool operator==(const AgentTurn&) const = default;
};

struct AgentReading {
    std::string agentID;
    std::string displayName;
    AgentDefinition::Level level = AgentDefinition::Level::activity;
    AgentDefinition::Kind kind = AgentDefinition::Kind::cli;
    ProcessIdentity identity;
    bool hasLiveSession = false;
    AgentVerdict verdict;
    std::optional<AgentTurn> turn;

    bool operator==(const AgentReading&) const = default;
};

}  // namespace vigilmoth
