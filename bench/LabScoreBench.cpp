// Scoring a whole day's recording: 43,200 samples two seconds apart, three agents, and marks.
#include <benchmark/benchmark.h>

#include "lab/LabFormat.h"
#include "lab/LabReplay.h"

namespace vigilmoth {
namespace {

AgentEvidence agent(std::string id, std::string name, AgentDefinition::Level level,
                    std::int32_t pid) {
    AgentEvidence evidence;
    evidence.agentID = std::move(id);
    evidence.displayName = std::move(name);
    evidence.level = level;
    evidence.pid = pid;
    evidence.startTime = 1767200000 + pid;
    return evidence;
}

// The state a reporting agent says it is in, cycling through work, a question and rest.
ReportedState phase(int sample, int offset) {
    int minute = ((sample + offset) / 30) % 20;
    if (minute < 12) return ReportedState::working;
    return minute < 14 ? ReportedState::waitingForUser : ReportedState::idle;
}

LabRecording dayLong() {
    const Date start(1767225600);
    LabRecording recording;
    recording.header.emplace();
    recording.header->label = "day";
    recording.header->startedAt = start;
    recording.header->mode = "agentWorking";
    for (int sample = 0; sample < 43200; ++sample) {
        EvidenceFrame frame;
        frame.at = start + sample * 2.0;
        frame.awake = 5000 + sample * 2.0;
        for (auto [id, name, pid, offset] : {std::tuple{"claude", "Claude Code", 101, 0},
                                             std::tuple{"codex", "Codex", 202, 170}}) {
            auto evidence = agent(id, name, AgentDefinition::Level::state, pid);
            evidence.reported.emplace();
            evidence.reported->state = phase(sample, offset);
            evidence.reported->observedAt = frame.at;
            evidence.reported->source = StateReport::Source::claudeSessionFile;
            frame.agents.push_back(evidence);
        }
        auto aider = agent("aider", "Aider", AgentDefinition::Level::activity, 303);
        aider.busyChildCommands = (sample / 300) % 3 == 0 ? 1 : 0;
        aider.subtreeCPUSeconds = aider.busyChildCommands * 1.5;
        aider.sampleInterval = 2;
        frame.agents.push_back(aider);
        recording.samples.push_back({frame, {}});
    }
    const char* targets[] = {"claude", "codex:202", "aider", "*"};
    for (int mark = 0; mark < 96; ++mark) {
        recording.marks.push_back({start + mark * 900.0, targets[mark % 4],
                                   mark % 3 == 0 ? LabTruth::idle : LabTruth::working});
    }
    return recording;
}

void BM_ScoreDayLongRecording(benchmark::State& state) {
    auto recording = dayLong();
    for (auto _ : state) {
        auto score = LabReplay::score(recording, std::nullopt, std::nullopt);
        benchmark::DoNotOptimize(score);
    }
}
BENCHMARK(BM_ScoreDayLongRecording)->Unit(benchmark::kMillisecond);

// The same day as the command reads it: from its text.
void BM_ReadAndScoreDayLongRecording(benchmark::State& state) {
    auto recording = dayLong();
    std::string text;
    for (const auto& sample : recording.samples) {
        LabLine line;
        line.frame = sample.frame;
        text += LabFormat::line(line);
    }
    for (const auto& mark : recording.marks)
        text += LabFormat::line(LabLine{.mark = mark});
    for (auto _ : state) {
        auto score = LabReplay::score(LabFormat::recording(text), std::nullopt, std::nullopt);
        benchmark::DoNotOptimize(score);
    }
    state.counters["bytes"] = static_cast<double>(text.size());
}
BENCHMARK(BM_ReadAndScoreDayLongRecording)->Unit(benchmark::kMillisecond);

}  // namespace
}  // namespace vigilmoth
