// Show that the sleep outlook speaks only of a wait-only hold still to come, says the closed Mac
// on battery sleeps at once, and otherwise names what macOS does once vigilmoth lets go; and why
// a sleep gets its note after the wake: only while an agent was active, and never for a sleep
// the system chose for reasons of its own.
#include <gtest/gtest.h>

#include "decision/SleepOutlook.h"
#include "decision/SleepReason.h"

namespace vigilmoth {
namespace {

const Date now(1'700'000'000);

HoldDecision waitOnly(bool hold, std::optional<double> endsIn, bool lidClosedFlag = true) {
    HoldDecision decision;
    decision.hold = hold;
    decision.lidClosedFlag = lidClosedFlag;
    if (endsIn) decision.waitingEnds = now + *endsIn;
    return decision;
}

MacSleepState mac(bool closedOnBatteryWithFlag, std::optional<int> timer, bool other = false) {
    return {closedOnBatteryWithFlag, closedOnBatteryWithFlag, closedOnBatteryWithFlag, timer,
            other};
}

TEST(SleepOutlookTest, EachSituationHasItsOutlookAndLogLine) {
    using After = SleepOutlook::After;
    struct Case {
        const char* name;
        HoldDecision decision;
        MacSleepState mac;
        SleepOutlook expected;
        const char* log;
    };
    const Case cases[] = {
        {"no hold", waitOnly(false, 100), mac(false, 10), SleepOutlook::nothingSaid(),
         "sleep outlook: nothing said"},
        {"a hold without an end", waitOnly(true, std::nullopt), mac(false, 10),
         SleepOutlook::nothingSaid(), "sleep outlook: nothing said"},
        {"an end that is now", waitOnly(true, 0), mac(false, 10), SleepOutlook::nothingSaid(),
         "sleep outlook: nothing said"},
        {"an end that passed", waitOnly(true, -5), mac(true, 10), SleepOutlook::nothingSaid(),
         "sleep outlook: nothing said"},
        {"closed on battery with the flag", waitOnly(true, 250.5), mac(true, 10, true),
         SleepOutlook::sleepsIn(250.5), "sleep outlook: the Mac sleeps in 250 s"},
        {"closed on battery, the decision sets no flag", waitOnly(true, 250, false), mac(true, 10),
         SleepOutlook::letsGoIn(250, After::timer(10)),
         "sleep outlook: vigilmoth lets go in 250 s, the sleep timer of macOS is 10 min"},
        {"another app holds even with a timer", waitOnly(true, 60), mac(false, 10, true),
         SleepOutlook::letsGoIn(60, After::otherAppHolds()),
         "sleep outlook: vigilmoth lets go in 60 s, another app keeps the Mac awake"},
        {"no timer reading", waitOnly(true, 60), mac(false, std::nullopt),
         SleepOutlook::letsGoIn(60, After::timerUnknown()),
         "sleep outlook: vigilmoth lets go in 60 s, the sleep timer of macOS is not known"},
        {"a timer of 0", waitOnly(true, 60), mac(false, 0),
         SleepOutlook::letsGoIn(60, After::neverSleeps()),
         "sleep outlook: vigilmoth lets go in 60 s, macOS never sleeps on this power source"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        const SleepOutlook outlook(c.decision, c.mac, now);
        EXPECT_EQ(outlook, c.expected);
        EXPECT_EQ(outlook.logLine(), c.log);
    }
}

TEST(SleepOutlookTest, OnlyAllThreeMachineFactsTogetherMeanSleepingAtOnce) {
    for (int mask = 0; mask < 7; ++mask) {
        SCOPED_TRACE(mask);
        const MacSleepState state{(mask & 1) != 0, (mask & 2) != 0, (mask & 4) != 0, 5, false};
        EXPECT_EQ(SleepOutlook(waitOnly(true, 30), state, now).kind, SleepOutlook::Kind::letsGoIn);
    }
}

TEST(SleepReasonTest, WhyTheMachineSlept) {
    const auto subject = HoldSubject::one("Claude Code");
    const auto working = HoldHeadline::working(subject), paused = HoldHeadline::paused(Date(5));
    using R = SleepReason;
    // Each case: the headline; agent active, lid closed, on battery, helper set up and the lid
    // setting, as 0/1 flags; the reason.
    const std::tuple<HoldHeadline, const char*, std::optional<SleepReason>> cases[] = {
        {working, "11101", R{R::LidClosedNoHelper{}}},
        {working, "11110", R{R::LidClosedSettingOff{}}},
        {working, "11111", {}},
        {working, "11000", {}},
        {working, "10100", {}},
        {HoldHeadline::waitingReleased(subject), "10000", R{R::WaitedTooLong{subject, 600}}},
        {HoldHeadline::safetyStop(SafetyStop::weakCharger(18)), "10000", R{R::Battery{18}}},
        {HoldHeadline::safetyStop(SafetyStop::tooHot()), "10000", R{R::TooHot{}}},
        {paused, "10000", R{R::Paused{}}},
        {paused, "00000", {}},
        {HoldHeadline::idle(subject), "11100", {}},
    };
    for (const auto& [headline, flags, reason] : cases) {
        SCOPED_TRACE(flags);
        const auto on = [flags](int i) { return flags[i] == '1'; };
        EXPECT_EQ(R::reason({Date(1), headline, on(0), on(1), on(2), on(3), on(4), 600}), reason);
    }
}

}  // namespace
}  // namespace vigilmoth
