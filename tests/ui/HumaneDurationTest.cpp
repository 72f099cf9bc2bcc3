// Show that durations and counts read as whole, coarsening units, with nonsense read as nothing.
#include "ui/HumaneDuration.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

namespace vigilmoth {
namespace {

TEST(HumaneDurationTest, CountsWithThePluralOnlyForOtherThanOne) {
    struct Case {
        std::int64_t n;
        const char* noun;
        const char* expected;
    };
    const Case cases[] = {
        {1, "minute", "1 minute"},
        {0, "minute", "0 minutes"},
        {2, "hour", "2 hours"},
        {-1, "day", "-1 days"},
        {3, "idle session", "3 idle sessions"},
        {1, "command", "1 command"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.expected);
        EXPECT_EQ(HumaneDuration::counted(c.n, c.noun), c.expected);
    }
}

TEST(HumaneDurationTest, TellsOnlyTheUnitsThatMatterAtEachLength) {
    struct Case {
        double seconds;
        const char* expected;
    };
    const Case cases[] = {
        {0, ""},
        {59, ""},
        {59.999, ""},
        {-5, ""},
        {std::nan(""), ""},
        {std::numeric_limits<double>::infinity(), ""},
        {-std::numeric_limits<double>::infinity(), ""},
        {60, "1 minute"},
        {119, "1 minute"},
        {120, "2 minutes"},
        {3599, "59 minutes"},
        {3600, "1 hour"},
        {3660, "1 hour 1 minute"},
        {7320, "2 hours 2 minutes"},
        // Ten hours on, minutes are dropped.
        {35999, "9 hours 59 minutes"},
        {36000, "10 hours"},
        {36060, "10 hours"},
        // Two days on, hours are dropped.
        {47 * 3600 + 59 * 60, "47 hours"},
        {172800, "2 days"},
        {172800 + 86399, "2 days"},
        {86400 * 400, "400 days"},
        {1e300, "694444444444 days"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.seconds);
        EXPECT_EQ(HumaneDuration::units(c.seconds), c.expected);
    }
}

}  // namespace
}  // namespace vigilmoth
