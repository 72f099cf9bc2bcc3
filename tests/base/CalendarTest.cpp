// Show that the calendar finds the next wall-clock time across changes of the clocks, and that
// its one local-time formatter and its search read the local clock alike.
#include <cmath>
#include <cstdio>
#include <limits>

#include <gtest/gtest.h>

#include "base/Calendar.h"
#include "base/Golden.h"
#include "support/ScopedTimeZone.h"

namespace vigilmoth {
namespace {

// Each moment read both ways: the local clock the formatter writes, and (where the moment is a
// whole second) the search finding that same moment again from just before it.
TEST(CalendarTest, NextSixOClockAndTheFormatterAgree) {
    testing::expectEachLineReads("base/calendar.txt", [](const std::string& line) {
        const auto space = line.find(' ');
        testing::ScopedTimeZone zone(line.substr(0, space).c_str());
        const double at = std::stod(line.substr(space + 1));
        const auto local = Calendar{}.formatted(Date(at), "%Y-%m-%d %H:%M:%S").value_or("?");
        int hour = 0, minute = 0, second = 0;
        if (at == std::floor(at) &&
            std::sscanf(local.c_str() + 11, "%d:%d:%d", &hour, &minute, &second) == 3) {
            EXPECT_EQ(Calendar{}.nextDate(Date(at - 1), hour, minute, second), Date(at)) << line;
        }
        const auto six = Calendar{}.nextDate(Date(at), 6, 0, 0);
        return local + ", next six " +
               (six ? std::to_string(std::llround(six->secondsSince1970())) : "-");
    });
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
