// --lab-record for real: vigilmoth records stand-in agents in a temporary home for a minute while
// the test plays their parts (a transcript's tool call and turn end, a rollout's turn, a busy
// child that stops, an exit) and marks the truth; the file replays as it was decided live.
#include <gtest/gtest.h>
#include <signal.h>

#include <algorithm>
#include <chrono>
#include <ctime>
#include <fstream>
#include <sstream>
#include <thread>

#include "base/Calendar.h"
#include "evidence/ClaudeTranscriptReader.h"
#include "lab/LabReplay.h"
#include "support/ProcessTree.h"

namespace vigilmoth {
namespace {

using namespace testing;
using Clock = std::chrono::steady_clock;

// Seconds of the day from a status line's "HH:MM:SS.mmm".
double lineTime(const std::string& line) {
    return std::stoi(line.substr(0, 2)) * 3600 + std::stoi(line.substr(3, 2)) * 60 +
           std::stod(line.substr(6, 6));
}

// The recorder's status lines, read on from where the test last looked.
struct Recorder {
    // The next whole line that holds `text` (any line when empty), printed within `seconds`;
    // empty if none.
    std::string until(const std::string& text = "", double seconds = 60) {
        const auto deadline = Clock::now() + std::chrono::duration<double>(seconds);
        while (true) {
            for (size_t end; (end = process.output().find('\n', offset)) != std::string::npos;) {
                lines.push_back(process.output().substr(offset, end - offset));
                offset = end + 1;
                if (lines.back().find(text) != std::string::npos) return lines.back();
            }
            if (Clock::now() > deadline) return "";
            process.waitForOutput("\n\n", 0.05);
        }
    }
    // Passes over the lines printed so far.
    void skip() {
        process.waitForOutput("\n\n", 0.01);
        while (!until("", 0).empty()) {
        }
    }
    // Seconds between the last line read and the one before it.
    double spacing() const { return lineTime(lines.back()) - lineTime(lines[lines.size() - 2]); }

    BackgroundProcess process;
    size_t offset = 0;
    std::vector<std::string> lines;
};

// Appends lines `from` to `to` (counted from 1) of a real transcript, or the given lines.
void append(const std::string& path, const std::vector<std::string>& lines, size_t from = 1,
            size_t to = SIZE_MAX) {
    std::ofstream file(path, std::ios::app);
    for (size_t number = from; number <= std::min(to, lines.size()); ++number)
        file << lines[number - 1] << "\n";
}

// A turn's start or end in a Codex rollout, stamped now.
std::string rolloutEvent(const std::string& type, const std::string& stamp) {
    return R"({"type":"event_msg","payload":{"type":")" + type + R"(","turn_id":"t1",")" + stamp +
           R"(":)" + std::to_string(std::time(nullptr)) + "}}";
}

