#include "decision/VerdictRules.h"

#include <array>
#include <cmath>
#include <unordered_set>

#include "decision/CursorApprovalRule.h"

namespace vigilmoth::VerdictRules {

namespace {

using Confidence = AgentVerdict::Confidence;
using Kind = VerdictReason::Kind;

bool younger(std::optional<Date> date, double limit, Date now) {
    return date && now - *date < limit;
}

bool between(std::optional<Date> date, Date after, Date notAfter) {
    return date && *date > after && *date <= notAfter;
}

// The verdict from the agent's own words, when it says anything.
std::optional<AgentVerdict> statedVerdict(const AgentEvidence& evidence, const AgentMemory& memory,
                                          const DetectionSettings& settings, Date now) {
    const auto stated = statedState(evidence, memory, settings, now);
    if (!stated) return std::nullopt;
    if (*stated == ReportedState::working) {
        return AgentVerdict{ReportedState::working, Confidence::reported,
                            VerdictReason::plain(Kind::reportsBusy)};
    }
    // Running commands overrule a stated wait or idle.
    if (evidence.busyChildCommands > 0) {
        return AgentVerdict{ReportedState::working, Confidence::inferredStrong,
                            VerdictReason::runningCommand(evidence.busyChildCommands)};
    }
    if (evidence.backgroundJobsWorking > 0) {
        return AgentVerdict{ReportedState::working, Confidence::inferredStrong,
                            VerdictReason::backgroundJob(evidence.backgroundJobsWorking)};
    }
    if (*stated == ReportedState::waitingForUser) {
        return AgentVerdict{ReportedState::waitingForUser, Confidence::reported,
                            VerdictReason::plain(Kind::asksPermission)};
    }
    const auto workedAt = memory.workAfterHookIdleAt;
    if (younger(workedAt, settings.releaseAfterActivity, now)) {
        // It worked after saying it was idle.
        if (evidence.ownsSleepAssertion) {
            return AgentVerdict{ReportedState::working, Confidence::inferredStrong,
                                VerdictReason::plain(Kind::holdsSleepAssertion)};
        }
        const auto ago = wholeSeconds(now - *workedAt);
        return AgentVerdict{ReportedState::working, Confidence::inferredStrong,
                            memory.lastFileWriteAt == workedAt
                                ? VerdictReason::writingSessionFile(ago)
                                : VerdictReason::workedRecently(ago)};
    }
    return AgentVerdict{ReportedState::idle, Confidence::reported,
                        VerdictReason::plain(Kind::atPrompt)};
}

// Where the conversation stands, from a state the agent declared.
AgentTurn statedTurn(ReportedState stated, const std::optional<StateReport>& detail,
                     const AgentMemory& memory, std::optional<ReportedState> reported) {
    using Source = StateReport::Source;
    switch (stated) {
        case ReportedState::working:
            if (detail && detail->turnEnded) return {ReportedState::idle, std::nullopt, false};
            if (detail && (detail->source == Source::claudeSessionFile ||
                           detail->source == Source::codexRollout ||
                           detail->source == Source::cursorTranscript)) {
                return {ReportedState::working, detail->since, false};
            }
            return {ReportedState::working, std::nullopt, false};
        case ReportedState::waitingForUser:
            return {ReportedState::waitingForUser, std::nullopt, false};
        case ReportedState::idle:
            break;
    }
    const bool failed =
        memory.lastReport && memory.lastReport->failed && reported == ReportedState::idle;
    return {ReportedState::idle, std::nullopt, failed};
}

}  // namespace

VerdictOutcome readings(const EvidenceFrame& frame, const AgentMemories& memory,
                        const DetectionSettings& settings) {
    const Date now = frame.at;
    VerdictOutcome outcome;
    outcome.readings.reserve(frame.agents.size());
    outcome.memories.reserve(frame.agents.size());
    for (const auto& evidence : frame.agents) {
        const ProcessIdentity identity = evidence.identity();
        if (outcome.memories.contains(identity)) continue;
        const auto found = memory.find(identity);
        AgentMemory noted = found == memory.end() ? AgentMemory{} : found->second;
        note(evidence, noted, settings, now);
        outcome.readings.push_back(
            AgentReading{evidence.agentID, evidence.displayName, evidence.level, evidence.kind,
                         identity, evidence.hasLiveSession, verdict(evidence, noted, settings, now),
                         turn(evidence, noted, settings, now)});
        outcome.memories.emplace(identity, std::move(noted));
    }
    return outcome;
}

AgentVerdict verdict(const AgentEvidence& evidence, const AgentMemory& memory,
                     const DetectionSettings& settings, Date now) {
    switch (settings.rule(evidence.agentID)) {
        case AgentRule::alwaysWorkingWhileOpen:
            return {ReportedState::working, Confidence::reported,
                    VerdictReason::plain(Kind::alwaysWorkingByRule)};
        case AgentRule::ignore:
            return {ReportedState::idle, Confidence::reported,
                    VerdictReason::plain(Kind::ignoredByRule)};
        case AgentRule::automatic:
            break;
    }
    if (memory.approvalSignsSince && now - *memory.approvalSignsSince >= approvalDelay) {
        return {ReportedState::waitingForUser, Confidence::inferredStrong,
                VerdictReason::plain(Kind::awaitsApproval)};
    }
    if (auto stated = statedVerdict(evidence, memory, settings, now)) return *stated;
    return inferred(evidence, memory, settings, now);
}

std::optional<ReportedState> reportedState(const AgentMemory& memory,
                                           const DetectionSettings& settings, Date now) {
    if (!memory.lastReport || !memory.lastReportSeenAt ||
        now - *memory.lastReportSeenAt > reportLinger) {
        return std::nullopt;
    }
    const StateReport& report = *memory.lastReport;
    if (report.source == StateReport::Source::claudeTranscript &&
        report.state == ReportedState::working) {
        // A transcript that stopped mid-turn is not trusted for long.
        if (younger(report.since, settings.releaseAfterActivity, now)) return report.state;
        return std::nullopt;
    }
    return report.state;
}

std::optional<ReportedState> statedState(const AgentEvidence& evidence, const AgentMemory& memory,
                                         const DetectionSettings& settings, Date now) {
    const auto reported = reportedState(memory, settings, now);
    const bool statesLevel = evidence.level == AgentDefinition::Level::state;
    // An idle report outlives the hook file's freshness: it stands until something new happens.
    if (!evidence.hookState && !statesLevel && memory.hookIdleAt) return ReportedState::idle;
    const auto h = usableHookAt(evidence, now);
    if (!h) return reported;
    const ReportedState hook = *evidence.hookState;
    const bool oneHookFile = statesLevel && !evidence.hookStateBySession;
    if (hook == ReportedState::waitingForUser) {
        if (memory.endedHookWaitAt == h) return reported;
        // A denied prompt or Esc fires no hook; the session files say so later.
        const bool sessionSaysIdle =
            oneHookFile && reported == ReportedState::idle &&
            between(memory.lastReport ? memory.lastReport->since : std::nullopt, *h, now);
        return sessionSaysIdle ? ReportedState::idle : hook;
    }
    if (CursorApprovalRule::endedByStopHook(evidence, now)) return ReportedState::idle;
    if (now - *h <= freshHookAge) {
        if (hook == ReportedState::idle) {
            return reported == ReportedState::working ? ReportedState::working
                                                      : ReportedState::idle;
        }
        if (!oneHookFile) return ReportedState::working;
        // One hook file for the whole agent: its session files may know better.
        const bool sessionSaysIdle =
            reported == ReportedState::idle &&
            between(memory.lastReport ? memory.lastReport->since : std::nullopt, *h, now);
        return sessionSaysIdle ? ReportedState::idle : ReportedState::working;
    }
    if (hook == ReportedState::idle) return statesLevel ? reported : ReportedState::idle;
    if (statesLevel) return reported;
    return younger(memory.hookWorkSince, staleHookWorkTrust, now)
               ? std::optional(ReportedState::working)
               : reported;
}

AgentVerdict inferred(const AgentEvidence& evidence, const AgentMemory& memory,
                      const DetectionSettings& settings, Date now) {
    const double rel = settings.releaseAfterActivity;
    const auto strongAt = memory.lastStrongAt();
    if (younger(strongAt, rel, now)) {
        VerdictReason reason;
        if (evidence.busyChildCommands > 0) {
            reason = VerdictReason::runningCommand(evidence.busyChildCommands);
        } else if (evidence.backgroundJobsWorking > 0) {
            reason = VerdictReason::backgroundJob(evidence.backgroundJobsWorking);
        } else if (evidence.ownsSleepAssertion) {
            reason = VerdictReason::plain(Kind::holdsSleepAssertion);
        } else {
            const auto ago = wholeSeconds(now - *strongAt);
            reason = memory.lastFileWriteAt == strongAt ? VerdictReason::writingSessionFile(ago)
                                                        : VerdictReason::workedRecently(ago);
        }
        return {ReportedState::working, Confidence::inferredStrong, reason};
    }
    if (younger(memory.lastCPUAt, rel, now)) {
        if (memory.weakCapped) {
            return {ReportedState::idle, Confidence::inferredWeak,
                    VerdictReason::onlyWeakSigns(wholeSeconds(settings.weakEvidenceCap / 60))};
        }
        return {ReportedState::working, Confidence::inferredWeak,
                VerdictReason::plain(Kind::cpuActivity)};
    }
    const auto lastSign = latest(strongAt, memory.lastCPUAt);
    const auto since = lastSign ? lastSign : memory.firstSeenAt;
    const std::int64_t minutes = since ? wholeSeconds((now - *since) / 60) : 0;
    return {ReportedState::idle, Confidence::inferredWeak, VerdictReason::noActivity(minutes)};
}

std::optional<AgentTurn> turn(const AgentEvidence& evidence, const AgentMemory& memory,
                              const DetectionSettings& settings, Date now) {
    if (settings.rule(evidence.agentID) != AgentRule::automatic) return std::nullopt;
    if (memory.approvalSignsSince && now - *memory.approvalSignsSince >= approvalDelay) {
        return AgentTurn{ReportedState::waitingForUser, std::nullopt, false};
    }
    auto stated = statedState(evidence, memory, settings, now);
    const auto reported = reportedState(memory, settings, now);
    if (stated) {
        std::optional<StateReport> detail;
        if (reported == stated) detail = memory.lastReport;
        // The session files may have moved on since the hook last wrote.
        if (!detail && !evidence.hookStateBySession && memory.lastReport && reported &&
            evidence.hookStateAt && between(memory.lastReport->since, *evidence.hookStateAt, now)) {
            detail = memory.lastReport;
            stated = reported;
        }
        return statedTurn(*stated, detail, memory, reported);
    }
    if (!usableHookAt(evidence, now)) return std::nullopt;
    if (evidence.hookState == ReportedState::working) {
        if (evidence.level == AgentDefinition::Level::state) return std::nullopt;
        return AgentTurn{ReportedState::working, std::nullopt, false};
    }
    if (evidence.hookState == ReportedState::idle) {
        return AgentTurn{ReportedState::idle, std::nullopt, false};
    }
    return std::nullopt;
}

// The steps that change an agent's memory from one tick's evidence.

namespace {

bool showsWorkBelow(const AgentEvidence& evidence) {
    return evidence.busyChildCommands > 0 || evidence.backgroundJobsWorking > 0;
}

bool after(std::optional<Date> date, Date bound) {
    return date && *date > bound;
}

}  // namespace

std::optional<Date> usableHookAt(const AgentEvidence& evidence, Date now) {
    if (!evidence.hookState || !evidence.hookStateAt) return std::nullopt;
    if (*evidence.hookStateAt - now > hookClockTolerance) return std::nullopt;
    return evidence.hookStateAt;
}

std::optional<Date> fileWrite(const AgentEvidence& evidence, Date now) {
    std::optional<Date> write = evidence.fileActivityAt;
    if (evidence.reported && evidence.reported->source == StateReport::Source::fileActivity) {
        write = latest(write, evidence.reported->observedAt);
    }
    // A write that predates the process is some earlier process's.
    if (!write || *write < Date(evidence.startTime)) return std::nullopt;
    return std::min(*write, now);
}

std::optional<StateReport> stateReport(const AgentEvidence& evidence) {
    if (!evidence.reported || evidence.reported->source == StateReport::Source::fileActivity) {
        return std::nullopt;
    }
    return evidence.reported;
}

void noteHookWait(const AgentEvidence& evidence, AgentMemory& memory,
                  const DetectionSettings& settings, Date now) {
    const auto h = usableHookAt(evidence, now);
    if (!h || evidence.hookState != ReportedState::waitingForUser) {
        memory.endedHookWaitAt.reset();
        return;
    }
    if (memory.endedHookWaitAt == h) return;
    const bool commandStarted =
        memory.childCommands && evidence.childCommands > *memory.childCommands;
    if (showsWorkBelow(evidence) || commandStarted) {
        // Something runs again, or a command started while it asked: the user has answered.
        memory.endedHookWaitAt = h;
    } else if (reportedState(memory, settings, now) != ReportedState::working) {
        memory.endedHookWaitAt.reset();
    } else if (after(evidence.fileActivityAt, *h + 2) ||
               after(memory.lastReport ? memory.lastReport->since : std::nullopt, *h + 2)) {
        memory.endedHookWaitAt = h;
    } else {
        memory.endedHookWaitAt.reset();
    }
}

void noteHookWork(const AgentEvidence& evidence, AgentMemory& memory, Date now) {
    const auto h = usableHookAt(evidence, now);
    if (!h || evidence.hookState != ReportedState::working) {
        memory.hookWorkAt.reset();
        memory.hookWorkSince.reset();
        return;
    }
    if (memory.hookWorkAt == h) return;
    memory.hookWorkAt = h;
    memory.hookWorkSince = std::min(now, *h);
}

void noteHookIdle(const AgentEvidence& evidence, AgentMemory& memory, Date now) {
    auto h = usableHookAt(evidence, now);
    // The reader leaves an idle report out once it is older than its freshness; it still holds.
    const bool agedOut = !evidence.hookState && memory.hookIdleAt;
    if (agedOut) h = memory.hookIdleAt;
    if (evidence.level == AgentDefinition::Level::state || !h ||
        (!agedOut && evidence.hookState != ReportedState::idle)) {
        memory.hookIdleAt.reset();
        memory.workAfterHookIdleAt.reset();
        return;
    }
    if (memory.hookIdleAt != h) {
        memory.hookIdleAt = h;
        memory.workAfterHookIdleAt.reset();
    }
    // Work in the first seconds after the idle stamp is the tail of the finished turn.
    const Date settled = *h + 10;
    if (now > settled && (showsWorkBelow(evidence) || evidence.ownsSleepAssertion)) {
        memory.workAfterHookIdleAt = now;
    }
    if (const auto write = fileWrite(evidence, now); write && *write > settled) {
        memory.workAfterHookIdleAt = latest(write, memory.workAfterHookIdleAt);
    }
}

void noteCPU(const AgentEvidence& evidence, AgentMemory& memory, Date now) {
    if (evidence.sampleInterval > 0 && std::isfinite(evidence.subtreeCPUSeconds)) {
        memory.cpuSamples.push_back({now, evidence.subtreeCPUSeconds, evidence.sampleInterval});
    }
    std::erase_if(memory.cpuSamples, [now](const AgentMemory::CPUSample& sample) {
        const double age = now - sample.at;
        return !(age >= 0 && age < cpuWindow);
    });
    if (hasSteadyCPU(memory.cpuSamples, now)) memory.lastCPUAt = now;
}

bool hasSteadyCPU(const std::vector<AgentMemory::CPUSample>& samples, Date now) {
    constexpr auto bucketCount = static_cast<std::size_t>(cpuWindow / cpuBucket);
    std::array<double, bucketCount> cpu{};
    std::array<double, bucketCount> covered{};
    for (const auto& sample : samples) {
        const double age = now - sample.at;
        if (!(age >= 0 && age < cpuWindow)) continue;
        const auto bucket = static_cast<std::size_t>(age / cpuBucket);
        cpu[bucket] += sample.cpuSeconds;
        covered[bucket] += sample.interval;
    }
    int busy = 0;
    for (std::size_t bucket = 0; bucket < bucketCount; ++bucket) {
        if (covered[bucket] > 0 && cpu[bucket] / covered[bucket] >= busyCPUShare) ++busy;
    }
    // Three busy buckets of six: a single burst never counts, sustained light use does.
    return busy > 2;
}

void noteWeakOnly(AgentMemory& memory, bool statesWork, const DetectionSettings& settings,
                  Date now) {
    const double rel = settings.releaseAfterActivity;
    const auto younger = [now](std::optional<Date> date, double limit) {
        return date && now - *date < limit;
    };
    const auto reset = [&memory] {
        memory.weakOnlySince.reset();
        memory.weakCapped = false;
    };
    if (statesWork || younger(memory.lastStrongAt(), rel)) {
        reset();
    } else if (younger(memory.lastCPUAt, rel)) {
        if (!memory.weakOnlySince) memory.weakOnlySince = now;
        if (now - *memory.weakOnlySince >= settings.weakEvidenceCap) memory.weakCapped = true;
    } else if (!younger(memory.lastCPUAt, settings.weakEvidenceCap)) {
        reset();
    }
}

void note(const AgentEvidence& evidence, AgentMemory& memory, const DetectionSettings& settings,
          Date now) {
    if (!memory.firstSeenAt) memory.firstSeenAt = now;
    if (evidence.busyChildCommands > 0) memory.lastCommandAt = now;
    if (evidence.backgroundJobsWorking > 0) memory.lastBackgroundJobAt = now;
    if (evidence.ownsSleepAssertion) memory.lastAssertionAt = now;
    if (const auto write = fileWrite(evidence, now)) {
        memory.lastFileWriteAt = latest(write, memory.lastFileWriteAt);
    }
    if (auto report = stateReport(evidence)) {
        memory.lastReport = std::move(report);
        memory.lastReportSeenAt = now;
    }
    noteHookWait(evidence, memory, settings, now);
    noteHookWork(evidence, memory, now);
    noteHookIdle(evidence, memory, now);

    std::optional<Date> kept = memory.approvalSignsSince;
    if (kept && *kept > now) kept.reset();
    memory.approvalSignsSince =
        CursorApprovalRule::signs(evidence, now) ? std::optional(kept.value_or(now)) : std::nullopt;

    memory.childCommands = evidence.childCommands;
    noteCPU(evidence, memory, now);
    noteWeakOnly(memory, statedState(evidence, memory, settings, now) == ReportedState::working,
                 settings, now);
}

}  // namespace vigilmoth::VerdictRules
