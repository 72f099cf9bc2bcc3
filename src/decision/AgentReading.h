#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "base/Date.h"
#include "catalog/AgentDefinition.h"
#include "catalog/ProcessCensus.h"
#include "evidence/StateReport.h"

namespace vigilmoth {

// Why the rules read an agent the way they did. The text is shown to the user; the code is
// what the lab writes and compares, so it never changes with the wording.
struct VerdictReason {
    enum class Kind {
        runningCommand,
        backgroundJob,
        writingSessionFile,
        workedRecently,
        noActivity,
        onlyWeakSigns,
        reportsBusy,
        holdsSleepAssertion,
        cpuActivity,
        asksPermission,
        awaitsApproval,
        atPrompt,
        alwaysWorkingByRule,
        ignoredByRule,
    };

    Kind kind = Kind::noActivity;
    // The count, seconds ago or minutes of the first six cases; 0 for the others.
    std::int64_t value = 0;

    static VerdictReason runningCommand(std::int64_t count) {
        return {Kind::runningCommand, count};
    }
    static VerdictReason backgroundJob(std::int64_t count) { return {Kind::backgroundJob, count}; }
    static VerdictReason writingSessionFile(std::int64_t secondsAgo) {
        return {Kind::writingSessionFile, secondsAgo};
    }
    static VerdictReason workedRecently(std::int64_t secondsAgo) {
        return {Kind::workedRecently, secondsAgo};
    }
    static VerdictReason noActivity(std::int64_t minutes) { return {Kind::noActivity, minutes}; }
    static VerdictReason onlyWeakSigns(std::int64_t minutes) {
        return {Kind::onlyWeakSigns, minutes};
    }
    static VerdictReason plain(Kind kind) { return {kind, 0}; }

    std::string text() const;
    std::string code() const;

    bool operator==(const VerdictReason&) const = default;
};

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

// Whole seconds of a duration, truncated toward zero; nonsense (NaN, infinite, beyond any
// real age) is held to a finite value so that reasons never carry undefined numbers.
std::int64_t wholeSeconds(double seconds);

}  // namespace vigilmoth
