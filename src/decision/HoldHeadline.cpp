#include "decision/HoldHeadline.h"

#include "ui/PanelText.h"

namespace vigilmoth {

std::string SafetyStop::notificationText() const {
    switch (kind) {
        case Kind::batteryLow:
            return "vigilmoth let your Mac sleep because the battery is at " +
                   PanelText::percent(percent);
        case Kind::weakCharger:
            return "vigilmoth let your Mac sleep because your charger is too weak and the "
                   "battery is at " +
                   PanelText::percent(percent);
        case Kind::tooHot:
            break;
    }
    return "vigilmoth let your Mac sleep because it got too hot";
}

bool HoldHeadline::keepsAwake() const {
    return awakeReason().has_value();
}

std::optional<std::string> HoldHeadline::awakeReason() const {
    const auto said = [this](std::string_view one, std::string_view many) {
        return PanelText::phrase(*subject, one, many);
    };
    switch (kind) {
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
        case Kind::idle:
        case Kind::waitingReleased:
        case Kind::safetyStop:
        case Kind::paused:
        case Kind::noAgents:
        case Kind::switchedOff:
            break;
    }
    return std::nullopt;
}

namespace {

std::string safetyText(const SafetyStop& stop) {
    switch (stop.kind) {
        case SafetyStop::Kind::batteryLow:
            return "Sleeping allowed: battery at " + PanelText::percent(stop.percent);
        case SafetyStop::Kind::weakCharger:
            return "Sleeping allowed: weak charger, battery at " + PanelText::percent(stop.percent);
        case SafetyStop::Kind::tooHot:
            break;
    }
    return "Sleeping allowed: the Mac is too hot";
}

std::string idleText(const HoldSubject& subject) {
    if (const auto* single = std::get_if<HoldSubject::One>(&subject.who)) {
        return "Mac can sleep: " + single->name + " is idle";
    }
    return "Mac can sleep: all agents are idle";
}

}  // namespace

std::string HoldHeadline::text() const {
    if (const auto reason = awakeReason()) return "Awake: " + *reason;
    switch (kind) {
        case Kind::idle:
            return idleText(*subject);
        case Kind::waitingReleased:
            return "Mac can sleep: " +
                   PanelText::phrase(*subject, "is waiting for you", "are waiting for you");
        case Kind::safetyStop:
            return safetyText(*stop);
        case Kind::paused:
            return "Mac can sleep: vigilmoth is paused";
        case Kind::switchedOff:
            return "Mac can sleep: vigilmoth is off";
        default:
            break;
    }
    return "Mac can sleep: no agent is open";
}

}  // namespace vigilmoth
