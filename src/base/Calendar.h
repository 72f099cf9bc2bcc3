#pragma once

#include <optional>
#include <string>

#include "base/Date.h"

namespace vigilmoth {

// The user's calendar in the time zone the process runs in (the C library's local time). Every
// reading of the local clock goes through here, under the one lock that the C library's shared
// state needs.
class Calendar {
public:
    // The date's local time in a strftime format ("%H:%M:%S"); none when the C library cannot
    // place the date (far outside the years it counts).
    std::optional<std::string> formatted(Date date, const char* format) const;

    // The first moment after `after` whose local clock reads hour:minute:second. When that
    // time falls in a gap where the clocks jump forward, the first moment after the gap;
    // when it occurs twice as the clocks go back, the first of the two. Searches up to a
    // week ahead; nothing when no such moment exists.
    std::optional<Date> nextDate(Date after, int hour, int minute, int second) const;

    // Every calendar reads the one local clock, so any two are the same.
    bool operator==(const Calendar&) const = default;
};

}  // namespace vigilmoth
