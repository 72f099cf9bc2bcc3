// Show that marks are matched, allowed for and scored as the score report needs, that the
// replay is deterministic and real runs replay as a user expects, and the smoke test's health
// rules at their limits.
#include <gtest/gtest.h>

#include <fstream>
#include <functional>
#include <map>
#include <sstream>

#include "lab/LabReplay.h"
#include "lab/SmokeHealth.h"
#include "support/DecisionBuilders.h"
#include "support/TestSupport.h"

namespace vigilmoth {
namespace {

const Date kStart(1767225600);

AgentReading reading(std::string agentID, std::int32_t pid, ReportedState state,
                     AgentDefinition::Level level = AgentDefinition::Level::state) {
    auto made = testing::readingOf(agentID, agentID, {pid, 1}, state);
    made.level = level;
    return made;
}

// A step at `offset` seconds whose decision holds for the readings given a cause.
LabStep step(double offset, std::vector<AgentReading> readings, bool hold,
             std::vector<bool> causes = {}) {
    LabStep step{kStart + offset, readings, {}};
    step.decision.hold = hold;
    for (size_t i = 0; i < readings.size(); ++i) {
        bool cause = i < causes.size() ? causes[i] : hold;
        step.decision.perAgent.push_back(
            {readings[i], cause ? std::optional(HoldCause::working) : std::nullopt});
    }
    return step;
}

TEST(LabReplayTest, MarkTargetsNameEveryoneAProcessOrAnAgent) {
    auto claude = reading("claude", 4711, ReportedState::working);
    auto user = reading("user:tool", 12, ReportedState::working);
    const std::tuple<const char*, bool, bool> cases[] = {{"*", true, true},
                                                         {"claude", true, false},
                                                         {"claude:4711", true, false},
                                                         {"claude:+4711", true, false},
                                                         {"claude:4712", false, false},
                                                         {"claude:", false, false},
                                                         {"codex:abc", false, false},
                                                         {"user:tool", false, true},
                                                         {"user:tool:12", false, true},
                                                         {"claude:99999999999", false, false}};
    for (const auto& [target, matchesClaude, matchesUser] : cases) {
        SCOPED_TRACE(target);
        EXPECT_EQ(LabReplay::matches(claude, target), matchesClaude);
        EXPECT_EQ(LabReplay::matches(user, target), matchesUser);
    }
    // A signed number is still a process id, as an integer parser reads it.
    EXPECT_TRUE(LabReplay::matches(reading("x", -3, ReportedState::idle), "x:-3"));
    EXPECT_FALSE(LabReplay::matches(reading("x:-3", 1, ReportedState::idle), "x:-3"));
}

TEST(LabReplayTest, AStepShowsTheBusiestStateOfItsTarget) {
    auto working = reading("a", 1, ReportedState::working);
    auto waiting = reading("a", 2, ReportedState::waitingForUser);
    auto idle = reading("a", 3, ReportedState::idle);
    EXPECT_EQ(LabReplay::state(step(0, {idle, waiting, working}, false), "a"), LabTruth::working);
    EXPECT_EQ(LabReplay::state(step(0, {idle, waiting}, false), "a"), LabTruth::waiting);
    EXPECT_EQ(LabReplay::state(step(0, {idle}, false), "a"), LabTruth::idle);
    EXPECT_EQ(LabReplay::state(step(0, {idle}, false), "b"), LabTruth::gone);
}

TEST(LabReplayTest, TheAllowanceFollowsTheAgentsLevelAndTheTruth) {
    DetectionSettings settings;
    settings.releaseAfterState = 120;
    settings.releaseAfterActivity = 200;
    settings.waitingHold = 300;
    std::vector<LabStep> steps = {
        step(0, {reading("claude", 1, ReportedState::idle)}, false),
        step(10, {reading("aider", 2, ReportedState::idle, AgentDefinition::Level::activity)},
             false),
    };
    const std::tuple<const char*, LabTruth, double> cases[] = {{"claude", LabTruth::idle, 120},
                                                               {"aider", LabTruth::idle, 200},
                                                               {"nobody", LabTruth::gone, 120},
                                                               {"*", LabTruth::idle, 200},
                                                               {"claude", LabTruth::waiting, 300}};
    for (const auto& [target, truth, allowance] : cases) {
        SCOPED_TRACE(target);
        EXPECT_EQ(LabReplay::allowedHold({kStart + 5, target, truth}, target, steps, settings),
                  kStart + 5 + allowance);
    }
}

// Steps every 10 s for `count` steps, holding while `held(offset)`.
std::vector<LabStep> timeline(int count, const std::function<bool(double)>& held,
                              const std::function<ReportedState(double)>& state) {
    std::vector<LabStep> steps;
    for (int i = 0; i < count; ++i) {
        double offset = i * 10.0;
        steps.push_back(step(offset, {reading("claude", 1, state(offset))}, held(offset)));
    }
    return steps;
}

TEST(LabReplayTest, WrongTimeIsCountedWithinEachMarksWindow) {
    DetectionSettings settings;  // releaseAfterState 120
    const double never = 1e9;
    const LabMark working{kStart, "claude", LabTruth::working};
    const LabMark idle{kStart, "claude", LabTruth::idle};
    const LabMark waiting{kStart, "claude", LabTruth::waiting};
    // Held before `releasedAt` and again from `heldAgainAt`.
    const std::tuple<const char*, std::vector<LabMark>, double, double, double, double> cases[] = {
        {"held while working", {working}, never, never, 0, 0},
        {"released 30 s after a working mark", {working}, 100, 130, 0, 30},
        {"held 150 s after an idle mark", {idle}, 150, never, 30, 0},
        {"held 120 s after an idle mark is free", {idle}, 120, never, 0, 0},
        {"a later mark closes the window",
         {working, {kStart + 50, "claude", LabTruth::waiting}},
         20,
         never,
         0,
         30},
        {"released while waiting is never wrong", {waiting}, 0, never, 0, 0},
    };
    for (const auto& [name, marks, releasedAt, heldAgainAt, wronglyHeld, wronglyReleased] : cases) {
        SCOPED_TRACE(name);
        auto steps = timeline(
            40, [&](double t) { return t < releasedAt || t >= heldAgainAt; },
            [](double) { return ReportedState::idle; });
        auto score = LabReplay::score("claude", marks, steps, settings);
        EXPECT_DOUBLE_EQ(score.wronglyHeld, wronglyHeld);
        EXPECT_DOUBLE_EQ(score.wronglyReleased, wronglyReleased);
    }
}

TEST(LabReplayTest, ReactionsMeasureUntilTheReplayAgrees) {
    DetectionSettings settings;
    auto workingUntil = [](double end) {
        return [end](double t) { return t < end ? ReportedState::working : ReportedState::idle; };
    };
    auto delay = [&](double markAt, LabTruth truth, double idleFrom, int count = 10) {
        auto steps = timeline(
            count, [](double) { return false; }, workingUntil(idleFrom));
        return LabReplay::score("claude", {{kStart + markAt, "claude", truth}}, steps, settings)
            .reactions.at(0)
            .delay;
    };
    EXPECT_EQ(delay(15, LabTruth::idle, 40), 25.0);
    // Already there when the mark was made: the step just before agreed too.
    EXPECT_EQ(delay(15, LabTruth::idle, 10), 0.0);
    // The first step at the mark agrees, but the one before did not: a real reaction.
    EXPECT_EQ(delay(15, LabTruth::idle, 20), 5.0);
    EXPECT_EQ(delay(0, LabTruth::working, 50), 0.0);
    EXPECT_EQ(delay(15, LabTruth::waiting, 40), std::nullopt);
    // Nothing at or after the mark.
    EXPECT_EQ(delay(500, LabTruth::idle, 0), std::nullopt);
    // "gone" counts as idle.
    auto steps = timeline(
        3, [](double) { return false; }, workingUntil(100));
    steps.push_back(step(30, {}, false));
    EXPECT_EQ(LabReplay::score("claude", {{kStart + 5, "claude", LabTruth::idle}}, steps, settings)
                  .reactions.at(0)
                  .delay,
              25.0);
}

TEST(LabReplayTest, SeenTotalsEachInstanceAndTheLastStepLastsNothing) {
    std::vector<LabStep> steps = {
        step(0, {reading("a", 1, ReportedState::working)}, true),
        step(10,
             {reading("a", 1, ReportedState::waitingForUser), reading("b", 2, ReportedState::idle)},
             true, {true, false}),
        step(15, {reading("a", 1, ReportedState::idle)}, true),
    };
    auto seen = LabReplay::seen(steps);
    ASSERT_EQ(seen.size(), 2u);
    EXPECT_EQ(seen[0], (LabScore::Seen{"a", "a", 1, 10, 5, 0, 15}));
    EXPECT_EQ(seen[1], (LabScore::Seen{"b", "b", 2, 0, 0, 5, 0}));
}

// Fifty samples of an agent busy for the first `busy` of them, and an idle mark.
LabRecording busyThenQuiet(int busy) {
    LabRecording recording;
    for (int i = 0; i < 50; ++i) {
        AgentEvidence evidence;
        evidence.agentID = "aider";
        evidence.displayName = "Aider";
        evidence.pid = 7;
        evidence.busyChildCommands = i < busy ? 1 : 0;
        recording.samples.push_back({testing::frameAt(kStart + i * 2.0, {evidence}), {}});
    }
    recording.marks = {{kStart + 45, "aider", LabTruth::idle}};
    return recording;
}

TEST(LabReplayTest, ReplayingTheSameRecordingTwiceGivesTheSameScore) {
    auto recording = busyThenQuiet(20);
    auto first = LabReplay::score(recording, std::nullopt, std::nullopt);
    EXPECT_EQ(first, LabReplay::score(recording, std::nullopt, std::nullopt));
    EXPECT_EQ(first.title, "recording without a header");
    EXPECT_EQ(first.duration, 98.0);
    // The same frames in mode "always" hold all the way.
    auto always = LabReplay::score(recording, std::nullopt, AwakeMode::always);
    EXPECT_EQ(always.heldSeconds, 98.0);
}

// Read line by line, the replay must still use the last header's settings, wherever it is.
TEST(LabReplayTest, AStreamScoresAsTheWholeRecordingWhereverItsHeaderIs) {
    // Never busy: only the header's mode holds the Mac.
    auto recording = busyThenQuiet(0);
    LabHeader header;
    header.mode = "always";
    header.label = "late";
    std::string markLine = LabFormat::line(LabLine{.mark = recording.marks[0]});
    std::string sampleLines;
    for (const auto& sample : recording.samples)
        sampleLines += LabFormat::line(LabLine{.frame = sample.frame});
    auto middle = sampleLines.find('\n', sampleLines.size() / 2) + 1;
    const std::pair<const char*, std::string> cases[] = {
        {"header first", LabFormat::line(LabLine{.header = header}) + sampleLines + markLine},
        {"header last", markLine + sampleLines + LabFormat::line(LabLine{.header = header})},
        {"header in the middle", sampleLines.substr(0, middle) +
                                     LabFormat::line(LabLine{.header = header}) +
                                     sampleLines.substr(middle) + markLine},
    };
    for (const auto& [name, text] : cases) {
        SCOPED_TRACE(name);
        std::istringstream stream(text);
        auto streamed = LabReplay::score(stream);
        EXPECT_EQ(streamed,
                  LabReplay::score(LabFormat::recording(text), std::nullopt, std::nullopt));
        EXPECT_EQ(streamed.heldSeconds, 98.0) << "replayed in the header's mode";
        EXPECT_EQ(streamed.marks, 1);
    }
}

// Runs of real agents (tools/real-agents), read as a user expects at each moment of moments.json.
TEST(LabReplayTest, RealRunsReplayIntoWhatAUserExpects) {
    std::ifstream runs(testing::fixture("real-runs/moments.json"));
    for (const auto& run : nlohmann::json::parse(runs)) {
        std::ifstream file(testing::fixture("real-runs/" + run.at("recording").get<std::string>()));
        const auto recording = LabFormat::recording(file);
        const auto steps = LabReplay::steps(recording, std::nullopt, std::nullopt);
        for (const auto& moment : run.at("moments")) {
            SCOPED_TRACE(run.at("recording").dump() + moment.dump());
            const Date at = recording.samples.at(0).frame.at + moment.at(1).get<double>();
            std::string state = "gone";
            for (const auto& step : steps)
                if (step.at <= at)
                    state = labTruthWord(LabReplay::state(step, moment.at(0).get<std::string>()));
            EXPECT_EQ(state, moment.at(2).get<std::string>());
        }
    }
}

using Step = SmokeMeasurements::Step;

// Ten quiet seconds with every step done, the menu open in seconds 3 and 4: healthy; then the
// changes, each "key=value": counts, "cpu" and "menu" as lists of seconds, a step's outcome.
SmokeMeasurements healthy(const std::string& changes = "") {
    SmokeMeasurements m{.seconds = 10,
                        .ticks = 100,
                        .cpuBySecond = std::vector<double>(10, 1.0),
                        .stepSeconds = {2},
                        .panelSeconds = {3, 4},
                        .sceneEvaluations = 10,
                        .samples = 5,
                        .statusItem = true,
                        .statusItemImage = true,
                        .iconToggle = Step::ok,
                        .settingsWindow = Step::skipped,
                        .panel = Step::ok};
    const std::map<std::string, std::int64_t*> counts = {{"ticks", &m.ticks},
                                                         {"stall", &m.longestStallMs},
                                                         {"scenes", &m.sceneEvaluations},
                                                         {"samples", &m.samples}};
    const std::map<std::string, Step*> steps = {
        {"icon", &m.iconToggle}, {"settings", &m.settingsWindow}, {"panel", &m.panel}};
    const std::map<std::string, Step> outcomes = {
        {"failed", Step::failed}, {"skipped", Step::skipped}, {"notRun", Step::notRun}};
    std::istringstream stream(changes);
    for (std::string change; stream >> change;) {
        const auto key = change.substr(0, change.find('=')), value = change.substr(key.size() + 1);
        if (steps.contains(key)) {
            *steps.at(key) = outcomes.at(value);
            continue;
        }
        std::vector<double> list;
        std::istringstream items(value);
        for (std::string item; std::getline(items, item, ',');)
            list.push_back(std::stod(item));
        if (counts.contains(key)) *counts.at(key) = static_cast<std::int64_t>(list[0]);
        if (key == "seconds") m.seconds = list[0];
        if (key == "item" || key == "image")
            (key == "item" ? m.statusItem : m.statusItemImage) = false;
        if (key == "cpu") m.cpuBySecond = list;
        if (key == "menu") m.panelSeconds.assign(list.begin(), list.end());
    }
    return m;
}

TEST(SmokeHealthTest, EachLimitAtItsEdgeInItsOrder) {
    const std::vector<std::pair<const char*, std::vector<std::string>>> cases = {
        {"", {}},
        {"ticks=80 stall=499 scenes=499 panel=skipped icon=skipped", {}},
        {"ticks=79 stall=500 scenes=500 image=0 samples=1 settings=failed",
         {"main run loop ticked 79 times, expected about 100", "main thread stalled for 500 ms",
          "scenes worked out 50 times per second", "status item has no image",
          "engine gave 1 samples, expected 2 or more", "opening Preferences: failed"}},
        {"seconds=3 ticks=30 cpu=1,1,1 panel=skipped",
         {"0 steady seconds to judge the processor time by, expected 2 or more"}},
        {"cpu=0,0,0,0,0,10,20", {"used 15.0% of one core in the median steady second"}},
        {"cpu=0,0,0,0,0,1,1,118", {"used 40.0% of one core over the steady seconds"}},
        {"cpu=1,1,1,12.04,12.04,1,1,1,1,1",
         {"used 12.0% of one core in the median second with the menu open"}},
        {"menu=3",
         {"1 seconds with the menu open to judge the processor time by, expected 2 or more"}},
        {"item=0 image=0 icon=notRun panel=notRun",
         {"showing the menu: notRun", "no status item", "hiding and showing the icon: notRun"}},
    };
    for (const auto& [changes, failures] : cases) {
        SCOPED_TRACE(changes);
        EXPECT_EQ(SmokeHealth::failures(healthy(changes)), failures);
    }
}

TEST(SmokeHealthTest, TheLineIsSortedJSONWithTheHangFirst) {
    const auto line = SmokeHealth::line(healthy("scenes=12"), "the main thread hung");
    EXPECT_EQ(line.find(R"({"failures":["the main thread hung"],"healthy":false,"measurements":)"),
              0u)
        << line;
    EXPECT_NE(line.find(R"("sceneEvaluationsPerSecond":1.2})"), std::string::npos) << line;
    const auto empty = SmokeHealth::line(SmokeMeasurements{}, std::nullopt);
    EXPECT_NE(empty.find(R"("sceneEvaluationsPerSecond":0.0})"), std::string::npos) << empty;
}

}  // namespace
}  // namespace vigilmoth
