// Show that every text the panel, the menu bar and the notifications show reads exactly, with
// durations in whole coarsening units and the machine named by the one chosen word.
#include <gtest/gtest.h>

#include <cmath>
#include <functional>
#include <limits>

#include "hooks/install/HookInstallError.h"
#include "lab/LabScore.h"
#include "support/MachineWording.h"
#include "support/ScopedTimeZone.h"
#include "ui/AgentNoticeText.h"
#include "ui/HoldHeadlineText.h"
#include "ui/HumaneDuration.h"
#include "ui/NoLimitBatteryWarningText.h"
#include "ui/PanelState.h"
#include "ui/PanelText.h"
#include "ui/SafetyStopText.h"
#include "ui/VerdictReasonText.h"

namespace vigilmoth {
namespace {

using testing::worded;
using Kind = VerdictReason::Kind;
using H = HoldHeadline;
using R = VerdictReason;
namespace P = PanelText;

// 20:00 UTC.
const Date now(1'699'992'000);
const auto one = HoldSubject::one("Claude Code");
const auto many = HoldSubject::many(3);

AgentNotice::Session session(std::int32_t pid, std::optional<std::int32_t> owner,
                             std::optional<double> workedFor = std::nullopt, bool failed = false) {
    return {{pid, 100.5}, "claude", "Claude Code", "my-project", owner, workedFor, failed};
}

TEST(AgentNoticeTextTest, OneSessionIsNamedAndTargetedSeveralAreCounted) {
    const Date at(1767225600.0125);
    auto content = AgentNoticeText::content(
        {AgentNoticeKind::waiting, {session(812, 77)}},
        SleepOutlook::letsGoIn(290, SleepOutlook::After::timerUnknown()), at);
    EXPECT_EQ(std::tie(content.key, content.id, content.thread, content.title, content.subtitle),
              std::tuple("waiting-812", "waiting-812-1767225600013", "agent-claude",
                         "Claude Code is waiting for you", "my-project"));
    EXPECT_EQ(content.body, worded("vigilmoth keeps your Mac awake for 4 more minutes"));
    EXPECT_TRUE(content.sound);
    EXPECT_EQ(std::tie(content.ownerPid, content.agent),
              std::tuple(77, ProcessIdentity{812, 100.5}));

    const auto sleeps = SleepOutlook::sleepsIn(30);
    auto waiting = AgentNoticeText::content(
        {AgentNoticeKind::waiting, {session(1, 7), session(2, 7)}}, sleeps, at);
    EXPECT_EQ(std::tie(waiting.title, waiting.key, waiting.thread),
              std::tuple("2 agents are waiting for you", "agents-waiting", "agents"));
    EXPECT_EQ(waiting.subtitle, std::nullopt);
    EXPECT_EQ(waiting.body, worded("Your Mac sleeps in 1 minute"));
    EXPECT_EQ(std::tie(waiting.ownerPid, waiting.agent), std::tuple(7, std::nullopt));
    auto finished = AgentNoticeText::content(
        {AgentNoticeKind::finished, {session(1, 7, 600), session(2, 8, 600), session(3, {})}},
        sleeps, at);
    EXPECT_EQ(std::tie(finished.title, finished.key),
              std::tuple("3 agents finished", "agents-finished"));
    EXPECT_EQ(std::tie(finished.body, finished.ownerPid), std::tuple(std::nullopt, std::nullopt));
}

TEST(AgentNoticeTextTest, FinishedTitlesAndBodies) {
    const std::tuple<AgentNotice::Session, const char*, std::optional<std::string>> cases[] = {
        {session(1, 7, 3700), "Claude Code finished", "After 1 hour 1 minute"},
        {session(1, 7, 120, true), "Claude Code stopped with an error", "After 2 minutes"},
        {session(1, 7, 40), "Claude Code finished", std::nullopt},  // too short to name
        {session(1, 7), "Claude Code finished", std::nullopt},
    };
    for (const auto& [session, title, body] : cases) {
        auto content = AgentNoticeText::content({AgentNoticeKind::finished, {session}},
                                                SleepOutlook::nothingSaid(), now);
        SCOPED_TRACE(body.value_or(title));
        EXPECT_EQ(std::tie(content.title, content.body, content.key),
                  std::tie(title, body, "finished-1"));
    }
}

TEST(HoldHeadlineTextTest, EveryCaseReadsExactlyAndOnlyAwakeOnesKeepAwake) {
    const Date until(1'700'000'000);
    const std::tuple<H, std::string, bool> cases[] = {
        {H::working(one), "Awake: Claude Code is working", true},
        {H::working(many), "Awake: 3 agents are working", true},
        {H::waitingHeld(one), "Awake: Claude Code is waiting for you", true},
        {H::waitingHeld(many), "Awake: 3 agents are waiting for you", true},
        {H::finishedRecently(one), "Awake: Claude Code finished a moment ago", true},
        {H::finishedRecently(many), "Awake: 3 agents finished a moment ago", true},
        {H::open(one), "Awake: Claude Code is open", true},
        {H::open(many), "Awake: 3 agents are open", true},
        {H::reachable(until), "Awake: stays reachable", true},
        {H::alwaysOn(), "Awake: always on", true},
        {H::remoteAccess(), "Awake: reachable while plugged in", true},
        {H::idle(one), worded("Mac can sleep: Claude Code is idle"), false},
        {H::idle(many), worded("Mac can sleep: all agents are idle"), false},
        {H::waitingReleased(one), worded("Mac can sleep: Claude Code is waiting for you"), false},
        {H::waitingReleased(many), worded("Mac can sleep: 3 agents are waiting for you"), false},
        {H::safetyStop(SafetyStop::batteryLow(18)), "Sleeping allowed: battery at 18%", false},
        {H::safetyStop(SafetyStop::weakCharger(40)),
         "Sleeping allowed: weak charger, battery at 40%", false},
        {H::safetyStop(SafetyStop::tooHot()), worded("Sleeping allowed: the Mac is too hot"),
         false},
        {H::paused(until), worded("Mac can sleep: vigilmoth is paused"), false},
        {H::noAgents(), worded("Mac can sleep: no agent is open"), false},
        {H::switchedOff(), worded("Mac can sleep: vigilmoth is off"), false},
    };
    for (const auto& [headline, text, awake] : cases) {
        SCOPED_TRACE(text);
        EXPECT_EQ(HoldHeadlineText::text(headline), text);
        EXPECT_EQ(HoldHeadlineText::awakeReason(headline),
                  awake ? std::optional(text.substr(7)) : std::nullopt);
        EXPECT_EQ(headline.keepsAwake(), awake);
    }
    EXPECT_EQ(SafetyStopText::notification(SafetyStop::weakCharger(35)),
              worded("vigilmoth let your Mac sleep because your charger is too weak and the "
                     "battery is at 35%"));
    EXPECT_EQ(SafetyStopText::notification(SafetyStop::tooHot()),
              worded("vigilmoth let your Mac sleep because it got too hot"));
}

TEST(HumaneDurationTest, CountsAndUnitsCoarsenWithLengthAndNonsenseReadsAsNothing) {
    const std::pair<std::string, const char*> counted[] = {
        {HumaneDuration::counted(1, "minute"), "1 minute"},
        {HumaneDuration::counted(0, "minute"), "0 minutes"},
        {HumaneDuration::counted(-1, "day"), "-1 days"},
        {HumaneDuration::counted(3, "idle session"), "3 idle sessions"},
    };
    for (const auto& [text, expected] : counted)
        EXPECT_EQ(text, expected);
    const double infinity = std::numeric_limits<double>::infinity();
    const std::pair<double, const char*> cases[] = {
        {0, ""},
        {59.999, ""},
        {-5, ""},
        {std::nan(""), ""},
        {infinity, ""},
        {-infinity, ""},
        {60, "1 minute"},
        {119, "1 minute"},
        {120, "2 minutes"},
        {3599, "59 minutes"},
        {3600, "1 hour"},
        {3660, "1 hour 1 minute"},
        {7320, "2 hours 2 minutes"},
        // Ten hours on, minutes are dropped; two days on, hours are.
        {35999, "9 hours 59 minutes"},
        {36000, "10 hours"},
        {36060, "10 hours"},
        {47 * 3600 + 59 * 60, "47 hours"},
        {172800, "2 days"},
        {172800 + 86399, "2 days"},
        {1e300, "694444444444 days"},
    };
    for (const auto& [seconds, expected] : cases) {
        SCOPED_TRACE(seconds);
        EXPECT_EQ(HumaneDuration::units(seconds), expected);
    }
}

TEST(MachineWordTest, EveryTextNamingTheMachineSaysTheChosenWord) {
    const auto sleeps = SleepOutlook::sleepsIn(200);
    const auto letsGo = SleepOutlook::letsGoIn(61, SleepOutlook::After::timer(10));
    const AgentNotice waiting{AgentNoticeKind::waiting, {{{812, 1}, "codex", "Codex"}}};
    const std::tuple<std::function<std::string(MachineWord)>, const char*, const char*> cases[] = {
        {[&](MachineWord m) { return *P::sleepOutlook(sleeps, m); }, "Your Mac sleeps in 3 minutes",
         "Your computer sleeps in 3 minutes"},
        {[&](MachineWord m) { return *P::sleepOutlook(letsGo, m); },
         "vigilmoth keeps your Mac awake for 1 more minute",
         "vigilmoth keeps your computer awake for 1 more minute"},
        {[&](MachineWord m) { return *P::waitingEnd(sleeps, m); }, "your Mac sleeps in 3 minutes",
         "your computer sleeps in 3 minutes"},
        {[](MachineWord m) {
             return HoldHeadlineText::text(H::idle(HoldSubject::one("Codex")), m);
         },
         "Mac can sleep: Codex is idle", "Computer can sleep: Codex is idle"},
        {[](MachineWord m) {
             return HoldHeadlineText::text(H::safetyStop(SafetyStop::tooHot()), m);
         },
         "Sleeping allowed: the Mac is too hot", "Sleeping allowed: the computer is too hot"},
        {[](MachineWord m) { return SafetyStopText::notification(SafetyStop::batteryLow(9), m); },
         "vigilmoth let your Mac sleep because the battery is at 9%",
         "vigilmoth let your computer sleep because the battery is at 9%"},
        {[](MachineWord m) { return NoLimitBatteryWarningText::notification(10, m); },
         "The battery is at 10%. vigilmoth keeps your Mac awake because the battery limit is off.",
         "The battery is at 10%. vigilmoth keeps your computer awake because the battery limit "
         "is off."},
        {[](MachineWord m) {
             return VerdictReasonText::text(R::plain(Kind::holdsSleepAssertion), m);
         },
         "Asking your Mac to stay awake", "Asking your computer to stay awake"},
        {[&](MachineWord m) { return *AgentNoticeText::content(waiting, sleeps, Date(0), m).body; },
         "Your Mac sleeps in 3 minutes", "Your computer sleeps in 3 minutes"},
        {[](MachineWord m) {
             return HookInstallError(HookInstallError::Kind::configMissing).message("~/.x", m);
         },
         "This agent is not set up on this Mac. ~/.x does not exist.",
         "This agent is not set up on this computer. ~/.x does not exist."},
        {[](MachineWord m) {
             LabScore score;
             score.title = "t";
             auto text = score.report(m);  // its second line
             text.erase(0, text.find('\n') + 1);
             return text.substr(0, text.find('\n'));
         },
         "0 samples over 0.0 s, 0 marks, Mac held awake for 0.0 s",
         "0 samples over 0.0 s, 0 marks, Computer held awake for 0.0 s"},
    };
    for (const auto& [text, mac, computer] : cases) {
        SCOPED_TRACE(mac);
        EXPECT_EQ(text(MachineWord::mac()), mac);
        EXPECT_EQ(text(MachineWord::computer()), computer);
    }
}

TEST(PanelTextTest, PhrasesPercentsAndTimeLeft) {
    const std::pair<HoldSubject, const char*> phrases[] = {
        {one, "Claude Code is working"},
        {HoldSubject::many(12), "12 agents are working"},
        {HoldSubject::one(""), " is working"},
    };
    for (const auto& [subject, expected] : phrases)
        EXPECT_EQ(P::phrase(subject, "is working", "are working"), expected);
    EXPECT_EQ(HoldSubject::of({}), std::nullopt);
    EXPECT_EQ(HoldSubject::of({"Codex"}), HoldSubject::one("Codex"));
    EXPECT_EQ(HoldSubject::of({"Codex", "Codex", "Cursor"}), HoldSubject::many(3));
    EXPECT_EQ(P::percent(0), "0%");
    EXPECT_EQ(P::percent(100), "100%");
    const std::tuple<double, const char*, const char*> times[] = {
        {0, "1 minute", "1 more minute"},     {119, "1 minute", "1 more minute"},
        {120, "2 minutes", "2 more minutes"}, {3599, "59 minutes", "59 more minutes"},
        {3600, "1 hour", "1 hour more"},      {3720, "1 hour 2 minutes", "1 hour 2 minutes more"},
        {-30, "1 minute", "1 more minute"},
    };
    for (const auto& [seconds, timeLeft, moreTime] : times) {
        SCOPED_TRACE(seconds);
        EXPECT_EQ(P::timeLeft(seconds), timeLeft);
        EXPECT_EQ(P::moreTime(seconds), moreTime);
    }
    EXPECT_EQ(P::sleepOutlook(SleepOutlook::nothingSaid()), std::nullopt);
    EXPECT_EQ(P::waitingEnd(SleepOutlook::letsGoIn(61, SleepOutlook::After::timer(10))),
              "for at least 1 more minute");
    EXPECT_EQ(P::waitingEnd(SleepOutlook::nothingSaid()), std::nullopt);
}

TEST(PanelHeadlineTest, EveryHeadlineReadsExactly) {
    testing::ScopedTimeZone utc("UTC");
    const auto none = SleepOutlook::nothingSaid();
    const std::string awake = worded("Your Mac stays awake");
    const std::string canSleep = worded("Your Mac can sleep");
    const std::string paused = "vigilmoth is paused", stopped = "vigilmoth has stopped";
    const std::tuple<H, SleepOutlook, std::string, std::string> cases[] = {
        {H::working(one), none, awake, "Claude Code is working"},
        {H::waitingHeld(one), SleepOutlook::letsGoIn(200, SleepOutlook::After::timer(10)), awake,
         "Claude Code is waiting for you, for at least 3 more minutes"},
        {H::waitingHeld(many), SleepOutlook::sleepsIn(90), awake,
         worded("3 agents are waiting for you, your Mac sleeps in 1 minute")},
        {H::waitingHeld(one), none, awake, "Claude Code is waiting for you"},
        {H::finishedRecently(one), none, awake, "Claude Code finished a moment ago"},
        {H::finishedRecently(many), none, awake, "3 agents finished a moment ago"},
        {H::open(one), none, awake, "Claude Code is open"},
        {H::reachable(now + 5400), none, awake, "Reachable until 21:30"},
        {H::alwaysOn(), none, awake, "Until you turn it off"},
        {H::remoteAccess(), none, awake, "Reachable while plugged in"},
        {H::idle(one), none, canSleep, "Claude Code is idle"},
        {H::idle(many), none, canSleep, "All agents are idle"},
        {H::waitingReleased(one), none, canSleep, "Claude Code is waiting for you"},
        {H::noAgents(), none, canSleep, "No agent is open"},
        {H::paused(now + 3600), none, paused, "Starts again at 21:00"},
        {H::paused(now + 36000), none, paused, "Starts again tomorrow at 06:00"},
        // Further ahead still reads "tomorrow", deliberately.
        {H::paused(now + 2 * 86400), none, paused, "Starts again tomorrow at 20:00"},
        {H::safetyStop(SafetyStop::batteryLow(18)), none, stopped, "The battery is at 18%"},
        {H::safetyStop(SafetyStop::weakCharger(40)), none, stopped,
         "Your charger is too weak and the battery is at 40%"},
        {H::safetyStop(SafetyStop::tooHot()), none, stopped, worded("Your Mac got too hot")},
        {H::switchedOff(), none, "vigilmoth is off", worded("Your Mac sleeps as usual")},
    };
    for (const auto& [headline, outlook, title, subtitle] : cases) {
        SCOPED_TRACE(subtitle);
        EXPECT_EQ(P::headline(headline, outlook, now, {}, {}), (PanelHeadline{title, subtitle}));
    }
    EXPECT_EQ(P::headline(H::switchedOff(), none, now, {}, {}, MachineWord::computer()),
              (PanelHeadline{"vigilmoth is off", "Your computer sleeps as usual"}));
    EXPECT_EQ(P::time(now + 36000, {}, {}), "06:00");
    EXPECT_EQ(P::time(now + 300, {}, {.twelveHour = true}), "8:05 PM");
    EXPECT_EQ(P::time(now + 36000, {}, {.twelveHour = true}), "6:00 AM");
}

TEST(PanelHeadlineTest, StatusLinesAndActionTitles) {
    const AgentVerdict cpu{.reason = R::plain(Kind::cpuActivity)};
    const auto verdict = [](VerdictReason reason) { return AgentVerdict{.reason = reason}; };
    using A = PanelAction;
    const std::pair<std::string, const char*> cases[] = {
        {P::idle(std::nullopt, true), "Idle"},
        {P::idle(30, true), "Finished a moment ago"},
        {P::idle(30, false), "Idle"},
        {P::idle(7200, false), "Idle for 2 hours"},
        {P::waiting(10, true), "Asked you a moment ago"},
        {P::waiting(10, false), "Waiting for your answer"},
        {P::waiting(300, true), "Waiting for your answer for 5 minutes"},
        {P::working(600, true, verdict(R::runningCommand(2))), "Running 2 commands for 10 minutes"},
        {P::working(10, true, verdict(R::backgroundJob(1))), "Running 1 background task"},
        {P::working(600, false, verdict(R::plain(Kind::alwaysWorkingByRule))),
         "Always counts as working"},
        {P::working(600, false, cpu), "Working for 10 minutes"},
        {P::working(5, true, cpu), "Started a moment ago"},
        {P::working(5, false, cpu), "Working"},
        {P::title(A::pause(PauseChoice::thirtyMinutes)), "Pause for 30 minutes"},
        {P::title(A::pause(PauseChoice::oneHour)), "Pause for 1 hour"},
        {P::title(A::pause(PauseChoice::untilTomorrow)), "Pause until tomorrow"},
        {P::title(A::stayReachable(ReachableChoice::oneHour)), "Stay reachable for 1 hour"},
        {P::title(A::stayReachable(ReachableChoice::twoHours)), "Stay reachable for 2 hours"},
        {P::title(A::stayReachable(ReachableChoice::fourHours)), "Stay reachable for 4 hours"},
        {P::title(A::setAgentRule("codex", AgentRule::automatic)), "Automatic"},
        {P::title(A::setAgentRule("codex", AgentRule::alwaysWorkingWhileOpen)),
         "This agent is working"},
        {P::title(A::setAgentRule("codex", AgentRule::ignore)), "Ignore this agent"},
        {P::title(A::goToAgent({42, 1}, "Terminal")), "Go to Terminal"},
        {P::title(A::dismissLidClosedHint()), "Dismiss"},
        {P::title(A::dismissSleepNote()), "Dismiss"},
        {P::moreIdle(1), "1 more idle agent"},
        {P::moreIdle(2), "2 more idle agents"},
        {P::sleepReason({SleepReason::Battery{12}}), "the battery was at 12%"},
        {P::sleepReason({SleepReason::WaitedTooLong{HoldSubject::one("Codex"), 300}}),
         "Codex waited for you longer than 5 minutes"},
        {P::sleepReason({SleepReason::WaitedTooLong{HoldSubject::many(2), 30}}),
         "2 agents waited for you too long"},
    };
    for (const auto& [read, expected] : cases) {
        SCOPED_TRACE(expected);
        EXPECT_EQ(read, expected);
    }
}

TEST(PanelHeadlineTest, BatteryCostTexts) {
    using Level = PanelBattery::Level;
    const std::tuple<PanelBattery, const char*, std::string> cases[] = {
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
    for (const auto& [battery, consequence, spoken] : cases) {
        SCOPED_TRACE(spoken);
        EXPECT_EQ(battery.consequence(), consequence);
        EXPECT_EQ(battery.accessibilityLabel(), spoken);
    }
    EXPECT_EQ(std::get<0>(cases[1]).accessibilityLabel(MachineWord::computer()),
              "Battery 25 percent, vigilmoth lets your computer sleep at 20 percent");
    EXPECT_EQ(P::reachableCost(), "Uses about 1% of battery per hour");
}

TEST(VerdictReasonTextTest, EveryCaseHasItsTextAndCode) {
    const std::tuple<VerdictReason, std::string, const char*> cases[] = {
        {R::runningCommand(1), "Running 1 command", "runningCommand:1"},
        {R::runningCommand(3), "Running 3 commands", "runningCommand:3"},
        {R::backgroundJob(2), "Running 2 background tasks", "backgroundJob:2"},
        {R::writingSessionFile(59), "Wrote to its session a moment ago", "writingSessionFile:59"},
        {R::writingSessionFile(125), "Wrote to its session 2 minutes ago",
         "writingSessionFile:125"},
        {R::workedRecently(7), "Last worked a moment ago", "workedRecently:7"},
        {R::workedRecently(3600), "Last worked 1 hour ago", "workedRecently:3600"},
        {R::noActivity(0), "No activity", "noActivity:0"},
        {R::noActivity(1), "No activity for 1 minute", "noActivity:1"},
        {R::noActivity(90), "No activity for 1 hour 30 minutes", "noActivity:90"},
        {R::onlyWeakSigns(30), "Using the processor for 30 minutes with no other sign of work",
         "onlyWeakSigns:30"},
        {R::onlyWeakSigns(0), "Using the processor with no other sign of work", "onlyWeakSigns:0"},
        {R::plain(Kind::reportsBusy), "Working on a task", "reportsBusy"},
        {R::plain(Kind::holdsSleepAssertion), worded("Asking your Mac to stay awake"),
         "holdsSleepAssertion"},
        {R::plain(Kind::cpuActivity), "Using the processor", "cpuActivity"},
        {R::plain(Kind::asksPermission), "Waiting for your answer", "asksPermission"},
        {R::plain(Kind::awaitsApproval), "Waiting for your approval", "awaitsApproval"},
        {R::plain(Kind::atPrompt), "Ready for your next message", "atPrompt"},
        {R::plain(Kind::alwaysWorkingByRule), "You set this agent to always count as working",
         "alwaysWorkingByRule"},
        {R::plain(Kind::ignoredByRule), "You set vigilmoth to ignore this agent", "ignoredByRule"},
    };
    for (const auto& [reason, text, code] : cases) {
        SCOPED_TRACE(code);
        EXPECT_EQ(VerdictReasonText::text(reason), text);
        EXPECT_EQ(reason.code(), code);
    }
}

}  // namespace
}  // namespace vigilmoth
