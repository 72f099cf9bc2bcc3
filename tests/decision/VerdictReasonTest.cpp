// Show that the numbers reasons carry are whole and finite whatever duration they come from.
#include "decision/VerdictReason.h"

#include <gtest/gtest.h>

#include <limits>

namespace vigilmoth {
namespace {

TEST(VerdictReasonTest, WholeSecondsTruncateAndHoldNonsenseToFiniteValues) {
    struct Case {
        double seconds;
        std::int64_t expected;
    };
    const Case cases[] = {
        {0, 0},
        {59.9, 59},
        {-0.5, 0},
        {-61.9, -61},
        {std::numeric_limits<double>::quiet_NaN(), 0},
        {std::numeric_limits<double>::infinity(), 1'000'000'000'000'000},
        {-std::numeric_limits<double>::infinity(), -1'000'000'000'000'000},
        {1e300, 1'000'000'000'000'000},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.seconds);
        EXPECT_EQ(wholeSeconds(c.seconds), c.expected);
    }
}

}  // namespace
}  // namespace vigilmoth
