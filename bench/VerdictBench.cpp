// The verdict rules and the hold decision for one frame of 20 agents whose memories are full:
// 30 seconds of processor samples, reports, hook stamps and every date set.
#include <benchmark/benchmark.h>

#include "decision/HoldPolicy.h"
#include "decision/VerdictRules.h"

namespace vigilmoth {
namespace {

constexpr int agentCount = 20;
constexpr double tick = 2;
const Date start(1'700'000'000);

AgentEvidence evidenceOf(int index, Date now) {
    AgentEvidence evidence;
    evidence.agentID = index % 3 == 0 ? "claude" : index % 3 == 1 ? "codex" : "cursor-desktop";
    evidence.displayName = evidence.agentID;
    evidence.level =
        index % 3 == 0 ? AgentDefinition::Level::state : AgentDefinition::Level::activity;
    evidence.pid = 1000 + index;
    evidence.startTime = start.secondsSince1970() - 3600;
    evidence.reported = StateReport{
        ReportedState::working,
        now - 40,
        now,
        index % 3 == 2 ? StateReport::Source::cursorTranscript : StateReport::Source::codexRollout,
        std::nullopt,
        false,
        false};
    evidence.childCommands = index % 4;
    evidence.busyChildCommands = index % 5 == 0 ? 1 : 0;
    evidence.subtreeCPUSeconds = 0.1 * (index % 7);
    evidence.sampleInterval = tick;
    evidence.fileActivityAt = now - index;
    evidence.hookState = index % 2 == 0 ? ReportedState::idle : ReportedState::working;
    evidence.hookStateAt = now - 12;
    return evidence;
}

EvidenceFrame frameAt(Date now) {
    EvidenceFrame frame;
    frame.at = now;
    for (int index = 0; index < agentCount; ++index)
        frame.agents.push_back(evidenceOf(index, now));
    return frame;
}

void BM_VerdictsAndDecisionForTwentyAgents(benchmark::State& state) {
    const DetectionSettings settings;
    AgentMemories memories;
    PolicyMemory policy;
    // Forty ticks fill every memory's 30-second window of samples.
    Date now = start;
    for (int warm = 0; warm < 40; ++warm, now = now + tick) {
        auto outcome = VerdictRules::readings(frameAt(now), memories, settings);
        memories = std::move(outcome.memories);
        policy = HoldPolicy::decide(outcome.readings, policy, settings, {}, now).memory;
    }
    const EvidenceFrame frame = frameAt(now);
    for (auto _ : state) {
        auto outcome = VerdictRules::readings(frame, memories, settings);
        auto held = HoldPolicy::decide(outcome.readings, policy, settings, {}, now);
        benchmark::DoNotOptimize(outcome);
        benchmark::DoNotOptimize(held);
    }
    std::size_t samples = 0;
    for (const auto& [identity, memory] : memories)
        samples += memory.cpuSamples.size();
    state.counters["samplesPerAgent"] = static_cast<double>(samples) / agentCount;
}
BENCHMARK(BM_VerdictsAndDecisionForTwentyAgents)->Unit(benchmark::kMicrosecond);

}  // namespace
}  // namespace vigilmoth
