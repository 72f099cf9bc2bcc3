// Show that pause and reachable end when they should, in the user's own time zone.
#include <gtest/gtest.h>

#include "decision/TimedModes.h"
#include "support/ZonedCases.h"

namespace vigilmoth {
namespace {

// Central European rules; in 2026 the clocks go forward on 29 March and back on 25 October.
const char* const centralEurope = "CET-1CEST,M3.5.0,M10.5.0/3";
// US Eastern rules; in 2026 the clocks go forward on 8 March.
const char* const usEastern = "EST5EDT,M3.2.0,M11.1.0";

// 2026-06-10 00:00:00 UTC.
constexpr double june10 = 1781049600;
constexpr double hour = 3600;

TEST(TimedModesTest, PauseUntilTomorrowEndsAtSixOrAfterEightHours) {
    const testing::ZonedCase cases[] = {
        {"23:00 summer", centralEurope, june10 + 21 * hour, june10 + 28 * hour},
        {"03:00 summer", centralEurope, june10 + 25 * hour, june10 + 33 * hour},
        {"05:59:59, too close to six", centralEurope, june10 + 28 * hour - 1,
         june10 + 36 * hour - 1},
        {"02:00, exactly four hours to six", centralEurope, june10 + 24 * hour, june10 + 28 * hour},
        {"06:00, six is a day away", centralEurope, june10 + 28 * hour, june10 + 52 * hour},
        {"12:00 UTC", "UTC0", june10 + 12 * hour, june10 + 30 * hour},
        {"23:00 India", "IST-5:30", june10 + 17.5 * hour, june10 + 24.5 * hour},
        {"23:00 Kiribati", "<+14>-14", june10 + 9 * hour, june10 + 16 * hour},
        {"23:00 Hawaii", "HST10", june10 + 9 * hour, june10 + 16 * hour},
        // 2026-03-28 23:00 CET = 22:00 UTC; the night is an hour short.
        {"23:00 before spring forward", centralEurope, 1774735200, 1774735200 + 6 * hour},
        // 2026-03-29 03:00 CEST = 01:00 UTC, just after the jump.
        {"03:00 after spring forward", centralEurope, 1774746000, 1774746000 + 8 * hour},
        // 2026-10-24 23:00 CEST = 21:00 UTC; the night is an hour long.
        {"23:00 before fall back", centralEurope, 1792875600, 1792875600 + 8 * hour},
        // 2026-03-07 23:00 EST = 2026-03-08 04:00 UTC.
        {"23:00 before US spring forward", usEastern, 1772942400, 1772942400 + 6 * hour},
    };
    testing::expectInZones(cases, [](Date now) {
        Pause pause;
        pause.start(PauseChoice::untilTomorrow, now, Calendar{});
        return pause.until;
    });
}

TEST(TimedModesTest, ImplausibleStoredDatesAreDropped) {
    const Date now(june10);
    struct Case {
        const char* name;
        std::optional<Date> stored;
        bool keptAsPause;
        bool keptAsReachable;
    };
    const Case cases[] = {
        {"nothing stored", std::nullopt, false, false},
        {"in the past", now - 1, false, false},
        {"exactly now", now, false, false},
        {"a second ahead", now + 1, true, true},
        {"four hours ahead", now + 14400, true, true},
        {"just over four hours", now + 14401, true, false},
        {"25 hours ahead", now + 90000, true, false},
        {"26 hours ahead", now + 26 * hour, false, false},
    };
    for (const auto& item : cases) {
        SCOPED_TRACE(item.name);
        EXPECT_EQ(Pause(item.stored, now).until.has_value(), item.keptAsPause);
        EXPECT_EQ(Reachable(item.stored, now).until.has_value(), item.keptAsReachable);
    }
}

TEST(TimedModesTest, SettlingClearsAnEndedOrDisplacedMode) {
    Pause pause(Date(june10 + hour), Date(june10));
    pause.settle(Date(june10 + 0.5 * hour));
    EXPECT_TRUE(pause.isActive(Date(june10 + 0.5 * hour)));
    pause.settle(Date(june10 + hour));
    EXPECT_FALSE(pause.until);

    Reachable reachable(Date(june10 + hour), Date(june10));
    // The clock was set back a day: the end now lies too far ahead to be believed.
    reachable.settle(Date(june10 - 24 * hour));
    EXPECT_FALSE(reachable.until);
}

}  // namespace
}  // namespace vigilmoth
