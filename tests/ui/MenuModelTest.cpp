// Show that the menu model orders the agents' groups by rank and by how long they have been in
// their state, folds idle agents only beyond five, names namesakes apart, lists several
// sessions as children, and picks the most urgent attention line, the bar's choices, the
// battery line and the robot's pose; and that the tray's menu carries the panel.
#include "ui/MenuModel.h"

#include <gtest/gtest.h>

#include "support/DecisionBuilders.h"
#include "support/MachineWording.h"
#include "support/ScopedTimeZone.h"
#include "ui/GroupDisclosure.h"
#include "ui/MenuBarLook.h"
#include "ui/MenuBarVisibility.h"
#include "ui/RobotLook.h"
#include "ui/ShellMenu.h"

namespace vigilmoth {
namespace {

using testing::worded;

using State = ReportedState;
using Attention = PanelAttention::Kind;
using A = PanelAction;
using H = HoldHeadline;

// 20:00 UTC.
const Date now(1'699'992'000);
const auto cpu = VerdictReason::plain(VerdictReason::Kind::cpuActivity);

AgentReading session(const std::string& id, std::int32_t pid, State state,
                     VerdictReason reason = cpu,
                     AgentDefinition::Kind kind = AgentDefinition::Kind::cli,
                     const std::string& name = "") {
    auto made = testing::readingOf(id, name.empty() ? id : name, {pid, 1000}, state);
    made.verdict.reason = reason;
    made.kind = kind;
    return made;
}

// The readings of a decision, each in its state since that many seconds (absent: unknown to
// the clock).
PanelInput inputOf(const std::vector<std::pair<AgentReading, std::optional<double>>>& sessions) {
    PanelInput input;
    for (const auto& [reading, since] : sessions) {
        input.decision.perAgent.push_back({reading, std::nullopt});
        if (since) input.clock.entries[reading.identity] = {reading.verdict.state, now - *since};
    }
    return input;
}

std::vector<std::string> namesOf(const std::vector<PanelGroup>& groups) {
    std::vector<std::string> names;
    for (const auto& group : groups)
        names.push_back(group.header.name);
    return names;
}

TEST(MenuModelTest, FoldsIdleGroupsOnlyBeyondFive) {
    struct Case {
        int active, idle;
        std::size_t inView, moreIdle;
    };
    for (const auto c : {Case{0, 6, 4, 2}, Case{0, 5, 5, 0}, Case{2, 6, 6, 2}, Case{1, 0, 1, 0}}) {
        SCOPED_TRACE(::testing::Message() << c.active << " active, " << c.idle << " idle");
        std::vector<std::pair<AgentReading, std::optional<double>>> sessions;
        for (int i = 0; i < c.active + c.idle; ++i) {
            sessions.push_back({session("agent" + std::to_string(i), i + 1,
                                        i < c.active ? State::working : State::idle),
                                60});
        }
        const auto shown = MenuModel::groups(inputOf(sessions), now);
        EXPECT_EQ(shown.inView.size(), c.inView);
        EXPECT_EQ(shown.moreIdle.size(), c.moreIdle);
    }
}

TEST(MenuModelTest, OrdersByRankThenByHowLongEachHasBeenInItsState) {
    const auto ignored = VerdictReason::plain(VerdictReason::Kind::ignoredByRule);
    // The verdict has seen "quiet" idle for 30 minutes, the clock only for 5: it counts as 30.
    const auto input = inputOf({
        {session("waits-briefly", 1, State::waitingForUser), 60},
        {session("waits-unclocked", 2, State::waitingForUser), std::nullopt},
        {session("ignored", 3, State::idle, ignored), 10},
        {session("works", 4, State::working), 900},
        {session("quiet", 5, State::idle, VerdictReason::noActivity(30)), 300},
        {session("idle-longer", 6, State::idle), 600},
        {session("waits-long", 7, State::waitingForUser), 600},
        {session("idle-recently", 8, State::idle), 60},
    });
    const auto groups = MenuModel::groups(input, now).inView;
    const std::pair<const char*, const char*> expected[] = {
        {"waits-long", "Waiting for your answer for 10 minutes"},
        {"waits-briefly", "Waiting for your answer for 1 minute"},
        {"waits-unclocked", "Waiting for your answer"},
        {"works", "Working for 15 minutes"},
        {"idle-recently", "Idle for 1 minute"},
        {"idle-longer", "Idle for 10 minutes"},
        {"quiet", "Idle for 30 minutes"},
        {"ignored", "Ignored"},
    };
    ASSERT_EQ(groups.size(), std::size(expected));
    for (std::size_t i = 0; i < groups.size(); ++i) {
        SCOPED_TRACE(expected[i].first);
        EXPECT_EQ(groups[i].header.name, expected[i].first);
        EXPECT_EQ(groups[i].header.detail, expected[i].second);
    }
    EXPECT_EQ(groups.back().header.hint, "You set vigilmoth to ignore this agent");
    EXPECT_EQ(groups[3].header.hint, "Using the processor");
}

TEST(MenuModelTest, NamesNamesakesApart) {
    const auto cli = AgentDefinition::Kind::cli, desktop = AgentDefinition::Kind::desktop;
    auto input = inputOf({{session("codex", 1, State::working, cpu, cli, "Codex"), 60},
                          {session("codex-desktop", 2, State::idle, cpu, desktop, "Codex"), 120},
                          {session("cursor-desktop", 3, State::idle, cpu, desktop, "Cursor"), 180},
                          {session("tool-a", 4, State::idle, cpu, cli, "Tool"), 240},
                          {session("tool-b", 5, State::idle, cpu, cli, "Tool"), 300}});
    input.labels[{4, 1000}] = "web";
    const auto groups = MenuModel::groups(input, now).all;
    EXPECT_EQ(namesOf(groups),
              (std::vector<std::string>{"Codex", "Codex app", "Cursor", "Tool", "Tool"}));
    EXPECT_EQ(groups[3].header.distinction, "web");
    EXPECT_EQ(groups[4].header.distinction, "tool-b");
    EXPECT_EQ(groups[0].header.distinction, std::nullopt);
}

TEST(MenuModelTest, SeveralSessionsBecomeChildrenWithIdleOnesSummedUp) {
    testing::ScopedTimeZone utc("UTC");
    auto input = inputOf({
        {session("claude", 2, State::working), 300},
        {session("claude", 3, State::idle), 60},
        {session("claude", 4, State::idle), std::nullopt},
        {session("claude", 5, State::idle), std::nullopt},
        {session("claude", 1, State::waitingForUser), 120},
        {session("claude", 6, State::idle), std::nullopt},
        {session("claude", 7, State::idle), std::nullopt},
        {session("codex", 8, State::idle), 60},
        {session("codex", 9, State::idle), std::nullopt},
        {session("pi", 10, State::working), 60},
    });
    input.labels[{1, 1000}] = "api";
    input.labels[{3, 1000}] = "docs";
    input.hints[{4, 1000}] = {.terminal = "ttys003"};
    input.labels[{6, 1000}] = "web";
    input.labels[{7, 1000}] = "cli";
    input.labels[{8, 1000}] = "site";
    input.hints[{10, 1000}] = {.name = "refactor"};
    input.hosts[{1, 1000}] = "Terminal";
    const auto groups = MenuModel::groups(input, now).all;
    ASSERT_EQ(namesOf(groups), (std::vector<std::string>{"claude", "pi", "codex"}));

    const auto& claude = groups[0];
    EXPECT_EQ(claude.header.detail, "Waiting for your answer for 2 minutes");
    EXPECT_EQ(claude.header.state, PanelRow::State::waiting);
    EXPECT_EQ(claude.header.goTo, A::goToAgent({1, 1000}, "Terminal"));
    EXPECT_EQ(claude.header.label, std::nullopt);
    EXPECT_EQ(std::tie(claude.waiting, claude.working, claude.idle), std::tuple(1, 1, 5));
    const std::vector<PanelChild> children = {
        {"1@1000.000000", "api", "Waiting for your answer for 2 minutes", "Using the processor",
         A::goToAgent({1, 1000}, "Terminal")},
        {"2@1000.000000", "since 19:55", "Working for 5 minutes", "Using the processor"},
        {"claude/idle", "5 idle sessions", "docs, ttys003, Session 5 and 2 more", ""},
    };
    EXPECT_EQ(claude.children, children);

    EXPECT_EQ(groups[1].header.label, "refactor");
    EXPECT_TRUE(groups[1].children.empty());
    // An agent idle throughout lists each session.
    const auto& codex = groups[2];
    ASSERT_EQ(codex.children.size(), 2u);
    EXPECT_EQ(std::tie(codex.children[0].label, codex.children[0].detail),
              std::tuple("site", "Idle for 1 minute"));
    EXPECT_EQ(std::tie(codex.children[1].label, codex.children[1].detail),
              std::tuple("Session 2", "Idle"));
}

TEST(MenuModelTest, TheEmptyListInvitesToStartAnAgentOnlyWhenNoneIsOpen) {
    const std::tuple<H, bool, std::string> cases[] = {
        {H::noAgents(), false,
         worded("Start an agent and vigilmoth keeps your Mac awake while it works")},
        {H::switchedOff(), false, "No agent is open"},
        {H::noAgents(), true, "No agent is open"},
    };
    for (const auto& [headline, flagLeftOn, text] : cases) {
        SCOPED_TRACE(text);
        PanelInput input;
        input.decision.headline = headline;
        input.flagLeftOn = flagLeftOn;
        const auto state = MenuModel::state(input, now);
        EXPECT_EQ(state.emptyText, text);
        EXPECT_EQ(state.emptyAction, A::agentNotListed());
        if (!flagLeftOn) continue;
        EXPECT_EQ(state.pose, HeroPose::helperOff());
        EXPECT_EQ(std::tie(state.title, state.subtitle, state.menuBarAccessibilityLabel),
                  std::tuple(worded("Your Mac cannot sleep"),
                             "The helper of vigilmoth was turned off in Login Items",
                             worded("vigilmoth: Your Mac cannot sleep")));
    }
    EXPECT_EQ(MenuModel::state({}, now, MachineWord::computer()).emptyText,
              "Start an agent and vigilmoth keeps your computer awake while it works");
}

// What differs from a machine on battery at 50% that vigilmoth holds for a working agent.
struct Situation {
    std::optional<SafetyStop> stop;
    int percent = 50;
    bool mains = false, floorOff = false;
    bool flagLeftOn = false, notResponding = false, lost = false, repairTried = false;
    bool needsSetup = false, hintDismissed = false, settingOff = false;
    bool noBattery = false, notHolding = false, off = false;
    std::optional<double> pausedFor, reachableFor;
    std::optional<SleepReason> slept;
};

PanelInput inputIn(const Situation& s) {
    PanelInput input;
    input.decision.hold = !s.notHolding;
    input.decision.headline =
        s.stop ? H::safetyStop(*s.stop) : H::working(HoldSubject::one("Codex"));
    if (!s.noBattery) input.batteryPercent = s.percent;
    input.onBattery = !s.noBattery && !s.mains;
    input.settings.batteryFloorEnabled = !s.floorOff;
    input.enabled = !s.off;
    input.flagLeftOn = s.flagLeftOn;
    input.helperNotResponding = s.notResponding;
    input.helperLost = s.lost;
    input.helperRepairTried = s.repairTried;
    input.lidClosedNeedsSetup = s.needsSetup;
    input.lidClosedHintDismissed = s.hintDismissed;
    input.settings.stayAwakeLidClosedOnBattery = !s.settingOff;
    if (s.pausedFor) input.pausedUntil = now + *s.pausedFor;
    if (s.reachableFor) input.reachableUntil = now + *s.reachableFor;
    if (s.slept) input.sleepNote = SleepNote{now - 1800, *s.slept};
    return input;
}

TEST(MenuModelTest, AttentionTakesTheMostUrgentProblem) {
    testing::ScopedTimeZone utc("UTC");
    using PA = PanelAttention;
    const std::string notResponding = worded(
        "vigilmoth cannot reach its helper. Your Mac will sleep when you close the lid on "
        "battery.");
    const std::string needsLid = worded("Your Mac still sleeps with the lid closed on battery");
    const std::pair<Situation, std::optional<PanelAttention>> cases[] = {
        {{}, std::nullopt},
        {{.stop = SafetyStop::batteryLow(18), .flagLeftOn = true, .lost = true},
         PA{Attention::safetyStop, "vigilmoth starts again at 25%", {}}},
        {{.stop = SafetyStop::tooHot(), .flagLeftOn = true},
         PA{Attention::safetyStop, worded("vigilmoth starts again when your Mac is cool"), {}}},
        {{.flagLeftOn = true, .notResponding = true},
         PA{Attention::helperSwitchedOff,
            worded("Allow vigilmoth again in Login Items, and your Mac sleeps as usual"),
            {A::openLoginItems()}}},
        {{.notResponding = true, .lost = true, .repairTried = true},
         PA{Attention::helperNotResponding, notResponding, {A::tryHelperAgain(), A::openHelp()}}},
        {{.notResponding = true, .needsSetup = true, .noBattery = true}, std::nullopt},
        {{.lost = true, .needsSetup = true},
         PA{Attention::helperLost,
            "vigilmoth has to set up its helper again",
            {A::setUpLidClosed()}}},
        {{.needsSetup = true, .reachableFor = 60},
         PA{Attention::reachableNeedsLidClosed, needsLid, {A::setUpLidClosed()}}},
        {{.settingOff = true, .reachableFor = 60},
         PA{Attention::reachableNeedsLidClosed, needsLid, {}}},
        {{.needsSetup = true},
         PA{Attention::lidClosedNotSetUp,
            worded("Close the lid and your Mac still sleeps. Set up the helper to stay reachable."),
            {A::setUpLidClosed(), A::dismissLidClosedHint()}}},
        {{.needsSetup = true, .hintDismissed = true}, std::nullopt},
        {{.needsSetup = true, .notHolding = true}, std::nullopt},
        {{.slept = SleepReason{SleepReason::Paused{}}},
         PA{Attention::sleptAnyway, worded("Your Mac slept at 19:30"), {A::dismissSleepNote()}}},
    };
    for (std::size_t i = 0; i < std::size(cases); ++i) {
        SCOPED_TRACE(i);
        EXPECT_EQ(MenuModel::attention(inputIn(cases[i].first), now), cases[i].second);
    }
}

TEST(MenuModelTest, TheSleepNoteIsShownOnceWithItsReason) {
    testing::ScopedTimeZone utc("UTC");
    const PanelAttention note{
        Attention::sleptAnyway,
        worded(
            "Your Mac slept at 19:30: the lid was closed on battery and the helper is not set up"),
        {A::setUpLidClosed(), A::dismissSleepNote()}};
    const SleepReason noHelper{SleepReason::LidClosedNoHelper{}};
    auto state = MenuModel::state(inputIn({.slept = noHelper}), now);
    EXPECT_EQ(state.attention, note);
    EXPECT_EQ(state.sleepNote, std::nullopt);
    state = MenuModel::state(inputIn({.lost = true, .slept = noHelper}), now);
    EXPECT_EQ(state.attention->kind, Attention::helperLost);
    EXPECT_EQ(state.sleepNote, note);
}

TEST(MenuModelTest, TheBarOffersWhatFitsTheTimedModes) {
    testing::ScopedTimeZone utc("UTC");
    const std::vector pauses = {A::pause(PauseChoice::thirtyMinutes),
                                A::pause(PauseChoice::oneHour),
                                A::pause(PauseChoice::untilTomorrow)};
    const std::vector reachables = {A::stayReachable(ReachableChoice::oneHour),
                                    A::stayReachable(ReachableChoice::twoHours),
                                    A::stayReachable(ReachableChoice::fourHours)};
    const std::string cost = "Uses about 1% of battery per hour";
    const auto mode = AwakeMode::agentWorking;
    const std::pair<Situation, PanelBar> cases[] = {
        {{}, {true, mode, {}, {}, pauses, reachables, cost}},
        {{.noBattery = true}, {true, mode, {}, {}, pauses, reachables, {}}},
        {{.pausedFor = 3600}, {true, mode, "Paused until 21:00", {}, {A::resume()}, {}, {}}},
        {{.pausedFor = 0}, {true, mode, {}, {}, pauses, reachables, cost}},
        {{.reachableFor = 5400},
         {true, mode, {}, "Reachable until 21:30", pauses, {A::stopReachable()}, cost}},
        {{.off = true}, {false, mode, {}, {}, {}, {}, {}}},
    };
    for (const auto& [situation, expected] : cases) {
        SCOPED_TRACE(expected.pausedLabel.value_or(expected.reachableLabel.value_or("")));
        const auto input = inputIn(situation);
        EXPECT_EQ(MenuModel::bar(input, now), expected);
        const auto state = MenuModel::state(input, now);
        EXPECT_EQ(std::tie(state.pausedLabel, state.pauseActions, state.reachableActions),
                  std::tie(expected.pausedLabel, expected.pauseActions, expected.reachableActions));
        EXPECT_EQ(state.menuBarAccessibilityLabel,
                  "vigilmoth: " + expected.reachableLabel.value_or(worded("Your Mac stays awake")));
    }
}

TEST(MenuModelTest, TheBatteryLineWarnsNearTheFloorAndWhenStopped) {
    using L = PanelBattery::Level;
    const std::pair<Situation, std::optional<PanelBattery>> cases[] = {
        {{.mains = true}, std::nullopt},
        {{.noBattery = true}, std::nullopt},
        {{.percent = 31}, PanelBattery{31, 20, L::normal}},
        {{.percent = 30}, PanelBattery{30, 20, L::nearFloor}},
        {{.stop = SafetyStop::batteryLow(20), .percent = 20}, PanelBattery{20, 20, L::stopped}},
        {{.stop = SafetyStop::weakCharger(19), .percent = 19, .mains = true},
         PanelBattery{19, 20, L::stopped}},
        {{.stop = SafetyStop::tooHot(), .mains = true}, std::nullopt},
        {{.percent = 11, .floorOff = true}, PanelBattery{11, std::nullopt, L::normal}},
        {{.percent = 10, .floorOff = true}, PanelBattery{10, std::nullopt, L::nearEmpty}},
    };
    for (std::size_t i = 0; i < std::size(cases); ++i) {
        SCOPED_TRACE(i);
        EXPECT_EQ(MenuModel::battery(inputIn(cases[i].first)), cases[i].second);
    }
}

TEST(MenuModelTest, TheStateClockKeepsAnEntryWhileItsStateHolds) {
    const Date then = now - 600;
    StateClock clock;
    clock.entries[{1, 1}] = {State::working, then};
    clock.entries[{2, 1}] = {State::idle, then, State::working};
    clock.entries[{3, 1}] = {State::idle, then};
    const auto reading = [](std::int32_t pid, State state) {
        return testing::readingOf("a", "a", {pid, 1}, state);
    };
    const auto updated = clock.updated(
        {reading(1, State::working), reading(2, State::waitingForUser), reading(4, State::idle)},
        now);
    StateClock expected;
    expected.entries[{1, 1}] = {State::working, then};
    expected.entries[{2, 1}] = {State::waitingForUser, now, State::idle};
    expected.entries[{4, 1}] = {State::idle, now, std::nullopt};
    EXPECT_EQ(updated, expected);
}

TEST(MenuModelTest, DisclosureForgetsAChoiceOnceTheGroupChangesKind) {
    PanelGroup group{.header = {.id = "codex"}, .working = 1};
    GroupDisclosure disclosure;
    EXPECT_TRUE(disclosure.isOpen(group));
    disclosure.choose(group, false);
    EXPECT_FALSE(disclosure.isOpen(group));
    group.working = 0;
    EXPECT_FALSE(disclosure.isOpen(group));
    disclosure.settle({group});
    group.working = 1;
    EXPECT_TRUE(disclosure.isOpen(group));
}

TEST(MenuBarLookTest, EveryHeadlineHasAPoseAndEveryPoseALabel) {
    const auto one = HoldSubject::one("Codex");
    const std::string awake = worded("vigilmoth: Your Mac stays awake");
    const std::string asleep = worded("vigilmoth: Your Mac can sleep");
    const char* waits = "vigilmoth: An agent is waiting for you";
    const char* attention = "vigilmoth: Needs attention";
    const auto battery = HeroPose::safetyStop(HeroPose::SafetyKind::battery);
    const std::tuple<H, HeroPose, std::string> cases[] = {
        {H::working(one), HeroPose::awake(2), awake},
        {H::finishedRecently(one), HeroPose::awake(1), awake},
        {H::open(one), HeroPose::awake(0), awake},
        {H::alwaysOn(), HeroPose::awake(0), awake},
        {H::reachable(now), HeroPose::reachable(), awake},
        {H::remoteAccess(), HeroPose::reachable(), awake},
        {H::waitingHeld(one), HeroPose::attentive(), waits},
        {H::waitingReleased(one), HeroPose::attentive(), waits},
        {H::idle(one), HeroPose::asleep(), asleep},
        {H::noAgents(), HeroPose::asleep(), asleep},
        {H::paused(now), HeroPose::paused(), "vigilmoth: Paused"},
        {H::switchedOff(), HeroPose::off(), "vigilmoth: Off"},
        {H::safetyStop(SafetyStop::batteryLow(18)), battery, attention},
        {H::safetyStop(SafetyStop::weakCharger(18)), battery, attention},
        {H::safetyStop(SafetyStop::tooHot()), HeroPose::safetyStop(HeroPose::SafetyKind::heat),
         attention},
    };
    for (const auto& [headline, pose, label] : cases) {
        SCOPED_TRACE(label);
        EXPECT_EQ(MenuModel::pose(headline), pose);
        EXPECT_EQ(RobotLook(pose).menuBar().accessibilityLabel(), label);
    }
    EXPECT_EQ(RobotLook(HeroPose::helperOff()).menuBar().accessibilityLabel(), attention);
    EXPECT_EQ(RobotLook(HeroPose::awake(3)).wisps, 3);
    EXPECT_EQ(RobotLook(HeroPose::safetyStop(HeroPose::SafetyKind::heat)).warning,
              HeroPose::SafetyKind::heat);
    EXPECT_EQ(RobotLook(HeroPose::awake(2)).menuBar().accessibilityLabel(MachineWord::computer()),
              "vigilmoth: Your computer stays awake");
    // Closed eyes are told apart by the pause and the opacity alone.
    using Eyes = MenuBarLook::Eyes;
    EXPECT_EQ((MenuBarLook{Eyes::closed, false, 0.5, false}).accessibilityLabel(),
              "vigilmoth: Off");
    EXPECT_EQ((MenuBarLook{Eyes::closed, false, 1.0, false}).accessibilityLabel(), asleep);
    EXPECT_EQ((MenuBarLook{Eyes::closed, false, 0.5, true}).accessibilityLabel(),
              "vigilmoth: Paused");
}

TEST(MenuBarLookTest, TheItemIsShownUnlessTheUserHidIt) {
    MemoryKeyValueStore defaults;
    EXPECT_TRUE(MenuBarVisibility::isShown(defaults));
    defaults.set("MenuBar.showIcon", "no");
    EXPECT_TRUE(MenuBarVisibility::isShown(defaults));
    defaults.set("MenuBar.showIcon", false);
    EXPECT_FALSE(MenuBarVisibility::isShown(defaults));
}

const ShellMenuItem* find(const std::vector<ShellMenuItem>& items, const std::string& label) {
    for (const auto& item : items) {
        if (item.label == label) return &item;
        if (const auto* inside = find(item.children, label)) return inside;
    }
    return nullptr;
}

TEST(ShellMenuTest, CarriesThePanelAndTheSettingsBesideIt) {
    PanelState panel{.title = "Your computer stays awake", .subtitle = "Codex is working"};
    PanelGroup codex{.header = {.id = "codex",
                                .agentID = "codex",
                                .name = "Codex",
                                .state = PanelRow::State::working,
                                .detail = "Working for 5 minutes"}};
    codex.children = {{"a", "my_app", "Working for 5 minutes", "", std::nullopt},
                      {"b", "since 10:04", "Idle", "", A::goToAgent({7, 1}, "Kitty")}};
    codex.rule = AgentRule::ignore;
    panel.groups = {codex};
    panel.pauseActions = {A::pause(PauseChoice::oneHour)};
    const auto items = ShellMenu::items({panel,
                                         AwakeMode::agentOpen,
                                         {{"claude", "Claude Code", HookStatus::installed(3)},
                                          {"gemini", "Gemini CLI", HookStatus::configMissing()}}});
    ASSERT_NE(find(items, "Codex — Working for 5 minutes"), nullptr);
    using Toggle = ShellMenuItem::Toggle;
    const auto rule = [](AgentRule rule) {
        return ShellCommand::panel(A::setAgentRule("codex", rule));
    };
    const std::tuple<const char*, std::optional<ShellCommand>, Toggle, bool> cases[] = {
        {"Your computer stays awake", std::nullopt, Toggle::none, false},
        {"my_app — Working for 5 minutes", std::nullopt, Toggle::none, false},
        {"since 10:04 — Idle", ShellCommand::panel(A::goToAgent({7, 1}, "Kitty")), Toggle::none,
         false},
        {"Ignore this agent", rule(AgentRule::ignore), Toggle::radio, true},
        {"Automatic", rule(AgentRule::automatic), Toggle::radio, false},
        {"Pause for 1 hour", ShellCommand::panel(A::pause(PauseChoice::oneHour)), Toggle::none,
         false},
        {"Stay awake while an agent is open", ShellCommand::setMode(AwakeMode::agentOpen),
         Toggle::radio, true},
        {"Claude Code", ShellCommand::setHooks("claude", false), Toggle::checkmark, true},
        {"Gemini CLI", std::nullopt, Toggle::none, false},
        {"Quit vigilmoth", ShellCommand::quit(), Toggle::none, false},
    };
    for (const auto& [label, command, toggle, checked] : cases) {
        SCOPED_TRACE(label);
        const auto* item = find(items, label);
        ASSERT_NE(item, nullptr);
        EXPECT_EQ(std::tie(item->command, item->toggle, item->checked),
                  std::tie(command, toggle, checked));
    }
    for (std::size_t i = 1; i < items.size(); ++i)
        EXPECT_FALSE(items[i].separator && items[i - 1].separator) << i;
}

}  // namespace
}  // namespace vigilmoth
