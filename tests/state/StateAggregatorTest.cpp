// Show the aggregator over stand-ins of every collaborator, driven by scripted ticks: what
// reaches the power keeper, the sleep-flag helper and the notices, in order, as an agent works,
// waits and finishes, through a pause, a reachable period, the safety limits and quitting; and
// how it stores and restores the user's switches.
#include "state/StateAggregator.h"

#include <gtest/gtest.h>

#include "base/DefaultsKeys.h"
#include "support/DecisionBuilders.h"
#include "support/DetectionFakes.h"
#include "support/FakeNotificationCenter.h"
#include "support/ManualTimers.h"
#include "support/TestSupport.h"

namespace vigilmoth {
namespace {

using namespace verdicttest;
using namespace testing;

std::vector<std::string>* gLog = nullptr;

struct FakePower final : PowerHolding {
    bool isHeld = false;
    std::string reason;
    bool held() const override { return isHeld; }
    void hold(const std::string& why) override {
        if (!isHeld || why != reason) gLog->push_back("hold " + why);
        isHeld = true;
        reason = why;
    }
    void release() override {
        if (isHeld) gLog->push_back("release");
        isHeld = false;
    }
};

struct FakeHelper final : HelperServiceManaging, SleepFlagHelperConnecting {
    HelperStatus status() override { return HelperStatus::enabled; }
    std::optional<std::string> registerService() override { return std::nullopt; }
    std::optional<std::string> unregisterService() override { return std::nullopt; }
    void setSleepDisabled(bool disabled, Reply reply) override {
        gLog->push_back(disabled ? "flag on" : "flag off");
        reply(std::nullopt);
    }
    void heartbeat(Reply reply) override { reply(std::nullopt); }
    void status(StatusReply reply) override {
        reply(HelperState{false, "vigilmoth", "1"}, std::nullopt);
    }
    void retire(Reply reply) override { reply(std::nullopt); }
    bool setSleepDisabledWaiting(bool disabled, double timeout) override {
        gLog->push_back(std::string(disabled ? "flag on" : "flag off") + " waiting " +
                        std::to_string(static_cast<int>(timeout)));
        return true;
    }
    void disconnect() override {}
};

struct NoCensus final : ProcessCensusing {
    std::optional<std::vector<ProcessInfoRow>> snapshot() override { return std::nullopt; }
    std::optional<ProcessInfoRow> row(int32_t) override { return std::nullopt; }
};

// One tick of the script: the clock, Claude's reported state (none: no agent), the power
// facts, what the user does before the tick, and what reached the stand-ins after it.
struct Step {
    double seconds;
    std::optional<ReportedState> claude;
    FrameContext context;
    std::function<void(StateAggregator&)> action;
    std::vector<std::string> expected;
};

class StateAggregatorTest : public ::testing::Test {
protected:
    StateAggregatorTest() {
        gLog = &log;
        setLogSink([](LogLevel, std::string_view, std::string_view) {});
        defaults.set(defaults_keys::helperWasSetUp, true);
    }
    ~StateAggregatorTest() override {
        aggregator.reset();
        setLogSink(writeLogLineToStandardError);
        gLog = nullptr;
    }

    StateAggregator& make() {
        aggregator = std::make_unique<StateAggregator>(AggregatorParts{
            .defaults = defaults,
            .sleepFlag = flag,
            .power = power,
            .timers = timers,
            .collector = collector,
            .scheduler = scheduler,
            .watcher = watcher,
            .clock = {[this] { return seconds; }, [] { return 0.0; }},
            .census = census,
            .notices = {.notifier = &notifier,
                        .notify =
                            [this](const std::string& text) { log.push_back("notify " + text); }},
            .workingDirectory = [](std::int32_t) { return std::string("/home/u/moth"); },
            .now = [this] { return at(seconds); }});
        return *aggregator;
    }

    void tick(double at_, std::optional<ReportedState> claude, FrameContext context) {
        seconds = at_;
        timers.advance(at_ - timers.now);
        std::vector<AgentEvidence> agents;
        if (claude) agents.push_back(withHook(stateAgent(), *claude, at(at_)));
        EvidenceSample sample;
        sample.frame = frameAt(at(at_), agents);
        sample.frame.awake = at_;
        sample.frame.context = context;
        for (std::size_t i = 0; i < std::max<std::size_t>(1, scheduler.due().size()); ++i)
            collector.samples.push_back(sample);
        scheduler.collect();
        scheduler.drainMain();
        scheduler.drainMain();
        collector.samples.clear();
    }

    void run(const std::vector<Step>& script) {
        auto& state = make();
        for (const auto& step : script) {
            SCOPED_TRACE(step.seconds);
            seconds = step.seconds;
            timers.advance(step.seconds - timers.now);
            if (step.action) step.action(state);
            tick(step.seconds, step.claude, step.context);
            for (; notified < center.added.size(); ++notified)
                log.push_back("notice " + center.added[notified].title);
            EXPECT_EQ(std::exchange(log, {}), step.expected);
        }
    }

