// The cost of writing and reading one evidence frame, as the lab does once per tick.
#include <benchmark/benchmark.h>

#include "evidence/EvidenceFrame.h"

namespace vigilmoth {
namespace {

const JSONEncoder lab{
    .sortedKeys = true, .escapeSlashes = false, .dates = DateStrategy::wholeMilliseconds};

EvidenceFrame busyFrame(int agents) {
    EvidenceFrame frame{1, Date(1767225600.123), 86400.25, {}, FrameContext{true, 80, false, 1}};
    for (int index = 0; index < agents; ++index) {
        AgentEvidence agent;
        agent.agentID = "claude";
        agent.displayName = "Claude Code";
        agent.level = AgentDefinition::Level::state;
        agent.pid = 1000 + index;
        agent.startTime = 1767220000.5 + index;
        agent.reported = StateReport{ReportedState::working,
                                     Date(1767225500.5),
                                     Date(1767225600.123),
                                     StateReport::Source::claudeTranscript,
                                     "writing session files",
                                     false,
                                     false};
        agent.childCommands = 2;
        agent.busyChildCommands = 1;
        agent.subtreeCPUSeconds = 0.73125;
        agent.sampleInterval = 2.0012;
        agent.energyNanojoules = 123456789;
        agent.fileActivityAt = Date(1767225599.5);
        agent.hasLiveSession = true;
        agent.hookState = ReportedState::working;
        agent.hookStateAt = Date(1767225590);
        frame.agents.push_back(agent);
    }
    return frame;
}

void encodeFrame(benchmark::State& state) {
    auto frame = busyFrame(static_cast<int>(state.range(0)));
    for (auto _ : state)
        benchmark::DoNotOptimize(encodeJSONText(frame, lab));
}
BENCHMARK(encodeFrame)->Arg(1)->Arg(8);

void decodeFrame(benchmark::State& state) {
    auto text = encodeJSONText(busyFrame(static_cast<int>(state.range(0))), lab);
    for (auto _ : state)
        benchmark::DoNotOptimize(decodeJSONText<EvidenceFrame>(text));
}
BENCHMARK(decodeFrame)->Arg(1)->Arg(8);

}  // namespace
}  // namespace vigilmoth
