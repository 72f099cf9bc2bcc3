// Show that every headline reads exactly as the menu bar shows it, for one agent and for many,
// and that only the awake cases keep the Mac awake.
#include "ui/HoldHeadlineText.h"

#include <gtest/gtest.h>

#include "support/MachineWording.h"
#include "ui/SafetyStopText.h"

namespace vigilmoth {
namespace {

using testing::worded;

struct Case {
    HoldHeadline headline;
    std::string text;
    std::optional<std::string> awakeReason;
};

TEST(HoldHeadlineTextTest, EveryCaseReadsExactly) {
    const auto one = HoldSubject::one("Claude Code");
    const auto many = HoldSubject::many(3);
    const Date until(1'700'000'000);
    const Case cases[] = {
        {HoldHeadline::working(one), "Awake: Claude Code is working", "Claude Code is working"},
        {HoldHeadline::working(many), "Awake: 3 agents are working", "3 agents are working"},
        {HoldHeadline::waitingHeld(one), "Awake: Claude Code is waiting for you",
         "Claude Code is waiting for you"},
        {HoldHeadline::waitingHeld(many), "Awake: 3 agents are waiting for you",
         "3 agents are waiting for you"},
        {HoldHeadline::finishedRecently(one), "Awake: Claude Code finished a moment ago",
         "Claude Code finished a moment ago"},
        {HoldHeadline::finishedRecently(many), "Awake: 3 agents finished a moment ago",
         "3 agents finished a moment ago"},
        {HoldHeadline::open(one), "Awake: Claude Code is open", "Claude Code is open"},
        {HoldHeadline::open(many), "Awake: 3 agents are open", "3 agents are open"},
        {HoldHeadline::reachable(until), "Awake: stays reachable", "stays reachable"},
        {HoldHeadline::alwaysOn(), "Awake: always on", "always on"},
        {HoldHeadline::remoteAccess(), "Awake: reachable while plugged in",
         "reachable while plugged in"},
        {HoldHeadline::idle(one), worded("Mac can sleep: Claude Code is idle"), std::nullopt},
        {HoldHeadline::idle(many), worded("Mac can sleep: all agents are idle"), std::nullopt},
        {HoldHeadline::waitingReleased(one),
         worded("Mac can sleep: Claude Code is waiting for you"), std::nullopt},
        {HoldHeadline::waitingReleased(many), worded("Mac can sleep: 3 agents are waiting for you"),
         std::nullopt},
        {HoldHeadline::safetyStop(SafetyStop::batteryLow(18)), "Sleeping allowed: battery at 18%",
         std::nullopt},
        {HoldHeadline::safetyStop(SafetyStop::weakCharger(40)),
         "Sleeping allowed: weak charger, battery at 40%", std::nullopt},
        {HoldHeadline::safetyStop(SafetyStop::tooHot()),
         worded("Sleeping allowed: the Mac is too hot"), std::nullopt},
        {HoldHeadline::paused(until), worded("Mac can sleep: vigilmoth is paused"), std::nullopt},
        {HoldHeadline::noAgents(), worded("Mac can sleep: no agent is open"), std::nullopt},
        {HoldHeadline::switchedOff(), worded("Mac can sleep: vigilmoth is off"), std::nullopt},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.text);
        EXPECT_EQ(HoldHeadlineText::text(c.headline), c.text);
        EXPECT_EQ(HoldHeadlineText::awakeReason(c.headline), c.awakeReason);
        EXPECT_EQ(c.headline.keepsAwake(), c.awakeReason.has_value());
    }
}

TEST(HoldHeadlineTextTest, SafetyStopNotificationsNameTheCause) {
    EXPECT_EQ(SafetyStopText::notification(SafetyStop::batteryLow(20)),
              worded("vigilmoth let your Mac sleep because the battery is at 20%"));
    EXPECT_EQ(
        SafetyStopText::notification(SafetyStop::weakCharger(35)),
        worded("vigilmoth let your Mac sleep because your charger is too weak and the battery is "
               "at 35%"));
    EXPECT_EQ(SafetyStopText::notification(SafetyStop::tooHot()),
              worded("vigilmoth let your Mac sleep because it got too hot"));
}

}  // namespace
}  // namespace vigilmoth
