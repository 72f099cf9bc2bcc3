#pragma once

#include <compare>

namespace vigilmoth {

// A point in time: seconds since 1970-01-01 00:00:00 UTC. A strong type so that a date
// cannot be confused with a duration, while the arithmetic stays that of plain doubles.
class Date {
public:
    constexpr Date() = default;
    constexpr explicit Date(double secondsSince1970) : seconds_(secondsSince1970) {}

    constexpr double secondsSince1970() const { return seconds_; }
    constexpr double timeIntervalSince(Date other) const { return seconds_ - other.seconds_; }
    constexpr Date addingTimeInterval(double seconds) const { return Date(seconds_ + seconds); }

    constexpr auto operator<=>(const Date&) const = default;
    constexpr bool operator==(const Date&) const = default;

    friend constexpr Date operator+(Date date, double seconds) {
        return date.addingTimeInterval(seconds);
    }
    friend constexpr Date operator-(Date date, double seconds) {
        return date.addingTimeInterval(-seconds);
    }
    friend constexpr double operator-(Date later, Date earlier) {
        return later.timeIntervalSince(earlier);
    }

    // The only clock reading in the portable code; pure logic takes "now" as an argument instead.
    static Date now();

private:
    double seconds_ = 0;
};

}  // namespace vigilmoth
