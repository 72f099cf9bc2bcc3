#include "ui/HoldHeadlineText.h"

#include "ui/PanelText.h"
#include "ui/SafetyStopText.h"

namespace vigilmoth::HoldHeadlineText {

std::optional<std::string> awakeReason(const HoldHeadline& headline) {
    using Kind = HoldHeadline::Kind;
    if (!headline.keepsAwake()) return std::nullopt;
    const auto said = [&headline](std::string_view one, std::string_view many) {
        return PanelText::phrase(*headline.subject, one, many);
    };
    switch (headline.kind) {
        case Kind::working:
            return said("is working", "are working");
        case Kind::waitingHeld:
            return said("is waiting for you", "are waiting for you");
        case Kind::finishedRecently:
            return said("finished a moment ago", "finished a moment ago");
        case Kind::open:
            return said("is open", "are open");
        case Kind::reachable:
            return "stays reachable";
        case Kind::alwaysOn:
            return "always on";
        case Kind::remoteAccess:
            return "reachable while plugged in";
        default:
            break;
    }
    return std::nullopt;
}

namespace {

std::string idleText(const HoldSubject& subject) {
    if (const auto* single = std::get_if<HoldSubject::One>(&subject.who)) {
        return single->name + " is idle";
    }
    return "all agents are idle";
}

}  // namespace

std::string text(const HoldHeadline& headline, MachineWord machine) {
    using Kind = HoldHeadline::Kind;
    if (const auto reason = awakeReason(headline)) return "Awake: " + *reason;
    const std::string canSleep = std::string(machine.capitalised) + " can sleep: ";
    switch (headline.kind) {
        case Kind::idle:
            return canSleep + idleText(*headline.subject);
        case Kind::waitingReleased:
            return canSleep + PanelText::phrase(*headline.subject, "is waiting for you",
                                                "are waiting for you");
        case Kind::safetyStop:
            return SafetyStopText::headline(*headline.stop, machine);
        case Kind::paused:
            return canSleep + "vigilmoth is paused";
        case Kind::switchedOff:
            return canSleep + "vigilmoth is off";
        default:
            break;
    }
    return canSleep + "no agent is open";
}

}  // namespace vigilmoth::HoldHeadlineText
