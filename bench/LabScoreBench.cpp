// Scoring a whole day's recording: 43,200 samples two seconds apart from three agents, as the
// recorder writes them, and a mark every quarter of an hour.
#include <benchmark/benchmark.h>
#include <fcntl.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cmath>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <optional>

#include "lab/LabFormat.h"
#include "lab/LabReplay.h"

namespace vigilmoth {
namespace {

// What one run of the command cost.
struct ChildUsage {
    double cpuSeconds = 0;
    // Bytes.
    double peakMemory = 0;
    int status = -1;
};

// Runs `vigilmoth --lab-score` from a process forked before this one grows. A child's peak
// memory includes what it was forked with, so a child forked later from this process, grown by
// the other benchmarks, would report this process's size rather than the command's.
class Starter {
public:
    Starter() {
        int requests[2];
        int replies[2];
        if (pipe(requests) != 0 || pipe(replies) != 0) return;
        pid_ = fork();
        if (pid_ == 0) {
            close(requests[1]);
            close(replies[0]);
            serve(requests[0], replies[1]);
            _exit(0);
        }
        close(requests[0]);
        close(replies[1]);
        requests_ = requests[1];
        replies_ = replies[0];
    }

    ~Starter() {
        close(requests_);
        close(replies_);
        if (pid_ > 0) waitpid(pid_, nullptr, 0);
    }

    std::optional<ChildUsage> score(const std::string& recording) {
        std::string request = recording + "\n";
        ChildUsage usage;
        if (write(requests_, request.data(), request.size()) !=
                static_cast<ssize_t>(request.size()) ||
            read(replies_, &usage, sizeof usage) != sizeof usage) {
            return std::nullopt;
        }
        return usage;
    }

private:
    static double cpuSeconds(const rusage& usage) {
        return static_cast<double>(usage.ru_utime.tv_sec + usage.ru_stime.tv_sec) +
               static_cast<double>(usage.ru_utime.tv_usec + usage.ru_stime.tv_usec) / 1e6;
    }

    [[noreturn]] static void serve(int requests, int replies) {
        std::string path;
        char byte = 0;
        while (read(requests, &byte, 1) == 1) {
            if (byte != '\n') {
                path += byte;
                continue;
            }
            rusage before{};
            getrusage(RUSAGE_CHILDREN, &before);
            ChildUsage usage;
            if (pid_t child = fork(); child == 0) {
                int quiet = open("/dev/null", O_WRONLY);
                dup2(quiet, STDOUT_FILENO);
                execl(VIGILMOTH_EXECUTABLE, "vigilmoth", "--lab-score", path.c_str(), nullptr);
                _exit(127);
            } else if (child > 0) {
                waitpid(child, &usage.status, 0);
            }
            rusage after{};
            getrusage(RUSAGE_CHILDREN, &after);
            usage.cpuSeconds = cpuSeconds(after) - cpuSeconds(before);
            // Every run scores the same file, so the largest child is any one of them.
#ifdef __APPLE__
            usage.peakMemory = static_cast<double>(after.ru_maxrss);
#else
            usage.peakMemory = static_cast<double>(after.ru_maxrss) * 1024;
#endif
            if (write(replies, &usage, sizeof usage) != sizeof usage) break;
            path.clear();
        }
        _exit(0);
    }

