#pragma once

#include <optional>

#include "decision/HoldPolicy.h"

namespace vigilmoth {

// Keeps a new hold from starting in the middle of a sleep or right after a wake. Driven by the
// system's sleep notices from outside and advanced at every tick; times are awake-clock seconds.
struct WakeGate {
    // How long an announced sleep is waited for before it counts as cancelled.
    static constexpr double announcedSleepPatience = 120;

    // The system said it will sleep.
    bool announced = false;
    // It did sleep since the announcement.
    bool slept = false;
    // When the last wake was reported, until a tick has seen it.
    std::optional<double> wokeAt;
    // From when an announced sleep is waited for.
    std::optional<double> steadySince;

    // Advances the gate at a tick; true when the gate has just opened (after a wake, or an
    // announced sleep that did not come).
    bool sampled(double awake, bool sleptSinceLastTick);
    void sleepAnnounced(double awake);
    // The wake reported by the system; true when a sleep had been announced.
    bool woke(double awake);

    WakePermission permission() const {
        return {.settling = slept, .sleepAnnounced = announced, .wakePending = wokeAt.has_value()};
    }

    bool operator==(const WakeGate&) const = default;
};

}  // namespace vigilmoth
