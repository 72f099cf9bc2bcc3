#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "base/KeyValueStore.h"
#include "catalog/ProcessCensus.h"
#include "decision/AgentReading.h"

namespace vigilmoth {

enum class AgentNoticeKind { waiting, finished };

std::string_view agentNoticeKindWord(AgentNoticeKind kind);

struct AgentNoticeSettings {
    bool waiting = true;
    bool finished = false;
    bool onlyWhenAway = true;

    // Each key only when it holds a boolean; anything else keeps the default.
    static AgentNoticeSettings load(const KeyValueStore& store);
    void save(KeyValueStore& store) const;

    bool operator==(const AgentNoticeSettings&) const = default;
};

// What one update of the reducer sees.
struct AgentNoticeInput {
    std::vector<AgentReading> readings;
    std::unordered_map<ProcessIdentity, std::string> labels;
    // The pid of the app that hosts each session (its terminal or editor).
    std::unordered_map<ProcessIdentity, std::int32_t> owners;
    std::optional<std::int32_t> frontmostPid;
    // The user touched keyboard or mouse less than 10 seconds ago.
    bool userActive = false;
    AgentNoticeSettings settings;
    // vigilmoth is switched on and not paused.
    bool active = true;
};

// A notice that is due: one kind, the sessions in the order they became due.
struct AgentNotice {
    struct Session {
        ProcessIdentity identity;
        std::string agentID;
        std::string displayName;
        std::optional<std::string> label;
        std::optional<std::int32_t> ownerPid;
        // Seconds of the turn that finished.
        std::optional<double> workedFor;
        bool failed = false;

        bool operator==(const Session&) const = default;
    };

    AgentNoticeKind kind = AgentNoticeKind::waiting;
    std::vector<Session> sessions;

    bool operator==(const AgentNotice&) const = default;
};

// One decision of the reducer, for the log and the lab.
struct AgentNoticeDecision {
    struct Outcome {
        enum class Kind { backAtWork, waitEnded, told, atLaunch, notActive, inFront, asksInstead };
        Kind kind = Kind::told;
        // Seconds, for backAtWork and waitEnded.
        double after = 0;

        static Outcome backAtWork(double after) { return {Kind::backAtWork, after}; }
        static Outcome waitEnded(double after) { return {Kind::waitEnded, after}; }
        static Outcome of(Kind kind) { return {kind, 0}; }

        bool operator==(const Outcome&) const = default;
    };

    AgentNoticeKind kind = AgentNoticeKind::waiting;
    std::int32_t pid = 0;
    Outcome outcome;
    std::optional<double> workedFor;

    // "waiting fired pid 812", "finished skipped pid 812: it asks a question, and that was told".
    std::string logLine() const;

    bool operator==(const AgentNoticeDecision&) const = default;
};

}  // namespace vigilmoth
