// Show that headlines compare by their case and payload alike, so that a change of either one
// counts as a new headline.
#include "decision/HoldHeadline.h"

#include <gtest/gtest.h>

namespace vigilmoth {
namespace {

TEST(HoldHeadlineTest, HeadlinesOfDifferentCasesWithTheSameSubjectDiffer) {
    const auto one = HoldSubject::one("Codex");
    EXPECT_NE(HoldHeadline::working(one), HoldHeadline::open(one));
    EXPECT_NE(HoldHeadline::paused(Date(5)), HoldHeadline::reachable(Date(5)));
    EXPECT_NE(HoldHeadline::paused(Date(5)), HoldHeadline::paused(Date(6)));
}

}  // namespace
}  // namespace vigilmoth
