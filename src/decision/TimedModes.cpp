#include "decision/TimedModes.h"

namespace vigilmoth {

namespace {

// The longest plausible distance to the end of a timed mode: longer than any choice, so
// that a longer one was left by an earlier session or pushed ahead by a clock change.
constexpr double longestPause = 90000;
constexpr double longestReachable = 14400;

std::optional<Date> plausible(std::optional<Date> until, Date now, double limit) {
    if (until && now < *until && *until - now <= limit) return until;
    return std::nullopt;
}

}  // namespace

double duration(ReachableChoice choice) {
    switch (choice) {
        case ReachableChoice::oneHour:
            return 3600;
        case ReachableChoice::twoHours:
            return 7200;
        case ReachableChoice::fourHours:
            return 14400;
    }
    return 3600;
}

Pause::Pause(std::optional<Date> stored, Date now) : until(plausible(stored, now, longestPause)) {}

void Pause::settle(Date now) {
    until = plausible(until, now, longestPause);
}

void Pause::start(PauseChoice choice, Date now, const Calendar& calendar) {
    switch (choice) {
        case PauseChoice::thirtyMinutes:
            until = now + 1800;
            return;
        case PauseChoice::oneHour:
            until = now + 3600;
            return;
        case PauseChoice::untilTomorrow:
            break;
    }
    // A pause "until tomorrow" begun in the small hours would end within a few hours at
    // 06:00, so it lasts eight hours instead.
    auto morning = calendar.nextDate(now, 6, 0, 0);
    until = (morning && *morning - now >= 14400) ? *morning : now + 28800;
}

Reachable::Reachable(std::optional<Date> stored, Date now)
    : until(plausible(stored, now, longestReachable)) {}

void Reachable::settle(Date now) {
    until = plausible(until, now, longestReachable);
}

}  // namespace vigilmoth
