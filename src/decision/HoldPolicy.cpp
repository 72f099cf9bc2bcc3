#include "decision/HoldPolicy.h"

#include <algorithm>

#include "decision/AgentMemory.h"

namespace vigilmoth::HoldPolicy {

namespace {

bool ignored(const AgentReading& reading, const DetectionSettings& settings) {
    return settings.rule(reading.agentID) == AgentRule::ignore;
}

bool remoteAccessHolds(const DetectionSettings& settings, const FrameContext& context) {
    return settings.stayAwakeForRemoteAccess && context.remoteAccessDetected && !context.onBattery;
}

std::vector<AgentHold> withoutCauses(std::vector<AgentHold> holds) {
    for (auto& hold : holds)
        hold.cause.reset();
    return holds;
}

HoldDecision released(HoldHeadline headline, std::vector<AgentHold> holds) {
    return HoldDecision{false, false, std::move(headline), withoutCauses(std::move(holds)),
                        std::nullopt};
}

std::optional<HoldSubject> subjectWhere(const std::vector<AgentHold>& holds, auto&& counts) {
    std::vector<std::string> names;
    for (const auto& hold : holds) {
        if (counts(hold)) names.push_back(hold.reading.displayName);
    }
    return HoldSubject::of(names);
}

}  // namespace

PolicyMemory remember(const std::vector<AgentReading>& readings, const PolicyMemory& memory,
                      const DetectionSettings& settings, Date now) {
    PolicyMemory remembered;
    for (const auto& reading : readings) {
        if (ignored(reading, settings)) continue;
        const auto old = memory.instances.find(reading.identity);
        auto instance = old == memory.instances.end() ? PolicyMemory::Instance{} : old->second;
        switch (reading.verdict.state) {
            case ReportedState::working:
                instance.lastWorkingAt = now;
                instance.waitingSince.reset();
                break;
            case ReportedState::waitingForUser:
                if (!instance.waitingSince) instance.waitingSince = now;
                break;
            case ReportedState::idle:
                instance.waitingSince.reset();
                break;
        }
        remembered.instances[reading.identity] = instance;
    }
    return remembered;
}

std::optional<HoldCause> cause(const AgentReading& reading, const PolicyMemory& memory,
                               AwakeMode mode, const DetectionSettings& settings, Date now) {
    const auto found = memory.instances.find(reading.identity);
    if (found == memory.instances.end()) return std::nullopt;
    const auto& instance = found->second;
    const ReportedState state = reading.verdict.state;
    if (state == ReportedState::working) return HoldCause::working;
    if (state == ReportedState::waitingForUser && instance.waitingSince &&
        now - *instance.waitingSince < settings.waitingHold) {
        return HoldCause::waitingForUser;
    }
    // Only an agent that says when it finishes gets this grace; the others have theirs in the
    // verdict rules already.
    if (reading.level == AgentDefinition::Level::state && instance.lastWorkingAt &&
        now - *instance.lastWorkingAt < settings.releaseAfterState) {
        return HoldCause::finishedRecently;
    }
    if (mode == AwakeMode::agentOpen &&
        (reading.kind == AgentDefinition::Kind::cli || reading.hasLiveSession)) {
        return HoldCause::open;
    }
    return std::nullopt;
}

std::optional<HoldSubject> subject(const std::vector<AgentHold>& holds, HoldCause cause) {
    return subjectWhere(holds, [cause](const AgentHold& hold) { return hold.cause == cause; });
}

HoldHeadline headline(const std::vector<AgentHold>& holds, AwakeMode mode,
                      std::optional<Date> reachableUntil, const DetectionSettings& settings,
                      const FrameContext& context) {
    if (mode == AwakeMode::always) return HoldHeadline::alwaysOn();
    if (auto who = subject(holds, HoldCause::working)) return HoldHeadline::working(*who);
    if (auto who = subject(holds, HoldCause::waitingForUser))
        return HoldHeadline::waitingHeld(*who);
    if (auto who = subject(holds, HoldCause::finishedRecently)) {
        return HoldHeadline::finishedRecently(*who);
    }
    if (auto who = subject(holds, HoldCause::open)) return HoldHeadline::open(*who);
    if (reachableUntil) return HoldHeadline::reachable(*reachableUntil);
    if (remoteAccessHolds(settings, context)) return HoldHeadline::remoteAccess();
    return restHeadline(holds, settings);
}

HoldHeadline restHeadline(const std::vector<AgentHold>& holds, const DetectionSettings& settings) {
    const auto waiting = subjectWhere(holds, [&settings](const AgentHold& hold) {
        return !ignored(hold.reading, settings) &&
               hold.reading.verdict.state == ReportedState::waitingForUser;
    });
    if (waiting) return HoldHeadline::waitingReleased(*waiting);
    const auto present = subjectWhere(
        holds, [&settings](const AgentHold& hold) { return !ignored(hold.reading, settings); });
    if (present) return HoldHeadline::idle(*present);
    return HoldHeadline::noAgents();
}

std::optional<Date> waitingEnds(const std::vector<AgentHold>& holds, const PolicyMemory& memory,
                                const DetectionSettings& settings) {
    std::optional<Date> end;
    for (const auto& hold : holds) {
        if (!hold.cause) continue;
        // Something else holds the Mac, so no end is known.
        if (*hold.cause != HoldCause::waitingForUser) return std::nullopt;
        const auto found = memory.instances.find(hold.reading.identity);
        if (found == memory.instances.end() || !found->second.waitingSince) continue;
        const auto& instance = found->second;
        Date agentEnd = *instance.waitingSince + settings.waitingHold;
        if (hold.reading.level == AgentDefinition::Level::state && instance.lastWorkingAt) {
            agentEnd = std::max(agentEnd, *instance.lastWorkingAt + settings.releaseAfterState);
        }
        end = latest(end, agentEnd);
    }
    return end;
}

HoldOutcome decide(const std::vector<AgentReading>& readings, const PolicyMemory& memory,
                   const DetectionSettings& settings, const HoldSituation& situation, Date now) {
    HoldOutcome outcome{{}, remember(readings, memory, settings, now)};
    std::vector<AgentHold> holds;
    holds.reserve(readings.size());
    for (const auto& reading : readings) {
        holds.push_back({reading, cause(reading, outcome.memory, situation.mode, settings, now)});
    }
    if (situation.safetyStop) {
        outcome.decision = released(HoldHeadline::safetyStop(*situation.safetyStop), holds);
        return outcome;
    }
    if (!situation.enabled) {
        outcome.decision = released(HoldHeadline::switchedOff(), holds);
        return outcome;
    }
    if (situation.pausedUntil && now < *situation.pausedUntil) {
        outcome.decision = released(HoldHeadline::paused(*situation.pausedUntil), holds);
        return outcome;
    }
    std::optional<Date> reachable = situation.reachableUntil;
    if (reachable && !(now < *reachable)) reachable.reset();
    HoldHeadline chosen = headline(holds, situation.mode, reachable, settings, situation.context);
    if (chosen.keepsAwake() && !situation.wake.allowsHold(situation.previousHold)) {
        auto rest = restHeadline(holds, settings);
        outcome.decision = released(std::move(rest), std::move(holds));
        return outcome;
    }
    HoldDecision& decision = outcome.decision;
    decision.hold = chosen.keepsAwake();
    decision.lidClosedFlag = decision.hold && settings.stayAwakeLidClosedOnBattery;
    decision.headline = std::move(chosen);
    if (situation.mode == AwakeMode::agentWorking && !reachable &&
        !remoteAccessHolds(settings, situation.context)) {
        decision.waitingEnds = waitingEnds(holds, outcome.memory, settings);
    }
    decision.perAgent = std::move(holds);
    return outcome;
}

}  // namespace vigilmoth::HoldPolicy
