#include "lab/LabTrace.h"

namespace vigilmoth {

void LabTrace::add(Date at, const std::vector<AgentReading>& readings,
                   const HoldDecision& decision) {
    for (const auto& reading : readings) {
        readings_.push_back({.agent = intern(reading.agentID),
                             .pid = reading.identity.pid,
                             .state = reading.verdict.state,
                             .stateLevel = reading.level == AgentDefinition::Level::state});
    }
    for (const auto& hold : decision.perAgent) {
        if (hold.cause) {
            holders_.push_back(
                {.agent = intern(hold.reading.agentID), .pid = hold.reading.identity.pid});
        }
    }
    steps_.push_back({.at = at,
                      .readingsEnd = static_cast<std::uint32_t>(readings_.size()),
                      .holdersEnd = static_cast<std::uint32_t>(holders_.size()),
                      .hold = decision.hold});
}

std::span<const LabTrace::Reading> LabTrace::readings(std::size_t step) const {
    std::size_t begin = step == 0 ? 0 : steps_[step - 1].readingsEnd;
    return std::span(readings_).subspan(begin, steps_[step].readingsEnd - begin);
}

std::span<const LabTrace::Holder> LabTrace::holders(std::size_t step) const {
    std::size_t begin = step == 0 ? 0 : steps_[step - 1].holdersEnd;
    return std::span(holders_).subspan(begin, steps_[step].holdersEnd - begin);
}

std::optional<std::uint32_t> LabTrace::agent(const std::string& agentID) const {
    auto found = agentIndexes_.find(agentID);
    if (found == agentIndexes_.end()) return std::nullopt;
    return found->second;
}

std::uint32_t LabTrace::intern(const std::string& agentID) {
    auto [found, isNew] =
        agentIndexes_.try_emplace(agentID, static_cast<std::uint32_t>(agentIDs_.size()));
    if (isNew) agentIDs_.push_back(agentID);
    return found->second;
}

void LabSeenTally::add(Date at, const HoldDecision& decision) {
    if (openAt_) {
        double length = at - *openAt_;
        if (openHold_) heldSeconds_ += length;
        for (const auto& open : open_) {
            auto& entry = entries_[open.entry];
            switch (open.state) {
                case ReportedState::working:
                    entry.working += length;
                    break;
                case ReportedState::waitingForUser:
                    entry.waiting += length;
                    break;
                case ReportedState::idle:
                    entry.idle += length;
                    break;
            }
            if (open.held) entry.held += length;
        }
    }
    openAt_ = at;
    openHold_ = decision.hold;
    open_.clear();
    for (const auto& hold : decision.perAgent) {
        const auto& reading = hold.reading;
        auto [found, isNew] = indexes_.try_emplace(reading.identity, entries_.size());
        if (isNew) {
            entries_.push_back({.agentID = reading.agentID,
                                .displayName = reading.displayName,
                                .pid = reading.identity.pid});
        }
        open_.push_back({.entry = found->second,
                         .state = reading.verdict.state,
                         .held = hold.cause.has_value()});
    }
}

}  // namespace vigilmoth