TEST(LabRecordLiveTest, FiveStandInAgentsAreRecordedLiveAndReplayAsDecided) {
    TemporaryFolder home;
    std::string cwd = home / "work";
    std::filesystem::create_directories(cwd);
    // Claude Code's transcript of the folder the stand-ins run in, quiet for a minute: idle.
    std::string transcript =
        home / (".claude/projects/" + ClaudeTranscriptReader::projectName(cwd) + "/s.jsonl");
    std::filesystem::create_directories(std::filesystem::path(transcript).parent_path());
    std::vector<std::string> claude;
    std::istringstream fixtureLines(readFile(fixture("claude-transcripts/spotter-short.jsonl")));
    for (std::string line; std::getline(fixtureLines, line);)
        claude.push_back(line);
    append(transcript, claude, 1, 5);
    std::filesystem::last_write_time(
        transcript, std::filesystem::last_write_time(transcript) - std::chrono::seconds(60));
    // Codex keeps its rollout of today open, and writes what it is doing there.
    std::string rollout =
        home /
        (".codex/sessions/" + *Calendar().formatted(Date::now(), "%Y/%m/%d") + "/rollout-t1.jsonl");
    std::filesystem::create_directories(std::filesystem::path(rollout).parent_path());
    append(rollout, {R"({"type":"session_meta","payload":{"id":"t1","cwd":")" + cwd + R"("}})"});

    ProcessTree tree({
        {1, -1, "bin/claude", {"claude"}, cwd},
        {2, -1, "bin/codex", {"codex"}, cwd, rollout},
        {3, -1, "bin/aider", {"aider"}},
        {4, 3, "bin/make", {"make", "-j2"}, "", "", true},
        {5, -1, "bin/goose", {"goose", "session"}},
        {6, -1, "bin/amp", {"amp"}},
    });
    auto part = [&](const char* agent, int id) {
        return std::string(agent) + ":" + std::to_string(tree.pid(id)) + " ";
    };
    ProcessOptions options;
    options.environment = {{"HOME", home.path().string()},
                           {"XDG_DATA_HOME", std::nullopt},
                           {"XDG_CONFIG_HOME", home / ".config"},
                           {"VIGILMOTH_HOOKS_DIR", home / "hooks"},
                           {"DBUS_SYSTEM_BUS_ADDRESS", "unix:path=" + (home / "no-bus")}};
    Recorder recorder{{VIGILMOTH_EXECUTABLE, {"--lab-record", "five agents"}, options}};
    auto started = Clock::now();
    auto first = recorder.until();
    ASSERT_EQ(first.rfind("Recording to ", 0), 0u) << first;
    std::string path = first.substr(13);
    auto all = recorder.until(part("claude", 1) + "idle");
    for (auto [agent, id] : {std::pair{"codex", 2}, {"aider", 3}, {"goose", 5}, {"amp", 6}})
        EXPECT_NE(all.find(part(agent, id)), std::string::npos) << agent << " in " << all;

    // A tool call appended right after a tick is read at the early tick 0.2 s later.
    recorder.skip();
    append(transcript, claude, 6, 9);
    EXPECT_NE(recorder.until(part("claude", 1) + "working"), "");
    EXPECT_LT(recorder.spacing(), 1.5) << "an early tick, not the next regular one";
    append(transcript, claude, 10, 13);
    EXPECT_NE(recorder.until(part("claude", 1) + "idle"), "");
    append(rollout, {rolloutEvent("task_started", "started_at")});
    EXPECT_NE(recorder.until(part("codex", 2) + "working"), "");
    append(rollout, {rolloutEvent("task_complete", "completed_at")});
    EXPECT_NE(recorder.until(part("codex", 2) + "idle"), "");
    // A child command busy for the ten seconds of its window makes its agent work.
    auto busy = part("aider", 3) + "working (runningCommand";
    auto contains = [](const std::string& text) {
        return [text](const std::string& line) { return line.find(text) != std::string::npos; };
    };
    if (std::none_of(recorder.lines.begin(), recorder.lines.end(), contains(busy))) {
        EXPECT_NE(recorder.until(busy), "");
    }
    ::kill(tree.pid(4), SIGTERM);
    auto marked = runVigilmoth({"--lab-mark", "claude", "idle", "turn", "over"}, options);
    EXPECT_EQ(marked.status, 0) << marked.err;
    EXPECT_EQ(marked.out, "Marked claude as idle\n");

    recorder.skip();
    ::kill(tree.pid(5), SIGTERM);
    auto after = recorder.until();
    if (after.find(part("goose", 5)) != std::string::npos) after = recorder.until();
    EXPECT_EQ(after.find(part("goose", 5)), std::string::npos) << "a tick already under way";
    EXPECT_LT(recorder.spacing(), 1.5) << "the exit ticks early";

    std::this_thread::sleep_until(started + std::chrono::seconds(60));
    recorder.process.signal(SIGINT);
    EXPECT_EQ(recorder.process.wait(30), 0);
    EXPECT_NE(recorder.process.output().find("Stopped after "), std::string::npos);
    recorder.skip();
    // Once the busy child had stopped, the agent had worked recently.
    auto& lines = recorder.lines;
    auto working = std::find_if(lines.begin(), lines.end(), contains(busy));
    EXPECT_NE(
        std::find_if(working, lines.end(), contains(part("aider", 3) + "working (workedRecently")),
        lines.end());

    auto recording = LabFormat::recording(readFile(path));
    auto steps = LabReplay::steps(recording, std::nullopt, std::nullopt);
    ASSERT_EQ(steps.size(), recording.samples.size());
    EXPECT_GT(steps.size(), 25u);
    for (size_t index = 0; index < steps.size(); ++index) {
        SCOPED_TRACE(index);
        const auto& live = recording.samples[index];
        auto replayed = LabFormat::sample(live.frame, steps[index].decision, std::nullopt);
        EXPECT_EQ(replayed.verdicts, live.verdicts);
        EXPECT_EQ(replayed.hold, live.hold);
    }
    auto score = runVigilmoth({"--lab-score", path}, options);
    EXPECT_EQ(score.status, 0) << score.err;
    EXPECT_NE(score.out.find("1 marks"), std::string::npos) << score.out;
    EXPECT_NE(score.out.find("differs from the live decision in 0 of"), std::string::npos)
        << score.out;
}

}  // namespace
}  // namespace vigilmoth
