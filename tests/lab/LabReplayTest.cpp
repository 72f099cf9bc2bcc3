// Show that marks are matched, allowed for and scored as the score report needs, and that the
// replay is deterministic.
#include <gtest/gtest.h>

#include <fstream>
#include <sstream>

#include "lab/LabReplay.h"
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
    struct Case {
        std::string target;
        bool claude;
        bool user;
    };
    const std::vector<Case> cases = {
        {"*", true, true},
        {"claude", true, false},
        {"claude:4711", true, false},
        {"claude:+4711", true, false},
        {"claude:4712", false, false},
        {"claude:", false, false},
        {"codex:abc", false, false},
        {"user:tool", false, true},
        {"user:tool:12", false, true},
        {"claude:99999999999", false, false},
    };
    for (const auto& testCase : cases) {
        SCOPED_TRACE(testCase.target);
        EXPECT_EQ(LabReplay::matches(claude, testCase.target), testCase.claude);
        EXPECT_EQ(LabReplay::matches(user, testCase.target), testCase.user);
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
    struct Case {
        std::string target;
        LabTruth truth;
        double allowance;
    };
    const std::vector<Case> cases = {
        {"claude", LabTruth::idle, 120},    {"aider", LabTruth::idle, 200},
        {"nobody", LabTruth::gone, 120},    {"*", LabTruth::idle, 200},
        {"claude", LabTruth::waiting, 300},
    };
    for (const auto& testCase : cases) {
        SCOPED_TRACE(testCase.target);
        LabMark mark{kStart + 5, testCase.target, testCase.truth};
        EXPECT_EQ(LabReplay::allowedHold(mark, testCase.target, steps, settings),
                  kStart + 5 + testCase.allowance);
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
    auto idleAfter = [](double from) {
        return [from](double t) { return t < from ? ReportedState::working : ReportedState::idle; };
    };
    struct Case {
        std::string name;
        std::vector<LabMark> marks;
        std::function<bool(double)> held;
        double wronglyHeld;
        double wronglyReleased;
    };
    const std::vector<Case> cases = {
        {"held while working",
         {{kStart, "claude", LabTruth::working}},
         [](double) { return true; },
         0,
         0},
        {"released 30 s after a working mark",
         {{kStart, "claude", LabTruth::working}},
         [](double t) { return t < 100 || t >= 130; },
         0,
         30},
        {"held 150 s after an idle mark",
         {{kStart, "claude", LabTruth::idle}},
         [](double t) { return t < 150; },
         30,
         0},
        {"held 120 s after an idle mark is free",
         {{kStart, "claude", LabTruth::idle}},
         [](double t) { return t < 120; },
         0,
         0},
        {"a later mark closes the window",
         {{kStart, "claude", LabTruth::working}, {kStart + 50, "claude", LabTruth::waiting}},
         [](double t) { return t < 20; },
         0,
         30},
        {"released while waiting is never wrong",
         {{kStart, "claude", LabTruth::waiting}},
         [](double) { return false; },
         0,
         0},
    };
    for (const auto& testCase : cases) {
        SCOPED_TRACE(testCase.name);
        auto steps = timeline(40, testCase.held, idleAfter(0));
        auto score = LabReplay::score("claude", testCase.marks, steps, settings);
        EXPECT_DOUBLE_EQ(score.wronglyHeld, testCase.wronglyHeld);
        EXPECT_DOUBLE_EQ(score.wronglyReleased, testCase.wronglyReleased);
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
    struct Case {
        std::string name;
        std::string text;
    };
    const std::vector<Case> cases = {
        {"header first", LabFormat::line(LabLine{.header = header}) + sampleLines + markLine},
        {"header last", markLine + sampleLines + LabFormat::line(LabLine{.header = header})},
        {"header in the middle", sampleLines.substr(0, middle) +
                                     LabFormat::line(LabLine{.header = header}) +
                                     sampleLines.substr(middle) + markLine},
    };
    for (const auto& testCase : cases) {
        SCOPED_TRACE(testCase.name);
        std::istringstream stream(testCase.text);
        auto streamed = LabReplay::score(stream);
        EXPECT_EQ(streamed, LabReplay::score(LabFormat::recording(testCase.text), std::nullopt,
                                             std::nullopt));
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

}  // namespace
}  // namespace vigilmoth
