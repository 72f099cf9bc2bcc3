#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "base/Date.h"
#include "decision/AgentReading.h"
#include "decision/HoldPolicy.h"
#include "lab/LabScore.h"

namespace vigilmoth {

// What the score keeps of replayed steps: when each was, whether it held, whom it read and who
// held, each agent id stored once. Matching marks needs no more, and a day of steps then takes
// a few megabytes where the steps themselves take over a hundred.
class LabTrace {
public:
    struct Reading {
        // Index of the agent id (agentID).
        std::uint32_t agent = 0;
        std::int32_t pid = 0;
        ReportedState state = ReportedState::idle;
        bool stateLevel = false;
    };
    // An agent instance with a reason to hold the Mac.
    struct Holder {
        std::uint32_t agent = 0;
        std::int32_t pid = 0;
    };

    void add(Date at, const std::vector<AgentReading>& readings, const HoldDecision& decision);

    std::size_t size() const { return steps_.size(); }
    Date at(std::size_t step) const { return steps_[step].at; }
    bool holds(std::size_t step) const { return steps_[step].hold; }
    std::span<const Reading> readings(std::size_t step) const;
    std::span<const Holder> holders(std::size_t step) const;
    const std::string& agentID(std::uint32_t agent) const { return agentIDs_[agent]; }
    // The index of an agent id the trace has met; none for one it never met.
    std::optional<std::uint32_t> agent(const std::string& agentID) const;

private:
    struct Step {
        Date at;
        // Where the step's readings and holders end in the shared lists.
        std::uint32_t readingsEnd = 0;
        std::uint32_t holdersEnd = 0;
        bool hold = false;
    };

    std::uint32_t intern(const std::string& agentID);

    std::vector<Step> steps_;
    std::vector<Reading> readings_;
    std::vector<Holder> holders_;
    std::vector<std::string> agentIDs_;
    std::unordered_map<std::string, std::uint32_t> agentIndexes_;
};

// Adds up, step by step, how long each agent instance spent in each state and how long the
// Mac was held: a step lasts until the next one, so its time is counted when that one comes,
// and the last step lasts no time at all.
class LabSeenTally {
public:
    void add(Date at, const HoldDecision& decision);

    const std::vector<LabScore::Seen>& seen() const { return entries_; }
    double heldSeconds() const { return heldSeconds_; }

private:
    struct Open {
        std::size_t entry = 0;
        ReportedState state = ReportedState::idle;
        bool held = false;
    };

    std::vector<LabScore::Seen> entries_;
    std::unordered_map<ProcessIdentity, std::size_t> indexes_;
    // The previous step, whose length the next one gives.
    std::optional<Date> openAt_;
    bool openHold_ = false;
    std::vector<Open> open_;
    double heldSeconds_ = 0;
};

}  // namespace vigilmoth
