// Show the aggregator over stand-ins of every collaborator, driven by the scripted ticks in
// state/aggregator-scripts.txt: what reaches the power keeper, the sleep-flag helper, the
// display, the shortcuts and the notices, in order; that a recording's samples post the
// notices the lab's replay finds; and how it keeps the shortcuts and the user's switches.
#include "state/StateAggregator.h"

#include <gtest/gtest.h>

#include <sstream>

#include "base/DefaultsKeys.h"
#include "decision/DetectionSettingsStore.h"
#include "lab/LabFormat.h"
#include "lab/LabNotices.h"
#include "support/DecisionBuilders.h"
#include "support/DetectionFakes.h"
#include "support/FakeNotificationCenter.h"
#include "support/FakeSleepFlagHelper.h"
#include "support/FuzzInput.h"
#include "support/MachineWording.h"
#include "support/ManualTimers.h"
#include "support/TestSupport.h"
#include "ui/AgentNoticeText.h"

namespace vigilmoth {
namespace {

using namespace verdicttest;
using namespace testing;

std::vector<std::string>* gLog = nullptr;

struct FakePower final : PowerHolding {
    std::optional<std::string> reason;
    bool held() const override { return reason.has_value(); }
    void hold(const std::string& why) override {
        if (why != reason) gLog->push_back("hold " + why);
        reason = why;
    }
    void release() override {
        if (std::exchange(reason, std::nullopt)) gLog->push_back("release");
    }
};

// Logs what it is told only when that changes.
struct FakeDisplay final : DisplayControlling {
    std::string told;
    void start(std::function<void()>) override { gLog->push_back("display start"); }
    void update(bool lidClosed, bool holding, bool, bool, Date) override {
        auto now = std::string("display ") + (lidClosed ? "lid closed" : "lid open") +
                   (holding ? ", holding" : "");
        if (now != std::exchange(told, now)) gLog->push_back(now);
    }
    void willSleep() override { gLog->push_back("display sleeps"); }
    void stop() override { gLog->push_back("display stop"); }
};

struct FakeHotKeys final : HotKeyRegistering {
    std::set<Shortcut::Keys> taken;
    bool refuse = false;
    std::map<ShortcutAction, std::function<void()>> press;
    bool registerShortcut(const std::optional<Shortcut>& shortcut, ShortcutAction action,
                          std::function<void()> onPress) override {
        gLog->push_back("shortcut " + (shortcut ? shortcut->key : "none"));
        return (press[action] = std::move(onPress), !refuse);
    }
    void unregisterAll() override { gLog->push_back("shortcuts off"); }
    std::set<Shortcut::Keys> systemShortcuts() override { return taken; }
};

struct NoCensus final : ProcessCensusing {
    std::optional<std::vector<ProcessInfoRow>> snapshot() override { return std::nullopt; }
    std::optional<ProcessInfoRow> row(int32_t) override { return std::nullopt; }
};

// Every collaborator of one aggregator, and the calls that reached them.
struct World {
    World() {
        gLog = &log;
        setLogSink([](LogLevel, std::string_view, std::string_view) {});
        defaults.set(defaults_keys::helperWasSetUp, true);
        helper.log = &log;
        helper.beats = false;
        defaults.set(defaults_keys::noticesFinished, true);
    }
    ~World() {
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
            .now = [this] { return at(seconds); },
            .display = &display,
            .hotKeys = &hotKeys});
        return *aggregator;
    }

    // One tick of the engine with `frame`, collected at its own time.
    void tick(EvidenceFrame frame) {
        seconds = frame.at - at(0);
        timers.advance(seconds - timers.now);
        EvidenceSample sample;
        sample.frame = std::move(frame);
        for (std::size_t i = 0; i < std::max<std::size_t>(1, scheduler.due().size()); ++i)
            collector.samples.push_back(sample);
        scheduler.collect();
        scheduler.drainMain();
        scheduler.drainMain();
        collector.samples.clear();
        for (; posted < center.added.size(); ++posted)
            log.push_back("notice " + center.added[posted].title);
    }

    std::vector<std::string> log;
    double seconds = 0;
    MemoryKeyValueStore defaults;
    ManualTimers timers;
    FakeSleepFlagHelper helper;
    SleepFlagController flag{
        SleepFlagParts{helper, helper, nullptr, defaults, timers, [this] { return seconds; }, "1"}};
    FakePower power;
    FakeDisplay display;
    FakeHotKeys hotKeys;
    FakeScheduler scheduler;
    FakeCollector collector;
    FakeWatcher watcher;
    NoCensus census;
    FakeNotificationCenter center;
    Notifier notifier{center};
    std::size_t posted = 0;
    std::unique_ptr<StateAggregator> aggregator;
};

