// Show that every text the panel, the menu bar and the notifications show reads exactly, with
// durations in whole coarsening units and the machine named by the one chosen word. The texts
// are kept in golden files under tests/fixtures/ui.
#include <gtest/gtest.h>

#include <cmath>
#include <functional>
#include <limits>

#include "hooks/install/HookInstallError.h"
#include "lab/LabScore.h"
#include "support/ScopedTimeZone.h"
#include "ui/AgentNoticeText.h"
#include "ui/Golden.h"
#include "ui/HoldHeadlineText.h"
#include "ui/HumaneDuration.h"
#include "ui/NoLimitBatteryWarningText.h"
#include "ui/PanelState.h"
#include "ui/PanelText.h"
#include "ui/SafetyStopText.h"
#include "ui/VerdictReasonText.h"

namespace vigilmoth {
namespace {

using testing::expectGolden;
using Kind = VerdictReason::Kind;
using H = HoldHeadline;
using R = VerdictReason;
namespace P = PanelText;

// 20:00 UTC.
const Date now(1'699'992'000);
const auto one = HoldSubject::one("Claude Code");
const auto many = HoldSubject::many(3);
const MachineWord words[] = {MachineWord::mac(), MachineWord::computer()};

AgentNotice::Session session(std::int32_t pid, std::optional<std::int32_t> owner,
                             std::optional<double> workedFor = std::nullopt, bool failed = false) {
    return {{pid, 100.5}, "claude", "Claude Code", "my-project", owner, workedFor, failed};
}

// One session is named and targeted, several are counted; a finish too short to name says
// nothing of its length (40 s).
TEST(AgentNoticeTextTest, OneSessionIsNamedAndTargetedSeveralAreCounted) {
    const Date at(1767225600.0125);
    const auto sleeps = SleepOutlook::sleepsIn(30), none = SleepOutlook::nothingSaid();
    const std::pair<AgentNotice, SleepOutlook> notices[] = {
        {{AgentNoticeKind::waiting, {session(812, 77)}},
         SleepOutlook::letsGoIn(290, SleepOutlook::After::timerUnknown())},
        {{AgentNoticeKind::waiting, {session(1, 7), session(2, 7)}}, sleeps},
        {{AgentNoticeKind::finished, {session(1, 7, 600), session(2, 8, 600), session(3, {})}},
         sleeps},
        {{AgentNoticeKind::finished, {session(1, 7, 3700)}}, none},
        {{AgentNoticeKind::finished, {session(1, 7, 120, true)}}, none},
        {{AgentNoticeKind::finished, {session(1, 7, 40)}}, none},
        {{AgentNoticeKind::finished, {session(1, 7)}}, none},
        {{AgentNoticeKind::waiting, {{{812, 1}, "codex", "Codex"}}}, SleepOutlook::sleepsIn(200)},
    };
    std::string out;
    for (const auto& [notice, outlook] : notices) {
        for (const auto m : words) {
            const auto c = AgentNoticeText::content(notice, outlook, at, m);
            out += c.key + " " + c.id + " " + c.thread + (c.sound ? " (sound)" : "") + " owner " +
                   (c.ownerPid ? std::to_string(*c.ownerPid) : "-") + " agent " +
                   (c.agent ? std::to_string(c.agent->pid) : "-") + "\n  " + c.title + " | " +
                   c.subtitle.value_or("-") + " | " + c.body.value_or("-") + "\n";
        }
    }
    expectGolden("ui/agent-notices.txt", out);
}

TEST(HoldHeadlineTextTest, EveryHeadlineReadsExactlyInTheMenuAndThePanel) {
    testing::ScopedTimeZone utc("UTC");
    const auto none = SleepOutlook::nothingSaid();
    const H headlines[] = {
        H::working(one),
        H::working(many),
        H::waitingHeld(one),
        H::waitingHeld(many),
        H::finishedRecently(one),
        H::finishedRecently(many),
        H::open(one),
        H::open(many),
        H::reachable(now + 5400),
        H::alwaysOn(),
        H::remoteAccess(),
        H::idle(one),
        H::idle(many),
        H::waitingReleased(one),
        H::waitingReleased(many),
        H::noAgents(),
        H::paused(now + 3600),
        H::paused(now + 36000),
        // Further ahead still reads "tomorrow", deliberately.
        H::paused(now + 2 * 86400),
        H::switchedOff(),
        H::safetyStop(SafetyStop::batteryLow(18)),
        H::safetyStop(SafetyStop::weakCharger(40)),
        H::safetyStop(SafetyStop::tooHot()),
    };
    std::string out;
    for (const auto& headline : headlines) {
        out += HoldHeadlineText::awakeReason(headline).value_or("-") +
               (headline.keepsAwake() ? " (keeps awake)\n" : "\n");
        for (const auto m : words) {
            const auto panel = P::headline(headline, none, now, {}, {}, m);
            out += "  " + HoldHeadlineText::text(headline, m) + " | " + panel.title + " / " +
                   panel.subtitle + "\n";
        }
    }
    for (const auto& [headline, outlook] :
         {std::pair(H::waitingHeld(one),
                    SleepOutlook::letsGoIn(200, SleepOutlook::After::timer(10))),
          std::pair(H::waitingHeld(many), SleepOutlook::sleepsIn(90))}) {
        for (const auto m : words)
            out += P::headline(headline, outlook, now, {}, {}, m).subtitle + "\n";
    }
    for (const auto& stop :
         {SafetyStop::batteryLow(9), SafetyStop::weakCharger(35), SafetyStop::tooHot()}) {
        for (const auto m : words)
            out += SafetyStopText::notification(stop, m) + "\n";
    }
    expectGolden("ui/headlines.txt", out);
    EXPECT_EQ(P::time(now + 36000, {}, {}), "06:00");
    EXPECT_EQ(P::time(now + 300, {}, {.twelveHour = true}), "8:05 PM");
    EXPECT_EQ(P::time(now + 36000, {}, {.twelveHour = true}), "6:00 AM");
}

TEST(HumaneDurationTest, CountsAndUnitsCoarsenWithLengthAndNonsenseReadsAsNothing) {
    EXPECT_EQ(HumaneDuration::counted(1, "minute"), "1 minute");
    EXPECT_EQ(HumaneDuration::counted(0, "minute"), "0 minutes");
    EXPECT_EQ(HumaneDuration::counted(-1, "day"), "-1 days");
    EXPECT_EQ(HumaneDuration::counted(3, "idle session"), "3 idle sessions");
    const double infinity = std::numeric_limits<double>::infinity();
    // Ten hours on, minutes are dropped; two days on, hours are.
    std::string out;
    for (const double seconds : {0.0,
                                 59.999,
                                 -5.0,
                                 std::nan(""),
                                 infinity,
                                 -infinity,
                                 60.0,
                                 119.0,
                                 120.0,
                                 3599.0,
                                 3600.0,
                                 3660.0,
                                 7320.0,
                                 35999.0,
                                 36000.0,
                                 36060.0,
                                 47 * 3600 + 59 * 60.0,
                                 172800.0,
                                 172800 + 86399.0,
                                 1e300})
        out += std::to_string(seconds) + ": " + HumaneDuration::units(seconds) + "\n";
    // Time left never reads below a minute.
    for (const double seconds : {0.0, 119.0, 120.0, 3599.0, 3600.0, 3720.0, -30.0})
        out += std::to_string(seconds) + ": " + P::timeLeft(seconds) + " | " +
               P::moreTime(seconds) + "\n";
    expectGolden("ui/durations.txt", out);
}

TEST(PanelTextTest, StatusLinesActionTitlesAndMachineNamingTexts) {
    const auto verdict = [](VerdictReason reason) { return AgentVerdict{.reason = reason}; };
    const auto cpu = verdict(R::plain(Kind::cpuActivity));
    using A = PanelAction;
    using Level = PanelBattery::Level;
    std::vector<std::string> lines = {
        P::phrase(one, "is working", "are working"),
        P::phrase(HoldSubject::many(12), "is working", "are working"),
        P::phrase(HoldSubject::one(""), "is working", "are working"),
        P::percent(0),
        P::percent(100),
        P::idle(std::nullopt, true),
        P::idle(30, true),
        P::idle(30, false),
        P::idle(7200, false),
        P::waiting(10, true),
        P::waiting(10, false),
        P::waiting(300, true),
        P::working(600, true, verdict(R::runningCommand(2))),
        P::working(10, true, verdict(R::backgroundJob(1))),
        P::working(600, false, verdict(R::plain(Kind::alwaysWorkingByRule))),
        P::working(600, false, cpu),
        P::working(5, true, cpu),
        P::working(5, false, cpu),
        P::moreIdle(1),
        P::moreIdle(2),
        P::sleepReason({SleepReason::Battery{12}}),
        P::sleepReason({SleepReason::WaitedTooLong{HoldSubject::one("Codex"), 300}}),
        P::sleepReason({SleepReason::WaitedTooLong{HoldSubject::many(2), 30}}),
        P::reachableCost(),
        P::sleepOutlook(SleepOutlook::nothingSaid()).value_or("-"),
        P::waitingEnd(SleepOutlook::nothingSaid()).value_or("-"),
    };
    for (const auto& action :
         {A::pause(PauseChoice::thirtyMinutes), A::pause(PauseChoice::oneHour),
          A::pause(PauseChoice::untilTomorrow), A::stayReachable(ReachableChoice::oneHour),
          A::stayReachable(ReachableChoice::twoHours), A::stayReachable(ReachableChoice::fourHours),
          A::setAgentRule("codex", AgentRule::automatic),
          A::setAgentRule("codex", AgentRule::alwaysWorkingWhileOpen),
          A::setAgentRule("codex", AgentRule::ignore), A::goToAgent({42, 1}, "Terminal"),
          A::dismissLidClosedHint(), A::dismissSleepNote()})
        lines.push_back(P::title(action));
    // After a stop the battery must gain 5 points above the floor.
    for (const PanelBattery battery :
         {PanelBattery{50, std::nullopt, Level::normal}, PanelBattery{25, 20, Level::nearFloor},
          PanelBattery{18, 20, Level::stopped}})
        lines.push_back(battery.consequence() + " | " + battery.accessibilityLabel(words[0]) +
                        " | " + battery.accessibilityLabel(words[1]));
    const auto sleeps = SleepOutlook::sleepsIn(200);
    const auto letsGo = SleepOutlook::letsGoIn(61, SleepOutlook::After::timer(10));
    for (const auto m : words) {
        LabScore score;
        score.title = "t";
        lines.insert(
            lines.end(),
            {*P::sleepOutlook(sleeps, m), *P::sleepOutlook(letsGo, m), *P::waitingEnd(sleeps, m),
             *P::waitingEnd(letsGo, m), NoLimitBatteryWarningText::notification(10, m),
             HookInstallError(HookInstallError::Kind::configMissing).message("~/.x", m),
             score.report(m)});
    }
    std::string out;
    for (const auto& line : lines)
        out += line + "\n";
    expectGolden("ui/panel-texts.txt", out);
    EXPECT_EQ(HoldSubject::of({}), std::nullopt);
    EXPECT_EQ(HoldSubject::of({"Codex"}), HoldSubject::one("Codex"));
    EXPECT_EQ(HoldSubject::of({"Codex", "Codex", "Cursor"}), HoldSubject::many(3));
}

TEST(VerdictReasonTextTest, EveryCaseHasItsTextAndCode) {
    const VerdictReason reasons[] = {
        R::runningCommand(1),
        R::runningCommand(3),
        R::backgroundJob(2),
        R::writingSessionFile(59),
        R::writingSessionFile(125),
        R::workedRecently(7),
        R::workedRecently(3600),
        R::noActivity(0),
        R::noActivity(1),
        R::noActivity(90),
        R::onlyWeakSigns(30),
        R::onlyWeakSigns(0),
        R::plain(Kind::reportsBusy),
        R::plain(Kind::cpuActivity),
        R::plain(Kind::asksPermission),
        R::plain(Kind::awaitsApproval),
        R::plain(Kind::atPrompt),
        R::plain(Kind::ignoredByRule),
        R::plain(Kind::alwaysWorkingByRule),
        R::plain(Kind::holdsSleepAssertion),
    };
    std::string out;
    for (const auto& reason : reasons)
        out += reason.code() + ": " + VerdictReasonText::text(reason, words[0]) + " | " +
               VerdictReasonText::text(reason, words[1]) + "\n";
    expectGolden("ui/verdict-reasons.txt", out);
}

}  // namespace
}  // namespace vigilmoth
