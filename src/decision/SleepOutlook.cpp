#include "decision/SleepOutlook.h"

namespace vigilmoth {

namespace {

SleepOutlook::After afterLettingGo(const MacSleepState& mac) {
    using After = SleepOutlook::After;
    if (mac.otherAppHolds) return After::otherAppHolds();
    if (!mac.sleepTimerMinutes) return After::timerUnknown();
    if (*mac.sleepTimerMinutes == 0) return After::neverSleeps();
    return After::timer(*mac.sleepTimerMinutes);
}

std::string afterText(const SleepOutlook::After& after) {
    using Kind = SleepOutlook::After::Kind;
    switch (after.kind) {
        case Kind::timer:
            return "the sleep timer of macOS is " + std::to_string(after.minutes) + " min";
        case Kind::timerUnknown:
            return "the sleep timer of macOS is not known";
        case Kind::neverSleeps:
            return "macOS never sleeps on this power source";
        case Kind::otherAppHolds:
            break;
    }
    return "another app keeps the Mac awake";
}

}  // namespace

SleepOutlook::SleepOutlook(const HoldDecision& decision, const MacSleepState& mac, Date now) {
    if (!decision.hold || !decision.waitingEnds || !(*decision.waitingEnds > now)) return;
    const double left = *decision.waitingEnds - now;
    // Once the hold ends the flag goes too, and a closed Mac on battery sleeps at once.
    if (mac.lidClosed && mac.onBattery && mac.flagInUse && decision.lidClosedFlag) {
        *this = sleepsIn(left);
    } else {
        *this = letsGoIn(left, afterLettingGo(mac));
    }
}

std::string SleepOutlook::logLine() const {
    const std::string whole = std::to_string(wholeSeconds(seconds));
    switch (kind) {
        case Kind::sleepsIn:
            return "sleep outlook: the Mac sleeps in " + whole + " s";
        case Kind::letsGoIn:
            return "sleep outlook: vigilmoth lets go in " + whole + " s, " +
                   afterText(then.value_or(After::timerUnknown()));
        case Kind::nothingSaid:
            break;
    }
    return "sleep outlook: nothing said";
}

}  // namespace vigilmoth