std::string joined(const std::vector<std::string>& calls) {
    std::string text;
    for (const auto& call : calls)
        text += (text.empty() ? "" : "; ") + call;
    return text;
}

// Runs the scripts in state/aggregator-scripts.txt.
TEST(StateAggregatorTest, Scripts) {
    const std::map<std::string, std::function<void(World&)>> acts = {
        {"hideIcon", [](World& w) { w.defaults.set(defaults_keys::showMenuBarIcon, false); }},
        {"shortHolds",
         [](World& w) {
             DetectionSettingsStore::save({.releaseAfterState = 10, .waitingHold = 20}, w.defaults);
         }},
        {"helperOff", [](World& w) { w.helper.state = HelperStatus::notRegistered; }},
        {"pauseKey", [](World& w) { w.hotKeys.press.at(ShortcutAction::pauseOneHour)(); }},
        {"reach", [](World& w) { w.aggregator->startReachable(ReachableChoice::oneHour); }},
        {"stopReach", [](World& w) { w.aggregator->stopReachable(); }},
        {"quit", [](World& w) { w.aggregator->shutdown(); }}};
    const std::map<std::string, FrameContext> power = {
        {"mains", {.batteryPercent = 80}},
        {"lid", {.onBattery = true, .batteryPercent = 60, .lidClosed = true}},
        {"hot", {.onBattery = true, .batteryPercent = 60, .lidClosed = true, .thermalState = 3}},
        {"low", {.onBattery = true, .batteryPercent = 12}}};
    const std::map<std::string, ReportedState> states = {
        {"working", working}, {"waiting", waiting}, {"idle", idle}};
    std::istringstream lines(readFile(fixture("state/aggregator-scripts.txt")));
    std::unique_ptr<World> world;
    std::string script;
    for (std::string line; std::getline(lines, line);) {
        if (line.empty() || line.starts_with('#')) continue;
        if (line.starts_with("= ")) {
            script = line;
            world.reset();  // before the next one takes the log
            world = std::make_unique<World>();
            continue;
        }
        SCOPED_TRACE(script + ": " + line);
        const auto bar = line.find(" |");
        std::istringstream words(line.substr(0, bar));
        std::string first, state, context, act;
        words >> first >> state >> context >> act;
        if (first == "set") {
            acts.at(state)(*world);
            continue;
        }
        if (!world->aggregator) {
            world->make();
            EXPECT_EQ(joined(std::exchange(world->log, {})),
                      "shortcut C; shortcut P; display start");
        }
        const double seconds = std::stod(first);
        world->seconds = seconds;
        world->timers.advance(seconds - world->timers.now);
        if (!act.empty()) acts.at(act)(*world);
        std::vector<AgentEvidence> agents;
        if (state != "none")
            agents.push_back(withHook(stateAgent(), states.at(state), at(seconds)));
        auto frame = frameAt(at(seconds), agents);
        frame.awake = seconds;
        frame.context = power.at(context);
        world->tick(frame);
        EXPECT_EQ(joined(std::exchange(world->log, {})),
                  worded(line.substr(std::min(line.size(), bar + 3))));
    }
}

TEST(StateAggregatorTest, PostsTheNoticesTheLabsReplayFindsForARecording) {
    auto recording = LabFormat::recording(readFile(fixture("lab/notices.jsonl")));
    World world;
    AgentNoticeFeed::Conditions::replay().settings.save(world.defaults);
    world.make();
    for (const auto& sample : recording.samples)
        world.tick(sample.frame);
    std::vector<std::string> expected, posted;
    for (const auto& told : LabNotices::notices(recording, std::nullopt)) {
        auto content = AgentNoticeText::content(told.notice, {}, told.at);
        expected.push_back(content.id + " " + content.title);
    }
    for (const auto& request : world.center.added)
        posted.push_back(request.identifier + " " + request.title);
    EXPECT_EQ(posted.size(), 5u);
    EXPECT_EQ(posted, expected);
    // The notifier's reports reach the history.
    EXPECT_EQ(world.aggregator->notices().history().entries.front().result,
              AgentNoticeHistory::Result::sent(AgentNoticeDelivery::delivered));
}

