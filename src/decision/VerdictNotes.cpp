// The steps that change an agent's memory from one tick's evidence.
#include <array>
#include <cmath>

#include "decision/VerdictRules.h"

namespace vigilmoth::VerdictRules {

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
    if (showsWorkBelow(evidence)) {
        // Something runs again, so the user has answered.
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
    const auto h = usableHookAt(evidence, now);
    if (evidence.level == AgentDefinition::Level::state || !h ||
        evidence.hookState != ReportedState::idle) {
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

    noteCPU(evidence, memory, now);
    noteWeakOnly(memory, statedState(evidence, memory, settings, now) == ReportedState::working,
                 settings, now);
}

}  // namespace vigilmoth::VerdictRules
