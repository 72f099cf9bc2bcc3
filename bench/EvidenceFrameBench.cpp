// The cost of writing and reading one evidence frame, as the lab does once per tick.
#include <benchmark/benchmark.h>

#include "evidence/EvidenceFrame.h"
#include "lab/LabFormat.h"
#include "support/EvidenceBuilders.h"

namespace vigilmoth {
namespace {

const JSONEncoder lab = LabFormat::encoder();

EvidenceFrame busyFrame(int agents) {
    EvidenceFrame frame{1, Date(1767225600.123), 86400.25, {}, FrameContext{true, 80, false, 1}};
    for (int index = 0; index < agents; ++index) {
        auto agent = testing::fullAgent();
        agent.pid = 1000 + index;
        agent.startTime = 1767220000.5 + index;
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
