// Show that every headline gives the robot a pose whose look the menu bar speaks as the user
// expects, that the switched-off look is told from the sleeping one by its opacity alone, and
// that the menu-bar item is shown unless the user hid it.
#include "ui/MenuBarLook.h"

#include <gtest/gtest.h>

#include "support/MachineWording.h"
#include "ui/MenuBarVisibility.h"
#include "ui/MenuModel.h"
#include "ui/RobotLook.h"

namespace vigilmoth {
namespace {

using testing::worded;

TEST(MenuBarLookTest, EveryHeadlineHasAPoseAndEveryPoseALabel) {
    struct Case {
        HoldHeadline headline;
        HeroPose pose;
        std::string label;
    };
    const auto one = HoldSubject::one("Codex");
    const Date until(1'700'000'000);
    const std::string awake = worded("vigilmoth: Your Mac stays awake");
    const char* attention = "vigilmoth: Needs attention";
    const Case cases[] = {
        {HoldHeadline::working(one), HeroPose::awake(2), awake},
        {HoldHeadline::finishedRecently(one), HeroPose::awake(1), awake},
        {HoldHeadline::open(one), HeroPose::awake(0), awake},
        {HoldHeadline::alwaysOn(), HeroPose::awake(0), awake},
        {HoldHeadline::reachable(until), HeroPose::reachable(), awake},
        {HoldHeadline::remoteAccess(), HeroPose::reachable(), awake},
        {HoldHeadline::waitingHeld(one), HeroPose::attentive(),
         "vigilmoth: An agent is waiting for you"},
        {HoldHeadline::waitingReleased(one), HeroPose::attentive(),
         "vigilmoth: An agent is waiting for you"},
        {HoldHeadline::idle(one), HeroPose::asleep(), worded("vigilmoth: Your Mac can sleep")},
        {HoldHeadline::noAgents(), HeroPose::asleep(), worded("vigilmoth: Your Mac can sleep")},
        {HoldHeadline::paused(until), HeroPose::paused(), "vigilmoth: Paused"},
        {HoldHeadline::switchedOff(), HeroPose::off(), "vigilmoth: Off"},
        {HoldHeadline::safetyStop(SafetyStop::batteryLow(18)),
         HeroPose::safetyStop(HeroPose::SafetyKind::battery), attention},
        {HoldHeadline::safetyStop(SafetyStop::weakCharger(18)),
         HeroPose::safetyStop(HeroPose::SafetyKind::battery), attention},
        {HoldHeadline::safetyStop(SafetyStop::tooHot()),
         HeroPose::safetyStop(HeroPose::SafetyKind::heat), attention},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.label);
        EXPECT_EQ(MenuModel::pose(c.headline), c.pose);
        EXPECT_EQ(RobotLook(c.pose).menuBar().accessibilityLabel(), c.label);
    }
    EXPECT_EQ(RobotLook(HeroPose::helperOff()).menuBar().accessibilityLabel(), attention);
    EXPECT_EQ(RobotLook(HeroPose::awake(3)).wisps, 3);
    EXPECT_EQ(RobotLook(HeroPose::safetyStop(HeroPose::SafetyKind::heat)).warning,
              HeroPose::SafetyKind::heat);
    EXPECT_EQ(RobotLook(HeroPose::awake(2)).menuBar().accessibilityLabel(MachineWord::computer()),
              "vigilmoth: Your computer stays awake");
}

TEST(MenuBarLookTest, ClosedEyesReadByPauseAndOpacity) {
    using Eyes = MenuBarLook::Eyes;
    EXPECT_EQ((MenuBarLook{Eyes::closed, false, 0.5, false}).accessibilityLabel(),
              "vigilmoth: Off");
    EXPECT_EQ((MenuBarLook{Eyes::closed, false, 1.0, false}).accessibilityLabel(),
              worded("vigilmoth: Your Mac can sleep"));
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

}  // namespace
}  // namespace vigilmoth
