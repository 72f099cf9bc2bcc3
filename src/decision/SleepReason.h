#pragma once

#include <optional>
#include <variant>

#include "base/Date.h"
#include "decision/HoldHeadline.h"

namespace vigilmoth {

// The moment the system announced a sleep, kept to explain after the wake why the machine
// slept although vigilmoth was watching.
struct SleepSnapshot {
    Date at;
    HoldHeadline headline;
    bool agentActive = false;  // some hold had a cause and its agent is not ignored
    bool lidClosed = false;
    bool onBattery = false;
    bool helperSetUp = false;
    bool lidClosedWanted = false;  // the setting stayAwakeLidClosedOnBattery
    double waitingHold = 0;        // seconds

    bool operator==(const SleepSnapshot&) const = default;
};

struct SleepReason {
    struct Battery {
        int percent = 0;
        bool operator==(const Battery&) const = default;
    };
    struct WaitedTooLong {
        HoldSubject subject;
        double hold = 0;
        bool operator==(const WaitedTooLong&) const = default;
    };
    struct LidClosedNoHelper {
        bool operator==(const LidClosedNoHelper&) const = default;
    };
    struct LidClosedSettingOff {
        bool operator==(const LidClosedSettingOff&) const = default;
    };
    struct TooHot {
        bool operator==(const TooHot&) const = default;
    };
    struct Paused {
        bool operator==(const Paused&) const = default;
    };

    std::variant<Battery, WaitedTooLong, LidClosedNoHelper, LidClosedSettingOff, TooHot, Paused>
        why;

    // Why the machine slept, when vigilmoth has something to say about it: only while an agent
    // was active, and never for a sleep the system chose for reasons of its own.
    static std::optional<SleepReason> reason(const SleepSnapshot& snapshot);

    bool operator==(const SleepReason&) const = default;
};

struct SleepNote {
    Date at;  // the wake
    SleepReason reason;

    bool operator==(const SleepNote&) const = default;
};

}  // namespace vigilmoth
