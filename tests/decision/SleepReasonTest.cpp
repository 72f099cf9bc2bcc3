// Show why a sleep gets its note after the wake: only while an agent was active, and never for
// a sleep the system chose for reasons of its own.
#include "decision/SleepReason.h"

#include <gtest/gtest.h>

namespace vigilmoth {
namespace {

TEST(SleepReasonTest, WhyTheMachineSlept) {
    const auto subject = HoldSubject::one("Claude Code");
    struct Case {
        HoldHeadline headline;
        bool agentActive, lidClosed, onBattery, helperSetUp, lidClosedWanted;
        std::optional<SleepReason> reason;
    };
    const std::vector<Case> cases = {
        {HoldHeadline::working(subject), true, true, true, false, true,
         SleepReason{SleepReason::LidClosedNoHelper{}}},
        {HoldHeadline::working(subject), true, true, true, true, false,
         SleepReason{SleepReason::LidClosedSettingOff{}}},
        {HoldHeadline::working(subject), true, true, true, true, true, {}},
        {HoldHeadline::working(subject), true, true, false, false, false, {}},
        {HoldHeadline::working(subject), true, false, true, false, false, {}},
        {HoldHeadline::waitingReleased(subject), true, false, false, false, false,
         SleepReason{SleepReason::WaitedTooLong{subject, 600}}},
        {HoldHeadline::safetyStop(SafetyStop::weakCharger(18)), true, false, false, false, false,
         SleepReason{SleepReason::Battery{18}}},
        {HoldHeadline::safetyStop(SafetyStop::tooHot()), true, false, false, false, false,
         SleepReason{SleepReason::TooHot{}}},
        {HoldHeadline::paused(Date(5)), true, false, false, false, false,
         SleepReason{SleepReason::Paused{}}},
        {HoldHeadline::paused(Date(5)), false, false, false, false, false, {}},
        {HoldHeadline::idle(subject), true, true, true, false, false, {}},
    };
    for (size_t index = 0; index < cases.size(); ++index) {
        SCOPED_TRACE(index);
        const auto& c = cases[index];
        SleepSnapshot snapshot{Date(1),     c.headline,    c.agentActive,     c.lidClosed,
                               c.onBattery, c.helperSetUp, c.lidClosedWanted, 600};
        EXPECT_EQ(SleepReason::reason(snapshot), c.reason);
    }
}

}  // namespace
}  // namespace vigilmoth
