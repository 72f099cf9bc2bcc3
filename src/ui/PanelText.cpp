#include "ui/PanelText.h"

#include <algorithm>
#include <cmath>
#include <cstdint>

#include "ui/HumaneDuration.h"

namespace vigilmoth::PanelText {
namespace {

// Whole minutes, truncated, never fewer than one (nor undefined for odd input).
std::int64_t wholeMinutesAtLeastOne(double seconds) {
    if (!std::isfinite(seconds) || seconds < 120) return 1;
    return static_cast<std::int64_t>(std::min(seconds, 1.0e15) / 60);
}

}  // namespace

std::string phrase(const HoldSubject& subject, std::string_view one, std::string_view many) {
    if (const auto* single = std::get_if<HoldSubject::One>(&subject.who)) {
        return single->name + " " + std::string(one);
    }
    const auto& several = std::get<HoldSubject::Many>(subject.who);
    return std::to_string(several.count) + " agents " + std::string(many);
}

std::string percent(int n) {
    return std::to_string(n) + "%";
}

std::string timeLeft(double seconds) {
    return HumaneDuration::units(static_cast<double>(wholeMinutesAtLeastOne(seconds) * 60));
}

std::string moreTime(double seconds) {
    auto minutes = wholeMinutesAtLeastOne(seconds);
    if (minutes >= 60) return timeLeft(seconds) + " more";
    return std::to_string(minutes) + (minutes == 1 ? " more minute" : " more minutes");
}

std::optional<std::string> sleepOutlook(const SleepOutlook& outlook, MachineWord machine) {
    const std::string mac(machine.noun);
    switch (outlook.kind) {
        case SleepOutlook::Kind::sleepsIn:
            return "Your " + mac + " sleeps in " + timeLeft(outlook.seconds);
        case SleepOutlook::Kind::letsGoIn:
            return "vigilmoth keeps your " + mac + " awake for " + moreTime(outlook.seconds);
        case SleepOutlook::Kind::nothingSaid:
            break;
    }
    return std::nullopt;
}

std::optional<std::string> waitingEnd(const SleepOutlook& outlook, MachineWord machine) {
    switch (outlook.kind) {
        case SleepOutlook::Kind::sleepsIn:
            return "your " + std::string(machine.noun) + " sleeps in " + timeLeft(outlook.seconds);
        case SleepOutlook::Kind::letsGoIn:
            return "for at least " + moreTime(outlook.seconds);
        case SleepOutlook::Kind::nothingSaid:
            break;
    }
    return std::nullopt;
}

}  // namespace vigilmoth::PanelText
