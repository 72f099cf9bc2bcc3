// Show that the shared phrase names one agent and counts many, that percents carry their sign,
// and that the wait's outlook is told in whole minutes, never fewer than one.
#include "support/MachineWording.h"
#include "ui/PanelText.h"

#include <gtest/gtest.h>

namespace vigilmoth {
namespace {

using testing::worded;

TEST(PanelTextTest, PhraseNamesOneAgentAndCountsMany) {
    struct Case {
        HoldSubject subject;
        const char* expected;
    };
    const Case cases[] = {
        {HoldSubject::one("Claude Code"), "Claude Code is working"},
        {HoldSubject::many(2), "2 agents are working"},
        {HoldSubject::many(12), "12 agents are working"},
        {HoldSubject::one(""), " is working"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.expected);
        EXPECT_EQ(PanelText::phrase(c.subject, "is working", "are working"), c.expected);
    }
}

TEST(PanelTextTest, SubjectOfNamesIsAbsentForNoneOneForOneAndACountOtherwise) {
    EXPECT_EQ(HoldSubject::of({}), std::nullopt);
    EXPECT_EQ(HoldSubject::of({"Codex"}), HoldSubject::one("Codex"));
    EXPECT_EQ(HoldSubject::of({"Codex", "Codex", "Cursor"}), HoldSubject::many(3));
}

TEST(PanelTextTest, PercentIsTheWholeNumberWithItsSign) {
    EXPECT_EQ(PanelText::percent(20), "20%");
    EXPECT_EQ(PanelText::percent(0), "0%");
    EXPECT_EQ(PanelText::percent(100), "100%");
}

TEST(PanelTextTest, TimeLeftAndMoreTime) {
    struct Case {
        double seconds;
        std::string timeLeft;
        std::string moreTime;
    };
    const std::vector<Case> cases = {
        {0, "1 minute", "1 more minute"},     {119, "1 minute", "1 more minute"},
        {120, "2 minutes", "2 more minutes"}, {3599, "59 minutes", "59 more minutes"},
        {3600, "1 hour", "1 hour more"},      {3720, "1 hour 2 minutes", "1 hour 2 minutes more"},
        {-30, "1 minute", "1 more minute"},
    };
    for (const auto& testCase : cases) {
        SCOPED_TRACE(testCase.seconds);
        EXPECT_EQ(PanelText::timeLeft(testCase.seconds), testCase.timeLeft);
        EXPECT_EQ(PanelText::moreTime(testCase.seconds), testCase.moreTime);
    }
}

TEST(PanelTextTest, SleepOutlookAndWaitingEnd) {
    auto sleeps = SleepOutlook::sleepsIn(200);
    auto letsGo = SleepOutlook::letsGoIn(61, SleepOutlook::After::timer(10));
    EXPECT_EQ(PanelText::sleepOutlook(sleeps), worded("Your Mac sleeps in 3 minutes"));
    EXPECT_EQ(PanelText::sleepOutlook(letsGo),
              worded("vigilmoth keeps your Mac awake for 1 more minute"));
    EXPECT_EQ(PanelText::sleepOutlook(SleepOutlook::nothingSaid()), std::nullopt);
    EXPECT_EQ(PanelText::waitingEnd(sleeps), worded("your Mac sleeps in 3 minutes"));
    EXPECT_EQ(PanelText::waitingEnd(letsGo), "for at least 1 more minute");
    EXPECT_EQ(PanelText::waitingEnd(SleepOutlook::nothingSaid()), std::nullopt);
}

}  // namespace
}  // namespace vigilmoth
