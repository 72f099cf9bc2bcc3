// Show that the panel's headline reads exactly for every case of the decision's headline, that
// a session's status line and the action titles that depend on a choice read as the panel shows
// them, and that the
// battery, cost and sleep-note texts say "computer" where the machine word says so.
#include <gtest/gtest.h>

#include "support/MachineWording.h"
#include "support/ScopedTimeZone.h"
#include "ui/PanelState.h"
#include "ui/PanelText.h"

namespace vigilmoth {
namespace {

using testing::worded;

// 20:00 UTC.
const Date now(1'699'992'000);

TEST(PanelHeadlineTest, EveryHeadlineReadsExactly) {
    testing::ScopedTimeZone utc("UTC");
    struct Case {
        HoldHeadline headline;
        SleepOutlook outlook;
        std::string title;
        std::string subtitle;
    };
    const auto one = HoldSubject::one("Claude Code");
    const auto many = HoldSubject::many(3);
    const auto none = SleepOutlook::nothingSaid();
    const std::string awake = worded("Your Mac stays awake");
    const std::string canSleep = worded("Your Mac can sleep");
    const Case cases[] = {
        {HoldHeadline::working(one), none, awake, "Claude Code is working"},
        {HoldHeadline::waitingHeld(one),
         SleepOutlook::letsGoIn(200, SleepOutlook::After::timer(10)), awake,
         "Claude Code is waiting for you, for at least 3 more minutes"},
        {HoldHeadline::waitingHeld(many), SleepOutlook::sleepsIn(90), awake,
         worded("3 agents are waiting for you, your Mac sleeps in 1 minute")},
        {HoldHeadline::waitingHeld(one), none, awake, "Claude Code is waiting for you"},
        {HoldHeadline::finishedRecently(one), none, awake, "Claude Code finished a moment ago"},
        {HoldHeadline::finishedRecently(many), none, awake, "3 agents finished a moment ago"},
        {HoldHeadline::open(one), none, awake, "Claude Code is open"},
        {HoldHeadline::reachable(now + 5400), none, awake, "Reachable until 21:30"},
        {HoldHeadline::alwaysOn(), none, awake, "Until you turn it off"},
        {HoldHeadline::remoteAccess(), none, awake, "Reachable while plugged in"},
        {HoldHeadline::idle(one), none, canSleep, "Claude Code is idle"},
        {HoldHeadline::idle(many), none, canSleep, "All agents are idle"},
        {HoldHeadline::waitingReleased(one), none, canSleep, "Claude Code is waiting for you"},
        {HoldHeadline::noAgents(), none, canSleep, "No agent is open"},
        {HoldHeadline::paused(now + 3600), none, "vigilmoth is paused", "Starts again at 21:00"},
        {HoldHeadline::paused(now + 36000), none, "vigilmoth is paused",
         "Starts again tomorrow at 06:00"},
        // Further ahead still reads "tomorrow", deliberately.
        {HoldHeadline::paused(now + 2 * 86400), none, "vigilmoth is paused",
         "Starts again tomorrow at 20:00"},
        {HoldHeadline::safetyStop(SafetyStop::batteryLow(18)), none, "vigilmoth has stopped",
         "The battery is at 18%"},
        {HoldHeadline::safetyStop(SafetyStop::weakCharger(40)), none, "vigilmoth has stopped",
         "Your charger is too weak and the battery is at 40%"},
        {HoldHeadline::safetyStop(SafetyStop::tooHot()), none, "vigilmoth has stopped",
         worded("Your Mac got too hot")},
        {HoldHeadline::switchedOff(), none, "vigilmoth is off", worded("Your Mac sleeps as usual")},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.subtitle);
        const auto read = PanelText::headline(c.headline, c.outlook, now, {}, {});
        EXPECT_EQ(read, (PanelHeadline{c.title, c.subtitle}));
    }
    const auto computer = PanelText::headline(HoldHeadline::switchedOff(), none, now, {}, {},
                                              MachineWord::computer());
    EXPECT_EQ(computer, (PanelHeadline{"vigilmoth is off", "Your computer sleeps as usual"}));
}

TEST(PanelHeadlineTest, TimesFollowTheUsersClock) {
    testing::ScopedTimeZone utc("UTC");
    EXPECT_EQ(PanelText::time(now + 300, {}, {}), "20:05");
    EXPECT_EQ(PanelText::time(now + 36000, {}, {}), "06:00");
    EXPECT_EQ(PanelText::time(now + 300, {}, {.twelveHour = true}), "8:05 PM");
    EXPECT_EQ(PanelText::time(now + 36000, {}, {.twelveHour = true}), "6:00 AM");
}

TEST(PanelHeadlineTest, StatusLinesOfEachState) {
    const AgentVerdict cpu{.reason = VerdictReason::plain(VerdictReason::Kind::cpuActivity)};
    const auto verdict = [](VerdictReason reason) { return AgentVerdict{.reason = reason}; };
    const std::pair<std::string, const char*> cases[] = {
        {PanelText::idle(std::nullopt, true), "Idle"},
        {PanelText::idle(30, true), "Finished a moment ago"},
        {PanelText::idle(30, false), "Idle"},
        {PanelText::idle(7200, false), "Idle for 2 hours"},
        {PanelText::waiting(10, true), "Asked you a moment ago"},
        {PanelText::waiting(10, false), "Waiting for your answer"},
        {PanelText::waiting(300, true), "Waiting for your answer for 5 minutes"},
        {PanelText::working(600, true, verdict(VerdictReason::runningCommand(2))),
         "Running 2 commands for 10 minutes"},
        {PanelText::working(10, true, verdict(VerdictReason::backgroundJob(1))),
         "Running 1 background task"},
        {PanelText::working(
             600, false, verdict(VerdictReason::plain(VerdictReason::Kind::alwaysWorkingByRule))),
         "Always counts as working"},
        {PanelText::working(600, false, cpu), "Working for 10 minutes"},
        {PanelText::working(5, true, cpu), "Started a moment ago"},
        {PanelText::working(5, false, cpu), "Working"},
    };
    for (const auto& [read, expected] : cases) {
        SCOPED_TRACE(expected);
        EXPECT_EQ(read, expected);
    }
}

TEST(PanelHeadlineTest, EveryActionHasItsTitle) {
    using A = PanelAction;
    const std::pair<PanelAction, const char*> cases[] = {
        {A::pause(PauseChoice::thirtyMinutes), "Pause for 30 minutes"},
        {A::pause(PauseChoice::oneHour), "Pause for 1 hour"},
        {A::pause(PauseChoice::untilTomorrow), "Pause until tomorrow"},
        {A::stayReachable(ReachableChoice::oneHour), "Stay reachable for 1 hour"},
        {A::stayReachable(ReachableChoice::twoHours), "Stay reachable for 2 hours"},
        {A::stayReachable(ReachableChoice::fourHours), "Stay reachable for 4 hours"},
        {A::setAgentRule("codex", AgentRule::automatic), "Automatic"},
        {A::setAgentRule("codex", AgentRule::alwaysWorkingWhileOpen), "This agent is working"},
        {A::setAgentRule("codex", AgentRule::ignore), "Ignore this agent"},
        {A::goToAgent({42, 1}, "Terminal"), "Go to Terminal"},
        {A::dismissLidClosedHint(), "Dismiss"},
        {A::dismissSleepNote(), "Dismiss"},
    };
    for (const auto& [action, title] : cases) {
        SCOPED_TRACE(title);
        EXPECT_EQ(PanelText::title(action), title);
    }
}

TEST(PanelHeadlineTest, BatteryCostAndSleepReasonTexts) {
    using Level = PanelBattery::Level;
    struct Case {
        PanelBattery battery;
        const char* consequence;
        std::string spoken;
    };
    const Case cases[] = {
        {{50, std::nullopt, Level::normal},
         "no battery limit",
         "Battery 50 percent, no battery limit"},
        {{25, 20, Level::nearFloor},
         "sleeps at 20%",
         worded("Battery 25 percent, vigilmoth lets your Mac sleep at 20 percent")},
        // After a stop the battery must gain 5 points above the floor.
        {{18, 20, Level::stopped},
         "starts again at 25%",
         "Battery 18 percent, vigilmoth starts again at 25 percent"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.spoken);
        EXPECT_EQ(c.battery.consequence(), c.consequence);
        EXPECT_EQ(c.battery.accessibilityLabel(), c.spoken);
    }
    EXPECT_EQ(cases[1].battery.accessibilityLabel(MachineWord::computer()),
              "Battery 25 percent, vigilmoth lets your computer sleep at 20 percent");
    EXPECT_EQ(PanelText::reachableCost(), "Uses about 1% of battery per hour");
    EXPECT_EQ(PanelText::moreIdle(1), "1 more idle agent");
    EXPECT_EQ(PanelText::moreIdle(2), "2 more idle agents");
    EXPECT_EQ(PanelText::sleepReason({SleepReason::Battery{12}}), "the battery was at 12%");
    EXPECT_EQ(PanelText::sleepReason({SleepReason::WaitedTooLong{HoldSubject::one("Codex"), 300}}),
              "Codex waited for you longer than 5 minutes");
    EXPECT_EQ(PanelText::sleepReason({SleepReason::WaitedTooLong{HoldSubject::many(2), 30}}),
              "2 agents waited for you too long");
}

}  // namespace
}  // namespace vigilmoth
