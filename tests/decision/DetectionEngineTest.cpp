// Show the engine's loop over a scheduler, collector and clocks the test moves by hand: which
// ticks it schedules and drops, how it measures gaps and shifts its memories over them, and how
// the wake gate holds back a new hold around a sleep.
#include <gtest/gtest.h>

#include "decision/DetectionEngine.h"
#include "decision/SampleGap.h"
#include "support/DecisionBuilders.h"
#include "support/DetectionFakes.h"

namespace vigilmoth {
namespace {

using namespace verdicttest;
using namespace testing;

// A state agent that reports `state`, seen at `when`.
AgentEvidence reporting(ReportedState state, Date when) {
    auto evidence = stateAgent();
    evidence.reported = report(state, StateReport::Source::claudeSessionFile, when);
    return evidence;
}

EvidenceSample sampleAt(double seconds, std::optional<double> awake,
                        std::vector<AgentEvidence> agents = {}) {
    EvidenceSample sample;
    sample.frame = testing::frameAt(at(seconds), std::move(agents));
    sample.frame.awake = awake;
    return sample;
}

// The engine over stand-ins, with the clocks as plain numbers.
struct Loop {
    Loop() {
        engine.onSample = [this](const DetectionSample& sample) { published.push_back(sample); };
        engine.onDecision = [this](const HoldDecision&) { ++decisions; };
    }

    // One whole tick: the due collection, then its decision on the main thread.
    void tick(EvidenceSample sample) {
        collector.samples.push_back(std::move(sample));
        scheduler.collect();
        scheduler.drainMain();
    }
    // A tick of a working agent at `seconds`, the awake clock running along with the wall's.
    void tickWorking(double seconds) {
        awake = seconds;
        tick(sampleAt(seconds, seconds, {reporting(working, at(seconds))}));
    }