TEST(StateAggregatorTest, ShortcutsAreCheckedRecordedAndKept) {
    using enum ShortcutProblem;
    using enum ShortcutAction;
    World world;
    // The system uses the pause's default already.
    world.hotKeys.taken = {Shortcut::american(pauseOneHour).keys()};
    const auto registered = [&] {
        std::erase_if(world.log, [](const auto& call) { return !call.starts_with("shortcut "); });
        return joined(std::exchange(world.log, {}));
    };
    // Each step: what the user does, what reached the hot keys, the problems then.
    using P = std::map<ShortcutAction, ShortcutProblem>;
    const auto set = [](std::optional<Shortcut> shortcut, ShortcutAction action) {
        return [=](StateAggregator& s) { s.setShortcut(shortcut, action); };
    };
    const std::tuple<std::function<void(StateAggregator&)>, std::string, P> steps[] = {
        {nullptr, "shortcut C; shortcut none", P{{pauseOneHour, usedBySystem}}},
        {set(Shortcut{12, Shortcut::command, "Q"}, toggle), "",
         P{{toggle, usedBySystem}, {pauseOneHour, usedBySystem}}},
        {set(Shortcut{96, 0, "F5"}, toggle), "",
         P{{toggle, needsModifier}, {pauseOneHour, usedBySystem}}},
        {set(Shortcut::american(toggle), pauseOneHour), "",
         P{{toggle, needsModifier}, {pauseOneHour, usedTwice}}},
        {set(Shortcut{40, 11, "K"}, pauseOneHour), "shortcut C; shortcut K", P{}},
        {set(std::nullopt, toggle), "shortcut none; shortcut K", P{}},
        {[](auto& s) { s.resetShortcut(toggle); }, "shortcut C; shortcut K", P{}},
    };
    auto& state = world.make();
    for (const auto& [act, calls, problems] : steps) {
        SCOPED_TRACE(calls);
        if (act) act(state);
        EXPECT_EQ(registered(), calls);
        EXPECT_EQ(state.shortcutProblems(), problems);
    }
    // The next start finds the recorded keys; a registration the system refuses says so.
    world.hotKeys.refuse = true;
    EXPECT_EQ(world.make().shortcutProblems(),
              (P{{toggle, usedByAnotherApp}, {pauseOneHour, usedByAnotherApp}}));
    EXPECT_EQ(registered(), "shortcut C; shortcut K");
}

TEST(ShortcutStoreTest, KeepsTheChoicesAndReadsNothingFromWhatItCannotRead) {
    ShortcutChoices kept;
    kept.recorded[ShortcutAction::toggle] = {40, 11, "K"};
    kept.cleared = {ShortcutAction::pauseOneHour};
    MemoryKeyValueStore store;
    ShortcutStore::save(kept, store);
    EXPECT_EQ(ShortcutStore::load(store), kept);
    const auto text = *store.stringValue(defaults_keys::shortcuts);
    std::mt19937 random(13);
    for (int i = 0; i < 300; ++i) {
        store.set(defaults_keys::shortcuts, mutatedText(text, random));
        store.set(
            defaults_keys::shortcutsCleared,
            nlohmann::json::parse(mutatedText(R"(["pauseOneHour"])", random), nullptr, false));
        EXPECT_LE(ShortcutStore::load(store).recorded.size(), 1u);
    }
    store.set(defaults_keys::shortcuts, nlohmann::json(R"({"toggle":{"keyCode":70000}})"));
    EXPECT_TRUE(ShortcutStore::load(store).recorded.empty());
}

TEST(StateAggregatorTest, SwitchingOffEndsPauseAndReachableAndStoredOnesComeBackIfPlausible) {
    World world;
    world.defaults.set(defaults_keys::pausedUntil, at(30 * 3600).secondsSince1970());
    world.defaults.set(defaults_keys::reachableUntil, at(3600).secondsSince1970());
    world.defaults.set(defaults_keys::mode, "always");
    auto& state = world.make();
    EXPECT_FALSE(state.pause().until);
    EXPECT_EQ(state.reachable().until, at(3600));
    EXPECT_EQ(state.mode(), AwakeMode::always);
    state.startReachable(ReachableChoice::twoHours);
    state.startPause(PauseChoice::thirtyMinutes);
    world.hotKeys.press.at(ShortcutAction::toggle)();  // ends the pause only
    EXPECT_TRUE(state.enabled());
    state.startReachable(ReachableChoice::twoHours);
    state.toggleEnabled();
    EXPECT_FALSE(state.pause().until);
    EXPECT_FALSE(state.reachable().until);
    EXPECT_EQ(state.decision().headline.kind, HoldHeadline::Kind::switchedOff);
    EXPECT_EQ(world.defaults.boolValue(defaults_keys::enabled), false);
    EXPECT_FALSE(world.defaults.value(defaults_keys::reachableUntil));
}

}  // namespace
}  // namespace vigilmoth
