#include "decision/SleepReason.h"

namespace vigilmoth {
namespace {

std::optional<SleepReason> heldReason(const SleepSnapshot& snapshot) {
    if (!snapshot.lidClosed || !snapshot.onBattery) return std::nullopt;
    if (!snapshot.helperSetUp) return SleepReason{SleepReason::LidClosedNoHelper{}};
    if (!snapshot.lidClosedWanted) return SleepReason{SleepReason::LidClosedSettingOff{}};
    return std::nullopt;
}

}  // namespace

std::optional<SleepReason> SleepReason::reason(const SleepSnapshot& snapshot) {
    if (!snapshot.agentActive) return std::nullopt;
    const auto& headline = snapshot.headline;
    using Kind = HoldHeadline::Kind;
    switch (headline.kind) {
        case Kind::working:
        case Kind::waitingHeld:
        case Kind::finishedRecently:
        case Kind::open:
        case Kind::reachable:
        case Kind::alwaysOn:
        case Kind::remoteAccess:
            return heldReason(snapshot);
        case Kind::waitingReleased:
            return SleepReason{WaitedTooLong{*headline.subject, snapshot.waitingHold}};
        case Kind::safetyStop:
            if (headline.stop->kind == SafetyStop::Kind::tooHot) return SleepReason{TooHot{}};
            return SleepReason{Battery{headline.stop->percent}};
        case Kind::paused:
            return SleepReason{Paused{}};
        case Kind::idle:
        case Kind::noAgents:
        case Kind::switchedOff:
            break;
    }
    return std::nullopt;
}

}  // namespace vigilmoth