    pid_t pid_ = -1;
    int requests_ = -1;
    int replies_ = -1;
};

Starter starter;

const Date kStart(1773014400);
constexpr int kSamples = 43200;

struct Agent {
    const char* id;
    const char* name;
    AgentDefinition::Level level;
    std::int32_t pid;
    // Where in its cycle of work, questions and rest the agent starts, in samples.
    int offset;
};

const Agent kAgents[] = {
    {"claude", "Claude Code", AgentDefinition::Level::state, 48211, 0},
    {"codex", "Codex", AgentDefinition::Level::state, 51377, 700},
    {"aider", "Aider", AgentDefinition::Level::activity, 53020, 400},
};

// A working day's rhythm: 50 minutes of work, 4 of waiting for an answer, 26 of rest, with
// the agents out of step with each other.
ReportedState phase(int sample, int offset) {
    int minute = ((sample + offset) / 30) % 80;
    if (minute < 50) return ReportedState::working;
    return minute < 54 ? ReportedState::waitingForUser : ReportedState::idle;
}

// Cheap, repeatable variation.
double wobble(int sample, int salt) {
    return 0.5 + 0.5 * std::sin(sample * 0.37 + salt * 1.7);
}

AgentEvidence evidence(const Agent& agent, int sample, Date at) {
    AgentEvidence evidence;
    evidence.agentID = agent.id;
    evidence.displayName = agent.name;
    evidence.level = agent.level;
    evidence.pid = agent.pid;
    evidence.startTime = kStart.secondsSince1970() - 3600.25 - agent.offset;
    evidence.sampleInterval = 2;
    auto state = phase(sample, agent.offset);
    bool working = state == ReportedState::working;
    evidence.childCommands = working ? 1 + (sample / 45) % 3 : 0;
    evidence.busyChildCommands = working && (sample / 20) % 4 != 0 ? 1 : 0;
    evidence.subtreeCPUSeconds =
        std::round((working ? 1.6 : 0.01) * wobble(sample, agent.offset) * 1000) / 1000;
    if (agent.level == AgentDefinition::Level::activity) return evidence;
    evidence.hasLiveSession = true;
    evidence.fileActivityAt = at - (working ? 1.0 : 60.0 + (sample % 30) * 2);
    int since = sample - (sample + agent.offset) % (state == ReportedState::working ? 1500 : 120);
    evidence.reported =
        StateReport{.state = state,
                    .since = kStart + since * 2.0,
                    .observedAt = at,
                    .source = agent.offset == 700 ? StateReport::Source::codexRollout
                                                  : StateReport::Source::claudeSessionFile};
    if (agent.offset == 0) {
        evidence.hookState = state;
        evidence.hookStateAt = kStart + since * 2.0;
        evidence.hookStateBySession = true;
    }
    return evidence;
}

LabLine header() {
    LabHeader header;
    header.label = "day long";
    header.startedAt = kStart;
    header.app = "0.1.0";
    header.os = "Debian GNU/Linux 12 (bookworm)";
    header.model = "unknown";
    header.mode = "agentWorking";
    return LabLine{.header = LabFormat::scrubbed(header)};
}

// A mark every quarter of an hour, telling the truth about one of the agents or all of them.
std::optional<LabLine> mark(int sample) {
    if (sample % 450 != 0) return std::nullopt;
    int index = sample / 450;
    // The truth of "*" is the one of the agent that works most.
    static const std::pair<const char*, int> targets[] = {
        {"claude", 0}, {"codex:51377", 1}, {"aider", 2}, {"*", 0}};
    auto [target, agent] = targets[index % 4];
    auto truth = phase(sample, kAgents[agent].offset);
    LabMark mark{.at = kStart + sample * 2.0,
                 .agent = target,
                 .truth = truth == ReportedState::working          ? LabTruth::working
                          : truth == ReportedState::waitingForUser ? LabTruth::waiting
                                                                   : LabTruth::idle};
    if (index % 5 == 0) mark.note = "checked by hand";
    return LabLine{.mark = mark};
}

// Writes the day as the recorder would: each frame decided by the engine's own decision path,
// then written with the recorder's sample line, and the marks between the samples.
std::string writeDayLong(const std::filesystem::path& path) {
    std::ofstream file(path, std::ios::binary);
    file << LabFormat::line(header());
    LabReplayer engine(DetectionSettings{}, AwakeMode::agentWorking);
    for (int sample = 0; sample < kSamples; ++sample) {
        EvidenceFrame frame;
        frame.at = kStart + sample * 2.0 + (sample % 7) * 0.003;
        frame.awake = 86400 + sample * 2.0;
        frame.context.onBattery = sample % 9000 > 6000;
        frame.context.charging = !frame.context.onBattery;
        frame.context.batteryPercent = 100 - (sample % 9000) / 150;
        for (const auto& agent : kAgents)
            frame.agents.push_back(evidence(agent, sample, frame.at));
        auto step = engine.step(frame);
        file << LabFormat::line(
            LabFormat::sample(frame, step.decision, 0.002 + wobble(sample, 9) / 400));
        if (auto line = mark(sample)) file << LabFormat::line(*line);
    }
    return path.string();
}

// The day's file, written once into a folder that goes when the benchmarks end.
const std::string& dayLongRecording() {
    struct Folder {
        std::filesystem::path path;
        std::string recording;
        Folder() {
            std::string pattern = (std::filesystem::temp_directory_path() / "labscore-XXXXXX");
            path = mkdtemp(pattern.data());
            recording = writeDayLong(path / "day-long.jsonl");
        }
        ~Folder() { std::filesystem::remove_all(path); }
    };
    static Folder folder;
    return folder.recording;
}

// What `vigilmoth --lab-score` costs on the day's file, from the start of the process to its
// report: reading, replaying and scoring. The time shown is the command's CPU time.
void BM_LabScoreCommandDayLong(benchmark::State& state) {
    const auto& recording = dayLongRecording();
    double peak = 0;
    for (auto _ : state) {
        auto usage = starter.score(recording);
        if (!usage || !WIFEXITED(usage->status) || WEXITSTATUS(usage->status) != 0) {
            state.SkipWithError("vigilmoth --lab-score failed");
            return;
        }
        state.SetIterationTime(usage->cpuSeconds);
        peak = std::max(peak, usage->peakMemory);
    }
    state.counters["peak_MiB"] = peak / (1024 * 1024);
    state.counters["file_MB"] = static_cast<double>(std::filesystem::file_size(recording)) / 1e6;
}
BENCHMARK(BM_LabScoreCommandDayLong)->UseManualTime()->Unit(benchmark::kMillisecond);

// The replay and the score alone, from the day read into memory.
void BM_ScoreDayLongRecording(benchmark::State& state) {
    std::ifstream file(dayLongRecording(), std::ios::binary);
    auto recording = LabFormat::recording(file);
    for (auto _ : state) {
        auto score = LabReplay::score(recording, std::nullopt, std::nullopt);
        benchmark::DoNotOptimize(score);
    }
}
BENCHMARK(BM_ScoreDayLongRecording)->Unit(benchmark::kMillisecond);

}  // namespace
}  // namespace vigilmoth
