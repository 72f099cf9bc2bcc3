#pragma once

#include <optional>

#include "base/Date.h"
#include "decision/HoldSubject.h"
#include "power/SafetyStop.h"

namespace vigilmoth {

// The one-line reason for the menu bar: why the Mac is held awake, or why it may sleep. A tag
// with the payload its case needs; the factories fill only that payload, so that equality
// compares like with like. The words are ui/'s (`HoldHeadlineText`).
struct HoldHeadline {
    enum class Kind {
        working,
        waitingHeld,
        finishedRecently,
        open,
        reachable,
        idle,
        waitingReleased,
        safetyStop,
        paused,
        alwaysOn,
        remoteAccess,
        noAgents,
        switchedOff,
    };

    Kind kind = Kind::noAgents;
    // For working, waitingHeld, finishedRecently, open, idle and waitingReleased.
    std::optional<HoldSubject> subject;
    // For reachable and paused.
    std::optional<Date> until;
    // For safetyStop.
    std::optional<SafetyStop> stop;

    static HoldHeadline working(HoldSubject subject) { return withSubject(Kind::working, subject); }
    static HoldHeadline waitingHeld(HoldSubject subject) {
        return withSubject(Kind::waitingHeld, subject);
    }
    static HoldHeadline finishedRecently(HoldSubject subject) {
        return withSubject(Kind::finishedRecently, subject);
    }
    static HoldHeadline open(HoldSubject subject) { return withSubject(Kind::open, subject); }
    static HoldHeadline reachable(Date until) { return {Kind::reachable, std::nullopt, until, {}}; }
    static HoldHeadline idle(HoldSubject subject) { return withSubject(Kind::idle, subject); }
    static HoldHeadline waitingReleased(HoldSubject subject) {
        return withSubject(Kind::waitingReleased, subject);
    }
    static HoldHeadline safetyStop(SafetyStop stop) { return {Kind::safetyStop, {}, {}, stop}; }
    static HoldHeadline paused(Date until) { return {Kind::paused, std::nullopt, until, {}}; }
    static HoldHeadline alwaysOn() { return {Kind::alwaysOn, {}, {}, {}}; }
    static HoldHeadline remoteAccess() { return {Kind::remoteAccess, {}, {}, {}}; }
    static HoldHeadline noAgents() { return {Kind::noAgents, {}, {}, {}}; }
    static HoldHeadline switchedOff() { return {Kind::switchedOff, {}, {}, {}}; }

    // The cases that hold the Mac awake; every other one lets it sleep.
    bool keepsAwake() const;

    bool operator==(const HoldHeadline&) const = default;

private:
    static HoldHeadline withSubject(Kind kind, HoldSubject subject) {
        return {kind, std::move(subject), {}, {}};
    }
};

}  // namespace vigilmoth
