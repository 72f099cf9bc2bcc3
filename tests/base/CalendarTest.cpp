// Show that the calendar finds the next wall-clock time across changes of the clocks, and that
// its one local-time formatter and its search read the local clock alike.
#include <cmath>
#include <cstdio>
#include <limits>

#include <gtest/gtest.h>

#include "base/Calendar.h"
#include "support/ZonedCases.h"

namespace vigilmoth {
namespace {

// A zone whose clocks jump at 06:00 itself: in 2026 from 06:00 to 07:00 on 29 March, and
// from 07:00 back to 06:00 on 25 October.
const char* const jumpsAtSix = "XST-1XDT,M3.5.0/6,M10.5.0/7";

TEST(CalendarTest, NextSixOClock) {
    const testing::ZonedCase cases[] = {
        // 2026-03-28 23:00 XST = 22:00 UTC; 06:00 does not exist the next day, so the
        // answer is the moment of the jump, 07:00 XDT = 05:00 UTC.
        {"skipped six", jumpsAtSix, 1774735200, 1774760400},
        // 2026-10-24 23:00 XDT = 21:00 UTC; 06:00 happens at 04:00 and 05:00 UTC.
        {"repeated six", jumpsAtSix, 1792875600, 1792900800},
        // 2026-06-10 06:00:00 UTC exactly: the next one is a day later.
        {"exactly six", "UTC0", 1781071200, 1781157600},
        {"a fraction before six", "UTC0", 1781071199.5, 1781071200},
        // 2026-12-31 12:00 UTC: the next six is in the next year.
        {"new year", "UTC0", 1798718400, 1798783200},
    };
    testing::expectInZones(cases, [](Date after) { return Calendar{}.nextDate(after, 6, 0, 0); });
}

// One table read both ways: the local clock the formatter writes for a moment, and the moment
// the search finds for that clock reading.
TEST(CalendarTest, TheFormatterAndTheSearchAgree) {
    const struct {
        const char* name;
        const char* zone;
        double at;
        const char* local;
    } cases[] = {
        {"UTC", "UTC0", 1781071200, "2026-06-10 06:00:00"},
        {"summer time", "CET-1CEST,M3.5.0,M10.5.0/3", 1781071200, "2026-06-10 08:00:00"},
        {"winter time", "CET-1CEST,M3.5.0,M10.5.0/3", 1798718400, "2026-12-31 13:00:00"},
        {"west of Greenwich", "EST5EDT,M3.2.0,M11.1.0", 1798718400, "2026-12-31 07:00:00"},
        {"just after the clocks jump", jumpsAtSix, 1774760400, "2026-03-29 07:00:00"},
        {"the first of a repeated hour", jumpsAtSix, 1792900800, "2026-10-25 06:00:00"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        testing::ScopedTimeZone zone(c.zone);
        EXPECT_EQ(Calendar{}.formatted(Date(c.at), "%Y-%m-%d %H:%M:%S"), c.local);
        int hour = 0, minute = 0, second = 0;
        ASSERT_EQ(std::sscanf(c.local + 11, "%d:%d:%d", &hour, &minute, &second), 3);
        EXPECT_EQ(Calendar{}.nextDate(Date(c.at - 1), hour, minute, second), Date(c.at));
    }
}

TEST(CalendarTest, NoTextOrDateBeyondTheYears) {
    for (double at : {std::numeric_limits<double>::infinity(),
                      std::numeric_limits<double>::quiet_NaN(), 1e300, -1e300}) {
        SCOPED_TRACE(at);
        EXPECT_EQ(Calendar{}.formatted(Date(at), "%H:%M:%S"), std::nullopt);
        if (!std::isfinite(at)) {
            EXPECT_FALSE(Calendar{}.nextDate(Date(at), 6, 0, 0));
        }
    }
}

}  // namespace
}  // namespace vigilmoth