    FakeScheduler scheduler;
    FakeCollector collector;
    FakeWatcher watcher;
    double awake = 0;
    double asleep = 0;
    DetectionEngine engine{{.collector = collector,
                            .scheduler = scheduler,
                            .watcher = watcher,
                            .clock = {[this] { return awake; }, [this] { return asleep; }},
                            .now = [] { return at(0); }}};
    std::vector<DetectionSample> published;
    int decisions = 0;
};

class DetectionEngineTest : public ::testing::Test, public Loop {};

TEST_F(DetectionEngineTest, ATickOfAnOlderGenerationIsDroppedAndSchedulesNothing) {
    engine.start();
    collector.samples.push_back(sampleAt(0, 0, {reporting(working, at(0))}));
    scheduler.collect();  // collected, not yet applied
    engine.stop();
    engine.start();
    scheduler.drainMain();
    EXPECT_TRUE(published.empty());
    EXPECT_EQ(scheduler.due(), std::vector<double>{0}) << "only the new start's tick";
}

TEST_F(DetectionEngineTest, TwoWatchEventsWithinOneTickCauseOneEarlyTick) {
    engine.start();
    tick(sampleAt(0, 0));
    EXPECT_EQ(scheduler.due(), std::vector<double>{5}) << "without agents";
    tickWorking(5);
    EXPECT_EQ(scheduler.due(), std::vector<double>{2}) << "with agents";
    watcher.onEvent();
    watcher.onEvent();
    scheduler.drainMain();
    EXPECT_EQ(scheduler.due(), std::vector<double>{0.2}) << "the regular tick gave way";
    tickWorking(5.2);
    EXPECT_EQ(scheduler.due(), std::vector<double>{2}) << "after the early tick, the rhythm again";
    engine.stop();
    EXPECT_FALSE(watcher.onEvent) << "stopping ends the watches";
}

TEST_F(DetectionEngineTest, GapsShiftTheMemoriesByTheTimeThatDidNotCount) {
    struct Case {
        const char* name;
        std::optional<double> previousAwake, currentAwake;
        double wall;
        std::optional<double> gap;
    };
    const Case cases[] = {
        {"slept an hour", 100, 104, 3604, 3600},
        {"stalled awake", 100, 130, 30, 30},
        {"no awake clock, 10 s", std::nullopt, std::nullopt, 10, std::nullopt},
        {"no awake clock, 20 s", std::nullopt, std::nullopt, 20, 20},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        Loop loop;
        loop.engine.start();
        loop.tick(sampleAt(0, c.previousAwake, {reporting(working, at(0))}));
        loop.tick(sampleAt(c.wall, c.currentAwake, {reporting(idle, at(c.wall))}));
        const auto& seen = loop.published;
        ASSERT_EQ(seen.size(), 2u);
        EXPECT_EQ(seen[1].afterGap, c.gap.has_value());
        auto identity = ProcessIdentity{200, epoch - 3600};
        auto& remembered = loop.engine.memory().policy().instances.at(identity);
        // Working was last seen at the first tick; a gap moves that on by its length.
        EXPECT_EQ(remembered.lastWorkingAt, at(c.gap.value_or(0)));
    }
}

// Finer dates than a recording's milliseconds made ages differ live and replayed.
TEST_F(DetectionEngineTest, DecidesOnTheFrameItsRecordingReadsBack) {
    const JSONEncoder stored{.dates = DateStrategy::wholeMilliseconds};
    engine.start();
    for (double seconds : {0.0004, 2.0005, 4.9996}) {
        SCOPED_TRACE(seconds);
        auto evidence = reporting(working, at(seconds));
        evidence.reported->since = evidence.fileActivityAt = evidence.hookStateAt = at(seconds);
        tick(sampleAt(seconds, seconds, {evidence}));
        const auto& decided = published.back().frame;
        EXPECT_EQ(decodeJSONText<EvidenceFrame>(encodeJSONText(decided, stored)), decided);
    }
}

TEST_F(DetectionEngineTest, AnAnnouncedSleepThatDoesNotComeReopensTheGateAfter120Seconds) {
    engine.start();
    awake = 1000;
    engine.macWillSleep();
    for (double seconds : {1000.0, 1060.0, 1120.0}) {
        tickWorking(seconds);
        EXPECT_FALSE(engine.decision().hold) << "no new hold while a sleep is announced";
    }
    tickWorking(1121);
    EXPECT_TRUE(engine.decision().hold);
    EXPECT_EQ(engine.wakeGate(), WakeGate{});
}

TEST_F(DetectionEngineTest, AHoldLastsUntilTheAnnouncedSleepAndNoneStartsBeforeTheWakeIsSeen) {
    engine.start();
    tickWorking(0);
    ASSERT_TRUE(engine.decision().hold);
    engine.macWillSleep();
    tickWorking(2);
    EXPECT_TRUE(engine.decision().hold) << "the hold that was on stays until the sleep";

    asleep = 3600;  // the machine slept before the wake was reported
    tickWorking(4);
    EXPECT_FALSE(engine.decision().hold);
    EXPECT_TRUE(engine.wakeGate().slept);

    engine.macDidWake();
    EXPECT_EQ(scheduler.due(), std::vector<double>{0.2}) << "a wake samples again soon";
    engine.setPausedUntil(at(1));  // decides again, in the past: no pause
    EXPECT_FALSE(engine.decision().hold) << "the wake is not processed yet";
    tickWorking(6);
    EXPECT_TRUE(engine.decision().hold);
}

TEST_F(DetectionEngineTest, InputsDecideAgainAndNewAgentNamesSampleAgainSoon) {
    engine.start();
    tickWorking(0);
    ASSERT_TRUE(engine.decision().hold);
    const int before = decisions;
    engine.setEnabled(false);
    EXPECT_FALSE(engine.decision().hold);
    engine.setEnabled(true);
    engine.setSafety(SafetyStop::tooHot());
    EXPECT_FALSE(engine.decision().hold);
    engine.setSafety(std::nullopt);
    engine.setPausedUntil(at(600));
    EXPECT_FALSE(engine.decision().hold);
    engine.setPausedUntil(at(600));
    EXPECT_EQ(decisions - before, 5) << "an unchanged input decides nothing";
    EXPECT_EQ(scheduler.due(), std::vector<double>{2});

    auto settings = engine.settings();
    settings.userAgentNames = {"mybot"};
    engine.setSettings(settings);
    EXPECT_EQ(scheduler.due(), std::vector<double>{0.2});
    tickWorking(1);
    EXPECT_EQ(collector.asked.back(), std::vector<std::string>{"mybot"});
}

const Date kStart(1767225600);

TEST(SampleGapTest, GapsCountSleepAndStallsButNotJitter) {
    struct Case {
        const char* name;
        double wall;
        std::optional<double> awakeBefore, awakeAfter, gap;
    };
    const Case cases[] = {
        {"a normal tick", 2, 100, 102, std::nullopt},
        {"40 s awake is a stall", 40, 100, 140, 40},
        {"40 s with 5 s awake slept 35 s", 40, 100, 105, 35},
        {"slept and stalled", 100, 100, 120, 100},
        {"one second of clock jitter", 3, 100, 102, std::nullopt},
        {"no awake clock, short", 15, std::nullopt, std::nullopt, std::nullopt},
        {"no awake clock, long", 16, 100, std::nullopt, 16},
        {"awake clock went back", 20, 100, 50, 20},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        EXPECT_EQ(SampleGap::length(SampleTime{kStart, c.awakeBefore},
                                    SampleTime{kStart + c.wall, c.awakeAfter}),
                  c.gap);
    }
    EXPECT_EQ(SampleGap::length(std::nullopt, SampleTime{kStart, 5.0}), std::nullopt);
}

}  // namespace
}  // namespace vigilmoth
