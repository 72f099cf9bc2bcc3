// Show that the shared phrase names one agent and counts many, and that percents carry their sign.
#include "ui/PanelText.h"

#include <gtest/gtest.h>

namespace vigilmoth {
namespace {

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

}  // namespace
}  // namespace vigilmoth
