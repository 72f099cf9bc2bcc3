#pragma once

#include <optional>

#include "base/Calendar.h"
#include "base/Date.h"

namespace vigilmoth {

enum class PauseChoice { thirtyMinutes, oneHour, untilTomorrow };

enum class ReachableChoice { oneHour, twoHours, fourHours };

// Seconds that a choice keeps the Mac reachable.
double duration(ReachableChoice choice);

// vigilmoth is paused while `until` is set and lies in the future.
struct Pause {
    std::optional<Date> until;

    Pause() = default;
    // Keeps a stored date only when it is plausible at `now`.
    Pause(std::optional<Date> stored, Date now);

    // Clears `until` when it is no longer plausible: past, or too far ahead after a clock change.
    void settle(Date now);
    void start(PauseChoice choice, Date now, const Calendar& calendar);
    bool isActive(Date now) const { return until && now < *until; }

    bool operator==(const Pause&) const = default;
};

// The Mac is kept awake, even with no agent working, while `until` is set and in the future.
struct Reachable {
    std::optional<Date> until;

    Reachable() = default;
    Reachable(std::optional<Date> stored, Date now);

    void settle(Date now);
    bool isActive(Date now) const { return until && now < *until; }

    bool operator==(const Reachable&) const = default;
};

// The combinations that the state aggregator compares before and after a change.
struct PauseSwitch {
    bool enabled = true;
    Pause pause;

    bool operator==(const PauseSwitch&) const = default;
};

struct TimedModes {
    Pause pause;
    Reachable reachable;

    bool operator==(const TimedModes&) const = default;
};

}  // namespace vigilmoth