    std::vector<std::string> log;
    double seconds = 0;
    MemoryKeyValueStore defaults;
    ManualTimers timers;
    FakeHelper helper;
    SleepFlagController flag{
        SleepFlagParts{helper, helper, nullptr, defaults, timers, [this] { return seconds; }, "1"}};
    FakePower power;
    FakeScheduler scheduler;
    FakeCollector collector;
    FakeWatcher watcher;
    NoCensus census;
    FakeNotificationCenter center;
    Notifier notifier{center};
    std::size_t notified = 0;
    std::unique_ptr<StateAggregator> aggregator;
};

const FrameContext kMains{.batteryPercent = 80};
const FrameContext kLidClosed{.onBattery = true, .batteryPercent = 60, .lidClosed = true};

TEST_F(StateAggregatorTest, AgentWorksWaitsAndFinishes) {
    run({
        {0, working, kMains, {}, {"hold vigilmoth: Claude Code is working", "flag on"}},
        {2, working, kMains, {}, {}},
        {4, waiting, kMains, {}, {"hold vigilmoth: Claude Code is waiting for you"}},
        {6, waiting, kMains, {}, {}},
        {8, idle, kMains, {}, {"hold vigilmoth: Claude Code finished a moment ago"}},
        {10, idle, kMains, {}, {}},
        {400, std::nullopt, kMains, {}, {"release", "flag off", "flag off"}},
    });
}

TEST_F(StateAggregatorTest, PauseReachableAndQuit) {
    const auto pauseHour = [](StateAggregator& s) { s.startPause(PauseChoice::oneHour); };
    const auto reachable = [](StateAggregator& s) { s.startReachable(ReachableChoice::oneHour); };
    const auto quit = [](StateAggregator& s) { s.shutdown(); };
    run({
        {0, working, kMains, {}, {"hold vigilmoth: Claude Code is working", "flag on"}},
        {2, working, kMains, pauseHour, {"release", "flag off", "flag off"}},
        {3602, working, kMains, {}, {"hold vigilmoth: Claude Code is working", "flag on"}},
        {3604, std::nullopt, kMains, reachable, {"hold vigilmoth: stays reachable"}},
        {3606, std::nullopt, kMains, quit, {"flag off waiting 2", "release"}},
    });
    EXPECT_FALSE(defaults.value(defaults_keys::pausedUntil));
}

TEST_F(StateAggregatorTest, SafetyStops) {
    run({
        {0, working, kLidClosed, {}, {"hold vigilmoth: Claude Code is working", "flag on"}},
        {2,
         working,
         FrameContext{
             .onBattery = true, .batteryPercent = 60, .lidClosed = true, .thermalState = 3},
         {},
         {"notify vigilmoth let your computer sleep because it got too hot", "release", "flag off",
          "flag off"}},
        {4, working, FrameContext{.onBattery = true, .batteryPercent = 10}, {}, {}},
    });
}

TEST_F(StateAggregatorTest, SwitchingOffEndsPauseAndReachable) {
    auto& state = make();
    tick(0, working, kMains);
    state.startReachable(ReachableChoice::twoHours);
    state.startPause(PauseChoice::thirtyMinutes);
    state.toggleEnabled();  // ends the pause only
    EXPECT_TRUE(state.enabled());
    state.startReachable(ReachableChoice::twoHours);
    state.toggleEnabled();
    EXPECT_FALSE(state.pause().until);
    EXPECT_FALSE(state.reachable().until);
    EXPECT_EQ(state.decision().headline.kind, HoldHeadline::Kind::switchedOff);
    EXPECT_EQ(defaults.boolValue(defaults_keys::enabled), false);
    EXPECT_FALSE(defaults.value(defaults_keys::reachableUntil));
}

TEST_F(StateAggregatorTest, StoredSwitchesAreRestoredAndImplausibleOnesDropped) {
    defaults.set(defaults_keys::pausedUntil, at(30 * 3600).secondsSince1970());
    defaults.set(defaults_keys::reachableUntil, at(3600).secondsSince1970());
    defaults.set(defaults_keys::mode, "always");
    auto& state = make();
    EXPECT_FALSE(state.pause().until);
    EXPECT_EQ(state.reachable().until, at(3600));
    EXPECT_EQ(state.mode(), AwakeMode::always);
}

TEST_F(StateAggregatorTest, RulesAndSettingsAreSavedOnlyWhenChanged) {
    auto& state = make();
    state.setRule(AgentRule::ignore, "claude");
    EXPECT_EQ(state.settings().rule("claude"), AgentRule::ignore);
    state.setRule(AgentRule::automatic, "claude");
    EXPECT_FALSE(state.settings().agentRules.contains("claude"));
    defaults.remove(defaults_keys::detectionSettings);
    state.setSettings(state.settings());
    EXPECT_FALSE(defaults.value(defaults_keys::detectionSettings));
}

}  // namespace
}  // namespace vigilmoth
