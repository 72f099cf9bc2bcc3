// Show that what vigilmoth recorded beside real agents, driven by tools/real-agents through
// turns, tools, permission prompts, Esc and an idle minute, replays through today's rules into
// the state a user expects at each moment of the run.
#include <gtest/gtest.h>

#include <algorithm>
#include <fstream>

#include "lab/LabFormat.h"
#include "lab/LabReplay.h"
#include "support/TestSupport.h"

namespace vigilmoth {
namespace {

struct Moment {
    double second;  // since the recording's first sample
    const char* state;
    const char* what;
};

struct Run {
    const char* recording;
    // The run's agent processes: the live loop saw the whole machine, other tests' trees too.
    std::vector<std::int32_t> pids;
    std::vector<Moment> moments;
};

// The busiest state of the run's agents at a moment, as the step in force then gives it.
std::string stateAt(const std::vector<LabStep>& steps, Date at,
                    const std::vector<std::int32_t>& pids) {
    const LabStep* current = nullptr;
    for (const auto& step : steps) {
        if (step.at > at) break;
        current = &step;
    }
    if (!current) return "none";
    std::string state = "none";
    for (const auto& reading : current->readings) {
        if (std::find(pids.begin(), pids.end(), reading.identity.pid) == pids.end()) continue;
        switch (reading.verdict.state) {
            case ReportedState::working:
                return "working";
            case ReportedState::waitingForUser:
                state = "waiting";
                break;
            case ReportedState::idle:
                if (state == "none") state = "idle";
                break;
        }
    }
    return state;
}

TEST(RealAgentRunsTest, ReplayedRunsReadAsAUserExpects) {
    const std::vector<Run> runs = {
        // Claude Code fires no hook when a permission is denied with Esc (94.4 s) or a running
        // tool is stopped with Esc (115.0 s); its session file says idle at once.
        {"real-runs/claude-deny-and-esc.jsonl",
         {15683},
         {{62.0, "waiting", "permission prompt"},
          {72.0, "working", "approved tool"},
          {93.5, "waiting", "second permission prompt"},
          {96.0, "idle", "denied"},
          {106.0, "idle", "still idle after the denial"},
          {113.0, "working", "tool runs"},
          {116.0, "idle", "stopped"},
          {190.0, "idle", "a minute later"}}},
        // Codex runs its hooks and commands from its app-server daemon (19631), which belongs
        // to the session (19504) until the session quits (152.6 s). The approved command started
        // at 63.4 s, ten seconds before the next hook.
        {"real-runs/codex-daemon-hooks.jsonl",
         {19504, 19631},
         {{22.0, "idle", "after the first turn"},
          {40.0, "working", "the 20 s tool"},
          {47.0, "idle", "after the second turn"},
          {61.0, "waiting", "permission prompt"},
          {64.0, "working", "approved command"},
          {71.0, "working", "approved command still runs"},
          {78.0, "idle", "after the third turn"},
          {145.0, "idle", "a minute later"},
          {160.0, "idle", "the daemon left after quit"}}},
        // The idle report aged past the hook file's freshness at 108 s; Pi's node process kept
        // using the processor at the prompt.
        {"real-runs/pi-idle-minute.jsonl",
         {4020},
         {{40.0, "working", "the 20 s tool"},
          {52.0, "idle", "after the turn"},
          {112.0, "idle", "idle report older than a minute"},
          {121.5, "idle", "just before quit"}}},
        // The idle report aged out at 178 s; the database's write-ahead log was written with it.
        {"real-runs/opencode-idle-minute.jsonl",
         {1182},
         {{70.0, "working", "the 20 s tool"},
          {98.0, "waiting", "permission prompt"},
          {110.0, "working", "approved tool"},
          {150.0, "idle", "idle"},
          {180.0, "idle", "idle report older than a minute"},
          {191.0, "idle", "just before quit"}}},
    };
    for (const auto& run : runs) {
        SCOPED_TRACE(run.recording);
        std::ifstream file(testing::fixture(run.recording));
        ASSERT_TRUE(file);
        const auto recording = LabFormat::recording(file);
        ASSERT_FALSE(recording.samples.empty());
        const auto steps = LabReplay::steps(recording, std::nullopt, std::nullopt);
        const Date start = recording.samples.front().frame.at;
        for (const auto& moment : run.moments) {
            SCOPED_TRACE(std::string(moment.what) + " at " + std::to_string(moment.second));
            EXPECT_EQ(stateAt(steps, start + moment.second, run.pids), moment.state);
        }
    }
}

}  // namespace
}  // namespace vigilmoth
