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
    // While the headline held the machine, only a closed lid explains a sleep.
    if (headline.keepsAwake()) return heldReason(snapshot);
    using Kind = HoldHeadline::Kind;
    switch (headline.kind) {
        case Kind::waitingReleased:
            return SleepReason{WaitedTooLong{*headline.subject, snapshot.waitingHold}};
        case Kind::safetyStop:
            if (headline.stop->kind == SafetyStop::Kind::tooHot) return SleepReason{TooHot{}};
            return SleepReason{Battery{headline.stop->percent}};
        case Kind::paused:
            return SleepReason{Paused{}};
        default:
            // Idle, no agents, switched off: the system slept for reasons of its own.
            break;
    }
    return std::nullopt;
}

}  // namespace vigilmoth
