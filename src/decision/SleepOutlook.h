#pragma once

#include <optional>
#include <string>

#include "base/Date.h"
#include "decision/HoldPolicy.h"

namespace vigilmoth {

// The machine's own sleep facts, as the aggregator keeps them.
struct MacSleepState {
    bool lidClosed = false;
    bool onBattery = false;
    // The sleep flag is confirmed on.
    bool flagInUse = false;
    // The idle-sleep timer for the current power source; absent when unknown.
    std::optional<int> sleepTimerMinutes;
    // Another process holds a sleep-preventing power assertion.
    bool otherAppHolds = false;

    bool operator==(const MacSleepState&) const = default;
};

// What happens when a wait-only hold runs out, in terms the user can act on.
struct SleepOutlook {
    enum class Kind { sleepsIn, letsGoIn, nothingSaid };

    // What the Mac does once vigilmoth lets go.
    struct After {
        enum class Kind { timer, timerUnknown, neverSleeps, otherAppHolds };
        Kind kind = Kind::timerUnknown;
        // For timer only.
        int minutes = 0;

        static After timer(int minutes) { return {Kind::timer, minutes}; }
        static After timerUnknown() { return {Kind::timerUnknown, 0}; }
        static After neverSleeps() { return {Kind::neverSleeps, 0}; }
        static After otherAppHolds() { return {Kind::otherAppHolds, 0}; }

        bool operator==(const After&) const = default;
    };

    Kind kind = Kind::nothingSaid;
    // For sleepsIn and letsGoIn.
    double seconds = 0;
    // For letsGoIn.
    std::optional<After> then;

    SleepOutlook() = default;
    SleepOutlook(const HoldDecision& decision, const MacSleepState& mac, Date now);

    static SleepOutlook sleepsIn(double seconds) {
        return SleepOutlook(Kind::sleepsIn, seconds, {});
    }
    static SleepOutlook letsGoIn(double seconds, After then) {
        return SleepOutlook(Kind::letsGoIn, seconds, then);
    }
    static SleepOutlook nothingSaid() { return {}; }

    // Written to the notices' log before a notice is posted.
    std::string logLine() const;

    bool operator==(const SleepOutlook&) const = default;

private:
    SleepOutlook(Kind kind, double seconds, std::optional<After> then)
        : kind(kind), seconds(seconds), then(then) {}
};

}  // namespace vigilmoth
