// Show that the menu model orders the agents' groups by rank and by how long they have been in
// their state, folds idle agents only beyond five, names namesakes apart, lists several
// sessions as children, and picks the most urgent attention line, the bar's choices, the
// battery line and the robot's pose; and that the tray's menu carries the panel.
#include "ui/MenuModel.h"

#include <gtest/gtest.h>

#include <sstream>

#include "support/DecisionBuilders.h"
#include "support/MachineWording.h"
#include "support/ScopedTimeZone.h"
#include "ui/Golden.h"
#include "ui/GroupDisclosure.h"
#include "ui/MenuBarLook.h"
#include "ui/MenuBarVisibility.h"
#include "ui/PanelText.h"
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

// Rows of "id pid state since": state w(orking), a (waiting) or i(dle); since "-" when unknown
// to the clock.
PanelInput inputOf(const std::string& rows) {
    std::vector<std::pair<AgentReading, std::optional<double>>> sessions;
    std::istringstream stream(rows);
    std::string id, state, since;
    std::int32_t pid = 0;
    while (stream >> id >> pid >> state >> since) {
        const auto read = state == "w"   ? State::working
                          : state == "a" ? State::waitingForUser
                                         : State::idle;
        sessions.push_back({session(id, pid, read),
                            since == "-" ? std::nullopt : std::optional(std::stod(since))});
    }
    return inputOf(sessions);
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

std::string rendered(const std::vector<PanelGroup>& groups) {
    const auto goTo = [](const std::optional<PanelAction>& action) {
        return action ? " -> " + PanelText::title(*action) : "";
    };
    std::string out;
    for (const auto& group : groups) {
        const auto& header = group.header;
        out += header.name + " {" + header.distinction.value_or("") + "} " +
               header.label.value_or("") + " | " + header.detail + " | " + header.hint +
               goTo(header.goTo) + " (" + std::to_string(group.waiting) + " waiting, " +
               std::to_string(group.working) + " working, " + std::to_string(group.idle) +
               " idle)\n";
        for (const auto& child : group.children)
            out += "  " + child.id + " " + child.label + " | " + child.detail.value_or("-") +
                   " | " + child.hint + goTo(child.goTo) + "\n";
    }
    return out + "\n";
}

TEST(MenuModelTest, GroupsGoByRankAndTimeInStateWithNamesakesApartAndSessionsAsChildren) {
    testing::ScopedTimeZone utc("UTC");
    const auto ignored = VerdictReason::plain(VerdictReason::Kind::ignoredByRule);
    // The verdict has seen "quiet" idle for 30 minutes, the clock only for 5: it counts as 30.
    auto ranked = inputOf(
        "waits-briefly 1 a 60  waits-unclocked 2 a -  ignored 3 i 10  works 4 w 900  quiet 5 i 300"
        "  idle-longer 6 i 600  waits-long 7 a 600  idle-recently 8 i 60");
    ranked.decision.perAgent[2].reading.verdict.reason = ignored;
    ranked.decision.perAgent[4].reading.verdict.reason = VerdictReason::noActivity(30);
    std::string out = rendered(MenuModel::groups(ranked, now).inView);

    const auto cli = AgentDefinition::Kind::cli, desktop = AgentDefinition::Kind::desktop;
    auto namesakes =
        inputOf({{session("codex", 1, State::working, cpu, cli, "Codex"), 60},
                 {session("codex-desktop", 2, State::idle, cpu, desktop, "Codex"), 120},
                 {session("cursor-desktop", 3, State::idle, cpu, desktop, "Cursor"), 180},
                 {session("tool-a", 4, State::idle, cpu, cli, "Tool"), 240},
                 {session("tool-b", 5, State::idle, cpu, cli, "Tool"), 300}});
    namesakes.labels[{4, 1000}] = "web";
    out += rendered(MenuModel::groups(namesakes, now).all);

    // An agent with a session waiting leads with it and sums up its idle ones; an agent idle
    // throughout lists each session.
    auto input = inputOf(
        "claude 2 w 300  claude 3 i 60  claude 4 i -  claude 5 i -  claude 1 a 120  claude 6 i -"
        "  claude 7 i -  codex 8 i 60  codex 9 i -  pi 10 w 60");
    input.labels[{1, 1000}] = "api";
    input.labels[{3, 1000}] = "docs";
    input.hints[{4, 1000}] = {.terminal = "ttys003"};
    input.labels[{6, 1000}] = "web";
    input.labels[{7, 1000}] = "cli";
    input.labels[{8, 1000}] = "site";
    input.hints[{10, 1000}] = {.name = "refactor"};
    input.hosts[{1, 1000}] = "Terminal";
    const auto groups = MenuModel::groups(input, now).all;
    out += rendered(groups);
    testing::expectGolden("ui/menu-groups.txt", out);
    EXPECT_EQ(groups[0].header.state, PanelRow::State::waiting);
    EXPECT_EQ(groups[0].children[0].goTo, A::goToAgent({1, 1000}, "Terminal"));
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

std::string titles(const std::vector<PanelAction>& actions) {
    std::string out;
    for (const auto& action : actions)
        out += " [" + PanelText::title(action) + "]";
    return out;
}

TEST(MenuModelTest, AttentionTakesTheMostUrgentProblem) {
    testing::ScopedTimeZone utc("UTC");
    const Situation cases[] = {
        {},
        {.stop = SafetyStop::batteryLow(18), .flagLeftOn = true, .lost = true},
        {.stop = SafetyStop::tooHot(), .flagLeftOn = true},
        {.flagLeftOn = true, .notResponding = true},
        {.notResponding = true, .lost = true, .repairTried = true},
        {.notResponding = true, .needsSetup = true, .noBattery = true},
        {.lost = true, .needsSetup = true},
        {.needsSetup = true, .reachableFor = 60},
        {.settingOff = true, .reachableFor = 60},
        {.needsSetup = true},
        {.needsSetup = true, .hintDismissed = true},
        {.needsSetup = true, .notHolding = true},
        {.slept = SleepReason{SleepReason::Paused{}}},
    };
    std::string out;
    for (const auto m : {MachineWord::mac(), MachineWord::computer()}) {
        for (const auto& situation : cases) {
            const auto attention = MenuModel::attention(inputIn(situation), now, m);
            out += attention ? std::to_string(static_cast<int>(attention->kind)) + ": " +
                                   attention->text + titles(attention->actions) + "\n"
                             : "-\n";
        }
    }
    testing::expectGolden("ui/attention.txt", out);
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
    std::string out;
    for (const Situation& situation :
         {Situation{}, Situation{.noBattery = true}, Situation{.pausedFor = 3600},
          Situation{.pausedFor = 0}, Situation{.reachableFor = 5400}, Situation{.off = true}}) {
        const auto input = inputIn(situation);
        const auto bar = MenuModel::bar(input, now);
        const auto state = MenuModel::state(input, now, MachineWord::mac());
        out += std::string(bar.enabled ? "on" : "off") + " | " + bar.pausedLabel.value_or("-") +
               " | " + bar.reachableLabel.value_or("-") + " | " + bar.reachableCost.value_or("-") +
               titles(bar.pauseActions) + titles(bar.reachableActions) + "\n  " +
               *state.menuBarAccessibilityLabel + "\n";
        EXPECT_EQ(bar.mode, AwakeMode::agentWorking);
        EXPECT_EQ(std::tie(state.pausedLabel, state.pauseActions, state.reachableActions),
                  std::tie(bar.pausedLabel, bar.pauseActions, bar.reachableActions));
    }
    testing::expectGolden("ui/bar.txt", out);
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
    const char* kinds[] = {"awake",  "safety stop", "reachable", "attentive",
                           "asleep", "off",         "paused",    "helper off"};
    std::string out;
    for (const auto& headline :
         {H::working(one), H::finishedRecently(one), H::open(one), H::alwaysOn(), H::reachable(now),
          H::remoteAccess(), H::waitingHeld(one), H::waitingReleased(one), H::idle(one),
          H::noAgents(), H::paused(now), H::switchedOff(),
          H::safetyStop(SafetyStop::batteryLow(18)), H::safetyStop(SafetyStop::weakCharger(18)),
          H::safetyStop(SafetyStop::tooHot())}) {
        const auto pose = MenuModel::pose(headline);
        const RobotLook look(pose);
        out += std::string(kinds[static_cast<int>(pose.kind)]) + " " + std::to_string(look.wisps) +
               (look.warning ? look.warning == HeroPose::SafetyKind::heat ? " heat" : " battery"
                             : "") +
               " | " + look.menuBar().accessibilityLabel(MachineWord::mac()) + " | " +
               look.menuBar().accessibilityLabel(MachineWord::computer()) + "\n";
    }
    testing::expectGolden("ui/menu-bar-poses.txt", out);
    EXPECT_EQ(RobotLook(HeroPose::helperOff()).menuBar().accessibilityLabel(),
              "vigilmoth: Needs attention");
    // Closed eyes are told apart by the pause and the opacity alone.
    using Eyes = MenuBarLook::Eyes;
    EXPECT_EQ((MenuBarLook{Eyes::closed, false, 0.5, false}).accessibilityLabel(),
              "vigilmoth: Off");
    EXPECT_EQ((MenuBarLook{Eyes::closed, false, 1.0, false}).accessibilityLabel(MachineWord::mac()),
              "vigilmoth: Your Mac can sleep");
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

void render(std::string& out, const std::vector<ShellMenuItem>& items, int depth = 0) {
    using Toggle = ShellMenuItem::Toggle;
    using Kind = ShellCommand::Kind;
    for (const auto& item : items) {
        out += std::string(2 * depth, ' ') + (item.separator ? "----" : item.label);
        if (item.toggle != Toggle::none)
            out += std::string(item.toggle == Toggle::radio ? " (radio" : " (check") +
                   (item.checked ? ", on)" : ")");
        if (const auto& command = item.command) {
            const char* kinds[] = {"panel", "mode", "hooks", "open at login", "quit"};
            out += std::string(" -> ") + kinds[static_cast<int>(command->kind)];
            if (command->kind == Kind::panel) out += ": " + PanelText::title(command->action);
            if (command->kind == Kind::setMode)
                out += " " + std::to_string(static_cast<int>(command->mode));
            if (command->kind == Kind::setHooks)
                out += " " + command->hookEntry + (command->on ? " on" : " off");
        }
        out += "\n";
        render(out, item.children, depth + 1);
    }
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
    std::string out;
    render(out, items);
    testing::expectGolden("ui/shell-menu.txt", out);
}

}  // namespace
}  // namespace vigilmoth
